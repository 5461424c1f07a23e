#include "wan/ppp_link.h"

#include "config/json_access.h"
#include "lan/route.h"
#include "util/link_state.h"
#include "util/lock.h"
#include "util/log.h"
#include "util/open_file.h"
#include "util/output_file.h"
#include "util/process.h"
#include "util/text.h"
#include "wan/default_route.h"
#include "wan/leds.h"

#include <errno.h>
#include <stdio.h>
#include <unistd.h>

constexpr char DOWN_TAG[] = "mcfg-wan_ppp_down";
constexpr char RESOLV[] = "/etc/init.d/scripts/resolv";
constexpr size_t MARKER_PATH_MAX = 256;

static void marker_path(char (&path)[MARKER_PATH_MAX], const char *name)
{
    text_format(path, sizeof(path), "/tmp/ppp/link.%s", name);
}

static int create_marker(const char *name)
{
    char path[MARKER_PATH_MAX];
    marker_path(path, name);
    FILE *file = open_stream(path, "w");
    if (file == nullptr) {
        int error = errno;
        perror(path);
        return error;
    }
    fclose(file);
    return 0;
}

static void remove_marker(const char *name)
{
    if (check_path_part(name) != 0)
        return;
    char path[MARKER_PATH_MAX];
    marker_path(path, name);
    unlink(path);
}

int create_link_markers(const ppp_link *link)
{
    int error = check_path_part(link->iface);
    if (error == 0)
        error = check_path_part(link->name);
    if (error == 0)
        error = create_marker(link->iface);
    if (error == 0)
        error = create_marker(link->name);
    return error;
}

bool get_link_metric(const json_t *object, int *metric)
{
    const json_t *member = json_object_get(object, "metric");
    if (member == nullptr || json_is_null(member))
        return false;
    *metric = static_cast<int>(json_integer_value(member));
    return true;
}

// Insert (-I) or delete (-D) the jump of the traffic for the link's address into the chain of port
// forwardings, without a shell. (The other links do it in one: wan_link.cpp.)
int change_jump(const char *operation, const char *iface, const char *ipaddr)
{
    return run_tool("iptables", "-t", "nat", operation, "PREROUTING", "-i", iface, "-d", ipaddr,
                    "-j", "VSERVER");
}

// Tell the net-base script of the link ("add") or of its end ("remove").
static void save_ppp_info(const char *operation, const char *iface, const char *name,
                          const char *ipaddr, const char *type)
{
    run_tool("sys_netbase", "save_ppp_info", operation, iface, name, ipaddr, type);
}

static void set_routes(const ppp_link *link, const json_t *object)
{
    // The daemon made a host route to the peer of its own.
    route_del(link->iface, 0, link->gateway, nullptr, "255.255.255.255");
    int metric = 0;
    if (get_link_metric(object, &metric))
        add_default_route(link->iface, metric, nullptr);
}

void wan_ppp_up(const ppp_link *link, json_t *object)
{
    static constexpr char tag[] = "mcfg-wan_ppp_up";
    logmessage(tag, "start\n");
    set_routes(link, object);
    save_ppp_info("add", link->iface, link->name, link->ipaddr, link->type);
    run_tool(RESOLV, "add", link->iface, link->name, link->dns1, link->dns2);
    run_tool(RESOLV, "start");
    change_jump("-I", link->iface, link->ipaddr);
    leds_connected();
    save_link_state_ex(object);
    logmessage(tag, "stop\n");
}

static void undo_registration(const char *iface, const char *ipaddr, const char *name,
                              const char *type)
{
    logmessage(DOWN_TAG, "ifname = %s, name = %s ipaddr=%s, type=%s", iface, name, ipaddr, type);
    change_jump("-D", iface, ipaddr);
    save_ppp_info("remove", iface, name, ipaddr, type);
    run_tool(RESOLV, "remove", iface, name);
    run_tool(RESOLV, "start");
    remove_marker(iface);
    remove_marker(name);
    leds_dialling();
}

static void undo_ppp_link(const char *iface, const json_t *record)
{
    const json_t *ipaddr = json_object_get(record, "ipaddr");
    const json_t *name = json_object_get(record, "name");
    const json_t *type = json_object_get(record, "type");
    // A member that is null was empty when the link came up.
    if (ipaddr != nullptr && name != nullptr && type != nullptr)
        undo_registration(iface, text_or_empty(ipaddr), text_or_empty(name), text_or_empty(type));
    logmessage(DOWN_TAG, "remove link state iface %s", iface);
}

void wan_ppp_down(const char *iface)
{
    logmessage(DOWN_TAG, "start");
    if (set_lock_on_file(LINK_STATE_LOCK, LINK_STATE_TRIES) == 1) {
        forget_link_state(DOWN_TAG, iface, undo_ppp_link);
        // A PPP link that ends makes sure that the lock is free; the other links do not.
        if (clear_lock_on_file(LINK_STATE_LOCK, LINK_STATE_TRIES) != 1)
            remove_lock_file(LINK_STATE_LOCK);
    }
    logmessage(DOWN_TAG, "stop");
}
