#include "config/json_access.h"

#include "support/unit_test.h"

#include <memory>
#include <stdlib.h>
#include <string.h>
#include <string>

namespace
{

struct release {
    void operator()(json_t *value) const { json_decref(value); }
};
using document = std::unique_ptr<json_t, release>;

document parse(const char *text)
{
    return document(json_loads(text, JSON_DECODE_ANY, nullptr));
}

constexpr char LOCK[] = "/var/lock/Config.lock";

using locked_load = support::unit_test;

TEST_F(locked_load, gives_the_document_and_frees_the_lock)
{
    world.write("/var/run/Config", R"({"a": 1})");
    document root(load_file_with_lock("/var/run", "Config", 15));
    ASSERT_TRUE(root);
    EXPECT_EQ(json_integer_value(json_object_get(root.get(), "a")), 1);
    EXPECT_FALSE(world.exists(LOCK));
    EXPECT_TRACE("log mcfg-open_file_with_lock: Open file - /var/run/Config", world.trace());
}

TEST_F(locked_load, frees_the_lock_of_a_missing_file)
{
    EXPECT_EQ(load_file_with_lock("/var/run", "Config", 15), nullptr);
    EXPECT_FALSE(world.exists(LOCK));
    EXPECT_TRACE("log mcfg-open_file_with_lock: Open file - /var/run/Config", world.trace());
}

TEST_F(locked_load, tests_a_held_lock_as_often_as_told)
{
    world.write("/var/run/Config", "{}");
    world.write(LOCK, "1");
    world.on("watch exists");
    EXPECT_EQ(load_file_with_lock("/var/run", "Config", 15), nullptr);
    EXPECT_TRACE(R"(
        log mcfg-open_file_with_lock: Open file - /var/run/Config
        exists /var/lock/Config.lock = yes (x15)
        log mcfg-open_file_with_lock: Can't unlock file
    )",
                 world.trace());
    EXPECT_EQ(world.read(LOCK), "1");
}

TEST_F(locked_load, without_attempts_makes_no_test)
{
    world.write("/var/run/Config", "{}");
    world.on("watch exists");
    EXPECT_EQ(load_file_with_lock("/var/run", "Config", 0), nullptr);
    EXPECT_TRACE(R"(
        log mcfg-open_file_with_lock: Open file - /var/run/Config
        log mcfg-open_file_with_lock: Can't unlock file
    )",
                 world.trace());
    EXPECT_FALSE(world.exists(LOCK));
}

TEST_F(locked_load, loads_nothing_when_the_lock_cannot_be_created)
{
    world.write("/var/run/Config", "{}");
    world.remove("/var/lock");
    EXPECT_EQ(load_file_with_lock("/var/run", "Config", 15), nullptr);
    EXPECT_TRACE(R"(
        log mcfg-open_file_with_lock: Open file - /var/run/Config
        log mcfg-open_file_with_lock: Can't open unlock file
    )",
                 world.trace());
}

TEST_F(locked_load, takes_the_last_of_two_members_of_a_name)
{
    world.write("/var/run/Config", R"({"a": 1, "a": 2})");
    document root(load_file_with_lock("/var/run", "Config", 15));
    ASSERT_TRUE(root);
    EXPECT_EQ(json_integer_value(json_object_get(root.get(), "a")), 2);
}

TEST_F(locked_load, names_the_lock_by_the_file_alone)
{
    world.write("/tmp/Config", "{}");
    world.write(LOCK, "1");
    EXPECT_EQ(load_file_with_lock("/tmp", "Config", 1), nullptr);
}

struct unusable_row {
    const char *name;
    std::string content;
};

class unusable : public support::unit_test, public testing::WithParamInterface<unusable_row>
{
};

TEST_P(unusable, document_is_none)
{
    world.write("/var/run/Config", GetParam().content);
    EXPECT_EQ(load_file_with_lock("/var/run", "Config", 15), nullptr);
    EXPECT_FALSE(world.exists(LOCK));
}

