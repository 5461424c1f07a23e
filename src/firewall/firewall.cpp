#include "firewall/firewall.h"

#include "firewall/switches.h"
#include "firewall/tables.h"
#include "util/ip_query.h"
#include "util/log.h"

#include <stdio.h>
#include <string.h>

constexpr char TAG[] = "firewall_update";

// The chains that the two verdicts go to.
struct log_targets {
    const char *log_mode;
    const char *accept;
    const char *drop;
};

constexpr log_targets log_modes[] = {
    {"accept", "logaccept", "DROP"},
    {"drop", "ACCEPT", "logdrop"},
    {"both", "logaccept", "logdrop"},
};
constexpr log_targets no_log = {"none", "ACCEPT", "DROP"};

static const log_targets &targets_of(const char *log_mode)
{
    for (const log_targets &row : log_modes) {
        if (strcmp(row.log_mode, log_mode) == 0)
            return row;
    }
    return no_log;
}

static void log_switches()
{
    logmessage(TAG, "fw_enable=%d, nat_enable=%d, vts_enable=%d", fw.firewall, fw.nat, fw.vservers);
    logmessage(TAG, "tr_ports_enable=%d, ddos_enable=%d, wan_ping_enable=%d", fw.trigger_ports,
               fw.dos, fw.wan_ping);
    logmessage(TAG, "mac_enable=%d, url_enable=%d", fw.mac_mode, fw.url_filter);
}

// Shown at once: what the commands write must come behind it, also in a pipe.
static void show_progress(const char *line)
{
    fputs(line, stdout);
    fflush(stdout);
}

static const char *or_empty(const char *text)
{
    return text != nullptr ? text : "";
}

int start_firewall_morvi(const char *lan_if, const char *wan_if, const char *log_mode)
{
    lan_if = or_empty(lan_if);
    wan_if = or_empty(wan_if);
    log_mode = or_empty(log_mode);
    logmessage(TAG, "lan_if=%s, wan_if=%s, log_mode=%s", lan_if, wan_if, log_mode);
    char lan_ip[QUERY_TEXT_MAX];
    char lan_netmask[QUERY_TEXT_MAX];
    if (get_ip_mask_from_iface(lan_if, lan_ip, lan_netmask) != 0) {
        logmessage(TAG, "not get ip/mask");
        return -1;
    }
    logmessage(TAG, "lan_ip=%s, lan_netmask=%s", lan_ip, lan_netmask);
    show_progress("firewall start\n");

    // Without its settings the firewall is built with everything on.
    get_global_firewall_config();
    log_switches();
    const log_targets &targets = targets_of(log_mode);
    nat_setting_morvi(lan_if, lan_ip, lan_netmask, wan_if);
    filter_setting_morvi(lan_if, lan_ip, wan_if, targets.accept, targets.drop);
    mangle_setting_morvi(lan_if, wan_if, targets.accept, targets.drop);
    show_progress("firewall done\n");
    return 0;
}
