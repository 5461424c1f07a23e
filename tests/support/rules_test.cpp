// Each kind of rule.
#include "support/expect.h"
#include "support/router_box.h"

#include <gtest/gtest.h>

namespace
{

using support::outcome;

class rules : public testing::Test
{
  protected:
    support::router_box box{BOX_PROBE};
    outcome run(std::vector<std::string> words)
    {
        words.insert(words.begin(), "probe");
        return box.run(words);
    }
    std::string status_of(const std::vector<std::string> &tool)
    {
        std::vector<std::string> words = {"eval", std::to_string(tool.size())};
        words.insert(words.end(), tool.begin(), tool.end());
        return run(words).out;
    }
};

TEST_F(rules, exit_holds_for_command_lines_that_begin_so)
{
    box.on("exit 3 brctl addif br0");
    EXPECT_EQ(status_of({"brctl", "addif", "br0", "ra0"}), "eval 768\n");
    EXPECT_EQ(status_of({"brctl", "addif", "br01"}), "eval 0\n"); // words, not letters
    EXPECT_EQ(status_of({"brctl", "addif"}), "eval 0\n");
    EXPECT_EQ(run({"shell", "brctl addif br0"}).out, "shell 768\n");
}

TEST_F(rules, exit_can_name_any_word)
{
    box.on("exit 4 iptables '' 'a b' 'it\\'s'");
    EXPECT_EQ(status_of({"iptables", "", "a b", "it's"}), "eval 1024\n");
}

TEST_F(rules, print_writes_and_stands_beside_exit)
{
    box.on("print 'one two\\n' hostname");
    EXPECT_EQ(status_of({"hostname"}), "one two\neval 0\n");
    box.on("exit 1 hostname");
    EXPECT_EQ(status_of({"hostname"}), "one two\neval 256\n");
    EXPECT_EQ(box.trace(), "run hostname (x2)\n");
}

TEST_F(rules, pass_runs_the_real_program_with_the_same_words)
{
    box.bind("/bin/echo", "/tmp/echo");
    box.on("pass /tmp/echo led");
    outcome o = run({"eval", "3", "led", "green", "on"});
    EXPECT_EQ(o.out, "green on\neval 0\n");
    EXPECT_EQ(o.trace, "run led green on\n");
    box.remove_tool("/sbin/route");
    box.clear_rules();
    box.on("pass /tmp/missing led");
    EXPECT_EQ(status_of({"led"}), "eval 32256\n");
}

TEST_F(rules, first_that_matches_wins_and_numbers_run_out)
{
    box.on("exit 1 led a #2");
    box.on("exit 2 led");
    EXPECT_EQ(status_of({"led", "a"}), "eval 256\n");
    EXPECT_EQ(status_of({"led", "b"}), "eval 512\n");
    EXPECT_EQ(status_of({"led", "a"}), "eval 256\n");
    EXPECT_EQ(status_of({"led", "a"}), "eval 512\n");
    box.clear_rules();
    EXPECT_EQ(status_of({"led", "a"}), "eval 0\n");
    box.on("exit 1 led a #1");
    EXPECT_EQ(status_of({"led", "a"}), "eval 256\n"); // counted anew
    EXPECT_EQ(status_of({"led", "a"}), "eval 0\n");
}

TEST_F(rules, fail_reaches_every_kind_of_call)
{
    box.interface("br0");
    for (const char *rule :
         {"fail EPERM ioctl br0 SIOCSIFFLAGS", "fail EAGAIN shell led", "fail EPERM kill",
          "fail EROFS mknod /dev/sda1", "fail EPERM settimeofday", "fail ENOENT exists /etc"})
        box.on(rule);
    outcome o =
        run({"flags",     "br0", "0x1043", "address", "br0",       "192.168.0.1", "shell", "led on",
             "kill",      "1",   "9",      "mknod",   "/dev/sda1", "0700",        "8",     "1",
             "set-clock", "1",   "2",      "3",       "exists",    "/etc"});
    EXPECT_TRACE(R"(
        ioctl br0 SIOCSIFFLAGS 0x1043 = EPERM
        ioctl br0 SIOCSIFADDR 192.168.0.1
        shell led on = EAGAIN
        kill 1 SIGKILL = EPERM
        mknod /dev/sda1 b 0700 8:1 = EROFS
        settimeofday 1 2 3 = EPERM
        settimeofday 1 - - = EPERM
    )",
                 o.trace);
    EXPECT_TRACE(R"(
        ioctl -1 Operation not permitted
        ioctl 0
        shell -1 Resource temporarily unavailable
        kill -1 Operation not permitted
        mknod -1 Read-only file system
        clock -1 Operation not permitted
        clock -1 Operation not permitted
        exists -1 No such file or directory
    )",
                 o.out);
    EXPECT_FALSE(box.exists("/dev/sda1"));
}

TEST_F(rules, skip_answers_in_place_of_the_kernel)
{
    box.on("skip ioctl vlan2");
    box.on("skip shell led");
    box.on("skip exists /nowhere");
    outcome o = run({"flags", "vlan2", "0x1043", "shell", "led on", "exists", "/nowhere"});
    EXPECT_EQ(o.out, "ioctl 0\nshell 0\nexists 0\n");
    EXPECT_EQ(o.trace, "ioctl vlan2 SIOCSIFFLAGS 0x1043\nshell led on\n");
}