INSTANTIATE_TEST_SUITE_P(contents, unusable,
                         testing::Values(unusable_row{"empty", ""},
                                         unusable_row{"cut_short", R"({"Network": {)"},
                                         unusable_row{"no_document", "17"},
                                         unusable_row{"rubbish", "auto=1\n"},
                                         unusable_row{"not_utf8", "{\"a\": \"\xff\xfe\"}"},
                                         unusable_row{"binary", std::string("\0\1\2{}", 5)},
                                         unusable_row{"deeply_nested", std::string(100000, '[')}),
                         support::row_name);

constexpr char CONFIG[] = R"({"Network": {"Common": {}, "Lan": [{"iface": "br0"}],
    "Wan": [{"iface": "vlan2", "Tunnels": [7, 8]}, {"iface": "wimax0"}]}})";

struct path_row {
    const char *name;
    std::string path;
    const char *expected; // the value found, "none" or "root"
};

class path : public support::unit_test, public testing::WithParamInterface<path_row>
{
};

std::string compact(const json_t *value)
{
    char *text = json_dumps(value, JSON_COMPACT | JSON_ENCODE_ANY);
    std::string result = text;
    free(text);
    return result;
}

TEST_P(path, leads_to)
{
    document root = parse(CONFIG);
    json_t *found = get_object_by_path(root.get(), GetParam().path.c_str());
    std::string text = "none";
    if (found != nullptr)
        text = found == root.get() ? "root" : compact(found);
    EXPECT_EQ(text, GetParam().expected);
}

constexpr char WIMAX_ENTRY[] = R"({"iface":"wimax0"})";
constexpr char VLAN2_ENTRY[] = R"({"iface":"vlan2","Tunnels":[7,8]})";
constexpr char NETWORK[] = R"({"Common":{},"Lan":[{"iface":"br0"}],)"
                           R"("Wan":[{"iface":"vlan2","Tunnels":[7,8]},{"iface":"wimax0"}]})";

INSTANTIATE_TEST_SUITE_P(
    paths, path,
    testing::Values(path_row{"empty_is_root", "", "root"},
                    path_row{"slashes_are_root", "//", "root"},
                    path_row{"member", "Network/Lan", R"([{"iface":"br0"}])"},
                    path_row{"array_element", "Network/Wan:1", WIMAX_ENTRY},
                    path_row{"below_an_element", "Network/Wan:0/Tunnels", "[7,8]"},
                    path_row{"runs_of_slashes", "Network//Wan:0", VLAN2_ENTRY},
                    path_row{"outer_slashes", "/Network/Wan:1/", WIMAX_ENTRY},
                    path_row{"missing_member", "Network/Other", "none"},
                    path_row{"below_a_missing_member", "Other/Wan/x", "none"},
                    path_row{"below_a_text", "Network/Lan:0/iface/x", "none"},
                    path_row{"index_out_of_range", "Network/Wan:3", "none"},
                    path_row{"below_an_index_out_of_range", "Network/Wan:3/Tunnels", "none"},
                    path_row{"indexed_below_none_stays_none", "Network/Wan:3/Tunnels:0", "none"},
                    path_row{"missing_indexed_gives_the_container", "Network/Other:0", NETWORK},
                    path_row{"and_ends_the_walk", "Network/Other:0/Lan", NETWORK},
                    path_row{"indexed_no_array_gives_the_container", "Network/Common:0", NETWORK},
                    path_row{"indexed_on_root", "Wan:0", "root"},
                    path_row{"index_without_digits_is_0", "Network/Wan:x/Tunnels", "[7,8]"},
                    path_row{"empty_index_is_0", "Network/Wan:/Tunnels", "[7,8]"},
                    path_row{"second_colon_belongs_to_the_index", "Network/Wan:1:0", WIMAX_ENTRY},
                    path_row{"negative_index", "Network/Wan:-1", "none"},
                    path_row{"huge_index", "Network/Wan:99999999999999999999", "none"},
                    path_row{"index_cut_at_its_room", "Network/Wan:" + std::string(38, '0') + "19",
                             WIMAX_ENTRY},
                    path_row{"name_of_64", "Network/" + std::string(64, 'n') + ":0", NETWORK},
                    path_row{"name_far_too_long", "Network/" + std::string(500, 'n') + ":0",
                             NETWORK},
                    path_row{"path_cut_at_its_room", std::string(2000, '/') + "Network", "root"}),
    support::row_name);

