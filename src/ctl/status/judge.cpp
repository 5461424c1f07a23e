#include "ctl/status/judge.h"

#include "config/json_access.h"
#include "ctl/printable.h"
#include "ctl/status/judges.h"
#include "ctl/unseen.h"
#include "util/text.h"
#include "wan/tunnels.h"

#include <string.h>

// Names come from settings and a store that anyone may have edited.
static void show_text(char (&out)[SHOWN_NAME_MAX], const json_t *object, const char *key)
{
    text_set(out, text_or_empty(json_object_get(object, key)));
    make_printable(out);
}

static link_status *add_link(router_status *status, subject what, const json_t *named_by)
{
    // The last place is the router's own.
    if (status->links == LINKS_MAX - 1) {
        status->is_cut = true;
        return nullptr;
    }
    link_status *link = &status->link[status->links++];
    *link = {};
    link->what = what;
    show_text(link->name, named_by, "name");
    show_text(link->iface, named_by, "iface");
    show_text(link->type, named_by, "type");
    return link;
}

// The choice of mcfg start_wan: a few tunnels, by the type of the WAN entry.
static bool is_dialled(const link_status &wan, const json_t *tunnel, int *budget)
{
    const json_t *type = json_object_get(tunnel, "type");
    if (!wan.is_wanted || *budget < 1 || !json_is_string(type) ||
        why_unsuited(wan.type, json_string_value(type)) != nullptr ||
        !json_is_true(json_object_get(tunnel, "auto")))
        return false;
    (*budget)--;
    return true;
}

static void judge_tunnels(const look &at, router_status *status, const link_status &wan)
{
    if (!json_is_true(json_object_get(wan.entry, "have_tunnels")))
        return;
    const json_t *tunnels = json_object_get(wan.entry, "Tunnels");
    int budget = get_dial_budget(wan.type);
    for (size_t i = 0; i < json_array_size(tunnels); i++) {
        const json_t *tunnel = json_array_get(tunnels, i);
        if (!json_is_object(tunnel))
            continue;
        link_status *link = add_link(status, subject::tunnel, tunnel);
        if (link == nullptr)
            return;
        link->entry = tunnel;
        link->below = wan.entry;
        judge_tunnel(at, wan, is_dialled(wan, tunnel, &budget), link);
    }
}

static void judge_lans(const look &at, router_status *status)
{
    // mcfg netbase_start looks at the first only.
    const json_t *entry = json_array_get(config_entries(at, "Lan"), 0);
    link_status *link = entry != nullptr ? add_link(status, subject::lan, entry) : nullptr;
    if (link == nullptr)
        return;
    link->entry = entry;
    link->is_wanted = true;
    judge_lan(at, link);
}

static void judge_wans(const look &at, router_status *status)
{
    const json_t *entries = config_entries(at, "Wan");
    for (size_t i = 0; i < json_array_size(entries); i++) {
        const json_t *entry = json_array_get(entries, i);
        link_status *link = add_link(status, subject::wan, entry);
        if (link == nullptr)
            return;
        link->entry = entry;
        link->position = static_cast<int>(i) + 1;
        judge_wan(at, link);
        judge_tunnels(at, status, *link);
    }
}

static bool is_someones(const router_status &status, const json_t *record)
{
    for (size_t i = 0; i < status.links; i++) {
        if (status.link[i].record == record)
            return true;
    }
    return false;
}

static void judge_others(const look &at, router_status *status)
{
    const json_t *records = all_records(at);
    for (size_t i = 0; i < json_array_size(records); i++) {
        const json_t *record = json_array_get(records, i);
        if (!json_is_string(json_object_get(record, "iface")) || is_someones(*status, record))
            continue;
        link_status *link = add_link(status, subject::other, record);
        if (link == nullptr)
            return;
        link->record = record;
        judge_other(at, link);
    }
}

void judge(const look &at, router_status *status)
{
    status->links = 0;
    status->is_cut = false;
    judge_lans(at, status);
    judge_wans(at, status);
    judge_others(at, status);
    link_status *router = &status->link[status->links];
    *router = {};
    router->what = subject::router;
    text_set(router->name, "router");
    judge_router(at, *status, router);
    status->links++;
    status->is_well = !status->is_cut;
    for (size_t i = 0; i < status->links; i++)
        status->is_well = status->is_well && status->link[i].reasons == 0;
}

bool look_and_judge(look *at, router_status *status, char (&fault)[FAULT_MAX])
{
    forget_unseen();
    if (!look_around(at, fault))
        return false;
    judge(*at, status);
    return !has_unseen(fault, sizeof(fault));
}
