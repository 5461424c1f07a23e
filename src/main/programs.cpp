#include "main/programs.h"

#include "firewall/firewall.h"
#include "main/commands.h"
#include "main/hotplug_events.h"
#include "util/log.h"
#include "util/time_zone.h"
#include "wan/dhcp_event.h"
#include "wan/ppp_event.h"

#include <string.h>

static const char *argument_or_null(int argc, char **argv, int position)
{
    return position < argc ? argv[position] : nullptr;
}

static int firewall_update_main(int argc, char **argv)
{
    start_firewall_morvi(argument_or_null(argc, argv, 1), argument_or_null(argc, argv, 2),
                         argument_or_null(argc, argv, 3));
    return 0;
}

static int update_time_main(int, char **)
{
    update_time();
    return 0;
}

// The link is kept for scripts that still call it; saving is done by the event handlers themselves.
static int save_link_state_main(int, char **)
{
    logmessage("mcfg", "save_link_state");
    return 0;
}

enum class match {
    contains, // the name stands anywhere in the base name
    equals,
};

struct program {
    const char *name;
    match how;
    int (*run)(int argc, char **argv);
};

// Tried in this order, the first that matches is the one.
constexpr program programs[] = {
    {"mcfg", match::contains, mcfg_main},
    {"firewall_update", match::contains, firewall_update_main},
    {"update_time", match::contains, update_time_main},
    {"save_link_state", match::equals, save_link_state_main},
    {"hotplug", match::contains, hotplug_main},
    {"udhcpc", match::contains, udhcpc_main},
    {"ip-up", match::equals, ipup_main},
    {"ip-down", match::equals, ipdown_main},
};

static const char *base_name(const char *path)
{
    const char *slash = strrchr(path, '/');
    return slash != nullptr ? slash + 1 : path;
}

static bool matches(const program &row, const char *name)
{
    switch (row.how) {
    case match::contains:
        return strstr(name, row.name) != nullptr;
    case match::equals:
        return strcmp(name, row.name) == 0;
    }
    return false;
}

int run_program(int argc, char **argv)
{
    const char *name = base_name(argc > 0 ? argv[0] : "");
    for (const program &row : programs) {
        if (matches(row, name))
            return row.run(argc, argv);
    }
    return 0;
}
