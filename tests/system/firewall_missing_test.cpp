// "firewall_update" where something is missing: settings, arguments, the LAN address, rule files.
#include "support/rows.h"
#include "support/texts.h"
#include "system/firewall_box.h"

namespace
{

using namespace firewall_test;

// The tables of a router that has no settings at all, whose WAN interface has this name.
constexpr char BARE_FILTER[] = R"(*filter
:INPUT ACCEPT [0:0]
:FORWARD ACCEPT [0:0]
:OUTPUT ACCEPT [0:0]
:MINIUPNPD - [0:0]
:H_ACCESS - [0:0]
:MACS - [0:0]
:SECURITY - [0:0]
:BRUTE - [0:0]
:logaccept - [0:0]
:logdrop - [0:0]
-A SECURITY -p tcp --syn -m limit --limit 1/s -j RETURN
-A SECURITY -p tcp --tcp-flags SYN,ACK,FIN,RST RST -m limit --limit 1/s -j RETURN
-A SECURITY -p udp -m limit --limit 5/s -j RETURN
-A SECURITY -p icmp -m limit --limit 5/s -j RETURN
-A SECURITY -j DROP
-A INPUT -m state --state INVALID -j DROP
-A INPUT -m state --state ESTABLISHED,RELATED -j ACCEPT
-A INPUT -d 224.0.0.0/240.0.0.0 -i WAN -j ACCEPT
-A INPUT -s 224.0.0.0/240.0.0.0 -i WAN -j ACCEPT
-A INPUT -i lo -m state --state NEW -j ACCEPT
-A INPUT -i br0 -m state --state NEW -j ACCEPT
-A FORWARD -d 224.0.0.0/240.0.0.0 -j ACCEPT
-A FORWARD -s 224.0.0.0/240.0.0.0 -j ACCEPT
-A FORWARD -i WAN -o ! WAN -j MINIUPNPD
-A MINIUPNPD -j RETURN
-A INPUT ! -i br0 -m state --state NEW -j SECURITY
-A INPUT -p icmp -j ACCEPT
-A INPUT ! -i br0 -m state --state NEW -j H_ACCESS
-A INPUT -j DROP
-A FORWARD -i br0 -o br0 -j ACCEPT
-A FORWARD -m state --state INVALID -j DROP
-A FORWARD -p udp -d 224.0.0.0/4 -j ACCEPT
-A FORWARD -p tcp --syn -j TCPMSS --clamp-mss-to-pmtu
-A FORWARD -m state --state ESTABLISHED,RELATED -j ACCEPT
-A FORWARD ! -i br0 -m state --state NEW -j SECURITY
-A FORWARD -m conntrack --ctstate DNAT -j ACCEPT
-A FORWARD -o br0 -j DROP
-A logaccept -m state --state NEW -j LOG --log-prefix "ACCEPT " --log-tcp-sequence --log-tcp-options --log-ip-options
-A logaccept -j ACCEPT
-A logdrop -m state --state NEW -j LOG --log-prefix "DROP " --log-tcp-sequence --log-tcp-options --log-ip-options
-A logdrop -j DROP
COMMIT
)";

constexpr char BARE_NAT[] = R"(*nat
:PREROUTING ACCEPT [0:0]
:POSTROUTING ACCEPT [0:0]
:OUTPUT ACCEPT [0:0]
:MINIUPNPD - [0:0]
:VSERVER - [0:0]
-A PREROUTING -i WAN -j MINIUPNPD
-A MINIUPNPD -j RETURN
-A POSTROUTING -o br0 -s 192.168.1.0/24 -d 192.168.1.0/24 -j SNAT --to-source 192.168.1.1
COMMIT
)";

std::string of_wan(std::string rules, const std::string &name)
{
    for (size_t at = rules.find("WAN"); at != std::string::npos; at = rules.find("WAN", at))
        rules.replace(at, 3, name);
    return rules;
}

constexpr char LISTS_ARE_MISSING[] = "/etc/default/vservers: No such file or directory\n"
                                     "/etc/default/masq: No such file or directory\n"
                                     "/etc/default/trigger_ports: No such file or directory\n"
                                     "/etc/default/rules: No such file or directory\n"
                                     "/etc/default/url_filter: No such file or directory\n"
                                     "/etc/default/httpd_access.conf: No such file or directory\n";

