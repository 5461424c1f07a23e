#include "ctl/status/status.h"

#include "ctl/output.h"

#include <string.h>
#include <unistd.h>

static int show(const look &at, const router_status &status, bool is_json)
{
    if (!is_json) {
        print_status(stdout, at, status, isatty(STDOUT_FILENO) == 1);
    } else if (!print_status_json(stdout, at, status)) {
        fputs("mctl: not enough memory to tell the status\n", stderr);
        return 2;
    }
    return status_of_output(status.is_well ? 0 : 1);
}

int status_main(int count, char **words)
{
    bool is_json = count == 1 && strcmp(words[0], "--json") == 0;
    if (count > 0 && !is_json) {
        fputs("usage: mctl status [--json]\n", stderr);
        return 2;
    }
    static look at;
    static router_status status;
    char fault[FAULT_MAX];
    bool could_look = look_and_judge(&at, &status, fault);
    if (!could_look)
        fprintf(stderr, "mctl: %s\n", fault);
    int result = could_look ? show(at, status, is_json) : 2;
    forget_look(&at);
    return result;
}
