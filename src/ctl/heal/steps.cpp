#include "ctl/heal/steps.h"

#include "config/json_access.h"
#include "ctl/heal/links.h"
#include "ctl/printable.h"
#include "ctl/status/locks.h"
#include "ctl/status/processes.h"
#include "ctl/status/status.h"
#include "ctl/status/tunnel_daemons.h"
#include "ctl/unseen.h"
#include "lan/dhcp_client.h"
#include "lan/interface.h"
#include "util/link_state.h"
#include "util/lock.h"
#include "util/log.h"
#include "util/process.h"
#include "util/text.h"
#include "wan/default_route.h"
#include "wan/ppp_link.h"
#include "wan/tunnels.h"

#include <arpa/inet.h>
#include <errno.h>
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

constexpr char TAG[] = "mctl-heal";
constexpr size_t STEP_MAX = 256;
constexpr unsigned CLIENT_END_S = 15;
constexpr char DHCP_CLIENT[] = "udhcpc";
constexpr char PPP_DAEMON[] = "pppd";

// Tell of a step, and log it. Returns whether it is to be taken: not when what was looked at again
// before it could not be seen, which is told in the end.
[[gnu::format(printf, 3, 4)]] static bool step(const healing &h, const link_status &link,
                                               const char *format, ...)
{
    char text[STEP_MAX];
    if (has_unseen(text, sizeof(text)))
        return false;
    va_list args;
    va_start(args, format);
    vsnprintf(text, sizeof(text), format, args);
    va_end(args);
    make_printable(text);
    printf("%s: %s%s\n", shown_name(link), h.is_dry ? "would " : "", text);
    fflush(stdout);
    if (!h.is_dry)
        logmessage(TAG, "%s: %s", shown_name(link), text);
    return !h.is_dry;
}

static bool is_type(const link_status &link, const char *type)
{
    return strcmp(link.type, type) == 0;
}

static bool is_chosen(const json_t *entry)
{
    return !json_is_false(json_object_get(entry, "auto"));
}

static void undo(const healing &h, const link_status &link)
{
    if (link.record != nullptr && step(h, link, "take back what is recorded of %s", link.iface))
        undo_recorded_link(link.iface, link.record);
}

// The address that the link's interface has, or null when that is down or has none.
static const in_addr_t *address_in_use(const healing &h, const link_status &link)
{
    const iface_view *iface = find_iface(h.at->kernel, link.iface);
    bool is_in_use = iface != nullptr && iface->is_up && iface->address_be[0] != 0;
    return is_in_use ? &iface->address_be[0] : nullptr;
}

// ---- what does not run

// Tunnels over the WAN may still work through the address that it has. Without one they are stopped
// with it, lest they run twice.
static bool start_wan(const healing &h, const link_status &wan)
{
    if (wan.what != subject::wan || !is_chosen(wan.entry))
        return false;
    bool has_tunnels = has_tunnel_daemon(wan.entry);
    if (has_tunnels && address_in_use(h, wan) != nullptr) {
        printf("%s: left alone, as its tunnels run: mcfg stop_wan %d 0, then mcfg start_wan %d 0\n",
               shown_name(wan), wan.position, wan.position);
        return false;
    }
    char position[12];
    text_format(position, sizeof(position), "%d", wan.position);
    if (has_tunnels && step(h, wan, "stop it: mcfg stop_wan %s 0", position))
        run_tool("mcfg", "stop_wan", position, "0");
    if (step(h, wan, "start it: mcfg start_wan %s 0", position))
        run_tool("mcfg", "start_wan", position, "0");
    return true;
}

static bool start_client(const healing &h, const link_status &wan, const found_reason &)
{
    if (wan.what == subject::wan && !is_chosen(wan.entry)) {
        undo(h, wan);
        return wan.record != nullptr;
    }
    return start_wan(h, wan);
}

// It would look for its terminal for good, which may be another's soon.
static void end_left_pppd(const healing &h, const link_status &tunnel)
{
    int number = find_left_pppd(tunnel.entry);
    if (number != 0 && step(h, tunnel, "end the pppd that its xl2tpd has left"))
        kill(number, SIGTERM);
}

