#include "config/json_access.h"
#include "ctl/fill_in.h"
#include "ctl/status/status.h"
#include "util/json_memory.h"

#include <stdlib.h>

static void set_text(json_t *object, const char *key, const char *text)
{
    json_object_set_new(object, key, text[0] != '\0' ? json_string(text) : json_null());
}

static json_t *make_reasons(const link_status &link)
{
    json_t *list = json_array();
    for (size_t i = 0; i < link.reasons; i++) {
        const reason_text &row = text_of(link.reason_of[i].id);
        char text[REASON_TEXT_MAX];
        json_t *found = json_object();
        set_text(found, "code", row.name);
        fill_in(text, sizeof(text), row.text, link.reason_of[i].detail);
        set_text(found, "text", text);
        fill_in(text, sizeof(text), row.cure, link.reason_of[i].detail);
        set_text(found, "cure", text);
        json_object_set_new(found, "healed", json_boolean(row.is_healed));
        json_array_append_new(list, found);
    }
    return list;
}

static void set_real(json_t *object, const look &at, const link_status &link)
{
    const iface_view *iface = find_iface(at.kernel, link.iface);
    bool is_there = iface != nullptr;
    json_object_set_new(object, "up", json_boolean(is_there && iface->is_up));
    json_object_set_new(object, "carrier", json_boolean(is_there && iface->has_carrier));
    json_t *addresses = json_array();
    for (size_t i = 0; is_there && i < iface->addresses; i++) {
        char address[IPV4_TEXT_MAX];
        format_address(address, iface->address_be[i]);
        json_array_append_new(addresses, json_string(address));
    }
    json_object_set_new(object, "addresses", addresses);
    const route_view *route =
        find_default_route(at.kernel, link.iface, address_of(link.record, "gateway"));
    char gateway[IPV4_TEXT_MAX] = "";
    if (route != nullptr)
        format_address(gateway, route->gateway_be);
    set_text(object, "default_route", gateway);
    json_object_set_new(object, "process",
                        link.process != 0 ? json_integer(link.process) : json_null());
}

static json_t *make_link(const look &at, const link_status &link)
{
    json_t *object = json_object();
    set_text(object, "kind", subject_name(link.what));
    set_text(object, "name", link.name);
    set_text(object, "iface", link.iface);
    set_text(object, "type", link.type);
    set_text(object, "state", state_name(link.state));
    json_object_set_new(object, "wanted", json_boolean(link.is_wanted));
    char recorded[CELL_MAX] = "";
    if (link.record != nullptr)
        format_recorded(recorded, link);
    set_text(object, "recorded", recorded);
    set_real(object, at, link);
    json_object_set_new(object, "reasons", make_reasons(link));
    return object;
}

bool print_status_json(FILE *out, const look &at, const router_status &status)
{
    watch_json_memory();
    json_t *root = json_object();
    json_object_set_new(root, "well", json_boolean(status.is_well));
    json_object_set_new(root, "complete", json_boolean(!status.is_cut));
    json_t *links = json_array();
    for (size_t i = 0; i + 1 < status.links; i++)
        json_array_append_new(links, make_link(at, status.link[i]));
    json_object_set_new(root, "links", links);
    json_object_set_new(root, "reasons", make_reasons(status.link[status.links - 1]));
    char *text = json_dumps(root, DOCUMENT_FLAGS);
    bool is_whole = text != nullptr && !json_memory_failed();
    if (is_whole)
        fprintf(out, "%s\n", text);
    free(text);
    json_decref(root);
    return is_whole;
}
