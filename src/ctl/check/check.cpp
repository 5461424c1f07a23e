#include "ctl/check/check.h"

#include "config/source_formats.h"
#include "ctl/check/judges.h"
#include "ctl/output.h"
#include "ctl/unseen.h"
#include "firewall/list_formats.h"
#include "firewall/switch_keys.h"
#include "firewall/switches.h"
#include "util/time_zone.h"

#include <errno.h>
#include <string.h>

struct source_row {
    source which;
    const char *path;
    const char *without; // what the router does when the file is missing
    void (*judge)(const settings &all, source which);
};

constexpr char NO_RULES[] = "it adds no rule, and an error is written at each rebuild";
constexpr char NO_VALUES[] = "all of it reads as empty";

// clang-format off
constexpr source_row sources[] = {
    {source::interfaces, interfaces_format.path,
     "the LAN is 192.168.0.1, and both WANs are on by DHCP", judge_interfaces},
    {source::peers, peers_format.path, "there are no PPP connections", judge_peers},
    {source::dns, dns_format.path, "no choice of servers is told", judge_dns},
    {source::wimax, wimax_format.path, "no WiMAX setting is told", judge_wimax},
    {source::ip_filter, IP_FILTER,
     "every switch is on, the MAC filter off, and igmp and upnp are not read", judge_switches},
    {source::igmp, IGMP, "multicast and UPnP are on, and upnp is not read", judge_switches},
    {source::upnp, UPNP, "UPnP is on", judge_switches},
    {source::schedules, schedules_format.path, "no schedule is found", judge_list},
    {source::rules, user_rules_format.path, NO_RULES, judge_list},
    {source::macs, macs_format.path, NO_RULES, judge_list},
    {source::urls, urls_format.path, NO_RULES, judge_list},
    {source::access, access_format.path, NO_RULES, judge_list},
    {source::vservers, vservers_format.path, NO_RULES, judge_list},
    {source::masq, masq_format.path, "nothing is masqueraded", judge_list},
    {source::triggers, triggers_format.path, NO_RULES, judge_list},
    {source::zone, ZONE_FILE, "the router's time is UTC", judge_zone},
    {source::nvram_device, "/etc/nvram/0", NO_VALUES, judge_nvram_device},
    {source::nvram_wireless, "/etc/nvram/1", NO_VALUES, judge_nvram_wireless},
};
// clang-format on

static_assert(sizeof(sources) / sizeof(sources[0]) == SOURCES);

// What the router meets when it opens a file that is none. A FIFO is not waited for, and a socket
// cannot be opened.
static const char *what_happens(const char *kind)
{
    if (strcmp(kind, "directory") == 0)
        return "it reads as an empty file";
    if (strcmp(kind, "FIFO") == 0 || strcmp(kind, "socket") == 0)
        return "the router takes it for missing";
    return "the router reads who knows what";
}

static void judge_missing(const settings &all, const source_row &row)
{
    if (row.which == source::macs && fw.mac_mode != MAC_OFF)
        find(all.r, 0, "-", code::mac_list_missing);
    else
        find(all.r, 0, "-", code::missing, row.without);
}

// The lack is ours, and none of the file's.
static bool is_own_lack(int error)
{
    return error == ENOMEM || error == EMFILE || error == ENFILE;
}

static void judge_source(const settings &all, const source_row &row)
{
    const loaded_file &file = file_of(all, row.which);
    begin_file(all.r, row.path);
    switch (file.state) {
    case file_state::missing:
        judge_missing(all, row);
        break;
    case file_state::not_a_file:
        find(all.r, 0, "-", code::not_a_file, file.kind, what_happens(file.kind));
        break;
    case file_state::unreadable:
        if (is_own_lack(file.error))
            note_unseen(row.path, file.error);
        find(all.r, 0, "-", code::unreadable, strerror(file.error));
        break;
    case file_state::loaded:
        if (file.is_cut)
            find_number(all.r, 0, "-", code::too_large, SETTINGS_FILE_MAX / 1024);
        row.judge(all, row.which);
        break;
    }
    end_file(all.r);
}

static void load_all(settings *all, const char *root)
{
    for (const source_row &row : sources)
        all->files[static_cast<size_t>(row.which)] = load_file(root, row.path);
    learn_interfaces(all);
    learn_switches(all);
    learn_schedules(all);
    learn_peers(all);
}

static void unload_all(settings *all)
{
    for (loaded_file &file : all->files)
        unload_file(&file);
    forget_names(&all->schedules);
    forget_names(&all->peers);
}

static int check_from_to(const char *root, FILE *out, bool is_json, source first, source last)
{
    report found;
    settings all = {};
    forget_unseen();
    all.r = &found;
    begin_report(&found, out, is_json);
    load_all(&all, root);
    for (const source_row &row : sources) {
        if (row.which >= first && row.which <= last)
            judge_source(all, row);
        else // what the others are judged by
            note_unseen(row.path, file_of(all, row.which).error);
    }
    end_report(&found);
    unload_all(&all);
    return found.errors > 0 ? 1 : 0;
}

int check_settings(const char *root, FILE *out, bool is_json)
{
    return check_from_to(root, out, is_json, source::interfaces, source::nvram_wireless);
}

int check_firewall_settings(const char *root, FILE *out)
{
    return check_from_to(root, out, false, source::ip_filter, source::triggers);
}

struct options {
    const char *root;
    bool is_json;
};

static bool parse_options(int count, char **words, options *given)
{
    for (int i = 0; i < count; i++) {
        if (strcmp(words[i], "--json") == 0)
            given->is_json = true;
        else if (strcmp(words[i], "--root") == 0 && i + 1 < count)
            given->root = words[++i];
        else
            return false;
    }
    return true;
}

int check_main(int count, char **words)
{
    options given = {"/", false};
    if (!parse_options(count, words, &given)) {
        fputs("usage: mctl check [--root DIR] [--json]\n", stderr);
        return 2;
    }
    if (!is_directory(given.root)) {
        fprintf(stderr, "mctl: %s: no such directory\n", given.root);
        return 2;
    }
    int status = check_settings(given.root, stdout, given.is_json);
    return status_of_output(tell_unseen() ? 2 : status);
}
