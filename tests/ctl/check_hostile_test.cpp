// mctl check on files that no web interface writes: whatever lies there, it is a finding, and the
// check neither waits, nor crashes, nor follows a link out of the tree.
#include "ctl/check/report.h"
#include "ctl/code_test.h"

#include <algorithm>
#include <fcntl.h>
#include <stdio.h>
#include <string>
#include <sys/stat.h>

namespace
{

using namespace check_test;

class check_hostile : public support::unit_test
{
  protected:
    void SetUp() override
    {
        unit_test::SetUp();
        write_good_settings(&world, "/tree");
    }

    static checked check() { return check_test::check("/tree"); }

    // The one finding that there is about the rules.
    static std::string about_rules()
    {
        std::vector<std::string> found = findings(check().text);
        EXPECT_EQ(found.size(), 1U) << testing::PrintToString(found);
        return found.empty() ? "" : found[0];
    }

    void replace_rules() { world.remove(std::string("/tree") + RULES); }
};

std::string rules_error(const std::string &code)
{
    return std::string(RULES) + ":0:-: error: " + code;
}

TEST_F(check_hostile, good_settings)
{
    checked seen = check();
    EXPECT_EQ(seen.text, "0 errors, 0 warnings\n");
    EXPECT_EQ(seen.status, 0);
}

TEST_F(check_hostile, a_directory)
{
    replace_rules();
    world.mkdir("/tree/etc/default/rules");
    EXPECT_EQ(about_rules(), rules_error("not-a-file"));
}

TEST_F(check_hostile, a_fifo_is_not_waited_for)
{
    replace_rules();
    ASSERT_EQ(mkfifo("/tree/etc/default/rules", 0600), 0);
    EXPECT_EQ(about_rules(), rules_error("not-a-file"));
}

TEST_F(check_hostile, a_loop_of_links)
{
    replace_rules();
    world.symlink("rules", "/tree/etc/default/rules");
    EXPECT_EQ(about_rules(), rules_error("unreadable"));
}

TEST_F(check_hostile, a_link_is_followed_below_the_root)
{
    replace_rules();
    world.write("/tree/spare/list", "drop pest - 203.0.113.66 - - - - -\n");
    world.symlink("/spare/../../spare/./list", "/tree/etc/default/rules");
    EXPECT_EQ(about_rules(), std::string(RULES) + ":1:action: error: action");
}

TEST_F(check_hostile, a_link_does_not_lead_out)
{
    replace_rules();
    world.write("/outside", "drop pest - 203.0.113.66 - - - - -\n");
    world.symlink("../../../outside", "/tree/etc/default/rules");
    EXPECT_EQ(about_rules(), std::string(RULES) + ":0:-: warning: missing");
}

TEST_F(check_hostile, a_link_of_a_directory_on_the_way)
{
    world.remove("/tree/etc/TZ");
    ASSERT_EQ(rename("/tree/etc/default", "/tree/ro"), 0);
    world.symlink("/ro", "/tree/etc/default");
    EXPECT_EQ(support::lines_of(check().text).size(), 2U);
}

TEST_F(check_hostile, a_million_lines)
{
    std::string lines;
    for (int i = 0; i < 1000000; i++)
        lines += "DROP pest - 203.0.113.66 - - - - -\n";
    world.write("/tree/etc/default/rules", lines);
    EXPECT_EQ(about_rules(), rules_error("too-large"));
    EXPECT_EQ(check().status, 1);
}

TEST_F(check_hostile, an_endless_line)
{
    world.write("/tree/etc/default/rules", std::string(900000, 'x'));
    EXPECT_EQ(about_rules(), std::string(RULES) + ":1:-: error: long-line");
}

TEST_F(check_hostile, more_findings_than_are_shown)
{
    std::string lines;
    for (unsigned i = 0; i < FINDINGS_SHOWN + 7; i++)
        lines += "drop pest - 203.0.113.66 - - - - -\n";
    world.write("/tree/etc/default/rules", lines);
    std::vector<std::string> all = support::lines_of(check().text);
    ASSERT_EQ(all.size(), FINDINGS_SHOWN + 2);
    EXPECT_TRUE(support::begins_with(all[FINDINGS_SHOWN], rules_error("too-many") + ": 7 more"));
}

// A key is shown as the finding's field.
TEST_F(check_hostile, a_key_of_any_bytes)
{
    world.write("/tree/etc/default/ip_filter", "FIREWALL_ENABL\xff\x1b[2J=0\n");
    const std::string text = check().text;
    EXPECT_NE(text.find("/etc/default/ip_filter:1:FIREWALL_ENABL\\xff\\x1b[2J: error: key-prefix"),
              std::string::npos)
        << text;
}

// Each file in turn holds all bytes in an order that a fixed seed gives.
TEST_F(check_hostile, any_bytes)
{
    static constexpr char usual[] = " -\n#=01.a\t\r\0";
    unsigned state = 1;
    for (const std::string &name : world.list("/tree/etc/default")) {
        for (int round = 0; round < 6; round++) {
            std::string bytes;
            for (int i = 0; i < 2000; i++) {
                state = state * 1664525 + 1013904223;
                unsigned char byte = static_cast<unsigned char>(state >> 24);
                bytes += round % 2 == 0 ? static_cast<char>(byte) : usual[byte % (sizeof usual)];
            }
            world.write("/tree/etc/default/" + name, bytes);
            std::string text = check().text;
            bool is_plain = std::all_of(text.begin(), text.end(),
                                        [](char c) { return c == '\n' || (c >= ' ' && c <= '~'); });
            EXPECT_TRUE(is_plain) << name << " " << round;
        }
    }
}

} // namespace
