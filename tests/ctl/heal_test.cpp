// mctl heal as it is started: its rounds, what it does not do twice, whom it makes way for, and
// what it says when it cannot look. The steps have their rows in status_pictures_test.cpp.
#include "ctl/record_lock.h"
#include "ctl/run_mctl.h"
#include "support/descriptors.h"
#include "support/texts.h"
#include "support/unit_test.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

using ctl_test::run_mctl;
using ctl_test::told;

constexpr char STORE[] = "/var/run/state_link";

// The number of the look is in /look, that of the steps in /step; the shell has no other counters.
const std::string COUNT = "#!/bin/sh\n"
                          "read -r look < /look; read -r step < /step\n"
                          "case \"$3\" in\n"
                          "-S) look=$((look + 1)); echo $look > /look;;\n"
                          "*) step=$((step + 1)); echo $step > /step; exit 0;;\n"
                          "esac\n";

class heal_command : public support::unit_test
{
  protected:
    void SetUp() override
    {
        unit_test::SetUp();
        std::string wans;
        for (int i = 1; i <= 6; i++)
            wans += std::string(i > 1 ? "," : "") + R"({"iface":"w)" + std::to_string(i) +
                    R"(","name":"WAN)" + std::to_string(i) + R"(","type":"dhcp","auto":false})";
        world.write("/var/run/Config", R"({"Network":{"Lan":[],"Wan":[)" + wans + "]}}");
        world.write("/look", "0\n");
        world.write("/step", "0\n");
        world.on("pass /iptables iptables");
    }

    // A way into the forwards that is left: of which interface and address, by look and step.
    void has_left(const std::string &iface, const std::string &number)
    {
        world.write("/iptables",
                    COUNT + "echo \"-A PREROUTING -d 192.0.2." + number + "/32 -i " + iface +
                        " -j VSERVER\"\n",
                    0755);
    }

    std::string trace() const
    {
        return support::without(world.trace(), {"run iptables -t nat -S"});
    }

    size_t looks() const { return static_cast<size_t>(std::stoi(world.read("/look"))); }
};

std::string step_of(const std::string &iface, const std::string &number)
{
    return "WAN" + iface + ": take the way from 192.0.2." + number + " on w" + iface +
           " into the port forwards away\n";
}

std::string trace_of(const std::string &iface, const std::string &number)
{
    return "sleep 2\nlog mctl-heal: " + step_of(iface, number) +
           "run iptables -t nat -D PREROUTING -i w" + iface + " -d 192.0.2." + number +
           " -j VSERVER\n";
}

// It stays as it is, so the second round finds nothing to do.
TEST_F(heal_command, does_not_try_again_what_does_not_help)
{
    has_left("w1", "66");
    EXPECT_EQ(run_mctl({"heal"}), (told{1, step_of("1", "66"), ""}));
    EXPECT_EQ(trace(), trace_of("1", "66") + "sleep 2\n");
    EXPECT_EQ(looks(), 4U);
    EXPECT_EQ(run_mctl({"heal"}), (told{1, step_of("1", "66"), ""})) << "but the next time it does";
}

TEST_F(heal_command, is_content_when_its_step_has_helped)
{
    world.write("/iptables",
                COUNT + "[ $step -gt 0 ] || echo \"-A PREROUTING -d 192.0.2.66/32 -i w1 -j "
                        "VSERVER\"\n",
                0755);
    EXPECT_EQ(run_mctl({"heal"}), (told{0, step_of("1", "66"), ""}));
    EXPECT_EQ(trace(), trace_of("1", "66"));
    EXPECT_EQ(looks(), 3U);
}

// Each step brings the next one to light; four rounds are enough.
TEST_F(heal_command, ends_after_four_rounds)
{
    has_left("w$((step + 1))", "66");
    EXPECT_EQ(
        run_mctl({"heal"}),
        (told{1, step_of("1", "66") + step_of("2", "66") + step_of("3", "66") + step_of("4", "66"),
              ""}));
    EXPECT_EQ(looks(), 8U);
}

