// One network interface: its flags and its IPv4 address, set through the kernel.
#pragma once

// Values for the flags of ifconfig(), which are written whole and not merged with the current ones.
constexpr int IFACE_DOWN = 0;
constexpr int IFACE_UP = 0x1043; // up, broadcast, running, multicast

// Write flags to the interface name (at most 16 characters are used); then, when address (dotted
// quad; null or "" for none) is given, set it; then, when netmask is given as well, set it and the
// broadcast address that follows from both. A netmask without an address is ignored. A text that is
// no dotted quad is not detected: it counts as 255.255.255.255.
// Returns 0, or the error number of the first step that failed, which ends the sequence and is
// reported on standard error with name as prefix. What was done before it stays.
int ifconfig(const char *name, int flags, const char *address, const char *netmask);
