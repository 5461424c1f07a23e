#include "firewall/tables.h"

#include "firewall/filter_lists.h"
#include "firewall/rule_table.h"
#include "firewall/switches.h"
#include "util/process.h"

static int mac_filters(FILE *file, const rule_values &values)
{
    return get_mac_filters(file, values.lan_if, values.accept_target, values.drop_target);
}

static int user_rules(FILE *file, const rule_values &values)
{
    return get_user_rules(file, values.accept_target, values.drop_target);
}

static int url_filters(FILE *file, const rule_values &values)
{
    return get_url_filters(file, values.accept_target, values.drop_target);
}

static int router_access(FILE *file, const rule_values &)
{
    return get_haccess_rules(file);
}

// clang-format off
constexpr rule_row filter_rows[] = {
    {ALWAYS, "*filter\n"
             ":INPUT ACCEPT [0:0]\n"
             ":FORWARD ACCEPT [0:0]\n"
             ":OUTPUT ACCEPT [0:0]\n"
             ":MINIUPNPD - [0:0]\n"
             ":H_ACCESS - [0:0]\n"
             ":MACS - [0:0]\n"
             ":SECURITY - [0:0]\n"
             ":BRUTE - [0:0]\n"
             ":logaccept - [0:0]\n"
             ":logdrop - [0:0]\n"},

    {&fw.mac_mode, nullptr, mac_filters},

    {ALWAYS, "-A SECURITY -p tcp --syn -m limit --limit 1/s -j RETURN\n"
             "-A SECURITY -p tcp --tcp-flags SYN,ACK,FIN,RST RST -m limit --limit 1/s -j RETURN\n"
             "-A SECURITY -p udp -m limit --limit 5/s -j RETURN\n"
             "-A SECURITY -p icmp -m limit --limit 5/s -j RETURN\n"
             "-A SECURITY -j {drop}\n"},

    {ALWAYS, nullptr, user_rules},

    // To the router itself. With the firewall off, INPUT ends here and its policy accepts.
    {ALWAYS, "-A INPUT -m state --state INVALID -j {drop}\n"
             "-A INPUT -m state --state ESTABLISHED,RELATED -j ACCEPT\n"},
    {&fw.igmp, "-A INPUT -d 224.0.0.0/240.0.0.0 -i {wan} -j ACCEPT\n"
               "-A INPUT -s 224.0.0.0/240.0.0.0 -i {wan} -j ACCEPT\n"},
    {ALWAYS, "-A INPUT -i lo -m state --state NEW -j {accept}\n"
             "-A INPUT -i {lan} -m state --state NEW -j {accept}\n"},
    {&fw.igmp, "-A FORWARD -d 224.0.0.0/240.0.0.0 -j ACCEPT\n"
               "-A FORWARD -s 224.0.0.0/240.0.0.0 -j ACCEPT\n"},
    // The UPnP daemon inserts its rules ahead of the RETURN.
    {&fw.upnp, "-A FORWARD -i {wan} -o ! {wan} -j MINIUPNPD\n"
               "-A MINIUPNPD -j RETURN\n"},
    {&fw.dos, "-A INPUT ! -i {lan} -m state --state NEW -j SECURITY\n"},
    {&fw.firewall, "-A INPUT -p icmp -j {accept}\n", nullptr, &fw.wan_ping},
    {&fw.firewall, "-A INPUT ! -i {lan} -m state --state NEW -j H_ACCESS\n"
                   "-A INPUT -j {drop}\n"},

    // Through the router. What leaves to the WAN needs no rule: only the way into the LAN is closed
    // at the end, and the policy accepts.
    {ALWAYS, "-A FORWARD -i {lan} -o {lan} -j {accept}\n"
             "-A FORWARD -m state --state INVALID -j {drop}\n"},
    {&fw.igmp, "-A FORWARD -p udp -d 224.0.0.0/4 -j ACCEPT\n"},
    {ALWAYS, "-A FORWARD -p tcp --syn -j TCPMSS --clamp-mss-to-pmtu\n"
             "-A FORWARD -m state --state ESTABLISHED,RELATED -j ACCEPT\n"},
    {&fw.dos, "-A FORWARD ! -i {lan} -m state --state NEW -j SECURITY\n"},
    // What a port forward or a port trigger has let in.
    {ALWAYS, "-A FORWARD -m conntrack --ctstate DNAT -j {accept}\n"},
    {&fw.url_filter, nullptr, url_filters},
    {ALWAYS, "-A FORWARD -o {lan} -j DROP\n"},

    {ALWAYS, nullptr, router_access},

    {ALWAYS, "-A logaccept -m state --state NEW -j LOG --log-prefix \"ACCEPT \" --log-tcp-sequence --log-tcp-options --log-ip-options\n"
             "-A logaccept -j ACCEPT\n"
             "-A logdrop -m state --state NEW -j LOG --log-prefix \"DROP \" --log-tcp-sequence --log-tcp-options --log-ip-options\n"
             "-A logdrop -j DROP\n"
             "COMMIT\n"},
};
// clang-format on

int filter_setting_morvi(const char *lan_if, const char *lan_ip, const char *wan_if,
                         const char *accept_target, const char *drop_target)
{
    const rule_values values = {lan_if, lan_ip, "", wan_if, accept_target, drop_target};
    if (write_rule_file(FILTER_RULES, filter_rows, values) != 0)
        return -1;
    run_tool("iptables-restore", FILTER_RULES);
    return 0;
}
