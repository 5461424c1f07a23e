// The life of a DHCP link: the program as the DHCP client runs it.
#include "support/expect.h"
#include "support/kernel_state.h"
#include "system/dhcp_test.h"
#include "system/link_store.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

using namespace dhcp_life;

class dhcp_event : public dhcp_test
{
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
    ioctl vlan2 SIOCSIFFLAGS 0x1043
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
    EXPECT_EQ(kernel_state::interface(box, "vlan2"), "up"); // for the next discovery
    EXPECT_EQ(kernel_state::routes(box), "");
    EXPECT_NE(box.read("/tmp/udhcpc-env-deconfig").find("export interface='vlan2'\n"),
              std::string::npos);

    event("deconfig", {{"interface", "vlan2"}});
    EXPECT_TRACE(R"(
        ioctl vlan2 SIOCSIFFLAGS 0x1043
        ioctl vlan2 SIOCSIFADDR 0.0.0.0
    )",
                 box.trace_of({"ioctl"})); // there was no record any more

    outcome again = event("bound", vlan2_lease);
    EXPECT_EQ(again.status, 0);
    EXPECT_EQ(box.read("/var/run/state_link"), bound_store);
    EXPECT_EQ(kernel_state::interface(box, "vlan2"), "up 192.0.2.10/24 broadcast 192.0.2.255");
    EXPECT_EQ(kernel_state::routes(box), bound_routes);

    outcome nak = event("nak", {{"interface", "vlan2"}});
    EXPECT_EQ(nak.status, 0);
    EXPECT_TRACE(deconfig_trace, nak.trace);
    EXPECT_EQ(kernel_state::interface(box, "vlan2"), "up"); // for the next discovery
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
    EXPECT_NE(
        again.trace.find("shell iptables -t nat -I PREROUTING -i vlan2 -d 192.0.2.10 -j VSERVER\n"),
        std::string::npos);
    EXPECT_EQ(kernel_state::routes(box), bound_routes);
    EXPECT_EQ(box.read("/var/run/state_link"), bound_store);
}

struct name_row {
    const char *name;
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
        SCOPED_TRACE(row.name);
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
    const char *name;
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
        SCOPED_TRACE(row.name);
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

} // namespace
