#include "lan/route.h"

#include "lan/interface.h"
#include "support/kernel_state.h"
#include "support/unit_test.h"

#include <errno.h>
#include <string>

namespace
{

class route : public support::unit_test
{
  public:
    struct call {
        int (*routine)(const char *, int, const char *, const char *, const char *);
        const char *device;
        int metric;
        const char *destination;
        const char *gateway;
        const char *netmask;
        int result = -1;
    };

  protected:
    void SetUp() override
    {
        support::unit_test::SetUp();
        world.interface("vlan2");
        ifconfig("vlan2", IFACE_UP, "10.0.0.2", "255.255.255.0");
        world.clear_trace();
    }

    static std::string made(call &wanted)
    {
        return support::private_world::captured(
            2,
            [](void *context) {
                auto *c = static_cast<call *>(context);
                c->result =
                    c->routine(c->device, c->metric, c->destination, c->gateway, c->netmask);
            },
            &wanted);
    }
};

struct request {
    const char *name;
    int metric;
    const char *destination;
    const char *gateway;
    const char *netmask;
    const char *trace; // behind "ioctl vlan2 SIOCADDRT "
    const char *kernel;
};

// flags: 1 is up, 2 gateway, 4 host. The kernel counts metrics from 1: 0 and 1 are its 0, which ip
// does not show.
constexpr request REQUESTS[] = {
    {"default route", 1, "0.0.0.0", "10.0.0.1", "0.0.0.0",
     "0.0.0.0/0.0.0.0 via 10.0.0.1 metric 1 flags 0x3", "default via 10.0.0.1 scope global\n"},
    {"default route with a metric", 102, "0.0.0.0", "10.0.0.1", "0.0.0.0",
     "0.0.0.0/0.0.0.0 via 10.0.0.1 metric 102 flags 0x3",
     "default via 10.0.0.1 metric 101 scope global\n"},
    {"no addresses at all", 0, nullptr, nullptr, nullptr, "0.0.0.0/0.0.0.0 metric 0 flags 0x1",
     "default scope link\n"},
    {"empty texts are no addresses either", 0, "", "", "", "0.0.0.0/0.0.0.0 metric 0 flags 0x1",
     "default scope link\n"},
    {"network", 0, "172.16.0.0", nullptr, "255.255.0.0",
     "172.16.0.0/255.255.0.0 metric 0 flags 0x1", "172.16.0.0/16 scope link\n"},
    {"network with a metric", 6, "172.16.0.0", nullptr, "255.255.0.0",
     "172.16.0.0/255.255.0.0 metric 6 flags 0x1", "172.16.0.0/16 metric 5 scope link\n"},
    {"network behind a gateway", 0, "172.16.0.0", "10.0.0.1", "255.255.0.0",
     "172.16.0.0/255.255.0.0 via 10.0.0.1 metric 0 flags 0x3",
     "172.16.0.0/16 via 10.0.0.1 scope global\n"},
    {"a gateway of zeros is none", 0, "172.16.0.0", "0.0.0.0", "255.255.0.0",
     "172.16.0.0/255.255.0.0 metric 0 flags 0x1", "172.16.0.0/16 scope link\n"},
    {"an empty gateway is none", 0, "172.16.0.0", "", "255.255.0.0",
     "172.16.0.0/255.255.0.0 metric 0 flags 0x1", "172.16.0.0/16 scope link\n"},
    {"an empty netmask is that of everything", 0, "0.0.0.0", "10.0.0.1", "",
     "0.0.0.0/0.0.0.0 via 10.0.0.1 metric 0 flags 0x3", "default via 10.0.0.1 scope global\n"},
    {"an empty destination with a host's netmask", 0, "", nullptr, "255.255.255.255",
     "0.0.0.0/255.255.255.255 metric 0 flags 0x5", "0.0.0.0 scope link\n"},
    {"host", 0, "198.51.100.7", nullptr, "255.255.255.255",
     "198.51.100.7/255.255.255.255 metric 0 flags 0x5", "198.51.100.7 scope link\n"},
    {"host behind a gateway", 3, "198.51.100.7", "10.0.0.1", "255.255.255.255",
     "198.51.100.7/255.255.255.255 via 10.0.0.1 metric 3 flags 0x7",
     "198.51.100.7 via 10.0.0.1 metric 2 scope global\n"},
};

TEST_F(route, is_added_and_deleted)
{
    for (const request &row : REQUESTS) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(route_add("vlan2", row.metric, row.destination, row.gateway, row.netmask), 0);
        EXPECT_EQ(kernel_state::routes_over(world, "vlan2"), row.kernel);
        EXPECT_EQ(route_del("vlan2", row.metric, row.destination, row.gateway, row.netmask), 0);
        EXPECT_EQ(kernel_state::routes_over(world, "vlan2"), "");
        EXPECT_TRACE("ioctl vlan2 SIOCADDRT " + std::string(row.trace) +
                         "\nioctl vlan2 SIOCDELRT " + row.trace,
                     world.trace());
        world.clear_trace();
    }
}

