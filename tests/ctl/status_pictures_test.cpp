// What mctl status tells of a router, and what mctl heal does to it and says, to the letter: a row
// for each way that leads to a reason or past it. The texts are in tests/fixtures/ctl/pictures.
#include "config/document.h"
#include "ctl/heal/steps.h"
#include "ctl/pictures.h"
#include "ctl/status/status.h"
#include "util/json_memory.h"

namespace
{

using pictures::NO_STORE;
using pictures::picture;
using pictures::REMOVED;

const std::string LAN =
    "{'iface':'br0','name':'LAN0','auto':true,'type':'static','ipaddr':'192.168.1.1',"
    "'netmask':'255.255.255.0'}";
const std::string LAN_DHCP = "{'iface':'br0','name':'LAN0','auto':true,'type':'dhcp'}";
const std::string BR0 = "br0 up 192.168.1.1/24\n";
const std::string DHCP = "{'iface':'vlan2','name':'WAN','auto':true,'type':'dhcp'}";
const std::string STATIC =
    "{'iface':'vlan2','name':'WAN','auto':true,'type':'static','ipaddr':'192.0.2.77',"
    "'netmask':'255.255.255.0','gateway':'192.0.2.1','metric':5}";

std::string wan_of(const std::string &type, const std::string &tunnels)
{
    return "{'iface':'vlan2','name':'WAN','auto':true,'type':'" + type +
           "','have_tunnels':true,'Tunnels':[" + tunnels + "]}";
}

std::string tunnel(const std::string &type, const std::string &name,
                   const std::string &is_auto = "true")
{
    return "{'type':'" + type + "','name':'" + name + "','auto':" + is_auto +
           ",'login':'me','passwd':'secret','iface':'vlan2','server':'192.0.2.9','metric':1}";
}

const std::string LEASE =
    "{'iface':'vlan2','name':'wan','type':'dhcp','proto':'ether','metric':101,'ipaddr':"
    "'192.0.2.77','netmask':'255.255.255.0','gateway':'192.0.2.1','dns1':null,'dns2':null}";
const std::string STATIC_RECORD =
    "{'iface':'vlan2','name':'wan','type':'static','proto':'ether','metric':5,'ipaddr':"
    "'192.0.2.77','netmask':'255.255.255.0','gateway':'192.0.2.1','dns1':null,'dns2':null}";
const std::string DIALLED =
    "{'iface':'ppp1','type':'pppoe','name':'wan1','proto':null,'metric':1,'ipaddr':'10.9.0.10',"
    "'netmask':'255.255.255.255','gateway':'10.9.0.1','dns1':null,'dns2':null}";

std::string record(const std::string &members)
{
    return "{" + members + "}";
}

std::string jump(const std::string &iface, const std::string &address)
{
    return "-A PREROUTING -d " + address + "/32 -i " + iface + " -j VSERVER\n";
}

const std::map<std::string, std::string> CLIENT = {{"/var/run/udhcpc.vlan2.pid", "udhcpc"}};
const std::map<std::string, std::string> LAN_CLIENT = {{"/var/run/udhcpc.br0.pid", "udhcpc"}};
const std::map<std::string, std::string> PPPD = {{"/var/run/ppp-pppoe-wan1.pid", "pppd"}};
const std::map<std::string, std::string> XL2TPD = {{"/var/run/xl2tpd.pid", "xl2tpd"}};
const std::map<std::string, std::string> CLIENT_AND_XL2TPD = {
    {"/var/run/udhcpc.vlan2.pid", "udhcpc"}, {"/var/run/xl2tpd.pid", "xl2tpd"}};
const std::map<std::string, std::string> CLIENT_AND_PPTP = {{"/var/run/udhcpc.vlan2.pid", "udhcpc"},
                                                            {"/var/run/ppp-pptp-work.pid", "pppd"}};

const std::string VLAN2 = "vlan2 up 192.0.2.77/24\n";
const std::string WAN_UP = BR0 + VLAN2 + "route vlan2 102 192.0.2.1\n";
const std::string PPP_UP = BR0 + "vlan2 up\nppp1 up 10.9.0.10/32 peer 10.9.0.1\nroute ppp1 2\n";
const std::string JUMP = jump("vlan2", "192.0.2.77");
const std::string PPP_JUMP = jump("ppp1", "10.9.0.10");

const std::string MANY = [] {
    std::string list = "{'iface':'first','type':'dhcp','auto':false}";
    for (int i = 2; i < 63; i++)
        list += ",{'iface':'further" + std::to_string(i) + "','type':'dhcp','auto':false}";
    return list + ",{'iface':'last','type':'dhcp','auto':false}";
}();

// clang-format off
const picture ROWS[] = {
    // ---- the LAN
    {"no LAN and no WAN", "", "", "", ""},
    {"only the first LAN counts", LAN + ",{'iface':'br1','name':'LAN1','type':'static','ipaddr':'10.0.0.1'}", "", "", BR0},
    {"a LAN of a name of one letter", "{'iface':'br0','name':'L','auto':true,'type':'static','ipaddr':'192.168.1.1'}", "", "", BR0},
    {"a LAN of two addresses", LAN, "", "", "br0 up 192.168.2.1/24 192.168.1.1/24\n"},
    {"a LAN without its interface", LAN, "", "", "vlan2 up\n"},
    {"a LAN that is down", LAN, "", "", "br0 down\n"},
    {"a LAN without a carrier", LAN, "", "", "br0 idle 192.168.1.1/24\n"},
    {"a LAN with another address", LAN, "", "", "br0 up 192.168.1.2/24\n"},
    {"a LAN without its first port", LAN, "", "", BR0, "", {}, {{"/sys/class/net/br0/brif/vlan1", REMOVED}}},
    {"a LAN without its last port", LAN, "", "", BR0, "", {}, {{"/sys/class/net/br0/brif/ra0", REMOVED}}},
    {"a LAN without a port and its address", LAN, "", "", "br0 up\n", "", {}, {{"/sys/class/net/br0/brif", REMOVED}}},
    {"a LAN by DHCP with its lease", LAN_DHCP, "", "", BR0, "", LAN_CLIENT},
    {"a LAN by DHCP without a lease so far", LAN_DHCP, "", "", "br0 up\n", "", LAN_CLIENT},
    {"a LAN by DHCP whose lease has ended", LAN_DHCP, "", "", "br0 up\n", "", LAN_CLIENT, {{"/tmp/udhcpc.br0.expires", "1500000000\n"}}},
    {"a LAN by DHCP without a client", LAN_DHCP, "", "", BR0},
    {"a LAN by DHCP without its interface", LAN_DHCP, "", "", ""},
    {"a LAN by DHCP that is down", LAN_DHCP, "", "", "br0 down\n", "", LAN_CLIENT},

    // ---- a WAN by DHCP
    {"a lease in order", LAN, DHCP, LEASE, WAN_UP, JUMP, CLIENT},
    {"a lease in order without a LAN", "", DHCP, LEASE, VLAN2 + "route vlan2 102 192.0.2.1\n", JUMP, CLIENT},
    {"a WAN that is not chosen", LAN, "{'iface':'vlan2','name':'WAN','auto':false,'type':'dhcp'}", "", BR0},
    {"a WAN that is not chosen, with the client of yesterday", LAN, "{'iface':'vlan2','name':'WAN','auto':false,'type':'dhcp'}", LEASE, WAN_UP, JUMP, CLIENT},
    {"a WAN that is not chosen, with the record of yesterday", LAN, "{'iface':'vlan2','name':'WAN','auto':false,'type':'dhcp'}", LEASE, WAN_UP, JUMP},
    {"a WAN that is not chosen, with the way of yesterday", LAN, "{'iface':'vlan2','name':'WAN','auto':false,'type':'dhcp'}", "", BR0 + VLAN2, JUMP},
    {"a modem that is not plugged in", LAN, "{'iface':'wimax0','name':'WiMAX','auto':true,'type':'dhcp'}", "", BR0},
    {"a modem that is plugged in", LAN, "{'iface':'wimax0','name':'WiMAX','auto':true,'type':'dhcp'}", "", BR0 + "wimax0 down\n"},
    {"a client missing", LAN, DHCP, "", BR0 + "vlan2 up\n"},
    {"a client missing, of the second entry", LAN, "{'iface':'wimax0','name':'WiMAX','auto':true,'type':'dhcp'}," + DHCP, "", BR0 + "vlan2 up\n"},
    {"a client whose interface is gone", LAN, DHCP, "", BR0, "", CLIENT},
    {"a client whose interface is down", LAN, DHCP, LEASE, BR0 + "vlan2 down\n", JUMP, CLIENT},
    {"a client without a cable", LAN, DHCP, LEASE, BR0 + "vlan2 idle 192.0.2.77/24\n", JUMP, CLIENT},
    {"a client without a lease so far", LAN, DHCP, NO_STORE, BR0 + "vlan2 up\n", "", CLIENT},
    {"a client whose lease has ended", LAN, DHCP, "", BR0 + "vlan2 up\n", "", CLIENT, {{"/tmp/udhcpc.vlan2.expires", "1500000000\n"}}},
    {"a client whose lease ended in the first second of the clock", LAN, DHCP, "", BR0 + "vlan2 up\n", "", CLIENT, {{"/tmp/udhcpc.vlan2.expires", "1\n"}}},
    {"a client whose lease ended as nobody knows when", LAN, DHCP, "", BR0 + "vlan2 up 0.0.0.0/0\n", jump("vlan2", "192.0.2.66"), CLIENT, {{"/tmp/udhcpc.vlan2.expires", "never\n"}}},
    {"a lease recorded behind a modem's link", LAN, DHCP, "{'iface':'ppp0','name':'modem'}," + LEASE, WAN_UP + "ppp0 up\n", JUMP, CLIENT},
    {"a lease that is not recorded", LAN, DHCP, "", WAN_UP, JUMP, CLIENT},
    {"a lease that is not recorded nor led into the forwards", LAN, DHCP, "", WAN_UP, jump("vlan2", "192.0.2.66"), CLIENT},
    {"a recorded lease without its address", LAN, DHCP, LEASE, BR0 + "vlan2 up\n", JUMP, CLIENT},
    {"a recorded lease with another address", LAN, DHCP, LEASE, BR0 + "vlan2 up 192.0.2.78/24\n", JUMP, CLIENT},
    {"a recorded lease with two addresses", LAN, DHCP, LEASE, BR0 + "vlan2 up 192.0.2.78/24 192.0.2.77/24\nroute vlan2 102 192.0.2.1\n", JUMP, CLIENT},
    {"a recorded lease without an address in the record", LAN, DHCP, record("'iface':'vlan2','type':'dhcp','ipaddr':null"), BR0 + "vlan2 up 192.0.2.77/24\n", "", CLIENT},
    {"a lease without a route", LAN, DHCP, LEASE, BR0 + VLAN2, JUMP, CLIENT},
    {"a lease without a route, and without a metric", LAN, DHCP, record("'iface':'vlan2','type':'dhcp','metric':null,'ipaddr':'192.0.2.77','gateway':'192.0.2.1'"), BR0 + VLAN2, JUMP, CLIENT},
    {"a lease without a gateway", LAN, DHCP, record("'iface':'vlan2','type':'dhcp','ipaddr':'192.0.2.77','gateway':null"), BR0 + VLAN2, JUMP, CLIENT},
    {"a lease with a route elsewhere", LAN, DHCP, LEASE, BR0 + VLAN2 + "route vlan3 102 192.0.2.1\nroute vlan2 7 192.0.2.9\n", JUMP, CLIENT},
    {"a lease with a route besides", LAN, DHCP, LEASE, BR0 + VLAN2 + "route vlan2 7 192.0.2.9\nroute vlan2 102 192.0.2.1\n", JUMP, CLIENT},
    {"a lease without its way into the forwards", LAN, DHCP, LEASE, WAN_UP, jump("vlan3", "192.0.2.77"), CLIENT},
    {"a lease with its way into the forwards three times", LAN, DHCP, LEASE, WAN_UP, JUMP + JUMP + JUMP, CLIENT},
    {"a lease with two old ways", LAN, DHCP, LEASE, WAN_UP, jump("vlan2", "192.0.2.66") + JUMP + jump("vlan2", "192.0.2.67"), CLIENT},
    {"a lease of which much is wrong", LAN, DHCP, LEASE, BR0 + VLAN2 + "route vlan2 7\n", JUMP + JUMP + jump("vlan2", "192.0.2.66"), CLIENT},

    // ---- a static WAN
    {"a static WAN in order", LAN, STATIC, STATIC_RECORD, WAN_UP, JUMP},
    {"a static WAN that was not started", LAN, STATIC, "", BR0 + "vlan2 down\n"},
    {"a static WAN that was not started, though it is up", LAN, STATIC, "", BR0 + "vlan2 up\n"},
    {"a static WAN without its interface", LAN, STATIC, "", BR0},
    {"a static WAN without its interface, recorded", LAN, STATIC, STATIC_RECORD, BR0},
    {"a static WAN without a cable", LAN, STATIC, STATIC_RECORD, BR0 + "vlan2 idle 192.0.2.77/24\n", JUMP},
    {"a static WAN that is down", LAN, STATIC, STATIC_RECORD, BR0 + "vlan2 down 192.0.2.77/24\n", JUMP},
    {"a static WAN that is down, chosen no more", LAN, "{'iface':'vlan2','name':'WAN','auto':false,'type':'static','ipaddr':'192.0.2.77'}", STATIC_RECORD, BR0 + "vlan2 down\n", JUMP},
    {"a static WAN that is not recorded", LAN, STATIC, "", WAN_UP, JUMP},
    {"a static WAN without its address", LAN, STATIC, STATIC_RECORD, BR0 + "vlan2 up\n", JUMP},
    {"a static WAN without a route", LAN, STATIC, STATIC_RECORD, BR0 + VLAN2, JUMP},
    {"a static WAN without a route and a metric, of another record", LAN, "{'iface':'vlan2','name':'WAN','type':'static','ipaddr':'192.0.2.77','gateway':'192.0.2.1'}", record("'iface':'vlan2','type':'static','metric':7,'ipaddr':'192.0.2.77','gateway':'192.0.2.9'"), BR0 + VLAN2, JUMP},
    {"a static WAN with a route elsewhere", LAN, STATIC, STATIC_RECORD, BR0 + VLAN2 + "route vlan2 6 192.0.2.9\n", JUMP},
    {"a static WAN without a gateway", LAN, "{'iface':'vlan2','name':'WAN','type':'static','ipaddr':'192.0.2.77','gateway':null}", STATIC_RECORD, BR0 + VLAN2, JUMP},
    {"a static WAN without its way into the forwards", LAN, STATIC, STATIC_RECORD, WAN_UP},

    // ---- tunnels
    {"a tunnel in order", LAN, wan_of("pppoe", tunnel("pppoe", "wan1")), DIALLED, PPP_UP, PPP_JUMP, PPPD},
    {"a tunnel in order without a route of its own", LAN, wan_of("pppoe", tunnel("pppoe", "wan1")), record("'iface':'ppp1','type':'pppoe','name':'wan1','metric':null,'ipaddr':'10.9.0.10'"), BR0 + "vlan2 up\nppp1 up 10.9.0.10/32 peer 10.9.0.1\n", PPP_JUMP, PPPD},
    {"a tunnel over a WAN that was not started", LAN, wan_of("pppoe", tunnel("pppoe", "wan1")), "", BR0 + "vlan2 down\n"},
    {"a tunnel over a WAN that is down", LAN, wan_of("pppoe", tunnel("pppoe", "wan1")), "", BR0 + "vlan2 down\n", "", PPPD},
    {"a tunnel over a WAN without its interface", LAN, wan_of("pppoe", tunnel("pppoe", "wan1")), "", BR0, "", PPPD},
    {"a tunnel over a WAN without a cable", LAN, wan_of("pppoe", tunnel("pppoe", "wan1")), "", BR0 + "vlan2 idle\n", "", PPPD},
    {"a tunnel over a WAN without a lease", LAN, wan_of("dhcp", tunnel("l2tp", "work")), "", BR0 + "vlan2 up\n", "", CLIENT_AND_XL2TPD},
    {"a tunnel over a WAN without its address", LAN, wan_of("dhcp", tunnel("l2tp", "work")), LEASE, BR0 + "vlan2 up\n", "", CLIENT_AND_XL2TPD},
    {"a tunnel over a WAN with an old way", LAN, wan_of("dhcp", tunnel("l2tp", "work")), LEASE, WAN_UP, JUMP + jump("vlan2", "192.0.2.66"), CLIENT_AND_XL2TPD},
    {"a tunnel whose daemon does not run", LAN, wan_of("pppoe", tunnel("pppoe", "wan1")), "", BR0 + "vlan2 up\n"},
    {"a tunnel by xl2tpd, which does not run", LAN, wan_of("dhcp", tunnel("l2tp", "work")), LEASE, WAN_UP, JUMP, CLIENT},
    {"a tunnel by PPTP, whose daemon does not run", LAN, wan_of("dhcp", tunnel("pptp", "work")), LEASE, WAN_UP, JUMP, CLIENT},
    {"a tunnel by PPTP that dials", LAN, wan_of("dhcp", tunnel("pptp", "work")), LEASE, WAN_UP, JUMP, CLIENT_AND_PPTP},
    {"a tunnel that dials", LAN, wan_of("pppoe", tunnel("pppoe", "wan1")), "", BR0 + "vlan2 up\n", "", PPPD},
    {"a tunnel that dials, whose interface is there", LAN, wan_of("pppoe", tunnel("pppoe", "wan1")), "", BR0 + "vlan2 up\nppp1 down 10.9.0.10/32 peer 10.9.0.1\n", "", PPPD},
    {"a tunnel that dials, whose interface has no address", LAN, wan_of("pppoe", tunnel("pppoe", "wan1")), "", BR0 + "vlan2 up\nppp1 up\n", "", PPPD},
    {"a tunnel that is not recorded", LAN, wan_of("pppoe", tunnel("pppoe", "wan1")), "", PPP_UP, PPP_JUMP, PPPD},
    {"a tunnel that is not recorded, of a name with a dash", LAN, wan_of("pppoe", tunnel("pppoe", "wan1-isp")), "", PPP_UP, PPP_JUMP, {{"/var/run/ppp-pppoe-wan1-isp.pid", "pppd"}}},
    {"a tunnel that is not recorded, without a name", LAN, wan_of("pppoe", "{'type':'pppoe','auto':true,'metric':1}"), "{'iface':'ppp9','type':'pppoe','name':null}", PPP_UP + "ppp9 up\n", PPP_JUMP, {{"/var/run/ppp-pppoe-.pid", "pppd"}}},
    {"a recorded tunnel of a name of one letter", LAN, wan_of("pppoe", tunnel("pppoe", "w")), record("'iface':'ppp1','type':'pppoe','name':'w','ipaddr':'10.9.0.10'"), PPP_UP, PPP_JUMP, {{"/var/run/ppp-pppoe-w.pid", "pppd"}}},
    {"a recorded tunnel whose daemon does not run", LAN, wan_of("pppoe", tunnel("pppoe", "wan1")), DIALLED, BR0 + "vlan2 up\n", PPP_JUMP},
    {"a recorded tunnel of a name with a dash", LAN, wan_of("pppoe", tunnel("pppoe", "wan1-isp")), DIALLED, BR0 + "vlan2 up\n", PPP_JUMP},
    {"a recorded tunnel of another type", LAN, wan_of("pppoe", tunnel("pppoe", "wan1")), record("'iface':'ppp1','type':'pptp','name':'wan1','ipaddr':null"), BR0 + "vlan2 up\n", "", PPPD},
    {"a recorded tunnel of a longer name", LAN, wan_of("pppoe", tunnel("pppoe", "wan1")), record("'iface':'ppp1','type':'pppoe','name':'wan11','ipaddr':null"), BR0 + "vlan2 up\n", "", PPPD},
    {"a recorded tunnel, chosen no more, whose daemon does not run", LAN, wan_of("pppoe", tunnel("pppoe", "wan1", "false")), DIALLED, BR0 + "vlan2 up\n", PPP_JUMP},
    {"a recorded tunnel without its interface", LAN, wan_of("pppoe", tunnel("pppoe", "wan1")), DIALLED, BR0 + "vlan2 up\n", PPP_JUMP, PPPD},
    {"a recorded tunnel that is down", LAN, wan_of("pppoe", tunnel("pppoe", "wan1")), DIALLED, BR0 + "vlan2 up\nppp1 down 10.9.0.10/32 peer 10.9.0.1\n", PPP_JUMP, PPPD},
    {"a recorded tunnel with another address", LAN, wan_of("pppoe", tunnel("pppoe", "wan1")), DIALLED, BR0 + "vlan2 up\nppp1 up 10.9.0.11/32 peer 10.9.0.1\nroute ppp1 2\n", PPP_JUMP, PPPD},
    {"a recorded tunnel without its address", LAN, wan_of("pppoe", tunnel("pppoe", "wan1")), DIALLED, BR0 + "vlan2 up\nppp1 up\n", PPP_JUMP, PPPD},
    {"a recorded tunnel by PPTP without its address", LAN, wan_of("dhcp", tunnel("pptp", "work")), LEASE + ",{'iface':'ppp1','type':'pptp','name':'work','ipaddr':'10.9.0.10'}", WAN_UP + "ppp1 up\n", JUMP, CLIENT_AND_PPTP},
    {"a recorded tunnel by L2TP without its address", LAN, wan_of("dhcp", tunnel("l2tp", "work")), LEASE + ",{'iface':'ppp1','type':'l2tp','name':'work','ipaddr':'10.9.0.10'}", WAN_UP + "ppp1 up\n", JUMP, {{"/var/run/udhcpc.vlan2.pid", "udhcpc"}, {"/var/run/xl2tpd.pid", "xl2tpd"}, {"/var/run/ppp-l2tp-work.pid", "pppd"}}},
    {"a recorded tunnel by L2TP without its address and its pppd", LAN, wan_of("dhcp", tunnel("l2tp", "work")), LEASE + ",{'iface':'ppp1','type':'l2tp','name':'work','ipaddr':'10.9.0.10'}", WAN_UP + "ppp1 up\n", JUMP, CLIENT_AND_XL2TPD},
    {"a recorded tunnel without its way into the forwards", LAN, wan_of("pppoe", tunnel("pppoe", "wan1")), DIALLED, PPP_UP, "", PPPD},
    {"a recorded tunnel without a route", LAN, wan_of("pppoe", tunnel("pppoe", "wan1")), DIALLED, BR0 + "vlan2 up\nppp1 up 10.9.0.10/32 peer 10.9.0.1\n", PPP_JUMP, PPPD},
    {"a recorded tunnel with a route by a gateway", LAN, wan_of("pppoe", tunnel("pppoe", "wan1")), DIALLED, BR0 + "vlan2 up\nppp1 up 10.9.0.10/32 peer 10.9.0.1\nroute ppp1 2 10.9.0.1\n", PPP_JUMP, PPPD},
    {"four tunnels over PPPoE, of which three are dialled", LAN, wan_of("pppoe", tunnel("pppoe", "wan1") + "," + tunnel("pppoe", "wan2") + "," + tunnel("pppoe", "wan3") + "," + tunnel("pppoe", "wan4")), "", BR0 + "vlan2 up\n"},
    {"two tunnels over DHCP, of which one is dialled", LAN, wan_of("dhcp", tunnel("pptp", "one") + "," + tunnel("pptp", "two")), LEASE, WAN_UP, JUMP, CLIENT},
    {"tunnels that do not suit their WAN", LAN, wan_of("pppoe", tunnel("pptp", "one") + "," + tunnel("l2tp", "two") + "," + tunnel("ppp", "three") + ",7,{'name':'four','auto':true},{'name':'five','type':8,'auto':true}," + tunnel("pppoe", "six", "false")), "", BR0 + "vlan2 up\n"},
    {"a PPPoE tunnel over DHCP", LAN, wan_of("dhcp", tunnel("pppoe", "one")), LEASE, WAN_UP, JUMP, CLIENT},
    {"tunnels of a WAN that is not wanted", LAN, "{'iface':'vlan2','name':'WAN','auto':false,'type':'pppoe','have_tunnels':true,'Tunnels':[" + tunnel("pppoe", "wan1") + "]}", "", BR0},
    {"tunnels of a WAN that has none", LAN, "{'iface':'vlan2','name':'WAN','auto':true,'type':'pppoe','have_tunnels':false,'Tunnels':[" + tunnel("pppoe", "wan1") + "]}", "", BR0 + "vlan2 up\n"},
    {"a WAN by PPPoE with an old way", LAN, wan_of("pppoe", ""), "", BR0 + "vlan2 up\n", jump("vlan2", "192.0.2.66")},
    {"a WAN of an unknown type", LAN, "{'iface':'vlan2','name':'WAN','auto':true,'type':'ipoa'}", "", BR0 + "vlan2 up\n", jump("vlan2", "192.0.2.66")},
    {"a client missing below a daemon that runs", LAN, wan_of("dhcp", tunnel("l2tp", "work")), LEASE, WAN_UP, JUMP, XL2TPD},
    {"a client missing below two tunnels, of which the second's daemon runs", LAN, wan_of("dhcp", tunnel("pptp", "one") + "," + tunnel("pptp", "work")), LEASE, WAN_UP, JUMP, {{"/var/run/ppp-pptp-work.pid", "pppd"}}},
    {"a client missing below a daemon that runs over nothing", LAN, wan_of("dhcp", tunnel("l2tp", "work")), LEASE, BR0 + "vlan2 down 192.0.2.77/24\n", JUMP, XL2TPD},
    {"a client missing below a daemon that runs over no address", LAN, wan_of("dhcp", tunnel("l2tp", "work")), LEASE, BR0 + "vlan2 up 0.0.0.0/0\n", JUMP, XL2TPD},

    // ---- links that only the store knows
    {"a modem's link in order", LAN, "", record("'iface':'ppp0','type':'3g','name':'modem','ipaddr':'10.1.1.1'"), BR0 + "ppp0 up 10.1.1.1/32\n", jump("ppp0", "10.1.1.1")},
    {"a modem's link without its interface", LAN, "", record("'iface':'ppp0','type':'3g','name':'modem','ipaddr':'10.1.1.1'"), BR0, jump("ppp0", "10.1.1.1")},
    {"a modem's link that is down", LAN, "", record("'iface':'ppp0','type':'3g','name':'modem','ipaddr':'10.1.1.1'"), BR0 + "ppp0 down 10.1.1.1/32\n", jump("ppp0", "10.1.1.1")},
    {"a modem's link with another address", LAN, "", record("'iface':'ppp0','type':'3g','name':'modem','ipaddr':'10.1.1.1'"), BR0 + "ppp0 up 10.1.1.2/32\n", jump("ppp0", "10.1.1.1")},
    {"a modem's link without its way into the forwards", LAN, "", record("'iface':'ppp0','type':'3g','name':'modem','ipaddr':'10.1.1.1'"), BR0 + "ppp0 up 10.1.1.1/32\n"},
    {"a record without a name", LAN, "", record("'iface':'ppp0'"), BR0 + "ppp0 up\n"},
    {"records that are none", LAN, "", "7,{'iface':7},{}", BR0},
    {"names that are not to be shown", LAN, "", "{'iface':'\\u001f !~\\u007f\\u00e9','name':'0123456789012345678901234567890123456789','ipaddr':'10.1.1.1'}", BR0},

    // ---- the router
    {"as many links as can be shown", "", MANY, "", ""},
    {"an entry more than can be shown", "", MANY + "," + DHCP, "", ""},
    {"a tunnel more than can be shown", "", MANY.substr(0, MANY.rfind(",{")) + "," + wan_of("pppoe", tunnel("pppoe", "wan1")), "", "vlan2 up\n"},
    {"a record more than can be shown", "", MANY, LEASE, ""},
    {"a way that nobody's is", LAN, DHCP, LEASE, WAN_UP, jump("ppp4", "192.0.2.65") + JUMP + jump("ppp5", "192.0.2.64") + jump("ppp4", "192.0.2.63"), CLIENT},
    {"a way that nobody's is, behind one that is", LAN, DHCP, LEASE, WAN_UP, JUMP + jump("ppp4", "192.0.2.65"), CLIENT},
    {"all that a router can have wrong", LAN, "", NO_STORE, BR0, jump("ppp4", "192.0.2.65"), {{"/var/lock/Config.lock", "mcfg"}},
     {{"/var/lock/state_link.lock", "999999"}, {"/var/run/state_link", "[1"}, {"/tmp/nat_rules", "-A VSERVER -j ACCEPT\n"}, {"/etc/default/dns.conf", "dns1=192.0.2.54\n"},
      {"/etc/default/network-interfaces", ""}, {"/etc/default/wimax", ""}}},
    {"a lock that is held", LAN, "", "", BR0, "", {{"/var/lock/state_link.lock", "ip-up"}}},
    {"a store without its list", LAN, "", "", BR0, "", {}, {{"/var/run/state_link", "{}"}}},
};
// clang-format on

// What the table of the links and the reasons for their states are made of.
class status_picture : public pictures::picture_test, public testing::WithParamInterface<picture>
{
  protected:
    std::string told(bool is_coloured = false)
    {
        return support::written([&](FILE *out) { print_status(out, at, status, is_coloured); });
    }

