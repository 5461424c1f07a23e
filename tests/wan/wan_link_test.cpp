#include "wan/wan_link.h"

#include "support/unit_test.h"
#include "util/link_state.h"

#include <string.h>
#include <string>

namespace
{

// A running configuration whose second WAN entry is this one.
std::string config_with(const std::string &wan_entry)
{
    return R"({"Network":{"Wan":[{"iface":"vlan2","type":"dhcp"},)" + wan_entry + "]}}";
}

class wan_link : public support::unit_test
{
  protected:
    void SetUp() override { begin(); }
    void begin()
    {
        world.clear();
        world.on("skip ioctl");
    }
    static int up(const char *iface, const std::string &link_text)
    {
        json_t *link = json_loads(link_text.c_str(), 0, nullptr);
        EXPECT_NE(link, nullptr) << link_text;
        int result = wan_up(iface, link);
        json_decref(link);
        return result;
    }
};

TEST_F(wan_link, static_up)
{
    world.write("/var/run/Config", config_with(R"({"iface":"eth9","type":"static",
        "gateway":"10.0.0.1","metric":5})"));
    EXPECT_EQ(up("eth9", R"({"iface":"eth9","name":"unknown","metric":77,"ipaddr":"10.0.0.2",
        "gateway":"10.0.0.77"})"),
              0);
    EXPECT_TRACE(R"(
        log mcfg-wan_up: start\n
        log mcfg-open_file_with_lock: Open file - /var/run/Config
        log mcfg-find_object_from_array_by_param: size of array = 2
        log mcfg-find_object_from_array_by_param: find item #1
        log mcfg-wan_up: iface = eth9, type = static\n
        ioctl eth9 SIOCADDRT 10.0.0.1/255.255.255.255 metric 0 flags 0x5
        ioctl eth9 SIOCADDRT 0.0.0.0/0.0.0.0 via 10.0.0.1 metric 6 flags 0x3
        log mcfg-wan_up: metric = 5, gateway = 10.0.0.1
        shell led yellow_wan off
        shell led green_wan on
        shell iptables -t nat -I PREROUTING -i eth9 -d 10.0.0.2 -j VSERVER
        log mcfg-save_link_state_ex: start
        log mcfg-save_link_state_ex: get root - error
        log mcfg-save_link_state_ex: stop
        log mcfg-wan_up: stop\n
    )",
                 world.trace());
}

struct up_row {
    const char *name;
    const char *entry; // of the interface "eth9" in the running configuration
    const char *link;
    const char *trace; // routes and the lines about them
};