static bool start_daemon(const healing &h, const link_status &tunnel, const found_reason &)
{
    undo(h, tunnel);
    end_left_pppd(h, tunnel);
    if (!json_is_true(json_object_get(tunnel.entry, "auto")))
        return true;
    json_t *one = json_array();
    if (json_array_append(one, const_cast<json_t *>(tunnel.entry)) != 0)
        note_unseen(shown_name(tunnel), ENOMEM);
    if (step(h, tunnel, "dial it"))
        start_tunnels(text_or_empty(json_object_get(tunnel.below, "type")), one);
    json_decref(one);
    return true;
}

// ---- interfaces and addresses

static bool restart_static(const healing &h, const link_status &wan)
{
    undo(h, wan);
    start_wan(h, wan);
    return true;
}

static bool set_lan_address(const healing &h, const link_status &lan)
{
    const char *ipaddr = text_or_empty(json_object_get(lan.entry, "ipaddr"));
    const char *netmask = text_or_empty(json_object_get(lan.entry, "netmask"));
    if (step(h, lan, "bring %s up with %s", lan.iface, ipaddr))
        ifconfig(lan.iface, IFACE_UP, ipaddr, netmask);
    return true;
}

static bool bring_up(const healing &h, const link_status &link, const found_reason &)
{
    if (link.what == subject::tunnel)
        return false; // its reason is that of the WAN below it
    if (is_type(link, "static"))
        return link.what == subject::lan ? set_lan_address(h, link) : restart_static(h, link);
    if (step(h, link, "bring %s up", link.iface))
        ifconfig(link.iface, IFACE_UP, nullptr, nullptr);
    return true;
}

static bool record_link(const healing &h, const link_status &link, const found_reason &found)
{
    if (step(h, link, "record it with %s", found.detail))
        save_found_link(*h.at, link);
    return true;
}

// The very process that was looked at: the program's own routine reads "010" as eight, and the file
// may be another's by now.
static void end_process(const char *path, const char *name, int sig)
{
    int number = find_process(path, name);
    if (number != 0)
        kill(number, sig);
}

// The client takes its lease for good and would only renew it, which sets no address: so it is
// ended, with what its last event does, and what is missing then is started next.
static void end_client(const healing &h, const link_status &wan)
{
    char path[DHCP_PIDFILE_MAX];
    format_dhcp_pidfile(path, wan.iface);
    if (!step(h, wan, "end its client, which would not ask for an address again"))
        return;
    end_process(path, DHCP_CLIENT, SIGTERM);
    for (unsigned i = 0; i < CLIENT_END_S && find_process(path, DHCP_CLIENT) != 0; i++)
        sleep(1);
}

// The same of pppd, unless it dials already. It does so again by itself; that of xl2tpd is ended,
// and xl2tpd does it.
static void hang_up(const healing &h, const link_status &tunnel)
{
    const iface_view *iface = find_iface(h.at->kernel, tunnel.iface);
    if (iface == nullptr || !iface->is_up)
        return;
    char path[PPP_PIDFILE_MAX];
    format_ppp_pidfile(path, tunnel.type, text_or_empty(json_object_get(tunnel.entry, "name")));
    bool is_l2tp = is_type(tunnel, "l2tp");
    if (find_process(path, PPP_DAEMON) != 0 &&
        step(h, tunnel, "hang up, so that it is dialled anew"))
        end_process(path, PPP_DAEMON, is_l2tp ? SIGTERM : SIGHUP);
}

// What runs for a link knows nothing of an address that someone has taken away.
static void wake_up(const healing &h, const link_status &link)
{
    if (link.what == subject::tunnel)
        hang_up(h, link);
    else if (link.what == subject::wan)
        end_client(h, link);
}

static bool end_stray(const healing &h, const link_status &link, const found_reason &)
{
    if (link.what == subject::lan)
        return set_lan_address(h, link);
    if (link.record == nullptr)
        return false; // its reason is that of the WAN below it
    if (link.what == subject::wan && is_type(link, "static"))
        return restart_static(h, link);
    const in_addr_t *address_be = address_in_use(h, link);
    if (address_be != nullptr && link.process != 0) {
        // It came up anew, and only the record of that was lost.
        found_reason found = {reason::not_recorded, ""};
        inet_ntop(AF_INET, address_be, found.detail, sizeof(found.detail));
        return record_link(h, link, found);
    }
    undo(h, link);
    wake_up(h, link);
    return true;
}

// ---- routes

