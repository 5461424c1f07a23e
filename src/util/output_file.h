// Files that the program generates for others, written from their beginning.
#pragma once

#include <stdio.h>

// Create path, or empty it, for writing. A failure is reported on standard error with the path as
// prefix and gives null.
FILE *create_output(const char *path);

// Write a file of this text, as far as it can be; nothing is reported.
void write_text(const char *path, const char *text);

// Close file. Returns true when all of what was written could be stored; otherwise that is reported
// on standard error with path as prefix.
bool close_output(FILE *file, const char *path);

// Create PATH.new for writing, whose place replace_output() gives it: path is what it was before,
// or whole. A file that is there already passes its mode on. A failure is as above.
FILE *create_beside(const char *path);

// Close what create_beside(path) has given and put it in place of path. When not all of it could be
// stored, that is reported as above, path stays as it was and nothing is left beside it.
void replace_output(FILE *file, const char *path);

// Before name becomes part of a path: with a slash in it, it could lead out of the directory that
// it is meant for. Returns 0, or EINVAL when it holds one, which is reported on standard error with
// the name as prefix.
int check_path_part(const char *name);