TEST_F(route, with_another_metric_is_another_route)
{
    EXPECT_EQ(route_add("vlan2", 11, "0.0.0.0", "10.0.0.1", "0.0.0.0"), 0);
    EXPECT_EQ(route_add("vlan2", 21, "0.0.0.0", "10.0.0.1", "0.0.0.0"), 0);
    EXPECT_EQ(kernel_state::routes_over(world, "vlan2"),
              "default via 10.0.0.1 metric 10 scope global\n"
              "default via 10.0.0.1 metric 20 scope global\n");
    EXPECT_EQ(route_del("vlan2", 11, "0.0.0.0", "10.0.0.1", "0.0.0.0"), 0);
    EXPECT_EQ(kernel_state::routes_over(world, "vlan2"),
              "default via 10.0.0.1 metric 20 scope global\n");
}

struct failure {
    const char *name;
    route::call request;
    int error;
    const char *message;
};

const failure FAILURES[] = {
    {"the same route twice",
     {route_add, "vlan2", 0, "10.9.0.0", nullptr, "255.255.0.0"},
     EEXIST,
     "vlan2: File exists\n"},
    {"a route that is not there",
     {route_del, "vlan2", 0, "10.8.0.0", nullptr, "255.255.0.0"},
     ESRCH,
     "vlan2: No such process\n"},
    {"a gateway out of reach",
     {route_add, "vlan2", 0, "0.0.0.0", "192.0.2.1", "0.0.0.0"},
     ENETUNREACH,
     "vlan2: Network is unreachable\n"},
    {"a missing device",
     {route_add, "vlan9", 0, "10.8.0.0", nullptr, "255.255.0.0"},
     ENODEV,
     "vlan9: No such device\n"},
    {"a destination beyond its netmask",
     {route_add, "vlan2", 0, "10.8.0.1", nullptr, "255.255.0.0"},
     EINVAL,
     "vlan2: Invalid argument\n"},
    {"a netmask that is none counts as a host's",
     {route_add, "vlan2", 0, "10.8.0.1", nullptr, "none"},
     0,
     ""},
    {"a destination that is none",
     {route_add, "vlan2", 0, "none", nullptr, "255.255.255.0"},
     EINVAL,
     "vlan2: Invalid argument\n"},
};

TEST_F(route, failing_is_reported_with_the_device)
{
    ASSERT_EQ(route_add("vlan2", 0, "10.9.0.0", nullptr, "255.255.0.0"), 0);
    for (const failure &row : FAILURES) {
        SCOPED_TRACE(row.name);
        call failing = row.request;
        EXPECT_EQ(made(failing), row.message);
        EXPECT_EQ(failing.result, row.error);
    }
}

TEST_F(route, without_a_socket_fails)
{
    world.on("fail EMFILE socket inet dgram 0");
    for (auto routine : {route_add, route_del}) {
        call failing = {routine, "vlan2", 0, "10.9.0.0", nullptr, "255.255.0.0"};
        EXPECT_EQ(made(failing), "vlan2: Too many open files\n");
        EXPECT_EQ(failing.result, EMFILE);
    }
}

TEST_F(route, failing_as_told_gives_the_error_number)
{
    world.on("fail EPERM ioctl vlan2 SIOCDELRT");
    call refused = {route_del, "vlan2", 0, "10.9.0.0", nullptr, "255.255.0.0"};
    EXPECT_EQ(made(refused), "vlan2: Operation not permitted\n");
    EXPECT_EQ(refused.result, EPERM);
}

TEST_F(route, metric_goes_through_sixteen_bits)
{
    EXPECT_EQ(route_add("vlan2", 65536 + 8, "10.9.0.0", nullptr, "255.255.0.0"), 0);
    EXPECT_EQ(kernel_state::routes_over(world, "vlan2"), "10.9.0.0/16 metric 7 scope link\n");
}

} // namespace
