// What the kernel has, read and never changed: interfaces, IPv4 addresses, default routes and
// bridge ports. Everything that mctl asks of the kernel's network goes through here.
#pragma once

#include "config/params.h"

#include <net/if.h>
#include <netinet/in.h>
#include <stddef.h>

constexpr size_t ADDRESSES_MAX = 4; // of one interface; more are not looked at

struct iface_view {
    char name[IF_NAMESIZE];
    bool is_up;
    bool has_carrier; // and is up
    size_t addresses;
    in_addr_t address_be[ADDRESSES_MAX];
    in_addr_t netmask_be[ADDRESSES_MAX];
    in_addr_t peer_be[ADDRESSES_MAX]; // of a point-to-point link, else 0
};

struct route_view {
    char iface[IF_NAMESIZE];
    in_addr_t gateway_be; // 0 for none
    int metric;           // as the settings count it
};

constexpr size_t IFACES_MAX = 64;
constexpr size_t ROUTES_MAX = 32;

struct kernel_view {
    size_t ifaces;
    iface_view iface[IFACES_MAX];
    size_t defaults;
    route_view default_route[ROUTES_MAX]; // in the kernel's order
};

// Returns 0, or the error number of what could not be read. Interfaces and routes beyond the room
// are left out.
int look_at_kernel(kernel_view *view);

// Null when there is none of that name.
const iface_view *find_iface(const kernel_view &kernel, const char *name);
bool has_address(const iface_view &iface, in_addr_t address_be);

// The first default route through iface, via gateway_be if there is one, else any. Null for none.
const route_view *find_default_route(const kernel_view &kernel, const char *iface,
                                     in_addr_t gateway_be);

// Whether port belongs to the bridge. What cannot be looked at is noted (ctl/unseen.h).
bool is_bridge_port(const char *bridge, const char *port);

// Write the address as a dotted quad.
void format_address(char (&out)[IPV4_TEXT_MAX], in_addr_t address_be);
