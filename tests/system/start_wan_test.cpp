// mcfg start_wan: which entries are started, what is done to their interfaces, and what starts the
// DHCP client, the static link and the PPPoE carrier.
#include "system/wan_box.h"

namespace
{

class start_wan : public wan_box
{
};

TEST_F(start_wan, of_the_example_router_starts_its_dhcp_client)
{
    configure_example();
    box.interface("vlan2");
    outcome started = mcfg({"start_wan", "0", "0"});
    EXPECT_EQ(started.err, "");
    EXPECT_TRACE(R"(
        log mcfg-start_wan_morvi: start
        log mcfg-start_wan_morvi: wan_array is array sizeof = 2
        log mcfg-start_wan: Start wan # 0
        log mcfg-start_wan: force = 0
        ioctl vlan2 SIOCSIFFLAGS 0x0
        shell ifconfig vlan2 0.0.0.0 mtu 1500
        log mcfg-start_wan_morvi: Start dhcp wan
        run udhcpc -RSb -A 30 -i vlan2 -p /var/run/udhcpc.vlan2.pid -s /tmp/udhcpc
        log mcfg-start_wan_morvi: Have tunnels on wan, start them
        log mcfg-start_tunnels: tun_array is array sizeof = 4
        log mcfg-start_tunnels: wan_type = dhcp
        log mcfg-start_tunnels: start tunnel #0
        log mcfg-start_tunnels: wan_type = dhcp, type = pppoe
        log mcfg-start_tunnels: dhcp or static and pppoe
        log mcfg-start_tunnels: start tunnel #1
        log mcfg-start_tunnels: wan_type = dhcp, type = pppoe
        log mcfg-start_tunnels: dhcp or static and pppoe
        log mcfg-start_tunnels: start tunnel #2
        log mcfg-start_tunnels: wan_type = dhcp, type = l2tp
        log mcfg-start_tunnels: start tunnel #3
        log mcfg-start_tunnels: wan_type = dhcp, type = pptp
        log mcfg-start_wan: Start wan # 1
        log mcfg-start_wan: force = 0
        log mcfg-start_wan_morvi: stop
        )",
                 started.trace);
    EXPECT_EQ(box.link("/tmp/udhcpc"), "/sbin/mcfg");
    EXPECT_EQ(box.link("/tmp/ppp/ip-up"), "/sbin/mcfg");
    EXPECT_EQ(box.link("/tmp/ppp/ip-down"), "/sbin/mcfg");
}

TEST_F(start_wan, of_the_example_router_at_a_pppoe_provider_dials_over_the_bare_carrier)
{
    configure_example(true);
    box.interface("vlan2");
    outcome started = mcfg({"start_wan", "1", "0"});
    EXPECT_EQ(started.err, "Start pppd\npppd: done\n");
    EXPECT_TRACE(R"(
        ioctl vlan2 SIOCSIFFLAGS 0x0
        shell ifconfig vlan2 0.0.0.0 mtu 1500
        ioctl vlan2 SIOCSIFFLAGS 0x1043
        shell led yellow_wan on
        shell led green_wan off
        run pppd call wan1
        )",
                 without(started.trace, {"log"}));
    EXPECT_EQ(box.list("/etc/ppp/peers"), std::vector<std::string>{"wan1"});
    EXPECT_EQ(box.read("/etc/ppp/peers/wan1"), box.fixture("wan/peers/wan1"));
    EXPECT_EQ(box.mode("/etc/ppp/peers/wan1"), 0600U);
    EXPECT_FALSE(box.exists("/etc/xl2tpd.conf"));
    EXPECT_EQ(vlan2(), "up");
}

