// What is found out about one link, and about the router as a whole.
#pragma once

#include "ctl/status/reasons.h"

#include <jansson.h>
#include <netinet/in.h>
#include <stddef.h>

struct found_reason {
    reason id;
    char detail[REASON_DETAIL_MAX];
};

enum class subject : unsigned char {
    lan,
    wan,
    tunnel,
    other,  // a record without an entry, such as a modem's
    router, // all that is nobody's in particular
};

const char *subject_name(subject what); // of all but the router itself

constexpr size_t REASONS_OF_LINK_MAX = 6;
constexpr size_t SHOWN_NAME_MAX = 32;

struct link_status {
    subject what;
    char name[SHOWN_NAME_MAX]; // as it may be shown, whatever Config holds
    char iface[SHOWN_NAME_MAX];
    char type[SHOWN_NAME_MAX];
    bool is_wanted;
    link_state state;
    size_t reasons;
    found_reason reason_of[REASONS_OF_LINK_MAX];

    // What the reasons come from. The documents are the look's.
    int position;          // of the WAN entry, from 1; else 0
    const json_t *entry;   // of Config
    const json_t *below;   // the WAN entry of a tunnel
    const json_t *record;  // of the store
    int process;           // of client or daemon, 0 for none
    in_addr_t expected_be; // the address whose jump is right, 0 for none
};

constexpr size_t LINKS_MAX = 64;

struct router_status {
    size_t links;
    link_status link[LINKS_MAX]; // the router itself is the last
    bool is_cut;                 // there are more
    bool is_well;                // nobody has a reason
};

// The first reason decides the state. Of the detail, what cannot be printed is shown as "?".
void add_reason(link_status *link, reason id, const char *detail = "");