TEST_F(firewall_command, without_settings_has_everything_on_but_the_mac_filter)
{
    support::outcome seen = update();
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(seen.out, PROGRESS);
    EXPECT_EQ(seen.err, std::string("/etc/default/ip_filter: No such file or directory\n") +
                            LISTS_ARE_MISSING);
    EXPECT_TRACE(R"(
        log firewall_update: lan_if=br0, wan_if=vlan2, log_mode=none
        log firewall_update: lan_ip=192.168.1.1, lan_netmask=255.255.255.0
        log firewall_update: fw_enable=1, nat_enable=1, vts_enable=1
        log firewall_update: tr_ports_enable=1, ddos_enable=1, wan_ping_enable=1
        log firewall_update: mac_enable=0, url_enable=1
        shell iptables-restore /tmp/nat_rules
        run iptables-restore /tmp/filter_rules
        shell iptables-restore /tmp/mangle_rules
    )",
                 support::without(seen.trace, {"ioctl", "log get_"}));
    EXPECT_TRACE(of_wan(BARE_FILTER, "vlan2"), box.read(FILTER));
    EXPECT_TRACE(of_wan(BARE_NAT, "vlan2"), box.read(NAT));
    EXPECT_EQ(box.read(MANGLE), rules_fixture("mangle_rules"));
}

// This is how the LAN bring-up calls it, when no WAN interface is known yet.
TEST_F(firewall_command, takes_any_text_for_the_wan_interface_and_the_log_mode)
{
    support::outcome seen =
        box.run({"firewall_update", "br0", "192.168.1.1", "255.255.255.0", "none"});
    EXPECT_EQ(seen.out, PROGRESS);
    EXPECT_TRACE(of_wan(BARE_FILTER, "192.168.1.1"), box.read(FILTER));
    EXPECT_TRACE(of_wan(BARE_NAT, "192.168.1.1"), box.read(NAT));
}

TEST_F(firewall_command, without_the_first_settings_file_does_not_read_the_others)
{
    box.write("/etc/default/igmp", "IGMP_ENABLE=0\n");
    box.write("/etc/default/upnp", "UPNP_ENABLE=0\n");
    update();
    EXPECT_TRACE(of_wan(BARE_FILTER, "vlan2"), box.read(FILTER));
}

TEST_F(firewall_command, without_the_second_settings_file_does_not_read_the_third)
{
    box.write(IP_FILTER, "");
    box.write("/etc/default/upnp", "UPNP_ENABLE=0\n");
    EXPECT_EQ(update().err,
              std::string("/etc/default/igmp: No such file or directory\n") + LISTS_ARE_MISSING);
    EXPECT_TRACE(of_wan(BARE_FILTER, "vlan2"), box.read(FILTER));
}

TEST_F(firewall_command, with_the_mac_filter_on_but_no_list_filters_no_device)
{
    box.write(IP_FILTER, "MAC_FILTER_ENABLE=2\n");
    update();
    EXPECT_TRACE(of_wan(BARE_FILTER, "vlan2"), box.read(FILTER));
}

TEST_F(firewall_command, with_an_empty_mac_list_names_no_target)
{
    box.write(IP_FILTER, "MAC_FILTER_ENABLE=2\n");
    box.write("/etc/default/macfilter_list", "# no device\n");
    update();
    EXPECT_TRACE(replaced(of_wan(BARE_FILTER, "vlan2"), ":logdrop - [0:0]\n",
                          ":logdrop - [0:0]\n"
                          "-A MACS -j (null)\n"
                          "-A INPUT -i br0 -j MACS\n"
                          "-A FORWARD -i br0 -j MACS\n"),
                 box.read(FILTER));
}

// Arguments that are not given count as empty; the tables that need them are refused.
TEST_F(firewall_command, without_arguments_does_nothing)
{
    support::outcome seen = box.run({"firewall_update"});
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(seen.out, "");
    EXPECT_EQ(seen.err, "ioctl SIOCGIFADDR: No such device\n");
    EXPECT_TRACE(R"(
        log firewall_update: lan_if=, wan_if=, log_mode=
        log firewall_update: not get ip/mask
    )",
                 box.trace_of({"log", "shell", "run"}));
    EXPECT_FALSE(box.exists(NAT));
}

