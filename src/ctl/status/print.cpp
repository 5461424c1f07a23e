#include "config/json_access.h"
#include "ctl/fill_in.h"
#include "ctl/status/status.h"
#include "util/text.h"

#include <string.h>

constexpr char PLAIN[] = "\033[0m";

static const char *colour_of(link_state state)
{
    switch (state) {
    case link_state::up:
        return "\033[32m";
    case link_state::dialling:
        return "\033[33m";
    case link_state::down:
    case link_state::odd:
        return "\033[31m";
    case link_state::off:
        break;
    }
    return "";
}

const char *shown_name(const link_status &link)
{
    return link.name[0] != '\0' ? link.name : link.iface;
}

static const char *or_dash(const char *text)
{
    return text[0] != '\0' ? text : "-";
}

void format_wanted(char (&out)[CELL_MAX], const link_status &link)
{
    bool is_static = strcmp(link.type, "static") == 0;
    char address[IPV4_TEXT_MAX];
    format_address(address, address_of(link.entry, "ipaddr"));
    if (link.what == subject::other)
        text_set(out, "-");
    else
        text_set(out, !link.is_wanted ? "off" : is_static ? address : or_dash(link.type));
}

void format_recorded(char (&out)[CELL_MAX], const link_status &link)
{
    in_addr_t address_be = address_of(link.record, "ipaddr");
    char address[IPV4_TEXT_MAX] = "";
    if (address_be != 0)
        format_address(address, address_be);
    const char *no_address = link.record != nullptr ? "up" : "-";
    text_set(out, address[0] != '\0' ? address : no_address);
}

static void append_addresses(char (&out)[CELL_MAX], const iface_view &iface)
{
    for (size_t i = 0; i < iface.addresses; i++) {
        char address[IPV4_TEXT_MAX];
        format_address(address, iface.address_be[i]);
        text_append(out, i > 0 ? "," : "");
        text_append(out, address);
    }
}

static void append_route(char (&out)[CELL_MAX], const look &at, const link_status &link)
{
    const route_view *route =
        find_default_route(at.kernel, link.iface, address_of(link.record, "gateway"));
    if (route == nullptr)
        return;
    char gateway[IPV4_TEXT_MAX];
    format_address(gateway, route->gateway_be);
    text_append(out, " default ");
    text_append(out, route->gateway_be != 0 ? gateway : "route");
}

void format_real(char (&out)[CELL_MAX], const look &at, const link_status &link)
{
    out[0] = '\0';
    const iface_view *iface = find_iface(at.kernel, link.iface);
    if (iface == nullptr || !iface->has_carrier) {
        text_set(out, iface == nullptr ? "-" : iface->is_up ? "no carrier" : "down");
        return;
    }
    append_addresses(out, *iface);
    if (iface->addresses == 0)
        text_append(out, "up");
    append_route(out, at, link);
}

static void print_row(FILE *out, const look &at, const link_status &link, bool is_coloured)
{
    char wanted[CELL_MAX], recorded[CELL_MAX], real[CELL_MAX];
    format_wanted(wanted, link);
    format_recorded(recorded, link);
    format_real(real, at, link);
    const char *colour = is_coloured ? colour_of(link.state) : "";
    fprintf(out, "%-10s %-8s %s%-9s%s %-15s %-15s %s\n", shown_name(link), or_dash(link.iface),
            colour, state_name(link.state), colour[0] != '\0' ? PLAIN : "", wanted, recorded, real);
}

static void print_reasons(FILE *out, const link_status &link)
{
    for (size_t i = 0; i < link.reasons; i++) {
        const found_reason &found = link.reason_of[i];
        const reason_text &row = text_of(found.id);
        char text[REASON_TEXT_MAX];
        fill_in(text, sizeof(text), row.text, found.detail);
        fprintf(out, "%s: %s: %s\n", shown_name(link), row.name, text);
        fill_in(text, sizeof(text), row.cure, found.detail);
        fprintf(out, "    cure: %s\n", text);
    }
}

void print_status(FILE *out, const look &at, const router_status &status, bool is_coloured)
{
    fprintf(out, "%-10s %-8s %-9s %-15s %-15s %s\n", "NAME", "IFACE", "STATE", "WANTED", "RECORDED",
            "REAL");
    for (size_t i = 0; i < status.links; i++) {
        if (status.link[i].what != subject::router)
            print_row(out, at, status.link[i], is_coloured);
    }
    for (size_t i = 0; i < status.links; i++)
        print_reasons(out, status.link[i]);
    if (status.is_cut)
        fputs("more entries than can be shown\n", out);
    if (status.is_well)
        fputs("all is well\n", out);
}
