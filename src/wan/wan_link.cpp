#include "wan/wan_link.h"

#include "config/document.h"
#include "config/json_access.h"
#include "lan/interface.h"
#include "lan/route.h"
#include "util/link_state.h"
#include "util/lock.h"
#include "util/log.h"
#include "util/shell.h"
#include "util/text.h"
#include "wan/default_route.h"
#include "wan/leds.h"

#include <stddef.h>
#include <string.h>

constexpr char UP_TAG[] = "mcfg-wan_up";
constexpr int NULL_DHCP_METRIC = 300;
constexpr size_t GATEWAY_TEXT_MAX = 32;

static void log_route(int metric, const char *gateway)
{
    logmessage(UP_TAG, "metric = %d, gateway = %s", metric, gateway);
}

// A number beyond an int is cut to its low bits, and what is no number counts as 0.
static int metric_of(const json_t *value)
{
    return static_cast<int>(json_integer_value(value));
}

static void set_static_route(const char *iface, const json_t *entry, const json_t *)
{
    char gateway[GATEWAY_TEXT_MAX] = "";
    if (get_string_from_json_by_name(entry, "gateway", gateway) != 1)
        return;
    int metric = metric_of(json_object_get(entry, "metric"));
    route_add(iface, 0, gateway, nullptr, "255.255.255.255");
    add_default_route(iface, metric, gateway);
    log_route(metric, gateway);
}

static void set_dhcp_route(const char *iface, const json_t *, const json_t *link)
{
    char gateway[GATEWAY_TEXT_MAX] = "";
    if (get_string_from_json_by_name(link, "gateway", gateway) != 1) {
        log_route(0, gateway);
        return;
    }
    const json_t *member = json_object_get(link, "metric");
    int metric = json_is_null(member) ? NULL_DHCP_METRIC : metric_of(member);
    del_default_route(iface, metric, gateway);
    add_default_route(iface, metric, gateway);
    log_route(metric, gateway);
}

struct link_type {
    const char *type;
    void (*set_route)(const char *iface, const json_t *entry, const json_t *link);
};

constexpr link_type link_types[] = {
    {"static", set_static_route},
    {"dhcp", set_dhcp_route},
};

static void set_routes(const char *iface, const json_t *entry, const json_t *link)
{
    char type[sizeof(iface_params::type)] = "";
    get_string_from_json_by_name(entry, "type", type);
    logmessage(UP_TAG, "iface = %s, type = %s\n", iface, type);
    for (const link_type &row : link_types) {
        if (strcmp(row.type, type) == 0)
            row.set_route(iface, entry, link);
    }
}

// Insert (-I) or delete (-D) the jump of the traffic for the link's address into the chain of port
// forwardings, by a line for the shell. (PPP links hand over words: ppp_link.cpp.) A link that came
// up without an address has none.
static void change_jump_by_shell(const char *operation, const char *iface, const json_t *link)
{
    const char *ipaddr = json_string_value(json_object_get(link, "ipaddr"));
    if (ipaddr == nullptr)
        return;
    char quoted_iface[SHELL_LINE_MAX];
    char quoted_ipaddr[SHELL_LINE_MAX];
    shell_format("iptables -t nat %s PREROUTING -i %s -d %s -j VSERVER", operation,
                 shell_quote(quoted_iface, iface), shell_quote(quoted_ipaddr, ipaddr));
}

// Borrowed from the document, which lives until the process ends.
static const json_t *find_wan_entry(const json_t *config, const char *iface)
{
    json_t *wan = json_object_get(json_object_get(config, "Network"), "Wan");
    unsigned index = 0;
    return find_object_from_array_by_param(wan, "iface", iface, &index);
}

int wan_up(const char *iface, json_t *link)
{
    logmessage(UP_TAG, "start\n");
    const json_t *config = load_config_with_lock();
    if (config == nullptr) {
        logmessage(UP_TAG, "Error on load file");
        return -1;
    }
    const json_t *entry = find_wan_entry(config, iface);
    if (entry == nullptr)
        return -1;
    set_routes(iface, entry, link);
    leds_connected();
    change_jump_by_shell("-I", iface, link);
    save_link_state_ex(link);
    logmessage(UP_TAG, "stop\n");
    return 0;
}

static void clear_interface(const char *iface, const json_t *record)
{
    change_jump_by_shell("-D", iface, record);
    ifconfig(iface, IFACE_DOWN, "0.0.0.0", nullptr);
}

bool wan_down(const char *iface)
{
    static constexpr char tag[] = "mcfg-wan_down";
    bool was_recorded = false;
    logmessage(tag, "start");
    if (set_lock_on_file(LINK_STATE_LOCK, LINK_STATE_TRIES) == 1) {
        was_recorded = forget_link_state(tag, iface, clear_interface);
        clear_lock_on_file(LINK_STATE_LOCK, LINK_STATE_TRIES);
    }
    logmessage(tag, "stop");
    return was_recorded;
}
