#include "wan/tunnels.h"

#include "config/json_access.h"
#include "config/params.h"
#include "util/log.h"
#include "util/process.h"
#include "util/text.h"
#include "wan/leds.h"
#include "wan/peer.h"

#include <signal.h>
#include <string.h>

constexpr char START_TAG[] = "mcfg-start_tunnels";
constexpr char STOP_TAG[] = "mcfg-stop_tunnels";

struct dial_budget {
    const char *wan_type;
    int tunnels;
};

constexpr dial_budget budgets[] = {
    {"static", 1},
    {"dhcp", 1},
    {"pppoe", 3},
};

// Pairs that are not dialled, and the words that say so in the log.
struct unsuited {
    const char *wan_type; // null for any
    const char *type;
    const char *words;
};

constexpr unsuited unsuited_pairs[] = {
    {"dhcp", "pppoe", "dhcp or static and pppoe"},
    {"static", "pppoe", "dhcp or static and pppoe"},
    {"pppoe", "pptp", "pppoe and pptp or l2tp"},
    {"pppoe", "l2tp", "pppoe and pptp or l2tp"},
    {nullptr, "ppp", "ppp"},
};

int get_dial_budget(const char *wan_type)
{
    for (const dial_budget &row : budgets) {
        if (strcmp(row.wan_type, wan_type) == 0)
            return row.tunnels;
    }
    return 0;
}

const char *why_unsuited(const char *wan_type, const char *type)
{
    for (const unsuited &row : unsuited_pairs) {
        bool is_wan = row.wan_type == nullptr || strcmp(row.wan_type, wan_type) == 0;
        if (is_wan && strcmp(row.type, type) == 0)
            return row.words;
    }
    return nullptr;
}

static bool is_to_be_dialled(const char *wan_type, const json_t *tunnel)
{
    const char *type = json_string_value(json_object_get(tunnel, "type"));
    if (type == nullptr)
        return false;
    logmessage(START_TAG, "wan_type = %s, type = %s", wan_type, type);
    const char *words = why_unsuited(wan_type, type);
    if (words != nullptr) {
        logmessage(START_TAG, "%s", words);
        return false;
    }
    return json_is_true(json_object_get(tunnel, "auto"));
}

static void dial(const json_t *tunnel)
{
    ppp_params params;
    get_ppp_params_from_json(tunnel, &params);
    leds_dialling();
    start_pppd(&params, tunnel);
}

void start_tunnels(const char *wan_type, const json_t *tunnels)
{
    if (!json_is_array(tunnels)) {
        logmessage(START_TAG, "Error on tun_array");
        return;
    }
    size_t size = json_array_size(tunnels);
    logmessage(START_TAG, "tun_array is array sizeof = %d", static_cast<int>(size));
    logmessage(START_TAG, "wan_type = %s", wan_type);
    int budget = get_dial_budget(wan_type);
    for (size_t i = 0; i < size; i++) {
        logmessage(START_TAG, "start tunnel #%d", static_cast<int>(i));
        const json_t *tunnel = json_array_get(tunnels, i);
        if (tunnel == nullptr) {
            logmessage(START_TAG, "Error on get tunnel info");
            continue;
        }
        if (budget < 1)
            return;
        if (!is_to_be_dialled(wan_type, tunnel))
            continue;
        budget--;
        dial(tunnel);
    }
}

void format_ppp_pidfile(char (&path)[PPP_PIDFILE_MAX], const char *type, const char *name)
{
    text_format(path, sizeof(path), "/var/run/ppp-%s-%s.pid", type, name);
}

static void stop_tunnel(const json_t *tunnel)
{
    const char *type = text_or_empty(json_object_get(tunnel, "type"));
    const char *name = text_or_empty(json_object_get(tunnel, "name"));
    if (strcmp(type, "l2tp") == 0) {
        run_tool("killall", "xl2tpd");
        return;
    }
    char path[PPP_PIDFILE_MAX];
    format_ppp_pidfile(path, type, name);
    logmessage(STOP_TAG, "pidfile for pppd: %s", path);
    // A second SIGTERM, never SIGKILL: pppd is to say goodbye to its peer.
    stop_by_pidfile(path, SIGTERM);
}

void stop_tunnels(const json_t *tunnels)
{
    if (!json_is_array(tunnels)) {
        logmessage(STOP_TAG, "Error on tun_array");
        return;
    }
    size_t size = json_array_size(tunnels);
    logmessage(STOP_TAG, "tun_array is array sizeof = %d", static_cast<int>(size));
    for (size_t i = 0; i < size; i++) {
        logmessage(STOP_TAG, "stop tunnel #%d", static_cast<int>(i));
        const json_t *tunnel = json_array_get(tunnels, i);
        if (tunnel == nullptr)
            logmessage(STOP_TAG, "Error on get tunnel info");
        else
            stop_tunnel(tunnel);
    }
}
