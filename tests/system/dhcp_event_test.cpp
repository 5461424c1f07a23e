// The life of a DHCP link: the program as the DHCP client runs it.
#include "support/expect.h"
#include "support/router_box.h"
#include "system/kernel_state.h"
#include "system/link_store.h"

#include <gtest/gtest.h>

#include <stdlib.h>
#include <string>
#include <vector>

namespace
{

using support::environment;
using support::outcome;
using support::router_box;

const char config[] = R"({"Network":{"Wan":[
    {"iface":"vlan2","name":"WAN","auto":true,"type":"dhcp"},
    {"iface":"wimax0","name":"WIMAX","auto":true,"type":"dhcp"},
    {"iface":"eth9","type":"dhcp"}]}})";

const environment vlan2_lease = {
    {"interface", "vlan2"},
    {"ip", "192.0.2.10"},
    {"subnet", "255.255.255.0"},
    {"router", "192.0.2.1"},
    {"dns", "198.51.100.53 203.0.113.53"},
    {"routes", "198.51.100.7 192.0.2.2"},
    {"staticroutes", "10.0.0.0/8 192.0.2.3"},
    {"msroutes", "24 192 168 5 192 0 2 4"},
};

environment with(environment lease, const std::string &name, const std::string &value)
{
    for (auto &variable : lease) {
        if (variable.first == name) {
            variable.second = value;
            return lease;
        }
    }
    lease.emplace_back(name, value);
    return lease;
}

environment without(environment lease, const std::string &name)
{
    for (size_t i = 0; i < lease.size(); i++) {
        if (lease[i].first == name)
            lease.erase(lease.begin() + static_cast<ptrdiff_t>(i));
    }
    return lease;
}

class dhcp_event : public testing::Test
{
  protected:
    router_box box;
    void SetUp() override { box.write("/var/run/Config", config); }
    outcome event(const std::string &name, const environment &env)
    {
        box.clear_trace();
        return box.run({"/tmp/udhcpc", name}, env);
    }
};

const char bound_trace[] = R"(
    log dhcp client: bound
    shell export -p > /tmp/udhcpc-env
    log dhcp client: iface = vlan2
    log dhcp client: ipaddr = 192.0.2.10
    log dhcp client: netmask = 255.255.255.0
    log dhcp client: gateway = 192.0.2.1
    log dhcp client: dns = 198.51.100.53 203.0.113.53
    log dhcp client: dns1 = 198.51.100.53
    log dhcp client: dns2 = 203.0.113.53
    shell /etc/init.d/scripts/resolv add vlan2 wan 198.51.100.53 203.0.113.53
    ioctl vlan2 SIOCSIFFLAGS 0x1043
    ioctl vlan2 SIOCSIFADDR 192.0.2.10
    ioctl vlan2 SIOCSIFNETMASK 255.255.255.0
    ioctl vlan2 SIOCSIFBRDADDR 192.0.2.255
    ioctl vlan2 SIOCADDRT 198.51.100.7/255.255.255.255 via 192.0.2.2 metric 1 flags 0x7
    log dhcp client: staticroutes = 10.0.0.0/8 192.0.2.3
    log dhcp client: netmask = 255.0.0.0, gateway = 192.0.2.3, ipaddr = 10.0.0.0
    ioctl vlan2 SIOCADDRT 10.0.0.0/255.0.0.0 via 192.0.2.3 metric 1 flags 0x3
    log dhcp client: msroutes = 24 192 168 5 192 0 2 4
    ioctl vlan2 SIOCADDRT 192.168.5.0/255.255.255.0 via 192.0.2.4 metric 1 flags 0x3
    log mcfg-wan_up: start\n
    log mcfg-open_file_with_lock: Open file - /var/run/Config
    log mcfg-find_object_from_array_by_param: size of array = 3
    log mcfg-find_object_from_array_by_param: find item #0
    log mcfg-wan_up: iface = vlan2, type = dhcp\n
    ioctl vlan2 SIOCDELRT 0.0.0.0/0.0.0.0 via 192.0.2.1 metric 102 flags 0x3 = ESRCH
    ioctl vlan2 SIOCADDRT 0.0.0.0/0.0.0.0 via 192.0.2.1 metric 102 flags 0x3
    log mcfg-wan_up: metric = 101, gateway = 192.0.2.1
    shell led yellow_wan off
    shell led green_wan on
    shell iptables -t nat -I PREROUTING -i vlan2 -d 192.0.2.10 -j VSERVER
    log mcfg-save_link_state_ex: start
    log mcfg-save_link_state_ex: get root - error
    log mcfg-save_link_state_ex: stop
    log mcfg-wan_up: stop\n
    shell /etc/init.d/scripts/resolv start
    log dhcp client: done\n
)";

