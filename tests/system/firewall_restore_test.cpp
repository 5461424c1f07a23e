// "firewall_update" with a real iptables-restore behind it: the one of this machine, reached
// through the translator of the rule dialect, in the box's own network.
#include "system/firewall_box.h"

#include <filesystem>
#include <vector>

namespace
{

using namespace firewall_test;

class firewall_restore : public firewall_command
{
  protected:
    firewall_restore()
    {
        use_example();
        bind("/usr/sbin/iptables-legacy-restore");
        bind("/usr/bin/awk");
        box.bind(MCFG_SOURCE_DIR "/lab/stand-ins/iptables-restore", "/lab/iptables-restore");
        box.on("pass /lab/iptables-restore iptables-restore");
    }

    // Distributions reach both through links.
    void bind(const char *path) { box.bind(std::filesystem::canonical(path), path); }

    // The lock is the machine's own, which other tests want and an ordinary user cannot have.
    void iptables(const std::vector<std::string> &words)
    {
        std::vector<std::string> command = {"env", "XTABLES_LOCKFILE=/dev/null", "iptables-legacy",
                                            "--wait"};
        command.insert(command.end(), words.begin(), words.end());
        box.in_network(command);
    }

    std::string loaded(const std::string &table)
    {
        return rules_of(box.in_network({"iptables-legacy-save", "-t", table}));
    }

    std::string all_tables() { return loaded("mangle") + loaded("filter") + loaded("nat"); }
};

TEST_F(firewall_restore, loads_all_tables)
{
    support::outcome seen = update();
    EXPECT_EQ(seen.out, PROGRESS);
    EXPECT_EQ(seen.err, "");
    EXPECT_TRACE(rules_fixture("loaded_tables"), all_tables());
}

TEST_F(firewall_restore, replaces_a_table_as_a_whole)
{
    iptables({"-N", "ADDED"});
    iptables({"-A", "INPUT", "-j", "ADDED"});
    iptables({"-t", "nat", "-A", "OUTPUT", "-j", "RETURN"});
    update();
    EXPECT_TRACE(rules_fixture("loaded_tables"), all_tables());
}

TEST_F(firewall_restore, that_refuses_a_table_leaves_it_and_takes_the_others)
{
    update();
    box.write("/etc/default/rules", "DROP x y 203.0.113.999 - - - - -\n");
    box.write("/etc/default/igmp", "IGMP_ENABLE=0\n");
    support::outcome seen = update();
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(seen.out, PROGRESS);
    EXPECT_NE(seen.err.find("203.0.113.999"), std::string::npos) << seen.err;
    EXPECT_NE(seen.err.find("\nlab: REFUSED table filter, line "), std::string::npos) << seen.err;
    EXPECT_NE(seen.err.find(" of /tmp/filter_rules: -A "), std::string::npos) << seen.err;
    std::string expected = replaced(rules_fixture("loaded_tables"),
                                    "-A PREROUTING -d 224.0.0.0/4 -p udp -j TTL --ttl-inc 1\n"
                                    "-A PREROUTING -s 224.0.0.0/4 -p udp -j TTL --ttl-inc 1\n",
                                    "");
    EXPECT_TRACE(expected, all_tables());
}

TEST_F(firewall_restore, takes_the_tables_of_a_router_without_settings)
{
    box.remove("/etc/default");
    box.mkdir("/etc/default");
    support::outcome seen = update("both");
    EXPECT_EQ(seen.out, PROGRESS);
    EXPECT_EQ(seen.err.find("iptables"), std::string::npos) << seen.err;
    EXPECT_NE(loaded("filter").find("-A INPUT -j logdrop\n"), std::string::npos);
}

TEST_F(firewall_restore, refuses_the_tables_when_no_wan_interface_was_given)
{
    update();
    box.write("/etc/default/igmp", "IGMP_ENABLE=0\n");
    box.run({"firewall_update", "br0"});
    std::string filter_and_nat = loaded("filter") + loaded("nat");
    EXPECT_NE(rules_fixture("loaded_tables").find(filter_and_nat), std::string::npos)
        << filter_and_nat;
}

} // namespace