// An event was in between its steps.
TEST_F(heal_command, leaves_alone_what_is_another_at_the_second_look)
{
    has_left("w$look", "66");
    EXPECT_EQ(run_mctl({"heal"}), (told{1, "", ""})) << "of another link";
    EXPECT_EQ(trace(), "sleep 2\n");
    world.write("/look", "0\n");
    has_left("w1", "$look");
    EXPECT_EQ(run_mctl({"heal"}), (told{1, "", ""})) << "of another address";
    world.write("/look", "0\n");
    world.write("/iptables",
                COUNT + "[ $look -gt 1 ] || echo \"-A PREROUTING -d 192.0.2.66/32 -i w1 -j "
                        "VSERVER\"\n",
                0755);
    EXPECT_EQ(run_mctl({"heal"}), (told{0, "", ""})) << "gone by itself";
    EXPECT_EQ(looks(), 2U);
    world.write("/iptables",
                COUNT + R"(echo '{"Network":{"Lan":[],"Wan":[{"iface":"w1","name":"ANOTHER",)"
                        R"("type":"dhcp","auto":false}]}}' > /var/run/Config
                        echo "-A PREROUTING -d 192.0.2.66/32 -i w1 -j VSERVER")",
                0755);
    EXPECT_EQ(run_mctl({"heal"}), (told{1, "", ""})) << "of another name";
}

// The links that there are at a look, and no more: the last one was the router's before.
TEST_F(heal_command, rests_when_a_link_has_gone)
{
    world.write("/iptables",
                COUNT + "[ $step -gt 0 ] || echo \"-A PREROUTING -d 192.0.2.66/32 -i ppp4 -j "
                        "VSERVER\"\n",
                0755);
    world.write(STORE, R"({"state_links":[{"iface":"ppp7","ipaddr":"10.1.1.1"}]})");
    EXPECT_EQ(run_mctl({"heal"}),
              (told{0,
                    "router: take the way from 192.0.2.66 on ppp4 into the port forwards away\n"
                    "ppp7: take back what is recorded of ppp7\n",
                    ""}));
    EXPECT_EQ(support::rests(world.trace(), "sleep "), "2");
}

TEST_F(heal_command, that_is_dry_looks_once_and_says_what_it_would_do)
{
    has_left("w1", "66");
    EXPECT_EQ(
        run_mctl({"heal", "--dry-run"}),
        (told{1, "WAN1: would take the way from 192.0.2.66 on w1 into the port forwards away\n",
              ""}));
    EXPECT_EQ(trace(), "sleep 2\n");
    EXPECT_EQ(looks(), 2U);
    EXPECT_FALSE(world.exists(HEAL_RECORD));
    EXPECT_FALSE(world.exists(FIREWALL_RECORD));
}

TEST_F(heal_command, that_is_dry_finds_nothing_to_do)
{
    world.write("/iptables", "#!/bin/sh\n", 0755);
    EXPECT_EQ(run_mctl({"heal", "--dry-run"}), (told{0, "", ""}));
    world.write("/var/run/Config",
                R"({"Network":{"Lan":[{"iface":"br0","type":"static"}],"Wan":[]}})");
    EXPECT_EQ(run_mctl({"heal", "--dry-run"}), (told{1, "", ""}));
    EXPECT_EQ(trace(), "");
}

// All steps of a round are taken, the router's first.
TEST_F(heal_command, mends_the_router_first)
{
    has_left("w1", "66");
    world.write("/var/lock/Config.lock", "999999");
    EXPECT_EQ(run_mctl({"heal"}),
              (told{1, "router: remove the lock Config\n" + step_of("1", "66"), ""}));
}

// What is not mended does not keep it from the reason behind it.
TEST_F(heal_command, mends_what_stands_behind_what_it_leaves_alone)
{
    world.write("/var/lock/Config.lock", std::to_string(world.bystander(false, "mcfg")));
    has_left("ppp4", "66");
    EXPECT_EQ(run_mctl({"heal"}),
              (told{1, "router: take the way from 192.0.2.66 on ppp4 into the port forwards away\n",
                    ""}));
}

