// The engine that turns a list of the user into lines of a rule file: what the readers of
// filter_lists.h and nat_lists.h have in common.
#pragma once

#include "firewall/rule_list.h"
#include "firewall/schedule.h"

#include <stddef.h>
#include <stdio.h>

// Room for the longest rule: nine fields and what stands between them.
constexpr size_t RULE_TEXT_MAX = 512;

// A rule while it is put together.
struct rule_text {
    size_t length = 0;
    char text[RULE_TEXT_MAX]; // terminated once something has been added
};

// Add a piece at the end. What passes the room is cut.
void add(rule_text *rule, const char *piece);

template <typename... Piece> void add(rule_text *rule, const char *piece, const Piece *...more)
{
    add(rule, piece);
    add(rule, more...);
}

// What stands for the closing target of MACS until an entry has given it; iptables knows no such
// chain.
constexpr char NO_TARGET[] = "(null)";

// What the writers of a list work with while the list is read.
struct rule_output {
    FILE *file;
    const char *lan_if = "";
    const char *accept_target = "";
    const char *drop_target = "";
    char time_match[TIME_MATCH_MAX] = "";   // of the latest entry with a schedule
    const char *closing_target = NO_TARGET; // the verdict at the end of MACS
};

struct rule_source {
    const list_format &format;
    const char *tag; // for "start" and "done"; null for a list that says neither
    // Writes the rules of an entry. Returns false to give the list up.
    bool (*write_entry)(const list_entry &entry, rule_output *out);
    void (*write_closing)(const rule_output &out); // behind the last entry; may be null
    // What becomes of the table when the end of the list, or of the schedules, cannot be read. One
    // list never costs the firewall the others, unless its closing verdict counts on every entry.
    enum { goes_on, is_not_loaded } torn_table;
};

// The result for a list whose table must not be loaded because its end could not be read.
constexpr int LIST_TORN = -2;

// Write the rules of all entries that can be read; what cannot is reported on standard error with
// its path. Returns 0, -1 when the list cannot be opened or a writer gives it up, or LIST_TORN.
int write_rules(const rule_source &source, rule_output out);

// A field that becomes an option of its rule, unless it is "-".
struct option_field {
    size_t field;
    const char *option;       // between blanks
    const char *range_option; // for a text with a hyphen in it; null when ranges are no different
};

// Add the options that the entry gives, in the order of the table.
void add_options(rule_text *rule, const option_field *options, size_t count,
                 const list_entry &entry);

template <size_t N>
void add_options(rule_text *rule, const option_field (&options)[N], const list_entry &entry)
{
    add_options(rule, options, N, entry);
}
