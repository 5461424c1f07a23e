// The life of a PPP link: the program as the PPP daemon runs it.
#include "support/expect.h"
#include "support/kernel_state.h"
#include "system/link_store.h"
#include "system/ppp_test.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

using namespace ppp_life;

class ppp_event : public ppp_test
{
};

const char up_trace[] = R"(
    log ppp-up: start
    shell export -p > /tmp/ppp-up-env
    log ppp-up: argc = 7
    log ppp-up: argv[0] = /tmp/ppp/ip-up
    log ppp-up: argv[1] = ppp1
)"
                        "    log ppp-up: argv[2] = \n"
                        R"(    log ppp-up: argv[3] = 0
    log ppp-up: argv[4] = 10.9.0.10
    log ppp-up: argv[5] = 10.9.0.1
    log ppp-up: argv[6] = pppoe/wan1
    log ppp-up: iface = ppp1
    log ppp-up: iface = ppp1, type = pppoe, name = wan1
    log mcfg-open_file_with_lock: Open file - /var/run/Config
    log get_object_by_path: buf = Network
    log get_object_by_path: is not array
    log get_object_by_path: buf = Wan:0
    log get_object_by_path: is array
    log get_object_by_path: ar_index = 0, ar_name = Wan
    log get_object_by_path: really array
    log get_object_by_path: ar_index = 0, ar_name = Wan
    log get_object_by_path: buf = Tunnels
    log get_object_by_path: is not array
    log mcfg-find_object_from_array_by_param: size of array = 10
    log mcfg-find_object_from_array_by_param: find item #1
    log ppp-up: we got tunnels array
    log ppp-up: we find tunnel
    log ppp-up: metric = 2
    log ppp-up: ipaddr = 10.9.0.10
    log ppp-up: netmask = 255.255.255.255
    log ppp-up: gateway = 10.9.0.1
    log ppp-up: dns1 = 10.9.0.53
    log ppp-up: dns2 = 10.9.0.54
    log mcfg-wan_ppp_up: start\n
    ioctl ppp1 SIOCDELRT 10.9.0.1/255.255.255.255 metric 0 flags 0x5
    ioctl ppp1 SIOCADDRT 0.0.0.0/0.0.0.0 metric 3 flags 0x1
    run sys_netbase save_ppp_info add ppp1 wan1 10.9.0.10 pppoe
    run /etc/init.d/scripts/resolv add ppp1 wan1 10.9.0.53 10.9.0.54
    run /etc/init.d/scripts/resolv start
    run iptables -t nat -I PREROUTING -i ppp1 -d 10.9.0.10 -j VSERVER
    shell led yellow_wan off
    shell led green_wan on
    log mcfg-save_link_state_ex: start
    log mcfg-save_link_state_ex: get root - error
    log mcfg-save_link_state_ex: stop
    log mcfg-wan_ppp_up: stop\n
    log ppp-up: done
)";

const char down_trace[] = R"(
    log ppp-down: begin
    shell export -p > /tmp/ppp-down-env
    log ppp-down: argc = 2
    log ppp-down: iface = ppp1
    log mcfg-wan_ppp_down: start
    log mcfg-get_link_state_ex: start
    log mcfg-get_link_state_ex: state_links - ok
    log mcfg-find_object_from_array_by_param: size of array = 1
    log mcfg-find_object_from_array_by_param: find item #0
    log mcfg-get_link_state_ex: stop
    log mcfg-wan_ppp_down: Get link on iface ppp1
    log mcfg-wan_ppp_down: ifname = ppp1, name = wan1 ipaddr=10.9.0.10, type=pppoe
    run iptables -t nat -D PREROUTING -i ppp1 -d 10.9.0.10 -j VSERVER
    run sys_netbase save_ppp_info remove ppp1 wan1 10.9.0.10 pppoe
    run /etc/init.d/scripts/resolv remove ppp1 wan1
    run /etc/init.d/scripts/resolv start
    shell led yellow_wan on
    shell led green_wan off
    log mcfg-wan_ppp_down: remove link state iface ppp1
    log mcfg-remove_link_state_ex: start - param =iface, value = ppp1
    log mcfg-remove_link_state_ex: state_links - ok
    log mcfg-find_object_from_array_by_param: size of array = 1
    log mcfg-find_object_from_array_by_param: find item #0
    log mcfg-remove_link_state_ex: index for remove = 0
    log mcfg-remove_link_state_ex: Success! Remove item by index 0
    log mcfg-remove_link_state_ex: stop
    log mcfg-wan_ppp_down:  size of array =  0
    log mcfg-wan_ppp_down: stop
    log ppp-down: done
)";

