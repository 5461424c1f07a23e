#include "wan/default_route.h"

#include "lan/route.h"

// Wraps at the end of the range: the settings may hold any number.
static int kernel_metric(int metric)
{
    return static_cast<int>(static_cast<unsigned>(metric) + 1);
}

int add_default_route(const char *iface, int metric, const char *gateway)
{
    return route_add(iface, kernel_metric(metric), "0.0.0.0", gateway, "0.0.0.0");
}

int del_default_route(const char *iface, int metric, const char *gateway)
{
    return route_del(iface, kernel_metric(metric), "0.0.0.0", gateway, "0.0.0.0");
}
