// What the judges of the firewall's lists have in common: lists.cpp takes the lines apart and tells
// what the format does to them, the judges tell what their fields mean.
#pragma once

#include "ctl/check/settings.h"
#include "firewall/list_formats.h"

#include <stddef.h>
#include <stdint.h>

struct list_line {
    const settings &all;
    unsigned number;
    const char *const *names; // of the fields
    char *const *field;       // as the router keeps them
    size_t count;             // of fields that the line gives
};

void tell(const list_line &line, size_t field, code id, const char *first = "",
          const char *second = "");

// What is counted on the way through a list.
struct list_memory {
    unsigned scheduled_line;    // of the URL filter: whose time match is in force, or 0
    unsigned char *taken_ports; // of the port forwards: for each protocol
};

using list_judge = void (*)(const list_line &line, list_memory *memory);

void judge_schedule(const list_line &line, list_memory *memory);
void judge_rule(const list_line &line, list_memory *memory);
void judge_mac(const list_line &line, list_memory *memory);
void judge_url(const list_line &line, list_memory *memory);
void judge_access(const list_line &line, list_memory *memory);
void judge_vserver(const list_line &line, list_memory *memory);
void judge_masq(const list_line &line, list_memory *memory);
void judge_trigger(const list_line &line, list_memory *memory);

// About a list as a whole.
void judge_mac_list(const settings &all);
void judge_masq_list(const settings &all);

// The format of a list.
const list_format &format_of(source which);

// Take the fields of an entry, cut as the router cuts them, without a word to anybody. Returns how
// many there are.
size_t split_entry(const settings_line &line, const list_format &format, line_words *words);

bool is_given(const char *field);

// A protocol, and the ports that it must allow for; both may be "-".
void judge_protocol(const list_line &line, size_t field);
void judge_ports(const list_line &line, size_t field, size_t protocol_field);
// An address or network; a range as well where allow_range says so. Returns false with a finding.
bool judge_network(const list_line &line, size_t field, bool allow_range);
