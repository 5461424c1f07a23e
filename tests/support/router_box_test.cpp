// What a run in the box is: its words, environment, outcome and surroundings.
#include "support/expect.h"
#include "support/router_box.h"

#include <csignal>
#include <fstream>
#include <gtest/gtest.h>

namespace
{

using support::outcome;

class router_box : public testing::Test
{
  protected:
    support::router_box box{BOX_PROBE};
};

TEST_F(router_box, argument_0_is_to_the_letter)
{
    EXPECT_EQ(box.run({"/usr/bin/ip-up", "name"}).out, "/usr/bin/ip-up\n");
    EXPECT_EQ(box.run({"odd name"}).status, 0);
}

TEST_F(router_box, outcome_has_status_and_both_outputs)
{
    outcome o = box.run({"probe", "say", "1", "to out", "say", "2", "to err", "exit", "7"});
    EXPECT_EQ(o.status, 7);
    EXPECT_EQ(o.signal, 0);
    EXPECT_EQ(o.out, "to out");
    EXPECT_EQ(o.err, "to err");
    EXPECT_EQ(o.trace, "");
}

TEST_F(router_box, outcome_names_the_signal_that_ended_it)
{
    outcome o = box.run({"probe", "signal", std::to_string(SIGTERM)});
    EXPECT_EQ(o.status, -1);
    EXPECT_EQ(o.signal, SIGTERM);
}

TEST_F(router_box, environment_is_the_given_one_and_path)
{
    outcome o = box.run({"probe", "environment"}, {{"ACTION", "add"}, {"EMPTY", ""}});
    EXPECT_EQ(o.out, "PATH=/sbin:/bin:/usr/sbin:/usr/bin\nACTION=add\nEMPTY=\n");
    EXPECT_EQ(box.run({"probe", "environment"}, {{"PATH", "/bin"}}).out, "PATH=/bin\n");
}

TEST_F(router_box, a_tool_sees_that_environment_too)
{
    box.bind("/usr/bin/env", "/usr/bin/env");
    outcome o = box.run({"probe", "eval", "1", "env"}, {{"ACTION", "add"}});
    EXPECT_EQ(o.out, "PATH=/sbin:/bin:/usr/sbin:/usr/bin\nACTION=add\neval 0\n");
}

TEST_F(router_box, invocations_share_files_and_network)
{
    box.interface("eth2");
    box.run({"probe", "write", "/var/run/state", "kept", "flags", "eth2", "0x1043"});
    EXPECT_EQ(box.read("/var/run/state"), "kept");
    EXPECT_EQ(box.run({"probe", "exists", "/var/run/state"}).out, "exists 0\n");
}

TEST_F(router_box, the_trace_of_an_outcome_is_of_that_run_only)
{
    box.run({"probe", "sleep", "1"});
    EXPECT_EQ(box.run({"probe", "sleep", "2"}).trace, "sleep 2\n");
    EXPECT_EQ(box.trace(), "sleep 1\nsleep 2\n");
    box.clear_trace();
    EXPECT_EQ(box.trace(), "");
}

TEST_F(router_box, a_run_over_the_time_limit_is_ended)
{
    box.set_time_limit(50);
    EXPECT_THROW(box.run({"probe", "hang"}), std::runtime_error);
    box.set_time_limit(60000);
    EXPECT_EQ(box.run({"probe", "exit", "4"}).status, 4); // the box is still good
}

TEST_F(router_box, runs_go_side_by_side)
{
    box.on("wait /tmp/go sleep 45");
    pid_t first = box.start({"probe", "sleep", "45", "say", "1", "first", "exit", "1"});
    pid_t second = box.start({"probe", "say", "1", "second", "exit", "2"});
    outcome o = box.finish(second); // while the first waits
    EXPECT_EQ(o.status, 2);
    EXPECT_EQ(o.out, "second");
    EXPECT_EQ(o.trace, "");
    box.write("/tmp/go", "");
    o = box.finish(first);
    EXPECT_EQ(o.status, 1);
    EXPECT_EQ(o.out, "sleep 0\nfirst");
}

TEST_F(router_box, many_runs_write_whole_lines)
{
    std::vector<pid_t> runs;
    for (int i = 0; i < 16; i++)
        runs.push_back(box.start(
            {"probe", "log", "t", "0", "0", "0", std::string(300, 'x'), "eval", "2", "led", "on"}));
    for (pid_t run : runs)
        EXPECT_EQ(box.finish(run).status, 0);
    EXPECT_EQ(box.trace_of({"log"}), "log t: " + std::string(300, 'x') + " (x16)\n");
}

TEST_F(router_box, boxes_do_not_share_anything)
{
    support::router_box other(BOX_PROBE);
    box.write("/etc/x", "here");
    box.interface("eth2");
    box.run({"probe", "sleep", "1"});
    EXPECT_FALSE(other.exists("/etc/x"));
    EXPECT_EQ(other.trace(), "");
    EXPECT_THROW(other.in_network({"ip", "link", "show", "eth2"}), std::runtime_error);
}

TEST_F(router_box, signals_reach_bystanders)
{
    pid_t meek = box.bystander();
    pid_t stubborn = box.bystander(true);
    EXPECT_TRUE(box.is_running(meek));
    outcome o = box.run(
        {"probe", "kill", std::to_string(meek), "15", "kill", std::to_string(stubborn), "15"});
    EXPECT_EQ(o.out, "kill 0\nkill 0\n");
    EXPECT_FALSE(box.is_running(meek));
    EXPECT_TRUE(box.is_running(stubborn));
    box.run({"probe", "kill", std::to_string(stubborn), "9"});
    EXPECT_FALSE(box.is_running(stubborn));
    EXPECT_FALSE(box.is_running(9999));
}

TEST_F(router_box, a_signal_to_the_group_stays_in_it)
{
    pid_t other = box.bystander();
    outcome o = box.run({"probe", "kill", "0", "15"});
    EXPECT_EQ(o.signal, SIGTERM);
    EXPECT_EQ(o.trace, "kill 0 SIGTERM\n");
    EXPECT_TRUE(box.is_running(other));
}

TEST_F(router_box, settings_of_the_network_are_its_own_and_others_out_of_reach)
{
    const char *forward = "/proc/sys/net/ipv4/ip_forward";
    std::ifstream machine(forward);
    std::string before;
    machine >> before;
    std::string opposite = before == "0" ? "1" : "0";

    EXPECT_EQ(box.run({"probe", "shell", "echo 1 > /proc/sys/net/ipv4/ip_forward"}).out,
              "shell 0\n");
    EXPECT_EQ(box.read(forward), "1\n");
    box.write(forward, opposite);
    EXPECT_EQ(box.read(forward), opposite + "\n");
    machine.seekg(0);
    std::string after;
    machine >> after;
    EXPECT_EQ(after, before);

    EXPECT_NE(box.run({"probe", "shell", "echo 1 > /proc/sys/kernel/panic"}).out, "shell 0\n");
}

TEST_F(router_box, host_name_is_its_own)
{
    box.bind("/bin/hostname", "/tmp/hostname");
    box.on("pass /tmp/hostname hostname");
    EXPECT_EQ(box.run({"probe", "eval", "1", "hostname"}).out, "router\neval 0\n");
    EXPECT_EQ(box.run({"probe", "eval", "2", "hostname", "morvi"}).out, "eval 0\n");
    EXPECT_EQ(box.run({"probe", "eval", "1", "hostname"}).out, "morvi\neval 0\n");
    char machine[256];
    ASSERT_EQ(gethostname(machine, sizeof machine), 0);
    EXPECT_STRNE(machine, "morvi");
}

#ifdef __SANITIZE_ADDRESS__
TEST_F(router_box, a_sanitizers_report_fails_the_test)
{
    for (const char *place : {"heap", "stack"}) {
        EXPECT_EQ(box.run({"probe", "overrun", place, "3"}).status, 0);
        EXPECT_THROW(box.run({"probe", "overrun", place, "4"}), std::runtime_error);
    }
}
#endif

TEST(router_box_program, that_is_missing_is_an_error)
{
    EXPECT_THROW(support::router_box("/nowhere/mcfg"), std::runtime_error);
}

} // namespace