using path_log = support::unit_test;

TEST_F(path_log, names_each_segment)
{
    document root = parse(CONFIG);
    get_object_by_path(root.get(), "Network/Wan:1");
    EXPECT_TRACE(R"(
        log get_object_by_path: buf = Network
        log get_object_by_path: is not array
        log get_object_by_path: buf = Wan:1
        log get_object_by_path: is array
        log get_object_by_path: ar_index = 1, ar_name = Wan
        log get_object_by_path: really array
        log get_object_by_path: ar_index = 1, ar_name = Wan
    )",
                 world.trace());
}

TEST_F(path_log, stops_where_an_indexed_segment_is_no_array)
{
    document root = parse(CONFIG);
    get_object_by_path(root.get(), "Other:2/x");
    EXPECT_TRACE(R"(
        log get_object_by_path: buf = Other:2
        log get_object_by_path: is array
        log get_object_by_path: ar_index = 2, ar_name = Other
    )",
                 world.trace());
}

class search : public support::unit_test
{
  protected:
    json_t *find(const char *array, const char *key, const char *value)
    {
        held = parse(array);
        return find_object_from_array_by_param(held.get(), key, value, &position);
    }
    document held;
    unsigned position = 77;
};

TEST_F(search, finds_the_first_equal_element_and_its_position)
{
    json_t *found = find(R"([{"name":"a"}, {"name":"b","n":1}, {"name":"b","n":2}])", "name", "b");
    EXPECT_EQ(json_integer_value(json_object_get(found, "n")), 1);
    EXPECT_EQ(position, 1U);
    EXPECT_TRACE(R"(
        log mcfg-find_object_from_array_by_param: size of array = 3
        log mcfg-find_object_from_array_by_param: find item #1
    )",
                 world.trace());
}

TEST_F(search, stores_position_0)
{
    EXPECT_NE(find(R"([{"name":"a"}])", "name", "a"), nullptr);
    EXPECT_EQ(position, 0U);
}

TEST_F(search, is_exact_and_case_sensitive)
{
    EXPECT_EQ(find(R"([{"name":"Wan1"}, {"name":"wan11"}, {"name":"wan"}])", "name", "wan1"),
              nullptr);
    EXPECT_EQ(position, 77U);
}

TEST_F(search, of_what_is_no_array_is_silent)
{
    EXPECT_EQ(find(R"({"name":"a"})", "name", "a"), nullptr);
    EXPECT_EQ(find_object_from_array_by_param(nullptr, "name", "a", &position), nullptr);
    EXPECT_EQ(position, 77U);
    EXPECT_EQ(world.trace(), "");
}

TEST_F(search, of_an_empty_array_logs_its_size)
{
    EXPECT_EQ(find("[]", "name", "a"), nullptr);
    EXPECT_TRACE("log mcfg-find_object_from_array_by_param: size of array = 0", world.trace());
}

TEST_F(search, passes_over_elements_without_that_text)
{
    EXPECT_NE(find(R"([1, null, [], {}, {"name":1}, {"name":null}, {"name":"a"}])", "name", "a"),
              nullptr);
    EXPECT_EQ(position, 6U);
}

using member = support::unit_test;

TEST_F(member, text_is_copied)
{
    document object = parse(R"({"s":"text"})");
    char dst[8] = "before";
    EXPECT_EQ(get_string_from_json_by_name(object.get(), "s", dst), 1);
    EXPECT_STREQ(dst, "text");
}

