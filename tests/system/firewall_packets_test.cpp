// What the generated tables do to packets: a router with the example settings between a LAN and a
// provider, all of them network namespaces of the test's own, and today's iptables to load the
// tables.
#include "support/rows.h"
#include "support/wired_hosts.h"
#include "system/firewall_box.h"

namespace
{

using namespace firewall_test;
using support::program_result;
using support::wait;

constexpr char RESTORE[] = MCFG_SOURCE_DIR "/lab/stand-ins/iptables-restore";

// Addresses, as the settings have them.
constexpr char ROUTER_LAN[] = "192.168.1.1";
constexpr char ROUTER_WAN[] = "198.51.100.2";
constexpr char SERVER[] = "192.168.1.20"; // the LAN host behind the port forwards
constexpr char BANNED[] = "192.168.1.66"; // its MAC is on the list
constexpr char OFFICE[] = "198.51.100.1"; // may use the router's web server
constexpr char ANYONE[] = "203.0.113.9";  // a host outside that no list names
constexpr char PEST[] = "203.0.113.66";   // a user rule drops it

class firewall_packets : public firewall_command
{
  protected:
    firewall_packets()
    {
        use_example();
        for (const char *host : {"router", "server", "banned", "provider"})
            hosts.add_host(host);
        hosts.cable("router", "lan1", "server", "eth0");
        hosts.cable("router", "lan2", "banned", "eth0");
        hosts.cable("router", "vlan2", "provider", "eth0");

        hosts.ip("router", "link add br0 type bridge\n"
                           "link set lan1 master br0\n"
                           "link set lan2 master br0\n"
                           "link set br0 up\n"
                           "address add 192.168.1.1/24 dev br0\n"
                           "address add 198.51.100.2/24 dev vlan2\n"
                           "route add default via 198.51.100.1");
        hosts.run("router", {"sh", "-c", "echo 1 >/proc/sys/net/ipv4/ip_forward"});
        hosts.ip("server", "link set eth0 address 02:00:00:00:00:01\n"
                           "address add 192.168.1.20/24 dev eth0\n"
                           "route add default via 192.168.1.1");
        hosts.ip("banned", "link set eth0 address 02:00:00:00:00:0a\n"
                           "address add 192.168.1.66/24 dev eth0\n"
                           "route add default via 192.168.1.1");
        // Packets for the LAN would come as well, if the provider knew of it.
        hosts.ip("provider", "address add 198.51.100.1/24 dev eth0\n"
                             "address add 203.0.113.9/32 dev eth0\n"
                             "address add 203.0.113.66/32 dev eth0\n"
                             "route add 192.168.1.0/24 via 198.51.100.2");
    }

    // Has the program write the rule files.
    void write_rule_files(const std::string &log_mode = "none")
    {
        support::outcome seen = update(log_mode);
        ASSERT_EQ(seen.status, 0);
        ASSERT_EQ(seen.err, "");
    }

    program_result load(const std::string &table)
    {
        return hosts.try_run("router", {RESTORE}, box.read("/tmp/" + table + "_rules"));
    }

    void rebuild(const std::string &log_mode = "none")
    {
        write_rule_files(log_mode);
        for (const char *table : {"nat", "filter", "mangle"}) {
            program_result result = load(table);
            ASSERT_EQ(result.status, 0) << table << ": " << result.err;
            ASSERT_EQ(result.err, "");
        }
    }

    // As the program does when a WAN link has come up.
    void open_port_forwards()
    {
        hosts.run("router", {"iptables-legacy", "-t", "nat", "-I", "PREROUTING", "-i", "vlan2",
                             "-d", ROUTER_WAN, "-j", "VSERVER"});
    }

    std::string loaded(const std::string &table)
    {
        return rules_of(hosts.run("router", {"iptables-legacy-save", "-t", table}));
    }

    // Changes a settings file.
    void replace(const char *path, const std::string &before, const std::string &after)
    {
        box.write(path, replaced(box.read(path), before, after));
    }

