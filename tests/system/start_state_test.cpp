// The states that the program may be started in, and what it hands on.
#include "support/router_box.h"

#include <csignal>
#include <gtest/gtest.h>

namespace
{

using support::environment;
using support::outcome;

const std::string RULE_FILES[] = {"/tmp/nat_rules", "/tmp/filter_rules", "/tmp/mangle_rules"};
const environment BLOCK = {
    {"ACTION", "add"}, {"MINOR", "1"}, {"MAJOR", "8"}, {"PHYSDEVDRIVER", "sd"}};

class start_box : public support::router_box
{
  public:
    start_box()
    {
        copy_in(MCFG_SOURCE_DIR "/examples/router/etc", "/etc");
        interface("br0");
        in_network({"ip", "address", "add", "192.168.1.1/24", "dev", "br0"});
        set_time_limit(20000);
    }
    outcome update_firewall() { return run({"firewall_update", "br0", "vlan2"}); }
    std::string rules()
    {
        std::string all;
        for (const std::string &path : RULE_FILES)
            all += read(path);
        return all;
    }
};

class closed_at_start : public testing::TestWithParam<std::vector<int>>
{
};

TEST_P(closed_at_start, descriptors_are_not_those_of_files)
{
    start_box box;
    outcome usual = box.update_firewall();
    std::string rules = box.rules();
    box.start_from({GetParam(), {}, false});
    outcome result = box.update_firewall();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.trace, usual.trace);
    EXPECT_EQ(box.rules(), rules);
}

INSTANTIATE_TEST_SUITE_P(start_state, closed_at_start,
                         testing::Values(std::vector<int>{0}, std::vector<int>{1},
                                         std::vector<int>{2}, std::vector<int>{0, 1},
                                         std::vector<int>{1, 2}, std::vector<int>{0, 1, 2}));

TEST(start_state, without_devices_closed_descriptors_are_still_not_those_of_files)
{
    support::router_box box;
    box.copy_in(MCFG_SOURCE_DIR "/examples/router/etc", "/etc");
    outcome usual = box.run({"mcfg", "set_config"});
    std::string config = box.read("/var/run/Config");
    box.on("fail ENOENT open /dev/null");
    box.start_from({{0, 1, 2}, {}, false});
    box.run({"mcfg", "set_config"});
    EXPECT_EQ(box.read("/var/run/Config"), config);
}

TEST(start_state, an_ignored_end_of_children_does_not_fail_a_mount)
{
    start_box box;
    box.start_from({{}, {SIGCHLD}, false});
    outcome result = box.run({"hotplug", "block"}, BLOCK);
    EXPECT_EQ(result.trace.find("unsuccess"), std::string::npos) << result.trace;
    EXPECT_TRUE(box.exists("/media/sda1"));
}

TEST(start_state, a_reader_that_goes_away_does_not_stop_the_firewall)
{
    start_box box;
    std::string trace = box.update_firewall().trace;
    box.start_from({{}, {}, true});
    outcome result = box.update_firewall();
    EXPECT_EQ(result.signal, 0);
    EXPECT_EQ(result.trace, trace);
}

TEST(start_state, what_is_run_has_the_default_for_a_reader_that_goes_away)
{
    start_box box;
    box.remove_tool("/bin/mount");
    box.write("/bin/mount",
              "#!/bin/sh\n"
              "while read -r name mask; do\n"
              "  case $name in SigIgn:) echo \"$mask\" > /tmp/ignored ;; esac\n"
              "done < /proc/self/status\n",
              0755);
    box.start_from({{}, {SIGPIPE}, false});
    box.run({"hotplug", "block"}, BLOCK);
    unsigned long long ignored = std::stoull(box.read("/tmp/ignored"), nullptr, 16);
    EXPECT_EQ(ignored & 1ULL << (SIGPIPE - 1), 0u);
}

TEST(start_state, a_command_inherits_no_other_descriptors)
{
    start_box box;
    box.remove_tool("/usr/sbin/iptables-restore");
    box.write("/usr/sbin/iptables-restore",
              "#!/bin/sh\n"
              "for i in 3 4 5 6 7 8 9; do\n"
              "  if [ -e /proc/self/fd/$i ]; then echo $i >> /tmp/inherited; fi\n"
              "done\n"
              "echo >> /tmp/asked\n",
              0755);
    box.update_firewall();
    EXPECT_EQ(box.read("/tmp/asked"), "\n\n\n");
    EXPECT_FALSE(box.exists("/tmp/inherited")) << box.read("/tmp/inherited");
}

} // namespace
