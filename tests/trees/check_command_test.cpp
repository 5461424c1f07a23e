// "mctl check" as a person or the web interface starts it: the settings that are meant to be right,
// the two forms of what it writes, and its exit status.
#include "support/rows.h"
#include "support/scratch.h"
#include "support/texts.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <jansson.h>
#include <string>
#include <vector>

namespace
{

using support::said;

said mctl(const std::string &words)
{
    return support::run_line(std::string(MCTL_PROGRAM) + " " + words);
}

// Settings directories laid over each other, for as long as the object lives.
class settings : public support::scratch_directory
{
  public:
    explicit settings(const std::vector<std::string> &layers) : scratch_directory("settings")
    {
        using std::filesystem::copy_options;
        for (const std::string &layer : layers)
            std::filesystem::copy(std::string(MCFG_SOURCE_DIR) + "/" + layer, path(),
                                  copy_options::recursive | copy_options::overwrite_existing);
    }

    said check(const std::string &options = "") const
    {
        return mctl("check " + options + " --root " + path().string());
    }
};

struct right_case {
    const char *name;
    std::vector<std::string> layers;
    std::vector<std::string> warnings; // up to their codes
};

class right_settings : public testing::TestWithParam<right_case>
{
};

TEST_P(right_settings, have_no_error_and_no_other_warning)
{
    settings tree(GetParam().layers);
    said seen = tree.check();
    EXPECT_EQ(seen.status, 0);
    std::vector<std::string> lines = support::lines_of(seen.text);
    ASSERT_EQ(lines.size(), GetParam().warnings.size() + 1) << seen.text;
    for (size_t i = 0; i < GetParam().warnings.size(); i++)
        EXPECT_TRUE(support::begins_with(lines[i], GetParam().warnings[i] + ": ")) << lines[i];
}

// The tunnels of the example rest over its WAN by DHCP, which its README says.
constexpr char RESTS[] = "/etc/default/ppp-peers:2:auto: warning: never-dialled";

// So does what its MAC filter does to PPPoE.
constexpr char HANGS[] = "/etc/default/ip_filter:7:MAC_FILTER_ENABLE: warning: mss-bypassed";

// clang-format off
INSTANTIATE_TEST_SUITE_P(rows, right_settings, testing::Values(
    right_case{"router", {"examples/router"}, {RESTS}},
    right_case{"pppoe", {"examples/router", "examples/pppoe"}, {HANGS}},
    right_case{"static_wan", {"examples/router", "lab/settings/static-wan"}, {RESTS}},
    right_case{"no_tunnels", {"examples/router", "lab/settings/no-tunnels"}, {}},
    // Three are dialled at most, which is what these settings show.
    right_case{"four_tunnels", {"examples/router", "examples/pppoe", "lab/settings/four-tunnels"},
               {"/etc/default/ppp-peers:5:auto: warning: never-dialled", HANGS}},
    // The provider's lease brings the route, which the settings cannot tell.
    right_case{"l2tp", {"examples/router", "lab/settings/l2tp"},
               {"/etc/default/ppp-peers:2:server: warning: server-route"}}),
    support::row_name);
// clang-format on

constexpr char BAD_RULES[] =
    "drop \"a - 203.0.113.66 - - - - -\nDROP b - 203.0.113.666 - - - - -\n";

TEST(mctl_check, sums_up_and_ends_with_1_for_an_error)
{
    settings tree({"examples/router", "lab/settings/no-tunnels"});
    tree.write("/etc/default/rules", BAD_RULES);
    said seen = tree.check();
    EXPECT_EQ(seen.status, 1);
    EXPECT_EQ(
        seen.text,
        "/etc/default/rules:1:action: error: action: only DROP drops; \"drop\" accepts; write "
        "DROP or ACCEPT\n"
        "/etc/default/rules:2:source: error: network: \"203.0.113.666\" is no address, network "
        "or range that iptables takes, so it refuses the whole table; write an address, "
        "ADDRESS/BITS or - for any; in rules also FIRST-LAST\n"
        "2 errors, 0 warnings\n");
}

TEST(mctl_check, writes_json)
{
    settings tree({"examples/router", "lab/settings/no-tunnels"});
    tree.write("/etc/default/rules", BAD_RULES);
    said seen = tree.check("--json");
    EXPECT_EQ(seen.status, 1);
    json_t *array = json_loads(seen.text.c_str(), 0, nullptr);
    ASSERT_EQ(json_array_size(array), 2U) << seen.text;
    const char *file = nullptr;
    const char *field = nullptr;
    const char *severity = nullptr;
    const char *code = nullptr;
    const char *text = nullptr;
    const char *cure = nullptr;
    int line = 0;
    EXPECT_EQ(json_unpack(json_array_get(array, 0), "{s:s, s:i, s:s, s:s, s:s, s:s, s:s !}", "file",
                          &file, "line", &line, "field", &field, "severity", &severity, "code",
                          &code, "text", &text, "cure", &cure),
              0);
    EXPECT_STREQ(file, "/etc/default/rules");
    EXPECT_EQ(line, 1);
    EXPECT_STREQ(field, "action");
    EXPECT_STREQ(severity, "error");
    EXPECT_STREQ(code, "action");
    EXPECT_STREQ(text, "only DROP drops; \"drop\" accepts");
    EXPECT_STREQ(cure, "write DROP or ACCEPT");
    json_decref(array);
}

TEST(mctl_check, writes_json_of_nothing)
{
    settings tree({"examples/router", "lab/settings/no-tunnels"});
    EXPECT_EQ(tree.check("--json").text, "[]\n");
}

TEST(mctl_check, shows_no_secret)
{
    settings tree({"examples/router", "lab/settings/no-tunnels"});
    tree.write("/etc/default/ppp-peers", "wan1 pppoe x login s3cret\t vlan2 ac1 isp x\n"
                                         "wan1 pppoe x " +
                                             std::string(70, 'l') + " s3cret-" +
                                             std::string(70, 's') + " - - - -\n");
    tree.write("/etc/nvram/1", "BssidNum=1\nSSID1=a\nAuthMode=WPA2PSK\nEncrypType=AES\n"
                               "WPAPSK1=s3cret\n");
    std::string text = tree.check().text;
    EXPECT_NE(text.find("auth-key"), std::string::npos) << text;
    EXPECT_EQ(text.find("s3cret"), std::string::npos) << text;
    EXPECT_EQ(text.find("llll"), std::string::npos) << text;
}

TEST(mctl_check, takes_ten_thousand_entries_in_a_second)
{
    settings tree({"examples/router", "lab/settings/no-tunnels"});
    std::string schedules;
    std::string devices;
    for (int i = 0; i < 10000; i++) {
        std::string name = "s" + std::to_string(i);
        schedules += name + " 1 - 0111110 08001730 -\n";
        devices += "02:00:00:00:00:0A " + name + "\n";
    }
    tree.write("/etc/default/sched_list", schedules);
    tree.write("/etc/default/macfilter_list", devices);
    tree.write("/etc/default/url_filter", "");
    // Of the processor's time: others may be at work here.
    said seen =
        mctl("check --root " + tree.path().string() + " && true; s=$?; times | tail -n 1; exit $s");
    EXPECT_EQ(seen.status, 0);
    std::vector<std::string> lines = support::lines_of(seen.text);
    ASSERT_EQ(lines.size(), 2U) << seen.text;
    EXPECT_EQ(lines[0], "0 errors, 0 warnings");
    EXPECT_TRUE(support::begins_with(lines[1], "0m0.")) << lines[1];
}

struct usage_case {
    const char *name;
    const char *words;
    int status;
};

class mctl_usage : public testing::TestWithParam<usage_case>
{
};

TEST_P(mctl_usage, ends_with_its_status)
{
    said seen = mctl(std::string("2>&1 ") + GetParam().words);
    EXPECT_EQ(seen.status, GetParam().status);
    EXPECT_NE(seen.text, "");
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(rows, mctl_usage, testing::Values(
    usage_case{"nothing", "", 2},
    usage_case{"help", "--help", 0},
    usage_case{"help_of_check", "check --help", 0},
    usage_case{"help_of_status", "status --help", 0},
    usage_case{"help_of_firewall", "firewall --help", 0},
    usage_case{"help_of_heal", "heal --help", 0},
    usage_case{"help_of_report", "report --help", 0},
    usage_case{"other_command", "cheque", 2},
    usage_case{"other_option", "check --rot /", 2},
    usage_case{"no_directory_given", "check --root", 2},
    usage_case{"no_such_directory", "check --root /nowhere", 2},
    usage_case{"a_file", "check --root /proc/self/status", 2},
    usage_case{"full_device", "check --root / > /dev/full", 2}),
    support::row_name);
// clang-format on

} // namespace
