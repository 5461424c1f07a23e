#include "firewall/filter_lists.h"

#include "firewall/list_test.h"

namespace
{

using namespace firewall_test;
using std::string_literals::operator""s;

// User rules

class user_rule : public list_test
{
};

TEST_P(user_rule, is_written_for_both_chains)
{
    expect_rules(RULES, user_rules);
}

// The two lines that the options and the target make.
std::string both(const std::string &options, const std::string &target)
{
    return "-A FORWARD " + options + " -j " + target + "\n-A INPUT " + options + " -j " + target +
           "\n";
}

INSTANTIATE_TEST_SUITE_P(
    rows, user_rule,
    testing::Values(
        list_case{"empty_list", "", ""},
        list_case{"drop", "DROP x y 10.0.0.2 - - - - -\n", both(" -s 10.0.0.2", "DRP")},
        list_case{"lower_case_drop_accepts", "drop x y 10.0.0.2 - - - - -\n",
                  both(" -s 10.0.0.2", "ACC")},
        list_case{"anything_else_accepts", "DROPS x y - - - - - -\n", both("", "ACC")},
        list_case{"source_range", "ACCEPT x y 10.0.0.2-10.0.0.9 - tcp - 22 z\n",
                  both(" -p tcp --src-range 10.0.0.2-10.0.0.9 --dport 22", "ACC")},
        list_case{"all_options_in_their_order", "DROP x y 10.0.0.2 10.1.0.0/16 udp 1:1023 5000 z\n",
                  both(" -p udp -s 10.0.0.2 --sport 1:1023 -d 10.1.0.0/16 --dport 5000", "DRP")},
        list_case{"destination_range", "DROP x y - 10.0.0.2-10.0.0.9 - - - z\n",
                  both(" --dst-range 10.0.0.2-10.0.0.9", "DRP")},
        list_case{"any_hyphen_makes_a_range", "DROP x y -a b- - - - z\n",
                  both(" --src-range -a --dst-range b-", "DRP")},
        list_case{"hyphen_in_a_port_is_no_range", "DROP x y - - tcp 1-2 3-4 z\n",
                  both(" -p tcp --sport 1-2 --dport 3-4", "DRP")},
        list_case{"two_blanks_without_options", "DROP x y - - - - - -\n", both("", "DRP")},
        list_case{"line_end_inside_the_rule", "DROP x y - - tcp - 22\n",
                  both(" -p tcp --dport 22\n", "DRP")},
        list_case{"last_hyphen_with_its_line_end_is_a_value", "DROP x y - - tcp - -\n",
                  both(" -p tcp --dport -\n", "DRP")},
        list_case{"carriage_return_stays", "DROP x y - - tcp - 22\r\n",
                  both(" -p tcp --dport 22\r\n", "DRP")},
        list_case{"fields_behind_the_ninth_are_ignored", "DROP x y - - tcp - 22 z 1 2 3\n",
                  both(" -p tcp --dport 22", "DRP")},
        list_case{"short_line_inherits", "DROP x y 10.0.0.2 - tcp - 22 z\nACCEPT x y 10.0.0.3 \n",
                  both(" -p tcp -s 10.0.0.2 --dport 22", "DRP") +
                      both(" -p tcp -s 10.0.0.3 -d \n --dport 22", "ACC")},
        list_case{"short_first_line_has_empty_fields", "DROP x y 10.0.0.2 ",
                  both(" -p  -s 10.0.0.2 --sport  -d  --dport ", "DRP")},
        list_case{"comment", "# DROP x y 10.0.0.2 - - - - -\n#\n", ""},
        list_case{"white_space_first", " DROP x y 10.0.0.2 - - - - -\n\t-\n\n\r\n", ""},
        list_case{"runs_of_blanks", "DROP   x y  -  - - - -   -\n", both("", "DRP")},
        list_case{"tab_does_not_separate", "DROP\tx y z 10.0.0.2 - - - - -\n",
                  both(" -s 10.0.0.2", "ACC")},
        list_case{"last_line_without_end", "DROP x y - - - - - -", both("", "DRP")},
        list_case{"binary", "\x00\x01\xff\n\x7f \x80 \x81 - - - - - -\n"s,
                  both(" -p  -s  --sport  -d  --dport ", "ACC") + both("", "ACC")},
        list_case{"fields_are_cut_at_31", "DROP x y " + std::string(60, '7') + " - - - - -\n",
                  both(" -s " + std::string(31, '7'), "DRP")},
        list_case{"action_that_is_cut_is_no_drop",
                  "DROP" + std::string(60, 'P') + " x y - - - - - -\n", both("", "ACC")},
        list_case{"longest_rule_fits",
                  "DROP x y " + std::string(30, '1') + "- " + std::string(30, '2') + "- " +
                      std::string(31, '3') + " " + std::string(31, '4') + " " +
                      std::string(31, '5') + " -\n",
                  both(" -p " + std::string(31, '3') + " --src-range " + std::string(30, '1') +
                           "- --sport " + std::string(31, '4') + " --dst-range " +
                           std::string(30, '2') + "- --dport " + std::string(31, '5'),
                       "DRP")},
        list_case{"over_long_line_goes_on_as_the_next",
                  "#" + std::string(253, 'x') + "DROP x y - - - - - -\n", both("", "DRP")}),
    support::row_name);

// MAC filter

constexpr char MON[] = "-m time --timestart 08:00 --timestop 17:30 --days  Mon";
constexpr char TUE[] = "-m time --timestart 09:00 --timestop 10:00 --days  Tue";

class mac_filter_deny : public list_test
{
};

TEST_P(mac_filter_deny, drops_what_is_listed)
{
    fw.mac_mode = MAC_DENY;
    expect_rules(MACS, mac_filters);
}

std::string mac_rule(const std::string &mac, const std::string &rest)
{
    return "-A MACS -m mac --mac-source " + mac + " " + rest + "\n";
}

std::string mac_closing(const std::string &target)
{
    return "-A MACS -j " + target + "\n-A INPUT -i br0 -j MACS\n-A FORWARD -i br0 -j MACS\n";
}

INSTANTIATE_TEST_SUITE_P(
    rows, mac_filter_deny,
    testing::Values(
        list_case{"always", "02:00:00:00:00:0A always\n",
                  mac_rule("02:00:00:00:00:0A", "-j DROP") + mac_closing("ACC")},
        list_case{"without_schedule", "m\n", mac_rule("m", "-j DROP") + mac_closing("ACC")},
        list_case{"blank_for_schedule", "m \n", mac_rule("m", "-j DROP") + mac_closing("ACC")},
        list_case{"scheduled", "m mon\n",
                  mac_rule("m", std::string(MON) + " -j DROP") + mac_closing("ACC")},
        list_case{"schedule_that_is_off", "m off\n", mac_rule("m", "-j DROP") + mac_closing("ACC")},
        list_case{"schedule_that_is_unknown", "m wed\n",
                  mac_rule("m", "-j DROP") + mac_closing("ACC")},
        list_case{"schedule_for_all_the_time", "m week\n",
                  mac_rule("m", "-j DROP") + mac_closing("ACC")},
        list_case{"schedule_whose_time_ends_its_line", "m ends\n",
                  mac_rule("m", "-j DROP") + mac_closing("ACC")},
        list_case{"each_line_starts_without_time_and_fields", "m mon\nn\no always\np tue\nq\n",
                  mac_rule("m", std::string(MON) + " -j DROP") + mac_rule("n", "-j DROP") +
                      mac_rule("o", "-j DROP") + mac_rule("p", std::string(TUE) + " -j DROP") +
                      mac_rule("q", "-j DROP") + mac_closing("ACC")},
        list_case{"line_ends_are_trimmed", "m mon \r\n",
                  mac_rule("m", std::string(MON) + " -j DROP") + mac_closing("ACC")},
        list_case{"third_field_is_ignored", "m mon tue\n",
                  mac_rule("m", std::string(MON) + " -j DROP") + mac_closing("ACC")},
        list_case{"comment", "# m\nm\n", mac_rule("m", "-j DROP") + mac_closing("ACC")},
        list_case{"zero_byte_empties_the_line", "\0m\n"s,
                  mac_rule("", "-j DROP") + mac_closing("ACC")},
        list_case{"fields_are_cut_at_31", std::string(50, 'm') + "\n",
                  mac_rule(std::string(31, 'm'), "-j DROP") + mac_closing("ACC")},
        // The verdict for all others is known only from an entry on.
        list_case{"no_entry_closes_without_a_target", "# nothing\n\n", mac_closing("(null)")}),
    support::row_name);

class mac_filter : public list_test
{
};

TEST_F(mac_filter, in_allow_mode_drops_what_is_not_listed)
{
    fw.mac_mode = MAC_ALLOW;
    world.write(MACS, "m always\nn mon\n");
    EXPECT_EQ(write_rules(mac_filters).rules, mac_rule("m", "-j RETURN") +
                                                  mac_rule("n", std::string(MON) + " -j RETURN") +
                                                  mac_closing("DRP"));
    EXPECT_TRACE(R"(
        log get_mac_filters: start
        log get_mac_filters: done
    )",
                 world.trace());
}

