#include "lan/interface.h"

#include "lan/inet_request.h"
#include "util/ioctl_request.h"

#include <net/if.h>
#include <netinet/in.h>
#include <string.h>

constexpr int RAW_PROTOCOL = 255;

static void set_name(ifreq *request, const char *name)
{
    memcpy(request->ifr_name, name, strnlen(name, sizeof(request->ifr_name)));
}

static int set_flags(int fd, ifreq *request, int flags)
{
    request->ifr_flags = static_cast<short>(flags);
    return ioctl(fd, SIOCSIFFLAGS, request);
}

static int set_address(int fd, ifreq *request, ioctl_request number, in_addr_t address_be)
{
    inet_set_address(&request->ifr_addr, address_be);
    return ioctl(fd, number, request);
}

static int configure(int fd, const char *name, int flags, const char *address, const char *netmask)
{
    ifreq request = {};
    set_name(&request, name);
    if (set_flags(fd, &request, flags) < 0)
        return -1;
    if (!inet_is_given(address))
        return 0;
    in_addr_t address_be = inet_from_text(address);
    if (set_address(fd, &request, SIOCSIFADDR, address_be) < 0)
        return -1;
    if (!inet_is_given(netmask))
        return 0;
    in_addr_t netmask_be = inet_from_text(netmask);
    if (set_address(fd, &request, SIOCSIFNETMASK, netmask_be) < 0)
        return -1;
    return set_address(fd, &request, SIOCSIFBRDADDR, address_be | ~netmask_be);
}

int ifconfig(const char *name, int flags, const char *address, const char *netmask)
{
    int fd = inet_open(SOCK_RAW, RAW_PROTOCOL);
    int result = fd < 0 ? -1 : configure(fd, name, flags, address, netmask);
    return inet_finish(fd, result, name);
}
