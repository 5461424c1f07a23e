// mctl check, code by code: the settings that raise it and it alone, on the very line, and the
// nearest settings that do not.
#include "ctl/check/check.h"
#include "ctl/check/codes.h"
#include "support/texts.h"
#include "support/unit_test.h"

#include <map>
#include <stdio.h>
#include <stdlib.h>
#include <string>
#include <vector>

namespace
{

constexpr char NI[] = "/etc/default/network-interfaces";
constexpr char PP[] = "/etc/default/ppp-peers";
constexpr char DNS[] = "/etc/default/dns.conf";
constexpr char WIMAX[] = "/etc/default/wimax";
constexpr char FILTER[] = "/etc/default/ip_filter";
constexpr char IGMP[] = "/etc/default/igmp";
constexpr char UPNP[] = "/etc/default/upnp";
constexpr char SCHED[] = "/etc/default/sched_list";
constexpr char RULES[] = "/etc/default/rules";
constexpr char MACS[] = "/etc/default/macfilter_list";
constexpr char URLS[] = "/etc/default/url_filter";
constexpr char ACCESS[] = "/etc/default/httpd_access.conf";
constexpr char VSERVERS[] = "/etc/default/vservers";
constexpr char MASQ[] = "/etc/default/masq";
constexpr char TRIGGERS[] = "/etc/default/trigger_ports";
constexpr char ZONE[] = "/etc/TZ";
constexpr char DEVICE[] = "/etc/nvram/0";
constexpr char WIRELESS[] = "/etc/nvram/1";

const std::string LAN = "br0 lan 1 static 192.168.1.1 255.255.255.0 - - 192.168.1.255 - -\n";
const std::string DHCP = "vlan2 wan 1 dhcp\n";
const std::string PPPOE = "vlan2 wan 1 pppoe\n";
const std::string STATIC =
    "vlan2 wan 1 static 192.0.2.77 255.255.255.0 192.0.2.1 5 192.0.2.255 1400 02:00:00:00:02:77\n";
const std::string WIMAX_OFF = "wimax0 wimax 0 dhcp\n";
const std::string WAN1 = "wan1 pppoe 1 login secret vlan2 ac1 isp 1\n";
const std::string WORK = "work l2tp 1 login secret 192.0.2.9 3\n";
const std::string BASE_RADIO = "BssidNum=1\nSSID1=home\nAuthMode=OPEN\nEncrypType=NONE\n";

std::string with_wan(const std::string &line)
{
    return LAN + line + WIMAX_OFF;
}

constexpr char NO_FILE[] = "(missing)";

using files = std::map<std::string, std::string>; // content, or NO_FILE

struct code_case {
    const char *code;
    std::string file;
    std::string bad;
    unsigned line;
    std::string field;
    std::string good;
    files also = {}; // for both
};

const files NO_PEERS = {{PP, "# none\n"}};
const files DHCP_WAN = {{NI, with_wan(DHCP)}};
const files STATIC_WAN = {{NI, with_wan(STATIC)}};
const files NIGHT = {{SCHED, "night 1 - 1111111 22000600 -\nholiday 0 - 0111110 08001200 -\n"}};
const files NO_NAT = {{FILTER, "NAT_ENABLE=0\n"}};

// clang-format off
const code_case cases[] = {
    {"missing", RULES, NO_FILE, 0, "-", ""},
    {"long-line", RULES, "# " + std::string(253, 'x') + "\n", 1, "-", "# " + std::string(252, 'x') + "\n"},
    {"nul-byte", RULES, std::string("DROP\0 pest - 203.0.113.66 - - - - -\n", 36), 1, "-",
     std::string("#\0\n", 3)},
    {"carriage-return", RULES, "DROP pest - 203.0.113.66 - - - - -\r\n", 1, "-",
     "DROP pest - 203.0.113.66 - - - - -\n"},
    {"indented", RULES, "# one\n DROP pest - 203.0.113.66 - - - - -\n", 2, "-", " # DROP\n  \n"},
    {"hash-entry", VSERVERS, "#ssh tcp 2222 22 192.168.1.20 - - - -\n", 1, "-", " # ssh\n"},
    {"field-cut", MACS, "02:00:00:00:00:0A " + std::string(32, 's') + "\n", 1, "schedule",
     "02:00:00:00:00:0A " + std::string(31, 's') + "\n", {{SCHED, std::string(31, 's') + " 1 - 0111110 08001200 -\n"}}},
    {"field-cut", PP, "wan1 pppoe 1 login " + std::string(64, 'p') + " vlan2 ac1 isp 1\n", 1, "passwd",
     "wan1 pppoe 1 login " + std::string(63, 'p') + " vlan2 ac1 isp 1\n"},
    {"field-cut", NI, with_wan("vlan2 wan 1 static 192.0.2.77 255.255.255.0 192.0.2.1 100000 - - -\n"), 2, "metric",
     with_wan("vlan2 wan 1 static 192.0.2.77 255.255.255.0 192.0.2.1 99999 - - -\n"), NO_PEERS},
    {"line-end-kept", SCHED, "night 1 - 1111111 22000600\n", 1, "time", "night 1 - 1111111 22000600 \n", {{MACS, "02:00:00:00:00:0B always\n"}, {URLS, ""}}},
    {"line-end-kept", VSERVERS, "web tcp 8080 80 192.168.1.20\n", 1, "address", "web tcp 8080 80 192.168.1.20"},
    {"line-end-kept", RULES, "DROP a - 203.0.113.66 - - - -\n", 1, "destination-port", "DROP a - 203.0.113.66 - - - - -\n"},
    {"line-end-kept", PP, "wan1 pppoe 1 login secret vlan2 ac1 isp\n", 1, "service", WAN1},
    {"short-line", NI, with_wan("vlan2 wan 1 pppoe - - - - - -\n"), 2, "mac", with_wan("vlan2 wan 1 pppoe - - - - - - -\n")},
    {"short-line", NI, with_wan("vlan2 wan 1 pppoe \n"), 2, "ipaddr", with_wan(PPPOE)},
    {"short-line", RULES, "DROP a - 203.0.113.66 - - -\n", 1, "destination-port", "DROP a - 203.0.113.66 - - - - -\n"},
    {"short-line", URLS, "ads.example.net\n", 1, "schedule", "ads.example.net always\n"},
    {"extra-fields", URLS, "ads.example.net always really\n", 1, "-", "ads.example.net always -\n"},
    {"odd-character", RULES, "DROP pest - 203.0.113.66\t - - - - -\n", 1, "source", "DROP pest - 203.0.113.66 - - - - -\n"},
    {"odd-character", MASQ, "lan 192.168.1.0/24 - - - - - - -\nb\t10.0.0.0/8 10.0.0.0/8 - - - - - -\n", 2, "name",
     "lan 192.168.1.0/24 - - - - - - -\nb 10.0.0.0/8 - - - - - -\n"},
    {"extra-fields", FILTER, "MAC_FILTER_ENABLE=1 0\n", 1, "MAC_FILTER_ENABLE", "MAC_FILTER_ENABLE=1 # 0\n"},
    {"not-utf8", PP, "wan1 pppoe 1 caf\xe9 secret vlan2 ac1 isp 1\n", 1, "login",
     "wan1 pppoe 1 caf\xc3\xa9 secret vlan2 ac1 isp 1\n"},
    {"address", VSERVERS, "web tcp 8080 80 192.168.1.256 - - - -\n", 1, "address", "web tcp 8080 80 192.168.1.255 - - - -\n"},
    {"address", DNS, "dns1=192.0.2\n", 1, "dns1", "dns1=192.0.2.53\n"},
    {"address", ACCESS, "HTTP vlan2 198.51.100.00 255.255.255.255 ACCEPT\n", 1, "source", "HTTP vlan2 198.51.100.0 255.255.255.255 ACCEPT\n"},
    {"network", RULES, "DROP a - 203.0.113.66/33 - - - - -\n", 1, "source", "DROP a - 203.0.113.66/32 - - - - -\n"},
    {"network", RULES, "DROP a - 203.0.113.9-203.0.113.8 - - - - -\n", 1, "source", "DROP a - 203.0.113.8-203.0.113.9 - - - - -\n"},
    {"network", MASQ, "lan 192.168.1.0/24 - - - - - - -\nx 10.0.0.1-10.0.0.2 - - - - - - -\n", 2, "source",
     "lan 192.168.1.0/24 - - - - - - -\nx 10.0.0.1 - - - - - - -\n"},
    {"host-bits", RULES, "DROP a - 203.0.113.66/24 - - - - -\n", 1, "source", "DROP a - 203.0.113.0/24 - - - - -\n"},
    {"netmask", ACCESS, "HTTP vlan2 198.51.100.0 255.0.255.0 ACCEPT\n", 1, "netmask", "HTTP vlan2 198.51.100.0 255.255.255.0 ACCEPT\n"},
    {"number", PP, "wan1 pppoe 1 login secret vlan2 ac1 isp first\n", 1, "metric", WAN1},
    {"number", PP, "wan1 pppoe 1 login secret vlan2 ac1 isp -\n", 1, "metric", WAN1},
    {"flag", NI, with_wan("vlan2 wan yes pppoe\n"), 2, "auto", with_wan("vlan2 wan no pppoe\n"), NO_PEERS},
    {"flag", SCHED, "night yes - 1111111 22000600 -\n", 1, "enabled", "night 0 - 1111111 22000600 -\n", {{MACS, "02:00:00:00:00:0B always\n"}, {URLS, ""}}},
    {"flag", WIRELESS, BASE_RADIO + "RadioOff=2\n", 5, "RadioOff", BASE_RADIO + "RadioOff=1\n"},
    {"protocol", RULES, "DROP a - - 192.168.1.20 tpc - - -\n", 1, "protocol", "DROP a - - 192.168.1.20 TCP - - -\n"},
    {"protocol", VSERVERS, "web TCP 8080 80 192.168.1.20 - - - -\n", 1, "protocol", "web tcp 8080 80 192.168.1.20 - - - -\n"},
    {"port", VSERVERS, "web tcp http 80 192.168.1.20 - - - -\n", 1, "public-port", "web tcp 80 80 192.168.1.20 - - - -\n"},
    {"port", VSERVERS, "web tcp 65536 80 192.168.1.20 - - - -\n", 1, "public-port", "web tcp 65535 80 192.168.1.20 - - - -\n"},
    {"port", VSERVERS, "web tcp 90:80 80-90 192.168.1.20 - - - -\n", 1, "public-port", "web tcp 80:90 80-90 192.168.1.20 - - - -\n"},
    {"port", VSERVERS, "web tcp 80:90 80:90 192.168.1.20 - - - -\n", 1, "port", "web tcp 80:90 80-90 192.168.1.20 - - - -\n"},
    {"port", TRIGGERS, "chat 6667:6669 tcp 113 tcp - - - -\n", 1, "trigger-port", "chat 6667 tcp 113 tcp - - - -\n"},
    {"port-without-protocol", RULES, "DROP a - - 192.168.1.20 - - 22 -\n", 1, "destination-port", "DROP a - - 192.168.1.20 udp - 22 -\n"},
    {"port-without-protocol", MASQ, "lan 192.168.1.0/24 - - 80 - - - -\n", 1, "port", "lan 192.168.1.0/24 - tcp 80 - - - -\n"},
    {"mac", MACS, "02-00-00-00-00-0A always\n", 1, "mac", "02:00:00:00:00:0A always\n"},
    {"mac", NI, with_wan("vlan2 wan 1 pppoe - - - - - - 03:00:00:00:00:01\n"), 2, "mac", with_wan("vlan2 wan 1 pppoe - - - - - - 02:00:00:00:00:01\n")},

    {"interface-unknown", NI, with_wan(PPPOE) + "vlan3 wan 1 dhcp\n", 4, "interface", with_wan(PPPOE) + "#vlan3 wan 1 dhcp\n"},
    {"interface-twice", NI, LAN + DHCP + PPPOE + WIMAX_OFF, 2, "interface", with_wan(PPPOE)},
    {"interface-missing", NI, LAN + PPPOE, 0, "wimax0", with_wan(PPPOE)},
    {"lan-always-on", NI, "br0 lan 0 static 192.168.1.1 255.255.255.0 - - - - -\n" + PPPOE + WIMAX_OFF, 1, "auto", with_wan(PPPOE)},
    {"interface-type", NI, with_wan("vlan2 wan 1 DHCP\n"), 2, "type", with_wan(DHCP), NO_PEERS},
    {"interface-type", NI, LAN + PPPOE + "wimax0 wimax 0 pppoe\n", 3, "type", with_wan(PPPOE)},
    {"lan-dhcp", NI, "br0 lan 1 dhcp\n" + PPPOE + WIMAX_OFF, 1, "type", with_wan(PPPOE)},
    {"static-address", NI, with_wan("vlan2 wan 1 static - 255.255.255.0 192.0.2.1 5 - - -\n"), 2, "ipaddr", with_wan(STATIC), NO_PEERS},
    {"static-address", NI, with_wan("vlan2 wan 1 static\n"), 2, "ipaddr", with_wan(DHCP), NO_PEERS},
    {"address-unused", NI, with_wan("vlan2 wan 1 dhcp 192.0.2.77 - - - - - -\n"), 2, "ipaddr", with_wan(DHCP), NO_PEERS},
    {"gateway-missing", NI, with_wan("vlan2 wan 1 static 192.0.2.77 255.255.255.0 - 5 - - -\n"), 2, "gateway", with_wan(STATIC), NO_PEERS},
    {"gateway-outside", NI, with_wan("vlan2 wan 1 static 192.0.2.77 255.255.255.0 192.0.3.1 5 - - -\n"), 2, "gateway",
     with_wan("vlan2 wan 1 static 192.0.2.77 255.255.254.0 192.0.3.1 5 - - -\n"), NO_PEERS},
    {"networks-overlap", NI, with_wan("vlan2 wan 1 static 192.168.1.77 255.255.255.0 192.168.1.254 5 - - -\n"), 2, "ipaddr",
     with_wan("vlan2 wan 1 static 192.168.2.77 255.255.255.0 192.168.2.254 5 - - -\n"), NO_PEERS},
    {"metric-unused", NI, with_wan("vlan2 wan 1 dhcp - - - 7 - - -\n"), 2, "metric", with_wan("vlan2 wan 1 dhcp - - - - - - -\n"), NO_PEERS},
    {"broadcast-unused", NI, "br0 lan 1 static 192.168.1.1 255.255.255.0 - - 192.168.1.254 - -\n" + PPPOE + WIMAX_OFF, 1, "bcast", with_wan(PPPOE)},
    {"lan-link-unused", NI, "br0 lan 1 static 192.168.1.1 255.255.255.0 - - - 1400 -\n" + PPPOE + WIMAX_OFF, 1, "mtu", with_wan(PPPOE)},
    {"mtu", NI, with_wan("vlan2 wan 1 pppoe - - - - - 1501 -\n"), 2, "mtu", with_wan("vlan2 wan 1 pppoe - - - - - 1500 -\n")},
    {"mtu", NI, with_wan("vlan2 wan 1 pppoe - - - - - 67 -\n"), 2, "mtu", with_wan("vlan2 wan 1 pppoe - - - - - 68 -\n")},
    {"pppoe-without-peer", NI, with_wan(PPPOE), 2, "type", with_wan("vlan2 wan 0 pppoe\n"), NO_PEERS},

    {"peer-short", PP, "work l2tp 0 login secret\n", 1, "server", "work l2tp 0 login secret 192.0.2.9 3\n", DHCP_WAN},
    {"peer-short", PP, "wan1 pppoe 0 login secret vlan2 ac1\n", 1, "service", "wan1 pppoe 0 login secret vlan2 ac1 isp 1\n", DHCP_WAN},
    {"peer-type", PP, "wan1 PPPoE 0 login secret vlan2 ac1 isp 1\n", 1, "type", "wan1 pppoe 0 login secret vlan2 ac1 isp 1\n", DHCP_WAN},
    {"peer-name", PP, "wan/1 pppoe 1 login secret vlan2 ac1 isp 1\n", 1, "name", "wan#1 pppoe 1 login my\"#\\secret vlan2 ac1 isp 1\n"},
    {"peer-name", PP, "a;b l2tp 0 login secret 192.0.2.9 3\n", 1, "name", "a;b pptp 0 login secret 192.0.2.9 3\n", DHCP_WAN},
    {"name-cut", PP, "home-1 pppoe 1 login secret vlan2 ac1 isp 1\n", 1, "name", "home1 pppoe 1 login secret vlan2 ac1 isp 1\n"},
    {"name-reserved", PP, "wan pppoe 1 login secret vlan2 ac1 isp 1\n", 1, "name", WAN1},
    {"name-reserved", PP, "wimax-1 pppoe 1 login secret vlan2 ac1 isp 1\n", 1, "name", WAN1},
    {"duplicate-name", PP, WAN1 + "wan1 pppoe 0 login secret vlan2 ac1 isp 2\n", 2, "name", WAN1 + "wan2 pppoe 0 login secret vlan2 ac1 isp 2\n"},
    {"duplicate-name", SCHED, "night 1 - 1111111 22000600 -\nnight 1 - 1111111 23000600 -\n", 2, "name",
     "night 0 - 1111111 22000600 -\nnight 1 - 1111111 23000600 -\n", {{URLS, ""}}},
    {"peer-interface", PP, "wan1 pppoe 1 login secret br0 ac1 isp 1\n", 1, "iface", WAN1},
    {"peer-dash", PP, "wan1 pppoe 1 login secret vlan2 - isp 1\n", 1, "ac", WAN1},
    {"peer-no-metric", PP, "wan1 pppoe 1 login secret vlan2 ac1 isp", 1, "metric", "wan1 pppoe 1 login secret vlan2 ac1 isp 1"},
    {"dash-metric", PP, "work l2tp 0 login secret 192.0.2.9 -\n", 1, "metric", "work l2tp 0 login secret 192.0.2.9 - -\n", DHCP_WAN},
    {"server-name", PP, "work l2tp 0 login secret 192.0.2 3\n", 1, "server", "work l2tp 0 login secret lns.example 3\n", DHCP_WAN},
    {"server-route", PP, "work l2tp 1 login secret 198.51.100.10 3\n", 1, "server", WORK, STATIC_WAN},
    {"server-route", PP, "work l2tp 1 login secret 198.51.100.10 101\n", 1, "server", "work l2tp 1 login secret 198.51.100.10 102\n", DHCP_WAN},
    {"never-dialled", PP, WAN1, 1, "auto", "wan1 pppoe 0 login secret vlan2 ac1 isp 1\n", DHCP_WAN},
    {"second-l2tp", PP, WORK + "club l2tp 1 login secret 192.0.2.10 4\n", 2, "auto", WORK + "club l2tp 0 login secret 192.0.2.10 4\n", STATIC_WAN},
    {"unknown-key", FILTER, "FIREWAL_ENABLE=0\n", 1, "-", "FIREWALL_ENABLE=0\n"},
    {"unknown-key", DNS, "dns3=192.0.2.53\n", 1, "-", "dns2=192.0.2.53\n"},
    {"no-value", FILTER, "FIREWALL_ENABLE=\n", 1, "FIREWALL_ENABLE", "FIREWALL_ENABLE= 0\n"},
    {"no-value", WIMAX, "WIMAX_SSID\n", 1, "WIMAX_SSID", "WIMAX_SSID=home\n"},
    {"value-cut", WIMAX, "WIMAX_SSID=a=b\n", 1, "WIMAX_SSID", "WIMAX_SSID=ab\n"},
    {"key-twice", FILTER, "FIREWALL_ENABLE=0\nFIREWALL_ENABLE=1\n", 2, "FIREWALL_ENABLE", "FIREWALL_ENABLE=0\nFIREWALL_ENABLE=0\n"},
    {"key-twice", DNS, "dns1=192.0.2.53\ndns1=192.0.2.54\n", 2, "dns1", "dns1=192.0.2.53\ndns1=192.0.2.53\n"},
    {"off-is-on", WIMAX, "WIMAX_ENABLE=0\n", 1, "WIMAX_ENABLE", "WIMAX_ENABLE=1\n"},
    {"off-is-on", WIMAX, "WIMAX_DOFF=0\n", 1, "WIMAX_DOFF", "WIMAX_DOFF=0"},
    {"off-is-on", DNS, "auto=0\n", 1, "auto", "auto=0"},
    {"blank-name", WIMAX, "WIMAX_SSID= home\n", 1, "WIMAX_SSID", "WIMAX_SSID=home\n"},
    {"dns-unknown", DNS, "auto=wan9\n", 1, "auto", "auto=wan2\n"},

    {"key-prefix", FILTER, "FIREWALL_EN=0\n", 1, "FIREWALL_EN", "FIREWALL_ENABLE=0\n"},
    {"key-prefix", FILTER, "FIREWALL_ENABLED=0\n", 1, "FIREWALL_ENABLED", "FIREWALL_ENABLE =0\n"},
    {"switch-value", FILTER, "NAT_ENABLE=off\n", 1, "NAT_ENABLE", "NAT_ENABLE=no\n"},
    {"switch-value", FILTER, "MAC_FILTER_ENABLE=3\n", 1, "MAC_FILTER_ENABLE", "MAC_FILTER_ENABLE=Allow\n"},
    {"nat-by-vservers", FILTER, "VSERVERS_ENABLE=0\n", 1, "VSERVERS_ENABLE", "VSERVERS_ENABLE=1\n"},
    {"mac-list-missing", MACS, NO_FILE, 0, "-", "02:00:00:00:00:0A always\n"},
    {"mac-list-empty", MACS, "# nobody\n", 0, "-", "02:00:00:00:00:0A\n"},

    {"schedule-days", SCHED, "night 1 - 111111 22000600 -\n", 1, "days", "night 1 - 1111111 22000600 -\n", {{URLS, ""}}},
    {"schedule-no-day", SCHED, "night 1 - 0000000 08001200 -\n", 1, "days", "night 1 - 1000000 08001200 -\n", {{URLS, ""}}},
    {"schedule-time", SCHED, "night 1 - 1111111 22002400 -\n", 1, "time", "night 1 - 1111111 22002300 -\n", {{URLS, ""}}},
    {"schedule-instant", SCHED, "night 1 - 1111111 22002200 -\n", 1, "time", "night 1 - 1111111 22002201 -\n", {{URLS, ""}}},
    {"schedule-past-midnight", SCHED, "night 1 - 1111110 22000600 -\n", 1, "time", "night 1 - 1111111 22000600 -\n", {{URLS, ""}}},
    {"schedule-all-week", SCHED, "night 1 - 1111111 00002359 -\n", 1, "time", "night 1 - 1111111 00002358 -\n", {{URLS, ""}}},
    {"schedule-always", SCHED, "always 1 - 0111110 08001730 -\n", 1, "name", "Always 1 - 0111110 08001730 -\n", {{URLS, ""}, {MACS, "02:00:00:00:00:0A\n"}}},

    {"action", RULES, "drop pest - 203.0.113.66 - - - - -\n", 1, "action", "DROP pest - 203.0.113.66 - - - - -\n"},
    {"accept-anyone", RULES, "ACCEPT all - - - tcp - 22 -\n", 1, "source", "ACCEPT all - 203.0.113.66 - tcp - 22 -\n"},
    {"drop-everyone", RULES, "DROP all - - - - - - -\n", 1, "source", "DROP all - - - tcp - - -\n"},
    {"rule-bypassed", RULES, "DROP kid - 192.168.1.50 - - - - -\n", 1, "source", "DROP kid - 192.168.2.50 - - - - -\n",
     {{FILTER, "MAC_FILTER_ENABLE=2\n"}, {NI, with_wan(DHCP)}, {PP, ""}}},
    {"rule-bypassed", FILTER, "MAC_FILTER_ENABLE=2\n", 1, "source", "MAC_FILTER_ENABLE=1\n",
     {{RULES, "DROP kid - 192.168.1.50 - - - - -\n"}, {NI, with_wan(DHCP)}, {PP, ""}}},
    {"ping-open", FILTER, "FIREWALL_ENABLE=0\nWAN_PING_ENABLE=0\n", 2, "WAN_PING_ENABLE", "FIREWALL_ENABLE=1\nWAN_PING_ENABLE=0\n"},
    {"mss-bypassed", FILTER, "MAC_FILTER_ENABLE=2\n", 1, "MAC_FILTER_ENABLE", "MAC_FILTER_ENABLE=1\n"},
    {"schedule-missing", MACS, "02:00:00:00:00:0B nights\n", 1, "schedule", "02:00:00:00:00:0B night\n", NIGHT},
    {"schedule-missing", URLS, "ads.example.net nights\n", 1, "schedule", "ads.example.net night\n", NIGHT},
    {"schedule-off", MACS, "02:00:00:00:00:0B holiday\n", 1, "schedule", "02:00:00:00:00:0B night\n", NIGHT},
    {"url-inherits", URLS, "a.example night\nb.example always\n", 2, "schedule", "b.example always\na.example night\n", NIGHT},
    {"url", URLS, "\"ads\" always\n", 1, "url", "ads always\n"},
    {"http-case", ACCESS, "http vlan2 198.51.100.0 255.255.255.0 ACCEPT\n", 1, "service", "HTTP vlan2 198.51.100.0 255.255.255.0 ACCEPT\n"},
    {"access-service", ACCESS, "SSH vlan2 198.51.100.0 255.255.255.0 ACCEPT\n", 1, "service", "ALL vlan2 198.51.100.0 255.255.255.0 ACCEPT\n"},
    {"interface-name", ACCESS, "HTTP -vlan2 any any ACCEPT\n", 1, "interface", "HTTP vlan2 any any ACCEPT\n"},
    {"interface-odd", ACCESS, "HTTP any any any DROP\n", 1, "interface", "HTTP auto any any DROP\n"},
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
    {"lan-not-masqueraded", MASQ, "other 192.168.9.0/24 - - - - - - -\n", 0, "-", "other 192.168.1.0/25 - - - - - - -\n"},
    {"lan-not-masqueraded", FILTER, "NAT_ENABLE=1\n", 0, "-", "NAT_ENABLE=0\n", {{MASQ, ""}}},
    {"trigger-protocol", TRIGGERS, "chat 6667 tcp 113 both - - - -\n", 1, "protocol", "chat 6667 tcp 113 ALL - - - -\n"},
    {"trigger-protocol", TRIGGERS, "chat 6667 tcp 113 tcp/udp - - - -\n", 1, "protocol", "chat 6667 tcp 113 all - - - -\n"},

    {"zone", ZONE, "Europe/Berlin\n", 1, "zone", "CET-1CEST,M3.5.0,M10.5.0/3\n"},
    {"zone", ZONE, "UTC+25\n", 1, "zone", "UTC+24\n"},
    {"zone-minutes", ZONE, "IST-5:30\n", 1, "zone", "IST-5:00\n"},
    {"zone-lines", ZONE, "UTC-3\nUTC-2\n", 2, "-", "UTC-3"},
    {"field-cut", ZONE, "CET-1CEST,M3.5.0/02:00:00,M10.5.0/0000000000000000000000000003:00\n", 1, "zone", "CET-1CEST,M3.5.0/02:00:00,M10.5.0/03:00\n"},

    {"section-full", DEVICE, "ethaddr=00:0A:EB:11:22:30\nx=" + std::string(65536 - 28, 'x') + "\n", 0, "-",
     "ethaddr=00:0A:EB:11:22:30\nx=" + std::string(65536 - 29, 'x') + "\n"},
    {"nvram-line", DEVICE, "ethaddr=00:0A:EB:11:22:30\npin\n", 2, "-", "ethaddr=00:0A:EB:11:22:30\npin=\n"},
    {"key-again", WIRELESS, BASE_RADIO + "Channel=6\nChannel=11\n", 6, "Channel", BASE_RADIO + "Channel=6\nchannels=11\n"},
    {"nvram-key", WIRELESS, BASE_RADIO + "channel=6\n", 5, "channel", BASE_RADIO + "Channel=6\n"},
    {"nvram-key", WIRELESS, BASE_RADIO + "Channel =6\n", 5, "Channel", BASE_RADIO + "Channel=6\n"},
    {"nvram-character", WIRELESS, BASE_RADIO + "CountryCode=TR\r\n", 5, "CountryCode", BASE_RADIO + "CountryCode=TR\n"},
    {"no-base-mac", DEVICE, "pin=12345670\n", 0, "ethaddr", "ethaddr=\"00:0A:EB:11:22:30\"\n"},
    {"mac", DEVICE, "ethaddr=00:0A:EB:11:22\n", 1, "ethaddr", "ethaddr=00:0A:EB:11:22:30\n"},
    {"mac-wraps", DEVICE, "ethaddr=00:0A:EB:11:22:FF\n", 1, "ethaddr", "ethaddr=00:0A:EB:11:22:FE\n"},
    {"wanmac-unused", DEVICE, "ethaddr=00:0A:EB:11:22:30\nwanmac=00:0A:EB:11:22:32\n", 2, "wanmac", "ethaddr=00:0A:EB:11:22:30\nwanmac=00:0A:EB:11:22:31\n"},
    {"nvram-number", WIRELESS, BASE_RADIO + "Channel=auto\n", 5, "Channel", BASE_RADIO + "Channel=0\n"},
    {"nvram-unused", WIRELESS, BASE_RADIO + "SSID=home\n", 5, "SSID", BASE_RADIO + "SSID2=home\n"},
    {"nvram-unused", WIRELESS, BASE_RADIO + "RadioOn=0\n", 5, "RadioOn", BASE_RADIO + "RadioOff=1\n"},
    {"one-digit", WIRELESS, BASE_RADIO + "WmmCapable=1;0\n", 5, "WmmCapable", BASE_RADIO + "WmmCapable=1\n"},
    {"bss-count", WIRELESS, "BssidNum=5\nSSID1=home\nAuthMode=OPEN\nEncrypType=NONE\n", 1, "BssidNum", BASE_RADIO},
    {"bss-unbridged", WIRELESS, "BssidNum=3\nSSID1=a\nSSID2=b\nSSID3=c\n", 1, "BssidNum", "BssidNum=2\nSSID1=a\nSSID2=b\n"},
    {"ssid", WIRELESS, "BssidNum=1\nSSID1=" + std::string(33, 's') + "\n", 2, "SSID1", "BssidNum=1\nSSID1=" + std::string(32, 's') + "\n"},
    {"ssid", WIRELESS, "BssidNum=2\nSSID1=a\n", 1, "SSID2", "BssidNum=2\nSSID1=a\nSSID2=b\n"},
    {"auth-mode", WIRELESS, "BssidNum=1\nSSID1=a\nAuthMode=WPA3\n", 3, "AuthMode", "BssidNum=1\nSSID1=a\nAuthMode=OPEN\nEncrypType=WEP\n"},
    {"auth-key", WIRELESS, "BssidNum=1\nSSID1=a\nAuthMode=WPA2PSK\nEncrypType=AES\nWPAPSK1=1234567\n", 3, "AuthMode",
     "BssidNum=1\nSSID1=a\nAuthMode=WPA2PSK\nEncrypType=AES\nWPAPSK1=12345678\n"},
    {"auth-key", WIRELESS, "BssidNum=1\nSSID1=a\nAuthMode=SHARED\nEncrypType=WEP\nDefaultKeyID=2\nKey1Str1=12345\n", 3, "AuthMode",
     "BssidNum=1\nSSID1=a\nAuthMode=SHARED\nEncrypType=WEP\nDefaultKeyID=2\nKey2Str1=12345\n"},
    {"encryption", WIRELESS, "BssidNum=1\nSSID1=a\nAuthMode=WPA2PSK\nEncrypType=NONE\nWPAPSK1=12345678\n", 4, "EncrypType",
     "BssidNum=1\nSSID1=a\nAuthMode=WPA2PSK\nEncrypType=TKIPAES\nWPAPSK1=12345678\n"},
    {"auth-list", WIRELESS, "BssidNum=2\nSSID1=a\nSSID2=b\nIEEE8021X=0;1\n", 4, "IEEE8021X", "BssidNum=2\nSSID1=a\nSSID2=b\nIEEE8021X=0;0\n"},
    {"wds-mode", WIRELESS, BASE_RADIO + "WdsEnable=1\n", 5, "WdsEnable", BASE_RADIO + "WdsEnable=2\nWdsList=00:00:00:00:00:01\n"},
    {"wds-list", WIRELESS, BASE_RADIO + "WdsEnable=2\nWdsList=AA:00:00:00:00:01;00:00:00:00:00:01\n", 6, "WdsList",
     BASE_RADIO + "WdsEnable=2\nWdsList=00:00:00:00:00:01;AA:00:00:00:00:01\n"},
    {"own-address", WIRELESS, BASE_RADIO + "IEEE8021X=1\nown_ip_addr=192.168.9.1\n", 6, "own_ip_addr", BASE_RADIO + "IEEE8021X=1\nown_ip_addr=192.168.1.1\n"},
    {"peers-unheard", PP, WAN1, 0, "-", "# none\n", {{NI, LAN + WIMAX_OFF}}},
    {"switches-unread", UPNP, "UPNP_ENABLE=0\n", 1, "UPNP_ENABLE", "UPNP_ENABLE=1\n", {{IGMP, NO_FILE}}},
    {"too-large", RULES, std::string(1024 * 1024, '\n') + "DROP a - - - - - - -\n", 0, "-", std::string(1024 * 1024, '\n')},
};
// clang-format on

struct seen {
    int status;
    std::string text;
};

seen check(bool is_json = false)
{
    char *text = nullptr;
    size_t length = 0;
    FILE *out = open_memstream(&text, &length);
    int status = check_settings("/", out, is_json);
    fclose(out);
    seen result = {status, std::string(text, length)};
    free(text);
    return result;
}

// "FILE:LINE:FIELD: SEVERITY: CODE" of each finding.
std::vector<std::string> findings(const std::string &text)
{
    std::vector<std::string> heads;
    for (const std::string &line : support::lines_of(text)) {
        size_t code = line.find(": ", line.find(": ") + 2);
        if (line[0] == '/')
            heads.push_back(line.substr(0, line.find(": ", code + 2)));
    }
    return heads;
}

// The example router with PPPoE. All that there is to find in it is that its MAC filter and PPPoE
// do not go together well, so the filter lets in here what is listed.
class check_code : public support::unit_test, public ::testing::WithParamInterface<code_case>
{
  protected:
    void SetUp() override
    {
        unit_test::SetUp();
        world.copy_in(support::example_path("router"), "/");
        world.copy_in(support::example_path("pppoe"), "/");
        world.write(FILTER, "MAC_FILTER_ENABLE=1\n");
    }

