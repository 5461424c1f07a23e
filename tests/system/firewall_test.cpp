// "firewall_update LAN WAN LOGMODE" as the router's software runs it: settings in, rule files,
// commands and log out.
#include "support/rows.h"
#include "system/firewall_box.h"

#include <map>
#include <vector>

namespace
{

using namespace firewall_test;

TEST_F(firewall_command, rebuilds_the_tables_of_the_example_router)
{
    use_example();
    support::outcome seen = update();
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(seen.out, PROGRESS);
    EXPECT_EQ(seen.err, "");
    EXPECT_TRACE(R"(
        log firewall_update: lan_if=br0, wan_if=vlan2, log_mode=none
        ioctl br0 SIOCGIFADDR -> 192.168.1.1
        ioctl br0 SIOCGIFNETMASK -> 255.255.255.0
        log get_ip_mask_from_iface: ipaddr = 192.168.1.1, mask = 255.255.255.0\n
        log firewall_update: lan_ip=192.168.1.1, lan_netmask=255.255.255.0
        log firewall_update: fw_enable=1, nat_enable=1, vts_enable=1
        log firewall_update: tr_ports_enable=1, ddos_enable=1, wan_ping_enable=0
        log firewall_update: mac_enable=2, url_enable=1
        log get_vservers_filters: start
        log get_vservers_rules: data[0] = web
        log get_vservers_rules: data[1] = tcp
        log get_vservers_rules: data[2] = 8080
        log get_vservers_rules: data[3] = 80
        log get_vservers_rules: data[4] = 192.168.1.20
        log get_vservers_rules: data[5] = -
        log get_vservers_rules: data[6] = -
        log get_vservers_rules: data[7] = -
        log get_vservers_rules: data[8] = -\n
        log get_vservers_rules: data[0] = ssh
        log get_vservers_rules: data[1] = tcp
        log get_vservers_rules: data[2] = 2222
        log get_vservers_rules: data[3] = 22
        log get_vservers_rules: data[4] = 192.168.1.20
        log get_vservers_rules: data[5] = -
        log get_vservers_rules: data[6] = -
        log get_vservers_rules: data[7] = -
        log get_vservers_rules: data[8] = -\n
        log get_vservers_rules: data[0] = game
        log get_vservers_rules: data[1] = udp
        log get_vservers_rules: data[2] = 30000
        log get_vservers_rules: data[3] = 30000
        log get_vservers_rules: data[4] = 192.168.1.30
        log get_vservers_rules: data[5] = -
        log get_vservers_rules: data[6] = -
        log get_vservers_rules: data[7] = -
        log get_vservers_rules: data[8] = -\n
        log get_vservers_filters: done
        log get_masquerading: start
        log get_masquerading: done
        log porttrigger_setting_morvi: desc = chat, out_proto = tcp, out_port, in_proto=113, in_port=tcp
        log porttrigger_setting_morvi: desc = voice, out_proto = all, out_port, in_proto=7078, in_port=all
        shell iptables-restore /tmp/nat_rules
        log get_mac_filters: start
        log get_mac_filters: done
        log get_url_filters: start
        log get_url_filters: done
        log get_haccess_filters: start
        log /etc/default/httpd_access.conf: data[0] = HTTP
        log /etc/default/httpd_access.conf: data[1] = vlan2
        log /etc/default/httpd_access.conf: data[2] = 198.51.100.0
        log /etc/default/httpd_access.conf: data[3] = 255.255.255.0
        log /etc/default/httpd_access.conf: data[4] = ACCEPT
        log /etc/default/httpd_access.conf: data[0] = SUPPORT
        log /etc/default/httpd_access.conf: data[1] = auto
        log /etc/default/httpd_access.conf: data[2] = 203.0.113.8
        log /etc/default/httpd_access.conf: data[3] = 255.255.255.255
        log /etc/default/httpd_access.conf: data[4] = ACCEPT
        log /etc/default/httpd_access.conf: data[0] = HTTP
        log /etc/default/httpd_access.conf: data[1] = auto
        log /etc/default/httpd_access.conf: data[2] = any
        log /etc/default/httpd_access.conf: data[3] = any
        log /etc/default/httpd_access.conf: data[4] = DROP
        log get_haccess_filters: done
        run iptables-restore /tmp/filter_rules
        shell iptables-restore /tmp/mangle_rules
    )",
                 seen.trace);
    EXPECT_TRACE(rules_fixture("nat_rules"), box.read(NAT));
    EXPECT_TRACE(rules_fixture("filter_rules.none"), box.read(FILTER));
    EXPECT_TRACE(rules_fixture("mangle_rules"), box.read(MANGLE));
}

struct log_mode_case {
    const char *name;
    const char *log_mode;
    const char *filter_rules;
};

class log_mode : public firewall_command, public testing::WithParamInterface<log_mode_case>
{
};

