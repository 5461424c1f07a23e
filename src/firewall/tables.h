// The three tables. Each is written as a complete rule file under /tmp and loaded whole, so that it
// is never in force half-built: a file that is not whole (see write_rule_file()) leaves the table
// alone, as one that cannot be created does. They look at the switches (firewall/switches.h) as
// they stand.
#pragma once

constexpr char NAT_RULES[] = "/tmp/nat_rules";
constexpr char FILTER_RULES[] = "/tmp/filter_rules";
constexpr char MANGLE_RULES[] = "/tmp/mangle_rules";

// Write and load /tmp/nat_rules: the UPnP daemon's hook, the port forwards, NAT loopback,
// masquerading and port triggers. lan_ip and lan_netmask are dotted quads. The jump from PREROUTING
// to the port forwards is not in it: it goes away with a rebuild, and the next event of a WAN link
// adds it again. A file that cannot be created is not reported.
void nat_setting_morvi(const char *lan_if, const char *lan_ip, const char *lan_netmask,
                       const char *wan_if);

// Write and load /tmp/filter_rules. accept_target and drop_target are the chains for the two
// verdicts, lan_ip is not used. Returns 0, or -1 when the file cannot be created, which is not
// reported, or is not whole.
int filter_setting_morvi(const char *lan_if, const char *lan_ip, const char *wan_if,
                         const char *accept_target, const char *drop_target);

// Write and load /tmp/mangle_rules: multicast survives the hop through the router. The arguments
// are not used. Returns the wait status of the load command, or 0 when the file cannot be created,
// which is not reported, or is not whole.
int mangle_setting_morvi(const char *lan_if, const char *wan_if, const char *accept_target,
                         const char *drop_target);