TEST_F(mac_filter, of_an_unknown_mode_gives_up_at_the_first_entry)
{
    fw.mac_mode = 3;
    world.write(MACS, "m always\nn always\n");
    written seen = write_rules(mac_filters);
    EXPECT_EQ(seen.result, -1);
    EXPECT_EQ(seen.rules, "");
    EXPECT_TRACE("log get_mac_filters: start\n", world.trace());
}

TEST_F(mac_filter, of_an_unknown_mode_without_entry_closes_without_a_target)
{
    fw.mac_mode = MAC_OFF;
    world.write(MACS, "");
    EXPECT_EQ(write_rules(mac_filters).rules, mac_closing("(null)"));
}

TEST_F(mac_filter, without_schedules_filters_at_all_times)
{
    fw.mac_mode = MAC_DENY;
    world.remove(SCHEDULES);
    world.write(MACS, "m mon\nn tue\no always\n");
    written seen = write_rules(mac_filters);
    EXPECT_EQ(seen.rules, mac_rule("m", "-j DROP") + mac_rule("n", "-j DROP") +
                              mac_rule("o", "-j DROP") + mac_closing("ACC"));
    EXPECT_EQ(seen.messages, "/etc/default/sched_list: No such file or directory\n"
                             "/etc/default/sched_list: No such file or directory\n");
}

