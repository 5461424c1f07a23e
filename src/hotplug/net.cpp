#include "hotplug/net.h"

#include "util/log.h"

int hotplug_net()
{
    logmessage("hotplug", "hotplug_net - start...\n");
    logmessage("hotplug", "hotplug_net - stop...\n");
    return 1;
}