const up_row up_rows[] = {
    {"static: the metric is missing", R"({"iface":"eth9","type":"static","gateway":"10.0.0.1"})",
     "{}", R"(
        ioctl eth9 SIOCADDRT 10.0.0.1/255.255.255.255 metric 0 flags 0x5
        ioctl eth9 SIOCADDRT 0.0.0.0/0.0.0.0 via 10.0.0.1 metric 1 flags 0x3
        log mcfg-wan_up: metric = 0, gateway = 10.0.0.1
     )"},
    {"static: the metric is null",
     R"({"iface":"eth9","type":"static","gateway":"10.0.0.1","metric":null})", "{}", R"(
        ioctl eth9 SIOCADDRT 10.0.0.1/255.255.255.255 metric 0 flags 0x5
        ioctl eth9 SIOCADDRT 0.0.0.0/0.0.0.0 via 10.0.0.1 metric 1 flags 0x3
        log mcfg-wan_up: metric = 0, gateway = 10.0.0.1
     )"},
    {"static: a metric that is a text counts as 0",
     R"({"iface":"eth9","type":"static","gateway":"10.0.0.1","metric":"5"})", "{}", R"(
        ioctl eth9 SIOCADDRT 10.0.0.1/255.255.255.255 metric 0 flags 0x5
        ioctl eth9 SIOCADDRT 0.0.0.0/0.0.0.0 via 10.0.0.1 metric 1 flags 0x3
        log mcfg-wan_up: metric = 0, gateway = 10.0.0.1
     )"},
    {"static: a metric at the end of the range wraps",
     R"({"iface":"eth9","type":"static","gateway":"10.0.0.1","metric":2147483647})", "{}", R"(
        ioctl eth9 SIOCADDRT 10.0.0.1/255.255.255.255 metric 0 flags 0x5
        ioctl eth9 SIOCADDRT 0.0.0.0/0.0.0.0 via 10.0.0.1 metric 0 flags 0x3
        log mcfg-wan_up: metric = 2147483647, gateway = 10.0.0.1
     )"},
    {"static: no gateway, no route, whatever the link says",
     R"({"iface":"eth9","type":"static","metric":5})", R"({"gateway":"10.0.0.1"})", ""},
    {"static: the gateway is null", R"({"iface":"eth9","type":"static","gateway":null})", "{}", ""},
    {"static: a gateway that is no text counts as none",
     R"({"iface":"eth9","type":"static","gateway":[1]})", "{}", ""},
    {"static: 31 characters of the gateway count",
     R"({"iface":"eth9","type":"static","gateway":"10.0.0.1 56789012345678901234567890123"})", "{}",
     R"(
        ioctl eth9 SIOCADDRT 10.0.0.1/255.255.255.255 metric 0 flags 0x5
        ioctl eth9 SIOCADDRT 0.0.0.0/0.0.0.0 via 10.0.0.1 metric 1 flags 0x3
        log mcfg-wan_up: metric = 0, gateway = 10.0.0.1 5678901234567890123456
     )"},
    {"dhcp: gateway and metric of the link, not of the entry",
     R"({"iface":"eth9","type":"dhcp","gateway":"10.0.0.77","metric":5})",
     R"({"gateway":"10.0.0.1","metric":200})", R"(
        ioctl eth9 SIOCDELRT 0.0.0.0/0.0.0.0 via 10.0.0.1 metric 201 flags 0x3
        ioctl eth9 SIOCADDRT 0.0.0.0/0.0.0.0 via 10.0.0.1 metric 201 flags 0x3
        log mcfg-wan_up: metric = 200, gateway = 10.0.0.1
     )"},
    {"dhcp: a null metric is 300", R"({"iface":"eth9","type":"dhcp"})",
     R"({"gateway":"10.0.0.1","metric":null})", R"(
        ioctl eth9 SIOCDELRT 0.0.0.0/0.0.0.0 via 10.0.0.1 metric 301 flags 0x3
        ioctl eth9 SIOCADDRT 0.0.0.0/0.0.0.0 via 10.0.0.1 metric 301 flags 0x3
        log mcfg-wan_up: metric = 300, gateway = 10.0.0.1
     )"},
    {"dhcp: a missing metric is 0", R"({"iface":"eth9","type":"dhcp"})",
     R"({"gateway":"10.0.0.1"})",
     R"(
        ioctl eth9 SIOCDELRT 0.0.0.0/0.0.0.0 via 10.0.0.1 metric 1 flags 0x3
        ioctl eth9 SIOCADDRT 0.0.0.0/0.0.0.0 via 10.0.0.1 metric 1 flags 0x3
        log mcfg-wan_up: metric = 0, gateway = 10.0.0.1
     )"},
    {"dhcp: a null gateway is no route, but is said", R"({"iface":"eth9","type":"dhcp"})",
     R"({"gateway":null,"metric":5})", "log mcfg-wan_up: metric = 0, gateway = \n"},
    {"dhcp: so is a missing gateway", R"({"iface":"eth9","type":"dhcp"})", R"({"metric":5})",
     "log mcfg-wan_up: metric = 0, gateway = \n"},
    {"another type has no route", R"({"iface":"eth9","type":"pppoe","gateway":"10.0.0.1"})",
     R"({"gateway":"10.0.0.1"})", ""},
    {"no type has no route", R"({"iface":"eth9","gateway":"10.0.0.1"})",
     R"({"gateway":"10.0.0.1"})", ""},
};