const char bound_store[] = R"({
   "state_links": [
      {
         "iface": "vlan2",
         "name": "wan",
         "type": "dhcp",
         "proto": "ether",
         "metric": 101,
         "ipaddr": "192.0.2.10",
         "netmask": "255.255.255.0",
         "gateway": "192.0.2.1",
         "dns1": "198.51.100.53",
         "dns2": "203.0.113.53"
      }
   ]
})";

const char bound_routes[] = "default via 192.0.2.1 dev vlan2 metric 101\n"
                            "10.0.0.0/8 via 192.0.2.3 dev vlan2\n"
                            "192.168.5.0/24 via 192.0.2.4 dev vlan2\n"
                            "198.51.100.7 via 192.0.2.2 dev vlan2\n";

// As the DHCP client runs it, deconfig comes with the interface alone.
const char deconfig_trace[] = R"(
    log dhcp client: deconfig
    shell export -p > /tmp/udhcpc-env-deconfig
    log dhcp client: iface = vlan2
)"
                              "    shell /etc/init.d/scripts/resolv remove vlan2 wan  \n"
                              R"(    ioctl vlan2 SIOCSIFFLAGS 0x1043
    ioctl vlan2 SIOCSIFADDR 0.0.0.0
    shell /etc/init.d/scripts/resolv start
    shell led yellow_wan on
    shell led green_wan off
    log mcfg-wan_down: start
    log mcfg-get_link_state_ex: start
    log mcfg-get_link_state_ex: state_links - ok
    log mcfg-find_object_from_array_by_param: size of array = 1
    log mcfg-find_object_from_array_by_param: find item #0
    log mcfg-get_link_state_ex: stop
    log mcfg-wan_down: Get link on iface vlan2
    shell iptables -t nat -D PREROUTING -i vlan2 -d 192.0.2.10 -j VSERVER
    ioctl vlan2 SIOCSIFFLAGS 0x0
    ioctl vlan2 SIOCSIFADDR 0.0.0.0
    log mcfg-remove_link_state_ex: start - param =iface, value = vlan2
    log mcfg-remove_link_state_ex: state_links - ok
    log mcfg-find_object_from_array_by_param: size of array = 1
    log mcfg-find_object_from_array_by_param: find item #0
    log mcfg-remove_link_state_ex: index for remove = 0
    log mcfg-remove_link_state_ex: Success! Remove item by index 0
    log mcfg-remove_link_state_ex: stop
    log mcfg-wan_down:  size of array =  0
    log mcfg-wan_down: stop
)";

TEST_F(dhcp_event, the_life_of_a_lease)
{
    box.interface("vlan2");
    box.on("clock 1700000000 0 0");
    outcome bound = event("bound", vlan2_lease);
    EXPECT_EQ(bound.status, 0);
    EXPECT_EQ(bound.out, "");
    EXPECT_EQ(bound.err, "vlan2: No such process\n"); // there was no default route to delete
    EXPECT_TRACE(bound_trace, bound.trace);
    EXPECT_EQ(box.read("/var/run/state_link"), bound_store);
    EXPECT_EQ(kernel_state::interface(box, "vlan2"), "up 192.0.2.10/24 broadcast 192.0.2.255");
    EXPECT_EQ(kernel_state::routes(box), bound_routes);
    EXPECT_NE(box.read("/tmp/udhcpc-env").find("export ip='192.0.2.10'\n"), std::string::npos);

    outcome renew = event("renew", vlan2_lease);
    EXPECT_EQ(renew.status, 0);
    EXPECT_EQ(renew.err, "");
    EXPECT_TRACE(R"(
        log dhcp client: renew done\n
    )",
                 renew.trace);
    EXPECT_EQ(kernel_state::routes(box), bound_routes);

    outcome leasefail = event("leasefail", {{"interface", "vlan2"}});
    EXPECT_EQ(leasefail.status, 0);
    EXPECT_EQ(leasefail.trace, "");
    EXPECT_EQ(box.read("/var/run/state_link"), bound_store);

    outcome deconfig = event("deconfig", {{"interface", "vlan2"}});
    EXPECT_EQ(deconfig.status, 0);
    EXPECT_EQ(deconfig.out, "");
    EXPECT_EQ(deconfig.err, "");
    EXPECT_TRACE(deconfig_trace, deconfig.trace);
    EXPECT_EQ(box.read("/var/run/state_link"), "{\n   \"state_links\": []\n}");
    EXPECT_EQ(box.read("/tmp/udhcpc.vlan2.expires"), "1700000000");
    EXPECT_EQ(kernel_state::interface(box, "vlan2"), "down");
    EXPECT_EQ(kernel_state::routes(box), "");
    EXPECT_NE(box.read("/tmp/udhcpc-env-deconfig").find("export interface='vlan2'\n"),
              std::string::npos);

    outcome again = event("bound", vlan2_lease);
    EXPECT_EQ(again.status, 0);
    EXPECT_EQ(box.read("/var/run/state_link"), bound_store);
    EXPECT_EQ(kernel_state::interface(box, "vlan2"), "up 192.0.2.10/24 broadcast 192.0.2.255");
    EXPECT_EQ(kernel_state::routes(box), bound_routes);

    outcome nak = event("nak", {{"interface", "vlan2"}});
    EXPECT_EQ(nak.status, 0);
    EXPECT_TRACE(deconfig_trace, nak.trace);
    EXPECT_EQ(kernel_state::interface(box, "vlan2"), "down");
    EXPECT_FALSE(box.exists("/var/lock/state_link.lock"));
    EXPECT_FALSE(box.exists("/var/lock/Config.lock"));
}

