#include "firewall/nat_lists.h"

#include "firewall/list_test.h"

namespace
{

using namespace firewall_test;
using std::string_literals::operator""s;

// Virtual servers

class vserver_rule : public list_test
{
};

TEST_P(vserver_rule, is_written)
{
    expect_rules(VSERVERS, get_vservers_rules);
}

INSTANTIATE_TEST_SUITE_P(
    rows, vserver_rule,
    testing::Values(
        list_case{"empty_list", "", ""},
        list_case{"port", "web tcp 8080 80 192.168.0.10 -\n",
                  "-A VSERVER -p tcp -m tcp --dport 8080 -j DNAT --to 192.168.0.10:80\n"},
        list_case{"range", "game udp 3000:3010 3000 192.168.0.10 -\n",
                  "-A VSERVER -p udp -m udp --dport 3000:3010 -j DNAT --to 192.168.0.10:3000\n"},
        list_case{"line_end_inside_the_rule", "web tcp 8080 80 192.168.0.10\n",
                  "-A VSERVER -p tcp -m tcp --dport 8080 -j DNAT --to 192.168.0.10\n:80\n"},
        list_case{"no_line_end_at_the_end_of_the_file", "web tcp 8080 80 192.168.0.10",
                  "-A VSERVER -p tcp -m tcp --dport 8080 -j DNAT --to 192.168.0.10:80\n"},
        list_case{"comment_sign_is_an_entry", "#web tcp 8080 80 192.168.0.10 -\n",
                  "-A VSERVER -p tcp -m tcp --dport 8080 -j DNAT --to 192.168.0.10:80\n"},
        list_case{"short_line_inherits", "web tcp 8080 80 192.168.0.10 -\nb udp 81 \n",
                  "-A VSERVER -p tcp -m tcp --dport 8080 -j DNAT --to 192.168.0.10:80\n"
                  "-A VSERVER -p udp -m udp --dport 81 -j DNAT --to 192.168.0.10:\n\n"},
        list_case{"white_space_first", " web tcp 8080 80 192.168.0.10 -\n\n", ""},
        list_case{"zero_bytes_repeat_the_entry_before", "w tcp 1 2 a -\n\0\n"s,
                  "-A VSERVER -p tcp -m tcp --dport 1 -j DNAT --to a:2\n"
                  "-A VSERVER -p tcp -m tcp --dport 1 -j DNAT --to a:2\n"},
        list_case{"fields_are_cut_at_31",
                  "w " + std::string(40, 'p') + " 1 2 " + std::string(40, 'a') + " -\n",
                  "-A VSERVER -p " + std::string(31, 'p') + " -m " + std::string(31, 'p') +
                      " --dport 1 -j DNAT --to " + std::string(31, 'a') + ":2\n"}),
    support::row_name);

TEST_F(vserver_rule, logs_each_field_under_another_tag)
{
    world.write(VSERVERS, "web tcp 8080 80 192.168.0.10\n");
    write_rules(get_vservers_rules);
    EXPECT_TRACE(R"(
        log get_vservers_filters: start
        log get_vservers_rules: data[0] = web
        log get_vservers_rules: data[1] = tcp
        log get_vservers_rules: data[2] = 8080
        log get_vservers_rules: data[3] = 80
        log get_vservers_rules: data[4] = 192.168.0.10\n
        log get_vservers_filters: done
    )",
                 world.trace());
}

// Masquerading

class masquerading_rule : public list_test
{
};

TEST_P(masquerading_rule, is_written)
{
    expect_rules(MASQ, get_masquerading);
}

std::string masquerade(const std::string &options)
{
    return "-A POSTROUTING " + options + " -j MASQUERADE\n";
}

INSTANTIATE_TEST_SUITE_P(
    rows, masquerading_rule,
    testing::Values(
        list_case{"empty_list", "", ""},
        list_case{"network", "lan 192.168.1.0/24 - - - - - - -\n",
                  masquerade(" -s 192.168.1.0/24")},
        list_case{"all_options", "lan 192.168.1.0/24 - tcp 80 - - - -\n",
                  masquerade(" -s 192.168.1.0/24 -p tcp --dport 80")},
        list_case{"two_blanks_without_options", "lan - - - - - - - -\n", masquerade("")},
        list_case{"hyphen_at_the_line_end_counts", "lan - - - -\r\n", masquerade("")},
        list_case{"address_range_is_no_special_case", "lan a-b - - - -\n", masquerade(" -s a-b")},
        list_case{"short_line_inherits", "lan 10.0.0.0/8 - udp 53 -\nb 10.1.0.0/16\n",
                  masquerade(" -s 10.0.0.0/8 -p udp --dport 53") +
                      masquerade(" -s 10.1.0.0/16 -p udp --dport 53")},
        list_case{"short_first_line_has_empty_fields", "lan\n", masquerade(" -s  -p  --dport ")},
        list_case{"comment", "# lan - - - - - - - -\n", ""},
        list_case{"binary", "\x80 \x81\x82 \xff - - -\n", masquerade(" -s \x81\x82")},
        list_case{"fields_are_cut_at_31", "lan " + std::string(99, '1') + " - - - -\n",
                  masquerade(" -s " + std::string(31, '1'))}),
    support::row_name);

