// Events of the PPP daemon whose variables, files or tools are not as they should be.
#include "support/expect.h"
#include "support/texts.h"
#include "system/link_store.h"
#include "system/ppp_test.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

using namespace ppp_life;

class ppp_event_input : public ppp_test
{
};

struct config_row {
    const char *name;
    const char *text; // null for no file
};

const config_row config_rows[] = {
    {"missing", nullptr},
    {"empty", ""},
    {"cut short", R"({"Network":{"Wan":[{"Tunnels":[{"name":"wan1","metric":2})"},
    {"binary", "\x7f\x45\x4c\x46\xff"},
    {"an array", "[]"},
    {"no Network", "{}"},
    {"no Wan: the walk ends at Network, whose own Tunnels are not meant",
     R"({"Network":{"Lan":[],"Tunnels":[{"name":"wan1","metric":2}]}})"},
    {"Wan is no array", R"({"Network":{"Wan":{"Tunnels":[{"name":"wan1","metric":2}]}}})"},
    {"no first entry", R"({"Network":{"Wan":[]}})"},
    {"Tunnels is no array", R"({"Network":{"Wan":[{"Tunnels":{"name":"wan1","metric":2}}]}})"},
    {"tunnels that are none", R"({"Network":{"Wan":[{"Tunnels":[1,null,"wan1",["wan1"]]}]}})"},
};

TEST_F(ppp_event_input, a_configuration_without_the_tunnel)
{
    box.on("skip ioctl");
    for (const config_row &row : config_rows) {
        SCOPED_TRACE(row.name);
        box.remove("/var/run/Config");
        if (row.text != nullptr)
            box.write("/var/run/Config", row.text);
        outcome result = up(wan1);
        EXPECT_EQ(result.status, 0);
        EXPECT_NE(result.trace.find("log ppp-up: metric is shit!!!!!\n"), std::string::npos);
        EXPECT_EQ(box.trace_of({"ioctl"}),
                  "ioctl ppp1 SIOCDELRT 10.9.0.1/255.255.255.255 metric 0 flags 0x5\n");
        EXPECT_NE(link_store::last(box).find(R"("metric": null)"), std::string::npos);
    }
}

TEST_F(ppp_event_input, up_while_the_configuration_is_locked)
{
    box.on("skip ioctl");
    box.write("/var/lock/Config.lock", "1");
    outcome result = up(wan1);
    EXPECT_NE(result.trace.find("log mcfg-open_file_with_lock: Can't unlock file\n"
                                "log ppp-up: metric is shit!!!!!\n"),
              std::string::npos);
}

TEST_F(ppp_event_input, up_without_any_variable)
{
    outcome result = box.run({"ip-up"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "No such device\n");
    EXPECT_EQ(support::rests(result.trace, "log ppp-up: "),
              "start, argc = 1, argv[0] = ip-up, metric is shit!!!!!, netmask = 255.255.255.255, "
              "done");
    EXPECT_TRACE(R"(
        shell export -p > /tmp/ppp-up-env
        ioctl '' SIOCDELRT 0.0.0.0/255.255.255.255 metric 0 flags 0x5 = ENODEV
        run sys_netbase save_ppp_info add '' '' '' ''
        run /etc/init.d/scripts/resolv add '' '' '' ''
        run /etc/init.d/scripts/resolv start
        run iptables -t nat -I PREROUTING -i '' -d '' -j VSERVER
        shell led yellow_wan off
        shell led green_wan on
    )",
                 support::without(result.trace, {"log"}));
    EXPECT_EQ(link_store::last(box),
              R"({"iface": null, "proto": null, "metric": null, "ipaddr": null, )"
              R"("netmask": "255.255.255.255", "gateway": null, "dns1": null, )"
              R"("dns2": null})");
    EXPECT_EQ(box.list("/tmp/ppp"), std::vector<std::string>{"link."});
}