// The lines between the one that names the type and the lights.
std::string routes_of(const std::string &trace)
{
    size_t begin = trace.find("log mcfg-wan_up: iface = ");
    begin = begin == std::string::npos ? begin : trace.find('\n', begin);
    size_t end = trace.find("shell led yellow_wan off\n");
    if (begin == std::string::npos || end == std::string::npos)
        return "no such lines in:\n" + trace;
    return trace.substr(begin + 1, end - begin - 1);
}

TEST_F(wan_link, routes_by_type)
{
    for (const up_row &row : up_rows) {
        SCOPED_TRACE(row.name);
        begin();
        world.write("/var/run/Config", config_with(row.entry));
        EXPECT_EQ(up("eth9", row.link), 0);
        EXPECT_TRACE(row.trace, routes_of(world.trace()));
        EXPECT_TRACE(R"(
            shell led yellow_wan off
            shell led green_wan on
        )",
                     world.trace_of({"shell", "run"}));
        EXPECT_TRUE(world.exists("/var/run/state_link"));
    }
}

struct jump_row {
    const char *name;
    const char *iface;
    const char *link;
    const char *commands; // besides the lights
};

const jump_row jump_rows[] = {
    {"an address", "eth9", R"({"ipaddr":"192.0.2.10"})", R"(
        shell iptables -t nat -I PREROUTING -i eth9 -d 192.0.2.10 -j VSERVER
     )"},
    {"a lease without a gateway", "eth9", R"({"ipaddr":"192.0.2.10","gateway":null})", R"(
        shell iptables -t nat -I PREROUTING -i eth9 -d 192.0.2.10 -j VSERVER
     )"},
    {"a null address has none", "eth9", R"({"ipaddr":null})", ""},
    {"no address has none", "eth9", "{}", ""},
    {"an empty address is handed on", "eth9", R"({"ipaddr":""})", R"(
        shell iptables -t nat -I PREROUTING -i eth9 -d  -j VSERVER
     )"},
    {"a command in the address stays a word", "eth9", R"({"ipaddr":"1;reboot $(reboot) `reboot`"})",
     R"(
        shell iptables -t nat -I PREROUTING -i eth9 -d '1;reboot $(reboot) `reboot`' -j VSERVER
        run iptables -t nat -I PREROUTING -i eth9 -d '1;reboot $(reboot) `reboot`' -j VSERVER
     )"},
    {"a command in the interface stays a word", "a'&b", R"({"ipaddr":"192.0.2.10"})", R"(
        shell iptables -t nat -I PREROUTING -i 'a'\\''&b' -d 192.0.2.10 -j VSERVER
        run iptables -t nat -I PREROUTING -i 'a'&b' -d 192.0.2.10 -j VSERVER
     )"},
};

TEST_F(wan_link, jump_into_the_port_forwardings)
{
    for (const jump_row &row : jump_rows) {
        SCOPED_TRACE(row.name);
        begin();
        world.write("/var/run/Config",
                    config_with(R"({"type":"dhcp","iface":")" + std::string(row.iface) + R"("})"));
        EXPECT_EQ(up(row.iface, row.link), 0);
        std::string commands = world.trace_of({"shell", "run"});
        std::string shown = "shell led yellow_wan off\nshell led green_wan on\n";
        ASSERT_EQ(commands.substr(0, shown.size()), shown);
        EXPECT_TRACE(row.commands, commands.substr(shown.size()));
    }
}

// A command line is cut at 255 characters, quotes and all: what is left of it is no command.
// The jump's line would be cut inside of its quotes.
TEST_F(wan_link, an_address_without_end_starts_nothing)
{
    world.write("/var/run/Config", config_with(R"({"iface":"eth9"})"));
    EXPECT_EQ(up("eth9", R"({"ipaddr":")" + std::string(100000, ';') + R"("})"), 0);
    EXPECT_EQ(world.trace_of({"shell", "run"}),
              "shell led yellow_wan off\nshell led green_wan on\n");
}

struct refused_row {
    const char *name;
    const char *config; // null for no file
    const char *trace;
};

