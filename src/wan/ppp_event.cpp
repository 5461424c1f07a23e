#include "wan/ppp_event.h"

#include "config/document.h"
#include "config/json_access.h"
#include "util/json_memory.h"
#include "util/log.h"
#include "util/shell.h"
#include "util/text.h"
#include "wan/event_env.h"
#include "wan/ppp_link.h"

#include <jansson.h>
#include <stdlib.h>
#include <string.h>

constexpr char UP_TAG[] = "ppp-up";
constexpr int MODEM_METRIC = 10;

static void take_part(text_piece part, const char *key, char *kept, size_t cap, json_t *object)
{
    text_set(kept, cap, part);
    trim_r(kept);
    json_object_set_new(object, key, piece_or_null(part));
}

// Runs of "-" separate once, so a link name such as "-wan1" has a type and no name.
static void take_link_name(const char *link_name, ppp_link *link, json_t *object)
{
    text_piece rest = {link_name, strlen(link_name)};
    text_piece part;
    bool has_type = next_piece(&rest, "-", &part);
    take_part(part, "type", link->type, sizeof(link->type), object);
    if (has_type) {
        next_piece(&rest, "-", &part);
        take_part(part, "name", link->name, sizeof(link->name), object);
    }
    logmessage(UP_TAG, "iface = %s, type = %s, name = %s", link->iface, link->type, link->name);
}

static const json_t *find_tunnel(json_t *config, const char *name)
{
    // Where there is no first WAN entry, this is the object that should have held it.
    json_t *tunnels = get_object_by_path(config, "Network/Wan:0/Tunnels");
    unsigned index = 0;
    const json_t *tunnel = find_object_from_array_by_param(tunnels, "name", name, &index);
    if (tunnel != nullptr) {
        logmessage(UP_TAG, "we got tunnels array");
        logmessage(UP_TAG, "we find tunnel");
    }
    return tunnel;
}

// null while the tunnel is not known; a tunnel without a metric leaves the link without the member.
static void set_tunnel_metric(json_t *object, const char *name)
{
    json_t *config = load_config_with_lock();
    json_object_set_new(object, "metric", json_null());
    if (config == nullptr)
        return;
    const json_t *tunnel = find_tunnel(config, name);
    if (tunnel != nullptr) {
        json_object_del(object, "metric");
        json_object_set(object, "metric", json_object_get(tunnel, "metric"));
    }
    json_decref(config);
}

static void take_metric(const ppp_link *link, json_t *object)
{
    if (strcmp(link->type, "3g") == 0)
        json_object_set_new(object, "metric", json_integer(MODEM_METRIC));
    else
        set_tunnel_metric(object, link->name);

    int metric = 0;
    if (get_link_metric(object, &metric))
        logmessage(UP_TAG, "metric = %d", metric);
    else
        logmessage(UP_TAG, "metric is shit!!!!!");
}

static void take_netmask(ppp_link *link, json_t *object)
{
    text_set(link->netmask, "255.255.255.255");
    logmessage(UP_TAG, "netmask = %s", link->netmask);
    put_text(object, "netmask", link->netmask);
}

static void take_link(ppp_link *link, json_t *object)
{
    take_variable(UP_TAG, "IFNAME", "iface", link->iface, object);
    const char *link_name = getenv("LINKNAME");
    if (link_name != nullptr)
        take_link_name(link_name, link, object);
    json_object_set_new(object, "proto", json_null());
    take_metric(link, object);
    take_variable(UP_TAG, "IPLOCAL", "ipaddr", link->ipaddr, object);
    take_netmask(link, object);
    take_variable(UP_TAG, "IPREMOTE", "gateway", link->gateway, object);
    take_variable(UP_TAG, "DNS1", "dns1", link->dns1, object);
    take_variable(UP_TAG, "DNS2", "dns2", link->dns2, object);
}

int ipup_main(int argc, char **argv)
{
    logmessage(UP_TAG, "start");
    shell("export -p > /tmp/ppp-up-env");
    logmessage(UP_TAG, "argc = %d", argc);
    for (int i = 0; i < argc; i++)
        logmessage(UP_TAG, "argv[%d] = %s", i, argv[i]);

    ppp_link link = {};
    watch_json_memory();
    json_t *object = json_object();
    take_link(&link, object);
    int error = create_link_markers(&link);
    if (error == 0) {
        wan_ppp_up(&link, object);
        logmessage(UP_TAG, "done");
    }
    json_decref(object);
    return error;
}

int ipdown_main(int argc, char **)
{
    static constexpr char tag[] = "ppp-down";
    ppp_link link = {};
    logmessage(tag, "begin");
    shell("export -p > /tmp/ppp-down-env");
    logmessage(tag, "argc = %d", argc);
    take_variable(tag, "IFNAME", "iface", link.iface, nullptr);
    wan_ppp_down(link.iface);
    logmessage(tag, "done");
    return 0;
}
