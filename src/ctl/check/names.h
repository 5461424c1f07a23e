// Names in the lines of a file, for looking up: sorted, so that a long file takes no longer for
// each of its lines.
#pragma once

#include <stddef.h>

struct named_line {
    const char *name; // in the file; no terminator
    size_t length;
    unsigned line;
    bool is_on;
    bool has_match; // a schedule that makes a time match
};

struct name_index {
    named_line *rows = nullptr;
    size_t count = 0;
    size_t room = 0;
};

// Add a row. One for which there is no memory is left out, and noted (ctl/unseen.h).
void add_name(name_index *index, const named_line &row);

// Sort by name; rows of one name that are on come first, then those of earlier lines.
void sort_names(name_index *index);

// The first row of the name in a sorted index, or null.
const named_line *find_name(const name_index &index, const char *name, size_t length);
const named_line *find_name(const name_index &index, const char *name);

void forget_names(name_index *index);