TEST_F(heal_command, leaves_no_lock_and_no_descriptor)
{
    has_left("w1", "66");
    world.write("/var/run/udhcpc.w2.pid", std::to_string(world.bystander(false, "udhcpc")));
    const std::set<int> open = support::open_descriptors();
    for (const std::vector<std::string> &words :
         {std::vector<std::string>{"heal"}, {"heal", "--dry-run"}, {"status"}, {"report"}}) {
        run_mctl(words);
        EXPECT_EQ(support::open_descriptors(), open) << words[0];
    }
}

// ---- others

// A process that has the record until it is ended.
class having
{
  public:
    explicit having(const char *path)
    {
        int made[2];
        EXPECT_EQ(pipe(made), 0);
        process = fork();
        if (process == 0) {
            bool has_it = take_record(path, true) >= 0;
            while (write(made[1], has_it ? "y" : "n", 1) == 1)
                pause();
            _exit(1);
        }
        char answer = 'n';
        EXPECT_EQ(read(made[0], &answer, 1), 1);
        EXPECT_EQ(answer, 'y');
        close(made[0]);
        close(made[1]);
    }
    ~having()
    {
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
    }

  private:
    pid_t process;
};

TEST_F(heal_command, makes_way_for_another)
{
    has_left("w1", "66");
    {
        having another(HEAL_RECORD);
        EXPECT_EQ(run_mctl({"heal"}), (told{0, "another mctl heal is at work\n", ""}));
        EXPECT_EQ(trace(), "");
        EXPECT_EQ(run_mctl({"heal", "--dry-run"}).status, 1) << "which needs no lock";
    }
    world.clear_trace();
    world.on("fail EACCES lock");
    EXPECT_EQ(run_mctl({"heal"}), (told{0, "another mctl heal is at work\n", ""}));
    world.on("fail EAGAIN lock");
    EXPECT_EQ(run_mctl({"heal"}), (told{0, "another mctl heal is at work\n", ""}));
}

TEST_F(heal_command, makes_way_for_a_rebuild_of_the_firewall)
{
    has_left("w1", "66");
    having another(FIREWALL_RECORD);
    EXPECT_EQ(run_mctl({"heal"}),
              (told{1, "WAN1: left alone, as the firewall is being rebuilt\n", ""}));
    EXPECT_EQ(trace(), "sleep 2\n");
    EXPECT_EQ(looks(), 2U);
    EXPECT_EQ(run_mctl({"heal", "--dry-run"}).out,
              "WAN1: would take the way from 192.0.2.66 on w1 into the port forwards away\n");
}

// Each of the three steps that change the ways.
TEST_F(heal_command, leaves_all_ways_alone_during_a_rebuild)
{
    world.interface("w1");
    world.in_network({"ip", "link", "set", "w1", "up"});
    world.in_network({"ip", "address", "add", "192.0.2.77/24", "dev", "w1"});
    world.write("/var/run/Config", R"({"Network":{"Lan":[],"Wan":[]}})");
    world.write(STORE, R"({"state_links":[{"iface":"w1","ipaddr":"192.0.2.77"}]})");
    having another(FIREWALL_RECORD);
    world.write("/iptables", COUNT, 0755);
    EXPECT_EQ(run_mctl({"heal"}),
              (told{1, "w1: left alone, as the firewall is being rebuilt\n", ""}));
    EXPECT_EQ(looks(), 2U);
    world.write("/look", "0\n");
    has_left("w1", "77/32 -i w1 -j VSERVER\n-A PREROUTING -d 192.0.2.77");
    EXPECT_EQ(run_mctl({"heal"}),
              (told{1, "w1: left alone, as the firewall is being rebuilt\n", ""}));
    EXPECT_EQ(looks(), 2U) << "there was nothing that another round could mend";
    EXPECT_EQ(trace().find(" -D "), std::string::npos);
    EXPECT_EQ(trace().find(" -I "), std::string::npos);
}

