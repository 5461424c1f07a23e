// Events of the DHCP client whose variables, files or kernel are not as they should be.
#include "support/expect.h"
#include "system/dhcp_test.h"
#include "system/link_store.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

using namespace dhcp_life;

class dhcp_event_input : public dhcp_test
{
};

TEST_F(dhcp_event_input, bound_without_any_variable)
{
    outcome result = event("bound", {});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "No such device\n"); // with no name to put before it
    EXPECT_TRACE(R"(
        log dhcp client: bound
        shell export -p > /tmp/udhcpc-env
        ioctl '' SIOCSIFFLAGS 0x1043 = ENODEV
        log mcfg-wan_up: start\n
        log mcfg-open_file_with_lock: Open file - /var/run/Config
        log mcfg-find_object_from_array_by_param: size of array = 3
        shell /etc/init.d/scripts/resolv start
        log dhcp client: done\n
    )",
                 result.trace);
    EXPECT_FALSE(box.exists("/var/run/state_link"));
}

TEST_F(dhcp_event_input, deconfig_without_any_variable)
{
    outcome result = event("deconfig", {});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "No such device\n");
    EXPECT_TRACE(R"(
        log dhcp client: deconfig
        shell export -p > /tmp/udhcpc-env-deconfig
        ioctl '' SIOCSIFFLAGS 0x1043 = ENODEV
        shell /etc/init.d/scripts/resolv start
        shell led yellow_wan on
        shell led green_wan off
        log mcfg-wan_down: start
        log mcfg-wan_down: stop
    )",
                 result.trace);
    EXPECT_TRUE(box.exists("/tmp/udhcpc..expires"));
}

TEST_F(dhcp_event_input, a_broken_route_list_ends_the_event)
{
    box.on("skip ioctl");
    outcome result = event("bound", with(vlan2_lease, "msroutes", "24 192,168"));
    EXPECT_EQ(result.status, 0);
    size_t msroutes = result.trace.find("log dhcp client: msroutes");
    ASSERT_NE(msroutes, std::string::npos);
    EXPECT_TRACE(R"(
        log dhcp client: msroutes = 24 192,168
        log dhcp client: done\n
    )",
                 result.trace.substr(msroutes));
    EXPECT_FALSE(box.exists("/var/run/state_link"));
}

TEST_F(dhcp_event_input, an_unusable_prefix_ends_the_list_only)
{
    box.on("skip ioctl");
    outcome result = event("bound", with(vlan2_lease, "msroutes", "33 192 168 5 0 192 0 2 4"));
    EXPECT_EQ(result.trace.find("192.168.5.0"), std::string::npos);
    EXPECT_EQ(box.read("/var/run/state_link"), bound_store);
}

// The members have the text as it came, the commands what trailing blanks leave of it.
TEST_F(dhcp_event_input, trailing_blanks)
{
    box.on("skip ioctl");
    outcome result = event("bound", {{"interface", "vlan2 "}, {"ip", "192.0.2.10 \n"}});
    EXPECT_TRACE(R"(
        ioctl vlan2 SIOCSIFFLAGS 0x1043
        ioctl vlan2 SIOCSIFADDR 192.0.2.10
    )",
                 box.trace_of({"ioctl"}));
    EXPECT_NE(link_store::last(box).find(R"("iface": "vlan2 ", "name": "wan")"), std::string::npos);
    EXPECT_NE(link_store::last(box).find(R"("ipaddr": "192.0.2.10 \n")"), std::string::npos);
}

TEST_F(dhcp_event_input, no_value_becomes_a_command)
{
    box.on("skip ioctl");
    const std::string evil = "$(reboot)`reboot`;reboot|reboot&'\"\\\n";
    environment lease = {{"interface", "vlan2"}};
    for (const char *name : {"ip", "subnet", "router", "dns", "routes", "staticroutes", "msroutes"})
        lease.emplace_back(name, evil);
    outcome bound = event("bound", lease);
    EXPECT_EQ(bound.status, 0);
    EXPECT_EQ(bound.trace.find("run reboot"), std::string::npos);
    EXPECT_NE(bound.trace.find("run /etc/init.d/scripts/resolv add vlan2 wan "), std::string::npos);
    EXPECT_NE(bound.trace.find("run iptables -t nat -I PREROUTING -i vlan2 -d "),
              std::string::npos);
    outcome deconfig = event("deconfig", lease);
    EXPECT_EQ(deconfig.trace.find("run reboot"), std::string::npos);
    EXPECT_NE(deconfig.trace.find("run iptables -t nat -D PREROUTING -i vlan2 -d "),
              std::string::npos);
    EXPECT_EQ(link_store::links(box).size(), 0U);
}

TEST_F(dhcp_event_input, a_value_that_is_no_text_is_null_in_the_store)
{
    box.on("skip ioctl");
    event("bound", {{"interface", "vlan2"}, {"ip", "\xff\xfe"}, {"dns", "\xff b"}});
    EXPECT_EQ(link_store::last(box),
              R"({"iface": "vlan2", "name": "wan", "type": "dhcp", "proto": "ether", )"
              R"("metric": 101, "ipaddr": null, "netmask": null, "gateway": null, )"
              R"("dns1": null, "dns2": "b"})");
}

std::string repeated(const std::string &piece, size_t count)
{
    std::string text;
    for (size_t i = 0; i < count; i++)
        text += piece;
    return text;
}

// As much as the kernel hands over in one variable.
TEST_F(dhcp_event_input, over_long_values)
{
    box.on("skip ioctl");
    for (const auto &variable : vlan2_lease) {
        SCOPED_TRACE(variable.first);
        environment lease = with(vlan2_lease, variable.first, std::string(130000, '9'));
        EXPECT_EQ(event("bound", lease).status, 0);
        EXPECT_EQ(event("deconfig", lease).status, 0);
    }
}

