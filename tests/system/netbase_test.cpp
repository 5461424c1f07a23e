#include "support/expect.h"
#include "support/router_box.h"
#include "support/texts.h"

#include <gtest/gtest.h>
#include <string>

namespace
{

using support::outcome;

// The stretches of a whole start, in their order.
const std::string BEGIN = "log netbase_start: begin\n"
                          "log mcfg-set_config: start\n"
                          "log mcfg-set_config: WAN_IFNAME = vlan2\n"
                          "log mcfg-set_config: stop\n"
                          "shell /usr/sbin/mknetifaces.sh\n"
                          "shell /usr/sbin/sys_netbase make_netbase\n"
                          "log mcfg-open_file_with_lock: Open file - /var/run/Config\n";

const std::string LOOPBACK = "ioctl lo SIOCSIFFLAGS 0x1043\n"
                             "ioctl lo SIOCSIFADDR 127.0.0.1\n"
                             "ioctl lo SIOCSIFNETMASK 255.0.0.0\n"
                             "ioctl lo SIOCSIFBRDADDR 127.255.255.255\n"
                             "ioctl lo SIOCADDRT 127.0.0.0/255.0.0.0 metric 0 flags 0x1\n";

const std::string ONE_LAN = "log mcfg-netbase: lan_array is array sizeof = 1\n";

const std::string WIRELESS = "shell rmmod rt2860v2_ap\n"
                             "log gen_config: mode = 1\\n\n"
                             "log gen_config: RT2860_NVRAM = 0\\n\n"
                             "shell mkdir -p /etc/Wireless/RT2860\n"
                             "shell modprobe rt2860v2_ap\n"
                             "sleep 1\n"
                             "ioctl ra0 SIOCSIFFLAGS 0x1043\n"
                             "shell iwpriv ra0 set RadioOn=1\n"
                             "shell /etc/init.d/scripts/wscd.rc start\n";

const std::string SWITCH = "log mcfg-vconfig: lan mac = 00:0A:EB:11:22:30\n"
                           "ioctl eth2 SIOCSIFFLAGS 0x0\n"
                           "log mcfg-vconfig: buffer = ifconfig eth2 hw ether 00:0A:EB:11:22:30\n"
                           "shell ifconfig eth2 hw ether 00:0A:EB:11:22:30\n"
                           "ioctl eth2 SIOCSIFFLAGS 0x1043\n"
                           "shell vconfig set_name_type VLAN_PLUS_VID_NO_PAD\n"
                           "run vconfig add eth2 1\n"
                           "run vconfig add eth2 2\n"
                           "ioctl vlan2 SIOCSIFFLAGS 0x0\n"
                           "log mcfg-vconfig: wan mac: 00:0A:EB:11:22:31\n"
                           "shell ifconfig vlan2 hw ether 00:0A:EB:11:22:31\n"
                           "ioctl vlan1 SIOCSIFFLAGS 0x0\n"
                           "shell config-vlan.sh 2 0\n"
                           "shell config-vlan.sh 2 LLLLW\n"
                           "ioctl vlan1 SIOCSIFFLAGS 0x1043\n";

const std::string BRIDGE = "run brctl addbr br0\n"
                           "run brctl addif br0 vlan1\n"
                           "run brctl addif br0 ra0\n"
                           "run brctl setfd br0 0.1\n"
                           "run brctl sethello br0 0.1\n"
                           "run brctl stp br0 0\n";

const std::string ADDRESS = "log mcfg-netbase: lan_iface.ipaddr = 192.168.0.1, "
                            "lan_iface.netmask = 255.255.255.0\n"
                            "ioctl br0 SIOCSIFFLAGS 0x1043\n"
                            "ioctl br0 SIOCSIFADDR 192.168.0.1\n"
                            "ioctl br0 SIOCSIFNETMASK 255.255.255.0\n"
                            "ioctl br0 SIOCSIFBRDADDR 192.168.0.255\n";

const std::string NAME = "shell hostname morvi\n"
                         "shell /usr/sbin/sys_netbase proc\n"
                         "shell /usr/sbin/sys_netbase regen_auto\n";

// The firewall of a LAN with an address and without any rules of the user's.
const std::string FIREWALL =
    "log firewall_update: lan_if=br0, wan_if=192.168.0.1, log_mode=255.255.255.0\n"
    "ioctl br0 SIOCGIFADDR -> 192.168.0.1\n"
    "ioctl br0 SIOCGIFNETMASK -> 255.255.255.0\n"
    "log get_ip_mask_from_iface: ipaddr = 192.168.0.1, mask = 255.255.255.0\\n\n"
    "log firewall_update: lan_ip=192.168.0.1, lan_netmask=255.255.255.0\n"
    "log firewall_update: fw_enable=1, nat_enable=1, vts_enable=1\n"
    "log firewall_update: tr_ports_enable=1, ddos_enable=1, wan_ping_enable=1\n"
    "log firewall_update: mac_enable=0, url_enable=1\n"
    "log get_vservers_filters: start\n"
    "log get_vservers_filters: done\n"
    "log get_masquerading: start\n"
    "log get_masquerading: done\n"
    "shell iptables-restore /tmp/nat_rules\n"
    "log get_url_filters: start\n"
    "log get_url_filters: done\n"
    "log get_haccess_filters: start\n"
    "log get_haccess_filters: done\n"
    "run iptables-restore /tmp/filter_rules\n"
    "shell iptables-restore /tmp/mangle_rules\n";

const std::string END = "shell /etc/init.d/scripts/dnsmasq.rc start\n"
                        "log netbase_start: done\n";

const std::string LAN_BUILT = BEGIN + LOOPBACK + ONE_LAN + WIRELESS + SWITCH + BRIDGE;

// The firewall of an interface without an address does nothing.
std::string no_firewall(const std::string &iface, const std::string &failure)
{
    std::string word = iface.empty() ? "''" : iface;
    return "log firewall_update: lan_if=" + iface + ", wan_if=, log_mode=\n" + "ioctl " + word +
           " SIOCGIFADDR = " + failure + "\n" + "log firewall_update: not get ip/mask\n";
}

class netbase : public testing::Test
{
  protected:
    support::router_box box;

