#include "config/document.h"

#include "config/json_access.h"
#include "config/known_interfaces.h"
#include "config/params.h"
#include "config/sources.h"
#include "util/json_memory.h"
#include "util/log.h"
#include "util/text.h"

#include <jansson.h>
#include <string.h>

constexpr unsigned LOCK_TRIES = 15;

json_t *load_config_with_lock()
{
    return load_file_with_lock("/var/run", CONFIG_LOCK, LOCK_TRIES);
}

static bool is_dash(const char *text)
{
    return strcmp(text, "-") == 0;
}

static void set_text(json_t *entry, const char *key, const char *text)
{
    json_object_set_new(entry, key, is_dash(text) ? json_null() : json_string(text));
}

static void set_number(json_t *entry, const char *key, const char *text)
{
    json_t *value = is_dash(text) ? json_null() : json_integer(text_to_int(text));
    json_object_set_new(entry, key, value);
}

static json_t *make_entry(const known_interface &known, const iface_params &params)
{
    const char *auto_flag = params.iface + 2 * IFACE_NAME_FIELD;
    json_t *entry = json_object();
    put_text(entry, "iface", params.iface);
    put_text(entry, "name", known.name);
    json_object_set_new(entry, "auto", json_boolean(strcmp(auto_flag, "1") == 0));
    put_text(entry, "type", params.type);
    set_text(entry, "ipaddr", params.ipaddr);
    set_text(entry, "netmask", params.netmask);
    set_text(entry, "gateway", params.gateway);
    set_number(entry, "metric", params.metric);
    set_text(entry, "bcast", params.bcast);
    set_number(entry, "mtu", params.mtu);
    set_text(entry, "mac", params.mac);
    return entry;
}

static json_t *make_default_entry(const known_interface &known)
{
    iface_params params = {};
    text_set(params.iface, known.iface);
    text_set(params.iface + 2 * IFACE_NAME_FIELD, IFACE_NAME_FIELD, "1");
    text_set(params.type, known.type);
    text_set(params.ipaddr, known.ipaddr);
    text_set(params.netmask, known.netmask);
    text_set(params.gateway, "-");
    text_set(params.metric, "-");
    text_set(params.bcast, "-");
    text_set(params.mtu, "-");
    text_set(params.mac, "-");
    return make_entry(known, params);
}

static void add_tunnels(json_t *entry)
{
    json_t *tunnels = json_array();
    bool have_tunnels = get_tunnels(tunnels) == 1;
    json_object_set_new(entry, "have_tunnels", json_boolean(have_tunnels));
    if (have_tunnels)
        json_object_set(entry, "Tunnels", tunnels);
    json_decref(tunnels);
}

static json_t *make_common()
{
    json_t *dns = json_object();
    json_t *wimax = json_object();
    get_dns_params(dns);
    get_wimax_params(wimax);
    json_t *common = json_object();
    json_object_set_new(common, "Dns", dns);
    json_object_set_new(common, "Wimax", wimax);
    return common;
}

static void add_interfaces(json_t *network, bool from_files)
{
    // One record for all: a short line leaves the fields that it does not reach as the line of the
    // interface before has set them.
    iface_params params = {};
    for (const known_interface &known : known_interfaces) {
        json_t *entry;
        bool is_listed = get_iface_params(&params, known.iface) == 1;
        if (is_listed && from_files) {
            entry = make_entry(known, params);
            if (known.has_tunnels)
                add_tunnels(entry);
        } else {
            entry = make_default_entry(known);
            if (known.has_tunnels)
                json_object_set_new(entry, "have_tunnels", json_false());
        }
        json_array_append_new(json_object_get(network, known.list), entry);
    }
}

json_t *make_config(unsigned from_files, const char *progress_tag)
{
    json_t *network = json_object();
    json_object_set_new(network, "Common", make_common());
    json_object_set_new(network, "Lan", json_array());
    json_object_set_new(network, "Wan", json_array());
    if (progress_tag != nullptr)
        logmessage(progress_tag, "WAN_IFNAME = %s", "vlan2");
    add_interfaces(network, from_files != 0);
    // Last, as a member that cannot be set is gone.
    json_t *root = json_object();
    json_object_set_new(root, "Network", network);
    return root;
}

void set_config(unsigned from_files)
{
    static constexpr char tag[] = "mcfg-set_config";
    logmessage(tag, "start");
    watch_json_memory();
    json_t *root = make_config(from_files, tag);
    write_document(tag, root, CONFIG_PATH);
    json_decref(root);
    logmessage(tag, "stop");
}
