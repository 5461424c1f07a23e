// What the routines of the firewall give back.
#include "firewall/firewall.h"
#include "firewall/tables.h"

#include "support/unit_test.h"

namespace
{

class firewall_result : public support::unit_test
{
  protected:
    // Its progress goes to standard output.
    int start(const char *lan)
    {
        struct context {
            const char *lan;
            int result;
        } run = {lan, 7};
        support::private_world::captured(
            1,
            [](void *c) {
                context *it = static_cast<context *>(c);
                it->result = start_firewall_morvi(it->lan, "vlan2", "none");
            },
            &run);
        return run.result;
    }
};

TEST_F(firewall_result, of_a_start_tells_whether_the_lan_has_an_address)
{
    world.interface("br0");
    EXPECT_EQ(start("br0"), -1);
    EXPECT_EQ(start(nullptr), -1);
    world.in_network({"ip", "address", "add", "192.168.1.1/24", "dev", "br0"});
    EXPECT_EQ(start("br0"), 0);
}

TEST_F(firewall_result, of_reading_the_switches_is_logged)
{
    world.interface("br0");
    world.in_network({"ip", "address", "add", "192.168.1.1/24", "dev", "br0"});
    world.write("/etc/default/ip_filter", "NAT_ENABLE=0\nDDOS_ENABLE=0\nMAC_FILTER_ENABLE=2\n");
    EXPECT_EQ(start("br0"), 0);
    std::string log = world.trace_of({"log"});
    size_t begin = log.find("log firewall_update: fw_enable");
    EXPECT_TRACE(R"(
        log firewall_update: fw_enable=1, nat_enable=0, vts_enable=1
        log firewall_update: tr_ports_enable=1, ddos_enable=0, wan_ping_enable=1
        log firewall_update: mac_enable=2, url_enable=1
    )",
                 log.substr(begin, log.find("url_enable=1\n", begin) + 13 - begin));
}

TEST_F(firewall_result, of_a_table_tells_whether_its_file_could_be_made)
{
    EXPECT_EQ(filter_setting_morvi("br0", "192.168.1.1", "vlan2", "ACCEPT", "DROP"), 0);
    EXPECT_EQ(mangle_setting_morvi("br0", "vlan2", "ACCEPT", "DROP"), 0);
    world.on("exit 3 iptables-restore /tmp/mangle_rules");
    EXPECT_EQ(mangle_setting_morvi("br0", "vlan2", "ACCEPT", "DROP"), 3 << 8);
    for (const char *path : {FILTER_RULES, MANGLE_RULES}) {
        world.remove(path);
        world.mkdir(path);
    }
    EXPECT_EQ(filter_setting_morvi("br0", "192.168.1.1", "vlan2", "ACCEPT", "DROP"), -1);
    EXPECT_EQ(mangle_setting_morvi("br0", "vlan2", "ACCEPT", "DROP"), 0);
}

} // namespace
