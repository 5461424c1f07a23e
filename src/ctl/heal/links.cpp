#include "ctl/heal/links.h"

#include "config/json_access.h"
#include "util/json_memory.h"
#include "util/link_state.h"
#include "wan/link_kind.h"
#include "wan/ppp_link.h"
#include "wan/wan_link.h"

#include <string.h>

// What links that carry IP themselves are called; all others are PPP's.
static bool is_ip_link(const json_t *record)
{
    const char *type = text_or_empty(json_object_get(record, "type"));
    return strcmp(type, "dhcp") == 0 || strcmp(type, "static") == 0;
}

void undo_recorded_link(const char *iface, const json_t *record)
{
    if (is_ip_link(record))
        wan_down(iface);
    else
        wan_ppp_down(iface);
}

static void set_text(json_t *object, const char *key, const char *text)
{
    json_object_set_new(object, key, text[0] != '\0' ? json_string(text) : json_null());
}

static void set_address(json_t *object, const char *key, in_addr_t address_be)
{
    char address[IPV4_TEXT_MAX] = "";
    if (address_be != 0)
        format_address(address, address_be);
    set_text(object, key, address);
}

// The part of a tunnel's name by which its link is recorded.
static void set_tunnel_name(json_t *object, const json_t *tunnel)
{
    char name[48] = "";
    get_string_from_json_by_name(tunnel, "name", name);
    name[strcspn(name, "-")] = '\0';
    set_text(object, "name", name);
}

static in_addr_t gateway_of(const look &at, const link_status &link, const iface_view &iface)
{
    if (link.what == subject::tunnel)
        return iface.peer_be[0];
    const route_view *route = find_default_route(at.kernel, link.iface, 0);
    return route != nullptr ? route->gateway_be : 0;
}

// In the order of the link's own event.
static void set_who(json_t *record, const link_status &link)
{
    bool is_tunnel = link.what == subject::tunnel;
    const link_kind *kind = get_link_kind(link.iface);
    set_text(record, "iface", link.iface);
    if (is_tunnel) {
        set_text(record, "type", link.type);
        set_tunnel_name(record, link.entry);
    } else {
        set_text(record, "name", kind->name);
        set_text(record, "type", link.type);
    }
    set_text(record, "proto", is_tunnel ? "" : kind->proto);
    if (strcmp(link.type, "dhcp") == 0)
        json_object_set_new(record, "metric", json_integer(kind->dhcp_metric));
    else
        json_object_set(record, "metric", json_object_get(link.entry, "metric"));
}

void save_found_link(const look &at, const link_status &link)
{
    const iface_view *iface = find_iface(at.kernel, link.iface);
    watch_json_memory();
    json_t *record = json_object();
    set_who(record, link);
    set_address(record, "ipaddr", iface->address_be[0]);
    set_address(record, "netmask", iface->netmask_be[0]);
    set_address(record, "gateway", gateway_of(at, link, *iface));
    json_object_set_new(record, "dns1", json_null());
    json_object_set_new(record, "dns2", json_null());
    save_link_state_ex(record);
    json_decref(record);
}

// A lease without a metric has this one, as when it came (wan/wan_link.h).
constexpr int NULL_DHCP_METRIC = 300;

wanted_route route_of(const link_status &link)
{
    bool is_static = strcmp(link.type, "static") == 0;
    const json_t *from = is_static ? link.entry : link.record;
    int metric = strcmp(link.type, "dhcp") == 0 ? NULL_DHCP_METRIC : 0;
    get_link_metric(from, &metric);
    if (link.what == subject::tunnel)
        return {metric, ""};
    return {metric, text_or_empty(json_object_get(from, "gateway"))};
}
