// Stands in the router box for a program that this machine's kernel cannot start by itself: one for
// another processor, or for a C library that the machine has not got. Starts it with what
// FOREIGN_STARTER says, under the name that this was started by. scripts/matrix compiles it,
// statically, once for each program, with
//
//   FOREIGN_STARTER         the words before the name: an emulator, or a C library's loader, with
//                           its options, the last of which takes a name for the program
//   FOREIGN_PRELOAD_OPTION  an emulator's option for a setting that only the program sees: what is
//                           to be preloaded there is nothing for the emulator itself
//   FOREIGN_PROGRAM         the program's path in the box
#include "support/record.h"

#include <stdlib.h>
#include <unistd.h>

#define WORDS_MAX 1024

static char *words[WORDS_MAX];
static int count;

static void add(const char *word)
{
    if (count == WORDS_MAX - 1)
        _exit(125);
    words[count++] = (char *)word;
}

int main(int argc, char **argv)
{
    static const char *const starter[] = {FOREIGN_STARTER};
    for (size_t i = 0; i < sizeof starter / sizeof *starter; i++)
        add(starter[i]);
    add(argc > 0 ? argv[0] : "");
#ifdef FOREIGN_PRELOAD_OPTION
    if (getenv("LD_PRELOAD") != NULL) {
        unsetenv("LD_PRELOAD");
        add(FOREIGN_PRELOAD_OPTION);
        add(BOX_PRELOAD_SETTING);
    }
#endif
    add(FOREIGN_PROGRAM);
    for (int i = 1; i < argc; i++)
        add(argv[i]);
    execv(words[0], words);
    return 125;
}
