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

// What becomes of the white space at the end of a field, the line end of the last one above all.
enum class field_end {
    kept, // it is part of the field
    trimmed,
};

// How the lines of a file are told apart and split. Readers read by it, mctl check judges by it.
struct line_format {
    const char *path;
    comments hash_lines;
    field_end end;
    const char *separators;
};

// Whether a line that begins with first is passed over: one that begins with white space (an empty
// one among them), and a comment unless these are parsed.
bool is_skipped_line(char first, comments hash_lines);

// Read the next line that counts (is_skipped_line()) into line, with its line end. Returns false at
// the end of the file, and where no more of it can be read.
bool next_settings_line(FILE *file, char (&line)[SETTINGS_LINE_MAX],
                        comments hash_lines = comments::skipped);

// Close what open_settings(path) has given. When reading ended in an error and not at the end of
// the file, that is reported on standard error with the path as prefix. Call it directly after the
// last line was asked for.
void close_settings(FILE *file, const char *path);
