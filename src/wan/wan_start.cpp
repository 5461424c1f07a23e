#include "wan/wan_start.h"

#include "config/document.h"
#include "config/json_access.h"
#include "config/params.h"
#include "lan/dhcp_client.h"
#include "lan/interface.h"
#include "util/json_memory.h"
#include "util/link_state.h"
#include "util/log.h"
#include "util/process.h"
#include "util/shell.h"
#include "wan/link_kind.h"
#include "wan/tunnels.h"
#include "wan/wan_link.h"

#include <jansson.h>
#include <limits.h>
#include <signal.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

constexpr char START_TAG[] = "mcfg-start_wan_morvi";
constexpr char ENTRY_TAG[] = "mcfg-start_wan";
constexpr char STOP_TAG[] = "mcfg-stop_wan_morvi";
constexpr char WIMAX_IFACE[] = "wimax0";

// The names under which the daemons call this program.
constexpr const char *event_symlinks[] = {"/tmp/ppp/ip-up", "/tmp/ppp/ip-down", DHCP_SCRIPT};

static void make_event_symlinks()
{
    // What is there from an earlier start stays as it is.
    mkdir("/tmp/ppp", 0777);
    for (const char *path : event_symlinks) {
        [[maybe_unused]] int result = symlink("/sbin/mcfg", path);
    }
}

static json_t *load_config(const char *tag)
{
    json_t *root = load_document(CONFIG_PATH);
    if (root == nullptr)
        logmessage(tag, "Error on load file");
    return root;
}

// The array of WAN entries, or null when the document has none.
static const json_t *get_wan_array(const json_t *root)
{
    const json_t *wan_array = json_object_get(json_object_get(root, "Network"), "Wan");
    return json_is_array(wan_array) ? wan_array : nullptr;
}

// The positions that index stands for, the last one included. left_out entries at the end of the
// array do not belong to "all".
struct positions {
    int first;
    int last;
};

static positions choose(int index, size_t size, int left_out)
{
    if (index == 0)
        return {0, static_cast<int>(size) - 1 - left_out};
    int position = index > INT_MIN ? index - 1 : index;
    return {position, position};
}

static const json_t *get_entry(const json_t *wan_array, int position)
{
    return position < 0 ? nullptr : json_array_get(wan_array, static_cast<size_t>(position));
}

// The member, or null when it is missing or a JSON null.
static const json_t *get_given(const json_t *entry, const char *key)
{
    const json_t *member = json_object_get(entry, key);
    return json_is_null(member) ? nullptr : member;
}

// What is no number counts as 0 here, and what is no text as empty below.
static void set_mtu(const char *iface, const json_t *mtu)
{
    char quoted_iface[SHELL_LINE_MAX];
    ifconfig(iface, IFACE_DOWN, nullptr, nullptr);
    shell_format("ifconfig %s 0.0.0.0 mtu %d", shell_quote(quoted_iface, iface),
                 static_cast<int>(json_integer_value(mtu)));
}

static void set_mac(const char *iface, const json_t *mac)
{
    char quoted_iface[SHELL_LINE_MAX];
    char quoted_mac[SHELL_LINE_MAX];
    const char *text = text_or_empty(mac);
    ifconfig(iface, IFACE_DOWN, nullptr, nullptr);
    shell_format("ifconfig %s hw ether %s", shell_quote(quoted_iface, iface),
                 shell_quote(quoted_mac, text));
}

static void start_dhcp(const iface_params &params, const json_t *)
{
    char pidfile[DHCP_PIDFILE_MAX];
    format_dhcp_pidfile(pidfile, params.iface);
    logmessage(START_TAG, "Start dhcp wan");
    run_tool("udhcpc", "-RSb", "-A", "30", "-i", params.iface, "-p", pidfile, "-s", DHCP_SCRIPT);
}

// A member that the entry lacks is left out of the link as well.
constexpr const char *address_members[] = {"metric", "ipaddr", "netmask", "gateway"};

static json_t *make_static_record(const link_kind &kind, const json_t *entry)
{
    watch_json_memory();
    json_t *link = json_object();
    json_object_set(link, "iface", json_object_get(entry, "iface"));
    put_text(link, "name", kind.name);
    put_text(link, "type", "static");
    put_text(link, "proto", kind.proto);
    for (const char *key : address_members)
        json_object_set(link, key, json_object_get(entry, key));
    json_object_set_new(link, "dns1", json_null());
    json_object_set_new(link, "dns2", json_null());
    return link;
}

static void start_static(const iface_params &params, const json_t *entry)
{
    ifconfig(params.iface, IFACE_UP, params.ipaddr, params.netmask);
    json_t *link = make_static_record(*get_link_kind(params.iface), entry);
    wan_up(params.iface, link);
    json_decref(link);
}

static void start_carrier(const iface_params &params, const json_t *)
{
    ifconfig(params.iface, IFACE_UP, nullptr, nullptr);
}

struct wan_type {
    const char *name;
    void (*start)(const iface_params &params, const json_t *entry);
};

