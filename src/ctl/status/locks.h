// The program's existence locks, seen from beside: who has them, and whether anybody does.
#pragma once

enum class lock_state {
    free,
    held, // by a process of the program, for longer than it takes to read and write a file
    left, // by one that is gone, or by nobody who can be told
};

struct lock_view {
    lock_state state;
    int holder; // 0 when the file does not tell
};

// A lock that is there is looked at again for a while, as the program holds it for milliseconds.
// One that cannot be looked at is noted (ctl/unseen.h) and counts as free.
lock_view look_at_lock(const char *name);
