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

// Read the next line that counts into line, with its line end: lines whose first character is white
// space (empty ones among them) or "#" are skipped. Returns false at the end of the file.
bool next_settings_line(FILE *file, char (&line)[SETTINGS_LINE_MAX]);
