#include "lan/interface.h"

#include "support/kernel_state.h"
#include "support/unit_test.h"

#include <errno.h>
#include <string>

namespace
{

class ifconfig_call : public support::unit_test
{
  public:
    struct call {
        const char *name;
        int flags;
        const char *address;
        const char *netmask;
        int result;
    };

  protected:
    void SetUp() override
    {
        support::unit_test::SetUp();
        world.interface("vlan1");
    }

    // Makes the call and returns what it said on standard error.
    static std::string made(call &wanted)
    {
        return support::private_world::captured(
            2,
            [](void *context) {
                auto *c = static_cast<call *>(context);
                c->result = ifconfig(c->name, c->flags, c->address, c->netmask);
            },
            &wanted);
    }
};

constexpr char LONG_NAME[] = "an-interface-name-of-far-too-many-characters";

TEST_F(ifconfig_call, only_clears_the_flags)
{
    ifconfig("vlan1", IFACE_UP, "10.1.2.3", "255.255.0.0");
    world.clear_trace();
    EXPECT_EQ(ifconfig("vlan1", IFACE_DOWN, nullptr, nullptr), 0);
    EXPECT_TRACE("ioctl vlan1 SIOCSIFFLAGS 0x0", world.trace());
    EXPECT_FALSE(kernel_state::is_up(world, "vlan1"));
    EXPECT_EQ(kernel_state::addresses(world, "vlan1"), "10.1.2.3/16 broadcast 10.1.255.255");
}

TEST_F(ifconfig_call, only_sets_the_flags)
{
    EXPECT_EQ(ifconfig("vlan1", IFACE_UP, nullptr, nullptr), 0);
    EXPECT_TRACE("ioctl vlan1 SIOCSIFFLAGS 0x1043", world.trace());
    EXPECT_EQ(kernel_state::flags(world, "vlan1"), "BROADCAST,MULTICAST,UP,LOWER_UP");
    EXPECT_EQ(kernel_state::addresses(world, "vlan1"), "");
}

// What is not among the flags is taken away: nothing is merged.
TEST_F(ifconfig_call, writes_the_flags_whole)
{
    world.in_network({"ip", "link", "set", "vlan1", "promisc", "on", "arp", "off"});
    EXPECT_EQ(ifconfig("vlan1", IFACE_UP, nullptr, nullptr), 0);
    EXPECT_EQ(kernel_state::flags(world, "vlan1"), "BROADCAST,MULTICAST,UP,LOWER_UP");
}

TEST_F(ifconfig_call, sets_address_netmask_and_broadcast)
{
    EXPECT_EQ(ifconfig("vlan1", IFACE_UP, "192.168.0.1", "255.255.255.0"), 0);
    EXPECT_TRACE(R"(
        ioctl vlan1 SIOCSIFFLAGS 0x1043
        ioctl vlan1 SIOCSIFADDR 192.168.0.1
        ioctl vlan1 SIOCSIFNETMASK 255.255.255.0
        ioctl vlan1 SIOCSIFBRDADDR 192.168.0.255
    )",
                 world.trace());
    EXPECT_EQ(kernel_state::addresses(world, "vlan1"), "192.168.0.1/24 broadcast 192.168.0.255");
}

struct addressing {
    const char *name;
    const char *address;
    const char *netmask;
    const char *trace; // behind the flags
    const char *kernel;
};

// The kernel's own netmask and broadcast for the class of an address stay where none is given.
constexpr addressing ADDRESSINGS[] = {
    {"odd netmask", "172.16.200.77", "255.255.255.192",
     "ioctl vlan1 SIOCSIFADDR 172.16.200.77\n"
     "ioctl vlan1 SIOCSIFNETMASK 255.255.255.192\n"
     "ioctl vlan1 SIOCSIFBRDADDR 172.16.200.127\n",
     "172.16.200.77/26 broadcast 172.16.200.127"},
    {"host netmask", "10.0.0.1", "255.255.255.255",
     "ioctl vlan1 SIOCSIFADDR 10.0.0.1\n"
     "ioctl vlan1 SIOCSIFNETMASK 255.255.255.255\n"
     "ioctl vlan1 SIOCSIFBRDADDR 10.0.0.1\n",
     "10.0.0.1/32 broadcast 10.0.0.1"},
    {"no netmask", "10.1.2.3", nullptr, "ioctl vlan1 SIOCSIFADDR 10.1.2.3\n",
     "10.1.2.3/8 broadcast 10.255.255.255"},
    {"empty netmask", "10.1.2.3", "", "ioctl vlan1 SIOCSIFADDR 10.1.2.3\n",
     "10.1.2.3/8 broadcast 10.255.255.255"},
    {"netmask without an address", nullptr, "255.255.255.0", "", ""},
    {"netmask with an empty address", "", "255.255.255.0", "", ""},
    {"zero address", "0.0.0.0", nullptr, "ioctl vlan1 SIOCSIFADDR 0.0.0.0\n", ""},
    {"no dotted quad", "router", nullptr, "ioctl vlan1 SIOCSIFADDR 255.255.255.255\n",
     "255.255.255.255/0 broadcast 255.255.255.255"},
};