    // What heal says, on both outputs.
    std::string mended(bool is_dry)
    {
        healing_run run = {this, is_dry, ""};
        std::string err = support::private_world::captured(
            2,
            [](void *outer) {
                static_cast<healing_run *>(outer)->out = support::private_world::captured(
                    1,
                    [](void *inner) {
                        healing_run *h = static_cast<healing_run *>(inner);
                        h->test->mend_all(h->is_dry);
                    },
                    outer);
            },
            &run);
        return run.out + err;
    }

    std::string recorded()
    {
        json_t *store = json_load_file("/var/run/state_link", 0, nullptr);
        std::string text = store == nullptr ? "nothing\n" : "";
        json_t *list = json_object_get(store, "state_links");
        for (size_t i = 0; i < json_array_size(list); i++) {
            char *record =
                json_dumps(json_array_get(list, i), JSON_ENCODE_ANY | JSON_PRESERVE_ORDER);
            text += std::string(record) + "\n";
            free(record);
        }
        json_decref(store);
        return text;
    }

  private:
    struct healing_run {
        status_picture *test;
        bool is_dry;
        std::string out;
    };

    void mend_all(bool is_dry)
    {
        healing h = {&at, is_dry, true};
        set_json_memory_failed(true); // of before: it has nothing to do with these steps
        for (size_t i = 0; i < status.links; i++) {
            const link_status &link = status.link[i];
            for (size_t n = 0; n < link.reasons; n++) {
                if (!mend(h, link, link.reason_of[n]))
                    printf("(no step for %s of %s)\n", text_of(link.reason_of[n].id).name,
                           shown_name(link));
            }
        }
    }
};

TEST_P(status_picture, is_told_and_mended)
{
    show(GetParam());
    std::string seen = told();
    std::string before = recorded();
    world.clear_trace();
    if (!status.is_well) {
        seen += "---- heal --dry-run\n" + mended(true);
        EXPECT_EQ(world.trace(), "");
        EXPECT_EQ(recorded(), before);
        seen += "---- heal\n" + mended(false);
        seen += "---- what it has done\n" + support::without(world.trace(), {"log mcfg-"});
    }
    EXPECT_FALSE(!status.is_well && world.exists("/var/lock/state_link.lock") &&
                 GetParam().name != "a lock that is held");
    if (recorded() != before)
        seen += "---- what is recorded then\n" + recorded();
    seen = support::without(with_names(seen), {"further"});
    EXPECT_TRACE(support::part_of(world.fixture("ctl/status_pictures"), GetParam().name), seen);
}

using judged_again = pictures::picture_test;

// As heal does it, round by round.
TEST_F(judged_again, is_content_when_all_was_mended)
{
    show({"", "", MANY + "," + DHCP, NO_STORE, "", jump("ppp4", "192.0.2.65")});
    EXPECT_TRUE(status.is_cut);
    EXPECT_EQ(status.link[status.links - 1].reasons, 1U);
    EXPECT_FALSE(status.is_well);
    forget_look(&at);
    world.clear_rules();
    show({"", LAN, "", NO_STORE, BR0});
    EXPECT_FALSE(status.is_cut);
    EXPECT_EQ(status.link[status.links - 1].reasons, 0U);
    EXPECT_TRUE(status.is_well);
}

// What heal looks at again before a step may not be seen then, and is no reason to take it.
TEST_F(judged_again, is_left_alone_when_it_cannot_be_seen_again)
{
    show({"", "", wan_of("pppoe", tunnel("pppoe", "wan1")), NO_STORE, "vlan2 up\n"});
    const link_status &wan1 = status.link[1];
    ASSERT_EQ(wan1.reason_of[0].id, reason::daemon_down);
    world.clear_trace();
    json_allocate = [](size_t) -> void * { return nullptr; };
    watch_json_memory();
    mend({&at, false, true}, wan1, {reason::daemon_down, ""});
    json_allocate = malloc;
    char why[80] = "";
    EXPECT_TRUE(has_unseen(why, sizeof(why)));
    EXPECT_STREQ(why, "cannot look at wan1: Cannot allocate memory");
    mend({&at, false, true}, wan1, {reason::daemon_down, ""});
    EXPECT_EQ(world.trace(), "");
    forget_unseen();
    mend({&at, false, true}, wan1, {reason::daemon_down, ""});
    EXPECT_NE(world.trace().find("run pppd call wan1"), std::string::npos) << world.trace();
}

TEST_F(judged_again, is_left_alone_when_it_is_whole_by_then)
{
    show({"", "", "", NO_STORE, "", "", {}, {{"/var/run/state_link", "[1"}}});
    const link_status &router = status.link[status.links - 1];
    ASSERT_EQ(router.reason_of[0].id, reason::store_broken);
    for (const char *now : {R"({"state_links":[]})", ""}) {
        world.write("/var/run/state_link", now);
        world.clear_trace();
        EXPECT_EQ(mend({&at, false, true}, router, router.reason_of[0]), now[0] == '\0') << now;
        EXPECT_EQ(world.exists("/var/run/state_link"), now[0] != '\0') << now;
        EXPECT_EQ(world.trace().empty(), now[0] != '\0') << now;
    }
}

// Without memory to read it, the store may be a whole one.
TEST_F(judged_again, is_left_alone_without_memory_to_see_it)
{
    show({"", "", "", NO_STORE, "", "", {}, {{"/var/run/state_link", "[1"}}});
    const link_status &router = status.link[status.links - 1];
    ASSERT_EQ(router.reason_of[0].id, reason::store_broken);
    char fault[FAULT_MAX] = "";
    look without = {};
    world.clear_trace();
    json_allocate = [](size_t) -> void * { return nullptr; };
    EXPECT_FALSE(mend({&at, false, true}, router, router.reason_of[0]));
    EXPECT_FALSE(look_around(&without, fault));
    json_allocate = malloc;
    forget_look(&without);
    EXPECT_STREQ(fault, "/var/run/Config is too long for the memory: mcfg set_config makes it");
    EXPECT_EQ(world.read("/var/run/state_link"), "[1");
    EXPECT_EQ(world.trace(), "");
}

TEST_F(judged_again, knows_nothing_of_the_look_before)
{
    show({"", "", "", "{'iface':'ppp0','name':'modem','ipaddr':'10.1.1.1'}", ""});
    const json_t *record = json_array_get(all_records(at), 0);
    for (link_status &link : status.link)
        link.record = record;
    judge(at, &status);
    EXPECT_EQ(status.links, 2U) << "the modem's link, and the router";
}

// It leads all into the forwards, and is nobody's: not even the router's, which has no interface.
TEST_F(judged_again, is_no_ones_way_without_an_interface)
{
    show({"", LAN, "", NO_STORE, BR0, "-A PREROUTING -d 192.0.2.65/32 -j VSERVER\n"});
    const link_status &router = status.link[status.links - 1];
    ASSERT_EQ(router.reasons, 1U);
    EXPECT_EQ(router.reason_of[0].id, reason::jump_old);
    EXPECT_STREQ(router.reason_of[0].detail, "192.0.2.65 on ");
    judge(at, &status);
    EXPECT_EQ(router.reasons, 1U) << "what was found before is not found twice";
}

struct age_row {
    const char *name;
    timespec config;
    timespec source;
    bool is_old;
};

constexpr age_row ages[] = {
    {"much newer", {1500000000, 500}, {1500000009, 0}, true},
    {"a second newer", {1500000000, 500}, {1500000001, 500}, true},
    {"a second newer, and a fraction less", {1500000000, 500}, {1500000001, 499}, true},
    {"a fraction newer", {1500000000, 500}, {1500000000, 501}, true},
    {"as old", {1500000000, 500}, {1500000000, 500}, false},
    {"a fraction older", {1500000000, 500}, {1500000000, 499}, false},
    {"a second older, and a fraction more", {1500000001, 500}, {1500000000, 501}, false},
    {"much older", {1500000009, 0}, {1500000000, 500}, false},
};

class document_age : public pictures::picture_test
{
  protected:
    static void set_time(const std::string &path, const timespec &time)
    {
        const timespec times[] = {time, time};
        EXPECT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0) << path;
    }
    bool is_old()
    {
        judge(at, &status);
        const link_status &router = status.link[status.links - 1];
        return router.reasons == 1 && router.reason_of[0].id == reason::config_old;
    }
};