TEST_P(log_mode, chooses_the_targets)
{
    use_example();
    EXPECT_EQ(update(GetParam().log_mode).out, PROGRESS);
    EXPECT_EQ(box.read(NAT), rules_fixture("nat_rules"));
    EXPECT_EQ(box.read(FILTER), rules_fixture(GetParam().filter_rules));
    EXPECT_EQ(box.read(MANGLE), rules_fixture("mangle_rules"));
}

INSTANTIATE_TEST_SUITE_P(
    modes, log_mode,
    testing::Values(log_mode_case{"accept", "accept", "filter_rules.accept"},
                    log_mode_case{"drop", "drop", "filter_rules.drop"},
                    log_mode_case{"both", "both", "filter_rules.both"},
                    log_mode_case{"none", "none", "filter_rules.none"},
                    log_mode_case{"of another case", "Both", "filter_rules.none"},
                    log_mode_case{"with a blank", "both ", "filter_rules.none"},
                    log_mode_case{"cut short", "dro", "filter_rules.none"},
                    log_mode_case{"empty", "", "filter_rules.none"}),
    support::row_name);

// A change of a file: the first place where before stands becomes after.
struct edit {
    const char *file;
    std::string before;
    std::string after;
};

// What a change of the example router's settings changes in its rule files.
struct switch_case {
    const char *name;
    std::vector<edit> settings;
    std::vector<edit> rules;
};

class switched : public firewall_command, public testing::WithParamInterface<switch_case>
{
};

TEST_P(switched, changes_its_rules_and_no_others)
{
    use_example();
    for (const edit &change : GetParam().settings)
        box.write(change.file, replaced(box.read(change.file), change.before, change.after));
    EXPECT_EQ(update().out, PROGRESS);
    std::map<std::string, std::string> expected = {{NAT, rules_fixture("nat_rules")},
                                                   {FILTER, rules_fixture("filter_rules.none")},
                                                   {MANGLE, rules_fixture("mangle_rules")}};
    for (const edit &change : GetParam().rules)
        expected[change.file] = replaced(expected[change.file], change.before, change.after);
    for (const auto &[path, rules] : expected)
        EXPECT_TRACE(rules, box.read(path));
}

constexpr char ASKS_H_ACCESS[] = "-A INPUT ! -i br0 -m state --state NEW -j H_ACCESS\n";
constexpr char CLOSES_INPUT[] = "-A INPUT ! -i br0 -m state --state NEW -j H_ACCESS\n"
                                "-A INPUT -j DROP\n";
constexpr char TRANSLATES[] = "-A POSTROUTING -o br0 -s 192.168.1.0/24 -d 192.168.1.0/24 "
                              "-j SNAT --to-source 192.168.1.1\n"
                              "-A POSTROUTING  -s 192.168.1.0/24 -j MASQUERADE\n";