const refused_row refused_rows[] = {
    {"no document", nullptr, R"(
        log mcfg-wan_up: start\n
        log mcfg-open_file_with_lock: Open file - /var/run/Config
        log mcfg-wan_up: Error on load file
     )"},
    {"an empty document", "", R"(
        log mcfg-wan_up: start\n
        log mcfg-open_file_with_lock: Open file - /var/run/Config
        log mcfg-wan_up: Error on load file
     )"},
    {"a document cut short", R"({"Network":{"Wan":[)", R"(
        log mcfg-wan_up: start\n
        log mcfg-open_file_with_lock: Open file - /var/run/Config
        log mcfg-wan_up: Error on load file
     )"},
    {"no entry of the interface: silent", R"({"Network":{"Wan":[{"iface":"vlan2"},7,null]}})", R"(
        log mcfg-wan_up: start\n
        log mcfg-open_file_with_lock: Open file - /var/run/Config
        log mcfg-find_object_from_array_by_param: size of array = 3
     )"},
    {"no WAN entries", R"({"Network":{}})", R"(
        log mcfg-wan_up: start\n
        log mcfg-open_file_with_lock: Open file - /var/run/Config
     )"},
    {"the WAN entries are no array", R"({"Network":{"Wan":{"iface":"eth9"}}})", R"(
        log mcfg-wan_up: start\n
        log mcfg-open_file_with_lock: Open file - /var/run/Config
     )"},
    {"an array at the top", R"([{"iface":"eth9"}])", R"(
        log mcfg-wan_up: start\n
        log mcfg-open_file_with_lock: Open file - /var/run/Config
     )"},
};

TEST_F(wan_link, without_an_entry_nothing_is_done)
{
    for (const refused_row &row : refused_rows) {
        SCOPED_TRACE(row.name);
        begin();
        if (row.config != nullptr)
            world.write("/var/run/Config", row.config);
        EXPECT_EQ(up("eth9", R"({"name":"wan","ipaddr":"192.0.2.10"})"), -1);
        EXPECT_TRACE(row.trace, world.trace());
        EXPECT_FALSE(world.exists("/var/run/state_link"));
    }
}

TEST_F(wan_link, up_while_the_document_is_locked)
{
    world.write("/var/run/Config", config_with(R"({"iface":"eth9","type":"static"})"));
    world.write("/var/lock/Config.lock", "1");
    EXPECT_EQ(up("eth9", R"({"name":"wan"})"), -1);
    EXPECT_TRACE(R"(
        log mcfg-wan_up: start\n
        log mcfg-open_file_with_lock: Open file - /var/run/Config
        log mcfg-open_file_with_lock: Can't unlock file
        log mcfg-wan_up: Error on load file
    )",
                 world.trace());
}

TEST_F(wan_link, up_while_the_store_is_locked)
{
    world.write("/var/run/Config", config_with(R"({"iface":"eth9","type":"other"})"));
    world.write("/var/lock/state_link.lock", "1");
    EXPECT_EQ(up("eth9", R"({"name":"wan","ipaddr":"192.0.2.10"})"), 0);
    EXPECT_TRACE(R"(
        log mcfg-wan_up: start\n
        log mcfg-open_file_with_lock: Open file - /var/run/Config
        log mcfg-find_object_from_array_by_param: size of array = 2
        log mcfg-find_object_from_array_by_param: find item #1
        log mcfg-wan_up: iface = eth9, type = other\n
        shell led yellow_wan off
        shell led green_wan on
        shell iptables -t nat -I PREROUTING -i eth9 -d 192.0.2.10 -j VSERVER
        log mcfg-save_link_state_ex: start
        log mcfg-set_lock_on_file: Can't lock file
        log mcfg-save_link_state_ex: stop
        log mcfg-wan_up: stop\n
    )",
                 world.trace());
    EXPECT_FALSE(world.exists("/var/run/state_link"));
    EXPECT_TRUE(world.exists("/var/lock/state_link.lock"));
}

