#include "sweep/invocations.h"

#include "support/lease.h"
#include "sweep/watched_router.h"

namespace sweep
{

using support::environment;
using support::router_box;
using support::vlan2_lease;

// clang-format off
static const environment link_up = {
    {"IFNAME", "ppp1"},
    {"LINKNAME", "pppoe-wan1"},
    {"IPLOCAL", "203.0.113.77"},
    {"IPREMOTE", "203.0.113.1"},
    {"DNS1", "203.0.113.53"},
    {"DNS2", "203.0.113.54"},
};

static const environment modem_up = {
    {"IFNAME", "ppp1"},
    {"LINKNAME", "3g-modem"},
    {"IPLOCAL", "203.0.113.77"},
    {"IPREMOTE", "203.0.113.1"},
    {"DNS1", "203.0.113.53"},
};

static const environment wimax_lease = {
    {"interface", "wimax0"},
    {"ip", "198.51.100.20"},
    {"subnet", "255.255.255.0"},
    {"router", "198.51.100.1"},
    {"dns", "198.51.100.53"},
};
// clang-format on

static const environment link_down = {{"IFNAME", "ppp0"}, {"LINKNAME", "pppoe-old"}};

static const environment disk_added = {
    {"ACTION", "add"}, {"MINOR", "1"}, {"MAJOR", "8"}, {"PHYSDEVDRIVER", "sd"}};
static const environment disk_removed = {
    {"ACTION", "remove"}, {"MINOR", "1"}, {"MAJOR", "8"}, {"PHYSDEVDRIVER", "sd"}};

static const environment modem = {
    {"ACTION", "add"}, {"DEVPATH", "/class/usb1"}, {"PHYSDEVPATH", "/devices/usb1"}};

// Three links are up: a wired one, a PPP link, and one that no invocation has to do with.
static constexpr char STORE[] = R"({
   "state_links": [
      {"iface": "vlan9", "name": "other", "type": "static", "ipaddr": "198.51.100.109"},
      {"iface": "vlan2", "name": "wan", "type": "dhcp", "ipaddr": "192.0.2.9"},
      {"iface": "ppp0", "name": "old", "type": "pppoe", "ipaddr": "203.0.113.9"}
   ]
})";

// Everything that the wireless start has a step for.
static constexpr char WIRELESS[] = "ApCliEnable=1\nBssidNum=2\nWdsEnable=3\n"
                                   "WdsList=00:11:22:33:44:55;00:11:22:33:44:66\n"
                                   "IEEE8021X=1\nSSID2=Second\n";

static void use_pppoe(router_box &box)
{
    box.copy_in(MCFG_SOURCE_DIR "/examples/pppoe/etc", "/etc");
    box.run({"mcfg", "set_config"});
}

static void use_static_l2tp(router_box &box)
{
    box.copy_in(MCFG_SOURCE_DIR "/lab/settings/static-wan/etc", "/etc");
    box.copy_in(MCFG_SOURCE_DIR "/lab/settings/l2tp/etc", "/etc");
    box.run({"mcfg", "set_config"});
}

static void use_static_pptp(router_box &box)
{
    box.copy_in(MCFG_SOURCE_DIR "/lab/settings/static-wan/etc", "/etc");
    box.write("/etc/default/ppp-peers", "club pptp 1 home secret 203.0.113.10 4\n");
    box.run({"mcfg", "set_config"});
}

// The wireless profile and the tunnels are another invocation's.
static void use_lan_by_dhcp(router_box &box)
{
    box.write("/etc/default/network-interfaces", "br0 lan 1 dhcp - - - - - - -\n");
    for (const char *path : {"/etc/nvram/1", "/etc/default/ppp-peers"})
        box.write(path, "");
    box.run({"mcfg", "set_config"});
}

static void plug_modem(router_box &box)
{
    for (const char *place : {"/sys/class/usb1/device/", "/sys/devices/usb1/"}) {
        box.write(std::string(place) + "idVendor", "12d1\n");
        box.write(std::string(place) + "idProduct", "1001\n");
    }
}

static void plug_disk(router_box &box)
{
    box.write("/dev/sda1", "");
    box.mkdir("/media/sda1");
}