constexpr wan_type wan_types[] = {
    {"dhcp", start_dhcp},
    {"static", start_static},
    {"pppoe", start_carrier},
};

static void start_by_type(const iface_params &params, const json_t *entry)
{
    for (const wan_type &type : wan_types) {
        if (strcmp(type.name, params.type) == 0)
            type.start(params, entry);
    }
}

static bool is_wimax_missing(const char *iface)
{
    return strcmp(iface, WIMAX_IFACE) == 0 &&
           ifconfig(WIMAX_IFACE, IFACE_DOWN, nullptr, nullptr) != 0;
}

// The entry's tunnels when it says that it has some, else null; doing says in the log what is to
// happen to them.
static const json_t *get_entry_tunnels(const json_t *entry, const char *tag, const char *doing)
{
    if (!json_is_true(json_object_get(entry, "have_tunnels")))
        return nullptr;
    logmessage(tag, "Have tunnels on wan, %s them", doing);
    const json_t *tunnels = json_object_get(entry, "Tunnels");
    if (tunnels == nullptr)
        logmessage(tag, "Not get tunnels array");
    return tunnels;
}

// Returns false when the start is to end here.
static bool start_entry(const json_t *entry, int position, int force)
{
    iface_params params;
    get_iface_params_from_json(entry, &params);
    logmessage(ENTRY_TAG, "Start wan # %d", position);
    logmessage(ENTRY_TAG, "force = %d", force);
    if (force == 0 && json_is_false(json_object_get(entry, "auto")))
        return true;
    if (is_wimax_missing(params.iface)) {
        logmessage("start_wan", "not have iface %s", params.iface);
        return false;
    }
    const json_t *mtu = get_given(entry, "mtu");
    if (mtu != nullptr)
        set_mtu(params.iface, mtu);
    const json_t *mac = get_given(entry, "mac");
    if (mac != nullptr)
        set_mac(params.iface, mac);
    start_by_type(params, entry);
    const json_t *tunnels = get_entry_tunnels(entry, START_TAG, "start");
    if (tunnels != nullptr)
        start_tunnels(params.type, tunnels);
    return true;
}

void start_wan_morvi(int index, int force)
{
    logmessage(START_TAG, "start");
    make_event_symlinks();
    const json_t *root = load_config(START_TAG);
    if (root == nullptr)
        return;
    const json_t *wan_array = get_wan_array(root);
    if (wan_array == nullptr) {
        logmessage(START_TAG, "Error on wan_array");
        return;
    }
    size_t size = json_array_size(wan_array);
    logmessage(START_TAG, "wan_array is array sizeof = %d", static_cast<int>(size));
    positions chosen = choose(index, size, 0);
    for (int i = chosen.first; i <= chosen.last; i++) {
        if (!start_entry(get_entry(wan_array, i), i, force))
            return;
    }
    logmessage(START_TAG, "stop");
}

static void stop_dhcp(const char *iface)
{
    char pidfile[DHCP_PIDFILE_MAX];
    format_dhcp_pidfile(pidfile, iface);
    stop_by_pidfile(pidfile, SIGKILL);
}

// The client's last event, for its own end, can be the one that ends the link. It then leaves the
// interface up for the next discovery, which will not come.
static void end_link(const char *iface, bool was_recorded)
{
    if (!wan_down(iface) && was_recorded && !is_link_recorded(iface))
        ifconfig(iface, IFACE_DOWN, nullptr, nullptr);
}

static void stop_entry(const json_t *entry)
{
    iface_params params;
    get_iface_params_from_json(entry, &params);
    bool was_recorded = false;
    if (strcmp(params.type, "dhcp") == 0) {
        was_recorded = is_link_recorded(params.iface);
        stop_dhcp(params.iface);
    }
    const json_t *tunnels = get_entry_tunnels(entry, STOP_TAG, "stop");
    if (tunnels != nullptr)
        stop_tunnels(tunnels);
    end_link(params.iface, was_recorded);
}

static void stop_entries(const json_t *wan_array, int index)
{
    size_t size = json_array_size(wan_array);
    logmessage(STOP_TAG, "wan_array is array sizeof = %d", static_cast<int>(size));
    // The last entry is the WiMAX modem: a stop of all leaves it running.
    positions chosen = choose(index, size, 1);
    for (int i = chosen.first; i <= chosen.last; i++)
        stop_entry(get_entry(wan_array, i));
}

void stop_wan_morvi(int index)
{
    if (index == 0) {
        run_tool("killall", "ip-up");
        run_tool("killall", "ip-down");
    }
    logmessage(STOP_TAG, "start");
    const json_t *root = load_config(STOP_TAG);
    if (root == nullptr)
        return;
    const json_t *wan_array = get_wan_array(root);
    if (wan_array != nullptr)
        stop_entries(wan_array, index);
    if (index == 0)
        unlink(DHCP_SCRIPT);
    logmessage(STOP_TAG, "stop");
}
