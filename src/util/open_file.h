// Opening files by name, for reading and for writing. What is found under a name is whatever
// somebody has put there, and the router's start must not wait for it.
#pragma once

#include <stdio.h>
#include <sys/types.h>

// open() with these flags, closed in children that are run. Never waits: a FIFO, whose other end
// nobody may ever open, is refused with EINVAL (or ENXIO for writing). Returns a descriptor, or -1
// with errno.
int open_file(const char *path, int flags, mode_t mode = 0);

// fopen() in mode "r" or "w", likewise. Returns null with errno on failure, and a file that was
// there is then as it was.
FILE *open_stream(const char *path, const char *mode);
