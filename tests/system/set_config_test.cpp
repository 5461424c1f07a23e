// "mcfg set_config" as a router's start scripts run it: settings files in, running configuration
// out.
#include "support/expect.h"
#include "support/router_box.h"
#include "support/rows.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace
{

constexpr char CONFIG[] = "/var/run/Config";

constexpr char QUIET_TRACE[] = R"(
    log mcfg-set_config: start
    log mcfg-set_config: WAN_IFNAME = vlan2
    log mcfg-set_config: stop
)";

// The document in the manual's page is the one that the program writes for the example router.
std::string documented()
{
    std::ifstream page(MCFG_SOURCE_DIR "/docs/config.md");
    std::ostringstream text;
    text << page.rdbuf();
    std::string all = text.str();
    size_t begin = all.find("```json\n");
    size_t end = all.find("\n```", begin);
    if (begin == std::string::npos || end == std::string::npos)
        return "docs/config.md has no document";
    return all.substr(begin + 8, end - begin - 8);
}

TEST(set_config_command, writes_the_documented_configuration_of_the_example_router)
{
    support::router_box box;
    box.copy_in(MCFG_SOURCE_DIR "/examples/router/etc", "/etc");
    support::outcome seen = box.run({"mcfg", "set_config"});
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(seen.out, "");
    EXPECT_EQ(seen.err, "");
    EXPECT_TRACE(QUIET_TRACE, seen.trace);
    EXPECT_EQ(box.read(CONFIG), documented());
}

TEST(set_config_command, writes_the_same_again)
{
    support::router_box box;
    box.copy_in(MCFG_SOURCE_DIR "/examples/router/etc", "/etc");
    box.run({"mcfg", "set_config"});
    std::string first = box.read(CONFIG);
    box.run({"mcfg", "set_config"});
    EXPECT_EQ(box.read(CONFIG), first);
}

TEST(set_config_command, without_settings_writes_the_defaults_and_says_what_is_missing)
{
    support::router_box box;
    support::outcome seen = box.run({"mcfg", "set_config"});
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(seen.out, "");
    EXPECT_EQ(seen.err, "/etc/default/dns.conf: No such file or directory\n"
                        "/etc/default/wimax: No such file or directory\n"
                        "/etc/default/network-interfaces: No such file or directory\n"
                        "/etc/default/network-interfaces: No such file or directory\n"
                        "/etc/default/network-interfaces: No such file or directory\n");
    EXPECT_TRACE(QUIET_TRACE, seen.trace);
    EXPECT_EQ(box.read(CONFIG), R"({
   "Network": {
      "Common": {
         "Dns": {},
         "Wimax": {}
      },
      "Lan": [
         {
            "iface": "br0",
            "name": "LAN0",
            "auto": true,
            "type": "static",
            "ipaddr": "192.168.0.1",
            "netmask": "255.255.255.0",
            "gateway": null,
            "metric": null,
            "bcast": null,
            "mtu": null,
            "mac": null
         }
      ],
      "Wan": [
         {
            "iface": "vlan2",
            "name": "WAN",
            "auto": true,
            "type": "dhcp",
            "ipaddr": null,
            "netmask": null,
            "gateway": null,
            "metric": null,
            "bcast": null,
            "mtu": null,
            "mac": null,
            "have_tunnels": false
         },
         {
            "iface": "wimax0",
            "name": "WIMAX",
            "auto": true,
            "type": "dhcp",
            "ipaddr": null,
            "netmask": null,
            "gateway": null,
            "metric": null,
            "bcast": null,
            "mtu": null,
            "mac": null
         }
      ]
   }
})");
}

TEST(set_config_command, asks_for_the_peers_only_with_a_wired_wan)
{
    support::router_box box;
    box.write("/etc/default/dns.conf", "");
    box.write("/etc/default/wimax", "");
    box.write("/etc/default/network-interfaces", "vlan2 wan 1 dhcp\n");
    EXPECT_EQ(box.run({"mcfg", "set_config"}).err,
              "/etc/default/ppp-peers: No such file or directory\n");
}

