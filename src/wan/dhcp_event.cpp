#include "wan/dhcp_event.h"

#include "config/json_access.h"
#include "lan/interface.h"
#include "util/json_memory.h"
#include "util/log.h"
#include "util/output_file.h"
#include "util/shell.h"
#include "util/text.h"
#include "wan/event_env.h"
#include "wan/lease_routes.h"
#include "wan/leds.h"
#include "wan/link_kind.h"
#include "wan/wan_link.h"

#include <errno.h>
#include <jansson.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

char udhcpstate[8];

// What is kept of a lease for the interface and the commands. An unset variable is an empty text.
constexpr size_t LEASE_TEXT_MAX = 64;

struct dhcp_lease {
    char iface[LEASE_TEXT_MAX];
    char ipaddr[LEASE_TEXT_MAX];
    char netmask[LEASE_TEXT_MAX];
    char gateway[LEASE_TEXT_MAX];
    char dns1[LEASE_TEXT_MAX];
    char dns2[LEASE_TEXT_MAX];
};

static void take_iface(dhcp_lease *lease, json_t *link)
{
    take_variable(LEASE_TAG, "interface", "iface", lease->iface, link);
}

static void take_server(const char *key, text_piece server, char (&kept)[LEASE_TEXT_MAX],
                        json_t *link)
{
    if (server.length > 0) {
        logmessage(LEASE_TAG, "%s = %.*s", key, static_cast<int>(server.length), server.start);
        text_set(kept, server);
    }
    if (link != nullptr)
        json_object_set_new(link, key, piece_or_null(server));
}

// Servers come in pairs and each pair takes the place of the one before. Where the last pair has
// one server only, the link loses its second one but the resolver keeps that of the pair before.
static void split_dns(const char *dns, dhcp_lease *lease, json_t *link)
{
    text_piece rest = {dns, trimmed_length(dns)};
    text_piece first;
    text_piece second;
    while (next_piece(&rest, " ", &first)) {
        next_piece(&rest, " ", &second);
        take_server("dns1", first, lease->dns1, link);
        take_server("dns2", second, lease->dns2, link);
    }
}

static void take_dns(dhcp_lease *lease, json_t *link)
{
    const char *dns = getenv("dns");
    if (dns == nullptr)
        return;
    logmessage(LEASE_TAG, "dns = %s", dns);
    split_dns(dns, lease, link);
}

// Register ("add") or remove the lease's DNS servers. The resolver knows the wired WAN and WiMAX.
static void change_resolver(const char *operation, const dhcp_lease *lease)
{
    const link_kind *kind = get_link_kind(lease->iface);
    if (kind->iface[0] == '\0')
        return;
    char dns1[SHELL_LINE_MAX];
    char dns2[SHELL_LINE_MAX];
    shell_format("/etc/init.d/scripts/resolv %s %s %s %s %s", operation, kind->iface, kind->name,
                 shell_quote(dns1, lease->dns1), shell_quote(dns2, lease->dns2));
}

static void restart_resolver()
{
    shell("/etc/init.d/scripts/resolv start");
}

static void set_link_kind(json_t *link, const char *iface)
{
    const link_kind *kind = get_link_kind(iface);
    put_text(link, "name", kind->name);
    put_text(link, "type", "dhcp");
    put_text(link, "proto", kind->proto);
    json_object_set_new(link, "metric", json_integer(kind->dhcp_metric));
}

static void take_lease(dhcp_lease *lease, json_t *link)
{
    take_iface(lease, link);
    set_link_kind(link, lease->iface);
    take_variable(LEASE_TAG, "ip", "ipaddr", lease->ipaddr, link);
    take_variable(LEASE_TAG, "subnet", "netmask", lease->netmask, link);
    take_variable(LEASE_TAG, "router", "gateway", lease->gateway, link);
    take_dns(lease, link);
}

// Returns false when the routes are such that the link is not to be used.
static bool add_lease_routes(const char *iface)
{
    const char *routes = getenv("routes");
    if (routes != nullptr)
        add_host_routes(iface, routes);
    const char *staticroutes = getenv("staticroutes");
    if (staticroutes != nullptr) {
        logmessage(LEASE_TAG, "staticroutes = %s", staticroutes);
        add_static_routes(iface, staticroutes);
    }
    const char *msroutes = getenv("msroutes");
    if (msroutes == nullptr)
        return true;
    logmessage(LEASE_TAG, "msroutes = %s", msroutes);
    return add_classless_routes(iface, msroutes);
}

static int udhcpc_bound()
{
    watch_json_memory();
    json_t *link = json_object();
    dhcp_lease lease = {};
    logmessage(LEASE_TAG, "bound");
    shell("export -p > /tmp/udhcpc-env");
    take_lease(&lease, link);
    change_resolver("add", &lease);
    ifconfig(lease.iface, IFACE_UP, lease.ipaddr, lease.netmask);
    if (add_lease_routes(lease.iface)) {
        wan_up(lease.iface, link);
        restart_resolver();
    }
    logmessage(LEASE_TAG, "done\n");
    json_decref(link);
    return 0;
}

static void write_expiry(const char *iface)
{
    char path[100];
    text_format(path, sizeof(path), "/tmp/udhcpc.%s.expires", iface);
    FILE *file = create_output(path);
    if (file == nullptr)
        return;
    fprintf(file, "%lld", static_cast<long long>(time(nullptr)));
    close_output(file, path);
}

int udhcpc_deconfig()
{
    dhcp_lease lease = {};
    logmessage(LEASE_TAG, "deconfig");
    shell("export -p > /tmp/udhcpc-env-deconfig");
    take_iface(&lease, nullptr);
    take_dns(&lease, nullptr);
    change_resolver("remove", &lease);
    ifconfig(lease.iface, IFACE_UP, "0.0.0.0", nullptr);
    write_expiry(lease.iface);
    restart_resolver();
    leds_dialling();
    if (wan_down(lease.iface))
        ifconfig(lease.iface, IFACE_UP, nullptr, nullptr);
    return 0;
}

static int udhcpc_renew()
{
    logmessage(LEASE_TAG, "renew done\n");
    return 0;
}

static int udhcpc_leasefail()
{
    return 0;
}

struct dhcp_event {
    const char *part; // what the event's name contains
    int (*handle)();
};

// Tried in this order, the first that matches is the one; the last matches every name.
// clang-format off
constexpr dhcp_event events[] = {
    {"deconfig", udhcpc_deconfig},
    {"bound", udhcpc_bound},
    {"renew", udhcpc_renew},
    {"leasefail", udhcpc_leasefail},
    {"", udhcpc_deconfig},
};
// clang-format on

int udhcpc_main(int argc, char **argv)
{
    if (argc < 2)
        return EINVAL;
    text_set(udhcpstate, argv[1]);
    const dhcp_event *event = events;
    while (strstr(argv[1], event->part) == nullptr)
        event++;
    return event->handle();
}