TEST_F(ppp_event, the_life_of_a_link)
{
    // What the daemon has done when it runs the script: the address, and a host route to the peer.
    box.interface("ppp1");
    box.in_network({"ip", "link", "set", "ppp1", "up"});
    box.in_network({"ip", "addr", "add", "10.9.0.10/32", "dev", "ppp1"});
    box.in_network({"ip", "route", "add", "10.9.0.1/32", "dev", "ppp1"});
    EXPECT_EQ(kernel_state::routes(box), "10.9.0.1 dev ppp1\n");

    outcome result = up(wan1);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
    EXPECT_TRACE(up_trace, result.trace);
    EXPECT_EQ(box.read("/var/run/state_link"), up_store);
    EXPECT_EQ(kernel_state::routes(box), "default dev ppp1 metric 2\n");
    EXPECT_EQ(box.read("/tmp/ppp/link.ppp1"), "");
    EXPECT_EQ(box.read("/tmp/ppp/link.wan1"), "");
    EXPECT_NE(box.read("/tmp/ppp-up-env").find("export LINKNAME='pppoe-wan1'\n"),
              std::string::npos);

    result = down(wan1);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
    EXPECT_TRACE(down_trace, result.trace);
    EXPECT_EQ(box.read("/var/run/state_link"), "{\n   \"state_links\": []\n}");
    EXPECT_EQ(box.list("/tmp/ppp"), std::vector<std::string>{});
    EXPECT_EQ(kernel_state::routes(box), "default dev ppp1 metric 2\n"); // goes with the interface
    EXPECT_NE(box.read("/tmp/ppp-down-env").find("export IFNAME='ppp1'\n"), std::string::npos);
    EXPECT_FALSE(box.exists("/var/lock/state_link.lock"));

    EXPECT_EQ(up(wan1).status, 0);
    EXPECT_EQ(box.read("/var/run/state_link"), up_store);
}

TEST_F(ppp_event, a_tunnel_of_the_example_router)
{
    box.interface("ppp1");
    box.in_network({"ip", "link", "set", "ppp1", "up"});
    box.copy_in(MCFG_SOURCE_DIR "/examples/router/etc", "/etc");
    box.copy_in(MCFG_SOURCE_DIR "/examples/pppoe/etc", "/etc");
    box.run({"mcfg", "set_config"});
    outcome result = up(with(wan1, "LINKNAME", "pppoe-wan2"));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "ppp1: No such process\n"); // no daemon made a route to the peer
    EXPECT_EQ(kernel_state::routes(box), "default dev ppp1 metric 2\n");
    EXPECT_NE(link_store::last(box).find(R"("name": "wan2", "proto": null, "metric": 2,)"),
              std::string::npos);
}

struct link_row {
    const char *name;
    const char *link_name;  // null for unset
    const char *members;    // of the record, between "iface" and "ipaddr"
    const char *route;      // of the default route, null for none
    const char *registered; // to the net-base script, behind "add ppp1"
};

