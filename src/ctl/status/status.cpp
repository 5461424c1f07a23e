#include "ctl/status/status.h"

#include <string.h>
#include <unistd.h>

static int show(const look &at, bool is_json)
{
    static router_status status;
    judge(at, &status);
    if (is_json)
        print_status_json(stdout, at, status);
    else
        print_status(stdout, at, status, isatty(STDOUT_FILENO) == 1);
    if (fflush(stdout) != 0 || ferror(stdout)) {
        perror("mctl: standard output");
        return 2;
    }
    return status.is_well ? 0 : 1;
}

int status_main(int count, char **words)
{
    bool is_json = count == 1 && strcmp(words[0], "--json") == 0;
    if (count > 0 && !is_json) {
        fputs("usage: mctl status [--json]\n", stderr);
        return 2;
    }
    static look at;
    char fault[FAULT_MAX];
    bool could_look = look_around(&at, fault);
    if (!could_look)
        fprintf(stderr, "mctl: %s\n", fault);
    int result = could_look ? show(at, is_json) : 2;
    forget_look(&at);
    return result;
}
