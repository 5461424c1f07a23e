// The lines of a settings file, with the eyes of the readers under src/config and src/firewall.
#pragma once

#include "config/settings_file.h"
#include "ctl/check/report.h"
#include "ctl/check/tree.h"

#include <stddef.h>

struct settings_line {
    unsigned number;              // from 1
    char text[SETTINGS_LINE_MAX]; // with its line end, cut where the router cuts it
    const char *raw;              // the whole line, in the file; no terminator
    size_t length;                // of raw, without the line end
};

struct line_reader {
    const loaded_file *file;
    size_t position;
    unsigned number;
    bool has_return; // a carriage return has been told of
};

line_reader begin_lines(const loaded_file &file);
// Returns false at the end of the file.
bool next_line(line_reader *reader, settings_line *line);

// Whether the line is blank, or a comment behind any white space.
bool says_nothing(const settings_line &line);

// Whether the line is an entry that the router reads as it stands. Others it passes over, or takes
// apart: those, and carriage returns, are told to r, which may be null.
bool is_entry(line_reader *reader, const settings_line &line, comments hash_lines, report *r);

// Whether the file has an entry. Says nothing to anybody.
bool has_entries(const loaded_file &file, comments hash_lines);

constexpr size_t WORDS_MAX = 16; // more than any format has

// A line taken apart.
struct line_words {
    char text[SETTINGS_LINE_MAX];
    size_t all;            // as the router counts them
    size_t count;          // without one at the end that is nothing but white space
    char *word[WORDS_MAX]; // in text
};

// first_separators end the first word, separators the others. Words are trimmed where end says so.
void split_line(const settings_line &line, const char *first_separators, const char *separators,
                field_end end, line_words *words);

// The text of a word without the line end and what trim_r() would take besides, in place. Returns
// whether there was a line end.
bool cut_line_end(char *word);
