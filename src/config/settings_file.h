// Line by line through a settings file under /etc/default.
#pragma once

#include <stddef.h>
#include <stdio.h>

// Room for one line with its line end and terminator. A longer line is read in pieces, each of
// which counts as a line of its own.
constexpr size_t SETTINGS_LINE_MAX = 255;

// Open path for reading. A failure is reported on standard error with the path as prefix and gives
// null.
FILE *open_settings(const char *path);

// What becomes of lines that begin with "#".
enum class comments {
    skipped,
    parsed, // they are lines like any other
};

// Read the next line that counts into line, with its line end: lines whose first character is white
// space (empty ones among them) are skipped, and comments unless they are to be parsed. Returns
// false at the end of the file.
bool next_settings_line(FILE *file, char (&line)[SETTINGS_LINE_MAX],
                        comments hash_lines = comments::skipped);
