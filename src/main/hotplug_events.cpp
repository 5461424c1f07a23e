#include "main/hotplug_events.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>

struct hotplug_event {
    const char *name;
    int (*handle)();
};

constexpr hotplug_event events[] = {
    {"net", nullptr},
    {"usb_device", nullptr},
    {"usb", nullptr},
    {"block", nullptr},
};

int hotplug_main(int argc, char **argv)
{
    if (argc < 2) {
        fputs("usage: hotplug [event]\n", stderr);
        return EINVAL;
    }
    for (const hotplug_event &row : events) {
        if (strcmp(row.name, argv[1]) == 0)
            return row.handle != nullptr ? row.handle() : 0;
    }
    return 0;
}
