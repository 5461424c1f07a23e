#include "util/process.h"

#include "support/unit_test.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

class eval : public support::unit_test
{
  protected:
    // Runs a line of the shell's own commands, as one argument of _eval.
    static int sh(const char *script, const char *path = nullptr, unsigned timeout = 0,
                  pid_t *ppid = nullptr)
    {
        char program[] = "sh";
        char option[] = "-c";
        std::string line = script;
        char *argv[] = {program, option, line.data(), nullptr};
        return _eval(argv, path, timeout, ppid);
    }
};

TEST_F(eval, runs_the_words_as_they_are)
{
    char *argv[] = {const_cast<char *>("brctl"), const_cast<char *>("addif"),
                    const_cast<char *>("a b"),   const_cast<char *>(""),
                    const_cast<char *>("$HOME"), nullptr};
    EXPECT_EQ(_eval(argv, nullptr, 0, nullptr), 0);
    EXPECT_TRACE("run brctl addif 'a b' '' $HOME", world.trace());
}

TEST_F(eval, gives_the_exit_code)
{
    EXPECT_EQ(sh("exit 1"), 1);
    EXPECT_EQ(sh("exit 255"), 255);
    EXPECT_EQ(sh("exit 0"), 0);
}

TEST_F(eval, gives_the_raw_status_of_a_signal)
{
    EXPECT_EQ(sh("kill -9 $$"), 9);
    EXPECT_EQ(sh("kill -15 $$"), 15);
}

TEST_F(eval, names_a_missing_program_and_gives_2)
{
    int result = -1;
    std::string said = support::private_world::captured(
        2,
        [](void *context) {
            char *argv[] = {const_cast<char *>("no-such-tool"), nullptr};
            *static_cast<int *>(context) = _eval(argv, nullptr, 0, nullptr);
        },
        &result);
    EXPECT_EQ(result, ENOENT);
    EXPECT_EQ(said, "no-such-tool: No such file or directory\n");
}

TEST_F(eval, gives_the_error_number_of_a_program_that_may_not_run)
{
    world.write("/tmp/not-a-program", "x", 0644);
    char *argv[] = {const_cast<char *>("/tmp/not-a-program"), nullptr};
    EXPECT_EQ(_eval(argv, nullptr, 0, nullptr), EACCES);
}

TEST_F(eval, gives_the_error_number_when_it_cannot_wait)
{
    // With children reaped by the kernel there is nothing left to wait for.
    signal(SIGCHLD, SIG_IGN);
    int result = -1;
    std::string said = support::private_world::captured(
        2, [](void *context) { *static_cast<int *>(context) = sh("exit 0"); }, &result);
    signal(SIGCHLD, SIG_DFL);
    EXPECT_EQ(result, ECHILD);
    EXPECT_EQ(said, "waitpid: No child processes\n");
}

TEST_F(eval, gives_the_error_number_when_it_cannot_fork)
{
    world.on("fail EAGAIN fork");
    int result = -1;
    std::string said = support::private_world::captured(
        2, [](void *context) { *static_cast<int *>(context) = sh("exit 0"); }, &result);
    EXPECT_EQ(result, EAGAIN);
    EXPECT_EQ(said, "fork: Resource temporarily unavailable\n");
}

TEST_F(eval, appends_output_with_two_signs)
{
    world.write("/tmp/x", "before\n");
    EXPECT_EQ(sh("echo out; echo err >&2", ">>/tmp/x"), 0);
    EXPECT_EQ(world.read("/tmp/x"), "before\nout\nerr\n");
}

TEST_F(eval, truncates_with_one_sign)
{
    world.write("/tmp/x", "a much longer content than the output\n");
    EXPECT_EQ(sh("echo out", ">/tmp/x"), 0);
    EXPECT_EQ(world.read("/tmp/x"), "out\n");
}

TEST_F(eval, overwrites_from_the_start_without_a_sign)
{
    world.write("/tmp/x", "0123456789");
    EXPECT_EQ(sh("echo out", "/tmp/x"), 0);
    EXPECT_EQ(world.read("/tmp/x"), "out\n456789");
}

TEST_F(eval, takes_the_whole_name_behind_the_signs)
{
    ASSERT_EQ(chdir("/tmp"), 0);
    EXPECT_EQ(sh("echo out", ">>appended"), 0);
    EXPECT_EQ(sh("echo out", ">cut"), 0);
    EXPECT_EQ(sh("echo out", "written"), 0);
    EXPECT_EQ(world.list("/tmp"), (std::vector<std::string>{"appended", "cut", "written"}));
}

