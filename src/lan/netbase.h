// The router's base network: switch VLANs, LAN bridge with the wireless interface, LAN address,
// firewall and DNS relay. The WAN is started afterwards, by a command of its own.
#pragma once

inline constexpr const char *bridge_ports[] = {"vlan1", "ra0"};

// Bring the base network up: rebuild the running configuration, run the firmware's net-base
// scripts, configure loopback, build VLANs and bridge (vconfig()), address the LAN as element 0 of
// "Lan" says (type "static": its address; "dhcp": a DHCP client; any other: no address), write
// /tmp/hosts.runtime and /var/run/net-state, name the host, build the firewall and start the DNS
// relay.
// Only two errors stop it, after a log line: a configuration that cannot be loaded (loopback is not
// configured then) and one without a "Lan" array. Whatever else fails says so itself, and the rest
// goes on: a router with half a LAN can still be reached and repaired.
void netbase_start();

// Load the wireless driver and its interfaces, split the switch port eth2 into vlan1 (LAN ports)
// and vlan2 (WAN port), and join vlan1 and ra0 in the bridge br0. vlan2 gets its MAC address but
// stays down until the WAN is started. lan_iface is the LAN interface. Results of the steps are not
// looked at; returns that of the last one (see _eval()). Logs the MAC addresses (tag mcfg-vconfig).
int vconfig(const char *lan_iface);

// Take VLANs and bridge away, switch forwarding off and stop the DNS relay; WAN and firewall are
// left alone. Returns the status of the DNS relay's script (see shell()).
int netbase_stop();
