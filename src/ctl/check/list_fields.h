// A line of a firewall list, taken apart, and what fields of several lists may hold.
#pragma once

#include "ctl/check/lines.h"
#include "ctl/check/settings.h"
#include "firewall/list_formats.h"

#include <stddef.h>

struct list_line {
    const settings &all;
    unsigned number;
    const char *const *names; // of the fields
    char *const *field;       // as the router keeps them
    size_t count;             // of fields that the line gives
};

// Take the fields of an entry, cut as the router cuts them, without a word to anybody. Returns how
// many there are.
size_t split_entry(const settings_line &line, const list_format &format, line_words *words);

void tell(const list_line &line, size_t field, code id, const char *first = "",
          const char *second = "");
// The same with a number in the first place.
void tell_number(const list_line &line, size_t field, code id, unsigned long first,
                 const char *second = "");

// A protocol, and the ports that it must allow for; both may be "-".
void judge_protocol(const list_line &line, size_t field);
void judge_ports(const list_line &line, size_t field, size_t protocol_field);
// An address or network; a range as well where allow_range says so. Gives a finding for what is
// none.
void judge_network(const list_line &line, size_t field, bool allow_range);
