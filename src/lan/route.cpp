#include "lan/route.h"

#include "lan/inet_request.h"
#include "util/ioctl_request.h"
#include "util/text.h"

#include <net/if.h>
#include <net/route.h>

constexpr in_addr_t HOST_NETMASK_BE = 0xffffffff;

static unsigned short flags_of(in_addr_t gateway_be, in_addr_t netmask_be)
{
    unsigned flags = RTF_UP;
    if (gateway_be != 0)
        flags |= RTF_GATEWAY;
    if (netmask_be == HOST_NETMASK_BE)
        flags |= RTF_HOST;
    return static_cast<unsigned short>(flags);
}

static int route_request(ioctl_request number, const char *device, int metric,
                         const char *destination, const char *gateway, const char *netmask)
{
    // The kernel reads IFNAMSIZ - 1 characters of the device name, whatever its length.
    char name[IFNAMSIZ] = {};
    text_set(name, device);
    in_addr_t gateway_be = inet_from_text(gateway);
    in_addr_t netmask_be = inet_from_text(netmask);

    rtentry route = {};
    inet_set_address(&route.rt_dst, inet_from_text(destination));
    inet_set_address(&route.rt_gateway, gateway_be);
    inet_set_address(&route.rt_genmask, netmask_be);
    route.rt_flags = flags_of(gateway_be, netmask_be);
    route.rt_metric = static_cast<short>(metric);
    route.rt_dev = name;

    int fd = inet_open(SOCK_DGRAM, 0);
    int result = fd < 0 ? -1 : ioctl(fd, number, &route);
    return inet_finish(fd, result, device);
}

int route_add(const char *device, int metric, const char *destination, const char *gateway,
              const char *netmask)
{
    return route_request(SIOCADDRT, device, metric, destination, gateway, netmask);
}

int route_del(const char *device, int metric, const char *destination, const char *gateway,
              const char *netmask)
{
    return route_request(SIOCDELRT, device, metric, destination, gateway, netmask);
}