// What is in the document is not what the settings make.
TEST_F(document_age, is_that_of_the_newest_settings)
{
    const std::vector<std::string> sources = {"/etc/default/network-interfaces",
                                              "/etc/default/ppp-peers", "/etc/default/dns.conf",
                                              "/etc/default/wimax", "/etc/default"};
    for (const std::string &path : sources) {
        if (path != "/etc/default")
            world.write(path, "");
    }
    show({"", LAN, "", NO_STORE, BR0});
    for (const std::string &path : sources) {
        for (const age_row &row : ages) {
            for (const std::string &other : sources)
                set_time(other, {1400000000, 0});
            set_time("/var/run/Config", row.config);
            set_time(path, row.source);
            EXPECT_EQ(is_old(), row.is_old) << path << ": " << row.name;
        }
    }
    for (const std::string &path : sources)
        world.remove(path);
    EXPECT_FALSE(is_old()) << "there are no settings";
}

TEST_F(document_age, matters_only_where_the_settings_have_changed)
{
    world.copy_in(support::example_path("router"), "/");
    set_config(1);
    char fault[FAULT_MAX] = "";
    ASSERT_TRUE(look_around(&at, fault)) << fault;
    set_time("/var/run/Config", {1500000000, 0});
    set_time("/etc/default/dns.conf", {1600000000, 0});
    EXPECT_FALSE(is_old());
}

