#include "firewall/tables.h"

#include "firewall/nat_lists.h"
#include "firewall/rule_table.h"
#include "firewall/switches.h"
#include "util/ip_query.h"

static int vservers(FILE *file, const rule_values &)
{
    return get_vservers_rules(file);
}

static int masquerading(FILE *file, const rule_values &)
{
    return get_masquerading(file);
}

static int port_triggers(FILE *file, const rule_values &values)
{
    return porttrigger_setting_morvi(file, values.lan_if);
}

// clang-format off
constexpr rule_row nat_rows[] = {
    {ALWAYS, "*nat\n"
             ":PREROUTING ACCEPT [0:0]\n"
             ":POSTROUTING ACCEPT [0:0]\n"
             ":OUTPUT ACCEPT [0:0]\n"
             ":MINIUPNPD - [0:0]\n"
             ":VSERVER - [0:0]\n"},

    {&fw.upnp, "-A PREROUTING -i {wan} -j MINIUPNPD\n"
               "-A MINIUPNPD -j RETURN\n"},

    {&fw.vservers, nullptr, vservers},

    // A LAN host that reaches another one by the router's public address: the answer must come back
    // through the router, or its sender would not be the one that was asked.
    {&fw.nat, "-A POSTROUTING -o {lan} -s {lan_network} -d {lan_network} -j SNAT --to-source {lan_ip}\n"},
    {&fw.nat, nullptr, masquerading},

    {ALWAYS, nullptr, port_triggers},
    {ALWAYS, "COMMIT\n"},
};
// clang-format on

void nat_setting_morvi(const char *lan_if, const char *lan_ip, const char *lan_netmask,
                       const char *wan_if)
{
    char network[NETWORK_TEXT_MAX];
    ip2class(lan_ip, lan_netmask, network);
    if (write_rule_file(NAT_RULES, nat_rows, {lan_if, lan_ip, network, wan_if}) == 0)
        load_rule_file(NAT_RULES);
}
