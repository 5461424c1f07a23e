#include "firewall/schedule.h"

#include "support/settings_files.h"
#include "support/unit_test.h"

#include <string>

namespace
{

using namespace settings_files;
using std::string_literals::operator""s;

struct match_case {
    const char *name;
    const char *days;
    const char *time;
    int result;
    const char *match;
};

class time_match : public testing::TestWithParam<match_case>
{
};

TEST_P(time_match, is_written)
{
    char out[TIME_MATCH_MAX] = "left from before";
    EXPECT_EQ(timematch_conv_morvi(out, GetParam().days, GetParam().time), GetParam().result);
    EXPECT_STREQ(out, GetParam().match);
}

INSTANTIATE_TEST_SUITE_P(
    times, time_match,
    testing::Values(
        match_case{"two_blanks_before_the_first_day", "0111110", "08001730", 0,
                   "-m time --timestart 08:00 --timestop 17:30 --days  Mon,Tue,Wed,Thu,Fri"},
        match_case{"one_day", "0100000", "22300600", 0,
                   "-m time --timestart 22:30 --timestop 06:00 --days  Mon"},
        match_case{"sunday_is_first_and_saturday_last", "1000001", "08001730", 0,
                   "-m time --timestart 08:00 --timestop 17:30 --days  Sun,Sat"},
        match_case{"every_day_but_not_all_of_it", "1111111", "22000600", 0,
                   "-m time --timestart 22:00 --timestop 06:00 --days  "
                   "Sun,Mon,Tue,Wed,Thu,Fri,Sat"},
        match_case{"all_day_but_not_every_day", "0111111", "00002359", 0,
                   "-m time --timestart 00:00 --timestop 23:59 --days  Mon,Tue,Wed,Thu,Fri,Sat"},
        match_case{"the_whole_week_is_no_condition", "1111111", "00002359", 0, ""},
        match_case{"no_day_at_all", "0000000", "08001730", 0,
                   "-m time --timestart 08:00 --timestop 17:30 --days "},
        match_case{"only_ones_count", "2x1-+ 1", "08001730", 0,
                   "-m time --timestart 08:00 --timestop 17:30 --days  Tue,Sat"},
        match_case{"digits_are_not_checked", "1000000", "99zz--**", 0,
                   "-m time --timestart 99:zz --timestop --:** --days  Sun"},
        match_case{"days_too_short", "111111", "08001730", -1, ""},
        match_case{"days_too_long", "11111111", "08001730", -1, ""},
        match_case{"time_too_short", "1111111", "0800173", -1, ""},
        match_case{"time_with_its_line_end", "1111111", "08001730\n", -1, ""},
        match_case{"nothing", "", "", -1, ""}),
    support::row_name);

struct lookup_case {
    const char *name;
    std::string list;
    const char *expected; // days and time, each with a bar behind it; "none" when not found
};

class schedule_list : public support::unit_test, public testing::WithParamInterface<lookup_case>
{
};

std::string look_up(const char *name)
{
    char days[LIST_FIELD_MAX] = "";
    char time[LIST_FIELD_MAX] = "";
    const char *found = get_sched_by_name(name, days, time);
    if (found == nullptr)
        return "none";
    EXPECT_EQ(found, name);
    return std::string(days) + "|" + time + "|";
}

TEST_P(schedule_list, is_searched_for_night)
{
    world.write(SCHEDULES, GetParam().list);
    EXPECT_EQ(look_up("night"), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    lists, schedule_list,
    testing::Values(
        lookup_case{"empty", "", "none"},
        lookup_case{"found", "night 1 - 1111111 22000600 -\n", "1111111|22000600|"},
        lookup_case{"behind_others", "work 1 - 0111110 08001730 -\nnight 1 - 1111111 22000600 -\n",
                    "1111111|22000600|"},
        lookup_case{"line_end_is_kept", "night 1 - 1111111 22000600\n", "1111111|22000600\n|"},
        lookup_case{"line_end_of_the_last_line_is_missing", "night 1 - 1111111 22000600",
                    "1111111|22000600|"},
        lookup_case{"off", "night 0 - 1111111 22000600 -\n", "none"},
        lookup_case{"only_1_is_on", "night yes - 1111111 22000600 -\n", "none"},
        lookup_case{"one_that_is_off_does_not_hide_a_later_one",
                    "night 0 - 1111111 22000600 -\nnight 1 - 1000000 10001100 -\n",
                    "1000000|10001100|"},
        lookup_case{"first_one_counts",
                    "night 1 - 1111111 22000600 -\nnight 1 - 1000000 10001100 -\n",
                    "1111111|22000600|"},
        lookup_case{"behind_two_of_one_name",
                    "day 1 - 0111110 08001730 -\nday 1 - 0111110 08001730 -\n"
                    "night 1 - 1111111 22000600 -\n",
                    "1111111|22000600|"},
        lookup_case{"other_case", "Night 1 - 1111111 22000600 -\n", "none"},
        lookup_case{"longer_name", "nights 1 - 1111111 22000600 -\n", "none"},
        lookup_case{"white_space_before", " night 1 - 1111111 22000600 -\n", "none"},
        lookup_case{"runs_of_blanks", "night  1   - 1111111  22000600 -\n", "1111111|22000600|"},
        lookup_case{"tabs_do_not_separate", "night\t1\t-\t1111111\t22000600\t-\n", "none"},
        lookup_case{"short_line_has_the_times_of_the_one_before",
                    "work 1 - 0111110 08001730 -\nnight 1 -\n", "0111110|08001730|"},
        lookup_case{"short_first_line_has_no_times", "night 1 \n", "||"},
        lookup_case{"name_alone_ends_in_its_line_end", "work 1 - 0111110 08001730 -\nnight\n",
                    "none"},
        lookup_case{"name_alone_at_the_end_of_the_file", "work 1 - 0111110 08001730 -\nnight",
                    "0111110|08001730|"},
        lookup_case{"binary", "\x00\xff\x01 1\n\x7f\x00"s, "none"},
        lookup_case{"fields_are_cut_at_31",
                    "night 1 - " + std::string(40, '1') + " " + std::string(40, '2') + " -\n",
                    "1111111111111111111111111111111|2222222222222222222222222222222|"},
        lookup_case{"over_long_line_goes_on_as_the_next",
                    std::string(254, 'x') + "night 1 - 1111111 22000600 -\n", "1111111|22000600|"}),
    support::row_name);

TEST_F(schedule_list, a_comment_sign_is_part_of_a_name)
{
    world.write(SCHEDULES, "#night 1 - 1111111 22000600 -\n");
    EXPECT_EQ(look_up("#night"), "1111111|22000600|");
}

TEST_F(schedule_list, may_be_long)
{
    std::string list;
    for (int i = 1; i <= 600; i++)
        list += "schedule" + std::to_string(i) + " 1 - 1111111 " + std::to_string(i) + " -\n";
    world.write(SCHEDULES, list);
    for (int i = 1; i <= 600; i++)
        EXPECT_EQ(look_up(("schedule" + std::to_string(i)).c_str()),
                  "1111111|" + std::to_string(i) + "|");
    EXPECT_EQ(look_up("schedule601"), "none");
}

TEST_F(schedule_list, that_is_missing_is_reported_and_has_no_schedules)
{
    std::string found;
    std::string messages = support::private_world::captured(
        2, [](void *out) { *static_cast<std::string *>(out) = look_up("night"); }, &found);
    EXPECT_EQ(found, "none");
    EXPECT_EQ(messages, "/etc/default/sched_list: No such file or directory\n");
}

struct use_case {
    const char *name;
    const char *schedule;
    const char *expected;
};

class schedule_use : public support::unit_test, public testing::WithParamInterface<use_case>
{
};

TEST_P(schedule_use, leaves_or_changes_the_match_before)
{
    world.write(SCHEDULES, "mon 1 - 0100000 08001730 -\n"
                           "week 1 - 1111111 00002359 -\n"
                           "bad 1 - 0100000 8-17 -\n"
                           "off 0 - 0100000 08001730 -\n"
                           "always 1 - 0100000 08001730 -\n");
    forget_schedules();
    char out[TIME_MATCH_MAX] = "before";
    schedule_to_match(out, GetParam().schedule);
    EXPECT_STREQ(out, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    schedules, schedule_use,
    testing::Values(
        use_case{"found", "mon", "-m time --timestart 08:00 --timestop 17:30 --days  Mon"},
        use_case{"whole_week_clears_it", "week", ""}, use_case{"wrong_length_clears_it", "bad", ""},
        use_case{"off_leaves_it", "off", "before"}, use_case{"unknown_leaves_it", "tue", "before"},
        use_case{"always_leaves_it_and_is_never_looked_up", "always", "before"},
        use_case{"none_leaves_it", "", "before"}),
    support::row_name);

} // namespace