TEST_F(dhcp_event_input, thousands_of_words)
{
    box.on("skip ioctl");
    const environment lease = {{"interface", "vlan2"},
                               {"dns", repeated("192.0.2.1 192.0.2.2 ", 1000)},
                               {"routes", repeated("198.51.100.7 192.0.2.1 ", 1000)},
                               {"staticroutes", repeated("10.0.0.0/8 192.0.2.1 ", 1000)},
                               {"msroutes", repeated("8 11 192 0 2 1 ", 1000)}};
    outcome result = event("bound", lease);
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.trace.find("11.0.0.0/255.0.0.0 via 192.0.2.1 metric 1 flags 0x3 (x1000)\n"),
              std::string::npos);
    EXPECT_EQ(link_store::links(box).size(), 1U);
}

TEST_F(dhcp_event_input, a_time_that_cannot_be_written)
{
    outcome result = event("deconfig", {{"interface", "a/b"}});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "a/b: No such device\n"
                          "/tmp/udhcpc.a/b.expires: No such file or directory\n");
    EXPECT_NE(result.trace.find("log mcfg-wan_down: stop\n"), std::string::npos);
}

TEST_F(dhcp_event_input, a_document_without_use)
{
    box.on("skip ioctl");
    for (const char *text :
         {"", "{", "[]", R"({"Network":7})", R"({"Network":{"Wan":[7,null]}})"}) {
        SCOPED_TRACE(text);
        box.write("/var/run/Config", text);
        outcome result = event("bound", vlan2_lease);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.trace.find("led"), std::string::npos);
        EXPECT_NE(result.trace.find("shell /etc/init.d/scripts/resolv start\n"), std::string::npos);
        EXPECT_FALSE(box.exists("/var/run/state_link"));
    }
}

TEST_F(dhcp_event_input, while_the_locks_are_held)
{
    box.on("skip ioctl");
    event("bound", vlan2_lease);
    box.write("/var/lock/state_link.lock", "1");
    outcome deconfig = event("deconfig", {{"interface", "vlan2"}});
    EXPECT_NE(deconfig.trace.find("log mcfg-set_lock_on_file: Can't lock file\n"),
              std::string::npos);
    EXPECT_EQ(deconfig.trace.find("iptables"), std::string::npos);
    EXPECT_TRACE(R"(
        ioctl vlan2 SIOCSIFFLAGS 0x1043
        ioctl vlan2 SIOCSIFADDR 0.0.0.0
    )",
                 box.trace_of({"ioctl"}));
    EXPECT_EQ(box.read("/var/run/state_link"), bound_store);
    EXPECT_EQ(box.read("/var/lock/state_link.lock"), "1");

    box.write("/var/lock/Config.lock", "1");
    outcome bound = event("bound", vlan2_lease);
    EXPECT_NE(bound.trace.find("log mcfg-open_file_with_lock: Can't unlock file\n"
                               "log mcfg-wan_up: Error on load file\n"),
              std::string::npos);
    EXPECT_EQ(bound.trace.find("led"), std::string::npos);
}

// A lock that cannot be released in the ordinary way (nobody sees it there) stays; only PPP links
// delete it outright.
TEST_F(dhcp_event_input, a_lock_that_does_not_show)
{
    box.write("/var/run/state_link", bound_store);
    box.on("fail ENOENT exists /var/lock/state_link.lock");
    outcome result = event("deconfig", {{"interface", "vlan2"}});
    EXPECT_NE(result.trace.find("log mcfg-clear_lock_on_file: Can't clear lock file\n"),
              std::string::npos);
    EXPECT_TRUE(box.exists("/var/lock/state_link.lock"));
}

TEST_F(dhcp_event_input, a_corrupt_store_is_replaced_by_the_next_lease)
{
    box.on("skip ioctl");
    box.write("/var/run/state_link", R"({"state_links": [ {"na)");
    EXPECT_EQ(event("deconfig", {{"interface", "vlan2"}}).status, 0);
    EXPECT_EQ(box.read("/var/run/state_link"), R"({"state_links": [ {"na)");
    event("bound", vlan2_lease);
    EXPECT_EQ(box.read("/var/run/state_link"), bound_store);
}

TEST_F(dhcp_event_input, a_kernel_that_refuses_everything)
{
    box.on("fail EPERM ioctl");
    outcome result = event("bound", without(vlan2_lease, "dns"));
    EXPECT_EQ(result.status, 0);
    EXPECT_TRACE(R"(
        ioctl vlan2 SIOCSIFFLAGS 0x1043 = EPERM
        ioctl vlan2 SIOCADDRT 198.51.100.7/255.255.255.255 via 192.0.2.2 metric 1 flags 0x7 = EPERM
        ioctl vlan2 SIOCADDRT 10.0.0.0/255.0.0.0 via 192.0.2.3 metric 1 flags 0x3 = EPERM
        ioctl vlan2 SIOCADDRT 192.168.5.0/255.255.255.0 via 192.0.2.4 metric 1 flags 0x3 = EPERM
        ioctl vlan2 SIOCDELRT 0.0.0.0/0.0.0.0 via 192.0.2.1 metric 102 flags 0x3 = EPERM
        ioctl vlan2 SIOCADDRT 0.0.0.0/0.0.0.0 via 192.0.2.1 metric 102 flags 0x3 = EPERM
    )",
                 box.trace_of({"ioctl"}));
    EXPECT_EQ(link_store::links(box).size(), 1U);
}

} // namespace
