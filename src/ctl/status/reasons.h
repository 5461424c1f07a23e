// Why something is not as it should be: one row for each reason, which the manual
// docs/mctl-status.md repeats.
#pragma once

#include <stddef.h>

// In the order of the table.
enum class reason : unsigned char {
    // An interface, a link or a tunnel
    no_interface,
    no_port,
    not_started,
    client_down,
    daemon_down,
    interface_down,
    no_carrier,
    no_lease,
    not_connected,
    no_address,
    not_recorded,
    route_missing,
    route_other,
    jump_missing,
    jump_twice,
    jump_old,
    // The router
    lock_held,
    lock_dead,
    store_broken,
    table_other,
    config_old,
};

enum class link_state : unsigned char {
    up,
    dialling, // something runs that will bring it up, if it can
    down,
    off, // not wanted
    odd, // it is neither as wanted nor on its way there
};

const char *state_name(link_state state);

struct reason_row {
    reason id;
    const char *name;    // as it is printed
    link_state state;    // of what has it
    bool is_healed;      // by mctl heal; the others take somebody or something else
    const char *text;    // "{1}" stands for what is told besides
    const char *cure;    // likewise
    const char *example; // how it comes about
};

constexpr size_t REASONS = 21;
extern const reason_row reason_rows[REASONS];

// What the program shows of a row. The rest is for the manual, and takes no room in the program.
struct reason_text {
    const char *name;
    link_state state;
    bool is_healed;
    const char *text;
    const char *cure;
};

const reason_text &text_of(reason id);

constexpr size_t REASON_DETAIL_MAX = 80;
constexpr size_t REASON_TEXT_MAX = 256; // with the detail
