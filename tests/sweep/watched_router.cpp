#include "sweep/watched_router.h"

#include "support/texts.h"

#include <sstream>

namespace sweep
{

using support::router_box;

static constexpr char CONFIG[] = "/var/run/Config";
static constexpr char STORE[] = "/var/run/state_link";

static constexpr char RULES[] = "-A VSERVER -p tcp -m tcp --dport 8080 -j DNAT --to-destination "
                                "192.168.1.20:80\\n-A POSTROUTING -o vlan2 -j MASQUERADE\\n";
static constexpr char JUMP[] = "-A PREROUTING -d 192.0.2.77/32 -i vlan2 -j VSERVER\\n";

#define WAN_RECORD                                                                                 \
    R"({"iface":"vlan2","name":"wan","type":"dhcp","proto":"ether","metric":101,)"                 \
    R"("ipaddr":"192.0.2.77","netmask":"255.255.255.0","gateway":"192.0.2.1",)"                    \
    R"("dns1":null,"dns2":null})"

// One tunnel will do: each costs hundreds of calls.
static void write_settings(router_box &box)
{
    box.copy_in(support::example_path("router"), "/");
    box.write("/etc/default/ppp-peers", "wan1 pppoe 1 home secret vlan2 ac1 isp 1\n");
}

// What set_config makes of the settings: the box's own program is another one.
static std::string config_of_settings()
{
    router_box other;
    write_settings(other);
    other.run({"mcfg", "set_config"});
    return other.read(CONFIG);
}

static void ip(router_box &box, const std::string &words)
{
    std::vector<std::string> command = {"ip"};
    std::istringstream stream(words);
    for (std::string word; stream >> word;)
        command.push_back(word);
    box.in_network(command);
}

// No bridge, whose carrier would come a second later.
static void connect(router_box &box, const std::string &iface, const std::string &address)
{
    ip(box, "link add " + iface + " type veth peer name " + iface + "p");
    ip(box, "link set " + iface + "p up");
    ip(box, "link set " + iface + " up");
    ip(box, "address add " + address + " dev " + iface);
}

// The tables do not change, whatever the tools are told.
static void play_tools(router_box &box)
{
    box.on(std::string("print '") + RULES + JUMP + "' iptables -t nat -S");
    box.tool("/sbin/firewall_update");
    box.tool("/sbin/mctl");
    box.on("print 'firewall done\\n' firewall_update");
    std::string rules = RULES;
    for (size_t at; (at = rules.find("\\n")) != std::string::npos;)
        rules.replace(at, 2, "\n");
    box.write("/tmp/nat_rules", "*nat\n" + rules + "COMMIT\n");
    for (const char *path : {"/tmp/filter_rules", "/tmp/mangle_rules"})
        box.write(path, "COMMIT\n");
}

void furnish_watched(router_box &box)
{
    write_settings(box);
    connect(box, "br0", "192.168.1.1/24");
    for (const char *port : {"vlan1", "ra0"})
        box.write(std::string("/sys/class/net/br0/brif/") + port, "");
    connect(box, "vlan2", "192.0.2.77/24");
    ip(box, "route add default via 192.0.2.1 dev vlan2 metric 101");
    std::string client = std::to_string(box.bystander(false, "udhcpc"));
    box.on("skip kill " + client + " SIG"); // of no longer number
    box.write("/var/run/udhcpc.vlan2.pid", client + "\n");
    play_tools(box);
    box.write(STORE, R"({"state_links":[)" WAN_RECORD "]}");
    box.write("/var/log/messages", "a line\n");
    box.write(CONFIG, config_of_settings());
}

void renew_settings(router_box &box)
{
    write_settings(box);
}

void add_secrets(router_box &box)
{
    box.write("/etc/default/ppp-peers", "wan1 pppoe 1 canary-login canary-password vlan2 ac1 isp "
                                        "1\nwork l2tp 1 canary\xe9 canary2 198.51.100.10 3\n");
    box.write("/etc/nvram/0", "ethaddr=00:0A:EB:11:22:30\npin=canary-pin\nno equals canary-line\n");
    box.write("/etc/nvram/1", "SSID1=home\nWPAPSK1=canary-psk\nKey1Str1=canary-wep\n");
    box.write("/etc/default/dns.conf", "canary\\xe9\n");
    box.write(STORE, R"({"state_links":[)" WAN_RECORD R"(,{"iface":"ppp1","passwd":"canary4"}]})");
    box.write(CONFIG, R"({"Network":{"Lan":[],"Wan":[{"iface":"vlan2","type":"pppoe",)"
                      R"("have_tunnels":true,"Tunnels":[{"name":"wan1","type":"pppoe",)"
                      R"("auto":true,"login":"canary-config","passwd":"canary\"word"}]}]}})");
    box.write("/var/log/messages",
              "canary-login, canary-password, canary-pin, canary-psk, "
              "canary-wep, canary\\xe9, canary2, canary-config, canary\"word\n");
}

void spoil_settings(router_box &box)
{
    box.write("/etc/default/vservers", "web tcp 8080 80 192.168.1.20 - - - -\n"
                                       "web tcp 8080 80 192.168.1.21 - - - -\n"
                                       "ssh tcp 2222 22 192.168.1.256 - - - -\n");
    box.write("/etc/default/rules", "DROP x - 203.0.113.999 - - - - -\nnonsense\n");
    box.write("/etc/default/ppp-peers", "wan1 pppoe 1 a b vlan2 ac1 isp 1\n"
                                        "wan1 pppoe 1 c d vlan2 ac1 isp 1\nx l3tp 1 e f\n");
    box.write("/etc/default/network-interfaces", "br0 lan 1 static 192.168.1.300 255.0.255.0 - - - "
                                                 "- -\nvlan2 wan 1 dhcp - - - - - 9 -\n");
    box.write("/etc/nvram/1", "Channel=6\nChannel=seven\nSSID1=a\nSSID1=b\n");
    box.write("/etc/TZ", "nowhere\n");
}

void leave_lock_and_record(router_box &box)
{
    box.write("/var/lock/Config.lock", "999999");
    box.write(STORE, R"({"state_links":[)" WAN_RECORD
                     R"(,{"iface":"vlan9","name":"other","type":"static",)"
                     R"("ipaddr":"198.51.100.9","metric":5}]})");
}

void lose_client(router_box &box)
{
    leave_lock_and_record(box);
    box.remove("/var/run/udhcpc.vlan2.pid");
}

} // namespace sweep