TEST_F(dhcp_event, a_lease_of_the_example_router)
{
    box.interface("vlan2");
    box.copy_in(MCFG_SOURCE_DIR "/examples/router/etc", "/etc");
    box.run({"mcfg", "set_config"});
    EXPECT_EQ(event("bound", vlan2_lease).status, 0);
    EXPECT_EQ(box.read("/var/run/state_link"), bound_store);
    EXPECT_EQ(kernel_state::routes(box), bound_routes);
}

// A second lease without an end of the first: the default route is replaced, the other routes are
// there already, and the jump is inserted once more.
TEST_F(dhcp_event, bound_twice)
{
    box.interface("vlan2");
    event("bound", vlan2_lease);
    outcome again = event("bound", vlan2_lease);
    EXPECT_EQ(again.err, "vlan2: File exists\nvlan2: File exists\nvlan2: File exists\n");
    EXPECT_TRACE(R"(
        ioctl vlan2 SIOCSIFFLAGS 0x1043
        ioctl vlan2 SIOCSIFADDR 192.0.2.10
        ioctl vlan2 SIOCSIFNETMASK 255.255.255.0
        ioctl vlan2 SIOCSIFBRDADDR 192.0.2.255
        ioctl vlan2 SIOCADDRT 198.51.100.7/255.255.255.255 via 192.0.2.2 metric 1 flags 0x7 = EEXIST
        ioctl vlan2 SIOCADDRT 10.0.0.0/255.0.0.0 via 192.0.2.3 metric 1 flags 0x3 = EEXIST
        ioctl vlan2 SIOCADDRT 192.168.5.0/255.255.255.0 via 192.0.2.4 metric 1 flags 0x3 = EEXIST
        ioctl vlan2 SIOCDELRT 0.0.0.0/0.0.0.0 via 192.0.2.1 metric 102 flags 0x3
        ioctl vlan2 SIOCADDRT 0.0.0.0/0.0.0.0 via 192.0.2.1 metric 102 flags 0x3
    )",
                 box.trace_of({"ioctl"}));
    EXPECT_EQ(kernel_state::routes(box), bound_routes);
    EXPECT_EQ(box.read("/var/run/state_link"), bound_store);
}

struct name_row {
    const char *what;
    const char *event;
    const char *first_line;
};

const name_row name_rows[] = {
    {"deconfig", "deconfig", "log dhcp client: deconfig"},
    {"bound", "bound", "log dhcp client: bound"},
    {"renew", "renew", "log dhcp client: renew done\\n"},
    {"leasefail", "leasefail", ""},
    {"nak", "nak", "log dhcp client: deconfig"},
    {"an empty name", "", "log dhcp client: deconfig"},
    {"anywhere in the name", "my-rebounding", "log dhcp client: bound"},
    {"deconfig comes before bound", "bound-deconfig", "log dhcp client: deconfig"},
    {"bound comes before renew", "renew,bound", "log dhcp client: bound"},
    {"renew comes before leasefail", "leasefail renew", "log dhcp client: renew done\\n"},
    {"case counts", "BOUND", "log dhcp client: deconfig"},
};

std::string first_line(const std::string &text)
{
    return text.substr(0, text.find('\n'));
}

TEST_F(dhcp_event, event_names)
{
    for (const name_row &row : name_rows) {
        SCOPED_TRACE(row.what);
        outcome result = event(row.event, {{"interface", "eth9"}});
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(first_line(result.trace), row.first_line);
    }
    outcome endless = event(std::string(100000, 'n'), {{"interface", "eth9"}});
    EXPECT_EQ(endless.status, 0);
    EXPECT_EQ(first_line(endless.trace), "log dhcp client: deconfig");
}