// URL filter

class url_filter : public list_test
{
};

TEST_P(url_filter, inserts)
{
    expect_rules(URLS, url_filters);
}

std::string url_rule(const std::string &url)
{
    return "-I FORWARD -p tcp -m webstr --url " + url + " -j DROP\n";
}

std::string url_rule(const std::string &url, const std::string &time_match)
{
    return "-I FORWARD -p tcp  -m webstr --url " + url + " " + time_match + " -j DROP\n";
}

INSTANTIATE_TEST_SUITE_P(
    rows, url_filter,
    testing::Values(list_case{"empty_list", "", ""},
                    list_case{"always", "u always\n", url_rule("u")},
                    list_case{"scheduled_has_two_blanks", "u mon\n", url_rule("u", MON)},
                    list_case{"always_takes_the_time_of_the_entry_before", "u mon\nv always\n",
                              url_rule("u", MON) + url_rule("v", MON)},
                    list_case{"unknown_schedule_takes_it_too", "u mon\nv wed\nw off\n",
                              url_rule("u", MON) + url_rule("v", MON) + url_rule("w", MON)},
                    list_case{"blank_for_schedule_takes_it_too", "u mon\nv \n",
                              url_rule("u", MON) + url_rule("v", MON)},
                    list_case{"always_first_has_no_time", "u always\nv mon\n",
                              url_rule("u") + url_rule("v", MON)},
                    list_case{"a_schedule_for_all_the_time_clears_it", "u mon\nv week\nw always\n",
                              url_rule("u", MON) + url_rule("v") + url_rule("w")},
                    list_case{"a_schedule_of_wrong_length_clears_it", "u mon\nv ends\nw always\n",
                              url_rule("u", MON) + url_rule("v") + url_rule("w")},
                    list_case{"another_schedule_replaces_it", "u mon\nv tue\nw always\n",
                              url_rule("u", MON) + url_rule("v", TUE) + url_rule("w", TUE)},
                    list_case{"missing_schedule_is_that_of_the_line_before",
                              "u mon\nv always\nw\nx tue\ny\n",
                              url_rule("u", MON) + url_rule("v", MON) + url_rule("w", MON) +
                                  url_rule("x", TUE) + url_rule("y", TUE)},
                    list_case{"comment_sign_is_an_entry", "#u always\n", url_rule("#u")},
                    list_case{"line_ends_are_trimmed", "u\r\n", url_rule("u")},
                    list_case{"white_space_first", " u mon\n\n", ""},
                    list_case{"binary", "\x01\xfe\xff mon\n", url_rule("\x01\xfe\xff", MON)},
                    list_case{"fields_are_cut_at_31", std::string(100, 'u') + " always\n",
                              url_rule(std::string(31, 'u'))}),
    support::row_name);

