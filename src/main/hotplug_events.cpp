#include "main/hotplug_events.h"

#include "hotplug/block.h"
#include "hotplug/net.h"
#include "hotplug/usb.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>

struct hotplug_event {
    const char *name;
    int (*handle)();
};

constexpr hotplug_event events[] = {
    {"net", hotplug_net},
    {"usb_device", hotplug_usb_dev},
    {"usb", hotplug_usb},
    {"block", hotplug_block},
};

int hotplug_main(int argc, char **argv)
{
    if (argc < 2) {
        fputs("usage: hotplug [event]\n", stderr);
        return EINVAL;
    }
    for (const hotplug_event &row : events) {
        if (strcmp(row.name, argv[1]) == 0)
            return row.handle();
    }
    return 0;
}