// clang-format off
static const std::vector<invocation> table = {
    {"no-command", program::mcfg, {"mcfg"}, {}, nullptr},
    {"start", program::mcfg, {"mcfg", "start"}, {}, nullptr},
    {"get_wan_type", program::mcfg, {"mcfg", "get_wan_type"}, {}, nullptr},
    {"set_device_params", program::mcfg, {"mcfg", "set_device_params"}, {}, nullptr},
    {"set_config", program::mcfg, {"mcfg", "set_config"}, {}, nullptr},
    {"netbase_start", program::mcfg, {"mcfg", "netbase_start"}, {}, nullptr},
    {"netbase_start-lan-dhcp", program::mcfg, {"mcfg", "netbase_start"}, {}, use_lan_by_dhcp},
    {"netbase_stop", program::mcfg, {"mcfg", "netbase_stop"}, {}, nullptr},
    {"start_wan-dhcp", program::mcfg, {"mcfg", "start_wan"}, {}, nullptr},
    {"start_wan-pppoe", program::mcfg, {"mcfg", "start_wan"}, {}, use_pppoe},
    {"start_wan-static-l2tp", program::mcfg, {"mcfg", "start_wan", "1", "1"}, {}, use_static_l2tp},
    {"start_wan-static-pptp", program::mcfg, {"mcfg", "start_wan", "1", "1"}, {}, use_static_pptp},
    {"start_wan-wimax", program::mcfg, {"mcfg", "start_wan", "3", "1"}, {}, nullptr},
    {"stop_wan-dhcp", program::mcfg, {"mcfg", "stop_wan"}, {}, nullptr},
    {"stop_wan-pppoe", program::mcfg, {"mcfg", "stop_wan"}, {}, use_pppoe},
    {"stop_wan-l2tp", program::mcfg, {"mcfg", "stop_wan", "1", "0"}, {}, use_static_l2tp},
    {"check_update", program::mcfg, {"mcfg", "check_update"}, {}, nullptr},
    {"firewall_update", program::mcfg, {"firewall_update", "br0", "vlan2", "none"}, {}, nullptr},
    {"firewall_update-logging", program::mcfg, {"firewall_update", "br0", "vlan2", "both"}, {}, nullptr},
    {"update_time", program::mcfg, {"update_time"}, {}, nullptr},
    {"save_link_state", program::mcfg, {"save_link_state"}, {}, nullptr},
    {"hotplug-net", program::mcfg, {"hotplug", "net"}, {}, nullptr},
    {"hotplug-usb", program::mcfg, {"hotplug", "usb"}, {{"ACTION", "add"}, {"PRODUCT", "12d1/1446/0"}}, nullptr},
    {"hotplug-usb_device", program::mcfg, {"hotplug", "usb_device"}, modem, plug_modem},
    {"hotplug-block-add", program::mcfg, {"hotplug", "block"}, disk_added, nullptr},
    {"hotplug-block-remove", program::mcfg, {"hotplug", "block"}, disk_removed, plug_disk},
    {"udhcpc-bound", program::mcfg, {"/tmp/udhcpc", "bound"}, vlan2_lease, nullptr},
    {"udhcpc-bound-wimax", program::mcfg, {"/tmp/udhcpc", "bound"}, wimax_lease, nullptr},
    {"udhcpc-deconfig", program::mcfg, {"/tmp/udhcpc", "deconfig"}, vlan2_lease, nullptr},
    {"udhcpc-renew", program::mcfg, {"/tmp/udhcpc", "renew"}, vlan2_lease, nullptr},
    {"udhcpc-leasefail", program::mcfg, {"/tmp/udhcpc", "leasefail"}, vlan2_lease, nullptr},
    {"ip-up", program::mcfg, {"/tmp/ppp/ip-up"}, link_up, use_pppoe},
    {"ip-up-3g", program::mcfg, {"/tmp/ppp/ip-up"}, modem_up, nullptr},
    {"ip-down", program::mcfg, {"/tmp/ppp/ip-down"}, link_down, nullptr},
    {"mmac-get-lan", program::mmac, {"mmac", "get", "lan"}, {}, nullptr},
    {"mmac-get-wan", program::mmac, {"mmac", "get", "wan"}, {}, nullptr},
    {"mmac-get-wlan", program::mmac, {"mmac", "get", "wlan"}, {}, nullptr},
    {"mmac-get-pin", program::mmac, {"mmac", "get", "pin"}, {}, nullptr},
    {"mmac-get-sn", program::mmac, {"mmac", "get", "sn"}, {}, nullptr},
    {"mmac-set-wan", program::mmac, {"mmac", "set", "wan", "00:11:22:33:44:55"}, {}, nullptr},
    {"mmac-set-wlan", program::mmac, {"mmac", "set", "wlan", "00:11:22:33:44:58"}, {}, nullptr},
    {"mmac-set-pin", program::mmac, {"mmac", "set", "pin", "12345670"}, {}, nullptr},
    {"mmac-set-sn", program::mmac, {"mmac", "set", "sn", "EX-2"}, {}, nullptr},
    {"mctl-check", program::mctl, {"mctl", "check"}, {}, nullptr},
    {"mctl-check-errors", program::mctl, {"mctl", "check"}, {}, spoil_settings, 1},
    {"mctl-check-json", program::mctl, {"mctl", "check", "--json"}, {}, spoil_settings, 1},
    {"mctl-status", program::mctl, {"mctl", "status"}, {}, renew_settings},
    {"mctl-status-odd", program::mctl, {"mctl", "status"}, {}, lose_client, 1},
    {"mctl-status-json", program::mctl, {"mctl", "status", "--json"}, {}, lose_client, 1},
    {"mctl-heal-dry-run", program::mctl, {"mctl", "heal", "--dry-run"}, {}, lose_client, 1},
    {"mctl-heal", program::mctl, {"mctl", "heal"}, {}, leave_lock_and_record},
    {"mctl-report", program::mctl, {"mctl", "report"}, {}, add_secrets},
    {"mctl-firewall", program::mctl, {"mctl", "firewall", "br0", "vlan2", "none"}, {}, spoil_settings},
};

