#include "util/ip_query.h"

#include "support/unit_test.h"

#include <fcntl.h>
#include <string>
#include <sys/stat.h>

namespace
{

struct network_case {
    const char *name;
    const char *address;
    const char *netmask;
    const char *network;
};

class network_text : public testing::TestWithParam<network_case>
{
};

TEST_P(network_text, has_the_prefix_length)
{
    char out[NETWORK_TEXT_MAX];
    int length = ip2class(GetParam().address, GetParam().netmask, out);
    EXPECT_STREQ(out, GetParam().network);
    EXPECT_EQ(length, static_cast<int>(strlen(GetParam().network)));
}

INSTANTIATE_TEST_SUITE_P(
    networks, network_text,
    testing::Values(
        network_case{"home", "192.168.1.77", "255.255.255.0", "192.168.1.0/24"},
        network_case{"everything", "192.168.1.77", "0.0.0.0", "0.0.0.0/0"},
        network_case{"one_host", "192.168.1.77", "255.255.255.255", "192.168.1.77/32"},
        network_case{"half_of_everything", "192.168.1.77", "128.0.0.0", "128.0.0.0/1"},
        network_case{"inside_a_byte", "192.168.1.77", "255.255.255.224", "192.168.1.64/27"},
        network_case{"mask_with_a_hole_counts_down_to_its_lowest_bit", "192.168.1.77",
                     "255.0.255.0", "192.0.1.0/24"},
        network_case{"only_the_lowest_bit", "192.168.1.77", "0.0.0.1", "0.0.0.1/32"},
        network_case{"longest_text", "255.255.255.255", "255.255.255.255", "255.255.255.255/32"},
        network_case{"text_that_is_no_address", "here", "255.255.255.0", "255.255.255.0/24"},
        network_case{"text_that_is_no_mask", "192.168.1.77", "", "192.168.1.77/32"}),
    support::row_name);

class address_query : public support::unit_test
{
  protected:
    std::string ask(const char *name)
    {
        iface = name;
        return support::private_world::captured(
            2,
            [](void *self) {
                auto *test = static_cast<address_query *>(self);
                test->result = get_ip_mask_from_iface(test->iface, test->ipaddr, test->netmask);
            },
            this);
    }

    const char *iface = nullptr;
    int result = 1;
    char ipaddr[QUERY_TEXT_MAX] = "";
    char netmask[QUERY_TEXT_MAX] = "";
};

TEST_F(address_query, reads_what_the_interface_has)
{
    world.interface("vlan2");
    world.in_network({"ip", "addr", "add", "10.20.30.40/20", "dev", "vlan2"});
    EXPECT_EQ(ask("vlan2"), "");
    EXPECT_EQ(result, 0);
    EXPECT_STREQ(ipaddr, "10.20.30.40");
    EXPECT_STREQ(netmask, "255.255.240.0");
    EXPECT_TRACE("log get_ip_mask_from_iface: ipaddr = 10.20.30.40, mask = 255.255.240.0\\n",
                 world.trace_of({"log"}));
}

TEST_F(address_query, leaves_no_descriptor_to_what_is_started_later)
{
    world.interface("vlan2");
    world.in_network({"ip", "addr", "add", "10.20.30.40/20", "dev", "vlan2"});
    EXPECT_EQ(ask("vlan2"), "");
    int sockets = 0;
    for (int fd = 3; fd <= 255; fd++) {
        struct stat status;
        if (fstat(fd, &status) == 0 && S_ISSOCK(status.st_mode)) {
            EXPECT_EQ(fcntl(fd, F_GETFD), FD_CLOEXEC) << fd;
            sockets++;
        }
    }
    EXPECT_GE(sockets, 1);
}

TEST_F(address_query, of_an_interface_without_address_fails)
{
    world.interface("vlan2");
    EXPECT_EQ(ask("vlan2"), "ioctl SIOCGIFADDR: Cannot assign requested address\n");
    EXPECT_EQ(result, -1);
    EXPECT_EQ(world.trace_of({"log"}), "");
}

TEST_F(address_query, of_an_interface_that_is_missing_fails)
{
    EXPECT_EQ(ask("vlan2"), "ioctl SIOCGIFADDR: No such device\n");
    EXPECT_EQ(result, -1);
}

TEST_F(address_query, without_a_socket_fails)
{
    world.on("fail EMFILE socket inet dgram 0");
    EXPECT_EQ(ask("vlan2"), "socket: Too many open files\n");
    EXPECT_EQ(result, -1);
    EXPECT_EQ(world.trace_of({"log"}), "");
}

TEST_F(address_query, without_a_name_fails)
{
    EXPECT_EQ(ask(""), "ioctl SIOCGIFADDR: No such device\n");
    EXPECT_EQ(result, -1);
}

TEST_F(address_query, of_an_over_long_name_fails)
{
    EXPECT_EQ(ask(std::string(1000, 'v').c_str()), "ioctl SIOCGIFADDR: No such device\n");
    EXPECT_EQ(result, -1);
}

TEST_F(address_query, fails_when_the_netmask_cannot_be_read)
{
    world.interface("vlan2");
    world.in_network({"ip", "addr", "add", "10.20.30.40/20", "dev", "vlan2"});
    world.on("fail EPERM ioctl vlan2 SIOCGIFNETMASK");
    EXPECT_EQ(ask("vlan2"), "ioctl SIOCGIFNETMASK: Operation not permitted\n");
    EXPECT_EQ(result, -1);
    EXPECT_STREQ(ipaddr, "10.20.30.40");
    EXPECT_EQ(world.trace_of({"log"}), "");
}

} // namespace