TEST_F(member, text_is_cut_at_the_field)
{
    document object = parse(R"({"s":"0123456789"})");
    char dst[6];
    EXPECT_EQ(get_string_from_json_by_name(object.get(), "s", dst), 1);
    EXPECT_STREQ(dst, "01234");
}

TEST_F(member, of_another_kind_is_no_text)
{
    document object = parse(R"({"i":1, "n":null, "t":true, "o":{}})");
    for (const char *key : {"i", "n", "t", "o", "missing"}) {
        char dst[8] = "before";
        EXPECT_EQ(get_string_from_json_by_name(object.get(), key, dst), -1) << key;
        EXPECT_STREQ(dst, "before") << key;
    }
    char dst[8] = "before";
    EXPECT_EQ(get_string_from_json_by_name(nullptr, "s", dst), -1);
}

TEST_F(member, number_is_logged_under_the_text_readers_name_and_not_stored)
{
    document object = parse(R"({"metric":20})");
    int32_t dst = 5;
    EXPECT_EQ(get_integer_from_json_by_name(object.get(), "metric", &dst), 1);
    EXPECT_EQ(dst, 5);
    EXPECT_TRACE("log mcfg-get_string_from_json_by_name: name = metric, value = 20", world.trace());
}

TEST_F(member, of_another_kind_is_no_number)
{
    document object = parse(R"({"s":"20", "r":1.5, "n":null})");
    int32_t dst = 5;
    for (const char *key : {"s", "r", "n", "missing"})
        EXPECT_EQ(get_integer_from_json_by_name(object.get(), key, &dst), -1) << key;
    EXPECT_EQ(world.trace(), "");
}

constexpr char FULL_ENTRY[] = R"({"iface":"vlan2", "type":"%s", "ipaddr":"10.0.0.2",
    "netmask":"255.0.0.0", "gateway":"10.0.0.1", "bcast":"10.255.255.255",
    "metric":"7", "mtu":"1400", "mac":"02:00:00:00:00:01"})";

class interface_record : public support::unit_test
{
  protected:
    static iface_params params_of(const std::string &entry)
    {
        iface_params params;
        memset(&params, 'x', sizeof(params));
        EXPECT_EQ(get_iface_params_from_json(parse(entry.c_str()).get(), &params), 1);
        return params;
    }

    static std::string full_entry(const char *type)
    {
        std::string entry = FULL_ENTRY;
        return entry.replace(entry.find("%s"), 2, type);
    }
};

TEST_F(interface_record, of_a_static_entry_holds_the_addresses)
{
    iface_params params = params_of(full_entry("static"));
    EXPECT_STREQ(params.iface, "vlan2");
    EXPECT_STREQ(params.type, "static");
    EXPECT_STREQ(params.ipaddr, "10.0.0.2");
    EXPECT_STREQ(params.netmask, "255.0.0.0");
    EXPECT_STREQ(params.gateway, "10.0.0.1");
    EXPECT_STREQ(params.metric, "7");
    EXPECT_STREQ(params.bcast, "10.255.255.255");
    EXPECT_STREQ(params.mtu, "1400");
    EXPECT_STREQ(params.mac, "02:00:00:00:00:01");
}

TEST_F(interface_record, of_a_dhcp_entry_holds_no_addresses_though_it_has_them)
{
    iface_params params = params_of(full_entry("dhcp"));
    EXPECT_STREQ(params.iface, "vlan2");
    EXPECT_STREQ(params.type, "dhcp");
    EXPECT_STREQ(params.mac, "02:00:00:00:00:01");
    for (const char *empty :
         {params.ipaddr, params.netmask, params.gateway, params.metric, params.bcast, params.mtu})
        EXPECT_STREQ(empty, "");
}

TEST_F(interface_record, never_takes_the_integers_of_the_document)
{
    iface_params params =
        params_of(R"({"iface":"vlan2", "type":"static", "metric":20, "mtu":1400})");
    EXPECT_STREQ(params.metric, "");
    EXPECT_STREQ(params.mtu, "");
}

