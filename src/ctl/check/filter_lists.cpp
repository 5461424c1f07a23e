#include "config/known_interfaces.h"
#include "ctl/check/judges.h"
#include "ctl/check/list_judges.h"
#include "ctl/check/values.h"
#include "firewall/schedule.h"
#include "firewall/switches.h"

#include <ctype.h>
#include <string.h>
#include <strings.h>

// Schedules

static bool makes_match(const char *days, const char *time)
{
    char match[TIME_MATCH_MAX];
    timematch_conv_morvi(match, days, time);
    return match[0] != '\0';
}

void learn_schedules(settings *all)
{
    const list_format &format = schedules_format;
    line_reader reader = begin_lines(file_of(*all, source::schedules));
    settings_line line;
    while (next_line(&reader, &line)) {
        line_words words;
        if (!is_entry(&reader, line, format.hash_lines, nullptr) ||
            split_entry(line, format, &words) <= SCHED_ENABLED)
            continue;
        bool is_on = strcmp(words.word[SCHED_ENABLED], SCHED_IS_ENABLED) == 0;
        bool has_match =
            words.count > SCHED_TIME && makes_match(words.word[SCHED_DAYS], words.word[SCHED_TIME]);
        size_t length = strlen(words.word[SCHED_NAME]);
        add_name(&all->schedules, {line.raw, length, line.number, is_on, has_match});
    }
    sort_names(&all->schedules);
}

// Whether each day says yes or no.
static bool judge_days(const list_line &line)
{
    const char *days = line.field[SCHED_DAYS];
    if (strlen(days) != 7 || strspn(days, "01") != 7) {
        tell(line, SCHED_DAYS, code::schedule_days);
        return false;
    }
    if (strchr(days, '1') == nullptr)
        tell(line, SCHED_DAYS, code::schedule_no_day);
    return true;
}

static bool is_time_of_day(const char *digits)
{
    return strncmp(digits, "24", 2) < 0 && digits[2] < '6';
}

static void judge_time(const list_line &line, bool are_days_good)
{
    const char *time = line.field[SCHED_TIME];
    const char *days = line.field[SCHED_DAYS];
    if (strlen(time) != 8 || strspn(time, "0123456789") != 8 || !is_time_of_day(time) ||
        !is_time_of_day(time + 4)) {
        tell(line, SCHED_TIME, code::schedule_time);
        return;
    }
    int order = strncmp(time, time + 4, 4);
    bool is_every_day = strcmp(days, "1111111") == 0;
    if (order == 0)
        tell(line, SCHED_TIME, code::schedule_instant);
    else if (order > 0 && are_days_good && !is_every_day)
        tell(line, SCHED_TIME, code::schedule_past_midnight);
}

// Of a schedule that is on; such are found first.
static void judge_unique(const list_line &line)
{
    const named_line *first = find_name(line.all.schedules, line.field[SCHED_NAME]);
    if (first == nullptr || first->line >= line.number)
        return;
    tell_number(line, SCHED_NAME, code::duplicate_name, first->line, "that one counts");
}

void judge_schedule(const list_line &line, list_memory *)
{
    const char *enabled = line.field[SCHED_ENABLED];
    bool is_on = strcmp(enabled, SCHED_IS_ENABLED) == 0;
    if (!is_on && !is_no_word(enabled))
        tell(line, SCHED_ENABLED, code::flag, enabled);
    if (is_on && strcmp(line.field[SCHED_NAME], ALWAYS_SCHEDULE) == 0)
        tell(line, SCHED_NAME, code::schedule_always);
    else if (is_on)
        judge_unique(line);
    judge_time(line, judge_days(line));
    bool is_whole = is_on && !makes_match(line.field[SCHED_DAYS], line.field[SCHED_TIME]) &&
                    strlen(line.field[SCHED_DAYS]) == 7 && strlen(line.field[SCHED_TIME]) == 8;
    if (is_whole)
        tell(line, SCHED_TIME, code::schedule_all_week);
}

// User rules