// Nothing is left of a run in the kernel: commands and changes of interfaces are noted only.
static const char *const interfaces[] = {
    "lo", "br0", "eth2", "vlan1", "vlan2", "ra0", "ra1", "ra2", "apcli0", "wds0", "wds1", "wimax0",
    "ppp0", "ppp1",
};
// clang-format on

const std::vector<invocation> &invocations()
{
    return table;
}

static void play_board(router_box &box)
{
    for (const char *name : interfaces)
        for (const char *request : {"SIOCS", "SIOCADDRT", "SIOCDELRT"})
            box.on(std::string("skip ioctl ") + name + " " + request);
    box.on("skip shell");
    box.on("skip kill");
    box.on("gpio 0x800");
    box.on("flash-status 0");
    box.on("clock 1700000000 -180 0");
    box.interface("br0");
    box.in_network({"ip", "address", "add", "192.168.1.1/24", "dev", "br0"});
}

void furnish(router_box &box, program which)
{
    if (which == program::mctl) {
        furnish_watched(box);
        box.clear_trace();
        return;
    }
    play_board(box);
    box.copy_in(MCFG_SOURCE_DIR "/examples/router/etc", "/etc");
    box.write("/etc/nvram/1", WIRELESS + box.read("/etc/nvram/1"), 0600);
    box.write("/etc/nvram/0", box.read("/etc/nvram/0") + "sn=EX-1\n", 0600);
    box.write("/etc/default/wimax", "WIMAX_ENABLE=1\nWIMAX_SSID=Example\n");
    box.write("/etc/Wireless/RT2860/RT2860.dat", "Default\nSSID1=Before\n");
    box.write("/etc_ro/wlan/RT3050_AP_1T1R_V1_0.bin", std::string(512, 'e'));
    box.write("/var/run/state_link", std::string(1000, ' ') + STORE); // longer than what comes
    box.write("/var/run/udhcpc.vlan2.pid", "4711\n");
    box.write("/var/run/ppp-pppoe-wan1.pid", "4712\n");
    box.mkdir("/tmp/ppp");
    box.write("/tmp/ppp/link.ppp0", "");
    box.write("/tmp/ppp/link.old", "");
    box.run({"mcfg", "set_config"});
    box.clear_trace();
}

} // namespace sweep
