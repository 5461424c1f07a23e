#include "config/sources.h"

#include "support/settings_files.h"
#include "support/unit_test.h"

#include <memory>
#include <stdlib.h>
#include <string.h>
#include <string>

namespace
{

using namespace settings_files;

// What a reader made of a file, as compact JSON, and its result before it.
std::string taken(json_t *target, int result)
{
    char *text = json_dumps(target, JSON_COMPACT);
    std::string all = std::to_string(result) + " " + text;
    free(text);
    json_decref(target);
    return all;
}

std::string tunnels()
{
    json_t *array = json_array();
    int result = get_tunnels(array);
    return taken(array, result);
}

std::string object_from(int (*reader)(json_t *))
{
    json_t *object = json_object();
    int result = reader(object);
    return taken(object, result);
}

struct file_row {
    const char *name;
    std::string content;
    std::string expected;
};

class file_test : public support::unit_test, public testing::WithParamInterface<file_row>
{
};

// /etc/default/network-interfaces: the record of "vlan2", its fields between bars.

class interface_line : public file_test
{
};

std::string bars(const iface_params &p)
{
    std::string text = p.iface;
    for (const char *field : {p.iface + IFACE_NAME_FIELD, p.iface + 2 * IFACE_NAME_FIELD, p.type,
                              p.ipaddr, p.netmask, p.gateway, p.metric, p.bcast, p.mtu, p.mac})
        text = text + "|" + field;
    return text;
}

TEST_P(interface_line, fills_the_record)
{
    world.write(INTERFACES, GetParam().content);
    iface_params record = {};
    int result = get_iface_params(&record, "vlan2");
    EXPECT_EQ(std::to_string(result) + " " + bars(record), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    lines, interface_line,
    testing::Values(
        file_row{"all_fields", "vlan2 wan 1 static 1.1.1.1 2.2.2.2 3.3.3.3 4 5.5.5.5 6 7:7\n",
                 "1 vlan2|wan|1|static|1.1.1.1|2.2.2.2|3.3.3.3|4|5.5.5.5|6|7:7"},
        file_row{"more_fields", "vlan2 a b c d e f g h i j k l m\n", "1 vlan2|a|b|c|d|e|f|g|h|i|j"},
        file_row{"four_fields_set_the_rest_to_a_dash", "vlan2 wan 1 dhcp\n",
                 "1 vlan2|wan|1|dhcp|-|-|-|-|-|-|-"},
        file_row{"two_fields_leave_the_type", "vlan2 wan\n", "1 vlan2|wan|||-|-|-|-|-|-|-"},
        file_row{"five_fields_leave_the_rest", "vlan2 wan 1 static 1.1.1.1\n",
                 "1 vlan2|wan|1|static|1.1.1.1||||||"},
        file_row{"runs_of_blanks_are_one", "vlan2  wan   1 dhcp\n",
                 "1 vlan2|wan|1|dhcp|-|-|-|-|-|-|-"},
        file_row{"last_of_several_wins_field_by_field",
                 "vlan2 wan 1 static 1.1.1.1 2.2.2.2 3.3.3.3\nvlan2 other 0 static 9.9.9.9\n",
                 "1 vlan2|other|0|static|9.9.9.9|2.2.2.2|3.3.3.3||||"},
        file_row{"no_line_end", "vlan2 wan 1 dhcp", "1 vlan2|wan|1|dhcp|-|-|-|-|-|-|-"},
        file_row{"carriage_return_is_cut_off", "vlan2 wan 1 dhcp\r\n",
                 "1 vlan2|wan|1|dhcp|-|-|-|-|-|-|-"},
        file_row{"fields_are_cut_at_their_room",
                 "vlan2 " + std::string(20, 'n') + " " + std::string(20, '1') + " " +
                     std::string(20, 't') + " " + std::string(20, 'i') + " m g 1234567 b 7654321 " +
                     std::string(20, 'a') + "\n",
                 "1 vlan2|" + std::string(15, 'n') + "|" + std::string(15, '1') + "|" +
                     std::string(15, 't') + "|" + std::string(15, 'i') + "|m|g|12345|b|76543|" +
                     std::string(17, 'a')},
        file_row{"another_interface", "br0 lan 1 static\n", "-1 ||||||||||"},
        file_row{"name_is_exact", "vlan22 wan 1 dhcp\nVLAN2 wan 1 dhcp\nvlan wan 1 dhcp\n",
                 "-1 ||||||||||"},
        file_row{"name_alone_bears_its_line_end", "vlan2\n", "-1 ||||||||||"},
        file_row{"name_alone_at_the_end", "vlan2", "1 vlan2||||-|-|-|-|-|-|-"},
        file_row{"skipped_lines", "#vlan2 a 1 dhcp\n vlan2 a 1 dhcp\n\tvlan2 a 1 dhcp\n\n",
                 "-1 ||||||||||"},
        file_row{"tab_is_no_separator", "vlan2\twan 1 dhcp\n", "-1 ||||||||||"},
        file_row{"empty_file", "", "-1 ||||||||||"},
        file_row{"binary", std::string("\0vlan2 wan 1 dhcp\n\xff\xfe\n\0\0\n", 24),
                 "-1 ||||||||||"},
        // A long line is read in pieces of 254 characters: here the second one begins with "vlan2".
        file_row{"piece_of_a_long_line", std::string(254, '#') + "vlan2 wan 1 dhcp\n",
                 "1 vlan2|wan|1|dhcp|-|-|-|-|-|-|-"},
        file_row{"piece_one_character_off", std::string(253, '#') + "vlan2 wan 1 dhcp\n",
                 "-1 ||||||||||"}),
    support::row_name);

using interface_file = support::unit_test;

TEST_F(interface_file, that_is_missing_leaves_the_record_alone)
{
    iface_params record = {};
    memcpy(record.iface, "before", 7);
    std::string said = support::private_world::captured(
        2,
        [](void *context) {
            EXPECT_EQ(get_iface_params(static_cast<iface_params *>(context), "vlan2"), -1);
        },
        &record);
    EXPECT_EQ(said, "/etc/default/network-interfaces: No such file or directory\n");
    EXPECT_STREQ(record.iface, "before");
}

TEST_F(interface_file, clears_four_characters_of_the_record_first)
{
    world.write(INTERFACES, "br0 lan 1 static\n");
    iface_params record = {};
    memcpy(record.iface, "before", 7);
    memcpy(record.mtu, "1400", 5);
    EXPECT_EQ(get_iface_params(&record, "vlan2"), -1);
    EXPECT_EQ(std::string(record.iface, 7), std::string("\0\0\0\0re\0", 7));
    EXPECT_STREQ(record.mtu, "1400");
}

TEST_F(interface_file, that_is_a_directory_holds_nothing)
{
    world.mkdir(INTERFACES);
    iface_params record = {};
    EXPECT_EQ(get_iface_params(&record, "vlan2"), -1);
}

// /etc/default/ppp-peers

class peer_line : public file_test
{
};

TEST_P(peer_line, gives_a_peer)
{
    world.write(PEERS, GetParam().content);
    EXPECT_EQ(tunnels(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    lines, peer_line,
    testing::Values(
        file_row{"pppoe", "wan1 pppoe 1 me secret vlan2 ac1 isp 20 -\n",
                 R"(1 [{"name":"wan1","type":"pppoe","auto":true,"login":"me","passwd":"secret",)"
                 R"("iface":"vlan2","ac":"ac1","service":"isp","metric":20}])"},
        file_row{"metric_may_bear_the_line_end", "w pppoe 1 l p i a s 20\n",
                 R"(1 [{"name":"w","type":"pppoe","auto":true,"login":"l","passwd":"p",)"
                 R"("iface":"i","ac":"a","service":"s","metric":20}])"},
        file_row{"pppoe_without_metric_takes_the_services_number", "w pppoe 1 l p i a 7up\n",
                 R"(1 [{"name":"w","type":"pppoe","auto":true,"login":"l","passwd":"p",)"
                 R"("iface":"i","ac":"a","service":"7up\n","metric":7}])"},
        file_row{"pppoe_service_without_a_number", "w pppoe 1 l p i a isp",
                 R"(1 [{"name":"w","type":"pppoe","auto":true,"login":"l","passwd":"p",)"
                 R"("iface":"i","ac":"a","service":"isp","metric":0}])"},
        file_row{"pppoe_dash_is_a_number_here", "w pppoe 1 l p i a s - x\n",
                 R"(1 [{"name":"w","type":"pppoe","auto":true,"login":"l","passwd":"p",)"
                 R"("iface":"i","ac":"a","service":"s","metric":0}])"},
        file_row{"pptp", "w pptp 0 l p 10.0.0.1 3 -\n",
                 R"(1 [{"name":"w","type":"pptp","auto":false,"login":"l","passwd":"p",)"
                 R"("server":"10.0.0.1","metric":3}])"},
        file_row{"l2tp", "w l2tp 1 l p 10.0.0.1 3\n",
                 R"(1 [{"name":"w","type":"l2tp","auto":true,"login":"l","passwd":"p",)"
                 R"("server":"10.0.0.1","metric":3}])"},
        file_row{"pptp_dash_before_a_line_end_is_0", "w pptp 1 l p s -\n",
                 R"(1 [{"name":"w","type":"pptp","auto":true,"login":"l","passwd":"p",)"
                 R"("server":"s","metric":0}])"},
        file_row{"pptp_dash_without_a_line_end_is_null", "w pptp 1 l p s -",
                 R"(1 [{"name":"w","type":"pptp","auto":true,"login":"l","passwd":"p",)"
                 R"("server":"s","metric":null}])"},
        file_row{"pptp_dash_before_a_further_field_is_null", "w pptp 1 l p s - x\n",
                 R"(1 [{"name":"w","type":"pptp","auto":true,"login":"l","passwd":"p",)"
                 R"("server":"s","metric":null}])"},
        file_row{"other_type_has_the_common_members", "w 3g 1 l p i a s 4\n",
                 R"(1 [{"name":"w","type":"3g","auto":true,"login":"l","passwd":"p"}])"},
        file_row{"auto_before_a_line_end_is_off", "w pppoe 1\n",
                 R"(1 [{"name":"w","type":"pppoe","auto":false}])"},
        file_row{"auto_is_exactly_1", "w pppoe 01 l\n",
                 R"(1 [{"name":"w","type":"pppoe","auto":false,"login":"l\n"}])"},
        file_row{"type_with_its_line_end_is_another_type", "w pppoe\n",
                 R"(1 [{"name":"w","type":"pppoe\n"}])"},
        file_row{"name_alone_takes_the_type_before", "a pptp 1 l p s 1 -\nb\n",
                 R"(1 [{"name":"a","type":"pptp","auto":true,"login":"l","passwd":"p",)"
                 R"("server":"s","metric":1},{"name":"b\n","type":"pptp"}])"},
        file_row{"first_name_alone_has_an_empty_type", "b\n", R"(1 [{"name":"b\n","type":""}])"},
        file_row{"fields_past_the_last_are_ignored", "w pppoe 1 l p i a s 4 5 6 7 8\n",
                 R"(1 [{"name":"w","type":"pppoe","auto":true,"login":"l","passwd":"p",)"
                 R"("iface":"i","ac":"a","service":"s","metric":4}])"},
        file_row{"two_lines_keep_their_order", "a 3g 1\nb 3g 0 -\n",
                 R"(1 [{"name":"a","type":"3g","auto":false},)"
                 R"({"name":"b","type":"3g","auto":false,"login":"-\n"}])"},
        file_row{"only_comments", "# a\n#b pppoe 1\n", "-1 []"}, file_row{"empty", "", "-1 []"},
        file_row{"blank_lines", "\n \n\t\n", "-1 []"},
        file_row{"huge_metric", "w l2tp 1 l p s 99999999999999999999 -\n",
                 R"(1 [{"name":"w","type":"l2tp","auto":true,"login":"l","passwd":"p",)"
                 R"("server":"s","metric":2147483647}])"},
        file_row{"text_that_is_not_utf8_is_left_out", "w pppoe 1 \xff\xfe p i a s 4\n",
                 R"(1 [{"name":"w","type":"pppoe","auto":true,"passwd":"p",)"
                 R"("iface":"i","ac":"a","service":"s","metric":4}])"},
        file_row{"zero_byte_ends_the_line", std::string("a 3g 1\0 l p\n", 12),
                 R"(1 [{"name":"a","type":"3g","auto":true}])"},
        file_row{"zero_byte_first_is_no_peer", std::string("\0a 3g 1\n", 8), "-1 []"}),
    support::row_name);

using peer_file = support::unit_test;

TEST_F(peer_file, that_is_missing_is_reported)
{
    std::string said = support::private_world::captured(
        2, [](void *) { EXPECT_EQ(tunnels(), "-1 []"); }, nullptr);
    EXPECT_EQ(said, "/etc/default/ppp-peers: No such file or directory\n");
}

// Every piece of 254 characters is a peer of its own; none of them is lost and nothing is overrun.
TEST_F(peer_file, with_a_line_of_10_megabytes_gives_its_pieces)
{
    world.write(PEERS, std::string(10U << 20U, 'p'));
    json_t *array = json_array();
    EXPECT_EQ(get_tunnels(array), 1);
    EXPECT_EQ(json_array_size(array), ((10U << 20U) + 253) / 254);
    const char *name = json_string_value(json_object_get(json_array_get(array, 0), "name"));
    EXPECT_EQ(std::string(name), std::string(254, 'p'));
    json_decref(array);
}

// /etc/default/dns.conf

class dns_file : public file_test
{
};

TEST_P(dns_file, gives)
{
    world.write(DNS, GetParam().content);
    EXPECT_EQ(object_from(get_dns_params), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    contents, dns_file,
    testing::Values(
        file_row{"all", "auto=wan\ndns1=1.1.1.1\ndns2=2.2.2.2\n",
                 R"(1 {"auto":true,"name":"wan","dns1":"1.1.1.1","dns2":"2.2.2.2"})"},
        file_row{"auto_0_before_a_line_end_is_on", "auto=0\n", R"(1 {"auto":true,"name":"0"})"},
        file_row{"auto_0_at_the_end_is_off", "auto=0", R"(1 {"auto":false})"},
        file_row{"values_are_trimmed", "dns1=1.1.1.1 \r\n", R"(1 {"dns1":"1.1.1.1"})"},
        file_row{"tab_is_kept", "dns1=1.1.1.1\t\n", R"(1 {"dns1":"1.1.1.1\t"})"},
        file_row{"line_end_is_a_value", "dns1=\n", R"(1 {"dns1":""})"},
        file_row{"no_value", "dns1=", "1 {}"}, file_row{"no_sign", "dns1\nauto", "1 {}"},
        file_row{"second_sign_ends_the_value", "dns1=a=b\n", R"(1 {"dns1":"a"})"},
        file_row{"runs_of_signs_are_one", "=dns1==a\n", R"(1 {"dns1":"a"})"},
        file_row{"key_is_exact", "dns11=a\nDNS1=a\ndns1 =a\n", "1 {}"},
        file_row{"last_wins", "dns1=a\ndns2=x\ndns1=b\n", R"(1 {"dns1":"b","dns2":"x"})"},
        file_row{"comments_and_blank_lines", "#dns1=a\n dns1=b\n\ndns2=c\n", R"(1 {"dns2":"c"})"},
        file_row{"empty", "", "1 {}"}, file_row{"only_signs", "====\n", "1 {}"},
        file_row{"not_utf8_is_left_out", "dns1=\xff\ndns2=a\n", R"(1 {"dns2":"a"})"},
        file_row{"binary", std::string("\0=\0\n\1\2=\3\n", 9), "1 {}"},
        file_row{"piece_of_a_long_line", std::string(254, 'x') + "dns1=a\n", R"(1 {"dns1":"a"})"}),
    support::row_name);

// /etc/default/wimax

class wimax_file : public file_test
{
};

TEST_P(wimax_file, gives)
{
    world.write(WIMAX, GetParam().content);
    EXPECT_EQ(object_from(get_wimax_params), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    contents, wimax_file,
    testing::Values(
        file_row{"all", "WIMAX_DOFF=1\nWIMAX_ENABLE=1\nWIMAX_SSID=net\n",
                 R"(1 {"diode_off":true,"enable":true,"ssid":"net"})"},
        file_row{"enable_0_enables", "WIMAX_ENABLE=0\n", R"(1 {"enable":true})"},
        file_row{"enable_without_a_value_enables", "WIMAX_ENABLE=", R"(1 {"enable":true})"},
        file_row{"enable_without_a_sign_at_the_end", "WIMAX_ENABLE", R"(1 {"enable":true})"},
        file_row{"enable_without_a_sign_bears_its_line_end", "WIMAX_ENABLE\n", "1 {}"},
        file_row{"doff_0_before_a_line_end_is_on", "WIMAX_DOFF=0\n", R"(1 {"diode_off":true})"},
        file_row{"doff_0_at_the_end_is_off", "WIMAX_DOFF=0", R"(1 {"diode_off":false})"},
        file_row{"doff_without_a_value", "WIMAX_DOFF=", "1 {}"},
        file_row{"ssid_without_a_value", "WIMAX_SSID=", "1 {}"},
        file_row{"ssid_that_is_only_a_line_end_is_null", "WIMAX_SSID=\n", R"(1 {"ssid":null})"},
        file_row{"ssid_that_begins_with_a_blank_is_null", "WIMAX_SSID= net\n",
                 R"(1 {"ssid":null})"},
        file_row{"ssid_is_trimmed", "WIMAX_SSID=my net \n", R"(1 {"ssid":"my net"})"},
        file_row{"ssid_not_utf8_is_left_out", "WIMAX_SSID=\xe4\n", "1 {}"},
        file_row{"later_key_replaces", "WIMAX_SSID=a\nWIMAX_SSID= \n", R"(1 {"ssid":null})"},
        file_row{"other_keys", "WIMAX=1\nwimax_enable=1\n", "1 {}"}, file_row{"empty", "", "1 {}"}),
    support::row_name);

using key_files = support::unit_test;

TEST_F(key_files, that_are_missing_are_reported)
{
    std::string said = support::private_world::captured(
        2,
        [](void *) {
            EXPECT_EQ(object_from(get_dns_params), "-1 {}");
            EXPECT_EQ(object_from(get_wimax_params), "-1 {}");
        },
        nullptr);
    EXPECT_EQ(said, "/etc/default/dns.conf: No such file or directory\n"
                    "/etc/default/wimax: No such file or directory\n");
}

TEST_F(key_files, with_lines_of_10_megabytes_are_read_in_pieces)
{
    world.write(DNS, "dns1=" + std::string(10U << 20U, '1') + "\n");
    EXPECT_EQ(object_from(get_dns_params), "1 {\"dns1\":\"" + std::string(249, '1') + "\"}");
}

} // namespace