using left_alone = pictures::picture_test;

// What was found at the look is no longer so.
TEST_F(left_alone, is_a_lock_that_was_given_back_meanwhile)
{
    show({"", LAN, "", "", BR0, "", {}, {{"/var/lock/Config.lock", "999999"}}});
    const link_status &router = status.link[status.links - 1];
    ASSERT_EQ(router.reasons, 1U);
    world.remove("/var/lock/Config.lock");
    struct context {
        healing h;
        const link_status &link;
    } run = {{&at, false, true}, router};
    EXPECT_EQ(support::private_world::captured(
                  1,
                  [](void *c) {
                      const context *it = static_cast<context *>(c);
                      EXPECT_FALSE(mend(it->h, it->link, it->link.reason_of[0]));
                  },
                  &run),
              "");
}

// A signal to nobody would be one to all that the router's start has begun.
TEST_F(left_alone, is_a_client_that_has_ended_meanwhile)
{
    show({"", LAN, DHCP, LEASE, BR0 + "vlan2 up\n", JUMP, CLIENT});
    const link_status &wan = status.link[1];
    ASSERT_EQ(wan.reasons, 1U);
    ASSERT_EQ(wan.reason_of[0].id, reason::no_address);
    world.remove(CLIENT.begin()->first);
    world.clear_trace();
    struct context {
        healing h;
        const link_status &link;
    } run = {{&at, false, true}, wan};
    EXPECT_NE(support::private_world::captured(
                  1,
                  [](void *c) {
                      const context *it = static_cast<context *>(c);
                      EXPECT_TRUE(mend(it->h, it->link, it->link.reason_of[0]));
                  },
                  &run)
                  .find("WAN: end its client, which would not ask for an address again\n"),
              std::string::npos);
    EXPECT_EQ(world.trace_of({"kill"}), "");
}

