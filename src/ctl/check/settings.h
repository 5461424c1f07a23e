// All settings of a router at once: the files, and what lines of one mean for those of another.
#pragma once

#include "config/params.h"
#include "ctl/check/names.h"
#include "ctl/check/report.h"
#include "ctl/check/tree.h"
#include "ctl/check/values.h"

#include <stddef.h>
#include <stdint.h>

// In the order in which they are judged.
enum class source : unsigned char {
    interfaces,
    peers,
    dns,
    wimax,
    ip_filter,
    igmp,
    upnp,
    schedules,
    rules,
    macs,
    urls,
    access,
    vservers,
    masq,
    triggers,
    zone,
    nvram_device,
    nvram_wireless,
};
constexpr size_t SOURCES = 18;

// What network-interfaces makes of one interface.
struct interface_facts {
    unsigned line; // the one that counts; 0 when it has none
    bool is_auto;
    char type[sizeof(iface_params::type)];
    bool has_network; // static, with an address and a netmask that can be used
    ipv4_network network;
    uint32_t metric; // of the default route, without the 1 that the kernel is told more
};

constexpr size_t INTERFACES = 3;
constexpr size_t LAN = 0; // positions in known_interfaces
constexpr size_t WIRED_WAN = 1;

struct settings {
    report *r;
    loaded_file files[SOURCES];
    interface_facts interfaces[INTERFACES];
    // The first of the switch files that cannot be read, which leaves those behind it unread; null
    // when all can be.
    const char *unread_since;
    name_index schedules;
    name_index peers;
    bool is_peer_dialled; // any over PPPoE
};

const loaded_file &file_of(const settings &all, source which);

// The position in known_interfaces, or INTERFACES for none.
size_t find_interface(const char *name);