const link_row link_rows[] = {
    {"a tunnel with a metric", "l2tp-office",
     R"("type": "l2tp", "name": "office", "proto": null, "metric": 7)", "metric 8 flags 0x1",
     "office 10.9.0.10 l2tp"},
    {"the type is not compared", "pptp-office",
     R"("type": "pptp", "name": "office", "proto": null, "metric": 7)", "metric 8 flags 0x1",
     "office 10.9.0.10 pptp"},
    {"a modem has metric 10", "3g-modem",
     R"("type": "3g", "name": "modem", "proto": null, "metric": 10)", "metric 11 flags 0x1",
     "modem 10.9.0.10 3g"},
    {"a modem of a tunnel's name too", "3g-wan1",
     R"("type": "3g", "name": "wan1", "proto": null, "metric": 10)", "metric 11 flags 0x1",
     "wan1 10.9.0.10 3g"},
    {"a modem without a name", "3g", R"("type": "3g", "name": null, "proto": null, "metric": 10)",
     "metric 11 flags 0x1", "'' 10.9.0.10 3g"},
    {"a tunnel of the second WAN entry is never found", "pppoe-second",
     R"("type": "pppoe", "name": "second", "proto": null, "metric": null)", nullptr,
     "second 10.9.0.10 pppoe"},
    {"no such tunnel", "pppoe-other",
     R"("type": "pppoe", "name": "other", "proto": null, "metric": null)", nullptr,
     "other 10.9.0.10 pppoe"},
    {"a tunnel without a metric: no member at all", "pppoe-plain",
     R"("type": "pppoe", "name": "plain", "proto": null)", nullptr, "plain 10.9.0.10 pppoe"},
    {"a tunnel with a null metric", "pppoe-none",
     R"("type": "pppoe", "name": "none", "proto": null, "metric": null)", nullptr,
     "none 10.9.0.10 pppoe"},
    {"a metric that is a text counts as 0", "pppoe-text",
     R"("type": "pppoe", "name": "text", "proto": null, "metric": "9")", "metric 1 flags 0x1",
     "text 10.9.0.10 pppoe"},
    {"so does a list", "pppoe-list",
     R"("type": "pppoe", "name": "list", "proto": null, "metric": [[1]])", "metric 1 flags 0x1",
     "list 10.9.0.10 pppoe"},
    {"a metric at the end of the range wraps", "pppoe-huge",
     R"("type": "pppoe", "name": "huge", "proto": null, "metric": 2147483647)",
     "metric 0 flags 0x1", "huge 10.9.0.10 pppoe"},
    {"a name with a hyphen is cut there", "pppoe-wan1-backup",
     R"("type": "pppoe", "name": "wan1", "proto": null, "metric": 2)", "metric 3 flags 0x1",
     "wan1 10.9.0.10 pppoe"},
    {"blanks at an end are none of what it is known by", "pppoe -wan1 ",
     R"("type": "pppoe ", "name": "wan1 ", "proto": null, "metric": 2)", "metric 3 flags 0x1",
     "wan1 10.9.0.10 pppoe"},
    {"hyphens in a row separate once", "--pppoe---wan1",
     R"("type": "pppoe", "name": "wan1", "proto": null, "metric": 2)", "metric 3 flags 0x1",
     "wan1 10.9.0.10 pppoe"},
    {"one part is the type", "pppoe",
     R"("type": "pppoe", "name": null, "proto": null, "metric": null)", nullptr,
     "'' 10.9.0.10 pppoe"},
    {"so it is behind a hyphen", "-wan1",
     R"("type": "wan1", "name": null, "proto": null, "metric": null)", nullptr,
     "'' 10.9.0.10 wan1"},
    {"no part: a null type and no name", "-", R"("type": null, "proto": null, "metric": null)",
     nullptr, "'' 10.9.0.10 ''"},
    {"an empty one", "", R"("type": null, "proto": null, "metric": null)", nullptr,
     "'' 10.9.0.10 ''"},
    {"unset: neither", nullptr, R"("proto": null, "metric": null)", nullptr, "'' 10.9.0.10 ''"},
    {"cut to what the link's record holds, whole in the store",
     "abcdefghijklmnopq-abcdefghijklmnopqrstuvwxyzabcdefghijklmnopqrstuvwxyz",
     R"("type": "abcdefghijklmnopq", "name": "abcdefghijklmnopqrstuvwxyzabcdefghijklmnopqrstuvwxyz", )"
     R"("proto": null, "metric": null)",
     nullptr, "abcdefghijklmnopqrstuvwxyzabcdefghijklmnopqrstu 10.9.0.10 abcdefghijklmno"},
};

TEST_F(ppp_event, link_names_and_metrics)
{
    box.on("skip ioctl");
    for (const link_row &row : link_rows) {
        SCOPED_TRACE(row.name);
        environment env = {{"IFNAME", "ppp1"}, {"IPLOCAL", "10.9.0.10"}, {"IPREMOTE", "10.9.0.1"}};
        if (row.link_name != nullptr)
            env.emplace_back("LINKNAME", row.link_name);
        outcome result = up(env);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(link_store::last(box),
                  std::string(R"({"iface": "ppp1", )") + row.members +
                      R"(, "ipaddr": "10.9.0.10", "netmask": "255.255.255.255", )"
                      R"("gateway": "10.9.0.1", "dns1": null, "dns2": null})");
        std::string requests = "ioctl ppp1 SIOCDELRT 10.9.0.1/255.255.255.255 metric 0 flags 0x5\n";
        if (row.route != nullptr)
            requests += "ioctl ppp1 SIOCADDRT 0.0.0.0/0.0.0.0 " + std::string(row.route) + "\n";
        EXPECT_EQ(box.trace_of({"ioctl"}), requests);
        bool is_unknown =
            result.trace.find("log ppp-up: metric is shit!!!!!\n") != std::string::npos;
        EXPECT_EQ(is_unknown, row.route == nullptr);
        EXPECT_NE(result.trace.find("run sys_netbase save_ppp_info add ppp1 " +
                                    std::string(row.registered) + "\n"),
                  std::string::npos)
            << result.trace;
    }
}

TEST_F(ppp_event, a_modem_does_not_ask_the_configuration)
{
    box.on("skip ioctl");
    box.write("/var/lock/Config.lock", "1");
    outcome result = up(with(wan1, "LINKNAME", "3g-modem"));
    EXPECT_EQ(result.trace.find("Config"), std::string::npos);
    EXPECT_NE(result.trace.find("log ppp-up: metric = 10\n"), std::string::npos);
}

} // namespace