    support::wired_hosts hosts;
};

TEST_F(firewall_packets, the_tables_are_what_iptables_has_loaded)
{
    rebuild();
    EXPECT_TRACE(rules_fixture("loaded_tables"),
                 loaded("mangle") + loaded("filter") + loaded("nat"));
}

TEST_F(firewall_packets, a_port_forward_reaches_the_lan_host_once_the_wan_link_is_up)
{
    rebuild();
    int web = hosts.listen("server", SERVER, 80);
    EXPECT_EQ(hosts.connect("provider", OFFICE, ROUTER_WAN, 8080, web, wait::to_see_it_stay_away),
              "");
    open_port_forwards();
    EXPECT_EQ(hosts.connect("provider", ANYONE, ROUTER_WAN, 8080, web, wait::until_it_arrives),
              ANYONE);
    EXPECT_EQ(hosts.packets("router", "nat", "--dport 8080 -j DNAT"), 1);
    // A rebuild takes the jump away again.
    rebuild();
    EXPECT_EQ(hosts.connect("provider", OFFICE, ROUTER_WAN, 8080, web, wait::to_see_it_stay_away),
              "");
}

TEST_F(firewall_packets, port_forwards_work_with_address_translation_off)
{
    replace(IP_FILTER, "VSERVERS_ENABLE=1", "VSERVERS_ENABLE=0");
    rebuild();
    open_port_forwards();
    int ssh = hosts.listen("server", SERVER, 22);
    EXPECT_EQ(hosts.connect("provider", OFFICE, ROUTER_WAN, 2222, ssh, wait::until_it_arrives),
              OFFICE);
}

TEST_F(firewall_packets, a_user_rule_drops_its_source)
{
    rebuild();
    open_port_forwards();
    int web = hosts.listen("server", SERVER, 80);
    EXPECT_EQ(hosts.connect("provider", PEST, ROUTER_WAN, 8080, web, wait::to_see_it_stay_away),
              "");
    EXPECT_GE(hosts.packets("router", "filter", "-A FORWARD -s 203.0.113.66/32 -j DROP"), 1);
    EXPECT_FALSE(hosts.ping("provider", PEST, ROUTER_WAN, wait::to_see_it_stay_away));
    EXPECT_EQ(hosts.packets("router", "filter", "-A INPUT -s 203.0.113.66/32 -j DROP"), 1);
    EXPECT_EQ(hosts.connect("provider", ANYONE, ROUTER_WAN, 8080, web, wait::until_it_arrives),
              ANYONE);
}

TEST_F(firewall_packets, a_user_rule_accepts_a_range_into_the_lan)
{
    box.write(RULES, "ACCEPT hosts - 203.0.113.1-203.0.113.20 - tcp - 7000 -\n");
    rebuild();
    int port = hosts.listen("server", SERVER, 7000);
    int other = hosts.listen("server", SERVER, 7001);
    EXPECT_EQ(hosts.connect("provider", ANYONE, SERVER, 7000, port, wait::until_it_arrives),
              ANYONE);
    EXPECT_EQ(hosts.connect("provider", ANYONE, SERVER, 7001, other, wait::to_see_it_stay_away),
              "");
    EXPECT_EQ(hosts.connect("provider", PEST, SERVER, 7000, port, wait::to_see_it_stay_away), "");
    EXPECT_GE(hosts.packets("router", "filter", "-A FORWARD -o br0 -j DROP"), 2);
}

TEST_F(firewall_packets, a_banned_device_gets_nowhere)
{
    rebuild();
    int outside = hosts.listen("provider", OFFICE, 7000);
    int router = hosts.listen("router", ROUTER_LAN, 7000);
    EXPECT_EQ(hosts.connect("banned", BANNED, OFFICE, 7000, outside, wait::to_see_it_stay_away),
              "");
    EXPECT_EQ(hosts.connect("banned", BANNED, ROUTER_LAN, 7000, router, wait::to_see_it_stay_away),
              "");
    EXPECT_GE(hosts.packets("router", "filter", "--mac-source 02:00:00:00:00:0a -j DROP"), 2);
    EXPECT_EQ(hosts.connect("server", SERVER, OFFICE, 7000, outside, wait::until_it_arrives),
              ROUTER_WAN);
    EXPECT_EQ(hosts.connect("server", SERVER, ROUTER_LAN, 7000, router, wait::until_it_arrives),
              SERVER);
}

TEST_F(firewall_packets, in_allow_mode_only_listed_devices_get_through)
{
    replace(IP_FILTER, "MAC_FILTER_ENABLE=2", "MAC_FILTER_ENABLE=1");
    rebuild();
    int outside = hosts.listen("provider", OFFICE, 7000);
    EXPECT_EQ(hosts.connect("banned", BANNED, OFFICE, 7000, outside, wait::until_it_arrives),
              ROUTER_WAN);
    EXPECT_EQ(hosts.connect("server", SERVER, OFFICE, 7000, outside, wait::to_see_it_stay_away),
              "");
}

TEST_F(firewall_packets, an_opened_port_of_the_router_answers_to_its_network_only)
{
    rebuild();
    int web = hosts.listen("router", ROUTER_WAN, 80);
    int ssh = hosts.listen("router", ROUTER_WAN, 22);
    EXPECT_EQ(hosts.connect("provider", OFFICE, ROUTER_WAN, 80, web, wait::until_it_arrives),
              OFFICE);
    EXPECT_EQ(hosts.connect("provider", OFFICE, ROUTER_WAN, 22, ssh, wait::to_see_it_stay_away),
              "");
    EXPECT_EQ(hosts.connect("provider", ANYONE, ROUTER_WAN, 80, web, wait::to_see_it_stay_away),
              "");
    EXPECT_GE(hosts.packets("router", "filter", "-A H_ACCESS -p tcp -m tcp --dport 80 -j DROP"), 1);
    EXPECT_EQ(hosts.connect("server", SERVER, ROUTER_WAN, 22, ssh, wait::until_it_arrives), SERVER);
}

TEST_F(firewall_packets, with_the_firewall_off_every_port_of_the_router_is_open)
{
    replace(IP_FILTER, "FIREWALL_ENABLE=1", "FIREWALL_ENABLE=0");
    rebuild();
    int ssh = hosts.listen("router", ROUTER_WAN, 22);
    EXPECT_EQ(hosts.connect("provider", ANYONE, ROUTER_WAN, 22, ssh, wait::until_it_arrives),
              ANYONE);
    // The switch for pings counts for nothing then.
    EXPECT_TRUE(hosts.ping("provider", ANYONE, ROUTER_WAN, wait::until_it_arrives));
}

TEST_F(firewall_packets, pings_from_outside_follow_their_switch)
{
    rebuild();
    EXPECT_FALSE(hosts.ping("provider", ANYONE, ROUTER_WAN, wait::to_see_it_stay_away));
    EXPECT_EQ(hosts.packets("router", "filter", "-A INPUT -j DROP"), 1);
    EXPECT_TRUE(hosts.ping("server", SERVER, ROUTER_LAN, wait::until_it_arrives));
    replace(IP_FILTER, "WAN_PING_ENABLE=0", "WAN_PING_ENABLE=1");
    rebuild();
    EXPECT_TRUE(hosts.ping("provider", ANYONE, ROUTER_WAN, wait::until_it_arrives));
}

TEST_F(firewall_packets, masquerading_rewrites_the_source_of_lan_traffic)
{
    rebuild();
    int outside = hosts.listen("provider", OFFICE, 7000);
    EXPECT_EQ(hosts.connect("server", SERVER, OFFICE, 7000, outside, wait::until_it_arrives),
              ROUTER_WAN);
    replace(IP_FILTER, "NAT_ENABLE=1", "NAT_ENABLE=0");
    rebuild();
    EXPECT_EQ(hosts.connect("server", SERVER, OFFICE, 7000, outside, wait::until_it_arrives),
              SERVER);
}

TEST_F(firewall_packets, a_lan_host_reaches_another_one_through_a_port_forward)
{
    replace(IP_FILTER, "MAC_FILTER_ENABLE=2", "MAC_FILTER_ENABLE=0");
    rebuild();
    hosts.run("router", {"iptables-legacy", "-t", "nat", "-I", "PREROUTING", "-d", ROUTER_WAN, "-j",
                         "VSERVER"});
    int web = hosts.listen("server", SERVER, 80);
    // Seen from the server it is the router that asks, so the answer goes back through it.
    EXPECT_EQ(hosts.connect("banned", BANNED, ROUTER_WAN, 8080, web, wait::until_it_arrives),
              ROUTER_LAN);
}

TEST_F(firewall_packets, a_blocked_site_is_not_asked)
{
    rebuild();
    int site = hosts.listen("provider", OFFICE, 80);
    EXPECT_EQ(hosts.connect("server", SERVER, OFFICE, 80, site, wait::to_see_it_stay_away,
                            "GET / HTTP/1.0\r\nHost: ads.example.net\r\n\r\n"),
              "");
    EXPECT_GE(hosts.packets("router", "filter", "--string \"ads.example.net\""), 1);
    EXPECT_EQ(hosts.connect("server", SERVER, OFFICE, 80, site, wait::until_it_arrives,
                            "GET / HTTP/1.0\r\nHost: www.example.net\r\n\r\n"),
              ROUTER_WAN);
}

TEST_F(firewall_packets, what_the_log_mode_names_goes_through_the_logging_chains)
{
    rebuild("both");
    EXPECT_FALSE(hosts.ping("provider", ANYONE, ROUTER_WAN, wait::to_see_it_stay_away));
    EXPECT_EQ(hosts.packets("router", "filter", "--log-prefix \"DROP \""), 1);
    EXPECT_EQ(hosts.packets("router", "filter", "--log-prefix \"ACCEPT \""), 0);
    EXPECT_TRUE(hosts.ping("server", SERVER, ROUTER_LAN, wait::until_it_arrives));
    EXPECT_EQ(hosts.packets("router", "filter", "--log-prefix \"ACCEPT \""), 1);
}

TEST_F(firewall_packets, pings_from_outside_are_limited)
{
    replace(IP_FILTER, "WAN_PING_ENABLE=0", "WAN_PING_ENABLE=1");
    rebuild();
    hosts.ping("provider", ANYONE, ROUTER_WAN, wait::until_it_arrives);
    hosts.flood("provider", ANYONE, ROUTER_WAN, 100);
    EXPECT_GE(hosts.packets("router", "filter", "-A SECURITY -j DROP"), 1);
    EXPECT_GE(hosts.packets("router", "filter", "-A INPUT -p icmp -j ACCEPT"), 5);

    replace(IP_FILTER, "DDOS_ENABLE=1", "DDOS_ENABLE=0");
    rebuild();
    hosts.flood("provider", ANYONE, ROUTER_WAN, 100);
    EXPECT_EQ(hosts.packets("router", "filter", "-A INPUT -p icmp -j ACCEPT"), 100);
}

// Each makes iptables refuse the table that its list goes into.
struct refused_case {
    const char *name;
    const char *table;
    const char *path;
    const char *list;
};

class refused_table : public firewall_packets, public testing::WithParamInterface<refused_case>
{
};

TEST_P(refused_table, leaves_the_one_before_in_force)
{
    rebuild();
    open_port_forwards();
    std::string before = loaded("nat") + loaded("filter");
    box.write(GetParam().path, GetParam().list);
    write_rule_files();
    program_result result = load(GetParam().table);
    EXPECT_NE(result.status, 0);
    EXPECT_NE(result.err, "");
    EXPECT_EQ(loaded("nat") + loaded("filter"), before);

    int web = hosts.listen("server", SERVER, 80);
    EXPECT_EQ(hosts.connect("provider", PEST, ROUTER_WAN, 8080, web, wait::to_see_it_stay_away),
              "");
    EXPECT_EQ(hosts.connect("provider", ANYONE, ROUTER_WAN, 8080, web, wait::until_it_arrives),
              ANYONE);
}

INSTANTIATE_TEST_SUITE_P(
    lists, refused_table,
    testing::Values(
        refused_case{"address_that_is_none", "filter", RULES, "DROP x y 203.0.113.999 - - - - -\n"},
        refused_case{"port_without_protocol", "filter", RULES, "DROP x y - - - - 22 -\n"},
        refused_case{"line_end_inside_a_rule", "filter", RULES, "DROP x y - - tcp - 22\n"},
        refused_case{"schedule_without_a_day", "filter", "/etc/default/sched_list",
                     "night 1 - 0000000 22000600 -\n"},
        refused_case{"device_list_without_a_device", "filter", "/etc/default/macfilter_list", ""},
        refused_case{"unknown_target", "filter", "/etc/default/httpd_access.conf",
                     "HTTP auto any any NOWHERE\n"},
        refused_case{"line_end_inside_a_port_forward", "nat", "/etc/default/vservers",
                     "web tcp 8080 80 192.168.1.20\n"},
        refused_case{"protocol_without_ports", "nat", "/etc/default/vservers",
                     "web icmp 8080 80 192.168.1.20 -\n"},
        refused_case{"trigger_port_that_is_none", "nat", "/etc/default/trigger_ports",
                     "chat 66667 x 113 tcp -\n"},
        refused_case{"opened_port_that_is_none", "nat", "/etc/default/trigger_ports",
                     "chat 6667 x ident tcp -\n"}),
    support::row_name);

} // namespace