// The example's tunnels over an IP link, each made the one that is dialled.
TEST_F(start_wan, dials_the_example_routers_l2tp_tunnel_over_dhcp)
{
    configure_example();
    box.write("/etc/default/ppp-peers",
              "wan1 pppoe 1 home@isp.example.net first-secret vlan2 ac1 isp 1\n"
              "work l2tp 1 home@work.example.com third-secret 198.51.100.10 3\n"
              "club pptp 1 home@club.example.com fourth-secret 203.0.113.10 4\n");
    mcfg({"set_config"});
    outcome started = mcfg({"start_wan", "1", "0"});
    EXPECT_TRACE(R"(
        run udhcpc -RSb -A 30 -i vlan2 -p /var/run/udhcpc.vlan2.pid -s /tmp/udhcpc
        run xl2tpd
        )",
                 without(started.trace, {"log", "ioctl", "shell"}));
    EXPECT_EQ(box.list("/etc/ppp/peers"), std::vector<std::string>{"work"});
    EXPECT_EQ(box.read("/etc/ppp/peers/work"), box.fixture("wan/peers/work"));
    EXPECT_EQ(box.mode("/etc/ppp/peers/work"), 0600U);
    EXPECT_EQ(box.read("/etc/xl2tpd.conf"), box.fixture("wan/xl2tpd.conf"));
}

TEST_F(start_wan, dials_the_example_routers_pptp_tunnel_over_dhcp)
{
    configure_example();
    box.write("/etc/default/ppp-peers",
              "work l2tp 0 home@work.example.com third-secret 198.51.100.10 3\n"
              "club pptp 1 home@club.example.com fourth-secret 203.0.113.10 4\n");
    mcfg({"set_config"});
    outcome started = mcfg({"start_wan", "1", "0"});
    EXPECT_TRACE(R"(
        run udhcpc -RSb -A 30 -i vlan2 -p /var/run/udhcpc.vlan2.pid -s /tmp/udhcpc
        run pppd call club
        )",
                 without(started.trace, {"log", "ioctl", "shell"}));
    EXPECT_EQ(box.list("/etc/ppp/peers"), std::vector<std::string>{"club"});
    EXPECT_EQ(box.read("/etc/ppp/peers/club"), box.fixture("wan/peers/club"));
    EXPECT_EQ(box.mode("/etc/ppp/peers/club"), 0600U);
    EXPECT_FALSE(box.exists("/etc/xl2tpd.conf"));
}

// ---- a static link

constexpr char STATIC_ENTRY[] = R"([{"iface":"vlan2","auto":true,"type":"static",
    "ipaddr":"192.0.2.2","netmask":"255.255.255.0","gateway":"192.0.2.1","metric":5,
    "bcast":null,"mtu":null,"mac":null,"have_tunnels":false}])";

TEST_F(start_wan, of_a_static_entry_brings_the_link_up_at_once)
{
    configure(STATIC_ENTRY);
    box.interface("vlan2");
    outcome started = mcfg({"start_wan", "0", "0"});
    EXPECT_EQ(started.err, "");
    EXPECT_TRACE(R"(
        log mcfg-start_wan_morvi: start
        log mcfg-start_wan_morvi: wan_array is array sizeof = 1
        log mcfg-start_wan: Start wan # 0
        log mcfg-start_wan: force = 0
        ioctl vlan2 SIOCSIFFLAGS 0x1043
        ioctl vlan2 SIOCSIFADDR 192.0.2.2
        ioctl vlan2 SIOCSIFNETMASK 255.255.255.0
        ioctl vlan2 SIOCSIFBRDADDR 192.0.2.255
        ioctl vlan2 SIOCADDRT 192.0.2.1/255.255.255.255 metric 0 flags 0x5
        ioctl vlan2 SIOCADDRT 0.0.0.0/0.0.0.0 via 192.0.2.1 metric 6 flags 0x3
        shell led yellow_wan off
        shell led green_wan on
        shell iptables -t nat -I PREROUTING -i vlan2 -d 192.0.2.2 -j VSERVER
        log mcfg-start_wan_morvi: stop
        )",
                 without(started.trace, {"log mcfg-wan_up", "log mcfg-save_link_state_ex",
                                         "log mcfg-open_file_with_lock", "log get_object_by_path",
                                         "log mcfg-find_object_from_array_by_param"}));
    // The kernel counts metrics from 0 where it is asked for them from 1.
    EXPECT_EQ(vlan2(), "up 192.0.2.2/24 broadcast 192.0.2.255");
    EXPECT_EQ(routes(), "default via 192.0.2.1 dev vlan2 metric 5\n192.0.2.1 dev vlan2\n");
    EXPECT_EQ(box.read("/var/run/state_link"), box.fixture("wan/state_link-static"));
}