INSTANTIATE_TEST_SUITE_P(
    switches, switched,
    testing::Values(
        switch_case{"firewall_off",
                    {{IP_FILTER, "FIREWALL_ENABLE=1", "FIREWALL_ENABLE=0"}},
                    {{FILTER, CLOSES_INPUT, ""}}},
        // Pings need no rule then: INPUT ends in its policy.
        switch_case{"firewall_off_and_ping_on",
                    {{IP_FILTER, "FIREWALL_ENABLE=1", "FIREWALL_ENABLE=0"},
                     {IP_FILTER, "WAN_PING_ENABLE=0", "WAN_PING_ENABLE=1"}},
                    {{FILTER, CLOSES_INPUT, ""}}},
        switch_case{
            "ping_on",
            {{IP_FILTER, "WAN_PING_ENABLE=0", "WAN_PING_ENABLE=1"}},
            {{FILTER, ASKS_H_ACCESS, std::string("-A INPUT -p icmp -j ACCEPT\n") + ASKS_H_ACCESS}}},
        switch_case{
            "nat_off", {{IP_FILTER, "NAT_ENABLE=1", "NAT_ENABLE=no"}}, {{NAT, TRANSLATES, ""}}},
        switch_case{"virtual_servers_off_is_nat_off",
                    {{IP_FILTER, "VSERVERS_ENABLE=1", "VSERVERS_ENABLE=0"}},
                    {{NAT, TRANSLATES, ""}}},
        switch_case{"dos_off",
                    {{IP_FILTER, "DDOS_ENABLE=1", "DDOS_ENABLE=0"}},
                    {{FILTER, "-A INPUT ! -i br0 -m state --state NEW -j SECURITY\n", ""},
                     {FILTER, "-A FORWARD ! -i br0 -m state --state NEW -j SECURITY\n", ""}}},
        switch_case{"trigger_ports_off",
                    {{IP_FILTER, "TRIGGER_PORTS_ENABLE=1", "TRIGGER_PORTS_ENABLE=0"}},
                    {{NAT,
                      "-A PREROUTING -p tcp -i br0 --dport 6667:6667 -j autofw --related-proto tcp "
                      "--related-dport 113-113 --related-to 113-113\n"
                      "-A PREROUTING -p tcp -i br0 --dport 5060:5060 -j autofw --related-proto tcp "
                      "--related-dport 7078-7078 --related-to 7078-7078\n"
                      "-A PREROUTING -p udp -i br0 --dport 5060:5060 -j autofw --related-proto udp "
                      "--related-dport 7078-7078 --related-to 7078-7078\n",
                      ""}}},
        switch_case{"mac_filter_off",
                    {{IP_FILTER, "MAC_FILTER_ENABLE=2", "MAC_FILTER_ENABLE=0"}},
                    {{FILTER,
                      "-A MACS -m mac --mac-source 02:00:00:00:00:0A -j DROP\n"
                      "-A MACS -m mac --mac-source 02:00:00:00:00:0B -m time --timestart 22:00 "
                      "--timestop 06:00 --days  Sun,Mon,Tue,Wed,Thu,Fri,Sat -j DROP\n"
                      "-A MACS -j ACCEPT\n"
                      "-A INPUT -i br0 -j MACS\n"
                      "-A FORWARD -i br0 -j MACS\n",
                      ""}}},
        switch_case{"mac_filter_allows",
                    {{IP_FILTER, "MAC_FILTER_ENABLE=2", "MAC_FILTER_ENABLE=allow"}},
                    {{FILTER, "0A -j DROP\n", "0A -j RETURN\n"},
                     {FILTER, "Sat -j DROP\n", "Sat -j RETURN\n"},
                     {FILTER, "-A MACS -j ACCEPT\n", "-A MACS -j DROP\n"}}},
        switch_case{"url_filter_off",
                    {{IP_FILTER, "URL_FILTER_ENABLE=1", "URL_FILTER_ENABLE=NO"}},
                    {{FILTER,
                      "-I FORWARD -p tcp -m webstr --url ads.example.net -j DROP\n"
                      "-I FORWARD -p tcp  -m webstr --url games.example.com -m time --timestart "
                      "08:00 --timestop 17:30 --days  Mon,Tue,Wed,Thu,Fri -j DROP\n",
                      ""}}},
        switch_case{"igmp_off",
                    {{"/etc/default/igmp", "IGMP_ENABLE=1", "IGMP_ENABLE=0"}},
                    {{FILTER,
                      "-A INPUT -d 224.0.0.0/240.0.0.0 -i vlan2 -j ACCEPT\n"
                      "-A INPUT -s 224.0.0.0/240.0.0.0 -i vlan2 -j ACCEPT\n",
                      ""},
                     {FILTER,
                      "-A FORWARD -d 224.0.0.0/240.0.0.0 -j ACCEPT\n"
                      "-A FORWARD -s 224.0.0.0/240.0.0.0 -j ACCEPT\n",
                      ""},
                     {FILTER, "-A FORWARD -p udp -d 224.0.0.0/4 -j ACCEPT\n", ""},
                     {MANGLE,
                      "-A PREROUTING -d 224.0.0.0/240.0.0.0 -p udp -j TTL --ttl-inc 1\n"
                      "-A PREROUTING -s 224.0.0.0/240.0.0.0 -p udp -j TTL --ttl-inc 1\n",
                      ""}}},
        switch_case{
            "upnp_off",
            {{"/etc/default/upnp", "UPNP_ENABLE=1", "UPNP_ENABLE=0"}},
            {{FILTER, "-A FORWARD -i vlan2 -o ! vlan2 -j MINIUPNPD\n-A MINIUPNPD -j RETURN\n", ""},
             {NAT, "-A PREROUTING -i vlan2 -j MINIUPNPD\n-A MINIUPNPD -j RETURN\n", ""}}},
        // Neither a missing file nor an unreadable line stops the rest.
        switch_case{"lines_that_say_nothing",
                    {{IP_FILTER, "FIREWALL_ENABLE=1", "\xff\x01FIREWALL_ENABLE=0\n#\n\n="}},
                    {}}),
    support::row_name);

TEST_F(firewall_command, logs_what_is_off)
{
    use_example();
    box.write(IP_FILTER, "FIREWALL_ENABLE=0\nNAT_ENABLE=0\nDDOS_ENABLE=0\nWAN_PING_ENABLE=0\n"
                         "TRIGGER_PORTS_ENABLE=0\nMAC_FILTER_ENABLE=1\nURL_FILTER_ENABLE=0\n");
    update();
    std::string log = box.trace_of({"log"});
    size_t begin = log.find("log firewall_update: fw_enable");
    size_t end = log.find("log get_vservers_filters");
    ASSERT_NE(end, std::string::npos);
    EXPECT_TRACE(R"(
        log firewall_update: fw_enable=0, nat_enable=0, vts_enable=1
        log firewall_update: tr_ports_enable=0, ddos_enable=0, wan_ping_enable=0
        log firewall_update: mac_enable=1, url_enable=0
    )",
                 log.substr(begin, end - begin));
}

} // namespace