// Router access

class access_rule : public list_test
{
};

TEST_P(access_rule, is_written)
{
    expect_rules(ACCESS, get_haccess_rules);
}

std::string access_rules(const std::string &rule)
{
    return "-A H_ACCESS" + rule + "\n-A H_ACCESS -j RETURN\n";
}

INSTANTIATE_TEST_SUITE_P(
    rows, access_rule,
    testing::Values(
        list_case{"empty_list_returns", "", "-A H_ACCESS -j RETURN\n"},
        list_case{
            "everything", "HTTP vlan2 198.51.100.0 255.255.255.0 ACCEPT\n",
            access_rules(" -i vlan2 -s 198.51.100.0/255.255.255.0 -p tcp --dport 80 -j ACCEPT")},
        list_case{"any_interface", "HTTP auto 10.0.0.0 255.0.0.0 DROP\n",
                  access_rules(" -s 10.0.0.0/255.0.0.0 -p tcp --dport 80 -j DROP")},
        list_case{"any_source", "HTTP vlan2 any 255.0.0.0 DROP\n",
                  access_rules(" -i vlan2 -p tcp --dport 80 -j DROP")},
        list_case{"any_netmask", "HTTP vlan2 10.0.0.0 any DROP\n",
                  access_rules(" -i vlan2 -p tcp --dport 80 -j DROP")},
        list_case{"other_service_is_every_protocol", "SSH auto any any ACCEPT\n",
                  access_rules(" -j ACCEPT")},
        list_case{"service_in_lower_case_is_another", "http auto any any ACCEPT\n",
                  access_rules(" -j ACCEPT")},
        list_case{"auto_in_capitals_is_an_interface", "X AUTO any any ACCEPT\n",
                  access_rules(" -i AUTO -j ACCEPT")},
        list_case{"tabs_separate_behind_the_first_field", "HTTP auto\tany \t any\tACCEPT\n",
                  access_rules(" -p tcp --dport 80 -j ACCEPT")},
        list_case{"tab_does_not_end_the_first_field", "HTTP\tauto any any DROP x\n",
                  access_rules(" -i any -j x")},
        list_case{"line_ends_are_trimmed", "X auto any any ACCEPT \r\n",
                  access_rules(" -j ACCEPT")},
        list_case{"short_line_inherits", "HTTP vlan2 any any DROP\nX auto\n",
                  "-A H_ACCESS -i vlan2 -p tcp --dport 80 -j DROP\n" + access_rules(" -j DROP")},
        list_case{"short_first_line_has_empty_fields", "X\n", access_rules(" -i  -s / -j ")},
        list_case{"comment", "# HTTP auto any any ACCEPT\n", "-A H_ACCESS -j RETURN\n"},
        list_case{"binary", "\xff\x01 \x02 any any \x03\n", access_rules(" -i \x02 -j \x03")},
        // 63 characters are the longest piece of a rule.
        list_case{
            "longest_source_is_cut",
            "X auto " + std::string(31, '1') + " " + std::string(31, '2') + " DROP\n",
            access_rules(" -s " + std::string(31, '1') + "/" + std::string(27, '2') + " -j DROP")}),
    support::row_name);

TEST_F(access_rule, logs_each_field)
{
    world.write(ACCESS, "HTTP auto any any ACCEPT a b c d e\n");
    write_rules(get_haccess_rules);
    EXPECT_TRACE(R"(
        log get_haccess_filters: start
        log /etc/default/httpd_access.conf: data[0] = HTTP
        log /etc/default/httpd_access.conf: data[1] = auto
        log /etc/default/httpd_access.conf: data[2] = any
        log /etc/default/httpd_access.conf: data[3] = any
        log /etc/default/httpd_access.conf: data[4] = ACCEPT
        log /etc/default/httpd_access.conf: data[5] = a
        log /etc/default/httpd_access.conf: data[6] = b
        log /etc/default/httpd_access.conf: data[7] = c
        log /etc/default/httpd_access.conf: data[8] = d
        log get_haccess_filters: done
    )",
                 world.trace());
}

} // namespace