// A settings line that ends early leaves empty texts in the document, and they are no addresses:
// what has no gateway is on the link.
struct short_line {
    const char *name;
    const char *line; // of the settings
    const char *requested;
    const char *routes;
};

constexpr char ON_THE_LINK[] = "0.0.0.0/255.255.255.255 metric 0 flags 0x5, "
                               "0.0.0.0/0.0.0.0 metric 1 flags 0x1";

const short_line short_lines[] = {
    {"six fields", "vlan2 wan 1 static 192.0.2.2 255.255.255.0", ON_THE_LINK,
     "0.0.0.0 dev vlan2\ndefault dev vlan2\n"},
    {"five fields", "vlan2 wan 1 static 192.0.2.2", ON_THE_LINK,
     "0.0.0.0 dev vlan2\ndefault dev vlan2\n"},
    {"a dash is no route at all", "vlan2 wan 1 static 192.0.2.2 255.255.255.0 -", "", ""},
};

TEST_F(start_wan, of_a_static_line_that_ends_early_has_no_gateway)
{
    configure_example();
    box.interface("vlan2");
    for (const short_line &row : short_lines) {
        SCOPED_TRACE(row.name);
        box.write("/etc/default/network-interfaces", row.line + std::string("\n"));
        box.run({"mcfg", "set_config"});
        outcome started = mcfg({"start_wan", "1", "0"});
        EXPECT_EQ(started.err, "");
        EXPECT_EQ(rests(started.trace, "ioctl vlan2 SIOCADDRT "), row.requested);
        EXPECT_EQ(vlan2(), "up 192.0.2.2/24 broadcast 192.0.2.255");
        EXPECT_EQ(routes(), row.routes);
        mcfg({"stop_wan", "1", "0"});
        EXPECT_EQ(routes(), "");
    }
}

TEST_F(start_wan, of_static_entries_names_their_links_by_the_interface)
{
    configure(R"([
        {"iface":"wimax0","type":"static","ipaddr":"198.51.100.2","gateway":null},
        {"iface":"eth7","type":"static","ipaddr":null}])");
    box.interface("wimax0");
    box.interface("eth7");
    mcfg({"start_wan", "0", "0"});
    EXPECT_EQ(box.read("/var/run/state_link"), box.fixture("wan/state_link-other-static"));
}

TEST_F(start_wan, of_a_static_entry_goes_on_when_nothing_can_be_set)
{
    configure(STATIC_ENTRY);
    outcome started = mcfg({"start_wan", "0", "0"});
    EXPECT_EQ(started.err, "vlan2: No such device\nvlan2: No such device\nvlan2: No such device\n");
    EXPECT_EQ(box.read("/var/run/state_link"), box.fixture("wan/state_link-static"));
}

// The address is there, but the link is not known, and so neither routed nor shown.
TEST_F(start_wan, of_a_static_entry_needs_the_documents_lock_for_the_link)
{
    configure(STATIC_ENTRY);
    box.interface("vlan2");
    box.write("/var/lock/Config.lock", "1");
    outcome started = mcfg({"start_wan", "0", "0"});
    EXPECT_EQ(rests(started.trace, "log mcfg-wan_up: "), "start\\n, Error on load file");
    EXPECT_EQ(rests(started.trace, "log mcfg-start_wan_morvi: "),
              "start, wan_array is array sizeof = 1, stop");
    EXPECT_EQ(rests(started.trace, "shell "), "");
    EXPECT_FALSE(box.exists("/var/run/state_link"));
}

} // namespace