TEST_F(wan_link, down)
{
    world.write("/var/run/state_link", R"({"state_links":[{"iface":"ppp1","name":"wan1"},
        {"iface":"eth9","name":"unknown","ipaddr":"192.0.2.10"}]})");
    wan_down("eth9");
    EXPECT_TRACE(R"(
        log mcfg-wan_down: start
        log mcfg-get_link_state_ex: start
        log mcfg-get_link_state_ex: state_links - ok
        log mcfg-find_object_from_array_by_param: size of array = 2
        log mcfg-find_object_from_array_by_param: find item #1
        log mcfg-get_link_state_ex: stop
        log mcfg-wan_down: Get link on iface eth9
        shell iptables -t nat -D PREROUTING -i eth9 -d 192.0.2.10 -j VSERVER
        ioctl eth9 SIOCSIFFLAGS 0x0
        ioctl eth9 SIOCSIFADDR 0.0.0.0
        log mcfg-remove_link_state_ex: start - param =iface, value = eth9
        log mcfg-remove_link_state_ex: state_links - ok
        log mcfg-find_object_from_array_by_param: size of array = 2
        log mcfg-find_object_from_array_by_param: find item #1
        log mcfg-remove_link_state_ex: index for remove = 1
        log mcfg-remove_link_state_ex: Success! Remove item by index 1
        log mcfg-remove_link_state_ex: stop
        log mcfg-wan_down:  size of array =  1
        log mcfg-wan_down: stop
    )",
                 world.trace());
    EXPECT_EQ(world.read("/var/run/state_link"), "{\n"
                                                 "   \"state_links\": [\n"
                                                 "      {\n"
                                                 "         \"iface\": \"ppp1\",\n"
                                                 "         \"name\": \"wan1\"\n"
                                                 "      }\n"
                                                 "   ]\n"
                                                 "}");
    EXPECT_FALSE(world.exists("/var/lock/state_link.lock"));
}

struct down_row {
    const char *name;
    const char *store;
    bool is_recorded;
    const char *commands;
    const char *after;
};

const down_row down_rows[] = {
    {"a null address has no jump", R"({"state_links":[{"iface":"eth9","ipaddr":null}]})", true, R"(
        ioctl eth9 SIOCSIFFLAGS 0x0
        ioctl eth9 SIOCSIFADDR 0.0.0.0
     )",
     "{\n   \"state_links\": []\n}"},
    {"no address has no jump", R"({"state_links":[{"iface":"eth9"}]})", true, R"(
        ioctl eth9 SIOCSIFFLAGS 0x0
        ioctl eth9 SIOCSIFADDR 0.0.0.0
     )",
     "{\n   \"state_links\": []\n}"},
    {"a command in the recorded address stays a word",
     R"({"state_links":[{"iface":"eth9","ipaddr":"1&reboot"}]})", true, R"(
        shell iptables -t nat -D PREROUTING -i eth9 -d '1&reboot' -j VSERVER
        run iptables -t nat -D PREROUTING -i eth9 -d 1&reboot -j VSERVER
        ioctl eth9 SIOCSIFFLAGS 0x0
        ioctl eth9 SIOCSIFADDR 0.0.0.0
     )",
     "{\n   \"state_links\": []\n}"},
    {"behind another link's record", R"({"state_links":[{"iface":"eth8"},{"iface":"eth9"}]})", true,
     R"(
        ioctl eth9 SIOCSIFFLAGS 0x0
        ioctl eth9 SIOCSIFADDR 0.0.0.0
     )",
     "{\n   \"state_links\": [\n      {\n         \"iface\": \"eth8\"\n      }\n   ]\n}"},
    {"no record: the file is not even written", R"({"state_links":[{"iface":"eth99"}]})", false, "",
     R"({"state_links":[{"iface":"eth99"}]})"},
    {"no state_links", R"({"x":1})", false, "", R"({"x":1})"},
    {"state_links is no array", R"({"state_links":"eth9"})", false, "",
     R"({"state_links":"eth9"})"},
    {"elements that are no links", R"({"state_links":[1,"eth9",null,{"iface":9}]})", false, "",
     R"({"state_links":[1,"eth9",null,{"iface":9}]})"},
    {"cut short", R"({"state_links":[{"iface":"eth9")", false, "",
     R"({"state_links":[{"iface":"eth9")"},
    {"empty", "", false, "", ""},
};

