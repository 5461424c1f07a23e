#include "ctl/unseen.h"

#include "util/text.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>

static char unseen[96];
static int reason; // 0 for nothing

void forget_unseen()
{
    reason = 0;
}

void note_unseen(const char *what, int error)
{
    bool is_absent = error == ENOENT || error == ENOTDIR || error == ESRCH;
    if (reason != 0 || is_absent)
        return;
    reason = error;
    text_set(unseen, what);
}

bool has_unseen(char *why, size_t room)
{
    if (reason == 0)
        return false;
    text_format(why, room, "cannot look at %s: %s", unseen, strerror(reason));
    return true;
}

bool tell_unseen()
{
    char why[160];
    bool is_any = has_unseen(why, sizeof(why));
    if (is_any)
        fprintf(stderr, "mctl: %s\n", why);
    return is_any;
}