TEST_F(dhcp_event, without_an_event)
{
    outcome result = box.run({"/tmp/udhcpc"}, vlan2_lease);
    EXPECT_EQ(result.status, 22);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.trace, "");
}

struct dns_row {
    const char *what;
    const char *dns;     // null for unset
    const char *command; // to the resolver, behind its name
    const char *members; // of the record, behind the gateway
};

const dns_row dns_rows[] = {
    {"unset: no members", nullptr, "vlan2 wan  ", ""},
    {"empty: no members either", "", "vlan2 wan  ", ""},
    {"blanks only", "   ", "vlan2 wan  ", ""},
    {"one", "a", "vlan2 wan a ", R"(, "dns1": "a", "dns2": null)"},
    {"two", "a b", "vlan2 wan a b", R"(, "dns1": "a", "dns2": "b")"},
    {"three: the record has the third alone, the resolver keeps the second", "a b c",
     "vlan2 wan c b", R"(, "dns1": "c", "dns2": null)"},
    {"four: the last pair", "a b c d", "vlan2 wan c d", R"(, "dns1": "c", "dns2": "d")"},
    {"five", "a b c d e", "vlan2 wan e d", R"(, "dns1": "e", "dns2": null)"},
    {"blanks around", "  a   b  ", "vlan2 wan a b", R"(, "dns1": "a", "dns2": "b")"},
    {"a line end", "a b\n", "vlan2 wan a b", R"(, "dns1": "a", "dns2": "b")"},
};

bool has_shell_line(const std::string &trace, const std::string &line)
{
    return trace.find("shell " + line + "\n") != std::string::npos;
}

TEST_F(dhcp_event, dns_servers)
{
    const environment lease = {{"interface", "vlan2"}};
    for (const dns_row &row : dns_rows) {
        SCOPED_TRACE(row.what);
        box.remove("/var/run/state_link");
        environment env = row.dns != nullptr ? with(lease, "dns", row.dns) : lease;
        std::string bound = event("bound", env).trace;
        EXPECT_PRED2(has_shell_line, bound,
                     std::string("/etc/init.d/scripts/resolv add ") + row.command);
        EXPECT_EQ(link_store::last(box),
                  std::string(R"({"iface": "vlan2", "name": "wan", "type": "dhcp", )"
                              R"("proto": "ether", "metric": 101, "ipaddr": null, )"
                              R"("netmask": null, "gateway": null)") +
                      row.members + "}");
        std::string deconfig = event("deconfig", env).trace;
        EXPECT_PRED2(has_shell_line, deconfig,
                     std::string("/etc/init.d/scripts/resolv remove ") + row.command);
    }
}

TEST_F(dhcp_event, three_dns_servers_are_logged_in_pairs)
{
    outcome result = event("deconfig", {{"interface", "eth9"}, {"dns", "a b c"}});
    EXPECT_TRACE(R"(
        log dhcp client: deconfig
        log dhcp client: iface = eth9
        log dhcp client: dns = a b c
        log dhcp client: dns1 = a
        log dhcp client: dns2 = b
        log dhcp client: dns1 = c
        log mcfg-wan_down: start
        log mcfg-wan_down: stop
    )",
                 box.trace_of({"log"}));
}

struct kind_row {
    const char *iface;
    const char *resolver; // null for no command
    const char *record;
    const char *route;
};

const kind_row kind_rows[] = {
    {"vlan2", "vlan2 wan a b", R"("name": "wan", "type": "dhcp", "proto": "ether", "metric": 101)",
     "metric 102 flags 0x3"},
    {"wimax0", "wimax0 wimax a b",
     R"("name": "wimax", "type": "dhcp", "proto": "wimax", "metric": 100)", "metric 101 flags 0x3"},
    {"eth9", nullptr, R"("name": "unknown", "type": "dhcp", "proto": "unknown", "metric": 200)",
     "metric 201 flags 0x3"},
};

