// The interfaces of network-interfaces that the router knows.
#pragma once

// An interface that the router knows, with what it is when the settings have no line for it.
struct known_interface {
    const char *iface;
    const char *name;
    const char *list; // the member of "Network" that its entry is appended to
    bool has_tunnels;
    const char *type;
    const char *ipaddr;
    const char *netmask;
};

// The order is that of the entries: the wired WAN is always element 0 of "Wan".
inline constexpr known_interface known_interfaces[] = {
    {"br0", "LAN0", "Lan", false, "static", "192.168.0.1", "255.255.255.0"},
    {"vlan2", "WAN", "Wan", true, "dhcp", "-", "-"},
    {"wimax0", "WIMAX", "Wan", false, "dhcp", "-", "-"},
};