static bool is_from_lan(const list_line &line)
{
    const interface_facts &lan = line.all.interfaces[LAN];
    const char *text = line.field[RULE_SOURCE];
    ipv4_network network;
    uint32_t first;
    uint32_t last;
    if (!lan.has_network)
        return false;
    if (parse_address_range(text, &first, &last))
        return is_in(lan.network, first) && is_in(lan.network, last);
    return parse_network(text, &network) && is_in(lan.network, network.address) &&
           (network.mask & lan.network.mask) == lan.network.mask;
}

static void judge_reach(const list_line &line, bool is_drop)
{
    bool is_for_all = !is_given(line.field[RULE_SOURCE]) && !is_given(line.field[RULE_DESTINATION]);
    bool is_for_everything = is_for_all && !is_given(line.field[RULE_PROTOCOL]);
    if (is_drop && is_for_everything)
        tell(line, RULE_SOURCE, code::drop_everyone);
    else if (!is_drop && is_for_all)
        tell(line, RULE_SOURCE, code::accept_anyone);
    bool is_bypassed = fw.mac_mode == MAC_DENY && is_from_lan(line) &&
                       has_entries(file_of(line.all, source::macs), macs_format.hash_lines);
    if (is_bypassed)
        tell(line, RULE_SOURCE, code::rule_bypassed);
}

void judge_rule(const list_line &line, list_memory *)
{
    static constexpr size_t networks[] = {RULE_SOURCE, RULE_DESTINATION};
    const char *action = line.field[RULE_ACTION];
    bool is_drop = strcmp(action, DROP_ACTION) == 0;
    if (!is_drop && strcmp(action, "ACCEPT") != 0)
        tell(line, RULE_ACTION, code::action, action);
    for (size_t field : networks) {
        if (is_given(line.field[field]))
            judge_network(line, field, true);
    }
    judge_protocol(line, RULE_PROTOCOL);
    judge_ports(line, RULE_SOURCE_PORT, RULE_PROTOCOL);
    judge_ports(line, RULE_DESTINATION_PORT, RULE_PROTOCOL);
    judge_reach(line, is_drop);
}

// MAC and URL filter

// The schedule that the entry names, when it is on; else null, with a finding for one that is
// named in vain.
static const named_line *judge_named(const list_line &line, size_t field, const char *instead)
{
    const char *name = line.field[field];
    if (strcmp(name, ALWAYS_SCHEDULE) == 0)
        return nullptr;
    const named_line *schedule = find_name(line.all.schedules, name);
    if (schedule == nullptr)
        tell(line, field, code::schedule_missing, name, instead);
    else if (!schedule->is_on)
        tell(line, field, code::schedule_off, name, instead);
    return schedule != nullptr && schedule->is_on ? schedule : nullptr;
}

void judge_mac_list(const settings &all)
{
    bool is_empty = !has_entries(file_of(all, source::macs), macs_format.hash_lines);
    if (is_empty && fw.mac_mode != MAC_OFF)
        find(all.r, 0, "-", code::mac_list_empty);
}

void judge_mac(const list_line &line, list_memory *)
{
    unsigned char mac[6];
    if (!parse_mac_text(line.field[MAC_ADDRESS], mac))
        tell(line, MAC_ADDRESS, code::mac, line.field[MAC_ADDRESS]);
    if (line.count > MAC_SCHEDULE)
        judge_named(line, MAC_SCHEDULE, "the entry holds at all times");
}

static bool is_url(const char *text)
{
    if (!isalnum(static_cast<unsigned char>(text[0])))
        return false;
    for (; *text != '\0'; text++) {
        if (!isalnum(static_cast<unsigned char>(*text)) && strchr(".-_/:?&=%~+@", *text) == nullptr)
            return false;
    }
    return true;
}