// Files as a broken web interface or a worn flash leaves them.
struct bad_row {
    const char *name;
    std::string content;
    // How many times more the last character stands there. The rows are made whenever the program
    // of the tests starts, for any of them, so the megabytes are not.
    size_t again = 0;
};

class bad_settings : public testing::TestWithParam<bad_row>
{
};

TEST_P(bad_settings, still_give_a_whole_document)
{
    support::router_box box;
    std::string content = GetParam().content;
    if (GetParam().again > 0)
        content.append(GetParam().again, content.back());
    for (const char *file : {"network-interfaces", "ppp-peers", "dns.conf", "wimax"})
        box.write(std::string("/etc/default/") + file, content);
    support::outcome seen = box.run({"mcfg", "set_config"});
    EXPECT_EQ(seen.status, 0) << seen.err;
    EXPECT_EQ(seen.err, "");
    EXPECT_TRACE(QUIET_TRACE, seen.trace);
    std::string config = box.read(CONFIG);
    EXPECT_EQ(config.substr(0, 18), "{\n   \"Network\": {\n");
    EXPECT_EQ(config.back(), '}');
    EXPECT_NE(config.find("\"wimax0\""), std::string::npos);
}

std::string every_byte()
{
    std::string bytes;
    for (int i = 0; i < 256; i++)
        bytes += static_cast<char>(i);
    return bytes;
}

std::string repeated(const std::string &text, size_t count)
{
    std::string all;
    for (size_t i = 0; i < count; i++)
        all += text;
    return all;
}

INSTANTIATE_TEST_SUITE_P(
    contents, bad_settings,
    testing::Values(
        bad_row{"empty", ""}, bad_row{"line_ends", "\n\r\n\n"},
        bad_row{"zero_bytes", std::string(5000, '\0')},
        bad_row{"every_byte", every_byte() + every_byte()},
        bad_row{"one_line_of_10_megabytes", "x", 10U << 20U},
        bad_row{"10_megabytes_of_blanks", "x ", 10U << 20U},
        bad_row{"10_megabytes_of_signs", "x=", 10U << 20U},
        bad_row{"fields_over_their_room", "vlan2 " + repeated(std::string(60, 'f') + " ", 4) +
                                              "\nbr0 " + repeated("123456789 ", 20) + "\nwimax0 " +
                                              repeated("99999999999999999999999999999 ", 7) + "\n"},
        bad_row{"too_many_fields", "vlan2 " + repeated("a ", 120) + "\n"},
        bad_row{
            "not_utf8",
            "vlan2 \xff\xff \xfe \xfd \xfc\nauto=\xff\nWIMAX_SSID=\x80\x81\nw pppoe \xff \xff\n"},
        bad_row{"no_line_end", "vlan2 wan 1 dhcp"}),
    support::row_name);

TEST(set_config_command, reports_files_it_cannot_read)
{
    support::router_box box;
    box.mkdir("/etc/default/dns.conf"); // opens, but cannot be read
    box.symlink("wimax", "/etc/default/wimax");
    box.symlink("network-interfaces", "/etc/default/network-interfaces");
    support::outcome seen = box.run({"mcfg", "set_config"});
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(seen.err, "/etc/default/dns.conf: Is a directory\n"
                        "/etc/default/wimax: Too many levels of symbolic links\n"
                        "/etc/default/network-interfaces: Too many levels of symbolic links\n"
                        "/etc/default/network-interfaces: Too many levels of symbolic links\n"
                        "/etc/default/network-interfaces: Too many levels of symbolic links\n");
    EXPECT_EQ(box.read(CONFIG).back(), '}');
}

TEST(set_config_command, is_silent_about_a_document_it_cannot_write)
{
    support::router_box box;
    box.copy_in(MCFG_SOURCE_DIR "/examples/router/etc", "/etc");
    box.mkdir(CONFIG);
    support::outcome seen = box.run({"mcfg", "set_config"});
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(seen.err, "");
    EXPECT_TRACE(QUIET_TRACE, seen.trace);
}

TEST(set_config_command, ignores_further_arguments)
{
    support::router_box box;
    support::outcome seen = box.run({"mcfg", "set_config", "0", "x"});
    EXPECT_EQ(seen.status, 0);
    EXPECT_TRACE(QUIET_TRACE, seen.trace);
}

} // namespace