TEST_F(eval, creates_the_output_file_for_all_to_read)
{
    mode_t before = umask(022);
    for (const char *path : {">>/tmp/a", ">/tmp/b", "/tmp/c"})
        EXPECT_EQ(sh("echo out", path), 0);
    umask(before);
    for (const char *path : {"/tmp/a", "/tmp/b", "/tmp/c"}) {
        EXPECT_EQ(world.read(path), "out\n");
        EXPECT_EQ(world.mode(path), 0644U);
    }
}

TEST_F(eval, goes_on_without_an_output_file_it_cannot_open)
{
    std::string said = support::private_world::captured(
        2, [](void *) { EXPECT_EQ(sh("echo still here >&2; exit 7", ">/no/such/place"), 7); },
        nullptr);
    EXPECT_EQ(said, "/no/such/place: No such file or directory\nstill here\n");
}

TEST_F(eval, sets_the_search_paths_over_those_it_inherited)
{
    std::string path = getenv("PATH") != nullptr ? getenv("PATH") : "";
    setenv("PATH", "/nowhere", 1);
    setenv("LD_LIBRARY_PATH", "/nowhere", 1);
    EXPECT_EQ(sh("echo \"$PATH $LD_LIBRARY_PATH\"", ">/tmp/x"), 0);
    unsetenv("LD_LIBRARY_PATH");
    setenv("PATH", path.c_str(), 1);
    EXPECT_EQ(world.read("/tmp/x"), "/sbin:/bin:/usr/sbin:/usr/bin /lib:/usr/lib\n");
}

TEST_F(eval, leaves_the_rest_of_the_environment_and_the_parents_own)
{
    setenv("interface", "vlan2", 1);
    setenv("PATH", "/usr/bin:/bin", 1);
    EXPECT_EQ(sh("echo \"$interface\"", ">/tmp/x"), 0);
    EXPECT_EQ(world.read("/tmp/x"), "vlan2\n");
    EXPECT_STREQ(getenv("PATH"), "/usr/bin:/bin");
    unsetenv("interface");
}

TEST_F(eval, resets_signals_and_unblocks_them)
{
    signal(SIGUSR1, SIG_IGN);
    signal(SIGPIPE, SIG_IGN);
    sigset_t blocked;
    sigset_t before;
    sigfillset(&blocked);
    sigdelset(&blocked, SIGCHLD);
    sigprocmask(SIG_BLOCK, &blocked, &before);
    int result = sh("while read key value; do case $key in SigBlk:|SigIgn:) echo $key $value;; "
                    "esac; done < /proc/self/status",
                    ">/tmp/x");
    sigprocmask(SIG_SETMASK, &before, nullptr);
    signal(SIGUSR1, SIG_DFL);
    signal(SIGPIPE, SIG_DFL);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(world.read("/tmp/x"), "SigBlk: 0000000000000000\nSigIgn: 0000000000000000\n");
}

TEST_F(eval, closes_descriptors_3_to_255)
{
    for (int fd : {3, 50, 255, 256})
        ASSERT_EQ(dup2(1, fd), fd);
    int result = sh("for fd in 0 1 2 3 50 255 256; do "
                    "if [ -e /proc/self/fd/$fd ]; then echo $fd; fi; done",
                    ">/tmp/x");
    for (int fd : {3, 50, 255, 256})
        close(fd);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(world.read("/tmp/x"), "0\n1\n2\n256\n");
}

TEST_F(eval, gives_the_child_a_session_of_its_own)
{
    EXPECT_EQ(sh("read pid name state parent group session rest < /proc/self/stat; "
                 "[ $pid = $session ] && [ $pid = $group ]"),
              0);
}

TEST_F(eval, ends_the_program_by_its_alarm)
{
    ASSERT_EQ(mkfifo("/tmp/never", 0600), 0);
    EXPECT_EQ(sh("read x < /tmp/never", nullptr, 1), SIGALRM);
}

// A dial-up or a driver takes its time.
TEST_F(eval, of_words_has_no_limit)
{
    ASSERT_EQ(mkfifo("/later", 0600), 0);
    world.write("/slow", "#!/bin/sh\nread line < /later\nexit 5\n", 0755);
    pid_t other = fork();
    if (other == 0) {
        usleep(1200 * 1000);
        close(open("/later", O_WRONLY));
        _exit(0);
    }
    const char *const words[] = {"/slow", nullptr};
    EXPECT_EQ(run_words(words), 5);
    kill(other, SIGKILL);
    waitpid(other, nullptr, 0);
}

