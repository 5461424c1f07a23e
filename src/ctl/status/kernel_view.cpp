#include "ctl/status/kernel_view.h"

#include "ctl/unseen.h"
#include "util/open_file.h"
#include "util/text.h"

#include <arpa/inet.h>
#include <errno.h>
#include <ifaddrs.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>

// What belongs to an IPv4 address is one, too.
static in_addr_t inet_of(const sockaddr *address)
{
    if (address == nullptr)
        return 0;
    sockaddr_in inet;
    memcpy(&inet, address, sizeof(inet));
    return inet.sin_addr.s_addr;
}

static iface_view *take_iface(kernel_view *view, const char *label)
{
    // A further address may have a name of its own, "br0:1".
    char name[IF_NAMESIZE];
    text_set(name, label);
    name[strcspn(name, ":")] = '\0';
    for (size_t i = 0; i < view->ifaces; i++) {
        if (strcmp(view->iface[i].name, name) == 0)
            return &view->iface[i];
    }
    if (view->ifaces == IFACES_MAX)
        return nullptr;
    iface_view *iface = &view->iface[view->ifaces++];
    text_set(iface->name, name);
    return iface;
}

static void take_address(iface_view *iface, const ifaddrs *row)
{
    if (row->ifa_addr == nullptr || row->ifa_addr->sa_family != AF_INET ||
        iface->addresses == ADDRESSES_MAX)
        return;
    size_t i = iface->addresses++;
    bool is_to_peer = (row->ifa_flags & IFF_POINTOPOINT) != 0;
    iface->address_be[i] = inet_of(row->ifa_addr);
    iface->netmask_be[i] = inet_of(row->ifa_netmask);
    iface->peer_be[i] = is_to_peer ? inet_of(row->ifa_dstaddr) : 0;
}

static int look_at_interfaces(kernel_view *view)
{
    ifaddrs *rows = nullptr;
    if (getifaddrs(&rows) != 0)
        return errno;
    for (const ifaddrs *row = rows; row != nullptr; row = row->ifa_next) {
        iface_view *iface = take_iface(view, row->ifa_name);
        if (iface == nullptr)
            continue;
        iface->is_up = (row->ifa_flags & IFF_UP) != 0;
        iface->has_carrier = iface->is_up && (row->ifa_flags & IFF_RUNNING) != 0;
        take_address(iface, row);
    }
    freeifaddrs(rows);
    return 0;
}

// Addresses stand there in hexadecimal, as the machine has them in memory. All routes are up, and
// a destination without a mask is the default's.
static void take_route(kernel_view *view, const char *line)
{
    route_view route = {};
    unsigned gateway, mask;
    int count =
        sscanf(line, "%15s %*x %x %*x %*d %*d %d %x", route.iface, &gateway, &route.metric, &mask);
    if (count != 4 || mask != 0 || view->defaults == ROUTES_MAX)
        return;
    route.gateway_be = gateway;
    view->default_route[view->defaults++] = route;
}

static int look_at_routes(kernel_view *view)
{
    FILE *file = open_stream("/proc/net/route", "r");
    if (file == nullptr)
        return errno;
    char line[256];
    while (fgets(line, sizeof(line), file) != nullptr)
        take_route(view, line);
    int error = ferror(file) ? EIO : 0;
    fclose(file);
    return error;
}

int look_at_kernel(kernel_view *view)
{
    *view = {};
    int error = look_at_interfaces(view);
    return error != 0 ? error : look_at_routes(view);
}

const iface_view *find_iface(const kernel_view &kernel, const char *name)
{
    for (size_t i = 0; i < kernel.ifaces; i++) {
        if (strcmp(kernel.iface[i].name, name) == 0)
            return &kernel.iface[i];
    }
    return nullptr;
}

bool has_address(const iface_view &iface, in_addr_t address_be)
{
    for (size_t i = 0; i < iface.addresses; i++) {
        if (iface.address_be[i] == address_be)
            return true;
    }
    return false;
}

const route_view *find_default_route(const kernel_view &kernel, const char *iface,
                                     in_addr_t gateway_be)
{
    const route_view *any = nullptr;
    for (size_t i = 0; i < kernel.defaults; i++) {
        const route_view *route = &kernel.default_route[i];
        if (strcmp(route->iface, iface) != 0)
            continue;
        if (route->gateway_be == gateway_be)
            return route;
        if (any == nullptr)
            any = route;
    }
    return any;
}

bool is_bridge_port(const char *bridge, const char *port)
{
    char path[128];
    struct stat status;
    text_format(path, sizeof(path), "/sys/class/net/%s/brif/%s", bridge, port);
    if (lstat(path, &status) == 0)
        return true;
    note_unseen(path, errno);
    return false;
}

void format_address(char (&out)[IPV4_TEXT_MAX], in_addr_t address_be)
{
    in_addr address = {address_be};
    inet_ntop(AF_INET, &address, out, sizeof(out));
}
