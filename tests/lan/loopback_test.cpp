#include "lan/loopback.h"

#include "support/kernel_state.h"
#include "support/unit_test.h"

#include <errno.h>
#include <string>

namespace
{

class loopback : public support::unit_test
{
  public:
    static std::string said_by_config(int &result)
    {
        return support::private_world::captured(
            2, [](void *context) { *static_cast<int *>(context) = config_loopback(); }, &result);
    }
};

TEST_F(loopback, has_its_address_and_network)
{
    EXPECT_EQ(config_loopback(), 0);
    EXPECT_EQ(kernel_state::addresses(world, "lo"), "127.0.0.1/8 broadcast 127.255.255.255");
    EXPECT_EQ(kernel_state::flags(world, "lo"), "LOOPBACK,MULTICAST,UP,LOWER_UP");
    EXPECT_EQ(kernel_state::routes_over(world, "lo"), "127.0.0.0/8 scope link\n");
    EXPECT_TRACE(R"(
        ioctl lo SIOCSIFFLAGS 0x1043
        ioctl lo SIOCSIFADDR 127.0.0.1
        ioctl lo SIOCSIFNETMASK 255.0.0.0
        ioctl lo SIOCSIFBRDADDR 127.255.255.255
        ioctl lo SIOCADDRT 127.0.0.0/255.0.0.0 metric 0 flags 0x1
    )",
                 world.trace());
}

TEST_F(loopback, gives_the_result_of_the_route_only)
{
    world.on("fail EPERM ioctl lo SIOCSIFADDR #1");
    int result = -1;
    std::string said = said_by_config(result);
    EXPECT_EQ(said.substr(0, 28), "lo: Operation not permitted\n");
    EXPECT_TRACE(R"(
        ioctl lo SIOCSIFFLAGS 0x1043
        ioctl lo SIOCSIFADDR 127.0.0.1 = EPERM
        ioctl lo SIOCADDRT 127.0.0.0/255.0.0.0 metric 0 flags 0x1
    )",
                 world.trace());
    EXPECT_EQ(result, 0);

    world.on("fail ENOMEM ioctl lo SIOCADDRT");
    EXPECT_EQ(said_by_config(result), "lo: Cannot allocate memory\n");
    EXPECT_EQ(result, ENOMEM);
}

TEST_F(loopback, configured_twice_finds_its_route_there)
{
    int result = config_loopback();
    EXPECT_EQ(said_by_config(result), "lo: File exists\n");
    EXPECT_EQ(result, EEXIST);
}

} // namespace
