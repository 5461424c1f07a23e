#include "ctl/mctl.h"

#include "ctl/check/check.h"
#include "ctl/firewall.h"
#include "ctl/heal/heal.h"
#include "ctl/report/report.h"
#include "ctl/status/status.h"

#include <stdio.h>
#include <string.h>

struct sub_command {
    const char *name;
    const char *arguments;
    const char *purpose;
    int (*run)(int count, char **words); // the words behind the name
};

constexpr sub_command sub_commands[] = {
    {"check", "[--root DIR] [--json]", "tell what the router will make of its settings",
     check_main},
    {"status", "[--json]", "tell what is wanted, what is recorded and what is", status_main},
    {"firewall", "LAN WAN LOGMODE",
     "rebuild the firewall, and lead links into the port forwards again", firewall_main},
    {"heal", "[--dry-run]", "mend what is odd and can be mended safely", heal_main},
    {"report", "", "tell all that a bug report needs, without secrets", report_main},
};

static void explain(FILE *to, const sub_command &row)
{
    fprintf(to, "  %s%s%s\n      %s\n", row.name, *row.arguments != '\0' ? " " : "", row.arguments,
            row.purpose);
}

static int usage(FILE *to, int status)
{
    fputs("usage: mctl COMMAND [OPTION...]\n", to);
    for (const sub_command &row : sub_commands)
        explain(to, row);
    return status;
}

static int run(const sub_command &row, int count, char **words)
{
    if (count == 0 || strcmp(words[0], "--help") != 0)
        return row.run(count, words);
    fputs("usage: mctl\n", stdout);
    explain(stdout, row);
    return 0;
}

int mctl_main(int argc, char **argv)
{
    if (argc < 2)
        return usage(stderr, 2);
    if (strcmp(argv[1], "--help") == 0 || strcmp(argv[1], "help") == 0)
        return usage(stdout, 0);
    for (const sub_command &row : sub_commands) {
        if (strcmp(row.name, argv[1]) == 0)
            return run(row, argc - 2, argv + 2);
    }
    fprintf(stderr, "mctl: no command \"%s\"\n", argv[1]);
    return usage(stderr, 2);
}