TEST_F(masquerading_rule, logs_start_and_done)
{
    world.write(MASQ, "lan - - - - - - - -\n");
    write_rules(get_masquerading);
    EXPECT_TRACE(R"(
        log get_masquerading: start
        log get_masquerading: done
    )",
                 world.trace());
}

// Port triggers

class trigger_rule : public list_test
{
};

TEST_P(trigger_rule, is_written)
{
    expect_rules(TRIGGERS, port_triggers);
}

std::string trigger(const std::string &protocol, const std::string &port, const std::string &opened)
{
    return "-A PREROUTING -p " + protocol + " -i br0 --dport " + port + ":" + port +
           " -j autofw --related-proto " + protocol + " --related-dport " + opened + "-" + opened +
           " --related-to " + opened + "-" + opened + "\n";
}

INSTANTIATE_TEST_SUITE_P(
    rows, trigger_rule,
    testing::Values(
        list_case{"empty_list", "", ""},
        list_case{"tcp", "chat 6667 x 113 tcp - - - -\n", trigger("tcp", "6667", "113")},
        list_case{"udp", "chat 6667 x 113 udp - - - -\n", trigger("udp", "6667", "113")},
        list_case{"all_is_tcp_then_udp", "chat 6667 x 113 all - - - -\n",
                  trigger("tcp", "6667", "113") + trigger("udp", "6667", "113")},
        list_case{"capitals", "chat 6667 x 113 ALL\n",
                  trigger("tcp", "6667", "113") + trigger("udp", "6667", "113")},
        list_case{"three_letters_are_compared", "a 1 x 2 allow\nb 3 x 4 TCPx\nc 5 x 6 udplite\n",
                  trigger("tcp", "1", "2") + trigger("udp", "1", "2") + trigger("tcp", "3", "4") +
                      trigger("udp", "5", "6")},
        list_case{"two_letters_are_too_few", "a 1 x 2 al\nb 3 x 4 tc\nc 5 x 6 ud\n", ""},
        list_case{"other_protocol_writes_nothing", "a 1 x 2 icmp\nb 1 x 2 -\n", ""},
        list_case{"in_protocol_is_not_used", "a 1 udp 2 tcp\n", trigger("tcp", "1", "2")},
        list_case{"short_line_inherits", "a 1 x 2 tcp\nb 3\n",
                  trigger("tcp", "1", "2") + trigger("tcp", "3", "2")},
        list_case{"short_first_line_writes_nothing", "a 1 x 2\n", ""},
        list_case{"comment", "# 1 x 2 tcp\n", ""},
        list_case{"binary", "\xff \xfe \xfd \xfc tcp\n", trigger("tcp", "\xfe", "\xfc")},
        list_case{"fields_are_cut_at_31", "a " + std::string(50, '1') + " x 2 tcp\n",
                  trigger("tcp", std::string(31, '1'), "2")}),
    support::row_name);

TEST_F(trigger_rule, logs_four_fields_under_labels_that_have_slipped)
{
    world.write(TRIGGERS, "name 1 in 2 tcp\nother 3 in 4 icmp\n");
    write_rules(port_triggers);
    EXPECT_TRACE(R"(
        log porttrigger_setting_morvi: desc = name, out_proto = tcp, out_port, in_proto=2, in_port=in
        log porttrigger_setting_morvi: desc = other, out_proto = icmp, out_port, in_proto=4, in_port=in
    )",
                 world.trace());
}

TEST_F(trigger_rule, of_a_list_that_is_switched_off_is_not_read)
{
    fw.trigger_ports = 0;
    written seen = write_rules(port_triggers);
    EXPECT_EQ(seen.result, -1);
    EXPECT_EQ(seen.rules, "");
    EXPECT_EQ(seen.messages, "");
    EXPECT_EQ(world.trace(), "");
}

} // namespace