TEST_F(ppp_event_input, down_without_any_variable)
{
    box.write("/var/run/state_link", up_store);
    outcome result = box.run({"ip-down"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(support::rests(result.trace, "log mcfg-wan_ppp_down: "),
              "start,  Not get link on iface , stop");
    EXPECT_EQ(support::without(result.trace, {"log"}), "shell export -p > /tmp/ppp-down-env\n");
    EXPECT_EQ(box.read("/var/run/state_link"), up_store);
}

struct marker_row {
    const char *name;
    const char *iface;
    const char *link_name;
    const char *err;
    int status;
};

const marker_row marker_rows[] = {
    {"an interface leads elsewhere", "taken/../../x", "pppoe-wan1",
     "taken/../../x: Invalid argument\n", EINVAL},
    {"a name leads elsewhere", "ppp1", "pppoe-taken/../../x", "taken/../../x: Invalid argument\n",
     EINVAL},
    {"a slash is enough", "ppp1", "pppoe-wan1/", "wan1/: Invalid argument\n", EINVAL},
    {"a directory is in the way", "ppp1", "pppoe-taken", "/tmp/ppp/link.taken: Is a directory\n",
     EISDIR},
};

TEST_F(ppp_event_input, a_marker_that_cannot_be_made_ends_the_event)
{
    box.mkdir("/tmp/ppp/link.taken");
    for (const marker_row &row : marker_rows) {
        SCOPED_TRACE(row.name);
        outcome result = up(with(with(wan1, "LINKNAME", row.link_name), "IFNAME", row.iface));
        EXPECT_EQ(result.status, row.status);
        EXPECT_EQ(result.err, row.err);
        EXPECT_EQ(result.trace.find("wan_ppp_up"), std::string::npos);
        EXPECT_EQ(result.trace.find("log ppp-up: done"), std::string::npos);
        EXPECT_FALSE(box.exists("/var/run/state_link"));
        EXPECT_FALSE(box.exists("/tmp/x"));
        EXPECT_EQ(box.exists("/tmp/ppp/link.ppp1"), row.status != EINVAL);
        box.remove("/tmp/ppp/link.ppp1");
    }
}

// Names that only look like a way out are names like any other.
TEST_F(ppp_event_input, markers_of_names_with_dots)
{
    box.on("skip ioctl");
    for (const char *name : {".", "..", "", "..x"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(up(with(wan1, "LINKNAME", std::string("pppoe-") + name)).err, "");
        EXPECT_TRUE(box.exists(std::string("/tmp/ppp/link.") + name));
    }
}

// A record that another hand has changed.
TEST_F(ppp_event_input, down_removes_no_file_elsewhere)
{
    box.mkdir("/tmp/ppp/link.taken");
    box.write("/tmp/x", "");
    box.write("/tmp/ppp/link.ppp1", "");
    box.write("/var/run/state_link", R"({"state_links":[{"iface":"ppp1","type":"pppoe",
        "name":"taken/../../x","ipaddr":"10.9.0.10"}]})");
    outcome result = down({{"IFNAME", "ppp1"}});
    EXPECT_EQ(result.err, "taken/../../x: Invalid argument\n");
    EXPECT_TRUE(box.exists("/tmp/x"));
    EXPECT_FALSE(box.exists("/tmp/ppp/link.ppp1"));
    EXPECT_EQ(box.read("/var/run/state_link"), "{\n   \"state_links\": []\n}");
}

TEST_F(ppp_event_input, up_without_a_directory_for_the_markers)
{
    box.remove("/tmp/ppp");
    outcome result = up(wan1);
    EXPECT_EQ(result.status, ENOENT);
    EXPECT_EQ(result.err, "/tmp/ppp/link.ppp1: No such file or directory\n");
    EXPECT_EQ(box.trace_of({"run", "ioctl"}), "");
}

TEST_F(ppp_event_input, up_while_the_store_is_locked)
{
    box.on("skip ioctl");
    box.write("/var/lock/state_link.lock", "1");
    outcome result = up(wan1);
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.trace.find("log mcfg-save_link_state_ex: start\n"
                                "log mcfg-set_lock_on_file: Can't lock file\n"
                                "log mcfg-save_link_state_ex: stop\n"),
              std::string::npos);
    EXPECT_FALSE(box.exists("/var/run/state_link"));
    EXPECT_TRUE(box.exists("/tmp/ppp/link.wan1"));
}

TEST_F(ppp_event_input, down_while_the_store_is_locked)
{
    box.write("/var/run/state_link", up_store);
    box.write("/var/lock/state_link.lock", "1");
    outcome result = down(wan1);
    EXPECT_EQ(result.status, 0);
    EXPECT_TRACE(R"(
        log ppp-down: begin
        shell export -p > /tmp/ppp-down-env
        log ppp-down: argc = 2
        log ppp-down: iface = ppp1
        log mcfg-wan_ppp_down: start
        log mcfg-set_lock_on_file: Can't lock file
        log mcfg-wan_ppp_down: stop
        log ppp-down: done
    )",
                 result.trace);
    EXPECT_EQ(box.read("/var/run/state_link"), up_store);
    EXPECT_EQ(box.read("/var/lock/state_link.lock"), "1");
}

