#include "main/commands.h"

#include "config/document.h"
#include "util/text.h"
#include "wan/wan_start.h"

#include <stdio.h>
#include <string.h>

int start_flag = 0;

static void start(int, char **)
{
    start_flag = 1;
}

static void set_config_from_files(int, char **)
{
    set_config(1);
}

// Both numbers or none: a single one does not count.
static void start_wan(int argc, char **argv)
{
    if (argc >= 4)
        start_wan_morvi(text_to_int(argv[2]), text_to_int(argv[3]));
    else
        start_wan_morvi(0, 0);
}

// The second number is asked for as by start_wan and has no effect.
static void stop_wan(int argc, char **argv)
{
    stop_wan_morvi(argc >= 4 ? text_to_int(argv[2]) : 0);
}

struct command {
    const char *name;
    void (*run)(int argc, char **argv);
};

constexpr command commands[] = {
    {"start", start},           {"get_wan_type", nullptr}, {"set_device_params", nullptr},
    {"netbase_start", nullptr}, {"netbase_stop", nullptr}, {"set_config", set_config_from_files},
    {"start_wan", start_wan},   {"stop_wan", stop_wan},    {"check_update", nullptr},
};

static void show_usage_mcfg()
{
    fputs("\nUsage: mcfg [start|stop|restart]\n\n", stderr);
}

int mcfg_main(int argc, char **argv)
{
    if (argc < 2) {
        show_usage_mcfg();
        return -1;
    }
    for (const command &row : commands) {
        if (strcmp(row.name, argv[1]) != 0)
            continue;
        if (row.run != nullptr)
            row.run(argc, argv);
        break;
    }
    return 0;
}
