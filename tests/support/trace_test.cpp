// Each kind of line of the trace, caused by the probe, and how the raw trace becomes lines.
#include "support/expect.h"
#include "support/router_box.h"
#include "support/trace_format.h"

#include <gtest/gtest.h>

namespace
{

class trace : public testing::Test
{
  protected:
    support::router_box box{BOX_PROBE};
    std::string of(std::vector<std::string> words)
    {
        words.insert(words.begin(), "probe");
        return box.run(words).trace;
    }
};

TEST_F(trace, log)
{
    EXPECT_EQ(of({"log", "mcfg-x", "0", "0", "0", "100% of\n\ta \\ b"}),
              "log mcfg-x: 100% of\\n\\ta \\\\ b\n");
    EXPECT_EQ(of({"log", "pppd", "1", "24", "3", "text"}),
              "log(option=1,facility=24,priority=3) pppd: text\n");
    EXPECT_EQ(of({"log", "t", "0", "0", "0", "\x01\x7f\xc3\xa9"}), "log t: \\x01\\x7f\xc3\xa9\n");
}

TEST_F(trace, shell_line_alone_where_the_tool_got_just_its_words)
{
    EXPECT_EQ(of({"shell", "ifconfig eth2  hw ether "}), "shell ifconfig eth2  hw ether \n");
    EXPECT_EQ(of({"shell", "led on > /tmp/x"}), "shell led on > /tmp/x\nrun led on\n");
    EXPECT_EQ(of({"shell", "led 'a b'"}), "shell led 'a b'\nrun led 'a b'\n");
    EXPECT_EQ(of({"shell", "led \"on\""}), "shell led \"on\"\nrun led on\n");
    EXPECT_EQ(of({"shell", "led a; led b"}), "shell led a; led b\nrun led a\nrun led b\n");
    EXPECT_EQ(of({"shell", "echo 0 > /tmp/x"}), "shell echo 0 > /tmp/x\n");
    EXPECT_EQ(of({"shell", "led a", "eval", "2", "led", "a"}), "shell led a\nrun led a\n");
}

TEST_F(trace, run_quotes_words_that_need_it)
{
    EXPECT_EQ(of({"eval", "5", "iptables", "", "a b", "it's", "tab\there"}),
              "run iptables '' 'a b' 'it's' 'tab\\there'\n");
    EXPECT_EQ(of({"shell", "/usr/sbin/sys_netbase proc"}), "shell /usr/sbin/sys_netbase proc\n");
    EXPECT_EQ(of({"eval", "2", "sys_netbase", "proc"}), "run sys_netbase proc\n");
}

TEST_F(trace, every_tool_of_the_router)
{
    for (const char *tool : {"ifconfig",
                             "route",
                             "vconfig",
                             "brctl",
                             "udhcpc",
                             "pppd",
                             "xl2tpd",
                             "killall",
                             "iptables",
                             "iptables-restore",
                             "iwpriv",
                             "led",
                             "mount",
                             "umount",
                             "rmmod",
                             "insmod",
                             "modprobe",
                             "mkdir",
                             "hostname",
                             "reboot",
                             "mtd_write",
                             "rt2860apd",
                             "config-vlan.sh",
                             "sys_netbase",
                             "/usr/sbin/mknetifaces.sh",
                             "/usr/sbin/sys_netbase",
                             "/etc/init.d/scripts/dnsmasq.rc",
                             "/etc/init.d/scripts/resolv",
                             "/etc/init.d/scripts/3g",
                             "/etc/init.d/scripts/wscd.rc"}) {
        support::outcome o = box.run({"probe", "eval", "2", tool, "-x"});
        EXPECT_EQ(o.trace, std::string("run ") + tool + " -x\n");
        EXPECT_EQ(o.out, "eval 0\n") << tool;
    }
}

TEST_F(trace, a_tool_that_is_not_there_leaves_no_line)
{
    box.remove_tool("/sbin/led");
    EXPECT_EQ(box.run({"probe", "eval", "1", "led"}).out, "eval 512\n"); // exit with ENOENT
    EXPECT_EQ(box.trace(), "");
    box.tool("/opt/bin/led");
    EXPECT_EQ(of({"eval", "1", "/opt/bin/led"}), "run /opt/bin/led\n");
}

TEST_F(trace, mkdir_is_done)
{
    EXPECT_EQ(of({"shell", "mkdir -p /etc/Wireless/RT2860"}),
              "shell mkdir -p /etc/Wireless/RT2860\n");
    EXPECT_TRUE(box.exists("/etc/Wireless/RT2860"));
    EXPECT_EQ(box.run({"probe", "eval", "2", "mkdir", "/a/b"}).out, "eval 256\n");
    EXPECT_FALSE(box.exists("/a"));
}

TEST_F(trace, sleep_takes_no_time)
{
    box.set_time_limit(5000);
    EXPECT_EQ(of({"sleep", "45"}), "sleep 45\n");
}

TEST_F(trace, kill)
{
    EXPECT_EQ(of({"kill", "9999", "15"}), "kill 9999 SIGTERM = ESRCH\n");
    EXPECT_EQ(of({"kill", "9999", "0"}), "kill 9999 0 = ESRCH\n");
    std::string pid = std::to_string(box.bystander());
    EXPECT_EQ(of({"kill", pid, "9"}), "kill " + pid + " SIGKILL\n");
}

TEST_F(trace, settimeofday_in_both_ways)
{
    EXPECT_EQ(of({"set-clock", "1000", "-180", "2"}),
              "settimeofday 1000 -180 2\nsettimeofday 1000 - -\n");
}

TEST_F(trace, mknod_makes_a_stand_in)
{
    EXPECT_EQ(of({"mknod", "/dev/sda1", "0700", "8", "1"}), "mknod /dev/sda1 b 0700 8:1\n");
    EXPECT_EQ(box.mode("/dev/sda1"), 0700U);
    EXPECT_EQ(of({"mknod", "/dev/sda1", "0700", "8", "1"}),
              "mknod /dev/sda1 b 0700 8:1 = EEXIST\n");
    EXPECT_EQ(of({"mknod", "/no/sda1", "0700", "8", "1"}), "mknod /no/sda1 b 0700 8:1 = ENOENT\n");
}

TEST_F(trace, existence_only_when_watched)
{
    EXPECT_EQ(of({"exists", "/etc"}), "");
    box.on("watch exists");
    EXPECT_EQ(of({"exists", "/etc", "exists", "/x", "exists", "/x"}),
              "exists /etc = yes\nexists /x = no (x2)\n");
}

TEST_F(trace, of_chosen_kinds)
{
    box.run({"probe", "log", "t", "0", "0", "0", "a", "log", "t", "1", "0", "0", "b", "sleep", "1",
             "shell", "led on"});
    EXPECT_EQ(box.trace_of({"log"}), "log t: a\nlog(option=1,facility=0,priority=0) t: b\n");
    EXPECT_EQ(box.trace_of({"shell", "sleep"}), "sleep 1\nshell led on\n");
}

// ---- from raw lines, as written side by side

std::string lines_of(const char *raw)
{
    return support::joined(support::trace_lines(raw));
}

TEST(trace_format, folds_equal_lines)
{
    EXPECT_EQ(
        lines_of("7 1 0 sleep 1\n7 1 0 sleep 1\n8 1 0 sleep 1\n7 1 0 sleep 2\n7 1 0 sleep 1\n"),
        "sleep 1 (x3)\nsleep 2\nsleep 1\n");
    EXPECT_EQ(support::trace_lines("7 1 0 log a\n7 1 0 run x\n7 1 0 log a\n", {"log"}),
              std::vector<std::string>{"log a (x2)"});
}

TEST(trace_format, pairs_a_tool_with_the_shell_line_that_started_it)
{
    // The shell became the tool, or it stands between.
    EXPECT_EQ(
        lines_of("7 1 0 shell led a\n8 1 0 shell led b\n9 7 1 run led a\n20 10 8 run led b\n"),
        "shell led a\nshell led b\n");
    // Nothing known of the parents, but the line is just above.
    EXPECT_EQ(lines_of("7 1 0 shell led a\n9 0 0 run led a\n"), "shell led a\n");
    // Something else in between: a line of its own.
    EXPECT_EQ(lines_of("7 1 0 shell led a\n7 1 0 sleep 1\n9 7 1 run led a\n"),
              "shell led a\nsleep 1\nrun led a\n");
    // Started twice, once by the shell.
    EXPECT_EQ(lines_of("7 1 0 shell led a\n9 8 7 run led a\n10 7 1 run led a\n"),
              "shell led a\nrun led a\n");
}

TEST(trace_format, leaves_out_a_line_still_being_written)
{
    EXPECT_EQ(lines_of("7 1 0 sleep 1\n7 1 0 sle"), "sleep 1\n");
    EXPECT_EQ(lines_of(""), "");
}

} // namespace