void judge_url(const list_line &line, list_memory *memory)
{
    if (!is_url(line.field[URL_TEXT]))
        tell(line, URL_TEXT, code::url, line.field[URL_TEXT]);
    bool is_inherited = memory->scheduled_line != 0;
    const named_line *schedule =
        judge_named(line, URL_SCHEDULE,
                    is_inherited ? "the entry holds at the times of the last scheduled one above"
                                 : "the entry holds at all times");
    if (schedule != nullptr) {
        memory->scheduled_line = schedule->has_match ? line.number : 0;
        return;
    }
    if (is_inherited && strcmp(line.field[URL_SCHEDULE], ALWAYS_SCHEDULE) == 0)
        tell_number(line, URL_SCHEDULE, code::url_inherits, memory->scheduled_line);
}

// Router access

constexpr const char *other_services[] = {"HTTPS", "SSH",  "TELNET", "FTP",  "TFTP", "SNMP",
                                          "DNS",   "PING", "ICMP",   "CWMP", "TR069"};

constexpr const char *verdicts[] = {"ACCEPT", "DROP", "logaccept", "logdrop"};

// Interfaces of the router and of modems; a number follows.
constexpr const char *interface_kinds[] = {"br",  "vlan", "wimax", "ra",  "ppp",
                                           "eth", "wds",  "apcli", "usb", "wwan"};

static void judge_service(const list_line &line)
{
    const char *service = line.field[ACCESS_SERVICE];
    if (strcmp(service, HTTP_SERVICE) == 0)
        return;
    if (strcasecmp(service, HTTP_SERVICE) == 0)
        tell(line, ACCESS_SERVICE, code::http_case, service);
    else if (is_any_case_of(service, other_services))
        tell(line, ACCESS_SERVICE, code::access_service, service);
}

static bool is_interface_name(const char *name)
{
    if (strlen(name) > 15 || !isalnum(static_cast<unsigned char>(name[0])))
        return false;
    for (; *name != '\0'; name++) {
        if (!isalnum(static_cast<unsigned char>(*name)) && strchr("._:+-", *name) == nullptr)
            return false;
    }
    return true;
}

static bool is_usual_interface(const char *name)
{
    if (strcmp(name, "lo") == 0)
        return true;
    for (const char *kind : interface_kinds) {
        size_t length = strlen(kind);
        if (strncmp(name, kind, length) == 0 && strspn(name + length, "0123456789.+") > 0 &&
            name[length + strspn(name + length, "0123456789.+")] == '\0')
            return true;
    }
    return false;
}

static void judge_interface(const list_line &line)
{
    const char *name = line.field[ACCESS_INTERFACE];
    if (strcmp(name, ANY_INTERFACE) == 0)
        return;
    if (!is_interface_name(name))
        tell(line, ACCESS_INTERFACE, code::interface_name, name);
    else if (strcmp(name, known_interfaces[LAN].iface) == 0)
        tell(line, ACCESS_INTERFACE, code::access_lan);
    else if (!is_usual_interface(name))
        tell(line, ACCESS_INTERFACE, code::interface_odd, name);
}

static void judge_source(const list_line &line)
{
    const char *source = line.field[ACCESS_SOURCE];
    const char *netmask = line.field[ACCESS_NETMASK];
    bool is_any = strcmp(source, ANY_SOURCE) == 0;
    bool is_any_netmask = strcmp(netmask, ANY_SOURCE) == 0;
    uint32_t address;
    uint32_t mask;
    if (is_any && !is_any_netmask)
        tell(line, ACCESS_NETMASK, code::netmask_beside_any);
    else if (!is_any && is_any_netmask)
        tell(line, ACCESS_NETMASK, code::source_beside_any);
    if (is_any || is_any_netmask)
        return;
    bool is_address = parse_ipv4(source, &address);
    if (!is_address)
        tell(line, ACCESS_SOURCE, code::address, source);
    if (!parse_netmask(netmask, true, &mask))
        tell(line, ACCESS_NETMASK, code::netmask, netmask);
    else if (is_address && (address & ~mask) != 0)
        tell(line, ACCESS_SOURCE, code::host_bits);
}

void judge_access(const list_line &line, list_memory *)
{
    judge_service(line);
    judge_interface(line);
    judge_source(line);
    const char *target = line.field[ACCESS_TARGET];
    if (!is_one_of(target, verdicts))
        tell(line, ACCESS_TARGET, code::target, target);
}