TEST_F(firewall_command, with_the_lan_interface_only_knows_no_wan)
{
    support::outcome seen = box.run({"firewall_update", "br0"});
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(seen.out, PROGRESS);
    EXPECT_TRACE(of_wan(BARE_FILTER, ""), box.read(FILTER));
    EXPECT_TRACE(of_wan(BARE_NAT, ""), box.read(NAT));
}

TEST_F(firewall_command, without_log_mode_logs_nothing)
{
    support::outcome seen = box.run({"firewall_update", "br0", "vlan2"});
    EXPECT_EQ(seen.out, PROGRESS);
    EXPECT_TRACE(of_wan(BARE_FILTER, "vlan2"), box.read(FILTER));
}

TEST_F(firewall_command, is_known_by_a_name_that_holds_its_own)
{
    support::outcome seen = box.run({"/tmp/my.firewall_update.sh", "br0", "vlan2", "none"});
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(seen.out, PROGRESS);
}

TEST_F(firewall_command, touches_nothing_when_the_lan_has_no_address)
{
    use_example();
    box.in_network({"ip", "address", "flush", "dev", "br0"});
    box.write(FILTER, "stands from before\n");
    support::outcome seen = update();
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(seen.out, "");
    EXPECT_EQ(seen.err, "ioctl SIOCGIFADDR: Cannot assign requested address\n");
    EXPECT_TRACE(R"(
        log firewall_update: lan_if=br0, wan_if=vlan2, log_mode=none
        ioctl br0 SIOCGIFADDR = EADDRNOTAVAIL
        log firewall_update: not get ip/mask
    )",
                 seen.trace);
    EXPECT_EQ(box.read(FILTER), "stands from before\n");
    EXPECT_FALSE(box.exists(NAT));
    EXPECT_FALSE(box.exists(MANGLE));
}

TEST_F(firewall_command, shows_its_progress_around_what_the_commands_write)
{
    use_example();
    box.on("print nat\\n iptables-restore /tmp/nat_rules");
    box.on("print filter\\n iptables-restore /tmp/filter_rules");
    box.on("print mangle\\n iptables-restore /tmp/mangle_rules");
    EXPECT_EQ(update().out, "firewall start\nnat\nfilter\nmangle\nfirewall done\n");
}

TEST_F(firewall_command, goes_on_when_a_table_is_refused)
{
    use_example();
    box.on("exit 2 iptables-restore");
    support::outcome seen = update();
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(seen.out, PROGRESS);
    EXPECT_TRACE(R"(
        shell iptables-restore /tmp/nat_rules
        run iptables-restore /tmp/filter_rules
        shell iptables-restore /tmp/mangle_rules
    )",
                 box.trace_of({"shell", "run"}));
}

struct unwritable_case {
    const char *name;
    const char *path;
    const char *loaded;
};

class unwritable_rule_file : public firewall_command,
                             public testing::WithParamInterface<unwritable_case>
{
};

TEST_P(unwritable_rule_file, leaves_out_its_table_only)
{
    use_example();
    box.mkdir(GetParam().path);
    support::outcome seen = update();
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(seen.out, PROGRESS);
    EXPECT_EQ(seen.err, "");
    EXPECT_TRACE(GetParam().loaded, box.trace_of({"shell", "run"}));
}

INSTANTIATE_TEST_SUITE_P(
    files, unwritable_rule_file,
    testing::Values(unwritable_case{"nat", NAT,
                                    "run iptables-restore /tmp/filter_rules\n"
                                    "shell iptables-restore /tmp/mangle_rules\n"},
                    unwritable_case{"filter", FILTER,
                                    "shell iptables-restore /tmp/nat_rules\n"
                                    "shell iptables-restore /tmp/mangle_rules\n"},
                    unwritable_case{"mangle", MANGLE,
                                    "shell iptables-restore /tmp/nat_rules\n"
                                    "run iptables-restore /tmp/filter_rules\n"}),
    support::row_name);

TEST_F(firewall_command, writes_its_files_anew_each_time)
{
    use_example();
    for (const char *path : {NAT, FILTER, MANGLE})
        box.write(path, std::string(100000, '\n'));
    update("both");
    update();
    EXPECT_EQ(box.read(NAT), rules_fixture("nat_rules"));
    EXPECT_EQ(box.read(FILTER), rules_fixture("filter_rules.none"));
    EXPECT_EQ(box.read(MANGLE), rules_fixture("mangle_rules"));
}

