// "update_time": the zone of the kernel's clock.
#include "support/expect.h"
#include "support/router_box.h"
#include "support/rows.h"

#include <gtest/gtest.h>

namespace
{

// Noon and the like on 1 August 2026, in seconds: far from any change of date.
constexpr long HOUR = 3600;
constexpr long MIDNIGHT = 1785542400;

struct zone_case {
    const char *name;
    std::string zone; // content of /etc/TZ
    long hour;        // UTC
    int local_hour;
    int west;
};

class update_time_command : public testing::TestWithParam<zone_case>
{
};

TEST_P(update_time_command, sets_the_zone_and_leaves_the_clock)
{
    const zone_case &row = GetParam();
    std::string now = std::to_string(MIDNIGHT + row.hour * HOUR) + ".250017";
    support::router_box box;
    box.write("/etc/TZ", row.zone);
    box.on("clock " + now + " 17 1");
    support::outcome seen = box.run({"update_time"});
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(seen.out, "");
    EXPECT_EQ(seen.err, "");
    EXPECT_TRACE("log update_time: start\n"
                 "log update_time: /etc/TZ\n"
                 "log update_time: gm.tm_hour = " +
                     std::to_string(row.hour) +
                     ", local.tm_hour = " + std::to_string(row.local_hour) +
                     "\n"
                     "settimeofday " +
                     now + " " + std::to_string(row.west) +
                     " 1\n"
                     "log update_time: done\n",
                 seen.trace);
}

INSTANTIATE_TEST_SUITE_P(
    zones, update_time_command,
    testing::Values(zone_case{"three_hours_east", "UTC-3\n", 10, 13, -180},
                    zone_case{"five_hours_west", "EST5\n", 10, 5, 300},
                    zone_case{"utc", "UTC0\n", 10, 10, 0},
                    zone_case{"only_whole_hours_count", "IST-5:30\n", 10, 15, -300},
                    zone_case{"past_midnight_is_a_day_off", "UTC-3\n", 22, 1, 1260},
                    zone_case{"before_midnight_is_a_day_off", "EST5\n", 2, 21, -1140},
                    zone_case{"summer_time_counts", "CET-1CEST,M3.5.0,M10.5.0/3\n", 10, 12, -120},
                    zone_case{"line_end_and_blanks_are_trimmed", "UTC-3 \r\n", 10, 13, -180},
                    zone_case{"no_line_end", "UTC-3", 10, 13, -180},
                    zone_case{"only_the_first_line_counts", "UTC-3\nEST5\n", 10, 13, -180},
                    zone_case{"empty_line_is_utc", "\n", 10, 10, 0},
                    zone_case{"binary_is_utc", std::string("\xff\x01\x02\n"), 10, 10, 0},
                    // The 64th character would make it eleven hours.
                    zone_case{"cut_at_63_characters", "<" + std::string(59, 'A') + ">-11\n", 10, 11,
                              -60}),
    support::row_name);

TEST(update_time_without_zone_file, takes_the_zone_of_the_environment)
{
    support::router_box box;
    box.on("clock 1785578400 0 0");
    support::outcome seen = box.run({"update_time"}, {{"TZ", "EST5"}});
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(seen.err, "");
    EXPECT_TRACE(R"(
        log update_time: start
        log update_time: nvram
        log update_time: gm.tm_hour = 10, local.tm_hour = 5
        settimeofday 1785578400 300 0
        log update_time: done
    )",
                 seen.trace);
}

TEST(update_time_without_zone_file, treats_an_empty_one_the_same)
{
    support::router_box box;
    box.write("/etc/TZ", "");
    box.on("clock 1785578400 0 0");
    support::outcome seen = box.run({"/usr/sbin/update_time.sh"}, {{"TZ", "EST5"}});
    EXPECT_TRACE(R"(
        log update_time: start
        log update_time: nvram
        log update_time: gm.tm_hour = 10, local.tm_hour = 5
        settimeofday 1785578400 300 0
        log update_time: done
    )",
                 seen.trace);
}

TEST(update_time_without_zone_file, is_done_also_when_the_kernel_refuses)
{
    support::router_box box;
    box.on("clock 1785578400 0 0");
    box.on("fail EINVAL settimeofday");
    support::outcome seen = box.run({"update_time"}, {{"TZ", "EST5"}});
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(seen.err, "");
    EXPECT_TRACE(R"(
        log update_time: start
        log update_time: nvram
        log update_time: gm.tm_hour = 10, local.tm_hour = 5
        settimeofday 1785578400 300 0 = EINVAL
        log update_time: done
    )",
                 seen.trace);
}

} // namespace
