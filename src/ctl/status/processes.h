// Processes by their pid files and by what /proc tells of them. A number alone proves nothing: the
// one that wrote the file may be gone and its number another's by now. What cannot be read, though
// it may be there, is noted (ctl/unseen.h).
#pragma once

#include <net/if.h>
#include <stddef.h>

// Whether the process number is there, has not ended, and is one of these: the name of its command,
// or the last part of one of the first words of its command line (a script's interpreter and an
// applet's binary come before).
bool is_process(int number, const char *const names[], size_t count);

// What a pid file tells: the process number of its first line, 0 for none, and what its second line
// says of an interface. A file that is no plain file is not opened.
struct pid_file {
    int number;
    char iface[IF_NAMESIZE];
};

pid_file read_pid_file(const char *path);

// The process of the pid file, when it is there and of that name; else 0.
int find_process(const char *path, const char *name);

// The process of that name that was started with these two words behind each other, or 0. Each
// process is looked at: for daemons that have no pid file for a while.
int find_process_by_words(const char *name, const char *first, const char *second);