TEST_F(dhcp_event, what_depends_on_the_interface)
{
    box.on("skip ioctl");
    for (const kind_row &row : kind_rows) {
        SCOPED_TRACE(row.iface);
        box.remove("/var/run/state_link");
        const std::string iface = row.iface;
        const environment lease = {{"interface", iface}, {"router", "192.0.2.1"}, {"dns", "a b"}};
        std::string bound = event("bound", lease).trace;
        EXPECT_EQ(link_store::last(box),
                  R"({"iface": ")" + iface + R"(", )" + row.record +
                      R"(, "ipaddr": null, "netmask": null, "gateway": "192.0.2.1", )"
                      R"("dns1": "a", "dns2": "b"})");
        EXPECT_TRACE("ioctl " + iface + " SIOCSIFFLAGS 0x1043\n" + "ioctl " + iface +
                         " SIOCDELRT 0.0.0.0/0.0.0.0 via 192.0.2.1 " + row.route + "\nioctl " +
                         iface + " SIOCADDRT 0.0.0.0/0.0.0.0 via 192.0.2.1 " + row.route + "\n",
                     box.trace_of({"ioctl"}));
        std::string deconfig = event("deconfig", lease).trace;
        if (row.resolver == nullptr) {
            EXPECT_EQ(bound.find("resolv add"), std::string::npos);
            EXPECT_EQ(deconfig.find("resolv remove"), std::string::npos);
            continue;
        }
        EXPECT_PRED2(has_shell_line, bound,
                     std::string("/etc/init.d/scripts/resolv add ") + row.resolver);
        EXPECT_PRED2(has_shell_line, deconfig,
                     std::string("/etc/init.d/scripts/resolv remove ") + row.resolver);
    }
}

TEST_F(dhcp_event, bound_without_any_variable)
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

TEST_F(dhcp_event, deconfig_without_any_variable)
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

TEST_F(dhcp_event, a_broken_route_list_ends_the_event)
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

TEST_F(dhcp_event, an_unusable_prefix_ends_the_list_only)
{
    box.on("skip ioctl");
    outcome result = event("bound", with(vlan2_lease, "msroutes", "33 192 168 5 0 192 0 2 4"));
    EXPECT_EQ(result.trace.find("192.168.5.0"), std::string::npos);
    EXPECT_EQ(box.read("/var/run/state_link"), bound_store);
}

// The members have the text as it came, the commands what trailing blanks leave of it.
TEST_F(dhcp_event, trailing_blanks)
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

TEST_F(dhcp_event, no_value_becomes_a_command)
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

TEST_F(dhcp_event, a_value_that_is_no_text_is_null_in_the_store)
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
TEST_F(dhcp_event, over_long_values)
{
    box.on("skip ioctl");
    for (const auto &variable : vlan2_lease) {
        SCOPED_TRACE(variable.first);
        environment lease = with(vlan2_lease, variable.first, std::string(130000, '9'));
        EXPECT_EQ(event("bound", lease).status, 0);
        EXPECT_EQ(event("deconfig", lease).status, 0);
    }
}

TEST_F(dhcp_event, thousands_of_words)
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

TEST_F(dhcp_event, a_time_that_cannot_be_written)
{
    outcome result = event("deconfig", {{"interface", "a/b"}});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "a/b: No such device\n"
                          "/tmp/udhcpc.a/b.expires: No such file or directory\n");
    EXPECT_NE(result.trace.find("log mcfg-wan_down: stop\n"), std::string::npos);
}

TEST_F(dhcp_event, a_document_without_use)
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

TEST_F(dhcp_event, while_the_locks_are_held)
{
    box.on("skip ioctl");
    event("bound", vlan2_lease);
    box.write("/var/lock/state_link.lock", "1");
    outcome deconfig = event("deconfig", {{"interface", "vlan2"}});
    EXPECT_NE(deconfig.trace.find("log mcfg-set_lock_on_file: Can't lock file\n"),
              std::string::npos);
    EXPECT_EQ(deconfig.trace.find("iptables"), std::string::npos);
    EXPECT_EQ(box.read("/var/run/state_link"), bound_store);
    EXPECT_EQ(box.read("/var/lock/state_link.lock"), "1");

    box.write("/var/lock/Config.lock", "1");
    outcome bound = event("bound", vlan2_lease);
    EXPECT_NE(bound.trace.find("log mcfg-open_file_with_lock: Can't unlock file\n"
                               "log mcfg-wan_up: Error on load file\n"),
              std::string::npos);
    EXPECT_EQ(bound.trace.find("led"), std::string::npos);
}

TEST_F(dhcp_event, a_corrupt_store_is_replaced_by_the_next_lease)
{
    box.on("skip ioctl");
    box.write("/var/run/state_link", R"({"state_links": [ {"na)");
    EXPECT_EQ(event("deconfig", {{"interface", "vlan2"}}).status, 0);
    EXPECT_EQ(box.read("/var/run/state_link"), R"({"state_links": [ {"na)");
    event("bound", vlan2_lease);
    EXPECT_EQ(box.read("/var/run/state_link"), bound_store);
}

TEST_F(dhcp_event, a_kernel_that_refuses_everything)
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
