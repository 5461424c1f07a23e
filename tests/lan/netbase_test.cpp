#include "lan/netbase.h"

#include "support/unit_test.h"

#include <sys/wait.h>

namespace
{

class netbase_results : public support::unit_test
{
  protected:
    void SetUp() override
    {
        support::unit_test::SetUp();
        world.on("skip ioctl");
    }
};

TEST_F(netbase_results, of_stopping_is_the_status_of_the_last_script)
{
    EXPECT_EQ(netbase_stop(), 0);
    world.on("exit 1 brctl");
    EXPECT_EQ(netbase_stop(), 0);
    world.on("exit 3 /etc/init.d/scripts/dnsmasq.rc stop");
    EXPECT_EQ(WEXITSTATUS(netbase_stop()), 3);
}

TEST_F(netbase_results, of_vlans_and_bridge_is_that_of_the_last_tool)
{
    EXPECT_EQ(vconfig("br0"), 0);
    world.on("exit 4 brctl addif");
    EXPECT_EQ(vconfig("br0"), 0);
    world.on("exit 5 brctl stp");
    EXPECT_EQ(vconfig("br0"), 5);
}

// The interface is handed on to the wireless start, which does not read it either.
TEST_F(netbase_results, do_not_depend_on_the_lan_interface)
{
    vconfig("br0");
    std::string trace = world.trace();
    world.clear_trace();
    vconfig("");
    EXPECT_EQ(world.trace(), trace);
}

} // namespace