INSTANTIATE_TEST_SUITE_P(rows, status_picture, testing::ValuesIn(ROWS), support::row_name);

// clang-format off
const picture DETAILED[] = {
    {"JSON of a tunnel in order", LAN, wan_of("pppoe", tunnel("pppoe", "wan1")), DIALLED, PPP_UP, PPP_JUMP, PPPD},
    {"JSON of a lease of which much is wrong", LAN, DHCP, LEASE, BR0 + "vlan2 up 192.0.2.77/24 192.0.2.78/24\nroute vlan2 7 192.0.2.9\n", JUMP + JUMP + jump("vlan2", "192.0.2.66"), CLIENT},
    {"JSON of a lease with a route besides", LAN, DHCP, LEASE, BR0 + VLAN2 + "route vlan2 7 192.0.2.9\nroute vlan2 102 192.0.2.1\n", JUMP, CLIENT},
    {"JSON of a router without interfaces", LAN, DHCP, "{'iface':'ppp0','name':'m'}", "", jump("ppp4", "192.0.2.65")},
};
// clang-format on

class status_json_picture : public pictures::picture_test,
                            public testing::WithParamInterface<picture>
{
};

TEST_P(status_json_picture, is_told)
{
    show(GetParam());
    std::string seen =
        with_names(support::written([&](FILE *out) { print_status_json(out, at, status); }));
    EXPECT_TRACE(support::part_of(world.fixture("ctl/status_pictures"), GetParam().name), seen);
}

