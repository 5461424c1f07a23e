#include "util/time_zone.h"

#include "support/unit_test.h"

#include <stdlib.h>
#include <string>

namespace
{

class time_zone : public support::unit_test
{
  protected:
    void TearDown() override { unsetenv("TZ"); }
};

// The records of the two system calls have the size that the machine's own kernel expects: the time
// and the daylight field come back as they were read.
TEST_F(time_zone, is_set_together_with_the_time_as_read)
{
    world.write("/etc/TZ", "UTC-3\n");
    world.on("clock 1785578400 17 1");
    update_time();
    EXPECT_TRACE(R"(
        log update_time: start
        log update_time: /etc/TZ
        log update_time: gm.tm_hour = 10, local.tm_hour = 13
        settimeofday 1785578400 -180 1
        log update_time: done
    )",
                 world.trace());
    EXPECT_STREQ(getenv("TZ"), "UTC-3");
}

TEST_F(time_zone, is_the_devices_whatever_it_was_before)
{
    setenv("TZ", "UTC+5", 1);
    world.write("/etc/TZ", "UTC-3\n");
    update_time();
    EXPECT_STREQ(getenv("TZ"), "UTC-3");
}

TEST_F(time_zone, of_a_clock_that_cannot_be_read_is_not_set)
{
    world.write("/etc/TZ", "UTC-3\n");
    world.on("fail ENOSYS gettimeofday");
    EXPECT_EQ(support::private_world::captured(
                  2, [](void *) { update_time(); }, nullptr),
              "update_time: Function not implemented\n");
    EXPECT_EQ(world.trace_of({"gettimeofday", "settimeofday"}), "gettimeofday = ENOSYS\n");
    EXPECT_NE(world.trace().find("log update_time: done\n"), std::string::npos);
}

TEST_F(time_zone, of_the_environment_stays_without_a_zone_file)
{
    setenv("TZ", "EST5", 1);
    world.on("clock 1785578400 17 1");
    update_time();
    EXPECT_TRACE(R"(
        log update_time: start
        log update_time: nvram
        log update_time: gm.tm_hour = 10, local.tm_hour = 5
        settimeofday 1785578400 300 1
        log update_time: done
    )",
                 world.trace());
    EXPECT_STREQ(getenv("TZ"), "EST5");
}

} // namespace
