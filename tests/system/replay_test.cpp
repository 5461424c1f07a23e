// An event that the router has kept the environment of can be had again, from that dump alone.
#include "support/env_dump.h"
#include "support/expect.h"
#include "support/router_box.h"
#include "support/texts.h"

#include <gtest/gtest.h>

namespace
{

using support::environment;
using support::router_box;

struct event {
    const char *name;
    std::vector<std::string> words;
    const char *dump;
    environment env;
};

const event events[] = {
    {"lease",
     {"udhcpc", "bound"},
     "/tmp/udhcpc-env",
     {{"interface", "vlan2"},
      {"ip", "192.0.2.10"},
      {"subnet", "255.255.255.0"},
      {"router", "192.0.2.1"},
      {"dns", "192.0.2.53 198.51.100.53"},
      {"msroutes", "24 192 168 5 192 0 2 4"},
      {"domain", "it's \"odd\" $here\nand there"}}},
    {"lease lost",
     {"udhcpc", "deconfig"},
     "/tmp/udhcpc-env-deconfig",
     {{"interface", "vlan2"}, {"dns", "192.0.2.53"}}},
    {"PPP up",
     {"ip-up", "ppp1", "vlan2", "0", "10.9.0.10", "10.9.0.1", "pppoe/wan1"},
     "/tmp/ppp-up-env",
     {{"IFNAME", "ppp1"},
      {"LINKNAME", "pppoe-wan1"},
      {"IPLOCAL", "10.9.0.10"},
      {"IPREMOTE", "10.9.0.1"},
      {"DNS1", "192.0.2.53"}}},
    {"PPP down",
     {"ip-down", "ppp1", "vlan2", "0", "10.9.0.10", "10.9.0.1", "pppoe/wan1"},
     "/tmp/ppp-down-env",
     {{"IFNAME", "ppp1"}}},
    {"USB interface",
     {"hotplug", "usb"},
     "/tmp/hotplug_usb",
     {{"ACTION", "add"}, {"PRODUCT", "12d1/1446/0"}}},
};

// What the event does in a box with the example router's settings.
struct played {
    int status;
    std::string trace;
    std::string dump;
};

played play(const event &e, const environment &env)
{
    router_box box;
    box.copy_in(support::example_path("router") + "/etc", "/etc");
    box.interface("vlan2");
    box.interface("ppp1");
    box.in_network({"ip", "link", "set", "ppp1", "up"});
    box.run({"mcfg", "set_config"});
    box.mkdir("/tmp/ppp");
    support::outcome o = box.run(e.words, env);
    return {o.status, o.trace, box.read(e.dump)};
}

TEST(replay, does_from_its_dump_what_the_event_did)
{
    for (const event &e : events) {
        played first = play(e, e.env);
        played again = play(e, support::read_env_dump(first.dump));
        EXPECT_EQ(first.status, 0) << e.name;
        EXPECT_EQ(again.status, 0) << e.name;
        EXPECT_TRACE(first.trace, again.trace) << e.name;
        EXPECT_EQ(first.dump, again.dump) << e.name;
        // The environment is what it hangs on: without it, the event does something else.
        EXPECT_NE(play(e, {}).trace, first.trace) << e.name;
    }
}

} // namespace
