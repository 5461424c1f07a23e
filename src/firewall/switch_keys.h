// The keys of the switch files and what their values do, as data: the reader (firewall/switches.h)
// reads by these, and mctl check judges by them.
#pragma once

#include "firewall/switches.h"

#include <stddef.h>

constexpr char IP_FILTER[] = "/etc/default/ip_filter";
constexpr char IGMP[] = "/etc/default/igmp";
constexpr char UPNP[] = "/etc/default/upnp";

// A value stands behind the first of these and ends at the next, and is trimmed.
constexpr char SWITCH_SEPARATORS[] = "= ";

// The order of reading.
inline constexpr const char *switch_files[] = {IP_FILTER, IGMP, UPNP};

// What a value, in any case, sets its switch to. A value that is not in the list changes nothing.
struct switch_value {
    const char *text; // null after the last one
    int value;
};

inline constexpr switch_value off_values[] = {
    {"0", 0},
    {"NO", 0},
    {nullptr, 0},
};

// clang-format off
inline constexpr switch_value mac_values[] = {
    {"0", MAC_OFF},
    {"disabled", MAC_OFF},
    {"1", MAC_ALLOW},
    {"allow", MAC_ALLOW},
    {"2", MAC_DENY},
    {"deny", MAC_DENY},
    {nullptr, 0},
};
// clang-format on

struct switch_key {
    const char *file;
    const char *key;
    size_t compared; // only so many leading characters tell the key
    int *target;
    const switch_value *values;
};

// The first key that matches is the one. Two are told by less than their whole text, so that the
// likes of FIREWALL_ENABLED and VSERVERS_EN count as well. Port forwards have no switch of their
// own: VSERVERS_ENABLE stands for address translation as a whole.
inline constexpr switch_key switch_keys[] = {
    {IP_FILTER, "FIREWALL_ENABLE", 10, &fw.firewall, off_values},
    {IP_FILTER, "NAT_ENABLE", 10, &fw.nat, off_values},
    {IP_FILTER, "VSERVERS_ENABLE", 10, &fw.nat, off_values},
    {IP_FILTER, "DDOS_ENABLE", 11, &fw.dos, off_values},
    {IP_FILTER, "WAN_PING_ENABLE", 15, &fw.wan_ping, off_values},
    {IP_FILTER, "TRIGGER_PORTS_ENABLE", 20, &fw.trigger_ports, off_values},
    {IP_FILTER, "MAC_FILTER_ENABLE", 17, &fw.mac_mode, mac_values},
    {IP_FILTER, "URL_FILTER_ENABLE", 17, &fw.url_filter, off_values},
    {IGMP, "IGMP_ENABLE", 11, &fw.igmp, off_values},
    {UPNP, "UPNP_ENABLE", 11, &fw.upnp, off_values},
};

// The row of a key in the file path, null when no row there takes it.
const switch_key *find_switch_key(const char *path, const char *key);

// What value does to the switch of row; null when it leaves it alone.
const switch_value *find_switch_value(const switch_key *row, const char *value);
