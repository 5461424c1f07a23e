#include "config/json_access.h"
#include "ctl/status/judge.h"
#include "ctl/status/processes.h"
#include "util/text.h"
#include "wan/ppp_link.h"
#include "wan/tunnels.h"

#include <string.h>

constexpr char XL2TPD_PIDFILE[] = "/var/run/xl2tpd.pid";

static const char *text_of(const json_t *object, const char *key)
{
    return text_or_empty(json_object_get(object, key));
}

static bool is_l2tp(const json_t *tunnel)
{
    return strcmp(text_of(tunnel, "type"), "l2tp") == 0;
}

static const char *daemon_of(const json_t *tunnel)
{
    return is_l2tp(tunnel) ? "xl2tpd" : "pppd";
}

// pppd takes its pid file away while it dials anew, for as long as that may take.
static int find_daemon(const json_t *tunnel)
{
    const char *name = text_of(tunnel, "name");
    char path[PPP_PIDFILE_MAX];
    format_ppp_pidfile(path, text_of(tunnel, "type"), name);
    int found = find_process(is_l2tp(tunnel) ? XL2TPD_PIDFILE : path, daemon_of(tunnel));
    if (found == 0 && !is_l2tp(tunnel) && name[0] != '\0')
        found = find_process_by_words("pppd", "call", name);
    return found;
}

bool has_tunnel_daemon(const json_t *wan_entry)
{
    const json_t *tunnels = json_object_get(wan_entry, "Tunnels");
    for (size_t i = 0; i < json_array_size(tunnels); i++) {
        if (find_daemon(json_array_get(tunnels, i)) != 0)
            return true;
    }
    return false;
}

// Of a tunnel's name, the handler gets what stands before the first "-".
const json_t *find_tunnel_record(const look &at, const json_t *tunnel)
{
    const char *name = text_of(tunnel, "name");
    size_t length = strcspn(name, "-");
    const json_t *records = all_records(at);
    for (size_t i = 0; i < json_array_size(records); i++) {
        const json_t *record = json_array_get(records, i);
        const char *recorded = text_of(record, "name");
        if (strcmp(text_of(record, "type"), text_of(tunnel, "type")) == 0 && length > 0 &&
            strlen(recorded) == length && strncmp(recorded, name, length) == 0)
            return record;
    }
    return nullptr;
}

static void learn_interface(link_status *tunnel)
{
    if (tunnel->record != nullptr) {
        text_set(tunnel->iface, text_of(tunnel->record, "iface"));
        return;
    }
    char path[PPP_PIDFILE_MAX];
    format_ppp_pidfile(path, text_of(tunnel->entry, "type"), text_of(tunnel->entry, "name"));
    text_set(tunnel->iface, read_pid_file(path).iface);
}

static bool is_connected(const look &at, const link_status *tunnel)
{
    const iface_view *iface = find_iface(at.kernel, tunnel->iface);
    return iface != nullptr && iface->is_up && iface->addresses > 0;
}

static void judge_unconnected(const look &at, const link_status &wan, link_status *tunnel)
{
    bool stands_on_nothing =
        wan.reasons > 0 && (wan.state == link_state::down || wan.state == link_state::dialling ||
                            wan.reason_of[0].id == reason::interface_down ||
                            wan.reason_of[0].id == reason::no_address);
    if (stands_on_nothing) {
        add_reason(tunnel, wan.reason_of[0].id, wan.reason_of[0].detail);
        return;
    }
    if (tunnel->process == 0) {
        add_reason(tunnel, reason::daemon_down, daemon_of(tunnel->entry));
        return;
    }
    if (!is_connected(at, tunnel)) {
        add_reason(tunnel, reason::not_connected);
        return;
    }
    char address[IPV4_TEXT_MAX];
    tunnel->expected_be = find_iface(at.kernel, tunnel->iface)->address_be[0];
    format_address(address, tunnel->expected_be);
    add_reason(tunnel, reason::not_recorded, address);
}

static void judge_connected(const look &at, link_status *tunnel)
{
    char address[IPV4_TEXT_MAX];
    const iface_view *iface = find_iface(at.kernel, tunnel->iface);
    tunnel->expected_be = address_of(tunnel->record, "ipaddr");
    format_address(address, tunnel->expected_be);
    if (tunnel->process == 0) {
        add_reason(tunnel, reason::daemon_down, daemon_of(tunnel->entry));
    } else if (!is_connected(at, tunnel) || !has_address(*iface, tunnel->expected_be)) {
        add_reason(tunnel, reason::no_address, address);
    } else {
        int metric = 0;
        if (get_link_metric(tunnel->record, &metric))
            judge_route(at, tunnel, 0);
        judge_jumps(at, tunnel);
    }
}

void judge_tunnel(const look &at, const link_status &wan, bool is_dialled, link_status *tunnel)
{
    tunnel->record = find_tunnel_record(at, tunnel->entry);
    tunnel->process = find_daemon(tunnel->entry);
    learn_interface(tunnel);
    tunnel->is_wanted = is_dialled || tunnel->record != nullptr;
    if (tunnel->record != nullptr)
        judge_connected(at, tunnel);
    else if (is_dialled)
        judge_unconnected(at, wan, tunnel);
    else
        tunnel->state = link_state::off;
}
