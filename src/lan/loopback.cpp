#include "lan/loopback.h"

#include "lan/interface.h"
#include "lan/route.h"

int config_loopback()
{
    ifconfig("lo", IFACE_UP, "127.0.0.1", "255.0.0.0");
    return route_add("lo", 0, "127.0.0.0", "0.0.0.0", "255.0.0.0");
}