struct down_row {
    const char *name;
    const char *store; // null for no file
    const char *commands;
    const char *after;
};

const down_row down_rows[] = {
    {"a record without a name is only removed",
     R"({"state_links":[{"iface":"ppp1","ipaddr":"10.9.0.10","type":"pppoe"}]})", "",
     "{\n   \"state_links\": []\n}"},
    {"a record without an address is only removed",
     R"({"state_links":[{"iface":"ppp1","name":"wan1","type":"pppoe"}]})", "",
     "{\n   \"state_links\": []\n}"},
    {"a record without a type is only removed",
     R"({"state_links":[{"iface":"ppp1","name":"wan1","ipaddr":"10.9.0.10"}]})", "",
     "{\n   \"state_links\": []\n}"},
    {"null members were empty when the link came up",
     R"({"state_links":[{"iface":"ppp1","name":null,"ipaddr":null,"type":null}]})", R"(
        run iptables -t nat -D PREROUTING -i ppp1 -d '' -j VSERVER
        run sys_netbase save_ppp_info remove ppp1 '' '' ''
        run /etc/init.d/scripts/resolv remove ppp1 ''
        run /etc/init.d/scripts/resolv start
        shell led yellow_wan on
        shell led green_wan off
     )",
     "{\n   \"state_links\": []\n}"},
    {"members that are no texts count as empty",
     R"({"state_links":[{"iface":"ppp1","name":[],"ipaddr":4,"type":{}}]})", R"(
        run iptables -t nat -D PREROUTING -i ppp1 -d '' -j VSERVER
        run sys_netbase save_ppp_info remove ppp1 '' '' ''
        run /etc/init.d/scripts/resolv remove ppp1 ''
        run /etc/init.d/scripts/resolv start
        shell led yellow_wan on
        shell led green_wan off
     )",
     "{\n   \"state_links\": []\n}"},
    {"no record of the interface: no command, not even written",
     R"({"state_links":[{"iface":"ppp2","name":"wan2","ipaddr":"10.9.0.11","type":"pppoe"}]})", "",
     R"({"state_links":[{"iface":"ppp2","name":"wan2","ipaddr":"10.9.0.11","type":"pppoe"}]})"},
    {"no state_links", R"({"links":1})", "", R"({"links":1})"},
    {"state_links is no array", R"({"state_links":{"iface":"ppp1"}})", "",
     R"({"state_links":{"iface":"ppp1"}})"},
    {"elements that are no links", R"({"state_links":[1,null,"ppp1",{"iface":1}]})", "",
     R"({"state_links":[1,null,"ppp1",{"iface":1}]})"},
    {"cut short", R"({"state_links":[{"iface":"ppp1",)", "", R"({"state_links":[{"iface":"ppp1",)"},
    {"missing", nullptr, "", nullptr},
};

TEST_F(ppp_event_input, down_by_the_record)
{
    for (const down_row &row : down_rows) {
        SCOPED_TRACE(row.name);
        box.remove("/var/run/state_link");
        if (row.store != nullptr)
            box.write("/var/run/state_link", row.store);
        outcome result = down({{"IFNAME", "ppp1"}});
        EXPECT_EQ(result.status, 0);
        size_t start = result.trace.find("log mcfg-wan_ppp_down: start\n");
        ASSERT_NE(start, std::string::npos);
        std::string commands = box.trace_of({"shell", "run", "ioctl"});
        EXPECT_TRACE("shell export -p > /tmp/ppp-down-env\n" + support::unindented(row.commands),
                     commands);
        EXPECT_EQ(box.exists("/var/run/state_link"), row.after != nullptr);
        if (row.after != nullptr) {
            EXPECT_EQ(box.read("/var/run/state_link"), row.after);
        }
        EXPECT_FALSE(box.exists("/var/lock/state_link.lock"));
    }
}

// Only what the link's name would be needed for is left out.
TEST_F(ppp_event_input, a_record_without_a_name_leaves_the_markers)
{
    box.write("/var/run/state_link",
              R"({"state_links":[{"iface":"ppp1","ipaddr":"10.9.0.10","type":"pppoe"}]})");
    box.write("/tmp/ppp/link.ppp1", "wan1");
    outcome result = down({{"IFNAME", "ppp1"}});
    EXPECT_NE(result.trace.find("log mcfg-wan_ppp_down: remove link state iface ppp1\n"),
              std::string::npos);
    EXPECT_EQ(result.trace.find("ifname = "), std::string::npos);
    EXPECT_EQ(box.read("/tmp/ppp/link.ppp1"), "wan1");
}

