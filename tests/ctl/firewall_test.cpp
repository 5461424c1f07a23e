// mctl firewall, all that it says and does, with tools that are played: what is refused, what is
// not as it was generated, and the ways into the port forwards.
#include "ctl/record_lock.h"
#include "ctl/run_mctl.h"
#include "support/descriptors.h"
#include "support/texts.h"
#include "support/unit_test.h"

#include <signal.h>
#include <unistd.h>

namespace
{

using ctl_test::run_mctl;
using ctl_test::told;

const std::string RECORD = R"({"iface":"vlan2","ipaddr":"192.0.2.77"})";
const std::string JUMP = "-A PREROUTING -d 192.0.2.77/32 -i vlan2 -j VSERVER";
const std::string CHECKED = "0 errors, 0 warnings\n";
const std::string LOADED = CHECKED + "nat: loaded\nfilter: loaded\nmangle: loaded\n";
const std::string NO_WAY = CHECKED + "the ways into the port forwards could not be put right\n";
const std::string LOOK = "run iptables -t nat -S\n";
const std::string ADD = "run iptables -t nat -I PREROUTING -i vlan2 -d 192.0.2.77 -j VSERVER\n";
const std::string DROP = "run iptables -t nat -D PREROUTING -i vlan2 -d 192.0.2.77 -j VSERVER\n";

// As the trace has equal lines that follow each other.
std::string folded(const std::string &lines)
{
    std::string result, last;
    int times = 0;
    for (const std::string &line : support::lines_of(lines + "\n")) {
        if (line == last) {
            times++;
            continue;
        }
        if (times > 0)
            result += last + (times > 1 ? " (x" + std::to_string(times) + ")" : "") + "\n";
        last = line;
        times = 1;
    }
    return result;
}

class firewall_command : public support::unit_test
{
  protected:
    void SetUp() override
    {
        unit_test::SetUp();
        world.copy_in(support::example_path("router"), "/");
        world.copy_in(support::example_path("pppoe"), "/");
        world.write("/etc/default/ip_filter", "MAC_FILTER_ENABLE=1\n");
        world.tool("/sbin/firewall_update");
        world.write("/tmp/nat_rules", "*nat\n-A VSERVER -j ACCEPT\nCOMMIT\n");
        world.write("/tmp/filter_rules", "of before\n");
        world.write("/tmp/mangle_rules", "*mangle\n-A PREROUTING -j ACCEPT\nCOMMIT\n");
        world.write("/var/run/state_link", R"({"state_links":[)" + RECORD + "]}");
        // It writes the rule file behind that of the nat table, as the real one does.
        world.write("/rebuild",
                    "#!/bin/sh\necho '-A INPUT -j DROP' > /tmp/filter_rules\n"
                    "echo firewall start\necho firewall done\n",
                    0755);
    }

    void rebuilds() { world.on("pass /rebuild firewall_update"); }

    void lists(const std::string &nat = JUMP, const std::string &times = "")
    {
        world.on("print '" + nat + "\\n-A VSERVER -j ACCEPT\\n' iptables -t nat -S" + times);
        world.on("print '-A INPUT -j DROP\\n' iptables -t filter -S");
        world.on("print '-A PREROUTING -j ACCEPT\\n' iptables -t mangle -S");
    }

    told run() { return run_mctl({"firewall", "br0", "vlan2", "both"}); }

