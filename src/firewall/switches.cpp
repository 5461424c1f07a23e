#include "firewall/switches.h"

#include "config/settings_file.h"
#include "util/text.h"

#include <string.h>
#include <strings.h>

firewall_switches fw;

constexpr char IP_FILTER[] = "/etc/default/ip_filter";
constexpr char IGMP[] = "/etc/default/igmp";
constexpr char UPNP[] = "/etc/default/upnp";

// The order of reading.
constexpr const char *switch_files[] = {IP_FILTER, IGMP, UPNP};

// What a value, in any case, sets its switch to. A value that is not in the list changes nothing.
struct switch_value {
    const char *text; // null after the last one
    int value;
};

constexpr switch_value off_values[] = {
    {"0", 0},
    {"NO", 0},
    {nullptr, 0},
};

constexpr switch_value mac_values[] = {
    {"0", MAC_OFF},  {"disabled", MAC_OFF}, {"1", MAC_ALLOW}, {"allow", MAC_ALLOW},
    {"2", MAC_DENY}, {"deny", MAC_DENY},    {nullptr, 0},
};

struct switch_key {
    const char *file;
    const char *key;
    size_t compared; // only so many leading characters tell the key
    int *target;
    const switch_value *values;
};

// The first key that matches is the one. Two are told by less than their whole text, so that the
// likes of FIREWALL_ENABLED and VSERVERS_EN count as well. Port forwards have no switch of their
// own: VSERVERS_ENABLE stands for address translation as a whole.
constexpr switch_key switch_keys[] = {
    {IP_FILTER, "FIREWALL_ENABLE", 10, &fw.firewall, off_values},
    {IP_FILTER, "NAT_ENABLE", 10, &fw.nat, off_values},
    {IP_FILTER, "VSERVERS_ENABLE", 10, &fw.nat, off_values},
    {IP_FILTER, "DDOS_ENABLE", 11, &fw.dos, off_values},
    {IP_FILTER, "WAN_PING_ENABLE", 15, &fw.wan_ping, off_values},
    {IP_FILTER, "TRIGGER_PORTS_ENABLE", 20, &fw.trigger_ports, off_values},
    {IP_FILTER, "MAC_FILTER_ENABLE", 17, &fw.mac_mode, mac_values},
    {IP_FILTER, "URL_FILTER_ENABLE", 17, &fw.url_filter, off_values},
    {IGMP, "IGMP_ENABLE", 11, &fw.igmp, off_values},
    {UPNP, "UPNP_ENABLE", 11, &fw.upnp, off_values},
};

static void set_switch(const switch_key &row, const char *value)
{
    for (const switch_value *known = row.values; known->text != nullptr; known++) {
        if (strcasecmp(value, known->text) == 0) {
            *row.target = known->value;
            return;
        }
    }
}

static void apply_line(const char *path, char *line)
{
    char *equals = strchr(line, '=');
    if (equals == nullptr)
        return;
    *equals = '\0';
    char *rest = nullptr;
    char *value = strtok_r(equals + 1, "= ", &rest);
    if (value == nullptr)
        return;
    trim_r(value);
    for (const switch_key &row : switch_keys) {
        if (strcmp(row.file, path) == 0 && strncmp(line, row.key, row.compared) == 0) {
            set_switch(row, value);
            return;
        }
    }
}

// Lines that are skipped as comments could not match a key anyway.
static int read_switches(const char *path)
{
    FILE *file = open_settings(path);
    if (file == nullptr)
        return -1;
    char line[SETTINGS_LINE_MAX];
    while (next_settings_line(file, line))
        apply_line(path, line);
    fclose(file);
    return 0;
}

int get_global_firewall_config()
{
    fw = {};
    for (const char *path : switch_files) {
        if (read_switches(path) != 0)
            return -1;
    }
    return 0;
}
