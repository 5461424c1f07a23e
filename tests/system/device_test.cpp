// "mcfg get_wan_type" and "mcfg set_device_params".
#include "support/expect.h"
#include "support/router_box.h"
#include "support/rows.h"

#include <gtest/gtest.h>

namespace
{

struct gpio_case {
    const char *name;
    const char *word;
    const char *out;
};

class wan_type_command : public testing::TestWithParam<gpio_case>
{
};

TEST_P(wan_type_command, tells_the_position_of_the_switch)
{
    support::router_box box;
    box.write("/dev/gpio", "");
    box.on(std::string("gpio 0x") + GetParam().word);
    support::outcome seen = box.run({"mcfg", "get_wan_type"});
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(seen.out, GetParam().out);
    EXPECT_EQ(seen.err, "");
    EXPECT_TRACE(std::string("ioctl /dev/gpio 2 -> 0x") + GetParam().word +
                     "\nlog get_wan_type: value = " + GetParam().word + "\\n\n",
                 seen.trace);
}

INSTANTIATE_TEST_SUITE_P(words, wan_type_command,
                         testing::Values(gpio_case{"only_the_switch", "800", "0\n"},
                                         gpio_case{"nothing", "0", "1\n"},
                                         gpio_case{"all_but_the_switch", "fffff7ff", "1\n"},
                                         gpio_case{"everything", "ffffffff", "0\n"}),
                         support::row_name);

TEST(wan_type_command_without_board, says_so)
{
    support::router_box box;
    support::outcome seen = box.run({"mcfg", "get_wan_type"});
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(seen.out, "-1\n");
    EXPECT_EQ(seen.err, "/dev/gpio: No such file or directory\n");
    EXPECT_EQ(seen.trace, "");
}

TEST(wan_type_command_without_board, says_that_the_driver_does_not_answer)
{
    support::router_box box;
    box.write("/dev/gpio", "");
    support::outcome seen = box.run({"mcfg", "get_wan_type"});
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(seen.out, "-1\n");
    EXPECT_EQ(seen.err, "ioctl: Inappropriate ioctl for device\n");
    EXPECT_TRACE("ioctl /dev/gpio 2 = ENOTTY", seen.trace);
}

constexpr char DEVICE_PARAMS[] = "DEVICE_NAME=UNKNOWN\nDEVICE_MODE=UNKNOWN\n";

constexpr char PORT_MAP[] = R"(LAN="br0"
WAN="vlan2"
WLAN="ra0"
LAN_PORTS="1-4"
WLAN_PORTS="air"
WAN_PORTS="internet"

ALIAS_br0="LAN"
ALIAS_ra0="WLAN"
ALIAS_vlan2="WAN"
br0_PORTS="1-4"
ra0_PORTS="air"
vlan2_PORTS="internet"
)";

TEST(device_params_command, writes_the_two_files)
{
    support::router_box box;
    // What stands there is not read, neither here nor by a second run.
    box.write("/etc/default/device_params", "DEVICE_NAME=other\n");
    box.write("/etc/device_params", std::string(1000, 'x'));
    box.write("/tmp/lanwanext.conf", std::string(1000, 'x'));
    for (int run = 1; run <= 2; run++) {
        support::outcome seen = box.run({"mcfg", "set_device_params"});
        EXPECT_EQ(seen.status, 0);
        EXPECT_EQ(seen.out, "");
        EXPECT_EQ(seen.err, "");
        EXPECT_EQ(seen.trace, "");
        EXPECT_EQ(box.read("/etc/device_params"), DEVICE_PARAMS);
        EXPECT_EQ(box.read("/tmp/lanwanext.conf"), PORT_MAP);
    }
    EXPECT_EQ(box.read("/tmp/lanwanext.conf").size(), 194U);
}

TEST(device_params_command, writes_the_port_map_without_the_other_file)
{
    support::router_box box;
    box.mkdir("/etc/device_params");
    support::outcome seen = box.run({"mcfg", "set_device_params"});
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(seen.err, "");
    EXPECT_EQ(box.read("/tmp/lanwanext.conf"), PORT_MAP);
}

TEST(device_params_command, passes_over_a_port_map_that_cannot_be_written)
{
    support::router_box box;
    box.mkdir("/tmp/lanwanext.conf");
    support::outcome seen = box.run({"mcfg", "set_device_params"});
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(seen.err, "");
    EXPECT_EQ(box.read("/etc/device_params"), DEVICE_PARAMS);
}

} // namespace
