#include "util/process.h"

#include "support/unit_test.h"

#include <errno.h>
#include <signal.h>

namespace
{

constexpr char PIDFILE[] = "/var/run/some.pid";

class stop_by_pidfile_of : public support::unit_test
{
};

class tool : public support::unit_test
{
};

TEST_F(stop_by_pidfile_of, running_process_sends_one_signal)
{
    pid_t pid = world.bystander();
    world.write(PIDFILE, std::to_string(pid) + "\n");
    stop_by_pidfile(PIDFILE, SIGKILL);
    EXPECT_TRACE("kill " + std::to_string(pid) + " SIGTERM", world.trace());
    EXPECT_FALSE(world.is_running(pid));
}

// Only a signal that could not be sent is followed by the second one.
TEST_F(stop_by_pidfile_of, process_that_lets_the_signal_pass_leaves_it_running)
{
    pid_t pid = world.bystander(true);
    world.write(PIDFILE, std::to_string(pid));
    stop_by_pidfile(PIDFILE, SIGKILL);
    EXPECT_TRACE("kill " + std::to_string(pid) + " SIGTERM", world.trace());
    EXPECT_TRUE(world.is_running(pid));
}

TEST_F(stop_by_pidfile_of, process_that_refuses_gets_the_second_signal)
{
    pid_t pid = world.bystander();
    world.write(PIDFILE, std::to_string(pid));
    world.on("fail EPERM kill #1");
    stop_by_pidfile(PIDFILE, SIGKILL);
    std::string process = std::to_string(pid);
    EXPECT_TRACE("kill " + process + " SIGTERM = EPERM\nsleep 3\nkill " + process + " SIGKILL",
                 world.trace());
    EXPECT_FALSE(world.is_running(pid));
}

TEST_F(stop_by_pidfile_of, process_that_is_gone_gets_both_signals)
{
    world.write(PIDFILE, "999999\n");
    stop_by_pidfile(PIDFILE, SIGTERM);
    EXPECT_TRACE("kill 999999 SIGTERM = ESRCH\nsleep 3\nkill 999999 SIGTERM = ESRCH",
                 world.trace());
}

TEST_F(stop_by_pidfile_of, missing_file_waits_and_sends_nothing)
{
    stop_by_pidfile(PIDFILE, SIGKILL);
    EXPECT_TRACE("sleep 3", world.trace());
}

// An empty file's outcome is the error number of whatever failed last.
TEST_F(stop_by_pidfile_of, empty_file_sends_nothing)
{
    world.write(PIDFILE, "");
    errno = ENOENT;
    stop_by_pidfile(PIDFILE, SIGKILL);
    EXPECT_TRACE("sleep 3", world.trace());

    world.clear_trace();
    errno = 0;
    stop_by_pidfile(PIDFILE, SIGKILL);
    EXPECT_TRACE("", world.trace());
}

TEST_F(tool, gets_the_words_and_gives_its_status)
{
    world.on("exit 4 killall ip-up");
    EXPECT_EQ(run_tool("killall", "ip-up"), 4);
    EXPECT_EQ(run_tool("killall", "ip-down", ""), 0);
    EXPECT_EQ(run_tool("xl2tpd"), 0);
    EXPECT_TRACE("run killall ip-up\nrun killall ip-down ''\nrun xl2tpd", world.trace());
}

} // namespace