INSTANTIATE_TEST_SUITE_P(rows, status_json_picture, testing::ValuesIn(DETAILED), support::row_name);

using status_colours = pictures::picture_test;

TEST_F(status_colours, are_of_the_states)
{
    show({"", LAN,
          wan_of("pppoe", tunnel("pppoe", "wan1") + "," + tunnel("pppoe", "off", "false")) +
              ",{'iface':'wimax0','name':'WiMAX','auto':true,'type':'dhcp'}",
          "{'iface':'ppp0','name':'modem','ipaddr':'10.1.1.1'}", BR0 + "vlan2 up\nwimax0 up\n", "",
          PPPD});
    EXPECT_TRACE(
        "NAME       IFACE    STATE     WANTED          RECORDED        REAL\n"
        "LAN0       br0      \033[32mup       \033[0m 192.168.1.1     -               192.168.1.1\n"
        "WAN        vlan2    \033[32mup       \033[0m pppoe           -               up\n"
        "wan1       ppp1     \033[33mdialling \033[0m pppoe           -               -\n"
        "off        -        off       off             -               -\n"
        "WiMAX      wimax0   \033[31mdown     \033[0m dhcp            -               up\n"
        "modem      ppp0     \033[31modd      \033[0m -               10.1.1.1        -\n",
        support::written([&](FILE *out) {
            for (link_status &link : status.link)
                link.reasons = 0;
            print_status(out, at, status, true);
        }));
}

TEST_F(status_colours, incomplete_json_says_so)
{
    show({"", "", MANY + "," + DHCP, "", ""});
    std::string seen = support::written([&](FILE *out) { print_status_json(out, at, status); });
    EXPECT_EQ(seen.substr(0, seen.find("   \"links\"")),
              "{\n   \"well\": false,\n   \"complete\": false,\n");
}

} // namespace
