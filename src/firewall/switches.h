// The firewall's switches: which groups of rules the tables carry.
#pragma once

// Each is 1 for on and 0 for off but the MAC filter mode. The values here are those of a router
// that has no settings.
struct firewall_switches {
    int firewall = 1; // the closing drop of INPUT, and what stands right before it
    int nat = 1;
    int vservers = 1; // nothing turns the virtual servers off
    int dos = 1;
    int wan_ping = 1;
    int trigger_ports = 1;
    int mac_mode = 0; // MAC_OFF, MAC_ALLOW or MAC_DENY
    int url_filter = 1;
    int igmp = 1;
    int upnp = 1;
};

constexpr int MAC_OFF = 0;
constexpr int MAC_ALLOW = 1; // only the listed devices
constexpr int MAC_DENY = 2;  // all but the listed devices

extern firewall_switches fw;

// Set fw from /etc/default/ip_filter, igmp and upnp. A file that cannot be opened is reported on
// standard error with its path and ends the reading there and then: it and the files after it leave
// their switches as a router without settings has them. Returns 0, or -1 in that case.
int get_global_firewall_config();
