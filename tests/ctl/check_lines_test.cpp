// mctl check, line by line: all that it says of settings as they may come, to the letter. Each
// table is a part of tests/fixtures/ctl/check_lines, with what is told of a line below it.
#include "ctl/code_test.h"

namespace
{

using namespace check_test;

struct line_table {
    const char *name;
    std::string file;
    std::string before; // the line
    std::string after;
    files also; // other settings than good ones
    std::vector<std::string> lines;
};

const std::string LAN = "br0 lan 1 static 192.168.1.1 255.255.255.0 - - 192.168.1.255 - -\n";
const std::string PPPOE = "vlan2 wan 1 pppoe\n";
const std::string DHCP = "vlan2 wan 1 dhcp\n";
const std::string STATIC =
    "vlan2 wan 1 static 192.0.2.77 255.255.255.0 192.0.2.1 5 192.0.2.255 1400 02:00:00:00:02:77\n";
const std::string WIMAX_OFF = "wimax0 wimax 0 dhcp\n";
const files PPPOE_WAN = {{PEERS, "wan1 pppoe 1 login secret vlan2 ac1 isp 1\n"}};
const files NO_PEERS = {{PEERS, "# none\n"}};
const files DHCP_WAN = {{INTERFACES, LAN + DHCP + WIMAX_OFF}};
const files STATIC_WAN = {{INTERFACES, LAN + STATIC + WIMAX_OFF}};
const files DENIED = {{IP_FILTER, "MAC_FILTER_ENABLE=2\n"}};
const files NIGHT = {{SCHEDULES, "night 1 - 1111111 22000600 -\nday 0 - 0111110 08001200 -\n"
                                 "week 1 - 1111111 00002359 -\nday 1 - 0111110 08001200 -\n"}};
const std::string RADIO = "BssidNum=1\nSSID1=home\n";

// clang-format off
const line_table tables[] = {
    {"vlan2", INTERFACES, LAN, WIMAX_OFF, NO_PEERS, {
        "vlan2", "vlan2 wan", "vlan2 wan 1", "vlan2 wan 0 dhcp", "vlan2 wan 0 dhcp ", "vlan2 wan 0 dhcp\r", "vlan2 wan 0 dhcp -",
        "vlan2 wan 0 dhcp - - - - - - -", "vlan2 wan 0 dhcp - - - - - - - -", "vlan2 wan 0 dhcp - - - - - - - # x", "vlan2 wan 0 dhcp - - - - - - - x",
        "vlan2 wan 1 pppoe", "vlan2 wan 0 pppoe", "vlan2 wan yes pppoe", "vlan2 wan 1 static", "vlan2 wan 1 DHCP 192.0.2.77 - - - - 9 -",
        "vlan2 wan 1 static - 255.255.255.0 192.0.2.1 5 - - -", "vlan2 wan 1 static 192.0.2.77 - 192.0.2.1 5 - - -", "vlan2 wan 1 static - - 192.0.2.1 5 - - -",
        "vlan2 wan 1 static 192.0.2.300 255.255.255.0 192.0.2.1 5 - - -", "vlan2 wan 1 static 0.0.2.77 255.255.255.0 192.0.2.1 5 - - -",
        "vlan2 wan 1 static 127.0.2.77 255.255.255.0 127.0.2.1 5 - - -", "vlan2 wan 1 static 126.0.2.77 255.255.255.0 126.0.2.1 5 - - -",
        "vlan2 wan 1 static 1.0.2.77 255.255.255.0 1.0.2.1 5 - - -", "vlan2 wan 1 static 128.0.2.77 255.255.255.0 128.0.2.1 5 - - -",
        "vlan2 wan 1 static 223.0.2.77 255.255.255.0 223.0.2.1 5 - - -", "vlan2 wan 1 static 224.0.2.77 255.255.255.0 224.0.2.1 5 - - -",
        "vlan2 wan 1 static 192.0.2.77 255.0.255.0 192.0.2.1 5 192.0.2.9 - -", "vlan2 wan 1 static 192.0.2.77 0.0.0.0 192.0.2.1 5 - - -",
        "vlan2 wan 1 static 192.0.2.77 24 192.0.2.1 5 - - -", "vlan2 wan 1 static 192.0.2.77 255.255.255.0 192.0.2 5 - - -",
        "vlan2 wan 1 static 192.0.2.77 255.255.255.0 127.0.0.1 5 - - -", "vlan2 wan 1 static 192.0.2.77 255.255.255.0 - 5 - - -",
        "vlan2 wan 1 static 192.0.2.77 255.255.255.252 192.0.2.81 5 - - -", "vlan2 wan 1 static 192.0.2.77 255.255.255.0 192.0.2.1 5 192.0.2.254 - -",
        "vlan2 wan 1 static 192.0.2.77 255.255.255.0 192.0.2.1 5 192.0.2 - -", "vlan2 wan 1 static 192.0.2.77 255.255.255.0 192.0.2.1 5 192.0.2.255 - -",
        "vlan2 wan 1 static 10.200.30.40 255.255.0.0 10.200.0.1 5 10.255.255.255 - -", "vlan2 wan 1 static 10.1.30.40 255.255.0.0 10.1.0.1 5 10.255.255.255 - -",
        "vlan2 wan 1 static 192.168.1.77 255.255.255.0 192.168.1.254 5 - - -", "vlan2 wan 1 static 192.168.2.77 255.255.255.0 192.168.2.254 5 - - -",
        "vlan2 wan 1 static 192.0.2.77 255.255.255.0 192.0.2.1 x - - -", "vlan2 wan 1 static 192.0.2.77 255.255.255.0 192.0.2.1 99999 - - -",
        "vlan2 wan 1 static 192.0.2.77 255.255.255.0 192.0.2.1 100000 - - -", "vlan2 wan 1 static 192.0.2.77 255.255.255.0 192.0.2.1 05 - - -",
        "vlan2 wan 1 static 192.0.2.77 255.255.255.0 192.0.2.1 - - - -",
        "vlan2 wan 0 pppoe 192.0.2.77 255.255.255.0 192.0.2.1 7 192.0.2.255 - -", "vlan2 wan 0 dhcp - - - 7 - - -",
        "vlan2 wan 0 pppoe - - - - - 67 -", "vlan2 wan 0 pppoe - - - - - 68 -", "vlan2 wan 0 pppoe - - - - - 1500 -", "vlan2 wan 0 pppoe - - - - - 1501 -", "vlan2 wan 0 pppoe - - - - - x -",
        "vlan2 wan 0 pppoe - - - - - - 00:00:00:00:00:00", "vlan2 wan 0 pppoe - - - - - - 01:00:00:00:00:01", "vlan2 wan 0 pppoe - - - - - - 02:00:00:00:00:0g", "vlan2 wan 0 pppoe - - - - - - 02:00:00:00:00:01",
        "vlan2 wan\xe9 0 pppoe - - - 7 - - -", "vlan2 a\tb 0 pppoe - - - 7 - - -", "vlan2 wan 0 pppoe\xe9 - - - 7 - - -",
        "vlan2 0123456789012345 0 dhcp", "vlan2 wan 0 pppoe \t", "vlan3 wan 0 dhcp", "vlan2 wan 0 dhcp\nvlan2 wan 0 pppoe", " vlan2 wan 1 pppoe\nvlan2 wan 0 dhcp",
        "vlan2 wan 0 dhcp\n vlan2 wan 1 pppoe", "#vlan2", " # vlan2", "\tvlan2", "   ", "\t", "\x0b#"}},
    {"vlan2 without a type", INTERFACES, LAN, WIMAX_OFF, {{PEERS, "# none\n"}, {IP_FILTER, "MAC_FILTER_ENABLE=2\n"}}, {"vlan2 wan pppoe", "vlan2 wan 1 pppoe"}},
    {"br0", INTERFACES, "", DHCP + WIMAX_OFF, NO_PEERS, {
        "", "br0 lan 1 static 192.168.1.1 255.255.255.0 - - - - -", "br0 lan 0 static 192.168.1.1 255.255.255.0 - - - - -", "br0 lan x static 192.168.1.1 255.255.255.0 - - - - -",
        "br0 lan 1 dhcp", "br0 lan 1 pppoe", "br0 lan 1 static 192.168.1.1 255.255.255.0 192.168.1.9 - - - -", "br0 lan 1 static 192.168.1.1 255.255.255.0 192.168.2.9 - - - -",
        "br0 lan 1 static 192.168.1.1 255.255.255.0 - - - 1400 -", "br0 lan 1 static 192.168.1.1 255.255.255.0 - - - - 02:00:00:00:00:01",
        "br0 lan 1 static 192.168.1.1 255.255.255.0 - - - 1501 03:00:00:00:00:01"}},
    {"br0 without a netmask", INTERFACES, "wimax0 w 0 dhcp - - - - - - -\n", DHCP, NO_PEERS, {"br0 lan1 1 static 255.255.255.0"}},
    {"wimax0", INTERFACES, LAN + DHCP, "", NO_PEERS, {"", "wimax0 wimax 0 pppoe", "wimax0 wimax 0 \r - - - - - - -", "wimax0 wimax 1 static 10.0.0.7 255.0.0.0 - - - - -", "wimax0 wimax 1 dhcp"}},
    {"no interfaces", INTERFACES, "", "", {{PEERS, "wan1 pppoe 1 login secret vlan2 ac1 isp 1\n"}, {VSERVERS, "a tcp 80 80 192.168.0.20 - - - -\nb tcp 81 81 192.168.1.20 - - - -\n"},
        {RULES, "ACCEPT a - 192.168.0.5 - - - - -\nACCEPT b - 192.168.1.5 - - - - -\n"}, {IP_FILTER, "MAC_FILTER_ENABLE=2\n"}, {MASQ, "lan 192.168.1.0/24 - - - - - - -\n"}}, {"# nothing", "br0", "br0 lan 1 static 192.168.1.1 255.0.255.0 - - - - -", "br0 lan 1 static 192.168.1.1 24 - - - - -", "br0 lan 1 static 192.168.1.1 255.255.255.0 - - - - -"}},

    {"a peer over PPPoE", PEERS, "", "", {}, {
        "wan1", "wan1\n", "wan1 pppoe", "wan1 pppoe\n", "wan1 l2tp\n", "wan1 pppox\n", "wan1 pppoe 1\n", "wan1 pppoe 1 login\n", "wan1 pppoe 1 login secret\n", "wan1 pppoe 1 login secret vlan2\n", "wan1 pppoe 1 login secret vlan2 ac1\n",
        "wan1 pppoe 1 login secret vlan2 ac1 7", "wan1 pppoe 1 login secret vlan2 ac1 isp", "wan1 pppoe 1 login secret vlan2 ac1 isp\n", "wan1 pppoe 1 login secret vlan2 ac1 " + std::string(63, 'i') + "\n", "wan1 pppoe 1 login secret vlan2 ac1 " + std::string(64, 'i') + "\n", "wan1 pppoe 1 login secret vlan2 ac1 isp \n", "wan1 pppoe 1 login secret vlan2 ac1 7 \n", "wan1 pppoe 1 login secret vlan2 ac1 isp 1",
        "wan1 pppoe 1 login secret vlan2 ac1 isp 999999999\n", "wan1 pppoe 1 login secret vlan2 ac1 isp 1000000000\n", "wan1 pppoe 1 login secret vlan2 ac1 isp -\n", "wan1 pppoe 1 login secret vlan2 ac1 isp 01\n",
        "wan1 pppoe 1 login secret vlan2 ac1 isp 1 x\n", "wan1 pppoe 1 login secret vlan2 ac1 isp 1 -\n", "wan1 pppoe x login secret vlan2 ac1 isp 1\n", "wan1 pppoe off login secret vlan2 ac1 isp 1\n",
        "wan1 pppoe 1 login secret vlan3 ac1 isp 1\n", "wan1 pppoe 1 login secret vlan2 - - 1\n", "wan1 pppoe 1 login\xe9 secret vlan2 ac1 isp 1\n", "wan1 pppoe 1 log\tin secret vlan2 ac1 isp 1\n", "wan1\xe9 pppoe 1 login secret vlan2 ac1 isp 1\n",
        "wan pppoe 1 login secret vlan2 ac1 isp 1\n", "wan-a pppoe 1 login secret vlan2 ac1 isp 1\n", "wimax pppoe 1 login secret vlan2 ac1 isp 1\n", "wimax-a pppoe 1 login secret vlan2 ac1 isp 1\n", "waa pppoe 1 login secret vlan2 ac1 isp 1\n", "waaaa pppoe 1 login secret vlan2 ac1 isp 1\n", "-a\tb pppoe 1 login secret vlan2 ac1 isp 1\n", "-a\xe9 pppoe 1 login secret vlan2 ac1 isp 1\n", "wan1 pppoe 1 login secret vlan2 ac1 192.0.2.9 1\n",
        "a-b pppoe 1 login secret vlan2 ac1 isp 1\n", "-ab pppoe 1 login secret vlan2 ac1 isp 1\n", ".ab pppoe 1 login secret vlan2 ac1 isp 1\n", "a/b pppoe 1 login secret vlan2 ac1 isp 1\n", "a;b pppoe 1 login secret vlan2 ac1 isp 1\n",
        "a pppoe 0 login secret vlan2 ac1 isp 1\na pppoe 1 login secret vlan2 ac1 isp 1\n", "b pppoe 0 l p vlan2 x x 1\na pppoe 0 l p vlan2 x x 1\na pppoe 0 l p vlan2 x x 1\n", "a pppoe 1 l p vlan2 x x 1\nb pppoe 1 l p vlan2 x x 1\nc pppoe 1 l p vlan2 x x 1\nd pppoe 1 l p vlan2 x x 1\n",
        "a b 0\nwan11 pppoe", "a pppoe 1 l p vlan2 x x 1\nb l2tp 1 l p 192.0.2.9 1\n", "a pppoe 1 l p vlan2 x x 1\nb pptp 1 l p 192.0.2.9 1\n", "b pptp 1 l p 192.0.2.9 1\n", "# only\n", "# only\n \t", " x pppoe 1 l p vlan2 x x 1\n", "\ta\n",
        "a pppoe 1 " + std::string(63, 'l') + " p vlan2 x x 1\n", "a pppoe 1 " + std::string(64, 'l') + " p vlan2 x x 1\n"}},
    {"a peer over DHCP", PEERS, "", "", DHCP_WAN, {
        "a pptp 1 l p 192.0.2.9 1\n", "a pptp 1 l p 192.0.2.9 101\n", "a pptp 1 l p 192.0.2.9 102\n", "a pptp 1 l p vpn.example.net 1\n", "a pptp 1 l p vpn_example 1\n", "a pptp 1 l p my_vpn_example 1\n", "a pptp 1 l p -vpn 1\n", "a pptp 1 l p 192.0.2 1\n", "a pptp 1 l p 192-0-2 1\n", "a pptp 1 l p vpn-1 1\n",
        "a pptp 0 l p 192.0.2.99 200\nb pptp 1 l p 198.51.100.9", "a pptp 1 l p 192.0.2.9 -\n", "a pptp 1 l p 192.0.2.9 -", "a pptp 1 l p 192.0.2.9 x\n", "a pptp 1 l p 192.0.2.9", "a pptp 1 l p 192.0.2.9\n", "a pptp 1 l p 192.0.2.9 \n", "a pptp 1 l p\n", "a pptp 1 l p 192.0.2.9 102 x\n",
        "a;b pptp 1 l p 192.0.2.9 102\n", "a;b l2tp 1 l p 192.0.2.9 102\n", "a l2tp 1 l p 192.0.2.9 102\nb l2tp 1 l p 192.0.2.9 102\n", "a l2tp 0 l p 192.0.2.9 102\nb l2tp 1 l p 192.0.2.9 102\n",
        "a pptp 1 l p 192.0.2.9 102\nb pptp 1 l p 192.0.2.9 102\n", "a pppoe 1 l p vlan2 x x 1\n", "a l2tp 1 l p 192.0.2.9 102\nb l2tp 1 l p 192.0.2.9 102\nc l2tp 1 l p 192.0.2.9 102\n"}},
    {"a peer over a static WAN", PEERS, "", "", STATIC_WAN, {"a pptp 1 l p 198.51.100.9 5\n", "a pptp 1 l p 198.51.100.9 6\n", "a pptp 1 l p 192.0.2.9 5\n", "a pppoe 1 l p vlan2 x x 1\n"}},
    {"a peer over a WAN that waits", PEERS, "", "", {{INTERFACES, LAN + "vlan2 wan 0 pppoe\n" + WIMAX_OFF}}, {"a pppoe 1 l p vlan2 x x 1\n", "a pppoe 0 l p vlan2 x x 1\n"}},
    {"a peer over a static WAN without a metric", PEERS, "", "", {{INTERFACES, LAN + "vlan2 wan 1 static 192.0.2.77 255.255.255.0 192.0.2.1 x - - -\n" + WIMAX_OFF}}, {"a pptp 1 l p 198.51.100.9 0\n", "a pptp 1 l p 198.51.100.9 1\n"}},
    {"a peer over a static WAN whose metric is cut", PEERS, "", "", {{INTERFACES, LAN + "vlan2 wan 1 static 192.0.2.77 255.255.255.0 192.0.2.1 100000 - - -\n" + WIMAX_OFF}}, {"a pptp 1 l p 198.51.100.9 1\n"}},
    {"a peer over a static WAN without its end", PEERS, "", "", {{INTERFACES, LAN + "vlan2 wan 1 static 192.0.2.77 255.255.255.0 x5\n" + WIMAX_OFF}}, {"a pptp 1 l p 198.51.100.9 5\n"}},
    {"a peer over a WAN of two kinds", PEERS, "", "", {{INTERFACES, LAN + STATIC + DHCP + WIMAX_OFF}}, {"a pptp 1 l p 198.51.100.9 6\n"}},
    {"a peer without a WAN", PEERS, "", "", {{INTERFACES, LAN + WIMAX_OFF}}, {"a pppoe 1 l p vlan2 x x 1\n", "# none\n"}},

    {"servers for names", DNS, "", "", {{PEERS, "wan1 pppoe 1 login secret vlan2 ac1 isp 1\nzone pppoe 0 login secret vlan2 ac1 isp 1\n"}}, {
        "auto=0", "auto=0\n", "auto=0 \n", "auto=wan\n", "auto=wimax\n", "auto=wan1\n", "auto=zone\n", "auto=wan2\n", "auto=\n", "auto=", "auto", "auto\n", "auto=wan=x\n", "auto=w\xe9\n", "auto=w\tn\n", "dns1=192.0.2.53\n", "dns1=no\n", "dns1=0\n", "dns1=\n", "dns2=192.0.2\n",
        "dns3=192.0.2.53\n", "dns3\n", "=wan\n", "=", "auto=wan\nauto=wan\n", "auto=wan\nauto=wimax\n", "auto=wan\nauto=wimax\nauto=wimax\n", "dns1=192.0.2.53 \n", "#auto=wan\n", " auto=wan\n", "dns1=192.0.2.53=\n", "\n\ndns1=1\n"}},
    {"the modem's settings", WIMAX, "", "", {}, {
        "WIMAX_ENABLE=0", "WIMAX_ENABLE=0\n", "WIMAX_ENABLE=1\n", "WIMAX_ENABLE=no\n", "WIMAX_ENABLE=No", "WIMAX_ENABLE=\n", "WIMAX_ENABLE\n", "WIMAX_ENABLE", "WIMAX_SSID=x\n", "WIMAX_SSID= x\n", "WIMAX_SSID=\tx\n", "WIMAX_SSID= x y\n", "WIMAX_SSID=\n", "WIMAX_DOFF=1\n", "WIMAX_DOFF=0\n", "WIMAX_DOFF=0", "WIMAX_DOFF=\n",
        "WIMAX_DOFF", "WIMAX_DOFF\n", "WIMAX_DOFF=-\n", "WIMAX_DON=1\n", "WIMAX_DON", "WIMAX_DON\n"}},

    {"switches", IP_FILTER, "", "", {}, {
        "NAT_ENABLE=0\n", "NAT_ENABLE=1\n", "NAT_ENABLE=on\n", "NAT_ENABLE=NO\n", "NAT_ENABLE=no\n", "NAT_ENABLE=2\n", "NAT_ENABLE=\n", "NAT_ENABLE", "NAT_ENABLE= \n", "NAT_ENABLE=0 x\n", "NAT_ENABLE=0 # x\n", "NAT_ENABLE=0  # x\n", "NAT_ENABLE=0=1\n", "NAT_ENABLE =0\n", " NAT_ENABLE=0\n", "nat_enable=0\n", "NAT_ENABL=0\n", "NAT_ENABLEX=0\n",
        "=0\n", "NAT\n", "NAT_ENABLE=0\nNAT_ENABLE=1\n", "NAT_ENABLE=1\nNAT_ENABLE=on\n", "NAT_ENABLE=0\nNAT_ENABLE=NO\n", "NAT_ENABLE=1\nNAT_ENABLE=0\n", "VSERVERS_ENABLE=0\n", "VSERVERS_ENABLE=1\n", "WAN_PING_ENABLE=0\n", "FIREWALL_ENABLE=0\nWAN_PING_ENABLE=0\n",
        "WAN_PING_ENABLE=0\nFIREWALL_ENABLE=0\n", "MAC_FILTER_ENABLE=0\n", "MAC_FILTER_ENABLE=1\n", "MAC_FILTER_ENABLE=allow\n", "MAC_FILTER_ENABLE=deny\n", "MAC_FILTER_ENABLE=2\n", "MAC_FILTER_ENABLE=3\n", "MAC_FILTER_ENABLE=1\nMAC_FILTER_ENABLE=0\n", "MAC_FILTER_ENABLE=1\r\nNAT_ENABLE=0\r\n",
        "DDOS_ENABLE=0\n", "TRIGGER_PORTS_ENABLE=0\n", "URL_FILTER_ENABLE=0\n", "IGMP_ENABLE=0\n", "UPNP_ENABLE=0\n", "NAT_ENABLE=0\x0e\n", std::string("FIREWALL_ENABLE=0\0\nWAN_PING_ENABLE=0\n", 37)}},
    {"switches that are not read", UPNP, "", "", {{IGMP, NO_FILE}}, {"UPNP_ENABLE=0\n", "UPNP_ENABLE=1\n", "UPNP_ENABLE=\n", "IGMP_ENABLE=0\n"}},
    {"the switch of multicast", IGMP, "", "", {}, {"IGMP_ENABLE=0\n", "IGMP_ENABLE=1\n", "IGMP_ENABLE\n", "UPNP_ENABLE=0\n"}},
    {"switches behind a file that is missing", IGMP, "", "", {{IP_FILTER, NO_FILE}}, {"IGMP_ENABLE=0\n"}},
    {"switches behind two files that are missing", UPNP, "", "", {{IP_FILTER, NO_FILE}, {IGMP, NO_FILE}}, {"UPNP_ENABLE=0\n"}},

    {"schedules", SCHEDULES, "", "", {{MACS, "02:00:00:00:00:0B night\n"}, {URLS, "x.example night\ny.example always\n"}}, {
        "night\n", "night 1\n", "night 1 -\n", "night 1 - 0111110\n", "night 1 - 0111110 08001200", "night 1 - 0111110 08001200\n", "night 1 - 0111110 08001200 \n", "night 1 - 0111110 08001200 -\n", "night 1 - 0111110 08001200 - x\n", "night 1 - 0111110 08001200 x\n", "night 1 - 0111110 22000600 -\n", "night 1 - 1111111 22000600 -\n",
        "night 1 - 0111110 24000600 -\n", "night 1 - 0111110 23590600 -\n", "night 1 - 0111110 22000660 -\n", "night 1 - 0111110 22000659 -\n", "night 1 - 0111110 2260060 -\n", "night 1 - 0111110 22000a00 -\n", "night 1 - 0111110 2200060/ -\n", "night 1 - 0111110 08001200x -\n", "night 1 - 0111110 10000900 -\n", "night 1 - 0111110 30000900 -\n", "night 1 - 0111110 226006000 -\n", "night 1 - 0111110 00602359 -\n", "night 1 - 0111110 08000800 -\n", "night 1 - 0111110 08000801 -\n", "night 1 - 1111111 08000800 -\n", "night 1 - 1111111 00002359 -\n", "night 1 - 0111110 00002359 -\n",
        "night 1 - 0000000 08001200 -\n", "night 1 - 011111 08001200 -\n", "night 1 - 01111100 08001200 -\n", "night 1 - 0111112 08001200 -\n", "night 1 - 0111112 22000600 -\n", "night 0 - 0111110 08001200 -\n", "night yes - 0111110 08001200 -\n", "night no - 0111110 08001200 -\n", "night 0 - 1111111 00002359 -\n",
        "night 1 - 0111110 08001200 -\nnight 1 - 0111110 08001300 -\n", "night 0 - 0111110 08001200 -\nnight 1 - 0111110 08001300 -\n", "night 1 - 0111110 08001200 -\nnight 0 - 0111110 08001300 -\n", "night 1 - 0111110 08001200 -\nnight 1 - 0111110 08001300 -\nnight 1 - 0111110 08001400 -\n",
        "always 1 - 0111110 08001200 -\n", "always 0 - 0111110 08001200 -\n", "nigh 1 - 0111110 08001200 -\nnightly 1 - 0111110 08001200 -\n", "#night 1 - 0111110 08001200 -\n", "night 1 \t 0111110 08001200 -\n", "night 1 a\tb 0111110 24001200 -\n", std::string(31, 's') + " 1 - 0111110 08001200 -\n", std::string(32, 's') + " 1 - 0111110 08001200 -\n"}},
    {"entries with schedules", URLS, "", "", NIGHT, {
        "a.example always\n", "a.example night\n", "a.example day\n", "a.example week\n", "a.example never\n", "a.example\n", "a.example night\nb.example always\n", "a.example week\nb.example always\n", "a.example night\nb.example never\n", "a.example night\nb.example week\nc.example always\nd.example never\n",
        "a.example never\nb.example always\n", ".a.example always\n", "a!b always\n", "a-b.example/x?y=1&z=%20+@~:_ always\n", "-a always\n", "a.example always x\n", "a.example always -\n", "a.example\talways\n", "a.exam\tple always\n", "#a.example always\n", "1.example always\n"}},
    {"schedules of others", MACS, "", "", NIGHT, {
        "02:00:00:00:00:0A\n", "02:00:00:00:00:0A always\n", "02:00:00:00:00:0A day\n", "02:00:00:00:00:0A never\n", "02:00:00:00:00:0A\r\n", "02:00:00:00:00:0A \n", "02:00:00:00:00:0G always\n", "02:00:00:00:00 always\n", "02-00-00-00-00-0A always\n", "02:00:00:00:00:0A always x\n", "# none\n", " # none\n", "x\n"}},
    {"a schedule whose name is cut", MACS, "", "", {{SCHEDULES, std::string(40, 's') + " 1 - 0111110 08001200 -\n"}, {URLS, ""}}, {"02:00:00:00:00:0A " + std::string(31, 's') + "\n"}},
    {"MAC addresses that are not asked for", MACS, "", "", {{IP_FILTER, "MAC_FILTER_ENABLE=0\n"}}, {"# none\n", "x\n"}},
    {"rules", RULES, "", "", {{MACS, "02:00:00:00:00:0A always\n"}, {IP_FILTER, "MAC_FILTER_ENABLE=2\n"}, {INTERFACES, LAN + DHCP + WIMAX_OFF}, {PEERS, "# none\n"}}, {
        "DROP\n", "x\n", "DROP a - 203.0.113.66 - - -\n", "DROP a - 203.0.113.66 - - - -", "DROP a - 203.0.113.66 - - - -\n", "DROP a - 203.0.113.66 - - - - -\n", "drop a - 203.0.113.66 - - - - -\n", "ACCEPT a - 203.0.113.66 - - - - -\n", "DROP a - - - - - - -\n", "ACCEPT a - - - - - - -\n", "DROP a - - - tcp - - -\n", "ACCEPT a - - - tcp - - -\n",
        "ACCEPT a - 192.168.1.5 - - - - -\n", "ACCEPT a - 192.168.1.0/25 - - - - -\n", "ACCEPT a - 192.168.0.0/16 - - - - -\n", "ACCEPT a - 192.168.1.0/24 - - - - -\n", "ACCEPT a - 192.168.1.5-192.168.1.9 - - - - -\n", "ACCEPT a - 192.168.1.5-192.168.2.9 - - - - -\n", "ACCEPT a - 192.168.0.5-192.168.1.9 - - - - -\n", "DROP a - 192.168.1.5 - - - - -\n",
        "ACCEPT a - 192.168.1.300 - - - - -\n", "DROP a - - 192.168.1.300 - - - -\n", "DROP a - - 192.168.1.9-192.168.1.8 - - - -\n", "DROP a - - 192.168.1.8-192.168.1.8 - - - -\n", "DROP a - - 192.168.1.8/24 - - - -\n", "DROP a - - 192.168.1.8/33 - - - -\n", "DROP a - - 192.168.1.8/255.255.255.255 - - - -\n",
        "DROP a - 203.0.113.66 - tpc - - -\n", "DROP a - 203.0.113.66 - tpc 80 - -\n", "DROP a - 203.0.113.66 - all - - -\n", "DROP a - 203.0.113.66 - ICMP - - -\n", "DROP a - 203.0.113.66 - icmp 80 - -\n", "DROP a - 203.0.113.66 - 255 - - -\n", "DROP a - 203.0.113.66 - 256 - - -\n", "DROP a - 203.0.113.66 - esp - - -\n", "DROP a - 203.0.113.66 - ah - - -\n",
        "DROP a - 203.0.113.66 - udp 80 90 -\n", "DROP a - 203.0.113.66 - TCP 80:90 90:90 -\n", "DROP a - 203.0.113.66 - tcp 90:80 - -\n", "DROP a - 203.0.113.66 - tcp 0 - -\n", "DROP a - 203.0.113.66 - tcp 0:80 - -\n", "DROP a - 203.0.113.66 - tcp 80-90 65536 -\n", "DROP a - 203.0.113.66 - - 80 90 -\n", "DROP a - 203.0.113.66 - tcp 80 x -\n",
        "DROP a\tb - 203.0.113.66 - - - - -\n", "DROP a - 203.0.113.66 - - - - x\ty\n", "DROP a - 203.0.113.66 - - - - - x\n", "DROP a - 203.0.113.66 - - - - - -\n", "DROP a - 203.0.113.66 - - - - - # x\n", "DROP a - 203.0.113.66 - - - - - x\ty\n", "DROP a - 203.0.113.66 - - - - - 10 11 12 13 14 15 16 17 18\n", "$DROP a - 203.0.113.66 - - - - -\n", "#DROP\n", " DROP\n", "\r\n", "DROP a - 203.0.113.66 - - - - -\r\nDROP a - 203.0.113.66 - - - - -\r\n",
        "DROP " + std::string(220, 'n') + " - 203.0.113.66 - - - - -\n", "DROP " + std::string(223, 'n') + " - 203.0.113.66 - - - - -\n", "DROP " + std::string(224, 'n') + " - 203.0.113.66 - - - - -\n", "DROP " + std::string(225, 'n') + " - 203.0.113.66 - - - - -\n", "DROP " + std::string(226, 'n') + " - 203.0.113.66 - - - - -\n", std::string(255, ' ') + "\n", "x" + std::string(300, ' ') + "\n", std::string(300, ' ') + "\n",
        "DROP a - " + std::string(31, '1') + " - - - - -\n", "DROP a - " + std::string(32, '1') + " - - - - -\n", std::string("DROP\0 a - - - - - - -\n", 22)}},
    {"rules without a LAN", RULES, "", "", {{MACS, "02:00:00:00:00:0A always\n"}, {IP_FILTER, "MAC_FILTER_ENABLE=2\n"}, {INTERFACES, "br0 lan 1 dhcp\n" + DHCP + WIMAX_OFF}, {PEERS, "# none\n"}}, {"ACCEPT a - 192.168.1.5 - - - - -\n", "ACCEPT a - 0.0.0.5 - - - - -\n"}},
    {"rules beside an empty filter", RULES, "", "", {{MACS, "# none\n"}, {IP_FILTER, "MAC_FILTER_ENABLE=2\n"}}, {"ACCEPT a - 192.168.1.5 - - - - -\n"}},
    {"accesses", ACCESS, "", "", {}, {
        "HTTP auto any any ACCEPT\n", "http auto any any ACCEPT\n", "HTTPS auto any any ACCEPT\n", "ssh auto any any ACCEPT\n", "telnet auto any any ACCEPT\n", "FTP auto any any ACCEPT\n", "TFTP auto any any ACCEPT\n", "snmp auto any any ACCEPT\n", "DNS auto any any ACCEPT\n", "PING auto any any ACCEPT\n", "ICMP auto any any ACCEPT\n", "CWMP auto any any ACCEPT\n", "TR069 auto any any ACCEPT\n", "SUPPORT auto any any ACCEPT\n",
        "HTTP br0 any any ACCEPT\n", "HTTP vlan2 any any ACCEPT\n", "HTTP vlan any any ACCEPT\n", "HTTP vlan2x any any ACCEPT\n", "HTTP vlan9 any any ACCEPT\n", "HTTP br1 any any ACCEPT\n", "HTTP wimax0 any any ACCEPT\n", "HTTP ra0 any any ACCEPT\n", "HTTP ppp+ any any ACCEPT\n", "HTTP eth2.1 any any ACCEPT\n", "HTTP wds0 any any ACCEPT\n", "HTTP apcli0 any any ACCEPT\n", "HTTP usb0 any any ACCEPT\n", "HTTP wwan0 any any ACCEPT\n", "HTTP lo any any ACCEPT\n", "HTTP lo0 any any ACCEPT\n",
        "HTTP br-lan any any ACCEPT\n", "HTTP tun_0:1 any any ACCEPT\n", "HTTP vlan/2 any any ACCEPT\n", "HTTP -vlan2 any any ACCEPT\n", "HTTP 012345678901234 any any ACCEPT\n", "HTTP 0123456789012345 any any ACCEPT\n",
        "HTTP auto 192.0.2.7 any ACCEPT\n", "HTTP auto any 255.255.255.0 ACCEPT\n", "HTTP auto 192.0.2.0 255.255.255.0 ACCEPT\n", "HTTP auto 192.0.2.7 255.255.255.0 ACCEPT\n", "HTTP auto 192.0.2 255.255.255.0 ACCEPT\n", "HTTP auto 192.0.2 255.0.255.0 ACCEPT\n", "HTTP auto 192.0.2.7 255.0.255.0 ACCEPT\n", "HTTP auto 192.0.2.7 32 ACCEPT\n", "HTTP auto 192.0.2.7 33 ACCEPT\n", "HTTP auto 192.0.2.7 0 ACCEPT\n",
        "HTTP auto any any DROP\n", "HTTP auto any any logaccept\n", "HTTP auto any any logdrop\n", "HTTP auto any any accept\n", "HTTP auto any any REJECT\n", "HTTP auto any any\n", "HTTP\tauto\tany\tany\tACCEPT\n", "HTTP auto any any ACCEPT - - - - x\n"}},
    {"forwards", VSERVERS, "", "", {}, {
        "a tcp 80 80 192.168.1.20 - - - -\n", "a udp 80 80 192.168.1.20 - - - -\n", std::string(32, 'n') + " tcp 80 80 192.168.1.20 - - - -\n", "a TCP 80 80 192.168.1.20 - - - -\n", "a all 80 80 192.168.1.20 - - - -\n", "a tcp 80 80 192.168.1.20", "a tcp 80 80 192.168.1.20\n", "a tcp 80 80 192.168.2.20\n", "a tcp 80 80\n", "a tcp x 80 192.168.1.20 - - - -\n", "a tcp 80 x 192.168.1.20 - - - -\n", "a tcp 80 0 192.168.1.20 - - - -\n", "a tcp 80 0-5 192.168.1.20 - - - -\n", "a tcp 80 1 192.168.1.20 - - - -\n", "a tcp 80 1-5 192.168.1.20 - - - -\n",
        "a tcp 80:90 80 192.168.1.20 - - - -\n", "a tcp 80:90 80-90 192.168.1.20 - - - -\n", "a tcp 80:80 80 192.168.1.20 - - - -\n", "a tcp 0:80 80-90 192.168.1.20 - - - -\n", "a tcp 65535 80 192.168.1.20 - - - -\n", "a tcp 65536 80 192.168.1.20 - - - -\n", "a tcp 90:80 80 192.168.1.20 - - - -\n",
        "a tcp 80 80 192.168.1.1 - - - -\n", "a tcp 80 80 192.168.2.20 - - - -\n", "a tcp 80 80 192.168.1 - - - -\n",
        "a tcp 80 80 192.168.1.20 - - - -\nb tcp 80 81 192.168.1.20 - - - -\n", "a tcp 80 80 192.168.1.20 - - - -\nb udp 80 80 192.168.1.20 - - - -\n", "a tcp 80:90 80-90 192.168.1.20 - - - -\nb tcp 90 80 192.168.1.20 - - - -\nc tcp 91 80 192.168.1.20 - - - -\nd tcp 79 80 192.168.1.20 - - - -\n", "a udp 80 80 192.168.1.20 - - - -\nb udp 79:81 79-81 192.168.1.20 - - - -\n",
        "a all 80 80 192.168.1.20 - - - -\nb tcp 80 80 192.168.1.20 - - - -\n", "#a tcp 80 bad 192.168.1.20 - - - -\n", "a tcp 65535 80 192.168.1.20 - - - -\nb udp 1 80 192.168.1.20 - - - -\nc tcp 65535 80 192.168.1.20 - - - -\n"}},
    {"forwards without a LAN", VSERVERS, "", "", {{INTERFACES, "br0 lan 1 dhcp\n" + PPPOE + WIMAX_OFF}}, {"a tcp 80 80 192.168.1.20 - - - -\n"}},
    {"networks to masquerade", MASQ, "", "", {}, {
        "lan 192.168.1.0/24 - - - - - - -\n", "lan\n", "lan -\n", "lan - - - - - - - -\n", "lan 192.168.1.0/24 - - -", "lan 192.168.1.0/24 - - -\n", "lan 192.168.1.0/24 - -\n", "lan 10.0.0.0/8 - - - - - - -\n", "lan 192.168.0.0/16 - - - - - - -\n", "lan 192.168.1.0/25 - - - - - - -\n", "lan 10.0.0.1-10.0.0.2 - - - - - - -\nb 192.168.1.0/24 - - - - - - -\n", "lan 192.168.1.1/24 - - - - - - -\n", "lan x - - - - - - -\n",
        "lan 192.168.1.0/24 - tcp 80 - - - -\n", "lan 192.168.1.0/24 - - 80 - - - -\n", "lan 192.168.1.0/24 - tpc 80 - - - -\n", "lan 192.168.1.0/24 - tcp x - - - -\n", "# none\n", "#lan 192.168.1.0/24 - - - - - - -\n"}},
    {"nothing masqueraded", MASQ, "", "", {{IP_FILTER, "NAT_ENABLE=0\nMAC_FILTER_ENABLE=1\n"}}, {"# none\n"}},
    {"triggers", TRIGGERS, "", "", {}, {
        "a 6667 tcp 113 tcp - - - -\n", "a x tcp 113 tcp - - - -\n", "a 6667 tcp x tcp - - - -\n", "a 6667 tcp 113:114 tcp - - - -\n", "a 0 tcp 65536 tcp - - - -\n", "a 6667 tcp 113 udp - - - -\n", "a 6667 tcp 113 all - - - -\n", "a 6667 tcp 113 TCP - - - -\n", "a 6667 tcp 113 tcpx - - - -\n", "a 6667 tcp 113 allow - - - -\n", "a 6667 tcp 113 tc - - - -\n", "a 6667 tcp 113 icmp - - - -\n", "a 6667 tcp 113 -\n", "a 6667 tcp 113\n"}},

    {"zones", ZONE, "", "", {}, {
        "", "\n", "UTC", "GMT", "UTC\n", "utc", "GMT-3\n", "UT", "UT-3", "UTC-3", "UTC+3", "UTC3", "UTC-03", "UTC-003", "UTC-15", "UTC-16", "UTC-3:00", "UTC-3:30", "UTC-3:00:30", "UTC-3:59", "UTC-3:60", "UTC-3:", "UTC-3:0:0:0", "UTC-x", "<+03>-3", "<-03>3", "<+03-3", "<+3>-3", "<+0>-3", "<abc>-3", "+03-3", "A1C-3", "ABCD-3", "Europe/Berlin",
        "CET-1CEST", "CET-1CEST-2", "CET-1CEST-2:30", "CET-1CEST-16", "CET-1CE", "CET-1<+02>", "CET-1CEST,M3.5.0,M10.5.0", "CET-1CEST-2,M3.5.0,M10.5.0", "CET-1CEST,M3.5.0/2,M10.5.0/3:30", "CET-1CEST,M3.5.0/24,M10.5.0/24", "CET-1CEST,M3.5.0/25,M10.5.0", "CET-1CEST,M3.5.0", "CET-1CEST,M3.5.0,M10.5.0,", "CET-1CEST,M3.5.0,M10.5.0x", "CET-1CESTM3.5.0,M10.5.0",
        "CET-1CEST,M0.5.0,M10.5.0", "CET-1CEST,M1.5.0,M12.5.0", "CET-1CEST,M13.5.0,M10.5.0", "CET-1CEST,M3.0.0,M10.1.0", "CET-1CEST,M3.6.0,M10.1.0", "CET-1CEST,M3.5.7,M10.1.0", "CET-1CEST,M3.5.6,M10.1.0", "CET-1CEST,M3,M10", "CET-1CEST,M3.5,M10.5", "CET-1CEST,M.5.0,M10.5.0", "CET-1CEST,M003.5.0,M10.5.0", "CET-1CEST,J1,J365", "CET-1CEST,J0,J365", "CET-1CEST,J1,J366", "CET-1CEST,0,365", "CET-1CEST,0,366", "CET-1CEST,0000,365", "CET-1CEST,000,365", "CET-1CEST,x,365",
        "UTC-3 \n", "UTC-3\r\n", " UTC-3", "UTC-3\nUTC-2", "UTC-3\n\n", std::string("UTC\0-3", 6), std::string(62, 'A') + "1", std::string(63, 'A') + "1", std::string(64, 'A') + "1", std::string(200, 'A') + "1"}},

    {"the device's NVRAM", NVRAM_DEVICE, "", "", {}, {
        "ethaddr=00:0A:EB:11:22:30\n", "ethaddr=00:0A:EB:11:22:30", "ethaddr=\"00:0A:EB:11:22:30\"\n", "ethaddr=01:0A:EB:11:22:30\n", "ethaddr=02:0A:EB:11:22:30\n", std::string("ethaddr=00:0A:EB:11:22:30\npin=1\0\n", 33), "ethaddr=00:0A:EB:11:22:FF\n", "ethaddr=00:0A:EB:11:22:FE\n", "ethaddr=00:0A:EB:11:22\n", "ethaddr=\n", "ethaddr\n", "\n", "# x\n", " # x\n", "x\n", "x=y\n", "ETHADDR=00:0A:EB:11:22:30\n", "Pin=1\nethaddr=00:0A:EB:11:22:30\n", " ethaddr=00:0A:EB:11:22:30\n", "ethaddr =00:0A:EB:11:22:30\n",
        "ethaddr=00:0A:EB:11:22:30\nwanmac=00:0A:EB:11:22:31\n", "ethaddr=00:0A:EB:11:22:30\nwanmac=00:0A:EB:11:22:32\n", "ethaddr=00:0A:EB:11:22:30\nwanmac=x\n", "ethaddr=00:0A:EB:11:22:30\nwanmac=\n", "wanmac=00:0A:EB:11:22:32\n", "ethaddr=x\nwanmac=00:0A:EB:11:22:32\n", "ethaddr=00:0A:EB:11:22:30\nwlanmac=x\n", "ethaddr=00:0A:EB:11:22:30\nwlanmac=00:0A:EB:11:22:FF\n", "ethaddr=00:0A:EB:11:22:30\nwlanmac=00:0A:EB:11:22:3F\n",
        "ethaddr=00:0A:EB:11:22:30\nethaddr=00:0A:EB:11:22:32\n", "ethaddr=00:0A:EB:11:22:30\nethaddr=x\nethaddr=y\n", "ethaddr=00:0A:EB:11:22:30\npin=a\tb\n", "ethaddr=00:0A:EB:11:22:30\npin=a\r\n", std::string("ethaddr=00:0A:EB:11:22:30\nx\0=1\n", 31), "ethaddr=00:0A:EB:11:22:30\n=x\n", "ethaddr=00:0A:EB:11:22:30\n\t pin=1\n"}},
    {"the radio's NVRAM", NVRAM_WIRELESS, RADIO, "", {}, {
        "", "Channel=6", "Channel=6\n", "Channel=-6\n", "Channel=x\n", "Channel=2147483647\n", "Channel=2147483648\n", "Channel=\n", "channel=6\n", " Channel=6\n", "Channel =6\n", "channel =6\n", "Channel=x\nChannel=6\n", "Chan=6\n", "Chan =6\n", "Chan=6\nChan=7\n", "CountryCode=TR\n", "CountryCode=T\tR\n", "TurboRate=1\n", "SSID=home\n", "SSID\n", "SSID2=x\n", "SSID5=x\n", "ssid1=x\n", "SSID1=x\n", "WscConfStatus=1\n", "RadioOn=0\n", "RadioOn=1\n", "RadioOff=0\n", "RadioOff=1\n", "RadioOff=2\n", "RadioOff=x\n", "radiooff=1\n", "WscConfigured=1\n", "wscconfigured=1\n", "WscConfigured=x\n",
        "WmmCapable=1\n", "WmmCapable=\n", "WmmCapable=12\n", "WmmCapable=x\n", "WPAPSK=12345678\n", "Key1Str=12345\n", "AccessPolicy0=0\n", "AccessControlList0=x\n", "TxAntenna=1\n", "RxAntenna=1\n", "IEEE8021X=0\n", "IEEE8021X=1\nown_ip_addr=192.168.1.1\n", "IEEE8021X=1\nown_ip_addr=192.168.1.2\n", "IEEE8021X=1\nown_ip_addr=\n", "IEEE8021X=0\nown_ip_addr=192.168.1.2\n", "IEEE8021X=;1\n", "IEEE8021X=1;1\n", "IEEE8021X=0;;0\n", "IEEE8021X=10\n", "IEEE8021X=2\n", "IEEE8021X=0;2\n",
        "AuthMode=WPA2\nEncrypType=AES\nRADIUS_Server=192.168.1.9\nRADIUS_Key=k\nown_ip_addr=192.168.1.2\n", "AuthMode=WPA2\nEncrypType=AES\n", "AuthMode=WPA2\nEncrypType=AES\nRADIUS_Key=k\n", "AuthMode=WPA1WPA2\nEncrypType=TKIP\nRADIUS_Server=192.168.1.9\nRADIUS_Key=k\n", "AuthMode=WPA\nEncrypType=TKIPAES\nRADIUS_Server=192.168.1.9\nRADIUS_Key=k\n",
        "AuthMode=OPEN\nEncrypType=NONE\n", "AuthMode=OPEN\nEncrypType=WEP\n", "AuthMode=OPEN\nEncrypType=AES\n", "AuthMode=OPEN\n", "AuthMode=open\nEncrypType=NONE\n", "AuthMode=\nEncrypType=NONE\n", "AuthMode=SHARED\nEncrypType=WEP\nKey1Str1=12345\n", "AuthMode=SHARED\nEncrypType=WEP\n", "AuthMode=WEPAUTO\nEncrypType=WEP\nKey1Str1=12345\n", "AuthMode=WEPAUTO\nEncrypType=NONE\nKey1Str1=12345\n",
        "AuthMode=SHARED\nEncrypType=WEP\nDefaultKeyID=4\nKey4Str1=12345\n", "AuthMode=SHARED\nEncrypType=WEP\nDefaultKeyID=5\nKey1Str1=12345\n", "AuthMode=SHARED\nEncrypType=WEP\nDefaultKeyID=0\nKey1Str1=12345\n", "AuthMode=SHARED\nEncrypType=WEP\nDefaultKeyID=0\nKey2Str1=12345\n", "AuthMode=SHARED\nEncrypType=WEP\nDefaultKeyID=x\nKey2Str1=12345\n",
        "AuthMode=WPAPSK\nEncrypType=TKIP\nWPAPSK1=1234567\n", "AuthMode=WPAPSK\nEncrypType=TKIP\nWPAPSK1=12345678\n", "AuthMode=WPAPSKWPA2PSK\nEncrypType=TKIPAES\nWPAPSK1=" + std::string(63, 'x') + "\n", "AuthMode=WPA2PSK\nEncrypType=AES\nWPAPSK1=" + std::string(64, 'a') + "\n", "AuthMode=WPA2PSK\nEncrypType=AES\nWPAPSK1=" + std::string(64, 'x') + "\n", "AuthMode=WPA2PSK\nEncrypType=AES\nWPAPSK1=" + std::string(65, 'a') + "\n", "AuthMode=WPA2PSK\nEncrypType=WEP\nWPAPSK1=12345678\n",
        "WdsEnable=0\n", "WdsEnable=1\n", "WdsEnable=x\n", "WdsEnable=2\n", "WdsEnable=2147483647\n", "WdsEnable=2147483648\n", "WdsEnable=3\nWdsList=00:00:00:00:00:01\n", "WdsEnable=4\nWdsList=0\n", "WdsEnable=2\nWdsList=AA:00:00:00:00:01\n", "WdsEnable=2\nWdsList=A0:00:00:00:00:01\n", "WdsEnable=2\nWdsList=00:00:00:00:00:01;x\n", "WdsEnable=2\nWdsList=00:00:00:00:00:01;00:00:00:00:00:02;00:00:00:00:00:03;00:00:00:00:00:04\n", "WdsEnable=2\nWdsList=00:00:00:00:00:01;00:00:00:00:00:02;00:00:00:00:00:03;00:00:00:00:00:04;00:00:00:00:00:05\n", "WdsEnable=2\nWdsList=00:00:00:00:00:01;\n", "WdsList=x\n", "WdsEnable=2\nWdsList=\n"}},
    {"the number of networks", NVRAM_WIRELESS, "", "", {}, {
        "\n", "SSID1=a\n", "BssidNum=\n", "BssidNum=0\n", "BssidNum=x\n", "BssidNum=1\n", "BssidNum=1\nSSID1=\n", "BssidNum=1\nSSID1=" + std::string(32, 's'), "BssidNum=1\nSSID1=" + std::string(33, 's'), "BssidNum=2\nSSID1=a\nSSID2=b\n", "BssidNum=2\nSSID1=a\nSSID3=b\n", "BssidNum=3\nSSID1=a\nSSID2=b\nSSID3=c\n", "BssidNum=4\nSSID1=a\nSSID2=b\nSSID3=c\nSSID4=d\n", "BssidNum=4\nSSID1=a\nSSID2=b\nSSID3=c\nSSID4=\n", "BssidNum=5\nSSID1=a\n",
        "BssidNum=2\nSSID1=a\nSSID2=b\nAuthMode=OPEN;OPEN\nEncrypType=NONE;AES\n", "BssidNum=1\nSSID1=a\nAuthMode=OPEN;OPEN\nEncrypType=NONE;AES\n", "BssidNum=2\nSSID1=a\nSSID2=b\nAuthMode=SHARED;OPEN\nEncrypType=WEP;NONE\nDefaultKeyID=1;3\nKey1Str1=12345\n", "BssidNum=2\nSSID1=a\nSSID2=b\nAuthMode=OPEN;OPEN\nEncrypType=NONE\n", "BssidNum=2\nSSID1=a\nSSID2=b\nAuthMode=OPEN\nEncrypType=AES;AES\n", "BssidNum=2\nSSID1=a\nSSID2=b\nAuthMode=OPEN;x\nEncrypType=NONE\n", "BssidNum=2\nSSID1=a\nSSID2=b\nAuthMode=OPEN;WPA2PSK\nEncrypType=NONE;AES\nWPAPSK2=12345678\n", "BssidNum=2\nSSID1=a\nSSID2=b\nAuthMode=OPEN;WPA2PSK\nEncrypType=NONE;AES\nWPAPSK1=12345678\n",
        "BssidNum=2\nSSID1=a\nSSID2=b\nAuthMode=OPEN;SHARED\nEncrypType=NONE;WEP\nDefaultKeyID=1;3\nKey3Str2=12345\n", "BssidNum=3\nSSID1=a\nSSID2=b\nSSID3=c\nAuthMode=OPEN;OPEN;SHARED\nEncrypType=NONE;NONE;WEP\nDefaultKeyID=1;3;2\nKey3Str3=12345\n", "BssidNum=2\nSSID1=a\nSSID2=b\nAuthMode=OPEN;WPA2\nEncrypType=NONE;AES\nRADIUS_Server=192.168.1.9\nRADIUS_Key=k\n"}},
};
// clang-format on

// A line as it can be read in the fixture.
std::string shown(const std::string &line)
{
    std::string text = "> ";
    for (char c : line) {
        if (c == '\n')
            text += "\\n";
        else if (c >= ' ' && c <= '~')
            text += c;
        else
            text += "\\x" + std::string(1, "0123456789abcdef"[static_cast<unsigned char>(c) >> 4]) +
                    std::string(1, "0123456789abcdef"[c & 15]);
    }
    return text + "\n";
}

class check_line : public support::unit_test, public testing::WithParamInterface<line_table>
{
  protected:
    void SetUp() override
    {
        unit_test::SetUp();
        write_good_settings(&world, "/");
        for (const auto &[path, content] : GetParam().also) {
            if (content == NO_FILE)
                world.remove(path);
            else
                world.write(path, content);
        }
    }

    // What there is to find, without the count.
    std::string told_of(const std::string &line)
    {
        const line_table &table = GetParam();
        bool is_ended = line.empty() || line.back() == '\n' || table.after.empty();
        world.write(table.file, table.before + line + (is_ended ? "" : "\n") + table.after);
        const std::string all = check().text;
        return all.substr(0, all.rfind('\n', all.size() - 2) + 1);
    }
};

TEST_P(check_line, is_judged_as_it_is_written_down)
{
    std::string seen;
    for (const std::string &line : GetParam().lines)
        seen += shown(line) + told_of(line);
    EXPECT_TRACE(support::part_of(world.fixture("ctl/check_lines"), GetParam().name), seen);
}

INSTANTIATE_TEST_SUITE_P(rows, check_line, testing::ValuesIn(tables), support::row_name);

} // namespace
