#include "ctl/status/tunnel_daemons.h"

#include "config/json_access.h"
#include "ctl/status/processes.h"
#include "wan/peer.h"
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

const char *daemon_of(const json_t *tunnel)
{
    return is_l2tp(tunnel) ? "xl2tpd" : "pppd";
}

// pppd takes its pid file away while it dials anew, for as long as that may take.
int find_daemon(const json_t *tunnel)
{
    const char *name = text_of(tunnel, "name");
    char path[PPP_PIDFILE_MAX];
    format_ppp_pidfile(path, text_of(tunnel, "type"), name);
    int found = find_process(is_l2tp(tunnel) ? XL2TPD_PIDFILE : path, daemon_of(tunnel));
    if (found == 0 && !is_l2tp(tunnel) && *name != '\0')
        found = find_process_by_words("pppd", "call", name);
    return found;
}

// xl2tpd starts it with the words "file PEER-FILE".
int find_left_pppd(const json_t *tunnel)
{
    if (!is_l2tp(tunnel) || find_daemon(tunnel) != 0)
        return 0;
    char path[PEER_PATH_MAX];
    format_peer_path(path, text_of(tunnel, "name"));
    return find_process_by_words("pppd", "file", path);
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
