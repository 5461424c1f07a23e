// One reader for all the lists that the web interface keeps firewall rules in. How the lists differ
// is data: a list_format each.
//
// A line is an entry unless it begins with white space. Its fields are separated by single blanks
// or runs of them. A line longer than SETTINGS_LINE_MAX goes on as the next entry, a longer field
// than its slot is cut. Nothing is checked: what a list holds goes into the rule, and
// iptables-restore judges it.
#pragma once

#include "config/settings_file.h"

#include <stddef.h>
#include <stdio.h>

constexpr size_t LIST_FIELDS_MAX = 9;
constexpr size_t LIST_FIELD_MAX = 32; // with the terminator

// What a line that stops early finds in the fields that it does not give.
enum class missing_fields {
    inherited, // those of the entry before; empty for the first one
    emptied,
};

struct list_format {
    const char *path;
    size_t fields; // how many are kept, at most LIST_FIELDS_MAX; the rest of a line is ignored
    comments hash_lines;
    field_end end;
    missing_fields missing;
    const char *separators; // behind the first field, which always ends at a blank
    const char *field_tag;  // each field is logged as "data[INDEX] = TEXT" with it; null for not
};

// The fields of an entry by their position, which is 0 for the first.
struct list_entry {
    char field[LIST_FIELDS_MAX][LIST_FIELD_MAX];
};

struct list_reader {
    const list_format *format;
    FILE *file;
    list_entry entry;
    bool is_torn; // the end could not be read
};

// Open the list. A failure is reported on standard error with the path as prefix and gives false;
// there is nothing to close then.
bool open_list(list_reader *reader, const list_format &format);

// Read the next entry into reader->entry. Returns false at the end of the list, and when reading
// fails, which is reported on standard error with the path.
bool next_entry(list_reader *reader);

void close_list(list_reader *reader);