    void SetUp() override
    {
        for (const char *name : {"eth2", "vlan1", "vlan2", "br0", "ra0"})
            box.interface(name);
        box.write("/etc/nvram/0", "ethaddr=00:0A:EB:11:22:30\n");
        // All files that settings are read from, saying nothing.
        for (const char *name :
             {"dns.conf", "wimax", "ppp-peers", "network-interfaces", "ip_filter", "igmp", "upnp",
              "rules", "sched_list", "macfilter_list", "url_filter", "vservers",
              "httpd_access.conf", "masq", "trigger_ports"})
            box.write(std::string("/etc/default/") + name, "");
    }

    void lan(const std::string &line) { box.write("/etc/default/network-interfaces", line + "\n"); }

    void loopback_is_down_again() { box.in_network({"ip", "link", "set", "lo", "down"}); }

    // One of the firmware's scripts puts this in place of the running configuration.
    void config_is_replaced_by(const std::string &document)
    {
        box.write("/tmp/replace", "#!/bin/sh\nprintf %s '" + document + "' > /var/run/Config\n",
                  0755);
        box.on("pass /tmp/replace /usr/sbin/mknetifaces.sh");
    }

    // Runs netbase_start, which always succeeds.
    outcome start()
    {
        outcome result = box.run({"mcfg", "netbase_start"});
        EXPECT_EQ(result.status, 0);
        return result;
    }
};

constexpr char LAN_MAC_LINE[] = "00:0A:EB:11:22:30\n";
constexpr char START_OUTPUT[] = "00:0A:EB:11:22:30\nfirewall start\nfirewall done\n";
constexpr char HOSTS[] = "/tmp/hosts.runtime";
constexpr char NET_STATE[] = "/var/run/net-state";

TEST_F(netbase, starts_with_the_defaults_of_a_new_router)
{
    outcome result = start();
    EXPECT_TRACE(LAN_BUILT + ADDRESS + NAME + FIREWALL + END, result.trace);
    EXPECT_EQ(result.out, START_OUTPUT);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(box.read(HOSTS), "127.0.0.1 localhost.localdomain localhost192.168.0.1 morvi");
    EXPECT_EQ(box.read(NET_STATE), "br0 lan 192.168.0.1 255.255.255.0  - -");
    EXPECT_EQ(box.read("/etc/Wireless/RT2860/RT2860.dat"), box.fixture("wireless/unset.dat"));
    EXPECT_FALSE(box.exists("/var/lock/Config.lock"));
}

TEST_F(netbase, addresses_the_lan_for_real)
{
    start();
    std::string addresses = box.in_network({"ip", "-4", "-o", "address", "show", "up"});
    EXPECT_NE(addresses.find("127.0.0.1/8 brd 127.255.255.255"), std::string::npos) << addresses;
    EXPECT_NE(addresses.find("192.168.0.1/24 brd 192.168.0.255"), std::string::npos) << addresses;
    std::string up = box.in_network({"ip", "-br", "link", "show", "up"});
    for (const char *name : {"lo", "eth2", "vlan1", "ra0", "br0"})
        EXPECT_NE(up.find(name), std::string::npos) << up;
    EXPECT_EQ(up.find("vlan2"), std::string::npos) << up; // waits for the WAN
}

// The whole configuration of a home, firewall lists and all.
TEST_F(netbase, starts_the_example_router)
{
    box.copy_in(support::example_path("router"), "/");
    outcome result = start();
    EXPECT_TRACE(box.fixture("lan/netbase_start.trace"), result.trace);
    EXPECT_EQ(result.out, START_OUTPUT);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(box.read(HOSTS), "127.0.0.1 localhost.localdomain localhost192.168.1.1 morvi");
    EXPECT_EQ(box.read(NET_STATE), "br0 lan 192.168.1.1 255.255.255.0  - -");
    EXPECT_EQ(box.read("/etc/Wireless/RT2860/RT2860.dat"), box.fixture("wireless/router.dat"));
}

TEST_F(netbase, writes_the_gateway_of_a_static_lan)
{
    lan("br0 lan 1 static 10.0.0.2 255.0.0.0 10.0.0.1 - - - -");
    start();
    EXPECT_EQ(box.read(HOSTS), "127.0.0.1 localhost.localdomain localhost10.0.0.2 morvi");
    EXPECT_EQ(box.read(NET_STATE), "br0 lan 10.0.0.2 255.0.0.0 10.0.0.1 - -");
}

TEST_F(netbase, starts_a_dhcp_client_on_the_lan)
{
    lan("br0 lan 1 dhcp 10.0.0.2 255.0.0.0 10.0.0.1 - - - -");
    outcome result = start();
    EXPECT_TRACE(LAN_BUILT +
                     "log mcfg-start_wan_morvi: Start dhcp wan\n"
                     "run udhcpc -i br0 -p /var/run/udhcpc.br0.pid -s /tmp/udhcpc\n" +
                     NAME + no_firewall("br0", "EADDRNOTAVAIL") + END,
                 result.trace);
    EXPECT_EQ(result.out, LAN_MAC_LINE);
    EXPECT_EQ(box.read(HOSTS), "127.0.0.1 localhost.localdomain localhost morvi");
    EXPECT_EQ(box.read(NET_STATE), "br0 lan    - -");
}

TEST_F(netbase, sets_no_address_for_a_type_it_does_not_know)
{
    for (const char *type : {"pppoe", "Static", "staticx", "dhcp6", "-"}) {
        SCOPED_TRACE(type);
        loopback_is_down_again();
        lan("br0 lan 1 " + std::string(type) + " 10.0.0.2 255.0.0.0 10.0.0.1 - - - -");
        outcome result = start();
        EXPECT_TRACE(LAN_BUILT + NAME + no_firewall("br0", "EADDRNOTAVAIL") + END, result.trace);
        EXPECT_EQ(box.read(NET_STATE), "br0 lan    - -");
        EXPECT_EQ(box.read(HOSTS), "127.0.0.1 localhost.localdomain localhost morvi");
    }
}

TEST_F(netbase, goes_on_with_an_empty_lan_array)
{
    config_is_replaced_by(R"({"Network": {"Lan": []}})");
    outcome result = start();
    EXPECT_TRACE(BEGIN + LOOPBACK + "log mcfg-netbase: lan_array is array sizeof = 0\n" + WIRELESS +
                     SWITCH + BRIDGE + NAME + no_firewall("", "ENODEV") + END,
                 result.trace);
    EXPECT_EQ(box.read(NET_STATE), " lan    - -");
    EXPECT_EQ(box.read(HOSTS), "127.0.0.1 localhost.localdomain localhost morvi");
}

TEST_F(netbase, takes_the_first_of_several_lans)
{
    config_is_replaced_by(R"({"Network": {"Lan": [{"iface": "br0", "type": "static",)"
                          R"("ipaddr": "192.168.0.1", "netmask": "255.255.255.0"},)"
                          R"({"iface": "br1", "type": "dhcp"}]}})");
    EXPECT_TRACE(BEGIN + LOOPBACK + "log mcfg-netbase: lan_array is array sizeof = 2\n" + WIRELESS +
                     SWITCH + BRIDGE + ADDRESS + NAME + FIREWALL + END,
                 start().trace);
}

constexpr const char *WITHOUT_LAN_ARRAY[] = {
    "{}",
    "[]",
    R"({"Network": {}})",
    R"({"Network": null})",
    R"({"Network": []})",
    R"({"Lan": []})",
    R"({"Network": {"Lan": {}}})",
    R"({"Network": {"Lan": "br0"}})",
    R"({"Network": {"Lan": null}})",
};

TEST_F(netbase, stops_after_loopback_without_a_lan_array)
{
    for (const char *document : WITHOUT_LAN_ARRAY) {
        SCOPED_TRACE(document);
        loopback_is_down_again();
        config_is_replaced_by(document);
        outcome result = start();
        EXPECT_TRACE(BEGIN + LOOPBACK + "log mcfg-start_wan_morvi: Error on lan_array\n",
                     result.trace);
        EXPECT_EQ(result.out, "");
        EXPECT_FALSE(box.exists(HOSTS));
        EXPECT_FALSE(box.exists(NET_STATE));
    }
}

TEST_F(netbase, stops_before_loopback_while_the_configuration_is_locked)
{
    box.write("/var/lock/Config.lock", "123");
    outcome result = start();
    EXPECT_TRACE(BEGIN + "log mcfg-open_file_with_lock: Can't unlock file\n"
                         "log mcfg-netbase: Error on load file\n",
                 result.trace);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(box.read("/var/lock/Config.lock"), "123");
}

TEST_F(netbase, tests_the_lock_fifteen_times)
{
    box.write("/var/lock/Config.lock", "123");
    box.on("watch exists");
    std::string trace = start().trace;
    EXPECT_NE(trace.find("exists /var/lock/Config.lock = yes (x15)\n"), std::string::npos) << trace;
}

const std::string NOT_LOADABLE[] = {
    "",
    "{",
    "no JSON",
    R"({"Network": {"Lan": []}} x)",
    "{\"Network\": \"\xff\"}",
    std::string(100000, '['),
};

TEST_F(netbase, stops_before_loopback_without_a_configuration_that_loads)
{
    for (const std::string &document : NOT_LOADABLE) {
        SCOPED_TRACE(document.substr(0, 40));
        config_is_replaced_by(document);
        EXPECT_TRACE(BEGIN + "log mcfg-netbase: Error on load file\n", start().trace);
        EXPECT_FALSE(box.exists("/var/lock/Config.lock"));
    }
    box.clear_rules();
    box.remove("/var/run/Config");
    box.mkdir("/var/run/Config");
    EXPECT_TRACE(BEGIN + "log mcfg-netbase: Error on load file\n", start().trace);
}

TEST_F(netbase, goes_on_when_every_tool_fails)
{
    for (const char *tool :
         {"/usr/sbin/mknetifaces.sh", "/usr/sbin/sys_netbase", "rmmod", "modprobe", "iwpriv",
          "/etc/init.d/scripts/wscd.rc", "ifconfig", "vconfig", "brctl", "config-vlan.sh",
          "hostname", "iptables-restore", "/etc/init.d/scripts/dnsmasq.rc"})
        box.on(std::string("exit 1 ") + tool);
    EXPECT_TRACE(LAN_BUILT + ADDRESS + NAME + FIREWALL + END, start().trace);
}

TEST_F(netbase, goes_on_when_a_tool_of_its_own_is_missing)
{
    for (const char *tool :
         {"/sbin/vconfig", "/usr/sbin/vconfig", "/sbin/brctl", "/usr/sbin/brctl"})
        box.remove_tool(tool);
    outcome result = start();
    EXPECT_EQ(box.read(NET_STATE), "br0 lan 192.168.0.1 255.255.255.0  - -");
    std::string by_shell = "sh: 1: vconfig: not found\n";
    std::string expected = by_shell + "vconfig: No such file or directory\n"
                                      "vconfig: No such file or directory\n";
    for (int i = 0; i < 6; i++)
        expected += "brctl: No such file or directory\n";
    EXPECT_EQ(result.err, expected);
}

TEST_F(netbase, goes_on_when_every_request_to_the_kernel_fails)
{
    box.on("fail EPERM ioctl");
    outcome result = start();
    std::string err;
    for (const char *name : {"lo", "lo", "ra0", "eth2", "eth2", "vlan2", "vlan1", "vlan1", "br0"})
        err += std::string(name) + ": Operation not permitted\n";
    EXPECT_EQ(result.err.substr(0, err.size()), err) << result.err;
    EXPECT_EQ(box.read(HOSTS), "127.0.0.1 localhost.localdomain localhost192.168.0.1 morvi");
    EXPECT_EQ(box.read(NET_STATE), "br0 lan 192.168.0.1 255.255.255.0  - -");
    EXPECT_NE(result.trace.find("log netbase_start: done\n"), std::string::npos) << result.trace;
    // Of each sequence only the first request is made.
    EXPECT_EQ(support::rests(result.trace, "ioctl "),
              "lo SIOCSIFFLAGS 0x1043 = EPERM, "
              "lo SIOCADDRT 127.0.0.0/255.0.0.0 metric 0 flags 0x1 = EPERM, "
              "ra0 SIOCSIFFLAGS 0x1043 = EPERM, eth2 SIOCSIFFLAGS 0x0 = EPERM, "
              "eth2 SIOCSIFFLAGS 0x1043 = EPERM, vlan2 SIOCSIFFLAGS 0x0 = EPERM, "
              "vlan1 SIOCSIFFLAGS 0x0 = EPERM, vlan1 SIOCSIFFLAGS 0x1043 = EPERM, "
              "br0 SIOCSIFFLAGS 0x1043 = EPERM, br0 SIOCGIFADDR = EPERM");
}

TEST_F(netbase, goes_on_when_its_state_files_cannot_be_created)
{
    box.mkdir(HOSTS);
    box.mkdir(NET_STATE);
    outcome result = start();
    EXPECT_EQ(result.err, "/tmp/hosts.runtime: Is a directory\n"
                          "/var/run/net-state: Is a directory\n");
    EXPECT_TRACE(LAN_BUILT + ADDRESS + NAME + FIREWALL + END, result.trace);
}

// The driver is loaded with the profile of before then, which has its keys.
TEST_F(netbase, keeps_the_wireless_profile_when_the_disk_is_full)
{
    const std::string profile = "/etc/Wireless/RT2860/RT2860.dat";
    box.disk("/etc/Wireless/RT2860", "8k");
    box.write(profile, "WPAPSK1=before\n");
    box.write("/etc/nvram/1", "WPAPSK1=" + std::string(9000, 'p') + "\n");
    outcome result = start();
    EXPECT_EQ(result.err, profile + ": No space left on device\n");
    EXPECT_EQ(box.read(profile), "WPAPSK1=before\n");
    EXPECT_FALSE(box.exists(profile + ".new"));
    EXPECT_TRACE(LAN_BUILT + ADDRESS + NAME + FIREWALL + END, result.trace);
}

TEST_F(netbase, reports_state_files_that_cannot_be_stored)
{
    box.write("/dev/full", "");
    box.bind("/dev/full", "/dev/full");
    box.symlink("/dev/full", HOSTS);
    box.symlink("/dev/full", NET_STATE);
    outcome result = start();
    EXPECT_EQ(result.err, "/tmp/hosts.runtime: No space left on device\n"
                          "/var/run/net-state: No space left on device\n");
    EXPECT_TRACE(LAN_BUILT + ADDRESS + NAME + FIREWALL + END, result.trace);
}

TEST_F(netbase, goes_on_without_a_mac_address)
{
    box.remove("/etc/nvram/0");
    outcome result = start();
    EXPECT_EQ(result.out, "firewall start\nfirewall done\n");
    std::string trace = result.trace;
    EXPECT_NE(trace.find(R"(log mcfg-get_mac: cannot get base MAC addr: Bad address\n
log mcfg-vconfig: lan mac = 
ioctl eth2 SIOCSIFFLAGS 0x0
log mcfg-vconfig: buffer = ifconfig eth2 hw ether 
shell ifconfig eth2 hw ether 
ioctl eth2 SIOCSIFFLAGS 0x1043
)"),
              std::string::npos)
        << trace;
    EXPECT_NE(trace.find(R"(ioctl vlan2 SIOCSIFFLAGS 0x0
log mcfg-get_mac: cannot get base MAC addr: Bad address\n
log mcfg-vconfig: wan mac: 
shell ifconfig vlan2 hw ether 
)"),
              std::string::npos)
        << trace;
}

// An address goes to the shell as digits and colons, whatever stood behind it in NVRAM.
TEST_F(netbase, gives_the_shell_nothing_but_the_mac_address)
{
    box.write("/etc/nvram/0", "ethaddr=\"0:a:eb:11:22:30 ;reboot\"\n");
    EXPECT_TRACE(LAN_BUILT + ADDRESS + NAME + FIREWALL + END, start().trace);
}

TEST_F(netbase, bears_a_document_with_over_long_and_hostile_values)
{
    std::string name = "x;reboot " + std::string(100, 'n');
    config_is_replaced_by(R"({"Network": {"Lan": [{"iface": ")" + name + R"(", "type": "dhcp",)" +
                          R"("mac": ")" + std::string(300, 'm') + R"("}]}})");
    outcome result = start();
    std::string kept = name.substr(0, 47);
    EXPECT_NE(result.trace.find("run udhcpc -i '" + kept + "' -p '/var/run/udhcpc." + kept +
                                ".pid' -s /tmp/udhcpc\n"),
              std::string::npos)
        << result.trace;
    EXPECT_EQ(result.trace.find("run reboot"), std::string::npos);
    EXPECT_EQ(box.read(NET_STATE), kept + " lan    - -");
}

TEST_F(netbase, bears_over_long_and_binary_settings)
{
    std::string junk;
    for (int i = 0; i < 3000; i++)
        junk += static_cast<char>(i * 11);
    lan("br0 lan 1 static " + std::string(200, '1') + " " + std::string(200, '2'));
    box.write("/etc/nvram/0", "ethaddr=" + junk);
    box.write("/etc/nvram/1", junk);
    outcome result = start();
    EXPECT_EQ(result.signal, 0);
    // The line is read in pieces of 254 characters.
    EXPECT_EQ(box.read(NET_STATE), "br0 lan 111111111111111 222222222222222  - -");
    EXPECT_NE(result.trace.find("log netbase_start: done\n"), std::string::npos) << result.trace;
}

TEST_F(netbase, started_twice_only_finds_its_loopback_route_there)
{
    start();
    outcome again = start();
    EXPECT_EQ(again.err, "lo: File exists\n");
}

const std::string STOP = "shell echo 0 > /proc/sys/net/ipv4/ip_forward\n"
                         "ioctl br0 SIOCSIFFLAGS 0x0\n"
                         "ioctl vlan1 SIOCSIFFLAGS 0x0\n"
                         "ioctl vlan2 SIOCSIFFLAGS 0x0\n"
                         "ioctl eth2 SIOCSIFFLAGS 0x0\n"
                         "run vconfig rem vlan2\n"
                         "run vconfig rem vlan1\n"
                         "run brctl delbr br0\n"
                         "shell /etc/init.d/scripts/dnsmasq.rc stop\n";

TEST_F(netbase, stops)
{
    start();
    box.write("/proc/sys/net/ipv4/ip_forward", "1\n");
    ASSERT_EQ(box.read("/proc/sys/net/ipv4/ip_forward"), "1\n");
    outcome result = box.run({"mcfg", "netbase_stop"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
    EXPECT_TRACE(STOP, result.trace);
    EXPECT_EQ(box.read("/proc/sys/net/ipv4/ip_forward"), "0\n");
    std::string up = box.in_network({"ip", "-br", "link", "show", "up"});
    for (const char *name : {"eth2", "vlan1", "vlan2", "br0"})
        EXPECT_EQ(up.find(name), std::string::npos) << up;
    // The state files are left as they are.
    EXPECT_TRUE(box.exists(HOSTS));
    EXPECT_TRUE(box.exists(NET_STATE));
}

TEST_F(netbase, goes_on_stopping_when_everything_fails)
{
    for (const char *tool : {"vconfig", "brctl", "/etc/init.d/scripts/dnsmasq.rc"})
        box.on(std::string("exit 1 ") + tool);
    box.on("fail ENODEV ioctl");
    outcome result = box.run({"mcfg", "netbase_stop"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "br0: No such device\nvlan1: No such device\n"
                          "vlan2: No such device\neth2: No such device\n");
    EXPECT_TRACE(R"(
        shell echo 0 > /proc/sys/net/ipv4/ip_forward
        ioctl br0 SIOCSIFFLAGS 0x0 = ENODEV
        ioctl vlan1 SIOCSIFFLAGS 0x0 = ENODEV
        ioctl vlan2 SIOCSIFFLAGS 0x0 = ENODEV
        ioctl eth2 SIOCSIFFLAGS 0x0 = ENODEV
        run vconfig rem vlan2
        run vconfig rem vlan1
        run brctl delbr br0
        shell /etc/init.d/scripts/dnsmasq.rc stop
    )",
                 result.trace);
}

} // namespace
