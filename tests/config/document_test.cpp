#include "config/document.h"

#include "support/settings_files.h"
#include "support/unit_test.h"

#include <jansson.h>
#include <memory>
#include <stdlib.h>
#include <string>

namespace
{

using namespace settings_files;

constexpr char CONFIG[] = "/var/run/Config";

class document : public support::unit_test
{
  protected:
    // What stands at pointer ("Wan", 0) of "Network" after a build, as compact JSON.
    std::string built(const char *list, size_t position, unsigned from_files = 1)
    {
        set_config(from_files);
        std::unique_ptr<json_t, void (*)(json_t *)> root(json_load_file(CONFIG, 0, nullptr),
                                                         [](json_t *value) { json_decref(value); });
        json_t *network = json_object_get(root.get(), "Network");
        json_t *entry = json_array_get(json_object_get(network, list), position);
        char *text = json_dumps(entry, JSON_COMPACT);
        std::string result = text != nullptr ? text : "none";
        free(text);
        return result;
    }
    void SetUp() override
    {
        support::unit_test::SetUp();
        world.write("/etc/default/dns.conf", "");
        world.write("/etc/default/wimax", "");
    }
};

constexpr char DEFAULT_LAN[] =
    R"({"iface":"br0","name":"LAN0","auto":true,"type":"static","ipaddr":"192.168.0.1",)"
    R"("netmask":"255.255.255.0","gateway":null,"metric":null,"bcast":null,"mtu":null,"mac":null})";
constexpr char DEFAULT_WAN[] =
    R"({"iface":"vlan2","name":"WAN","auto":true,"type":"dhcp","ipaddr":null,"netmask":null,)"
    R"("gateway":null,"metric":null,"bcast":null,"mtu":null,"mac":null,"have_tunnels":false})";
constexpr char DEFAULT_WIMAX[] =
    R"({"iface":"wimax0","name":"WIMAX","auto":true,"type":"dhcp","ipaddr":null,"netmask":null,)"
    R"("gateway":null,"metric":null,"bcast":null,"mtu":null,"mac":null})";

TEST_F(document, without_lines_has_the_default_entries)
{
    world.write(INTERFACES, "");
    EXPECT_EQ(built("Lan", 0), DEFAULT_LAN);
    EXPECT_EQ(built("Lan", 1), "none");
    EXPECT_EQ(built("Wan", 0), DEFAULT_WAN);
    EXPECT_EQ(built("Wan", 1), DEFAULT_WIMAX);
    EXPECT_EQ(built("Wan", 2), "none");
}

TEST_F(document, has_integers_for_metric_and_mtu)
{
    world.write(INTERFACES, "vlan2 wan 1 static 10.0.0.2 255.0.0.0 10.0.0.1 20 10.255.255.255 "
                            "1400 02:00:00:00:00:01\n");
    world.write(PEERS, "");
    EXPECT_EQ(built("Wan", 0),
              R"({"iface":"vlan2","name":"WAN","auto":true,"type":"static","ipaddr":"10.0.0.2",)"
              R"("netmask":"255.0.0.0","gateway":"10.0.0.1","metric":20,"bcast":"10.255.255.255",)"
              R"("mtu":1400,"mac":"02:00:00:00:00:01","have_tunnels":false})");
}

TEST_F(document, has_null_for_a_dash)
{
    world.write(INTERFACES, "vlan2 wan 1 static - - - - - - -\n");
    world.write(PEERS, "");
    EXPECT_EQ(built("Wan", 0),
              R"({"iface":"vlan2","name":"WAN","auto":true,"type":"static","ipaddr":null,)"
              R"("netmask":null,"gateway":null,"metric":null,"bcast":null,"mtu":null,"mac":null,)"
              R"("have_tunnels":false})");
}

TEST_F(document, starts_an_interface_for_a_1_only)
{
    struct {
        const char *flag;
        const char *expected;
    } rows[] = {{"1", R"("auto":true)"},
                {"yes", R"("auto":false)"},
                {"0", R"("auto":false)"},
                {"11", R"("auto":false)"},
                {"-", R"("auto":false)"}};
    for (const auto &row : rows) {
        world.write(INTERFACES, std::string("br0 lan ") + row.flag + " static\n");
        EXPECT_NE(built("Lan", 0).find(row.expected), std::string::npos) << row.flag;
    }
}

// The flag that ends its line has been trimmed by then, unlike the values of the other files.
TEST_F(document, starts_an_interface_whose_line_ends_with_the_1)
{
    world.write(INTERFACES, "br0 lan 1\n");
    EXPECT_NE(built("Lan", 0).find(R"("auto":true,"type":"")"), std::string::npos);
}

TEST_F(document, of_the_defaults_leaves_the_lines_out_but_not_the_message)
{
    world.write(INTERFACES, "br0 lan 0 dhcp\n");
    EXPECT_EQ(built("Lan", 0, 0), DEFAULT_LAN);

    world.remove(INTERFACES);
    std::string said = support::private_world::captured(
        2, [](void *) { set_config(0); }, nullptr);
    EXPECT_EQ(said, "/etc/default/network-interfaces: No such file or directory\n"
                    "/etc/default/network-interfaces: No such file or directory\n"
                    "/etc/default/network-interfaces: No such file or directory\n");
}

TEST_F(document, of_the_defaults_still_reads_dns_and_wimax)
{
    world.write("/etc/default/dns.conf", "dns1=1.1.1.1\n");
    world.write("/etc/default/wimax", "WIMAX_ENABLE=0\n");
    world.write(INTERFACES, "");
    set_config(0);
    EXPECT_NE(world.read(CONFIG).find("\"dns1\": \"1.1.1.1\""), std::string::npos);
    EXPECT_NE(world.read(CONFIG).find("\"enable\": true"), std::string::npos);
}

TEST_F(document, keeps_wimax_at_position_1_without_a_wired_wan)
{
    world.write(INTERFACES, "wimax0 wimax 0 static 10.0.0.2 - - - - - -\n");
    EXPECT_EQ(built("Wan", 0), DEFAULT_WAN);
    EXPECT_EQ(built("Wan", 1),
              R"({"iface":"wimax0","name":"WIMAX","auto":false,"type":"static",)"
              R"("ipaddr":"10.0.0.2","netmask":null,"gateway":null,"metric":null,"bcast":null,)"
              R"("mtu":null,"mac":null})");
}

TEST_F(document, carries_unreached_fields_over_to_the_next_interface)
{
    world.write(PEERS, "");
    world.write(INTERFACES, "br0 lan 1 static 1.1.1.1 2.2.2.2 3.3.3.3 4 5.5.5.5 1492 aa:bb\n"
                            "vlan2 wan 0 static 6.6.6.6 7.7.7.7 8.8.8.8\n");
    EXPECT_EQ(built("Wan", 0),
              R"({"iface":"vlan2","name":"WAN","auto":false,"type":"static","ipaddr":"6.6.6.6",)"
              R"("netmask":"7.7.7.7","gateway":"8.8.8.8","metric":4,"bcast":"5.5.5.5","mtu":1492,)"
              R"("mac":"aa:bb","have_tunnels":false})");
}

TEST_F(document, has_empty_texts_for_fields_that_no_line_has_reached)
{
    world.write(INTERFACES, "br0 lan 1 static 1.1.1.1\n");
    EXPECT_EQ(built("Lan", 0),
              R"({"iface":"br0","name":"LAN0","auto":true,"type":"static","ipaddr":"1.1.1.1",)"
              R"("netmask":"","gateway":"","metric":0,"bcast":"","mtu":0,"mac":""})");
}

TEST_F(document, lists_the_tunnels_of_the_wired_wan)
{
    world.write(INTERFACES, "vlan2 wan 1 pppoe\nwimax0 wimax 1 dhcp\n");
    world.write(PEERS, "w 3g 1 l p -\n");
    EXPECT_EQ(built("Wan", 0),
              R"({"iface":"vlan2","name":"WAN","auto":true,"type":"pppoe","ipaddr":null,)"
              R"("netmask":null,"gateway":null,"metric":null,"bcast":null,"mtu":null,"mac":null,)"
              R"("have_tunnels":true,"Tunnels":[{"name":"w","type":"3g","auto":true,"login":"l",)"
              R"("passwd":"p"}]})");
    EXPECT_EQ(built("Wan", 1).find("unnels"), std::string::npos);
}

// A WAN that the settings do not name has no tunnels, whatever the peers file holds.
TEST_F(document, has_no_tunnels_without_a_line_for_the_wired_wan)
{
    world.write(INTERFACES, "br0 lan 1 static\n");
    world.write(PEERS, "w 3g 1 l p -\n");
    EXPECT_EQ(built("Wan", 0), DEFAULT_WAN);
}

TEST_F(document, leaves_out_what_is_not_utf8)
{
    world.write(INTERFACES, "br0 lan 1 static \xff\xfe 2.2.2.2 - - - - -\n");
    EXPECT_EQ(built("Lan", 0),
              R"({"iface":"br0","name":"LAN0","auto":true,"type":"static","netmask":"2.2.2.2",)"
              R"("gateway":null,"metric":null,"bcast":null,"mtu":null,"mac":null})");
}

TEST_F(document, replaces_the_one_before_whole)
{
    world.write(INTERFACES, "");
    world.write(CONFIG, std::string(100000, '#'));
    EXPECT_EQ(built("Lan", 0), DEFAULT_LAN);
}

TEST_F(document, logs_start_interface_and_stop_only)
{
    world.write(INTERFACES, "");
    set_config(1);
    EXPECT_TRACE(R"(
        log mcfg-set_config: start
        log mcfg-set_config: WAN_IFNAME = vlan2
        log mcfg-set_config: stop
    )",
                 world.trace());
}

TEST_F(document, that_cannot_be_written_is_not_reported)
{
    world.write(INTERFACES, "");
    world.remove("/var/run");
    std::string said = support::private_world::captured(
        2, [](void *) { set_config(1); }, nullptr);
    EXPECT_EQ(said, "");
    EXPECT_EQ(world.trace_of({"log"}), "log mcfg-set_config: start\n"
                                       "log mcfg-set_config: WAN_IFNAME = vlan2\n"
                                       "log mcfg-set_config: stop\n");
}

// It takes no lock: readers are kept out by the order in which the router starts, not by a file.
TEST_F(document, is_written_whatever_its_lock_says)
{
    world.write(INTERFACES, "");
    world.write("/var/lock/Config.lock", "1");
    EXPECT_EQ(built("Lan", 0), DEFAULT_LAN);
    EXPECT_TRUE(world.exists("/var/lock/Config.lock"));
}

} // namespace
