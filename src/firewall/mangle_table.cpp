#include "firewall/tables.h"

#include "firewall/rule_table.h"
#include "firewall/switches.h"

constexpr rule_row mangle_rows[] = {
    {ALWAYS, "*mangle\n"
             ":PREROUTING ACCEPT [0:0]\n"
             ":POSTROUTING ACCEPT [0:0]\n"
             ":OUTPUT ACCEPT [0:0]\n"
             ":INPUT ACCEPT [0:0]\n"
             ":FORWARD ACCEPT [0:0]\n"},

    // Multicast often comes with a TTL of 1, which the hop through the router would use up.
    {&fw.igmp, "-A PREROUTING -d 224.0.0.0/240.0.0.0 -p udp -j TTL --ttl-inc 1\n"
               "-A PREROUTING -s 224.0.0.0/240.0.0.0 -p udp -j TTL --ttl-inc 1\n"},
    {ALWAYS, "COMMIT\n"},
};

int mangle_setting_morvi(const char *, const char *, const char *, const char *)
{
    if (write_rule_file(MANGLE_RULES, mangle_rows, {}) != 0)
        return 0;
    return load_rule_file(MANGLE_RULES);
}
