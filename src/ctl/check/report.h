// Where the findings go: as text, a line each, or as one JSON array. Nothing is kept, so any number
// of findings needs no memory.
#pragma once

#include "ctl/check/codes.h"

#include <stddef.h>
#include <stdio.h>

// So many findings of one file are shown; those beyond are only counted.
constexpr unsigned FINDINGS_SHOWN = 1000;

struct report {
    FILE *out;
    bool is_json;
    const char *file; // the one that is judged, as the router names it
    unsigned errors;
    unsigned warnings;
    unsigned in_file; // findings of this file
};

// A finding about line of the report's file, 0 for the file as a whole; field is its name, or "-"
// for the line. first and second take the places of "{1}" and "{2}" in the code's texts. These and
// the field may hold any bytes: what is not printable ASCII is shown as \xHH, and a long text is
// cut.
void find(report *r, unsigned line, const char *field, code id, const char *first = "",
          const char *second = "");

// The same with numbers in the places.
void find_number(report *r, unsigned line, const char *field, code id, unsigned long first,
                 const char *second = "");

// Write from into to, of that room, as findings show it.
void escape_text(char *to, size_t room, const char *from);

void begin_report(report *r, FILE *out, bool is_json);
void begin_file(report *r, const char *file);
// Says how many findings of the file were not shown, if any.
void end_file(report *r);
// The sum of all: the last line of the text.
void end_report(report *r);