TEST_F(rules, wait_holds_a_tool_until_the_file_is_there)
{
    box.on("wait /tmp/go run led");
    pid_t run = box.start({"probe", "eval", "2", "led", "on"});
    while (box.trace().empty())
        ;
    EXPECT_TRUE(box.is_running(run));
    box.write("/tmp/go", "");
    EXPECT_EQ(box.finish(run).out, "eval 0\n");
}

TEST_F(rules, gpio)
{
    EXPECT_EQ(run({"gpio", "2"}).out, "open -1 No such file or directory\nword 0x0\n");
    box.on("gpio 0xfffff7ff #1");
    box.on("gpio 0x800");
    EXPECT_EQ(run({"gpio", "2", "gpio", "2"}).out,
              "open 0\nioctl 0\nword 0xfffff7ff\nopen 0\nioctl 0\nword 0x800\n");
    EXPECT_EQ(box.trace(), "ioctl /dev/gpio 2 -> 0xfffff7ff\nioctl /dev/gpio 2 -> 0x800\n");
    EXPECT_EQ(run({"gpio", "3"}).trace, "ioctl /dev/gpio 3 = ENOTTY\n");
    box.clear_rules();
    EXPECT_EQ(run({"gpio", "2"}).trace, "ioctl /dev/gpio 2 = ENOTTY\n");
    box.on("fail EIO ioctl /dev/gpio");
    EXPECT_EQ(run({"gpio", "2"}).trace, "ioctl /dev/gpio 2 = EIO\n");
}

TEST_F(rules, flash)
{
    box.write("/tmp/flash", "0123456789");
    box.on("flash /tmp/flash");
    EXPECT_EQ(run({"flash", "read", "2", "...."}).out, "ioctl 0\nstatus 0 text 2345\n");
    EXPECT_EQ(run({"flash", "write", "8", "xy"}).out, "ioctl 0\nstatus 0 text xy\n");
    EXPECT_EQ(box.read("/tmp/flash"), "01234567xy");
    EXPECT_EQ(run({"flash", "write", "9", "ab"}).out, "ioctl 0\nstatus 10 text ab\n");
    EXPECT_EQ(run({"flash", "read", "11", ""}).out, "ioctl 0\nstatus 10 text \n");
    EXPECT_EQ(box.read("/tmp/flash"), "01234567xy");
    EXPECT_TRACE(R"(
        ioctl /dev/flash0 read 0x2 4
        ioctl /dev/flash0 write 0x8 2
        ioctl /dev/flash0 write 0x9 2
        ioctl /dev/flash0 read 0xb 0
    )",
                 box.trace());
}

TEST_F(rules, flash_status)
{
    box.write("/tmp/flash", "0123456789");
    box.on("flash-status 10 #1");
    box.on("flash /tmp/flash");
    EXPECT_EQ(run({"flash", "read", "0", ".."}).out, "ioctl 0\nstatus 10 text ..\n");
    EXPECT_EQ(run({"flash", "read", "0", ".."}).out, "ioctl 0\nstatus 0 text 01\n");
    box.clear_rules();
    EXPECT_EQ(run({"flash", "read", "0", ".."}).trace, "ioctl /dev/flash0 read 0x0 2 = ENOTTY\n");
}

TEST_F(rules, switch_registers)
{
    box.on("switch 0x14 0x5555");
    outcome o = run({"switch", "0x89f1", "0x14", "0", "switch", "0x89f1", "0x18", "7", "switch",
                     "0x89f2", "0x14", "0x405555", "switch", "0x89f3", "0", "0"});
    EXPECT_TRACE(R"(
        ioctl eth2 0x89f1 0x14 -> 0x5555
        ioctl eth2 0x89f1 0x18 = ENOTTY
        ioctl eth2 0x89f2 0x14 0x405555
        ioctl eth2 0x89f3 = ENOTTY
    )",
                 o.trace);
    EXPECT_EQ(o.out.substr(0, 21), "ioctl 0\nvalue 0x5555\n");
    box.on("fail EIO ioctl eth2 0x89f2");
    EXPECT_EQ(run({"switch", "0x89f2", "0", "1"}).trace, "ioctl eth2 0x89f2 0x0 0x1 = EIO\n");
}

TEST_F(rules, devices_nobody_plays_are_not_reached)
{
    box.write("/dev/mtd0", "");
    EXPECT_EQ(run({"device", "/dev/mtd0", "5"}).trace, "ioctl /dev/mtd0 5 = ENOTTY\n");
}

TEST_F(rules, clock)
{
    box.on("clock 1000000000 -180 1");
    EXPECT_EQ(run({"clock"}).out, "clock 1000000000 -180 1 time 1000000000 precise 1000000000\n");
    EXPECT_EQ(box.trace(), "");
}

TEST_F(rules, that_make_no_sense_are_refused)
{
    for (const char *rule :
         {"", "explode", "exit", "exit 1", "exit one led", "fail EWHAT ioctl", "gpio", "gpio 1 2",
          "switch 0x14", "watch birds", "print 'open led", "exit 1 led\nexit 2 led"})
        EXPECT_THROW(box.on(rule), std::invalid_argument) << rule;
}

} // namespace