TEST_F(eval, without_a_limit_clears_an_alarm_that_was_pending)
{
    // The program inherits no alarm over fork; this pins that none is armed for it.
    pid_t pid = 0;
    ASSERT_EQ(mkfifo("/tmp/gate", 0600), 0);
    EXPECT_EQ(sh("read x < /tmp/gate; exit 5", nullptr, 0, &pid), 0);
    int fd = open("/tmp/gate", O_WRONLY);
    ASSERT_EQ(write(fd, "go\n", 3), 3);
    close(fd);
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_EQ(WEXITSTATUS(status), 5);
}

TEST_F(eval, does_not_wait_when_the_process_id_is_asked_for)
{
    ASSERT_EQ(mkfifo("/tmp/gate", 0600), 0);
    pid_t pid = 0;
    EXPECT_EQ(sh("read x < /tmp/gate; exit 3", nullptr, 0, &pid), 0);
    ASSERT_GT(pid, 0);
    EXPECT_EQ(waitpid(pid, nullptr, WNOHANG), 0) << "it runs on";
    int fd = open("/tmp/gate", O_WRONLY);
    close(fd);
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_EQ(WEXITSTATUS(status), 3);
}

class pid_file : public support::unit_test
{
  protected:
    std::string sent(const std::string &content)
    {
        world.write("/var/run/x.pid", content);
        world.on("skip kill");
        EXPECT_EQ(kill_pidfile_s("/var/run/x.pid", SIGTERM), 0);
        return world.trace();
    }
};

TEST_F(pid_file, names_the_process_to_signal)
{
    EXPECT_EQ(sent("123\n"), "kill 123 SIGTERM\n");
}

TEST_F(pid_file, may_lack_the_line_end)
{
    EXPECT_EQ(sent("123"), "kill 123 SIGTERM\n");
}

TEST_F(pid_file, may_be_hexadecimal)
{
    EXPECT_EQ(sent("0x7b\n"), "kill 123 SIGTERM\n");
}

TEST_F(pid_file, with_a_leading_zero_is_octal)
{
    EXPECT_EQ(sent("0173\n"), "kill 123 SIGTERM\n");
}

TEST_F(pid_file, stops_at_the_first_character_that_is_no_digit)
{
    EXPECT_EQ(sent("123 udhcpc\n"), "kill 123 SIGTERM\n");
}

TEST_F(pid_file, is_read_in_its_first_line_only)
{
    EXPECT_EQ(sent("123\n456\n"), "kill 123 SIGTERM\n");
}

TEST_F(pid_file, is_read_up_to_255_characters)
{
    EXPECT_EQ(sent(std::string(254, ' ') + "123"), "kill 1 SIGTERM\n");
}

// A huge number must not wrap round to -1, which would signal every process of the router.
TEST_F(pid_file, with_a_huge_number_names_no_process)
{
    EXPECT_EQ(sent("4294967295\n"), "kill 2147483647 SIGTERM\n");
    world.clear_trace();
    EXPECT_EQ(sent("-99999999999999999999\n"), "kill -2147483648 SIGTERM\n");
}

TEST_F(pid_file, that_is_missing_gives_its_error_number)
{
    EXPECT_EQ(kill_pidfile_s("/var/run/x.pid", SIGTERM), ENOENT);
    EXPECT_EQ(world.trace(), "");
}

TEST_F(pid_file, that_is_empty_gives_the_current_error_number_and_signals_nothing)
{
    world.write("/var/run/x.pid", "");
    errno = EPERM;
    EXPECT_EQ(kill_pidfile_s("/var/run/x.pid", SIGTERM), EPERM);
    EXPECT_EQ(world.trace(), "");
}

TEST_F(pid_file, signals_a_real_process)
{
    pid_t pid = world.bystander();
    world.write("/var/run/x.pid", std::to_string(pid) + "\n");
    ASSERT_TRUE(world.is_running(pid));
    EXPECT_EQ(kill_pidfile_s("/var/run/x.pid", SIGKILL), 0);
    while (world.is_running(pid))
        usleep(1000);
}

TEST_F(pid_file, of_a_process_that_is_gone_gives_minus_1)
{
    world.write("/var/run/x.pid", "2147483647\n");
    EXPECT_EQ(kill_pidfile_s("/var/run/x.pid", SIGTERM), -1);
    EXPECT_EQ(world.trace(), "kill 2147483647 SIGTERM = ESRCH\n");
}

} // namespace
