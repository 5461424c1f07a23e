#include "util/log.h"

#include "support/unit_test.h"

#include <string>

namespace
{

using logging = support::unit_test;

// The recorder writes "log TAG: TEXT" only for facility 0, no options and priority 0.
TEST_F(logging, sends_one_line_as_kernel_emergency)
{
    logmessage("mcfg-wan_up", "iface = %s, metric = %d", "vlan2", 5);
    EXPECT_TRACE(R"(
        log mcfg-wan_up: iface = vlan2, metric = 5
    )",
                 world.trace());
}

TEST_F(logging, keeps_511_characters)
{
    std::string text(600, 'x');
    logmessage("tag", "%s", text.c_str());
    EXPECT_EQ(world.trace(), "log tag: " + std::string(511, 'x') + "\n");
}

TEST_F(logging, keeps_511_characters_of_exactly_512)
{
    std::string text(512, 'y');
    logmessage("tag", "%s", text.c_str());
    EXPECT_EQ(world.trace(), "log tag: " + std::string(511, 'y') + "\n");
}

TEST_F(logging, keeps_a_line_end_in_the_text)
{
    logmessage("tag", "value = %x\n", 0x800U);
    EXPECT_EQ(world.trace(), "log tag: value = 800\\n\n");
}

TEST_F(logging, does_not_read_placeholders_in_a_value)
{
    logmessage("tag", "%s", "100%s%n");
    EXPECT_EQ(world.trace(), "log tag: 100%s%n\n");
}

} // namespace
