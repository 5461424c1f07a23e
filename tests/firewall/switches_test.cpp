#include "firewall/switches.h"

#include "support/settings_files.h"
#include "support/unit_test.h"

#include <string>

namespace
{

using namespace settings_files;
using std::string_literals::operator""s;

// The switches that do not stand as on a router without settings, as "name=value".
std::string changed()
{
    const firewall_switches start;
    std::string text;
    auto add = [&text](const char *name, int value, int at_start) {
        if (value != at_start)
            text += (text.empty() ? "" : " ") + std::string(name) + "=" + std::to_string(value);
    };
    add("firewall", fw.firewall, start.firewall);
    add("nat", fw.nat, start.nat);
    add("vservers", fw.vservers, start.vservers);
    add("dos", fw.dos, start.dos);
    add("wan_ping", fw.wan_ping, start.wan_ping);
    add("trigger_ports", fw.trigger_ports, start.trigger_ports);
    add("mac_mode", fw.mac_mode, start.mac_mode);
    add("url_filter", fw.url_filter, start.url_filter);
    add("igmp", fw.igmp, start.igmp);
    add("upnp", fw.upnp, start.upnp);
    return text;
}

TEST(switches, are_all_on_at_start_but_the_mac_filter)
{
    const firewall_switches start;
    EXPECT_EQ(start.firewall, 1);
    EXPECT_EQ(start.nat, 1);
    EXPECT_EQ(start.vservers, 1);
    EXPECT_EQ(start.dos, 1);
    EXPECT_EQ(start.wan_ping, 1);
    EXPECT_EQ(start.trigger_ports, 1);
    EXPECT_EQ(start.mac_mode, 0);
    EXPECT_EQ(start.url_filter, 1);
    EXPECT_EQ(start.igmp, 1);
    EXPECT_EQ(start.upnp, 1);
}

struct switch_case {
    const char *name;
    const char *path;
    std::string content;
    const char *expected;
};

class switch_line : public support::unit_test, public testing::WithParamInterface<switch_case>
{
  protected:
    void SetUp() override
    {
        unit_test::SetUp();
        for (const char *path : {IP_FILTER, IGMP, UPNP})
            world.write(path, "");
    }
};

TEST_P(switch_line, sets)
{
    world.write(GetParam().path, GetParam().content);
    EXPECT_EQ(get_global_firewall_config(), 0);
    EXPECT_EQ(changed(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    keys, switch_line,
    testing::Values(
        switch_case{"nothing", IP_FILTER, "", ""},
        switch_case{"firewall", IP_FILTER, "FIREWALL_ENABLE=0\n", "firewall=0"},
        switch_case{"nat", IP_FILTER, "NAT_ENABLE=no\n", "nat=0"},
        switch_case{"vservers_turns_nat_off", IP_FILTER, "VSERVERS_ENABLE=0\n", "nat=0"},
        switch_case{"dos", IP_FILTER, "DDOS_ENABLE=NO\n", "dos=0"},
        switch_case{"wan_ping", IP_FILTER, "WAN_PING_ENABLE=0\n", "wan_ping=0"},
        switch_case{"trigger_ports", IP_FILTER, "TRIGGER_PORTS_ENABLE=0\n", "trigger_ports=0"},
        switch_case{"url_filter", IP_FILTER, "URL_FILTER_ENABLE=No\n", "url_filter=0"},
        switch_case{"igmp", IGMP, "IGMP_ENABLE=0\n", "igmp=0"},
        switch_case{"upnp", UPNP, "UPNP_ENABLE=0\n", "upnp=0"},
        switch_case{"several", IP_FILTER, "FIREWALL_ENABLE=0\nDDOS_ENABLE=0\n", "firewall=0 dos=0"},
        switch_case{"key_of_another_file", IP_FILTER, "IGMP_ENABLE=0\nUPNP_ENABLE=0\n", ""},
        switch_case{"key_of_the_first_file_elsewhere", IGMP, "NAT_ENABLE=0\n", ""},
        switch_case{"unknown_key", IP_FILTER, "COLOUR=0\n", ""}),
    support::row_name);

INSTANTIATE_TEST_SUITE_P(
    values, switch_line,
    testing::Values(
        switch_case{"one", IP_FILTER, "NAT_ENABLE=1\n", ""},
        switch_case{"yes", IP_FILTER, "NAT_ENABLE=yes\n", ""},
        switch_case{"off_is_not_no", IP_FILTER, "NAT_ENABLE=off\n", ""},
        switch_case{"zero_with_more", IP_FILTER, "NAT_ENABLE=00\n", ""},
        switch_case{"mixed_case_no", IP_FILTER, "NAT_ENABLE=nO\n", "nat=0"},
        switch_case{"missing", IP_FILTER, "NAT_ENABLE=\n", ""},
        switch_case{"missing_without_line_end", IP_FILTER, "NAT_ENABLE=", ""},
        switch_case{"no_equals", IP_FILTER, "NAT_ENABLE 0\n", ""},
        switch_case{"dos_line_end", IP_FILTER, "NAT_ENABLE=0\r\n", "nat=0"},
        switch_case{"blanks_around_equals", IP_FILTER, "NAT_ENABLE = 0 \n", "nat=0"},
        switch_case{"two_equals", IP_FILTER, "NAT_ENABLE==0\n", "nat=0"},
        switch_case{"ends_at_a_blank", IP_FILTER, "NAT_ENABLE=0 please\n", "nat=0"},
        switch_case{"ends_at_equals", IP_FILTER, "NAT_ENABLE=0=1\n", "nat=0"},
        switch_case{"tab_is_part_of_it", IP_FILTER, "NAT_ENABLE=0\t\n", ""},
        switch_case{"no_line_end", IP_FILTER, "NAT_ENABLE=0", "nat=0"},
        switch_case{"never_turned_on_again", IP_FILTER, "NAT_ENABLE=0\nNAT_ENABLE=1\n", "nat=0"},
        switch_case{"mac_zero", IP_FILTER, "MAC_FILTER_ENABLE=1\nMAC_FILTER_ENABLE=0\n", ""},
        switch_case{"mac_disabled", IP_FILTER, "MAC_FILTER_ENABLE=1\nMAC_FILTER_ENABLE=Disabled\n",
                    ""},
        switch_case{"mac_one", IP_FILTER, "MAC_FILTER_ENABLE=1\n", "mac_mode=1"},
        switch_case{"mac_allow", IP_FILTER, "MAC_FILTER_ENABLE=ALLOW\n", "mac_mode=1"},
        switch_case{"mac_two", IP_FILTER, "MAC_FILTER_ENABLE=2\n", "mac_mode=2"},
        switch_case{"mac_deny", IP_FILTER, "MAC_FILTER_ENABLE=Deny\n", "mac_mode=2"},
        switch_case{"mac_no_is_no_value", IP_FILTER, "MAC_FILTER_ENABLE=1\nMAC_FILTER_ENABLE=NO\n",
                    "mac_mode=1"},
        switch_case{"mac_three_keeps_the_mode", IP_FILTER,
                    "MAC_FILTER_ENABLE=2\nMAC_FILTER_ENABLE=3\n", "mac_mode=2"}),
    support::row_name);

// How many characters tell a key: the row before is one short, and longer keys count as well.
INSTANTIATE_TEST_SUITE_P(
    prefixes, switch_line,
    testing::Values(
        switch_case{"firewall_ten", IP_FILTER, "FIREWALL_E=0\n", "firewall=0"},
        switch_case{"firewall_nine", IP_FILTER, "FIREWALL_=0\n", ""},
        switch_case{"firewall_longer", IP_FILTER, "FIREWALL_ENABLED=no\n", "firewall=0"},
        switch_case{"firewall_other_tail", IP_FILTER, "FIREWALL_EXTRA=0\n", "firewall=0"},
        switch_case{"nat_ten", IP_FILTER, "NAT_ENABLED=0\n", "nat=0"},
        switch_case{"nat_nine", IP_FILTER, "NAT_ENABL=0\n", ""},
        switch_case{"vservers_ten", IP_FILTER, "VSERVERS_E=0\n", "nat=0"},
        switch_case{"vservers_nine", IP_FILTER, "VSERVERS_=0\n", ""},
        switch_case{"dos_eleven", IP_FILTER, "DDOS_ENABLEX=0\n", "dos=0"},
        switch_case{"dos_ten", IP_FILTER, "DDOS_ENABL=0\n", ""},
        switch_case{"ping_fifteen", IP_FILTER, "WAN_PING_ENABLED=0\n", "wan_ping=0"},
        switch_case{"ping_fourteen", IP_FILTER, "WAN_PING_ENABL=0\n", ""},
        switch_case{"trigger_twenty", IP_FILTER, "TRIGGER_PORTS_ENABLED=0\n", "trigger_ports=0"},
        switch_case{"trigger_nineteen", IP_FILTER, "TRIGGER_PORTS_ENABL=0\n", ""},
        switch_case{"mac_seventeen", IP_FILTER, "MAC_FILTER_ENABLED=2\n", "mac_mode=2"},
        switch_case{"mac_sixteen", IP_FILTER, "MAC_FILTER_ENABL=2\n", ""},
        switch_case{"url_seventeen", IP_FILTER, "URL_FILTER_ENABLED=0\n", "url_filter=0"},
        switch_case{"url_sixteen", IP_FILTER, "URL_FILTER_ENABL=0\n", ""},
        switch_case{"igmp_eleven", IGMP, "IGMP_ENABLED=0\n", "igmp=0"},
        switch_case{"igmp_ten", IGMP, "IGMP_ENABL=0\n", ""},
        switch_case{"upnp_eleven", UPNP, "UPNP_ENABLED=0\n", "upnp=0"},
        switch_case{"upnp_ten", UPNP, "UPNP_ENABL=0\n", ""},
        switch_case{"lower_case_key", IP_FILTER, "nat_enable=0\n", ""},
        switch_case{"blank_before_key", IP_FILTER, " NAT_ENABLE=0\n", ""},
        switch_case{"equals_before_key", IP_FILTER, "=NAT_ENABLE=0\n", ""},
        switch_case{"hash_before_key", IP_FILTER, "#NAT_ENABLE=0\n", ""}),
    support::row_name);

INSTANTIATE_TEST_SUITE_P(
    bad_input, switch_line,
    testing::Values(switch_case{"binary", IP_FILTER, "\x00\x01=\xff\x00\nNAT_ENABLE=0\n"s, "nat=0"},
                    switch_case{"zero_byte_in_the_key", IP_FILTER, "NAT\0_ENABLE=0\n"s, ""},
                    switch_case{"only_equals", IP_FILTER, "=\n==\n= =\n", ""},
                    // 254 characters are a line; what is behind them is a line of its own.
                    switch_case{"over_long_line_goes_on_as_the_next", IP_FILTER,
                                "X=" + std::string(252, '1') + "NAT_ENABLE=0\n", "nat=0"},
                    switch_case{"over_long_line_hides_nothing", IP_FILTER,
                                "X=" + std::string(251, '1') + "NAT_ENABLE=0\n", ""},
                    switch_case{"over_long_value", IP_FILTER,
                                "NAT_ENABLE=" + std::string(1000, '0') + "\n", ""}),
    support::row_name);

class switch_files : public support::unit_test
{
  protected:
    // The three files, each of which turns one switch off.
    void SetUp() override
    {
        unit_test::SetUp();
        world.write(IP_FILTER, "DDOS_ENABLE=0\n");
        world.write(IGMP, "IGMP_ENABLE=0\n");
        world.write(UPNP, "UPNP_ENABLE=0\n");
    }

    std::string messages()
    {
        return support::private_world::captured(
            2, [](void *out) { *static_cast<int *>(out) = get_global_firewall_config(); }, &result);
    }

    int result = 1;
};

TEST_F(switch_files, are_all_read)
{
    EXPECT_EQ(messages(), "");
    EXPECT_EQ(result, 0);
    EXPECT_EQ(changed(), "dos=0 igmp=0 upnp=0");
}

TEST_F(switch_files, without_the_first_one_none_is_read)
{
    world.remove(IP_FILTER);
    EXPECT_EQ(messages(), "/etc/default/ip_filter: No such file or directory\n");
    EXPECT_EQ(result, -1);
    EXPECT_EQ(changed(), "");
}

TEST_F(switch_files, without_the_second_one_the_third_is_not_read)
{
    world.remove(IGMP);
    EXPECT_EQ(messages(), "/etc/default/igmp: No such file or directory\n");
    EXPECT_EQ(result, -1);
    EXPECT_EQ(changed(), "dos=0");
}

TEST_F(switch_files, without_the_third_one_the_others_count)
{
    world.remove(UPNP);
    EXPECT_EQ(messages(), "/etc/default/upnp: No such file or directory\n");
    EXPECT_EQ(result, -1);
    EXPECT_EQ(changed(), "dos=0 igmp=0");
}

TEST_F(switch_files, are_read_afresh_each_time)
{
    get_global_firewall_config();
    world.write(IP_FILTER, "MAC_FILTER_ENABLE=2\n");
    world.write(IGMP, "");
    world.write(UPNP, "");
    EXPECT_EQ(get_global_firewall_config(), 0);
    EXPECT_EQ(changed(), "mac_mode=2");
}

TEST_F(switch_files, a_directory_is_a_file_without_lines)
{
    world.remove(IP_FILTER);
    world.mkdir(IP_FILTER);
    EXPECT_EQ(messages(), "/etc/default/ip_filter: Is a directory\n");
    EXPECT_EQ(result, 0);
    EXPECT_EQ(changed(), "igmp=0 upnp=0");
}

} // namespace
