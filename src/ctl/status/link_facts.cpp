#include "ctl/status/link_facts.h"

#include <string.h>

bool judge_interface(const look &at, link_status *link)
{
    const iface_view *iface = find_iface(at.kernel, link->iface);
    if (iface == nullptr)
        add_reason(link, reason::no_interface, link->iface);
    else if (!iface->is_up)
        add_reason(link, reason::interface_down, link->iface);
    else if (!iface->has_carrier)
        add_reason(link, reason::no_carrier, link->iface);
    return iface != nullptr && iface->has_carrier;
}

void judge_route(const look &at, link_status *link, in_addr_t gateway_be)
{
    const route_view *route = find_default_route(at.kernel, link->iface, gateway_be);
    if (route == nullptr) {
        add_reason(link, reason::route_missing);
        return;
    }
    char gateway[IPV4_TEXT_MAX];
    format_address(gateway, route->gateway_be);
    if (route->gateway_be != gateway_be)
        add_reason(link, reason::route_other, gateway);
}

static void judge_old_jumps(const look &at, link_status *link)
{
    for (size_t i = 0; i < at.nat.jumps; i++) {
        const jump_view &jump = at.nat.jump[i];
        if (strcmp(jump.iface, link->iface) != 0 || jump.address_be == link->expected_be)
            continue;
        char address[IPV4_TEXT_MAX];
        format_address(address, jump.address_be);
        add_reason(link, reason::jump_old, address);
        return;
    }
}

void judge_jumps(const look &at, link_status *link)
{
    if (link->record != nullptr && link->expected_be != 0) {
        char address[IPV4_TEXT_MAX];
        format_address(address, link->expected_be);
        size_t count = count_jumps(at.nat, link->iface, link->expected_be);
        if (count == 0)
            add_reason(link, reason::jump_missing, address);
        if (count > 1)
            add_reason(link, reason::jump_twice, address);
    }
    judge_old_jumps(at, link);
}