TEST_F(ifconfig_call, addresses_as_told)
{
    for (const addressing &row : ADDRESSINGS) {
        SCOPED_TRACE(row.name);
        world.in_network({"ip", "address", "flush", "dev", "vlan1"});
        world.clear_trace();
        ifconfig("vlan1", IFACE_UP, row.address, row.netmask);
        EXPECT_TRACE("ioctl vlan1 SIOCSIFFLAGS 0x1043\n" + std::string(row.trace), world.trace());
        EXPECT_EQ(kernel_state::addresses(world, "vlan1"), row.kernel);
        EXPECT_TRUE(kernel_state::is_up(world, "vlan1"));
    }
}

TEST_F(ifconfig_call, with_a_zero_address_takes_the_address_away)
{
    ifconfig("vlan1", IFACE_UP, "10.1.2.3", "255.255.0.0");
    EXPECT_EQ(ifconfig("vlan1", IFACE_UP, "0.0.0.0", nullptr), 0);
    EXPECT_EQ(kernel_state::addresses(world, "vlan1"), "");
}

TEST_F(ifconfig_call, replaces_the_address)
{
    ifconfig("vlan1", IFACE_UP, "10.1.2.3", "255.255.0.0");
    ifconfig("vlan1", IFACE_UP, "192.168.0.1", "255.255.255.0");
    EXPECT_EQ(kernel_state::addresses(world, "vlan1"), "192.168.0.1/24 broadcast 192.168.0.255");
}

struct failure {
    const char *name;
    const char *rule;
    int error;
    const char *message;
    const char *trace;
};

constexpr failure FAILURES[] = {
    {"socket", "fail EMFILE socket inet raw 255", EMFILE, "vlan1: Too many open files\n",
     "socket inet raw 255 = EMFILE\n"},
    {"flags", "fail EPERM ioctl vlan1 SIOCSIFFLAGS", EPERM, "vlan1: Operation not permitted\n",
     "ioctl vlan1 SIOCSIFFLAGS 0x1043 = EPERM\n"},
    {"address leaves the flags", "fail EPERM ioctl vlan1 SIOCSIFADDR", EPERM,
     "vlan1: Operation not permitted\n",
     "ioctl vlan1 SIOCSIFFLAGS 0x1043\n"
     "ioctl vlan1 SIOCSIFADDR 192.168.0.1 = EPERM\n"},
    {"netmask skips the broadcast", "fail EIO ioctl vlan1 SIOCSIFNETMASK", EIO,
     "vlan1: Input/output error\n",
     "ioctl vlan1 SIOCSIFFLAGS 0x1043\n"
     "ioctl vlan1 SIOCSIFADDR 192.168.0.1\n"
     "ioctl vlan1 SIOCSIFNETMASK 255.255.255.0 = EIO\n"},
    {"broadcast", "fail EADDRNOTAVAIL ioctl vlan1 SIOCSIFBRDADDR", EADDRNOTAVAIL,
     "vlan1: Cannot assign requested address\n",
     "ioctl vlan1 SIOCSIFFLAGS 0x1043\n"
     "ioctl vlan1 SIOCSIFADDR 192.168.0.1\n"
     "ioctl vlan1 SIOCSIFNETMASK 255.255.255.0\n"
     "ioctl vlan1 SIOCSIFBRDADDR 192.168.0.255 = EADDRNOTAVAIL\n"},
};

TEST_F(ifconfig_call, stops_at_the_first_failing_step)
{
    for (const failure &row : FAILURES) {
        SCOPED_TRACE(row.name);
        world.clear_rules();
        world.clear_trace();
        world.on(row.rule);
        call failing = {"vlan1", IFACE_UP, "192.168.0.1", "255.255.255.0", -1};
        EXPECT_EQ(made(failing), row.message);
        EXPECT_EQ(failing.result, row.error);
        EXPECT_TRACE(row.trace, world.trace());
    }
}

TEST_F(ifconfig_call, names_a_missing_interface)
{
    call missing = {"vlan9", IFACE_UP, "192.168.0.1", "255.255.255.0", -1};
    EXPECT_EQ(made(missing), "vlan9: No such device\n");
    EXPECT_EQ(missing.result, ENODEV);
    EXPECT_TRACE("ioctl vlan9 SIOCSIFFLAGS 0x1043 = ENODEV", world.trace());
}

TEST_F(ifconfig_call, cuts_the_name_in_the_request_but_not_in_the_message)
{
    call cut = {LONG_NAME, IFACE_UP, nullptr, nullptr, -1};
    EXPECT_EQ(made(cut), std::string(LONG_NAME) + ": No such device\n");
    EXPECT_EQ(cut.result, ENODEV);
    EXPECT_TRACE("ioctl an-interface-nam SIOCSIFFLAGS 0x1043 = ENODEV", world.trace());
}

TEST_F(ifconfig_call, takes_a_name_of_fifteen_characters)
{
    world.interface("fifteen-letters");
    EXPECT_EQ(ifconfig("fifteen-letters", IFACE_UP, "10.0.0.1", "255.0.0.0"), 0);
    EXPECT_EQ(kernel_state::addresses(world, "fifteen-letters"),
              "10.0.0.1/8 broadcast 10.255.255.255");
}

TEST_F(ifconfig_call, of_an_empty_name_fails)
{
    call nameless = {"", IFACE_UP, "192.168.0.1", "255.255.255.0", -1};
    EXPECT_EQ(made(nameless), "No such device\n");
    EXPECT_EQ(nameless.result, ENODEV);
}

} // namespace
