#include "config/json_access.h"
#include "config/params.h"
#include "ctl/status/judges.h"
#include "ctl/status/link_facts.h"
#include "ctl/status/processes.h"
#include "ctl/status/tunnel_daemons.h"
#include "lan/dhcp_client.h"
#include "lan/netbase.h"
#include "util/text.h"

#include <stdlib.h>
#include <string.h>
#include <time.h>

constexpr char DHCP_CLIENT[] = "udhcpc";
constexpr char MODEM[] = "wimax0";

static bool is_type(const link_status *link, const char *type)
{
    return strcmp(link->type, type) == 0;
}

// ---- what several have

static void set_off(const look &at, link_status *link)
{
    link->state = link_state::off;
    judge_jumps(at, link);
}

// Whether the interface has the address of the record, which it needs unless that has none.
static bool has_recorded_address(const look &at, link_status *link)
{
    const iface_view *iface = find_iface(at.kernel, link->iface);
    link->expected_be = address_of(link->record, "ipaddr");
    bool is_there = iface != nullptr && iface->is_up &&
                    (link->expected_be == 0 || has_address(*iface, link->expected_be));
    if (is_there)
        return true;
    char address[IPV4_TEXT_MAX];
    format_address(address, link->expected_be);
    add_reason(link, reason::no_address, address);
    return false;
}

// Of a link whose interface is there. Returns false when that has no address.
static bool judge_unrecorded(const look &at, link_status *link)
{
    const iface_view *iface = find_iface(at.kernel, link->iface);
    if (iface->address_be[0] == 0)
        return false;
    link->expected_be = iface->address_be[0];
    char address[IPV4_TEXT_MAX];
    format_address(address, link->expected_be);
    add_reason(link, reason::not_recorded, address);
    judge_jumps(at, link);
    return true;
}

// ---- the LAN

static void judge_ports(link_status *lan)
{
    for (const char *port : bridge_ports) {
        if (!is_bridge_port(lan->iface, port)) {
            add_reason(lan, reason::no_port, port);
            return;
        }
    }
}

static int find_client(const char *iface)
{
    char path[DHCP_PIDFILE_MAX];
    format_dhcp_pidfile(path, iface);
    return find_process(path, DHCP_CLIENT);
}

// " since TIME": when the last lease ended.
static void judge_lease(link_status *link)
{
    char path[100];
    char text[48] = "";
    text_format(path, sizeof(path), "/tmp/udhcpc.%s.expires", link->iface);
    // A pid file has a number on its first line, too.
    time_t ended = read_pid_file(path).number;
    tm local;
    if (ended > 0 && localtime_r(&ended, &local) != nullptr)
        strftime(text, sizeof(text), " since %Y-%m-%d %H:%M:%S", &local);
    add_reason(link, reason::no_lease, text);
}

static void judge_lan_address(const look &at, link_status *lan)
{
    const iface_view *iface = find_iface(at.kernel, lan->iface);
    if (is_type(lan, "dhcp") && iface->addresses == 0)
        judge_lease(lan);
    in_addr_t address_be = address_of(lan->entry, "ipaddr");
    if (is_type(lan, "static") && !has_address(*iface, address_be))
        add_reason(lan, reason::no_address, text_or_empty(json_object_get(lan->entry, "ipaddr")));
}

void judge_lan(const look &at, link_status *lan)
{
    if (is_type(lan, "dhcp"))
        lan->process = find_client(lan->iface);
    const iface_view *iface = find_iface(at.kernel, lan->iface);
    if (iface != nullptr && is_type(lan, "dhcp") && lan->process == 0) {
        add_reason(lan, reason::client_down, "N");
        return;
    }
    if (!judge_interface(at, lan))
        return;
    judge_ports(lan);
    judge_lan_address(at, lan);
}

// ---- WAN entries

static void add_position(link_status *wan, reason id)
{
    char position[12];
    text_format(position, sizeof(position), "%d", wan->position);
    add_reason(wan, id, position);
}

static void judge_dhcp(const look &at, link_status *wan)
{
    if (wan->process == 0) {
        add_position(wan, reason::client_down);
        return;
    }
    if (!judge_interface(at, wan))
        return;
    if (wan->record == nullptr) {
        if (!judge_unrecorded(at, wan)) {
            judge_lease(wan);
            judge_jumps(at, wan);
        }
        return;
    }
    if (!has_recorded_address(at, wan))
        return;
    if (address_of(wan->record, "gateway") != 0)
        judge_route(at, wan, address_of(wan->record, "gateway"));
    judge_jumps(at, wan);
}

static void judge_static(const look &at, link_status *wan)
{
    const iface_view *iface = find_iface(at.kernel, wan->iface);
    if (wan->record == nullptr && iface != nullptr && !iface->is_up) {
        add_position(wan, reason::not_started);
        return;
    }
    if (!judge_interface(at, wan))
        return;
    if (wan->record == nullptr) {
        if (!judge_unrecorded(at, wan))
            add_position(wan, reason::not_started);
        return;
    }
    if (!has_recorded_address(at, wan))
        return;
    if (address_of(wan->entry, "gateway") != 0)
        judge_route(at, wan, address_of(wan->entry, "gateway"));
    judge_jumps(at, wan);
}

static void judge_carrier(const look &at, link_status *wan)
{
    const iface_view *iface = find_iface(at.kernel, wan->iface);
    if (iface != nullptr && !iface->is_up && !has_tunnel_daemon(wan->entry))
        add_position(wan, reason::not_started);
    else if (judge_interface(at, wan))
        judge_jumps(at, wan);
}

struct wan_judge {
    const char *type;
    void (*judge)(const look &at, link_status *wan);
};

constexpr wan_judge wan_judges[] = {
    {"dhcp", judge_dhcp},
    {"static", judge_static},
    {"pppoe", judge_carrier},
};

// A modem that is not plugged in is missed by nobody.
static bool is_missing_modem(const look &at, const link_status *wan)
{
    return strcmp(wan->iface, MODEM) == 0 && find_iface(at.kernel, MODEM) == nullptr;
}

void judge_wan(const look &at, link_status *wan)
{
    wan->record = find_record(at, wan->iface);
    if (is_type(wan, "dhcp"))
        wan->process = find_client(wan->iface);
    bool is_chosen = !json_is_false(json_object_get(wan->entry, "auto")) || wan->process != 0;
    wan->is_wanted = wan->record != nullptr || (is_chosen && !is_missing_modem(at, wan));
    for (const wan_judge &row : wan_judges) {
        if (wan->is_wanted && is_type(wan, row.type)) {
            row.judge(at, wan);
            return;
        }
    }
    // Of another type, nothing is ever started.
    wan->is_wanted = false;
    set_off(at, wan);
}

// ---- links that only the store knows

void judge_other(const look &at, link_status *other)
{
    other->is_wanted = true;
    if (!has_recorded_address(at, other))
        return;
    judge_jumps(at, other);
}
