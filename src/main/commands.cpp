#include "main/commands.h"

#include "config/document.h"
#include "hw/boot_loader.h"
#include "lan/netbase.h"
#include "util/device.h"
#include "util/text.h"
#include "wan/wan_start.h"

#include <stdio.h>
#include <string.h>

int start_flag = 0;

static void start(int, char **)
{
    start_flag = 1;
}

static void show_wan_type(int, char **)
{
    fprintf(stdout, "%d\n", get_wan_type());
}

static void write_device_params(int, char **)
{
    set_device_params();
}

static void start_netbase(int, char **)
{
    netbase_start();
}

static void stop_netbase(int, char **)
{
    netbase_stop();
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

static void check_update(int, char **)
{
    check_update_from_china();
}

struct command {
    const char *name;
    void (*run)(int argc, char **argv);
};

// clang-format off
constexpr command commands[] = {
    {"start", start},
    {"get_wan_type", show_wan_type},
    {"set_device_params", write_device_params},
    {"netbase_start", start_netbase},
    {"netbase_stop", stop_netbase},
    {"set_config", set_config_from_files},
    {"start_wan", start_wan},
    {"stop_wan", stop_wan},
    {"check_update", check_update},
};
// clang-format on

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
        if (strcmp(row.name, argv[1]) == 0) {
            row.run(argc, argv);
            break;
        }
    }
    return 0;
}
