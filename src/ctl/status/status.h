// mctl status: what is wanted, what is recorded and what is, side by side.
#pragma once

#include "ctl/status/judge.h"

#include <stdio.h>

// words are those behind "status". Returns the exit status: 0 all is well, 1 something has a
// reason, 2 it could not look at all that there may be, which is told on standard error: nothing
// is written then.
int status_main(int count, char **words);

// Write the status to out, for people: a line for each link, then the reasons with their cures.
// With colours where is_coloured.
void print_status(FILE *out, const look &at, const router_status &status, bool is_coloured);

// The same as one JSON object, by docs/mctl-status.schema.json. Returns false, and writes nothing,
// when memory does not suffice for all of it.
bool print_status_json(FILE *out, const look &at, const router_status &status);

// The columns of both.
constexpr size_t CELL_MAX = 64;
void format_wanted(char (&out)[CELL_MAX], const link_status &link);
void format_recorded(char (&out)[CELL_MAX], const link_status &link);
void format_real(char (&out)[CELL_MAX], const look &at, const link_status &link);

// What "pppoe wan1" is called in a line: the name, or the interface of a link without one.
const char *shown_name(const link_status &link);