TEST_F(ppp_event_input, down_without_a_record_says_so)
{
    box.write("/var/run/state_link", R"({"state_links":[]})");
    outcome result = down({{"IFNAME", "ppp1"}});
    EXPECT_NE(result.trace.find("log mcfg-get_link_state_ex: stop\n"
                                "log mcfg-wan_ppp_down:  Not get link on iface ppp1\n"
                                "log mcfg-wan_ppp_down: stop\n"),
              std::string::npos);
}

// Somebody else freed the lock meanwhile: said, and the lock is free all the same.
TEST_F(ppp_event_input, a_lock_that_is_gone_at_the_end)
{
    box.write("/var/run/state_link", up_store);
    box.bind("/bin/rm", "/opt/rm");
    box.write("/opt/unlock", "#!/bin/sh\nexec /opt/rm /var/lock/state_link.lock\n", 0755);
    box.on("pass /opt/unlock iptables");
    outcome result = down({{"IFNAME", "ppp1"}});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.trace.find("log mcfg-clear_lock_on_file: Can't clear lock file\n"
                                "log mcfg-wan_ppp_down: stop\n"),
              std::string::npos)
        << result.trace;
    EXPECT_FALSE(box.exists("/var/lock/state_link.lock"));
}

// A lock that cannot be released in the ordinary way (nobody sees it there) is deleted outright.
TEST_F(ppp_event_input, a_lock_that_does_not_show)
{
    box.write("/var/run/state_link", up_store);
    box.on("fail ENOENT exists /var/lock/state_link.lock");
    outcome result = down({{"IFNAME", "ppp1"}});
    EXPECT_NE(result.trace.find("log mcfg-clear_lock_on_file: Can't clear lock file\n"),
              std::string::npos);
    EXPECT_FALSE(box.exists("/var/lock/state_link.lock"));
}

TEST_F(ppp_event_input, missing_tools_do_not_stop_the_link)
{
    box.on("skip ioctl");
    for (const char *directory : {"/sbin/", "/usr/sbin/"}) {
        for (const char *tool : {"sys_netbase", "iptables", "led"})
            box.remove_tool(std::string(directory) + tool);
    }
    box.remove_tool("/etc/init.d/scripts/resolv");
    EXPECT_EQ(up(wan1).status, 0);
    EXPECT_EQ(box.read("/var/run/state_link"), up_store);
    EXPECT_EQ(down(wan1).status, 0);
    EXPECT_EQ(box.read("/var/run/state_link"), "{\n   \"state_links\": []\n}");
}

TEST_F(ppp_event_input, no_value_becomes_a_command)
{
    box.on("skip ioctl");
    const std::string evil = "$(reboot);reboot&'\"";
    environment env;
    for (const char *name : {"IFNAME", "LINKNAME", "IPLOCAL", "IPREMOTE", "DNS1", "DNS2"})
        env.emplace_back(name, evil);
    outcome result = up(env);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.trace.find("run reboot"), std::string::npos);
    result = down(env);
    EXPECT_EQ(result.trace.find("run reboot"), std::string::npos);
}

// As much as the kernel hands over in one text.
TEST_F(ppp_event_input, over_long_values)
{
    box.on("skip ioctl");
    const std::string digits(130000, '9');
    for (const auto &variable : wan1) {
        SCOPED_TRACE(variable.first);
        environment env = with(wan1, variable.first, digits);
        EXPECT_EQ(up(env).status, 0);
        EXPECT_EQ(down(env).status, 0);
    }
    EXPECT_EQ(up(with(wan1, "LINKNAME", "pppoe-" + digits)).status, 0);
    EXPECT_EQ(box.run({"ip-up", digits}, wan1).status, 0);
}

TEST_F(ppp_event_input, trailing_blanks)
{
    box.on("skip ioctl");
    outcome result = up(with(with(wan1, "IPLOCAL", "10.9.0.10 \r\n"), "IFNAME", "ppp1 "));
    EXPECT_NE(result.trace.find("run sys_netbase save_ppp_info add ppp1 wan1 10.9.0.10 pppoe\n"),
              std::string::npos);
    EXPECT_NE(link_store::last(box).find(R"("iface": "ppp1 ",)"), std::string::npos);
    EXPECT_NE(link_store::last(box).find(R"("ipaddr": "10.9.0.10 \r\n")"), std::string::npos);
}

} // namespace