static bool set_route(const healing &h, const link_status &link, const found_reason &found)
{
    wanted_route route = route_of(link);
    const route_view *present = find_default_route(h.at->kernel, link.iface, 0);
    if (found.id == reason::route_other && present != nullptr &&
        step(h, link, "take the default route by %s away", found.detail))
        del_default_route(link.iface, present->metric, found.detail);
    if (step(h, link, "add the default route%s%s", route.gateway[0] != '\0' ? " by " : "",
             route.gateway))
        add_default_route(link.iface, route.metric, route.gateway);
    return true;
}

// ---- jumps

static bool may_change_jumps(const healing &h, const link_status &link)
{
    if (!h.may_change_jumps)
        printf("%s: left alone, as the firewall is being rebuilt\n", shown_name(link));
    return h.may_change_jumps;
}

static bool add_jump(const healing &h, const link_status &link, const found_reason &found)
{
    if (!may_change_jumps(h, link))
        return false;
    if (step(h, link, "lead %s into the port forwards", found.detail))
        change_jump("-I", link.iface, found.detail);
    return true;
}

static bool thin_jumps(const healing &h, const link_status &link, const found_reason &found)
{
    if (!may_change_jumps(h, link))
        return false;
    size_t count = count_jumps(h.at->nat, link.iface, link.expected_be);
    for (size_t i = 1; i < count; i++) {
        if (step(h, link, "take one way from %s into the port forwards away", found.detail))
            change_jump("-D", link.iface, found.detail);
    }
    return true;
}

// Those of the interface that lead from another address; of the router, found tells the interface.
static bool drop_old_jumps(const healing &h, const link_status &link, const found_reason &found)
{
    if (!may_change_jumps(h, link))
        return false;
    const char *on = strstr(found.detail, " on ");
    const char *iface = on != nullptr ? on + strlen(" on ") : link.iface;
    for (size_t i = 0; i < h.at->nat.jumps; i++) {
        const jump_view &jump = h.at->nat.jump[i];
        if (strcmp(jump.iface, iface) != 0 || jump.address_be == link.expected_be)
            continue;
        char address[IPV4_TEXT_MAX];
        format_address(address, jump.address_be);
        if (step(h, link, "take the way from %s on %s into the port forwards away", address, iface))
            change_jump("-D", iface, address);
    }
    return true;
}

// ---- the router

// The reason's detail begins with the lock's name.
static bool remove_lock(const healing &h, const link_status &router, const found_reason &found)
{
    char name[REASON_DETAIL_MAX];
    text_set(name, found.detail);
    name[strcspn(name, " ")] = '\0';
    if (look_at_lock(name).state != lock_state::left)
        return false;
    if (step(h, router, "remove the lock %s", name))
        remove_lock_file(name);
    return true;
}

// A handler may have made a new one meanwhile. Its lock is not kept while that is looked at, as no
// other would wait for it.
static bool is_store_still_broken()
{
    look at = {};
    look_at_store(&at);
    forget_look(&at);
    return at.is_store_broken;
}

static bool remove_store(const healing &h, const link_status &router, const found_reason &)
{
    if (!is_store_still_broken())
        return false;
    if (!step(h, router, "remove the broken %s", LINK_STATE_PATH))
        return true;
    if (set_lock_on_file(LINK_STATE_LOCK, LINK_STATE_TRIES) == 1) {
        unlink(LINK_STATE_PATH);
        clear_lock_on_file(LINK_STATE_LOCK, LINK_STATE_TRIES);
    }
    return true;
}

struct mending {
    reason id;
    bool (*mend)(const healing &h, const link_status &link, const found_reason &found);
};

// clang-format off
constexpr mending mendings[] = {
    {reason::not_started, start_client},
    {reason::client_down, start_client},
    {reason::daemon_down, start_daemon},
    {reason::interface_down, bring_up},
    {reason::no_address, end_stray},
    {reason::not_recorded, record_link},
    {reason::route_missing, set_route},
    {reason::route_other, set_route},
    {reason::jump_missing, add_jump},
    {reason::jump_twice, thin_jumps},
    {reason::jump_old, drop_old_jumps},
    {reason::lock_dead, remove_lock},
    {reason::store_broken, remove_store},
};
// clang-format on

bool mend(const healing &h, const link_status &link, const found_reason &found)
{
    for (const mending &row : mendings) {
        if (row.id == found.id)
            return row.mend(h, link, found);
    }
    return false;
}
