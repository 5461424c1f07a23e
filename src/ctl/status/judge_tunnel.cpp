#include "config/json_access.h"
#include "ctl/printable.h"
#include "ctl/status/judges.h"
#include "ctl/status/link_facts.h"
#include "ctl/status/processes.h"
#include "ctl/status/tunnel_daemons.h"
#include "util/text.h"
#include "wan/ppp_link.h"
#include "wan/tunnels.h"

#include <string.h>

static const char *text_of(const json_t *object, const char *key)
{
    return text_or_empty(json_object_get(object, key));
}

static void learn_interface(link_status *tunnel)
{
    char path[PPP_PIDFILE_MAX];
    format_ppp_pidfile(path, text_of(tunnel->entry, "type"), text_of(tunnel->entry, "name"));
    if (tunnel->record != nullptr)
        text_set(tunnel->iface, text_of(tunnel->record, "iface"));
    else
        text_set(tunnel->iface, read_pid_file(path).iface);
    make_printable(tunnel->iface);
}

static bool is_connected(const look &at, const link_status *tunnel)
{
    const iface_view *iface = find_iface(at.kernel, tunnel->iface);
    return iface != nullptr && iface->is_up && iface->addresses > 0;
}

static void judge_unconnected(const look &at, const link_status &wan, link_status *tunnel)
{
    // Without a reason it is up, and its first reason is the first of all.
    bool stands_on_nothing = wan.state == link_state::down || wan.state == link_state::dialling ||
                             wan.reason_of[0].id == reason::interface_down ||
                             wan.reason_of[0].id == reason::no_address;
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
