// mctl check, code by code: the files below /etc/default, and the time zone.
#include "ctl/code_test.h"

namespace
{

using namespace check_test;

const std::string LAN = "br0 lan 1 static 192.168.1.1 255.255.255.0 - - 192.168.1.255 - -\n";
const std::string DHCP = "vlan2 wan 1 dhcp\n";
const std::string PPPOE = "vlan2 wan 1 pppoe\n";
const std::string STATIC =
    "vlan2 wan 1 static 192.0.2.77 255.255.255.0 192.0.2.1 5 192.0.2.255 1400 02:00:00:00:02:77\n";
const std::string WIMAX_OFF = "wimax0 wimax 0 dhcp\n";
const std::string WAN1 = "wan1 pppoe 1 login secret vlan2 ac1 isp 1\n";
const std::string WORK = "work l2tp 1 login secret 192.0.2.9 3\n";

std::string with_wan(const std::string &line)
{
    return LAN + line + WIMAX_OFF;
}

const files NO_PEERS = {{PEERS, "# none\n"}};
const files DHCP_WAN = {{INTERFACES, with_wan(DHCP)}};
const files STATIC_WAN = {{INTERFACES, with_wan(STATIC)}};
const files NIGHT = {{SCHEDULES, "night 1 - 1111111 22000600 -\nholiday 0 - 0111110 08001200 -\n"}};

// clang-format off
const code_case rows[] = {
    {"missing", RULES, NO_FILE, 0, "-", ""},
    {"missing: a choice of servers", DNS, NO_FILE, 0, "-", ""},
    {"missing: the modem's settings", WIMAX, NO_FILE, 0, "-", ""},
    {"missing: URLs", URLS, NO_FILE, 0, "-", ""},
    {"missing: forwards", VSERVERS, NO_FILE, 0, "-", ""},
    {"missing: triggers", TRIGGERS, NO_FILE, 0, "-", ""},
    {"missing: the zone", ZONE, NO_FILE, 0, "-", "UTC-3"},
    {"long-line", RULES, "# " + std::string(253, 'x') + "\n", 1, "-", "# " + std::string(252, 'x') + "\n"},
    {"nul-byte", RULES, std::string("DROP\0 pest - 203.0.113.66 - - - - -\n", 36), 1, "-",
     std::string("#\0\n", 3)},
    {"carriage-return", RULES, "DROP pest - 203.0.113.66 - - - - -\r\n", 1, "-",
     "DROP pest - 203.0.113.66 - - - - -\n"},
    {"indented", RULES, "# one\n DROP pest - 203.0.113.66 - - - - -\n", 2, "-", " # DROP\n  \n"},
    {"hash-entry", VSERVERS, "#ssh tcp 2222 22 192.168.1.20 - - - -\n", 1, "-", " # ssh\n"},
    {"field-cut: a schedule's name", MACS, "02:00:00:00:00:0A " + std::string(32, 's') + "\n", 1, "schedule",
     "02:00:00:00:00:0A " + std::string(31, 's') + "\n", {{SCHEDULES, std::string(31, 's') + " 1 - 0111110 08001200 -\n"}}},
    {"field-cut: a password", PEERS, "wan1 pppoe 1 login " + std::string(64, 'p') + " vlan2 ac1 isp 1\n", 1, "passwd",
     "wan1 pppoe 1 login " + std::string(63, 'p') + " vlan2 ac1 isp 1\n"},
    {"field-cut: a metric", INTERFACES, with_wan("vlan2 wan 1 static 192.0.2.77 255.255.255.0 192.0.2.1 100000 - - -\n"), 2, "metric",
     with_wan("vlan2 wan 1 static 192.0.2.77 255.255.255.0 192.0.2.1 99999 - - -\n"), NO_PEERS},
    {"line-end-kept: of a schedule", SCHEDULES, "night 1 - 1111111 22000600\n", 1, "time", "night 1 - 1111111 22000600 \n", {{MACS, "02:00:00:00:00:0B always\n"}, {URLS, ""}}},
    {"line-end-kept: of a forward", VSERVERS, "web tcp 8080 80 192.168.1.20\n", 1, "address", "web tcp 8080 80 192.168.1.20"},
    {"line-end-kept: of a rule", RULES, "DROP a - 203.0.113.66 - - - -\n", 1, "destination-port", "DROP a - 203.0.113.66 - - - - -\n"},
    {"line-end-kept: of a peer", PEERS, "wan1 pppoe 1 login secret vlan2 ac1 isp\n", 1, "service", WAN1},
    {"short-line: an interface without its last field", INTERFACES, with_wan("vlan2 wan 1 pppoe - - - - - -\n"), 2, "mac", with_wan("vlan2 wan 1 pppoe - - - - - - -\n")},
    {"short-line: an interface with a blank behind its type", INTERFACES, with_wan("vlan2 wan 1 pppoe \n"), 2, "ipaddr", with_wan(PPPOE)},
    {"short-line: a rule", RULES, "DROP a - 203.0.113.66 - - -\n", 1, "destination-port", "DROP a - 203.0.113.66 - - - - -\n"},
    {"short-line: a URL", URLS, "ads.example.net\n", 1, "schedule", "ads.example.net always\n"},
    {"extra-fields: of a URL", URLS, "ads.example.net always really\n", 1, "-", "ads.example.net always -\n"},
    {"odd-character: a tab in a field", RULES, "DROP pest - 203.0.113.66\t - - - - -\n", 1, "source", "DROP pest - 203.0.113.66 - - - - -\n"},
    {"odd-character: a tab in an unused field", MASQ, "lan 192.168.1.0/24 - - - - - - -\nb\t10.0.0.0/8 10.0.0.0/8 - - - - - -\n", 2, "name",
     "lan 192.168.1.0/24 - - - - - - -\nb 10.0.0.0/8 - - - - - -\n"},
    {"extra-fields: of a switch", IP_FILTER, "MAC_FILTER_ENABLE=1 0\n", 1, "MAC_FILTER_ENABLE", "MAC_FILTER_ENABLE=1 # 0\n"},
    {"not-utf8", PEERS, "wan1 pppoe 1 caf\xe9 secret vlan2 ac1 isp 1\n", 1, "login",
     "wan1 pppoe 1 caf\xc3\xa9 secret vlan2 ac1 isp 1\n"},
    {"address: a byte of 256", VSERVERS, "web tcp 8080 80 192.168.1.256 - - - -\n", 1, "address", "web tcp 8080 80 192.168.1.255 - - - -\n"},
    {"address: three bytes", DNS, "dns1=192.0.2\n", 1, "dns1", "dns1=192.0.2.53\n"},
    {"address: a byte with a 0 in front", ACCESS, "HTTP vlan2 198.51.100.00 255.255.255.255 ACCEPT\n", 1, "source", "HTTP vlan2 198.51.100.0 255.255.255.255 ACCEPT\n"},
    {"network: 33 bits", RULES, "DROP a - 203.0.113.66/33 - - - - -\n", 1, "source", "DROP a - 203.0.113.66/32 - - - - -\n"},
    {"network: a range that runs back", RULES, "DROP a - 203.0.113.9-203.0.113.8 - - - - -\n", 1, "source", "DROP a - 203.0.113.8-203.0.113.9 - - - - -\n"},
    {"network: a range where none is taken", MASQ, "lan 192.168.1.0/24 - - - - - - -\nx 10.0.0.1-10.0.0.2 - - - - - - -\n", 2, "source",
     "lan 192.168.1.0/24 - - - - - - -\nx 10.0.0.1 - - - - - - -\n"},
    {"host-bits", RULES, "DROP a - 203.0.113.66/24 - - - - -\n", 1, "source", "DROP a - 203.0.113.0/24 - - - - -\n"},
    {"netmask", ACCESS, "HTTP vlan2 198.51.100.0 255.0.255.0 ACCEPT\n", 1, "netmask", "HTTP vlan2 198.51.100.0 255.255.255.0 ACCEPT\n"},
    {"number: a word", PEERS, "wan1 pppoe 1 login secret vlan2 ac1 isp first\n", 1, "metric", WAN1},
    {"number: a dash", PEERS, "wan1 pppoe 1 login secret vlan2 ac1 isp -\n", 1, "metric", WAN1},
    {"flag: of an interface", INTERFACES, with_wan("vlan2 wan yes pppoe\n"), 2, "auto", with_wan("vlan2 wan no pppoe\n"), NO_PEERS},
    {"flag: of a schedule", SCHEDULES, "night yes - 1111111 22000600 -\n", 1, "enabled", "night 0 - 1111111 22000600 -\n", {{MACS, "02:00:00:00:00:0B always\n"}, {URLS, ""}}},
    {"protocol: none", RULES, "DROP a - - 192.168.1.20 tpc - - -\n", 1, "protocol", "DROP a - - 192.168.1.20 TCP - - -\n"},
    {"protocol: in capitals", VSERVERS, "web TCP 8080 80 192.168.1.20 - - - -\n", 1, "protocol", "web tcp 8080 80 192.168.1.20 - - - -\n"},
    {"port: a service", VSERVERS, "web tcp http 80 192.168.1.20 - - - -\n", 1, "public-port", "web tcp 80 80 192.168.1.20 - - - -\n"},
    {"port: 65536", VSERVERS, "web tcp 65536 80 192.168.1.20 - - - -\n", 1, "public-port", "web tcp 65535 80 192.168.1.20 - - - -\n"},
    {"port: a range that runs back", VSERVERS, "web tcp 90:80 80-90 192.168.1.20 - - - -\n", 1, "public-port", "web tcp 80:90 80-90 192.168.1.20 - - - -\n"},
    {"port: a range with the other sign", VSERVERS, "web tcp 80:90 80:90 192.168.1.20 - - - -\n", 1, "port", "web tcp 80:90 80-90 192.168.1.20 - - - -\n"},
    {"port: a range where none is taken", TRIGGERS, "chat 6667:6669 tcp 113 tcp - - - -\n", 1, "trigger-port", "chat 6667 tcp 113 tcp - - - -\n"},
    {"port: of a rule", RULES, "DROP a - - 192.168.1.20 udp - 70000 -\n", 1, "destination-port", "DROP a - - 192.168.1.20 udp - 7000 -\n"},
    {"port-without-protocol: of a rule", RULES, "DROP a - - 192.168.1.20 - - 22 -\n", 1, "destination-port", "DROP a - - 192.168.1.20 udp - 22 -\n"},
    {"port-without-protocol: of a network to masquerade", MASQ, "lan 192.168.1.0/24 - - 80 - - - -\n", 1, "port", "lan 192.168.1.0/24 - tcp 80 - - - -\n"},
    {"mac: hyphens", MACS, "02-00-00-00-00-0A always\n", 1, "mac", "02:00:00:00:00:0A always\n"},
    {"mac: of a group", INTERFACES, with_wan("vlan2 wan 1 pppoe - - - - - - 03:00:00:00:00:01\n"), 2, "mac", with_wan("vlan2 wan 1 pppoe - - - - - - 02:00:00:00:00:01\n")},

    {"interface-unknown", INTERFACES, with_wan(PPPOE) + "vlan3 wan 1 dhcp\n", 4, "interface", with_wan(PPPOE) + "#vlan3 wan 1 dhcp\n"},
    {"interface-twice", INTERFACES, LAN + DHCP + PPPOE + WIMAX_OFF, 2, "interface", with_wan(PPPOE)},
    {"interface-missing", INTERFACES, LAN + PPPOE, 0, "wimax0", with_wan(PPPOE)},
    {"lan-always-on", INTERFACES, "br0 lan 0 static 192.168.1.1 255.255.255.0 - - - - -\n" + PPPOE + WIMAX_OFF, 1, "auto", with_wan(PPPOE)},
    {"interface-type: in capitals", INTERFACES, with_wan("vlan2 wan 1 DHCP\n"), 2, "type", with_wan(DHCP), NO_PEERS},
    {"interface-type: pppoe over the modem", INTERFACES, LAN + PPPOE + "wimax0 wimax 0 pppoe\n", 3, "type", with_wan(PPPOE)},
    {"lan-dhcp", INTERFACES, "br0 lan 1 dhcp\n" + PPPOE + WIMAX_OFF, 1, "type", with_wan(PPPOE)},
    {"static-address: a dash", INTERFACES, with_wan("vlan2 wan 1 static - 255.255.255.0 192.0.2.1 5 - - -\n"), 2, "ipaddr", with_wan(STATIC), NO_PEERS},
    {"static-address: no field", INTERFACES, with_wan("vlan2 wan 1 static\n"), 2, "ipaddr", with_wan(DHCP), NO_PEERS},
    {"address-unused", INTERFACES, with_wan("vlan2 wan 1 dhcp 192.0.2.77 - - - - - -\n"), 2, "ipaddr", with_wan(DHCP), NO_PEERS},
    {"gateway-missing", INTERFACES, with_wan("vlan2 wan 1 static 192.0.2.77 255.255.255.0 - 5 - - -\n"), 2, "gateway", with_wan(STATIC), NO_PEERS},
    {"gateway-outside", INTERFACES, with_wan("vlan2 wan 1 static 192.0.2.77 255.255.255.0 192.0.3.1 5 - - -\n"), 2, "gateway",
     with_wan("vlan2 wan 1 static 192.0.2.77 255.255.254.0 192.0.3.1 5 - - -\n"), NO_PEERS},
    {"networks-overlap", INTERFACES, with_wan("vlan2 wan 1 static 192.168.1.77 255.255.255.0 192.168.1.254 5 - - -\n"), 2, "ipaddr",
     with_wan("vlan2 wan 1 static 192.168.2.77 255.255.255.0 192.168.2.254 5 - - -\n"), NO_PEERS},
    {"metric-unused", INTERFACES, with_wan("vlan2 wan 1 dhcp - - - 7 - - -\n"), 2, "metric", with_wan("vlan2 wan 1 dhcp - - - - - - -\n"), NO_PEERS},
    {"broadcast-unused", INTERFACES, "br0 lan 1 static 192.168.1.1 255.255.255.0 - - 192.168.1.254 - -\n" + PPPOE + WIMAX_OFF, 1, "bcast", with_wan(PPPOE)},
    {"lan-link-unused", INTERFACES, "br0 lan 1 static 192.168.1.1 255.255.255.0 - - - 1400 -\n" + PPPOE + WIMAX_OFF, 1, "mtu", with_wan(PPPOE)},
    {"mtu: above", INTERFACES, with_wan("vlan2 wan 1 pppoe - - - - - 1501 -\n"), 2, "mtu", with_wan("vlan2 wan 1 pppoe - - - - - 1500 -\n")},
    {"mtu: below", INTERFACES, with_wan("vlan2 wan 1 pppoe - - - - - 67 -\n"), 2, "mtu", with_wan("vlan2 wan 1 pppoe - - - - - 68 -\n")},
    {"pppoe-without-peer", INTERFACES, with_wan(PPPOE), 2, "type", with_wan("vlan2 wan 0 pppoe\n"), NO_PEERS},

    {"peer-short: l2tp", PEERS, "work l2tp 0 login secret\n", 1, "server", "work l2tp 0 login secret 192.0.2.9 3\n", DHCP_WAN},
    {"peer-short: pppoe", PEERS, "wan1 pppoe 0 login secret vlan2 ac1\n", 1, "service", "wan1 pppoe 0 login secret vlan2 ac1 isp 1\n", DHCP_WAN},
    {"peer-type", PEERS, "wan1 PPPoE 0 login secret vlan2 ac1 isp 1\n", 1, "type", "wan1 pppoe 0 login secret vlan2 ac1 isp 1\n", DHCP_WAN},
    {"peer-name: a slash", PEERS, "wan/1 pppoe 1 login secret vlan2 ac1 isp 1\n", 1, "name", "wan#1 pppoe 1 login my\"#\\secret vlan2 ac1 isp 1\n"},
    {"peer-name: what ends a comment of xl2tpd", PEERS, "a;b l2tp 0 login secret 192.0.2.9 3\n", 1, "name", "a;b pptp 0 login secret 192.0.2.9 3\n", DHCP_WAN},
    {"name-cut", PEERS, "home-1 pppoe 1 login secret vlan2 ac1 isp 1\n", 1, "name", "home1 pppoe 1 login secret vlan2 ac1 isp 1\n"},
    {"name-reserved: whole", PEERS, "wan pppoe 1 login secret vlan2 ac1 isp 1\n", 1, "name", WAN1},
    {"name-reserved: up to the hyphen", PEERS, "wimax-1 pppoe 1 login secret vlan2 ac1 isp 1\n", 1, "name", WAN1},
    {"duplicate-name: of peers", PEERS, WAN1 + "wan1 pppoe 0 login secret vlan2 ac1 isp 2\n", 2, "name", WAN1 + "wan2 pppoe 0 login secret vlan2 ac1 isp 2\n"},
    {"duplicate-name: of schedules", SCHEDULES, "night 1 - 1111111 22000600 -\nnight 1 - 1111111 23000600 -\n", 2, "name",
     "night 0 - 1111111 22000600 -\nnight 1 - 1111111 23000600 -\n", {{URLS, ""}}},
    {"peer-interface", PEERS, "wan1 pppoe 1 login secret br0 ac1 isp 1\n", 1, "iface", WAN1},
    {"peer-dash", PEERS, "wan1 pppoe 1 login secret vlan2 - isp 1\n", 1, "ac", WAN1},
    {"peer-no-metric", PEERS, "wan1 pppoe 1 login secret vlan2 ac1 isp", 1, "metric", "wan1 pppoe 1 login secret vlan2 ac1 isp 1"},
    {"dash-metric", PEERS, "work l2tp 0 login secret 192.0.2.9 -\n", 1, "metric", "work l2tp 0 login secret 192.0.2.9 - -\n", DHCP_WAN},
    {"server-name", PEERS, "work l2tp 0 login secret 192.0.2 3\n", 1, "server", "work l2tp 0 login secret lns.example 3\n", DHCP_WAN},
    {"server-route: static", PEERS, "work l2tp 1 login secret 198.51.100.10 3\n", 1, "server", WORK, STATIC_WAN},
    {"server-route: dhcp", PEERS, "work l2tp 1 login secret 198.51.100.10 101\n", 1, "server", "work l2tp 1 login secret 198.51.100.10 102\n", DHCP_WAN},
    {"never-dialled", PEERS, WAN1, 1, "auto", "wan1 pppoe 0 login secret vlan2 ac1 isp 1\n", DHCP_WAN},
    {"second-l2tp", PEERS, WORK + "club l2tp 1 login secret 192.0.2.10 4\n", 2, "auto", WORK + "club l2tp 0 login secret 192.0.2.10 4\n", STATIC_WAN},
    {"unknown-key: of a switch", IP_FILTER, "FIREWAL_ENABLE=0\n", 1, "-", "FIREWALL_ENABLE=0\n"},
    {"unknown-key: of a server", DNS, "dns3=192.0.2.53\n", 1, "-", "dns2=192.0.2.53\n"},
    {"no-value: of a switch", IP_FILTER, "FIREWALL_ENABLE=\n", 1, "FIREWALL_ENABLE", "FIREWALL_ENABLE= 0\n"},
    {"no-value: of a key", WIMAX, "WIMAX_SSID\n", 1, "WIMAX_SSID", "WIMAX_SSID=home\n"},
    {"value-cut", WIMAX, "WIMAX_SSID=a=b\n", 1, "WIMAX_SSID", "WIMAX_SSID=ab\n"},
    {"key-twice: of a switch", IP_FILTER, "FIREWALL_ENABLE=0\nFIREWALL_ENABLE=1\n", 2, "FIREWALL_ENABLE", "FIREWALL_ENABLE=0\nFIREWALL_ENABLE=0\n"},
    {"key-twice: of a server", DNS, "dns1=192.0.2.53\ndns1=192.0.2.54\n", 2, "dns1", "dns1=192.0.2.53\ndns1=192.0.2.53\n"},
    {"off-is-on: whatever it holds", WIMAX, "WIMAX_ENABLE=0\n", 1, "WIMAX_ENABLE", "WIMAX_ENABLE=1\n"},
    {"off-is-on: a line end behind it", WIMAX, "WIMAX_DOFF=0\n", 1, "WIMAX_DOFF", "WIMAX_DOFF=0"},
    {"off-is-on: of the choice of servers", DNS, "auto=0\n", 1, "auto", "auto=0"},
    {"blank-name", WIMAX, "WIMAX_SSID= home\n", 1, "WIMAX_SSID", "WIMAX_SSID=home\n"},
    {"dns-unknown", DNS, "auto=wan9\n", 1, "auto", "auto=wan2\n"},

    {"key-prefix: too short", IP_FILTER, "FIREWALL_EN=0\n", 1, "FIREWALL_EN", "FIREWALL_ENABLE=0\n"},
    {"key-prefix: too long", IP_FILTER, "FIREWALL_ENABLED=0\n", 1, "FIREWALL_ENABLED", "FIREWALL_ENABLE =0\n"},
    {"switch-value: of a switch", IP_FILTER, "NAT_ENABLE=off\n", 1, "NAT_ENABLE", "NAT_ENABLE=no\n"},
    {"switch-value: of the MAC filter", IP_FILTER, "MAC_FILTER_ENABLE=3\n", 1, "MAC_FILTER_ENABLE", "MAC_FILTER_ENABLE=Allow\n"},
    {"nat-by-vservers", IP_FILTER, "VSERVERS_ENABLE=0\n", 1, "VSERVERS_ENABLE", "VSERVERS_ENABLE=1\n"},
    {"mac-list-missing", MACS, NO_FILE, 0, "-", "02:00:00:00:00:0A always\n"},
    {"mac-list-empty", MACS, "# nobody\n", 0, "-", "02:00:00:00:00:0A\n"},

    {"schedule-days", SCHEDULES, "night 1 - 111111 22000600 -\n", 1, "days", "night 1 - 1111111 22000600 -\n", {{URLS, ""}}},
    {"schedule-no-day", SCHEDULES, "night 1 - 0000000 08001200 -\n", 1, "days", "night 1 - 1000000 08001200 -\n", {{URLS, ""}}},
    {"schedule-time", SCHEDULES, "night 1 - 1111111 22002400 -\n", 1, "time", "night 1 - 1111111 22002300 -\n", {{URLS, ""}}},
    {"schedule-time: 60 minutes", SCHEDULES, "night 1 - 1111111 22600600 -\n", 1, "time", "night 1 - 1111111 22590600 -\n", {{URLS, ""}}},
    {"schedule-time: 29 hours at its end", SCHEDULES, "night 1 - 1111111 22002900 -\n", 1, "time", "night 1 - 1111111 21002300 -\n", {{URLS, ""}}},
    {"schedule-instant", SCHEDULES, "night 1 - 1111111 22002200 -\n", 1, "time", "night 1 - 1111111 22002201 -\n", {{URLS, ""}}},
    {"schedule-past-midnight", SCHEDULES, "night 1 - 1111110 22000600 -\n", 1, "time", "night 1 - 1111111 22000600 -\n", {{URLS, ""}}},
    {"schedule-all-week", SCHEDULES, "night 1 - 1111111 00002359 -\n", 1, "time", "night 1 - 1111111 00002358 -\n", {{URLS, ""}}},
    {"schedule-always", SCHEDULES, "always 1 - 0111110 08001730 -\n", 1, "name", "Always 1 - 0111110 08001730 -\n", {{URLS, ""}, {MACS, "02:00:00:00:00:0A\n"}}},

    {"action", RULES, "drop pest - 203.0.113.66 - - - - -\n", 1, "action", "DROP pest - 203.0.113.66 - - - - -\n"},
    {"accept-anyone", RULES, "ACCEPT all - - - tcp - 22 -\n", 1, "source", "ACCEPT all - 203.0.113.66 - tcp - 22 -\n"},
    {"drop-everyone", RULES, "DROP all - - - - - - -\n", 1, "source", "DROP all - - - tcp - - -\n"},
    {"rule-bypassed: the rule", RULES, "DROP kid - 192.168.1.50 - - - - -\n", 1, "source", "DROP kid - 192.168.2.50 - - - - -\n",
     {{IP_FILTER, "MAC_FILTER_ENABLE=2\n"}, {INTERFACES, with_wan(DHCP)}, {PEERS, ""}}},
    {"rule-bypassed: the filter", IP_FILTER, "MAC_FILTER_ENABLE=2\n", 1, "source", "MAC_FILTER_ENABLE=1\n",
     {{RULES, "DROP kid - 192.168.1.50 - - - - -\n"}, {INTERFACES, with_wan(DHCP)}, {PEERS, ""}}},
    {"ping-open", IP_FILTER, "FIREWALL_ENABLE=0\nWAN_PING_ENABLE=0\n", 2, "WAN_PING_ENABLE", "FIREWALL_ENABLE=1\nWAN_PING_ENABLE=0\n"},
    {"mss-bypassed", IP_FILTER, "MAC_FILTER_ENABLE=2\n", 1, "MAC_FILTER_ENABLE", "MAC_FILTER_ENABLE=1\n"},
    {"schedule-missing: of a MAC address", MACS, "02:00:00:00:00:0B nights\n", 1, "schedule", "02:00:00:00:00:0B night\n", NIGHT},
    {"schedule-missing: of a URL", URLS, "ads.example.net nights\n", 1, "schedule", "ads.example.net night\n", NIGHT},
    {"schedule-off", MACS, "02:00:00:00:00:0B holiday\n", 1, "schedule", "02:00:00:00:00:0B night\n", NIGHT},
    {"url-inherits", URLS, "a.example night\nb.example always\n", 2, "schedule", "b.example always\na.example night\n", NIGHT},
    {"url", URLS, "\"ads\" always\n", 1, "url", "ads always\n"},
    {"url: a hyphen in front", URLS, "-ads always\n", 1, "url", "ads-1 always\n"},
    {"schedule-missing: below a URL that has one", URLS, "a.example night\nb.example nights\n", 2, "schedule",
     "a.example night\nb.example night\n", NIGHT},
    {"http-case", ACCESS, "http vlan2 198.51.100.0 255.255.255.0 ACCEPT\n", 1, "service", "HTTP vlan2 198.51.100.0 255.255.255.0 ACCEPT\n"},
    {"access-service", ACCESS, "SSH vlan2 198.51.100.0 255.255.255.0 ACCEPT\n", 1, "service", "ALL vlan2 198.51.100.0 255.255.255.0 ACCEPT\n"},
    {"access-service: in small letters", ACCESS, "snmp vlan2 198.51.100.0 255.255.255.0 ACCEPT\n", 1, "service", "game vlan2 198.51.100.0 255.255.255.0 ACCEPT\n"},
    {"host-bits: of who may reach the router", ACCESS, "HTTP vlan2 198.51.100.7 255.255.255.0 ACCEPT\n", 1, "source", "HTTP vlan2 198.51.100.0 255.255.255.0 ACCEPT\n"},
    {"interface-name", ACCESS, "HTTP -vlan2 any any ACCEPT\n", 1, "interface", "HTTP vlan2 any any ACCEPT\n"},
    {"interface-odd", ACCESS, "HTTP any any any DROP\n", 1, "interface", "HTTP auto any any DROP\n"},
    {"interface-odd: without its number", ACCESS, "HTTP ppp any any DROP\n", 1, "interface", "HTTP ppp1 any any DROP\n"},
    {"access-lan", ACCESS, "HTTP br0 any any ACCEPT\n", 1, "interface", "HTTP ppp1 any any ACCEPT\n"},
    {"netmask-beside-any", ACCESS, "HTTP vlan2 any 255.255.255.0 ACCEPT\n", 1, "netmask", "HTTP vlan2 any any ACCEPT\n"},
    {"source-beside-any", ACCESS, "HTTP vlan2 203.0.113.8 any ACCEPT\n", 1, "netmask", "HTTP vlan2 203.0.113.8 255.255.255.255 ACCEPT\n"},
    {"target", ACCESS, "HTTP vlan2 any any accept\n", 1, "target", "HTTP vlan2 any any DROP\n"},

    {"forward-router", VSERVERS, "web tcp 8080 80 192.168.1.1 - - - -\n", 1, "address", "web tcp 8080 80 192.168.1.2 - - - -\n"},
    {"forward-outside", VSERVERS, "web tcp 8080 80 192.168.2.20 - - - -\n", 1, "address", "web tcp 8080 80 192.168.1.20 - - - -\n"},
    {"forward-one-port", VSERVERS, "game udp 300:310 300 192.168.1.30 - - - -\n", 1, "port", "game udp 300:310 300-310 192.168.1.30 - - - -\n"},
    {"forward-shadowed", VSERVERS, "a tcp 20:30 20-30 192.168.1.20 - - - -\nb tcp 30 30 192.168.1.21 - - - -\n", 2, "public-port",
     "a tcp 20:30 20-30 192.168.1.20 - - - -\nb udp 30 30 192.168.1.21 - - - -\n"},
    {"masq-all", MASQ, "all - - - - - - - -\n", 1, "source", "all 192.168.0.0/16 - - - - - - -\n"},
    {"lan-not-masqueraded: another network", MASQ, "other 192.168.9.0/24 - - - - - - -\n", 0, "-", "other 192.168.1.0/25 - - - - - - -\n"},
    {"lan-not-masqueraded: no network", IP_FILTER, "NAT_ENABLE=1\n", 0, "-", "NAT_ENABLE=0\n", {{MASQ, ""}}},
    {"trigger-protocol: none", TRIGGERS, "chat 6667 tcp 113 both - - - -\n", 1, "protocol", "chat 6667 tcp 113 ALL - - - -\n"},
    {"trigger-protocol: its first letters", TRIGGERS, "chat 6667 tcp 113 tcp/udp - - - -\n", 1, "protocol", "chat 6667 tcp 113 all - - - -\n"},

    {"zone: a place", ZONE, "Europe/Berlin\n", 1, "zone", "CET-1CEST,M3.5.0,M10.5.0/3\n"},
    {"zone: 16 hours", ZONE, "UTC+16\n", 1, "zone", "UTC+15\n"},
    {"zone: a thirteenth month", ZONE, "CET-1CEST,M13.5.0,M10.5.0\n", 1, "zone", "CET-1CEST,M12.5.0,M10.5.0\n"},
    {"zone: no seventh day", ZONE, "CET-1CEST,M3.5.7,M10.5.0\n", 1, "zone", "CET-1CEST,M3.5.6/-1:30,M10.1.0/24\n"},
    {"zone: a day before the first", ZONE, "CET-1CEST,J0,J300\n", 1, "zone", "CET-1CEST,0,J365\n"},
    {"zone: one change", ZONE, "CET-1CEST,M3.5.0\n", 1, "zone", "CET-1CEST,59/2,300\n"},
    {"zone-minutes", ZONE, "IST-5:30\n", 1, "zone", "IST-5:00\n"},
    {"zone-lines", ZONE, "UTC-3\nUTC-2\n", 2, "-", "UTC-3"},
    {"field-cut: a zone", ZONE, "CET-1CEST,M3.5.0/02:00:00,M10.5.0/0000000000000000000000000003:00\n", 1, "zone", "CET-1CEST,M3.5.0/02:00:00,M10.5.0/03:00\n"},

    {"peers-unheard", PEERS, WAN1, 0, "-", "# none\n", {{INTERFACES, LAN + WIMAX_OFF}}},
    {"switches-unread", UPNP, "UPNP_ENABLE=0\n", 1, "UPNP_ENABLE", "UPNP_ENABLE=1\n", {{IGMP, NO_FILE}}},
};

const code_case large_rows[] = {
    {"too-large", RULES, std::string(1024 * 1024, '\n') + "DROP a - - - - - - -\n", 0, "-", std::string(1024 * 1024, '\n')},
};
// clang-format on

using settings_code = code_test;

TEST_F(settings_code, is_raised_alone_and_not_by_its_neighbour)
{
    expect_each_alone(rows);
}

TEST_F(settings_code, of_a_large_file_too)
{
    expect_each_alone(large_rows);
}

} // namespace