// ---- what goes wrong

TEST_F(heal_command, that_cannot_have_its_lock_does_nothing)
{
    world.mkdir(HEAL_RECORD);
    EXPECT_EQ(run_mctl({"heal"}), (told{2, "", "/var/run/mctl-heal.lock: Is a directory\n"}));
    EXPECT_EQ(world.trace(), "");
}

TEST_F(heal_command, that_cannot_look_says_so)
{
    world.write("/iptables", "#!/bin/sh\nexit 3\n", 0755);
    EXPECT_EQ(
        run_mctl({"heal"}),
        (told{
            2, "",
            "mctl: cannot list the nat table: iptables -t nat -S ended with 3, is this root?\n"}));
    EXPECT_EQ(
        run_mctl({"heal", "--dry-run"}),
        (told{
            2, "",
            "mctl: cannot list the nat table: iptables -t nat -S ended with 3, is this root?\n"}));
}

TEST_F(heal_command, that_cannot_look_again_says_so)
{
    world.write("/iptables",
                COUNT + "[ $look -lt 2 ] || exit 5\n"
                        "echo \"-A PREROUTING -d 192.0.2.66/32 -i w1 -j VSERVER\"\n",
                0755);
    EXPECT_EQ(
        run_mctl({"heal"}),
        (told{
            2, "",
            "mctl: cannot list the nat table: iptables -t nat -S ended with 5, is this root?\n"}));
}

// ---- the same of mctl status

struct fault_row {
    const char *name;
    std::string config;
    const char *fault;
};

// clang-format off
const fault_row fault_rows[] = {
    {"nothing", "", "/var/run/Config is no JSON: mcfg set_config makes it"},
    {"half a document", R"({"Network":{"Lan":[{"ifa)", "/var/run/Config is no JSON: mcfg set_config makes it"},
    {"too long a document", "{}" + std::string(1024 * 1024, '\n'), "/var/run/Config is too long: mcfg set_config makes it"},
    {"another kind of document", "[]", "/var/run/Config has not the lists Network/Lan and Network/Wan, an iface in each entry: mcfg set_config makes it"},
    {"no LAN", R"({"Network":{"Wan":[]}})", "/var/run/Config has not the lists Network/Lan and Network/Wan, an iface in each entry: mcfg set_config makes it"},
    {"no WAN", R"({"Network":{"Lan":[]}})", "/var/run/Config has not the lists Network/Lan and Network/Wan, an iface in each entry: mcfg set_config makes it"},
    {"another kind of LAN", R"({"Network":{"Lan":[{"iface":"br0"},7],"Wan":[]}})", "/var/run/Config has not the lists Network/Lan and Network/Wan, an iface in each entry: mcfg set_config makes it"},
    {"another kind of WAN", R"({"Network":{"Lan":[],"Wan":[{"iface":7}]}})", "/var/run/Config has not the lists Network/Lan and Network/Wan, an iface in each entry: mcfg set_config makes it"},
};
// clang-format on

TEST_F(heal_command, and_status_tell_what_is_wrong_with_the_document)
{
    for (const fault_row &row : fault_rows) {
        SCOPED_TRACE(row.name);
        world.write("/var/run/Config", row.config);
        const told expected = {2, "", "mctl: " + std::string(row.fault) + "\n"};
        EXPECT_EQ(run_mctl({"status"}), expected);
    }
    world.remove("/var/run/Config");
    const told missing = {2, "", "mctl: /var/run/Config is missing: mcfg set_config makes it\n"};
    EXPECT_EQ(run_mctl({"status"}), missing);
    EXPECT_EQ(run_mctl({"status", "--json"}), missing);
    EXPECT_EQ(run_mctl({"heal"}), missing);
    world.mkdir("/var/run/Config");
    EXPECT_EQ(run_mctl({"status"}).err,
              "mctl: /var/run/Config is no plain file: mcfg set_config makes it\n");
    EXPECT_EQ(world.trace(), "");
}

