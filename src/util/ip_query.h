// The IPv4 address of an interface, and the network it stands for.
#pragma once

#include <stddef.h>

// Room for "255.255.255.255/32" and the terminator.
constexpr size_t NETWORK_TEXT_MAX = 19;

// Room that get_ip_mask_from_iface needs in each of its texts.
constexpr size_t QUERY_TEXT_MAX = 24;

// Write the address and the netmask of interface ifname (15 characters are used) into ipaddr and
// netmask as dotted quads. Returns 0, or -1 after reporting the step that failed on standard error
// ("socket", "ioctl SIOCGIFADDR" or "ioctl SIOCGIFNETMASK"); ipaddr may be written by then.
// Logs both (tag get_ip_mask_from_iface).
int get_ip_mask_from_iface(const char *ifname, char (&ipaddr)[QUERY_TEXT_MAX],
                           char (&netmask)[QUERY_TEXT_MAX]);

// Write the network of ipaddr and netmask (dotted quads) into out, as "192.168.1.0/24". The prefix
// length counts the bits down to the lowest one of the mask, so 255.0.255.0 gives 24. A text that
// is no dotted quad is not detected: it counts as 255.255.255.255.
// Returns the number of characters written.
int ip2class(const char *ipaddr, const char *netmask, char (&out)[NETWORK_TEXT_MAX]);
