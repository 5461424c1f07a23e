// Files that the program generates for others, written from their beginning.
#pragma once

#include <stdio.h>

// Create path, or empty it, for writing. A failure is reported on standard error with the path as
// prefix and gives null.
FILE *create_output(const char *path);

// Close file. Returns true when all of what was written could be stored; otherwise that is reported
// on standard error with path as prefix.
bool close_output(FILE *file, const char *path);