    std::string trace() const { return support::without(world.trace(), {"log "}); }
};

// Once by the process beside the rebuild, once behind it.
TEST_F(firewall_command, says_what_is_loaded)
{
    rebuilds();
    lists();
    EXPECT_EQ(run(), (told{0, LOADED, ""}));
    EXPECT_EQ(trace(), folded("run firewall_update br0 vlan2 both\n" + LOOK + LOOK) +
                           "run iptables-restore --test /tmp/nat_rules\n" + LOOK +
                           "run iptables-restore --test /tmp/filter_rules\n"
                           "run iptables -t filter -S\n"
                           "run iptables-restore --test /tmp/mangle_rules\n"
                           "run iptables -t mangle -S\n");
    for (const char *mode : {"accept", "drop", "none"})
        EXPECT_EQ(run_mctl({"firewall", "br0", "vlan2", mode}), (told{0, LOADED, ""})) << mode;
}

TEST_F(firewall_command, says_first_what_the_settings_have_wrong)
{
    world.write("/etc/default/rules", "DROP a - 203.0.113.256 - - - - -\n");
    world.write("/etc/TZ", "Europe/Berlin\n"); // which is no business of the firewall's
    world.write("/etc/default/ppp-peers", "wan1\n");
    rebuilds();
    lists();
    told seen = run();
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(
        seen.out,
        "/etc/default/rules:1:source: error: network: \"203.0.113.256\" is no address, network "
        "or range that iptables takes, so it refuses the whole table; write an address, "
        "ADDRESS/BITS or - for any; in rules also FIRST-LAST\n1 error, 0 warnings\n" +
            LOADED.substr(CHECKED.size()));
}

struct nothing_row {
    const char *name;
    const char *rule;
    const char *expected;
};

const nothing_row nothing_rows[] = {
    {"no address", "print 'firewall start\\n' firewall_update",
     "firewall_update has rebuilt nothing (status 0): has br0 an address?\n"},
    {"killed", "exit 3 firewall_update",
     "firewall_update has rebuilt nothing (status 3): has br0 an address?\n"},
};

// The process beside the rebuild has nothing to see, and is ended.
TEST_F(firewall_command, says_that_nothing_was_rebuilt)
{
    for (const nothing_row &row : nothing_rows) {
        world.clear_rules();
        world.clear_trace();
        world.on(row.rule);
        EXPECT_EQ(run(), (told{1, CHECKED + row.expected, ""})) << row.name;
        std::string trace = this->trace();
        EXPECT_EQ(support::without(trace, {"kill "}), "run firewall_update br0 vlan2 both\n");
        EXPECT_NE(trace.find(" SIGKILL\n"), std::string::npos) << trace;
    }
}

TEST_F(firewall_command, that_fails_in_the_end_has_rebuilt_nothing)
{
    world.write("/rebuild", "#!/bin/sh\necho firewall done\nexit 3\n", 0755);
    rebuilds();
    EXPECT_EQ(run(), (told{1, CHECKED + nothing_rows[1].expected, ""}));
}

struct loaded_row {
    const char *name;
    std::vector<std::string> rules;
    const char *expected;
};

// clang-format off
const loaded_row loaded_rows[] = {
    {"nat refused", {"print 'iptables-restore: line 2 failed\\n' iptables-restore --test /tmp/nat_rules", "exit 1 iptables-restore --test /tmp/nat_rules"},
     "nat: refused, the table before stays in force\n    iptables-restore: line 2 failed\n    /tmp/nat_rules:2: -A VSERVER -j ACCEPT\nfilter: loaded\nmangle: loaded\n"},
    {"filter refused without a word", {"exit 2 iptables-restore --test /tmp/filter_rules"},
     "nat: loaded\nfilter: refused, the table before stays in force\nmangle: loaded\n"},
    {"mangle refused", {"exit 2 iptables-restore --test /tmp/mangle_rules"},
     "nat: loaded\nfilter: loaded\nmangle: refused, the table before stays in force\n"},
    {"mangle is another", {"print '-A PREROUTING -j DROP\\n' iptables -t mangle -S"},
     "nat: loaded\nfilter: loaded\nmangle: not as it was generated: \"PREROUTING ACCEPT\" is \"PREROUTING DROP\"\n"},
    {"mangle is none that can be printed", {"print '-A PREROUTING -j \\x1b[2J\\n' iptables -t mangle -S"},
     "nat: loaded\nfilter: loaded\nmangle: not as it was generated: \"PREROUTING ACCEPT\" is \"PREROUTING ?[2J\"\n"},
    {"filter cannot be listed", {"exit 4 iptables -t filter -S"},
     "nat: loaded\nfilter: cannot be listed: iptables ended with 4\nmangle: loaded\n"},
};
// clang-format on

TEST_F(firewall_command, says_what_is_not_loaded)
{
    for (const loaded_row &row : loaded_rows) {
        SCOPED_TRACE(row.name);
        world.clear_rules();
        for (const std::string &rule : row.rules)
            world.on(rule);
        rebuilds();
        lists();
        EXPECT_EQ(run(), (told{1, CHECKED + row.expected, ""}));
    }
}

struct jump_row {
    const char *name;
    std::string listed;
    std::string records;
    std::string steps; // of each look
};

// clang-format off
const jump_row wrong_jumps[] = {
    {"no way", "", RECORD, ADD},
    {"a way too many", JUMP + "\\n" + JUMP, RECORD, DROP},
    {"two ways too many", JUMP + "\\n" + JUMP + "\\n" + JUMP, RECORD, DROP + DROP},
    {"no way, of two links", "", RECORD + R"(,{"iface":"ppp1","ipaddr":"10.9.0.10"})", ADD + "run iptables -t nat -I PREROUTING -i ppp1 -d 10.9.0.10 -j VSERVER\n"},
    {"a way of the first of two links", JUMP, RECORD + R"(,{"iface":"ppp1","ipaddr":"10.9.0.10"})", "run iptables -t nat -I PREROUTING -i ppp1 -d 10.9.0.10 -j VSERVER\n"},
    {"a way of the second of two links", JUMP, R"({"iface":"ppp1","ipaddr":"10.9.0.10"},)" + std::string(RECORD), "run iptables -t nat -I PREROUTING -i ppp1 -d 10.9.0.10 -j VSERVER\n"},
};
// clang-format on

// Played, it stays so: three times the process beside the rebuild tries, three times it itself.
TEST_F(firewall_command, says_that_ways_into_the_forwards_are_not_right)
{
    for (const jump_row &row : wrong_jumps) {
        SCOPED_TRACE(row.name);
        world.clear_rules();
        world.clear_trace();
        rebuilds();
        lists(row.listed);
        world.write("/var/run/state_link", R"({"state_links":[)" + row.records + "]}");
        EXPECT_EQ(run(), (told{1, NO_WAY + LOADED.substr(CHECKED.size()), ""}));
        std::string expected = "run firewall_update br0 vlan2 both\n";
        for (int i = 0; i < 6; i++)
            expected += LOOK + row.steps;
        std::string seen = trace();
        EXPECT_EQ(seen.substr(0, seen.find("run iptables-restore")), folded(expected));
    }
}

TEST_F(firewall_command, puts_a_way_into_the_forwards_right)
{
    rebuilds();
    world.on("print '-A VSERVER -j ACCEPT\\n' iptables -t nat -S #1");
    lists();
    EXPECT_EQ(run(), (told{0, LOADED, ""}));
    std::string seen = trace();
    EXPECT_EQ(seen.substr(0, seen.find("run iptables-restore")),
              folded("run firewall_update br0 vlan2 both\n" + LOOK + ADD + LOOK + LOOK));
}

TEST_F(firewall_command, leaves_records_without_an_address_alone)
{
    world.write("/var/run/state_link", R"({"state_links":[{"iface":"ppp1","ipaddr":null},)"
                                       R"({"iface":"","ipaddr":"10.9.0.10"},7]})");
    rebuilds();
    lists("");
    EXPECT_EQ(run(), (told{0, LOADED, ""}));
    EXPECT_EQ(trace().find(" -I "), std::string::npos);
    world.remove("/var/run/state_link");
    EXPECT_EQ(run(), (told{0, LOADED, ""}));
}

TEST_F(firewall_command, that_cannot_list_the_ways_says_so)
{
    rebuilds();
    world.on("exit 4 iptables -t nat -S");
    lists();
    EXPECT_EQ(
        run(),
        (told{1,
              NO_WAY +
                  "nat: cannot be listed: iptables ended with 4\nfilter: loaded\nmangle: loaded\n",
              ""}));
}

struct store_row {
    const char *name;
    const char *content;
    const char *rule;
    const char *fault;
};

const store_row store_rows[] = {
    {"of another kind", "{}", "", "has no state_links"},
    {"cannot be opened", R"({"state_links":[]})", "fail EMFILE open /var/run/state_link",
     "cannot be read"},
};

// Nobody knows then which links there are, so none can be led there.
TEST_F(firewall_command, that_cannot_use_the_store_says_so)
{
    for (const store_row &row : store_rows) {
        SCOPED_TRACE(row.name);
        world.clear_rules();
        world.write("/var/run/state_link", row.content);
        if (row.rule[0] != '\0')
            world.on(row.rule);
        rebuilds();
        lists("");
        EXPECT_EQ(run(), (told{1,
                               CHECKED + "/var/run/state_link " + row.fault +
                                   ": mctl status tells what to do\n" +
                                   NO_WAY.substr(CHECKED.size()) + LOADED.substr(CHECKED.size()),
                               ""}));
    }
}

// Then the ways wait for the end of the rebuild.
TEST_F(firewall_command, does_without_the_process_beside_the_rebuild)
{
    rebuilds();
    world.on("fail EAGAIN fork #1");
    lists();
    EXPECT_EQ(run(), (told{0, LOADED, ""}));
    std::string seen = support::without(trace(), {"fork"});
    EXPECT_EQ(seen.substr(0, seen.find("run iptables-restore")),
              "run firewall_update br0 vlan2 both\n" + LOOK);
}

// Of which there is none to end either, nor any other.
TEST_F(firewall_command, that_has_rebuilt_nothing_does_without_it)
{
    world.on("fail EAGAIN fork #1");
    world.on("skip kill");
    world.on("print 'firewall start\\n' firewall_update");
    EXPECT_EQ(run(), (told{1, CHECKED + nothing_rows[0].expected, ""}));
    EXPECT_EQ(support::without(trace(), {"fork"}), "run firewall_update br0 vlan2 both\n");
}

TEST_F(firewall_command, leaves_no_lock_and_no_descriptor)
{
    rebuilds();
    lists();
    const std::set<int> open = support::open_descriptors();
    run();
    EXPECT_EQ(support::open_descriptors(), open);
}

TEST_F(firewall_command, that_cannot_have_its_lock_does_nothing)
{
    world.mkdir(FIREWALL_RECORD);
    EXPECT_EQ(run(), (told{2, "", "/var/run/mctl-firewall.lock: Is a directory\n"}));
    EXPECT_EQ(world.trace(), "");
}

} // namespace
