// The box from the command line.
#include "support/scratch.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <string>
#include <unistd.h>

namespace
{

using support::said;

said router_box(const std::string &options)
{
    return support::run_line("exec 2>&1; " ROUTER_BOX " " + options);
}

TEST(cli, carries_out_its_options_in_order)
{
    said s = router_box(R"(--write '/etc/x=one\ntwo' --show /etc/x --write /etc/x=three )"
                        R"(--show /etc/x --trace --interface br0 --ip '-br link show br0')");
    EXPECT_EQ(s.status, 0) << s.text;
    EXPECT_EQ(s.text.substr(0, s.text.find("---- ip")),
              "---- /etc/x\none\ntwo\n---- /etc/x\nthree\n---- trace\n");
    EXPECT_NE(s.text.find("br0 "), std::string::npos);
}

TEST(cli, runs_the_program)
{
    said s = router_box("--run 'no_such_name with words' --outcome");
    EXPECT_EQ(s.status, 0);
    EXPECT_EQ(s.text, "---- outcome\nstatus 0\n");
}

TEST(cli, runs_another_program_of_the_build)
{
    said s = router_box("--program \"$(dirname " ROUTER_BOX ")/mctl\" --run mctl --outcome");
    EXPECT_EQ(s.status, 0);
    const std::string expected = "---- outcome\nstatus 2\nusage: mctl ";
    EXPECT_EQ(s.text.substr(0, expected.size()), expected) << s.text;
}

TEST(cli, says_which_program_it_cannot_start)
{
    said s = router_box("--program /no/mctl --run mctl");
    EXPECT_EQ(s.status, 1);
    EXPECT_EQ(s.text, "router-box: cannot start /no/mctl: No such file or directory\n");
}

TEST(cli, takes_variables_from_a_dump_and_sets_others_besides)
{
    char dump[] = "/tmp/env-dump-XXXXXX";
    int file = mkstemp(dump);
    const char text[] = "export interface='vlan2'\nexport ip='192.0.2.10'\n";
    ASSERT_EQ(write(file, text, sizeof text - 1), ssize_t(sizeof text - 1));
    close(file);
    said s = router_box(std::string("--env-file ") + dump +
                        " --env ip=192.0.2.11 --run 'udhcpc bound' --show /tmp/udhcpc-env");
    unlink(dump);
    EXPECT_EQ(s.status, 0) << s.text;
    EXPECT_NE(s.text.find("interface='vlan2'"), std::string::npos) << s.text;
    EXPECT_NE(s.text.find("ip='192.0.2.11'"), std::string::npos) << s.text;
    EXPECT_EQ(s.text.find("192.0.2.10"), std::string::npos) << s.text;
}

TEST(cli, saves_what_is_there)
{
    support::scratch_directory room("saved");
    const std::string here = room.path();
    said s = router_box("--write /etc/x=one --write /etc/ppp/peers/a=two --save /etc/x:" + here +
                        " --save /etc/ppp/peers/:" + here + " --save /etc/none:" + here +
                        " && cd " + here + " && grep -r . . | sort");
    EXPECT_EQ(s.status, 0);
    EXPECT_EQ(s.text, "./etc/ppp/peers/a:two\n./etc/x:one\n");
}

TEST(cli, opens_a_shell_inside)
{
    said s = router_box("--write /etc/x=inside --shell --show /etc/y <<'END'\n"
                        "cat /etc/x; hostname; led on; echo changed > /etc/y; as no_such_name\n"
                        "as save_link_state; trace; id -u\nEND");
    EXPECT_EQ(s.status, 0) << s.text;
    EXPECT_EQ(s.text, "insiderun hostname\nrun led on\nlog mcfg: save_link_state\n0\n"
                      "---- /etc/y\nchanged\n");
}

// The number of the process that holds a kept world, or 0.
int number_in(const std::string &text)
{
    const std::string before = "--enter ";
    size_t place = text.find(before);
    return place == std::string::npos ? 0 : atoi(text.c_str() + place + before.size());
}

TEST(cli, keeps_the_world_of_a_failure_when_told_to)
{
    said unasked = router_box("--write /etc/x=kept --rule nonsense");
    EXPECT_EQ(number_in(unasked.text), 0) << unasked.text;

    setenv("MCFG_KEEP_WORLD", "1", 1);
    said succeeded = router_box("--write /etc/x=kept");
    said failed = router_box("--write /etc/x=kept --interface eth2 --rule nonsense");
    unsetenv("MCFG_KEEP_WORLD");
    EXPECT_EQ(succeeded.text, "");
    int first = number_in(failed.text);
    ASSERT_GT(first, 0) << failed.text;

    std::string enter = "--enter " + std::to_string(first);
    EXPECT_EQ(router_box(enter + " 'cat /etc/x; exit 3'").text, "kept");
    EXPECT_EQ(router_box(enter + " 'exit 3'").status, 3);
    EXPECT_NE(router_box(enter + " 'ip link show eth2'").text.find("eth2"), std::string::npos);
    EXPECT_EQ(access(("/proc/" + std::to_string(first) + "/root/sys/etc/x").c_str(), R_OK), 0);

    ASSERT_EQ(kill(first, SIGTERM), 0);
    for (int tries = 0; tries < 500 && kill(first, 0) == 0; tries++)
        usleep(10000);
    EXPECT_EQ(router_box(enter + " true").status, 125);
}

// A visitor who is root has none of the rights by which the world was kept from the machine.
TEST(cli, gives_a_visitor_no_rights_over_the_machine)
{
    said s = router_box("--shell <<'END'\ngrep CapBnd /proc/self/status\nEND");
    unsigned long bound = strtoul(s.text.c_str() + strlen("CapBnd:"), nullptr, 16);
    const int rights[] = {CAP_SYS_TIME, CAP_SYS_MODULE, CAP_SYS_BOOT, CAP_SYS_RAWIO, CAP_MKNOD};
    for (int right : rights)
        EXPECT_EQ(bound >> right & 1, 0U) << right << " " << s.text;
    EXPECT_EQ(bound >> CAP_NET_ADMIN & 1, 1U) << s.text;
}

TEST(cli, explains_itself_and_what_is_wrong)
{
    EXPECT_EQ(router_box("--help").status, 0);
    EXPECT_NE(router_box("--help").text.find("--interface NAME"), std::string::npos);
    EXPECT_EQ(router_box("").status, 2);
    for (const char *options : {"--what", "--run", "--show /none", "--rule nonsense", "--write x",
                                "--outcome", "--run ''", "--run \"'\"", "--env-file /none",
                                "--enter", "--enter x", "--enter 1x", "--enter -1"}) {
        said s = router_box(options);
        EXPECT_EQ(s.status, 1) << options;
        EXPECT_NE(s.text.find("router-box: "), std::string::npos) << s.text;
    }
}

} // namespace
