// What could not be looked at although it may be there: memory has run out, no descriptor was to be
// had, a disk has failed. A verdict that rests on it would be worth nothing, so whoever gives one
// asks here before: mctl check, status and heal then end with 2.
#pragma once

#include <stddef.h>

void forget_unseen();

// Note that what (a path, mostly) could not be looked at for that error number. The first one is
// told. Nothing is noted for 0, and where the error says that there is no such thing or process.
void note_unseen(const char *what, int error);

// Whether anything was noted; then why holds "cannot look at WHAT: ERROR", cut at the room.
bool has_unseen(char *why, size_t room);

// The same, and tell it on standard error.
bool tell_unseen();
