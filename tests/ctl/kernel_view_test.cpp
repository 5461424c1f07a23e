// What mctl sees of the kernel's network, against a real one.
#include "ctl/status/kernel_view.h"

#include "support/unit_test.h"

#include <arpa/inet.h>
#include <sstream>
#include <string>

namespace
{

class kernel_network : public support::unit_test
{
  protected:
    // Several commands of "ip", a line each.
    void ip(const std::string &lines)
    {
        world.in_network({"sh", "-ec", "echo \"$0\" | ip -batch -", lines});
    }

    void cable(const std::string &name)
    {
        ip("link add " + name + " type veth peer name " + name + "p\nlink set " + name +
           "p up\nlink set " + name + " up");
    }

    const iface_view *look(const char *name)
    {
        EXPECT_EQ(look_at_kernel(&view), 0);
        return find_iface(view, name);
    }

    // "NAME METRIC [GATEWAY]" of each default route.
    std::string routes()
    {
        EXPECT_EQ(look_at_kernel(&view), 0);
        std::ostringstream text;
        for (size_t i = 0; i < view.defaults; i++) {
            const route_view &route = view.default_route[i];
            char gateway[IPV4_TEXT_MAX];
            format_address(gateway, route.gateway_be);
            text << route.iface << " " << route.metric << " " << gateway << "\n";
        }
        return text.str();
    }

    kernel_view view;
};

TEST_F(kernel_network, has_interfaces_that_are_up_down_or_without_a_carrier)
{
    EXPECT_EQ(look("vlan2"), nullptr);
    cable("vlan2");
    for (int i = 0; i < 500 && !look("vlan2")->has_carrier; i++)
        usleep(10000);
    EXPECT_TRUE(look("vlan2")->is_up);
    EXPECT_TRUE(look("vlan2")->has_carrier);
    EXPECT_EQ(look("vlan2")->addresses, 0U);
    ip("link set vlan2p down");
    for (int i = 0; i < 500 && look("vlan2")->has_carrier; i++)
        usleep(10000);
    EXPECT_TRUE(look("vlan2")->is_up);
    EXPECT_FALSE(look("vlan2")->has_carrier);
    ip("link set vlan2 down");
    EXPECT_FALSE(look("vlan2")->is_up);
    EXPECT_FALSE(look("vlan2")->has_carrier);
}

TEST_F(kernel_network, has_addresses_with_labels_up_to_four)
{
    cable("br0");
    ip("address add 192.168.1.1/24 dev br0\n"
       "address add 10.0.0.1/8 dev br0 label br0:1");
    const iface_view *br0 = look("br0");
    ASSERT_EQ(br0->addresses, 2U);
    EXPECT_EQ(br0->address_be[0], inet_addr("192.168.1.1"));
    EXPECT_EQ(br0->netmask_be[0], inet_addr("255.255.255.0"));
    EXPECT_EQ(br0->peer_be[0], 0U);
    EXPECT_EQ(br0->address_be[1], inet_addr("10.0.0.1"));
    EXPECT_EQ(br0->netmask_be[1], inet_addr("255.0.0.0"));
    EXPECT_EQ(find_iface(view, "br0:1"), nullptr);
    EXPECT_TRUE(has_address(*br0, inet_addr("192.168.1.1")));
    EXPECT_TRUE(has_address(*br0, inet_addr("10.0.0.1")));
    EXPECT_FALSE(has_address(*br0, inet_addr("10.0.0.2")));
    EXPECT_FALSE(has_address(*br0, 0));
    ip("address add 10.0.0.2/8 dev br0\naddress add 10.0.0.3/8 dev br0\n"
       "address add 10.0.0.4/8 dev br0");
    br0 = look("br0");
    ASSERT_EQ(br0->addresses, 4U);
    EXPECT_EQ(br0->address_be[3], inet_addr("10.0.0.3"));
}

TEST_F(kernel_network, has_the_loopback_first)
{
    ip("link set lo up\naddress add 10.0.0.1/32 dev lo");
    const iface_view *lo = look("lo");
    ASSERT_NE(lo, nullptr);
    EXPECT_EQ(view.ifaces, 1U);
    ASSERT_EQ(lo->addresses, 2U);
    EXPECT_EQ(lo->address_be[1], inet_addr("10.0.0.1"));
}

// The loopback is the first of them.
TEST_F(kernel_network, has_more_interfaces_than_are_seen)
{
    std::string lines;
    for (int i = 1; i <= 33; i++)
        lines +=
            "link add a" + std::to_string(i) + " type veth peer name b" + std::to_string(i) + "\n";
    ip(lines);
    EXPECT_EQ(look("nothing"), nullptr);
    EXPECT_EQ(view.ifaces, 64U);
    EXPECT_STREQ(view.iface[0].name, "lo");
    EXPECT_NE(find_iface(view, view.iface[63].name), nullptr);
}

TEST_F(kernel_network, has_default_routes)
{
    EXPECT_EQ(routes(), "");
    cable("vlan2");
    cable("vlan3");
    ip("address add 192.0.2.77/24 dev vlan2\naddress add 198.51.100.7/24 dev vlan3\n"
       "route add default via 192.0.2.1 dev vlan2 metric 102\n"
       "route add default via 192.0.2.9 dev vlan2 metric 103\n"
       "route add default dev vlan3 metric 7\n"
       "route add unreachable default metric 9\n"
       "route add 0.0.0.0/1 via 192.0.2.2 dev vlan2 metric 1\n"
       "route add 10.0.0.0/8 via 192.0.2.3 dev vlan2 metric 1");
    EXPECT_EQ(routes(), "vlan3 7 0.0.0.0\n* 9 0.0.0.0\nvlan2 102 192.0.2.1\n"
                        "vlan2 103 192.0.2.9\n");
    EXPECT_EQ(find_default_route(view, "vlan2", inet_addr("192.0.2.1"))->metric, 102);
    EXPECT_EQ(find_default_route(view, "vlan2", inet_addr("192.0.2.9"))->metric, 103);
    EXPECT_EQ(find_default_route(view, "vlan2", inet_addr("192.0.2.5"))->metric, 102);
    EXPECT_EQ(find_default_route(view, "vlan3", 0)->metric, 7);
    EXPECT_EQ(find_default_route(view, "vlan4", 0), nullptr);
}

TEST_F(kernel_network, has_more_default_routes_than_are_seen)
{
    cable("vlan2");
    std::string lines;
    for (int i = 1; i <= 33; i++)
        lines += "route add default dev vlan2 metric " + std::to_string(i) + "\n";
    ip(lines);
    routes();
    EXPECT_EQ(view.defaults, 32U);
    EXPECT_EQ(view.default_route[0].metric, 1);
    EXPECT_EQ(view.default_route[31].metric, 32);
}

TEST_F(kernel_network, has_ports_in_its_bridges)
{
    world.write("/sys/class/net/br0/brif/vlan1", "");
    world.symlink("../nowhere", "/sys/class/net/br0/brif/ra0");
    EXPECT_TRUE(is_bridge_port("br0", "vlan1"));
    EXPECT_TRUE(is_bridge_port("br0", "ra0"));
    EXPECT_FALSE(is_bridge_port("br0", "vlan2"));
    EXPECT_FALSE(is_bridge_port("br1", "vlan1"));
}

} // namespace
