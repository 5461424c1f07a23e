// The world's network is a real one: requests of the program change it, and this machine's own
// tools tell how.
#include "support/expect.h"
#include "support/router_box.h"

#include <gtest/gtest.h>

namespace
{

using support::outcome;

class network : public testing::Test
{
  protected:
    support::router_box box{BOX_PROBE};
    bool says(const std::vector<std::string> &command, const std::string &text)
    {
        return box.in_network(command).find(text) != std::string::npos;
    }
};

TEST_F(network, begins_with_a_loopback_that_is_down)
{
    std::string links = box.in_network({"ip", "-br", "link"});
    EXPECT_EQ(std::count(links.begin(), links.end(), '\n'), 1) << links;
    EXPECT_EQ(links.substr(0, 3), "lo ");
    EXPECT_NE(links.find("DOWN"), std::string::npos) << links;
    EXPECT_EQ(box.in_network({"ip", "route"}), "");
}

TEST_F(network, interfaces_are_down_and_bare_until_the_program_sets_them)
{
    box.interface("vlan2");
    box.interface("br0");
    EXPECT_TRUE(says({"ip", "-br", "link", "show", "vlan2"}, "DOWN"));
    EXPECT_TRUE(says({"ip", "-json", "-details", "link", "show", "br0"}, "\"bridge\""));
    EXPECT_TRUE(says({"ip", "-json", "-details", "link", "show", "vlan2"}, "\"veth\""));

    outcome o = box.run({"probe", "flags", "vlan2", "0x1043", "address", "vlan2", "10.1.2.3",
                         "netmask", "vlan2", "255.255.255.0", "get-address", "vlan2"});
    EXPECT_TRACE(R"(
        ioctl vlan2 SIOCSIFFLAGS 0x1043
        ioctl vlan2 SIOCSIFADDR 10.1.2.3
        ioctl vlan2 SIOCSIFNETMASK 255.255.255.0
        ioctl vlan2 SIOCGIFADDR -> 10.1.2.3
    )",
                 o.trace);
    EXPECT_TRUE(says({"ip", "-json", "address", "show", "vlan2"}, "\"local\":\"10.1.2.3\""));
    EXPECT_TRUE(says({"ip", "-json", "address", "show", "vlan2"}, "\"prefixlen\":24"));
    EXPECT_TRUE(says({"ip", "-json", "link", "show", "vlan2"}, "\"operstate\":\"UP\""));
}

TEST_F(network, routes_are_the_kernels)
{
    box.interface("vlan2");
    box.run({"probe", "flags", "vlan2", "0x1043", "address", "vlan2", "10.0.0.5"});
    outcome o =
        box.run({"probe", "route", "add", "vlan2", "0.0.0.0", "0.0.0.0",         "10.0.0.1", "102",
                 "3",     "route", "add", "vlan2", "1.2.3.4", "255.255.255.255", "0.0.0.0",  "0",
                 "5",     "route", "del", "vlan2", "9.9.9.9", "255.255.255.255", "0.0.0.0",  "0",
                 "5"});
    EXPECT_TRACE(R"(
        ioctl vlan2 SIOCADDRT 0.0.0.0/0.0.0.0 via 10.0.0.1 metric 102 flags 0x3
        ioctl vlan2 SIOCADDRT 1.2.3.4/255.255.255.255 metric 0 flags 0x5
        ioctl vlan2 SIOCDELRT 9.9.9.9/255.255.255.255 metric 0 flags 0x5 = ESRCH
    )",
                 o.trace);
    std::string routes = box.in_network({"ip", "-json", "route"});
    EXPECT_NE(routes.find("\"gateway\":\"10.0.0.1\",\"dev\":\"vlan2\""), std::string::npos)
        << routes;
    EXPECT_NE(routes.find("\"dst\":\"1.2.3.4\",\"dev\":\"vlan2\""), std::string::npos) << routes;
    EXPECT_NE(box.read("/proc/net/route").find("vlan2"), std::string::npos);
}

TEST_F(network, requests_about_missing_interfaces_fail)
{
    EXPECT_EQ(box.run({"probe", "flags", "eth2", "0"}).trace,
              "ioctl eth2 SIOCSIFFLAGS 0x0 = ENODEV\n");
    EXPECT_EQ(box.run({"probe", "get-address", "lo"}).trace,
              "ioctl lo SIOCGIFADDR = EADDRNOTAVAIL\n");
    EXPECT_THROW(box.interface("a_name_that_is_too_long"), std::runtime_error);
}

TEST_F(network, a_failing_program_of_this_machine_throws_what_it_said)
{
    try {
        box.in_network({"ip", "link", "show", "nope"});
        FAIL();
    } catch (const std::runtime_error &e) {
        EXPECT_NE(std::string(e.what()).find("nope"), std::string::npos) << e.what();
    }
}

TEST_F(network, a_real_firewall_can_be_loaded)
{
    box.bind("/usr/sbin/iptables-legacy-restore", "/tmp/real/iptables-restore");
    box.on("pass /tmp/real/iptables-restore iptables-restore");
    box.write("/tmp/filter_rules",
              "*filter\n:INPUT DROP [0:0]\n-A INPUT -i lo -j ACCEPT\nCOMMIT\n");
    outcome o = box.run({"probe", "shell", "iptables-restore /tmp/filter_rules"});
    EXPECT_EQ(o.out, "shell 0\n") << o.err;
    EXPECT_EQ(o.trace, "shell iptables-restore /tmp/filter_rules\n");
    EXPECT_TRUE(says({"iptables-legacy-save"}, ":INPUT DROP [0:0]\n"));
    EXPECT_TRUE(says({"iptables-legacy-save"}, "-A INPUT -i lo -j ACCEPT\n"));
}

} // namespace