TEST_F(firewall_command, reads_lists_of_any_length)
{
    use_example();
    std::string list;
    std::string rules;
    for (int i = 1; i <= 2000; i++) {
        std::string port = std::to_string(i);
        list += "p tcp " + port + " 80 192.168.1.20 -\n";
        rules += "-A VSERVER -p tcp -m tcp --dport " + port + " -j DNAT --to 192.168.1.20:80\n";
    }
    box.write("/etc/default/vservers", list);
    EXPECT_EQ(update().out, PROGRESS);
    std::string nat = box.read(NAT);
    size_t begin = nat.find("-A VSERVER");
    size_t end = nat.find("-A POSTROUTING");
    ASSERT_NE(begin, std::string::npos);
    EXPECT_EQ(nat.substr(begin, end - begin), rules);
}

// A list that fails half-way costs the firewall no more than the rest of this list. Only the MAC
// filter ends in a verdict that counts on every entry: its table is left as it was.
struct torn_case {
    const char *list; // cannot be read
    const char *loaded;
};

class torn_list : public firewall_command, public ::testing::WithParamInterface<torn_case>
{
};

constexpr char ALL_TABLES[] = "shell iptables-restore /tmp/nat_rules\n"
                              "run iptables-restore /tmp/filter_rules\n"
                              "shell iptables-restore /tmp/mangle_rules\n";
constexpr char WITHOUT_FILTER[] = "shell iptables-restore /tmp/nat_rules\n"
                                  "shell iptables-restore /tmp/mangle_rules\n";

TEST_P(torn_list, costs_no_more_than_its_rules)
{
    use_example();
    box.write("/etc/default/macfilter_list", "00:11:22:33:44:55 work\n");
    box.remove(GetParam().list);
    box.mkdir(GetParam().list); // opened like a file, and refuses to be read
    support::outcome seen = update();
    EXPECT_EQ(seen.out, PROGRESS);
    EXPECT_EQ(seen.err, std::string(GetParam().list) + ": Is a directory\n");
    EXPECT_EQ(box.trace_of({"shell", "run"}), GetParam().loaded);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    lists, torn_list,
    ::testing::Values(
        torn_case{"/etc/default/rules", ALL_TABLES},
        torn_case{"/etc/default/macfilter_list", WITHOUT_FILTER},
        torn_case{"/etc/default/url_filter", ALL_TABLES},
        torn_case{"/etc/default/httpd_access.conf", ALL_TABLES},
        torn_case{"/etc/default/vservers", ALL_TABLES},
        torn_case{"/etc/default/masq", ALL_TABLES},
        torn_case{"/etc/default/trigger_ports", ALL_TABLES}));
// clang-format on

// A MAC address whose schedule is not known would be let in at all hours.
TEST_F(firewall_command, leaves_the_tables_of_a_torn_schedule_list_as_they_were)
{
    use_example();
    box.write("/etc/default/macfilter_list", "00:11:22:33:44:55 work\n00:11:22:33:44:66 work\n");
    box.write("/etc/default/url_filter", "example.net always\n");
    box.remove("/etc/default/sched_list");
    box.mkdir("/etc/default/sched_list");
    EXPECT_EQ(update().err, "/etc/default/sched_list: Is a directory\n");
    EXPECT_EQ(box.trace_of({"shell", "run"}), WITHOUT_FILTER);
}

TEST_F(firewall_command, leaves_the_tables_as_they_were_when_the_disk_is_full)
{
    use_example();
    std::string forwards;
    for (int i = 0; i < 400; i++)
        forwards += "web tcp 8080 80 192.168.1.20 - - - -\n";
    box.write("/etc/default/vservers", forwards);
    box.disk("/tmp", "8k");
    support::outcome seen = update();
    EXPECT_EQ(seen.out, PROGRESS);
    EXPECT_EQ(seen.err, "/tmp/nat_rules: No space left on device\n"
                        "/tmp/filter_rules: No space left on device\n"
                        "/tmp/mangle_rules: No space left on device\n");
    EXPECT_EQ(box.trace_of({"shell", "run"}), "");
}

} // namespace