TEST_F(interface_record, of_nothing_is_empty)
{
    iface_params params;
    memset(&params, 'x', sizeof(params));
    EXPECT_EQ(get_iface_params_from_json(nullptr, &params), 1);
    EXPECT_STREQ(params.iface, "");
    EXPECT_STREQ(params.type, "");
    EXPECT_STREQ(params.mac, "");
}

TEST_F(interface_record, is_not_overrun)
{
    json_t *entry = json_object();
    document held(entry);
    std::string text(1000, 'z');
    for (const char *key :
         {"iface", "ipaddr", "netmask", "gateway", "metric", "bcast", "mtu", "mac"})
        json_object_set_new(entry, key, json_string(text.c_str()));
    json_object_set_new(entry, "type", json_string("static"));
    iface_params params;
    get_iface_params_from_json(entry, &params);
    EXPECT_EQ(strlen(params.iface), 47U);
    EXPECT_EQ(strlen(params.ipaddr), 15U);
    EXPECT_EQ(strlen(params.metric), 5U);
    EXPECT_EQ(strlen(params.mtu), 5U);
    EXPECT_EQ(strlen(params.mac), 17U);
}

class ppp_record : public support::unit_test
{
  protected:
    static ppp_params params_of(const std::string &entry)
    {
        ppp_params params;
        memset(&params, 'x', sizeof(params));
        EXPECT_EQ(get_ppp_params_from_json(parse(entry.c_str()).get(), &params), 1);
        return params;
    }
};

TEST_F(ppp_record, of_pppoe)
{
    ppp_params params = params_of(R"({"name":"wan1", "type":"pppoe", "auto":true, "login":"me",
        "passwd":"secret", "iface":"vlan2", "ac":"ac1", "service":"isp", "server":"no",
        "metric":20})");
    EXPECT_STREQ(params.name, "wan1");
    EXPECT_STREQ(params.type, "pppoe");
    EXPECT_EQ(params.auto_dial, 1);
    EXPECT_STREQ(params.login, "me");
    EXPECT_STREQ(params.passwd, "secret");
    EXPECT_STREQ(params.iface, "vlan2");
    EXPECT_STREQ(params.ac, "ac1");
    EXPECT_STREQ(params.service, "isp");
    EXPECT_STREQ(params.server, "");
    EXPECT_EQ(params.metric, 0) << "the metric is read and logged, never stored";
    EXPECT_TRACE("log mcfg-get_string_from_json_by_name: name = metric, value = 20", world.trace());
}

TEST_F(ppp_record, of_pptp_and_l2tp)
{
    for (std::string type : {"pptp", "l2tp"}) {
        ppp_params params =
            params_of(R"({"name":"work", "type":")" + type +
                      R"(", "server":"10.0.0.1", "iface":"vlan2", "ac":"a", "service":"s"})");
        EXPECT_STREQ(params.server, "10.0.0.1");
        EXPECT_STREQ(params.iface, "");
        EXPECT_STREQ(params.ac, "");
        EXPECT_STREQ(params.service, "");
    }
}

TEST_F(ppp_record, of_another_type_has_the_common_fields_only)
{
    ppp_params params = params_of(R"({"name":"x", "type":"3g", "auto":true, "login":"l",
        "passwd":"p", "server":"s", "iface":"i", "ac":"a", "service":"s"})");
    EXPECT_STREQ(params.login, "l");
    EXPECT_STREQ(params.passwd, "p");
    EXPECT_STREQ(params.server, "");
    EXPECT_STREQ(params.iface, "");
}

TEST_F(ppp_record, dials_for_a_true_only)
{
    EXPECT_EQ(params_of(R"({"auto":true})").auto_dial, 1);
    EXPECT_EQ(params_of(R"({"auto":false})").auto_dial, 0);
    EXPECT_EQ(params_of(R"({"auto":"true"})").auto_dial, 0);
    EXPECT_EQ(params_of(R"({"auto":1})").auto_dial, 0);
    EXPECT_EQ(params_of(R"({})").auto_dial, 0);
}

} // namespace
