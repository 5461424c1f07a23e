#include "util/device.h"

#include "support/descriptors.h"
#include "support/unit_test.h"

namespace
{

class device : public support::unit_test
{
};

TEST_F(device, switch_is_bit_11_of_the_driver_s_word)
{
    world.write("/dev/gpio", "");
    world.on("gpio 0x800 #1");
    world.on("gpio 0xfffff7ff #1");
    EXPECT_EQ(get_wan_type(), 0);
    EXPECT_EQ(get_wan_type(), 1);
}

TEST_F(device, switch_that_cannot_be_read_is_told)
{
    world.write("/dev/gpio", "");
    const std::set<int> open = support::open_descriptors();
    std::string said = support::private_world::captured(
        2, [](void *) { EXPECT_EQ(get_wan_type(), -1); }, nullptr);
    EXPECT_EQ(said, "ioctl: Inappropriate ioctl for device\n");
    EXPECT_EQ(support::open_descriptors(), open);
}

TEST_F(device, params_are_written_also_when_nothing_can_be)
{
    world.mkdir("/etc/device_params");
    world.mkdir("/tmp/lanwanext.conf");
    EXPECT_EQ(update_device_mode(), 1);
    EXPECT_EQ(set_device_params(), 1);
    world.remove("/etc/device_params");
    EXPECT_EQ(update_device_mode(), 1);
    EXPECT_EQ(world.read("/etc/device_params"), "DEVICE_NAME=UNKNOWN\nDEVICE_MODE=UNKNOWN\n");
}

} // namespace