TEST_F(wan_link, down_by_the_record)
{
    for (const down_row &row : down_rows) {
        SCOPED_TRACE(row.name);
        begin();
        world.write("/var/run/state_link", row.store);
        EXPECT_EQ(is_link_recorded("eth9"), row.is_recorded);
        EXPECT_EQ(world.trace(), "");
        EXPECT_EQ(wan_down("eth9"), row.is_recorded);
        EXPECT_FALSE(is_link_recorded("eth9"));
        EXPECT_TRACE(row.commands, world.trace_of({"shell", "run", "ioctl"}));
        EXPECT_EQ(world.read("/var/run/state_link"), row.after);
        EXPECT_FALSE(world.exists("/var/lock/state_link.lock"));
    }
}

TEST_F(wan_link, down_without_a_record)
{
    world.write("/var/run/state_link", R"({"state_links":[]})");
    wan_down("eth9");
    EXPECT_TRACE(R"(
        log mcfg-wan_down: start
        log mcfg-get_link_state_ex: start
        log mcfg-get_link_state_ex: state_links - ok
        log mcfg-find_object_from_array_by_param: size of array = 0
        log mcfg-get_link_state_ex: stop
        log mcfg-wan_down:  Not get link on iface eth9
        log mcfg-wan_down: stop
    )",
                 world.trace());
}

TEST_F(wan_link, down_without_a_store)
{
    EXPECT_FALSE(is_link_recorded("eth9"));
    EXPECT_FALSE(wan_down("eth9"));
    EXPECT_TRACE(R"(
        log mcfg-wan_down: start
        log mcfg-wan_down: stop
    )",
                 world.trace());
    EXPECT_FALSE(world.exists("/var/lock/state_link.lock"));
    EXPECT_FALSE(world.exists("/var/run/state_link"));
}

TEST_F(wan_link, down_while_the_store_is_locked)
{
    const char store[] = R"({"state_links":[{"iface":"eth9","ipaddr":"192.0.2.10"}]})";
    world.write("/var/run/state_link", store);
    world.write("/var/lock/state_link.lock", "1");
    EXPECT_FALSE(wan_down("eth9"));
    EXPECT_TRUE(is_link_recorded("eth9"));
    EXPECT_TRACE(R"(
        log mcfg-wan_down: start
        log mcfg-set_lock_on_file: Can't lock file
        log mcfg-wan_down: stop
    )",
                 world.trace());
    EXPECT_EQ(world.read("/var/run/state_link"), store);
    EXPECT_TRUE(world.exists("/var/lock/state_link.lock"));
}

// A kernel that refuses everything does not stop the sequence.
TEST_F(wan_link, failing_requests_are_not_looked_at)
{
    world.clear();
    world.write("/var/run/Config", config_with(R"({"iface":"eth9","type":"static",
        "gateway":"10.0.0.1"})"));
    EXPECT_EQ(up("eth9", R"({"iface":"eth9","name":"unknown"})"), 0);
    EXPECT_TRACE(R"(
        ioctl eth9 SIOCADDRT 10.0.0.1/255.255.255.255 metric 0 flags 0x5 = ENODEV
        ioctl eth9 SIOCADDRT 0.0.0.0/0.0.0.0 via 10.0.0.1 metric 1 flags 0x3 = ENODEV
    )",
                 world.trace_of({"ioctl"}));
    world.clear_trace();
    wan_down("eth9");
    EXPECT_TRACE(R"(
        ioctl eth9 SIOCSIFFLAGS 0x0 = ENODEV
    )",
                 world.trace_of({"ioctl"}));
    EXPECT_EQ(world.read("/var/run/state_link"), "{\n   \"state_links\": []\n}");
}

} // namespace
