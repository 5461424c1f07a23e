// mctl firewall, with the built program behind firewall_update and this machine's iptables, reached
// through the translator of the rule dialect, in the box's own network.
#include "support/expect.h"
#include "support/router_box.h"
#include "support/texts.h"
#include "support/world_root.h"

#include <gtest/gtest.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace
{

constexpr char JUMP[] = "-A PREROUTING -d 192.0.2.77/32 -i vlan2 -j VSERVER\n";
constexpr char LOADED[] = "nat: loaded\nfilter: loaded\nmangle: loaded\n";

size_t count(const std::string &text, const std::string &part)
{
    size_t found = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        found++;
    return found;
}

class mctl_firewall : public testing::Test
{
  protected:
    support::router_box box{support::program_of_build("mctl")};

    void SetUp() override
    {
        box.copy_in(support::example_path("router"), "/");
        box.interface("br0");
        box.in_network({"ip", "address", "add", "192.168.1.1/24", "dev", "br0"});
        // Distributions reach these through links.
        box.bind("/usr/sbin/xtables-legacy-multi", "/usr/sbin/iptables-legacy-restore");
        box.bind("/usr/sbin/xtables-legacy-multi", "/real/iptables");
        box.bind("/usr/bin/mawk", "/usr/bin/awk");
        box.bind(MCFG_SOURCE_DIR "/lab/stand-ins/iptables-restore", "/lab/iptables-restore");
        box.bind(support::files_of_build().program, "/real/firewall_update");
        box.tool("/sbin/firewall_update");
        box.on("pass /lab/iptables-restore iptables-restore");
        box.on("pass /real/iptables iptables");
        box.on("pass /real/firewall_update firewall_update");
        box.write(
            "/var/run/state_link",
            R"({"state_links":[{"iface":"vlan2","name":"wan","type":"dhcp","ipaddr":"192.0.2.77"},)"
            R"({"iface":"ppp1","name":"wan1","type":"pppoe","ipaddr":null}]})");
    }

    support::outcome rebuild() { return box.run({"mctl", "firewall", "br0", "vlan2", "none"}); }

    // The lock is the machine's own, which other tests want.
    std::string rules(const std::string &table)
    {
        return box.in_network(
            {"env", "XTABLES_LOCKFILE=/dev/null", "iptables-legacy", "-t", table, "-S"});
    }
};

TEST_F(mctl_firewall, leads_recorded_links_into_the_port_forwards_once)
{
    for (int i = 0; i < 2; i++) {
        support::outcome seen = rebuild();
        EXPECT_EQ(seen.status, 0) << seen.err;
        EXPECT_NE(seen.out.find(LOADED), std::string::npos) << seen.out;
        EXPECT_EQ(count(rules("nat"), JUMP), 1u);
    }
    EXPECT_EQ(count(rules("nat"), "-A VSERVER "), 3u);
}

// While the filter table is still being loaded.
TEST_F(mctl_firewall, leads_them_there_as_soon_as_the_nat_table_is_loaded)
{
    EXPECT_EQ(rebuild().status, 0);
    box.on("wait /tmp/go run iptables-restore /tmp/filter_rules");
    pid_t run = box.start({"mctl", "firewall", "br0", "vlan2", "none"});
    for (int i = 0; i < 1000 && count(box.trace(), "-I PREROUTING") < 2; i++)
        usleep(20000);
    std::string meanwhile = rules("nat");
    box.write("/tmp/go", "");
    EXPECT_EQ(count(meanwhile, JUMP), 1u);
    EXPECT_EQ(box.finish(run).status, 0);
    EXPECT_EQ(count(rules("nat"), JUMP), 1u);
}

TEST_F(mctl_firewall, says_which_table_is_refused_and_by_which_settings_line)
{
    EXPECT_EQ(rebuild().status, 0);
    std::string before = rules("filter");
    box.write("/etc/default/rules", "# drop\nDROP a - 203.0.113.66 - - - - -\n"
                                    "DROP x - 203.0.113.999 - - - - -\n");
    support::outcome seen = rebuild();
    EXPECT_EQ(seen.status, 1);
    EXPECT_NE(seen.out.find("/etc/default/rules:3:source: error: "), std::string::npos) << seen.out;
    EXPECT_NE(seen.out.find("filter: refused, the table before stays in force\n"),
              std::string::npos)
        << seen.out;
    EXPECT_NE(seen.out.find("made of /etc/default/rules:3\n"), std::string::npos) << seen.out;
    EXPECT_NE(seen.out.find("nat: loaded\n"), std::string::npos);
    EXPECT_EQ(rules("filter"), before);
    EXPECT_EQ(count(rules("nat"), JUMP), 1u);
}

// iptables-restore repeats the words that it refuses, and the rule file has them as the list has.
TEST_F(mctl_firewall, shows_nothing_that_would_steer_a_terminal)
{
    box.write("/etc/default/rules", "DROP x - \033[31m - - - - -\n");
    support::outcome seen = rebuild();
    EXPECT_EQ(seen.status, 1);
    EXPECT_NE(seen.out.find("?[31m"), std::string::npos) << seen.out;
    seen.out += box.run({"mctl", "firewall", "\033[31m", "vlan2", "none"}).out;
    EXPECT_NE(seen.out.find("has ?[31m an address?"), std::string::npos) << seen.out;
    EXPECT_EQ(count(seen.out, "\033"), 0u) << seen.out;
}

TEST_F(mctl_firewall, that_is_refused_the_nat_table_leaves_it_with_its_jumps)
{
    EXPECT_EQ(rebuild().status, 0);
    std::string before = rules("nat");
    box.write("/etc/default/vservers", "web tcp 8080 80 192.168.1.20 - - - -\n"
                                       "ssh tcp 2222 22 192.168.1.256 - - - -\n");
    support::outcome seen = rebuild();
    EXPECT_EQ(seen.status, 1);
    EXPECT_NE(seen.out.find("nat: refused"), std::string::npos) << seen.out;
    EXPECT_NE(seen.out.find("made of /etc/default/vservers:2\n"), std::string::npos) << seen.out;
    EXPECT_EQ(rules("nat"), before);
}

TEST_F(mctl_firewall, without_an_address_in_the_lan_rebuilds_nothing)
{
    box.in_network({"ip", "address", "flush", "dev", "br0"});
    support::outcome seen = rebuild();
    EXPECT_EQ(seen.status, 1);
    EXPECT_NE(seen.out.find("firewall_update has rebuilt nothing"), std::string::npos) << seen.out;
}

TEST_F(mctl_firewall, five_at_once_leave_one_complete_set)
{
    std::vector<pid_t> runs;
    for (int i = 0; i < 5; i++)
        runs.push_back(box.start({"mctl", "firewall", "br0", "vlan2", "none"}));
    for (pid_t run : runs)
        EXPECT_EQ(box.finish(run).status, 0);
    EXPECT_EQ(count(rules("nat"), JUMP), 1u);
    EXPECT_EQ(count(rules("nat"), "-A VSERVER "), 3u);
}

const std::vector<std::string> USAGE[] = {
    {"mctl", "firewall"},
    {"mctl", "firewall", "br0", "vlan2"},
    {"mctl", "firewall", "br0", "", "none"},
    {"mctl", "firewall", "br0", "vlan2", "None"},
    {"mctl", "firewall", "br0", "vlan2", "none", "x"},
};

TEST_F(mctl_firewall, wrong_usage_ends_with_2_and_runs_nothing)
{
    for (const std::vector<std::string> &words : USAGE) {
        support::outcome seen = box.run(words);
        EXPECT_EQ(seen.status, 2);
        EXPECT_EQ(seen.trace, "");
    }
}

} // namespace
