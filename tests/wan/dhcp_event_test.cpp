#include "wan/dhcp_event.h"

#include "support/unit_test.h"

#include <errno.h>
#include <stdlib.h>
#include <string>

namespace
{

class event_name : public support::unit_test
{
};

int run(const char *event)
{
    char program[] = "udhcpc";
    std::string name = event;
    char *argv[] = {program, name.data(), nullptr};
    return udhcpc_main(2, argv);
}

TEST_F(event_name, is_kept_as_far_as_it_fits)
{
    EXPECT_EQ(run("renew"), 0);
    EXPECT_STREQ(udhcpstate, "renew");
    EXPECT_EQ(run("leasefail"), 0);
    EXPECT_STREQ(udhcpstate, "leasefa");
    EXPECT_EQ(run("nothing-renewed"), 0);
    EXPECT_STREQ(udhcpstate, "nothing");
}

TEST_F(event_name, is_left_alone_without_one)
{
    run("renew");
    char program[] = "udhcpc";
    char *argv[] = {program, nullptr};
    EXPECT_EQ(udhcpc_main(1, argv), EINVAL);
    EXPECT_STREQ(udhcpstate, "renew");
}

TEST_F(event_name, comes_with_values_of_63_characters)
{
    world.on("skip shell");
    for (size_t length : {size_t(63), size_t(64)}) {
        const std::string name(length, 'i');
        setenv("interface", name.c_str(), 1);
        run("deconfig");
        EXPECT_TRUE(world.exists("/tmp/udhcpc." + std::string(63, 'i') + ".expires"));
        world.remove("/tmp/udhcpc." + std::string(63, 'i') + ".expires");
    }
}

} // namespace
