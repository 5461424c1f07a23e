#include "lan/netbase.h"

#include "config/document.h"
#include "config/json_access.h"
#include "firewall/firewall.h"
#include "lan/dhcp_client.h"
#include "lan/interface.h"
#include "lan/loopback.h"
#include "util/log.h"
#include "util/mac.h"
#include "util/output_file.h"
#include "util/process.h"
#include "util/shell.h"
#include "util/text.h"
#include "wireless/profile.h"
#include "wireless/start.h"

#include <stdio.h>
#include <string.h>

constexpr char START_TAG[] = "netbase_start";
constexpr char NETBASE_TAG[] = "mcfg-netbase";
// The WAN code's, on two lines here: who looks for "Start dhcp wan" finds the LAN's client too.
constexpr char WAN_TAG[] = "mcfg-start_wan_morvi";
constexpr char VCONFIG_TAG[] = "mcfg-vconfig";

// An outside tool with its words, as run_words() takes it: the last word is always null.
using words = const char *[6];

constexpr words add_vlans[] = {
    {"vconfig", "add", "eth2", "1"},
    {"vconfig", "add", "eth2", "2"},
};

// clang-format off
constexpr words build_bridge[] = {
    {"brctl", "addbr", "br0"},
    {"brctl", "addif", "br0", bridge_ports[0]},
    {"brctl", "addif", "br0", bridge_ports[1]},
    {"brctl", "setfd", "br0", "0.1"},
    {"brctl", "sethello", "br0", "0.1"},
    {"brctl", "stp", "br0", "0"},
};
// clang-format on

constexpr words remove_vlans_and_bridge[] = {
    {"vconfig", "rem", "vlan2"},
    {"vconfig", "rem", "vlan1"},
    {"brctl", "delbr", "br0"},
};

constexpr const char *stopped_ifaces[] = {"br0", "vlan1", "vlan2", "eth2"};

// Run all rows, whatever they return. Returns the result of the last one.
template <size_t N> static int run_all(const words (&rows)[N])
{
    int result = 0;
    for (const words &row : rows)
        result = run_words(row);
    return result;
}

static void set_flags(const char *iface, int flags)
{
    ifconfig(iface, flags, nullptr, nullptr);
}

// The address that get_mac() knows by that name, "" when there is none.
static void get_mac_text(char (&mac)[MAC_TEXT_MAX], const char *name)
{
    mac[0] = '\0';
    get_mac(name, mac);
}

// The MAC address can only be changed while the interface is down.
static void configure_switch_port()
{
    char mac[MAC_TEXT_MAX];
    get_mac_text(mac, "ethaddr");
    logmessage(VCONFIG_TAG, "lan mac = %s", mac);
    set_flags("eth2", IFACE_DOWN);
    char line[SHELL_LINE_MAX];
    text_format(line, sizeof(line), "ifconfig eth2 hw ether %s", mac);
    logmessage(VCONFIG_TAG, "buffer = %s", line);
    shell(line);
    set_flags("eth2", IFACE_UP);
}

// Left down: the WAN brings it up.
static void configure_wan_port()
{
    set_flags("vlan2", IFACE_DOWN);
    char mac[MAC_TEXT_MAX];
    get_mac_text(mac, "wan");
    logmessage(VCONFIG_TAG, "wan mac: %s", mac);
    shell_format("ifconfig vlan2 hw ether %s", mac);
}

// Four LAN ports and one WAN port.
static void configure_lan_ports()
{
    set_flags("vlan1", IFACE_DOWN);
    shell("config-vlan.sh 2 0");
    shell("config-vlan.sh 2 LLLLW");
    set_flags("vlan1", IFACE_UP);
}

int vconfig(const char *lan_iface)
{
    gen_config(lan_iface, 1);
    start_wifi(lan_iface);
    configure_switch_port();
    shell("vconfig set_name_type VLAN_PLUS_VID_NO_PAD");
    run_all(add_vlans);
    configure_wan_port();
    configure_lan_ports();
    return run_all(build_bridge);
}

static void start_lan_dhcp_client(const char *iface)
{
    logmessage(WAN_TAG, "Start dhcp wan");
    char pidfile[DHCP_PIDFILE_MAX];
    format_dhcp_pidfile(pidfile, iface);
    run_tool("udhcpc", "-i", iface, "-p", pidfile, "-s", DHCP_SCRIPT);
}

static void address_lan(const iface_params &lan)
{
    if (strcmp(lan.type, "dhcp") == 0) {
        start_lan_dhcp_client(lan.iface);
    } else if (strcmp(lan.type, "static") == 0) {
        logmessage(NETBASE_TAG, "lan_iface.ipaddr = %s, lan_iface.netmask = %s", lan.ipaddr,
                   lan.netmask);
        ifconfig(lan.iface, IFACE_UP, lan.ipaddr, lan.netmask);
    }
}

// The two entries stand on one line, without so much as a blank between them. The LAN's DNS relay
// reads the file so: to the LAN, "morvi" is 127.0.0.1.
static void write_hosts(const iface_params &lan)
{
    static constexpr char path[] = "/tmp/hosts.runtime";
    FILE *file = create_output(path);
    if (file == nullptr)
        return;
    fprintf(file, "127.0.0.1 localhost.localdomain localhost%s morvi", lan.ipaddr);
    close_output(file, path);
}

static void write_net_state(const iface_params &lan)
{
    static constexpr char path[] = "/var/run/net-state";
    FILE *file = create_output(path);
    if (file == nullptr)
        return;
    fprintf(file, "%s lan %s %s %s - -", lan.iface, lan.ipaddr, lan.netmask, lan.gateway);
    close_output(file, path);
}

static void start_lan(const iface_params &lan)
{
    vconfig(lan.iface);
    address_lan(lan);
    write_hosts(lan);
    write_net_state(lan);
    shell("hostname morvi");
    shell("/usr/sbin/sys_netbase proc");
    shell("/usr/sbin/sys_netbase regen_auto");
    // The LAN address stands in the WAN interface's place and the netmask in the log mode's.
    start_firewall_morvi(lan.iface, lan.ipaddr, lan.netmask);
    shell("/etc/init.d/scripts/dnsmasq.rc start");
    logmessage(START_TAG, "done");
}

void netbase_start()
{
    logmessage(START_TAG, "begin");
    set_config(1);
    shell("/usr/sbin/mknetifaces.sh");
    shell("/usr/sbin/sys_netbase make_netbase");
    json_t *config = load_config_with_lock();
    if (config == nullptr) {
        logmessage(NETBASE_TAG, "Error on load file");
        return;
    }
    const json_t *lan_array = json_object_get(json_object_get(config, "Network"), "Lan");
    config_loopback();
    if (!json_is_array(lan_array)) {
        logmessage(WAN_TAG, "Error on lan_array");
        return;
    }
    logmessage(NETBASE_TAG, "lan_array is array sizeof = %d",
               static_cast<int>(json_array_size(lan_array)));
    iface_params lan;
    get_iface_params_from_json(json_array_get(lan_array, 0), &lan);
    start_lan(lan);
    // The document stays loaded: the process ends now.
}

int netbase_stop()
{
    shell("echo 0 > /proc/sys/net/ipv4/ip_forward");
    for (const char *iface : stopped_ifaces)
        set_flags(iface, IFACE_DOWN);
    run_all(remove_vlans_and_bridge);
    return shell("/etc/init.d/scripts/dnsmasq.rc stop");
}