    void put(const std::string &path, const std::string &content)
    {
        if (content == NO_FILE)
            world.remove(path);
        else
            world.write(path, content);
    }

    std::vector<std::string> found_with(const std::string &content)
    {
        for (const auto &[path, other] : GetParam().also)
            put(path, other);
        put(GetParam().file, content);
        return findings(check().text);
    }

    static std::string expected()
    {
        const code_case &row = GetParam();
        for (const code_row &code : code_rows) {
            if (row.code == std::string(code.name))
                return ":" + std::to_string(row.line) + ":" + row.field + ": " +
                       severity_name(code.how_bad) + ": " + row.code;
        }
        return "no such code";
    }
};

// What the settings around the row bring by themselves, such as a missing file.
std::vector<std::string> without(std::vector<std::string> all, const std::vector<std::string> &some)
{
    for (const std::string &one : some) {
        for (auto it = all.begin(); it != all.end(); ++it) {
            if (*it == one) {
                all.erase(it);
                break;
            }
        }
    }
    return all;
}

TEST_P(check_code, is_raised_alone_and_not_by_its_neighbour)
{
    std::vector<std::string> good = found_with(GetParam().good);
    std::vector<std::string> bad = without(found_with(GetParam().bad), good);
    ASSERT_EQ(bad.size(), 1U) << ::testing::PrintToString(bad);
    EXPECT_EQ(bad[0].substr(bad[0].find(':')), expected());
    EXPECT_EQ(without(good, bad), good) << "the neighbour has it too";
    if (GetParam().also.empty()) {
        EXPECT_EQ(good, std::vector<std::string>());
    }
}

std::string name_of(const ::testing::TestParamInfo<code_case> &info)
{
    std::string name = std::to_string(info.index) + "_" + info.param.code;
    for (char &c : name)
        c = c == '-' ? '_' : c;
    return name;
}

INSTANTIATE_TEST_SUITE_P(all, check_code, ::testing::ValuesIn(cases), name_of);

} // namespace
