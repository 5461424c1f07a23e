#include "config/document.h"
#include "config/source_formats.h"
#include "ctl/check/tree.h"
#include "ctl/status/judges.h"
#include "ctl/status/locks.h"
#include "ctl/unseen.h"
#include "firewall/tables.h"
#include "util/json_memory.h"
#include "util/link_state.h"
#include "util/text.h"

#include <errno.h>
#include <string.h>
#include <sys/stat.h>

static void judge_lock(link_status *router, const char *name)
{
    lock_view lock = look_at_lock(name);
    char detail[REASON_DETAIL_MAX];
    switch (lock.state) {
    case lock_state::free:
        break;
    case lock_state::held:
        text_format(detail, sizeof(detail), "%s is held by process %d", name, lock.holder);
        add_reason(router, reason::lock_held, detail);
        break;
    case lock_state::left:
        text_format(detail, sizeof(detail), "%s was left by process %d, which is gone", name,
                    lock.holder);
        add_reason(router, reason::lock_dead, detail);
        break;
    }
}

static bool is_someones(const router_status &status, const char *iface)
{
    for (size_t i = 0; i < status.links; i++) {
        if (strcmp(status.link[i].iface, iface) == 0)
            return true;
    }
    return false;
}

static void judge_stray_jumps(const look &at, const router_status &status, link_status *router)
{
    for (size_t i = 0; i < at.nat.jumps; i++) {
        const jump_view &jump = at.nat.jump[i];
        if (is_someones(status, jump.iface))
            continue;
        char address[IPV4_TEXT_MAX];
        char detail[REASON_DETAIL_MAX];
        format_address(address, jump.address_be);
        text_format(detail, sizeof(detail), "%s on %s", address, jump.iface);
        add_reason(router, reason::jump_old, detail);
        return;
    }
}

static bool is_there(const char *path, struct stat *status)
{
    if (stat(path, status) == 0)
        return true;
    note_unseen(path, errno);
    return false;
}

static bool is_newer(const char *path, const struct stat &than)
{
    struct stat status;
    if (!is_there(path, &status))
        return false;
    return status.st_mtim.tv_sec != than.st_mtim.tv_sec
               ? status.st_mtim.tv_sec > than.st_mtim.tv_sec
               : status.st_mtim.tv_nsec > than.st_mtim.tv_nsec;
}

constexpr const char *config_sources[] = {interfaces_format.path, peers_format.path,
                                          dns_format.path, wimax_format.path};

static bool is_what_settings_make(const look &at)
{
    watch_json_memory();
    json_t *wanted = make_config(1, nullptr);
    if (json_memory_failed())
        note_unseen("what the settings make", ENOMEM);
    bool is_same = json_equal(wanted, at.config) == 1;
    json_decref(wanted);
    return is_same;
}

static void note_unreadable_sources()
{
    for (const char *path : config_sources) {
        loaded_file file = load_file("/", path);
        if (file.state == file_state::unreadable)
            note_unseen(path, file.error);
        unload_file(&file);
    }
}

// By time first, as reading the settings tells of missing ones on standard error. But the clock of
// a router begins in the past at each start, so times alone would lie: what the settings make
// decides. Their readers leave out what they cannot read, so a difference is looked at again.
static bool is_config_old(const look &at)
{
    struct stat config;
    if (!is_there(CONFIG_PATH, &config))
        return false;
    bool may_be = is_newer("/etc/default", config);
    for (const char *path : config_sources)
        may_be = may_be || is_newer(path, config);
    if (!may_be || is_what_settings_make(at))
        return false;
    note_unreadable_sources();
    return !is_what_settings_make(at);
}

void judge_router(const look &at, const router_status &status, link_status *router)
{
    judge_lock(router, LINK_STATE_LOCK);
    judge_lock(router, CONFIG_LOCK);
    if (at.store_fault != nullptr)
        add_reason(router, reason::store_broken, at.store_fault);
    char difference[REASON_DETAIL_MAX];
    if (!is_as_generated(NAT_RULES, at.nat.listing, difference, sizeof(difference)))
        add_reason(router, reason::table_other, difference);
    judge_stray_jumps(at, status, router);
    if (is_config_old(at))
        add_reason(router, reason::config_old);
}