TEST_F(heal_command, and_status_tell_of_a_document_that_cannot_be_read)
{
    world.on("fail EIO open /var/run/Config");
    EXPECT_EQ(run_mctl({"status"}),
              (told{2, "", "mctl: /var/run/Config cannot be read: mcfg set_config makes it\n"}));
}

struct unread_row {
    const char *name;
    std::string content;
    const char *rule;
    const char *fault;
};

// clang-format off
const unread_row unread_rows[] = {
    {"cannot be read", R"({"state_links":[{"iface":"ppp4","ipaddr":"192.0.2.66"}]})", "fail EMFILE open /var/run/state_link",
     "cannot be read"},
    {"too long and torn", "[" + std::string(1024 * 1024, ' '), "", "is too long"},
};
// clang-format on

// It may hold the records of all links, and these links would look like ones that nobody knows of.
TEST_F(heal_command, and_status_leave_a_store_alone_that_cannot_be_read)
{
    has_left("ppp4", "66");
    for (const unread_row &row : unread_rows) {
        SCOPED_TRACE(row.name);
        world.write(STORE, row.content);
        if (row.rule[0] != '\0')
            world.on(row.rule);
        const told expected = {2, "",
                               "mctl: /var/run/state_link " + std::string(row.fault) +
                                   ": try again, or move it away\n"};
        EXPECT_EQ(run_mctl({"status"}), expected);
        EXPECT_EQ(run_mctl({"heal"}), expected);
        world.clear_rules();
        EXPECT_EQ(world.read(STORE), row.content);
    }
    EXPECT_EQ(support::without(world.trace(), {"open "}), "");
}

TEST_F(heal_command, and_status_tell_of_a_network_that_cannot_be_seen)
{
    for (const char *call : {"getifaddrs", "open /proc/net/route"}) {
        world.clear_rules();
        world.on(std::string("fail EMFILE ") + call);
        const told expected = {2, "", "mctl: cannot see the network: Too many open files\n"};
        EXPECT_EQ(run_mctl({"status"}), expected) << call;
        EXPECT_EQ(run_mctl({"heal"}), expected) << call;
    }
}

TEST_F(heal_command, and_status_show_colours_on_a_terminal)
{
    has_left("w1", "66");
    EXPECT_EQ(run_mctl({"status"}).out.find('\033'), std::string::npos);
    world.on("skip isatty 1");
    EXPECT_NE(run_mctl({"status"}).out.find("\033[31modd "), std::string::npos);
}

// It is written in place, which takes a moment.
TEST_F(heal_command, and_status_wait_for_a_document_that_is_being_written)
{
    world.write("/iptables", "#!/bin/sh\n", 0755);
    for (const char *path : {"/var/run/Config", STORE}) {
        world.write(STORE, R"({"state_links":[]})");
        const std::string whole = world.read(path);
        world.write(path, whole.substr(0, 10));
        pid_t writer = fork();
        if (writer == 0) {
            usleep(70 * 1000);
            world.write(path, whole);
            _exit(0);
        }
        EXPECT_EQ(run_mctl({"status"}).status, 0) << path;
        EXPECT_EQ(waitpid(writer, nullptr, 0), writer);
    }
}

TEST_F(heal_command, and_status_end_with_what_they_have_found)
{
    world.write("/iptables", "#!/bin/sh\n", 0755);
    EXPECT_EQ(run_mctl({"status"}).status, 0);
    EXPECT_EQ(run_mctl({"status"}).err, "");
    EXPECT_EQ(run_mctl({"status", "--json"}).status, 0);
    has_left("w1", "66");
    EXPECT_EQ(run_mctl({"status"}).status, 1);
    EXPECT_EQ(run_mctl({"status", "--json"}).status, 1);
    EXPECT_EQ(run_mctl({"status"}).out.substr(0, 5), "NAME ");
    EXPECT_EQ(run_mctl({"status", "--json"}).out.substr(0, 2), "{\n");
    EXPECT_EQ(trace(), "");
}

} // namespace
