#include "firewall/rule_sources.h"

#include "firewall/rule_list.h"
#include "firewall/schedule.h"
#include "firewall/switches.h"
#include "util/log.h"
#include "util/text.h"

#include <string.h>
#include <strings.h>

constexpr size_t RULE_TEXT_MAX = 256;

// What the writers of a list work with while the list is read.
struct rule_output {
    FILE *file;
    const char *lan_if;
    const char *accept_target;
    const char *drop_target;
    char time_match[TIME_MATCH_MAX]; // of the latest entry with a schedule
    const char *closing_target;      // the verdict at the end of MACS
};

struct rule_source {
    list_format format;
    const char *tag; // for "start" and "done"; null for a list that says neither
    // Writes the rules of an entry. Returns false to give the list up.
    bool (*write_entry)(const list_entry &entry, rule_output *out);
    void (*write_closing)(const rule_output &out); // behind the last entry; may be null
};

static int write_rules(const rule_source &source, rule_output out)
{
    if (source.tag != nullptr)
        logmessage(source.tag, "start");
    list_reader reader;
    if (!open_list(&reader, source.format))
        return -1;
    bool goes_on = true;
    while (goes_on && next_entry(&reader))
        goes_on = source.write_entry(reader.entry, &out);
    close_list(&reader);
    if (!goes_on)
        return -1;
    if (source.write_closing != nullptr)
        source.write_closing(out);
    if (source.tag != nullptr)
        logmessage(source.tag, "done");
    return 0;
}

// A field that becomes an option of its rule, unless it is "-".
struct option_field {
    size_t field;
    const char *option;
    const char *range_option; // for a text with a hyphen in it; null when ranges are no different
};

template <size_t N>
static void append_options(char (&text)[RULE_TEXT_MAX], const option_field (&options)[N],
                           const list_entry &entry)
{
    for (const option_field &row : options) {
        const char *value = entry.field[row.field];
        if (strcmp(value, "-") == 0)
            continue;
        bool is_range = row.range_option != nullptr && strchr(value, '-') != nullptr;
        text_append(text, sizeof(text), " %s %s", is_range ? row.range_option : row.option, value);
    }
}

// User rules

constexpr size_t RULE_ACTION = 0;

constexpr option_field user_rule_options[] = {
    {5, "-p", nullptr},       {3, "-s", "--src-range"}, {6, "--sport", nullptr},
    {4, "-d", "--dst-range"}, {7, "--dport", nullptr},
};

static bool write_user_rule(const list_entry &entry, rule_output *out)
{
    char options[RULE_TEXT_MAX] = "";
    append_options(options, user_rule_options, entry);
    bool is_drop = strcmp(entry.field[RULE_ACTION], "DROP") == 0;
    const char *target = is_drop ? out->drop_target : out->accept_target;
    fprintf(out->file, "-A FORWARD %s -j %s\n", options, target);
    fprintf(out->file, "-A INPUT %s -j %s\n", options, target);
    return true;
}

constexpr rule_source user_rules = {
    {"/etc/default/rules", 9, comments::skipped, field_end::kept, missing_fields::inherited, " ",
     nullptr},
    nullptr,
    write_user_rule,
    nullptr,
};

int get_user_rules(FILE *file, const char *accept_target, const char *drop_target)
{
    return write_rules(user_rules, {file, "", accept_target, drop_target, "", ""});
}

// MAC filter

enum mac_field { MAC_ADDRESS = 0, MAC_SCHEDULE = 1 };

// What stands for the closing target until an entry has given it; iptables knows no such chain.
constexpr char NO_TARGET[] = "(null)";

static bool write_mac_rule(const list_entry &entry, rule_output *out)
{
    const char *target;
    out->time_match[0] = '\0';
    schedule_to_match(out->time_match, entry.field[MAC_SCHEDULE]);
    switch (fw.mac_mode) {
    case MAC_ALLOW:
        target = "RETURN";
        out->closing_target = out->drop_target;
        break;
    case MAC_DENY:
        target = "DROP";
        out->closing_target = out->accept_target;
        break;
    default:
        return false;
    }
    fprintf(out->file, "-A MACS -m mac --mac-source %s ", entry.field[MAC_ADDRESS]);
    if (out->time_match[0] != '\0')
        fprintf(out->file, "%s ", out->time_match);
    fprintf(out->file, "-j %s\n", target);
    return true;
}

static void write_mac_closing(const rule_output &out)
{
    fprintf(out.file, "-A MACS -j %s\n", out.closing_target);
    fprintf(out.file, "-A INPUT -i %s -j MACS\n", out.lan_if);
    fprintf(out.file, "-A FORWARD -i %s -j MACS\n", out.lan_if);
}

constexpr rule_source mac_filters = {
    {"/etc/default/macfilter_list", 2, comments::skipped, field_end::trimmed,
     missing_fields::emptied, " ", nullptr},
    "get_mac_filters",
    write_mac_rule,
    write_mac_closing,
};

int get_mac_filters(FILE *file, const char *lan_if, const char *accept_target,
                    const char *drop_target)
{
    return write_rules(mac_filters, {file, lan_if, accept_target, drop_target, "", NO_TARGET});
}

// URL filter

enum url_field { URL_TEXT = 0, URL_SCHEDULE = 1 };

static bool write_url_rule(const list_entry &entry, rule_output *out)
{
    const char *url = entry.field[URL_TEXT];
    schedule_to_match(out->time_match, entry.field[URL_SCHEDULE]);
    if (out->time_match[0] != '\0')
        fprintf(out->file, "-I FORWARD -p tcp  -m webstr --url %s %s -j DROP\n", url,
                out->time_match);
    else
        fprintf(out->file, "-I FORWARD -p tcp -m webstr --url %s -j DROP\n", url);
    return true;
}

constexpr rule_source url_filters = {
    {"/etc/default/url_filter", 2, comments::parsed, field_end::trimmed, missing_fields::inherited,
     " ", nullptr},
    "get_url_filters",
    write_url_rule,
    nullptr,
};

int get_url_filters(FILE *file, const char *accept_target, const char *drop_target)
{
    return write_rules(url_filters, {file, "", accept_target, drop_target, "", ""});
}

// Router access

enum access_field {
    ACCESS_SERVICE = 0,
    ACCESS_INTERFACE = 1,
    ACCESS_SOURCE = 2,
    ACCESS_NETMASK = 3,
    ACCESS_TARGET = 4
};

constexpr size_t RULE_PIECE_MAX = 64;

static bool write_access_rule(const list_entry &entry, rule_output *out)
{
    const char *iface = entry.field[ACCESS_INTERFACE];
    const char *source = entry.field[ACCESS_SOURCE];
    const char *netmask = entry.field[ACCESS_NETMASK];
    char rule[RULE_TEXT_MAX] = "-A H_ACCESS";
    if (strcmp(iface, "auto") != 0)
        text_append(rule, sizeof(rule), " -i %s", iface);
    if (strcmp(source, "any") != 0 && strcmp(netmask, "any") != 0) {
        char piece[RULE_PIECE_MAX];
        text_format(piece, sizeof(piece), " -s %s/%s", source, netmask);
        text_append(rule, sizeof(rule), "%s", piece);
    }
    if (strcmp(entry.field[ACCESS_SERVICE], "HTTP") == 0)
        text_append(rule, sizeof(rule), " -p tcp --dport 80");
    text_append(rule, sizeof(rule), " -j %s", entry.field[ACCESS_TARGET]);
    fprintf(out->file, "%s\n", rule);
    return true;
}

static void write_access_closing(const rule_output &out)
{
    fputs("-A H_ACCESS -j RETURN\n", out.file);
}

constexpr rule_source router_access = {
    {"/etc/default/httpd_access.conf", 9, comments::skipped, field_end::trimmed,
     missing_fields::inherited, " \t", "/etc/default/httpd_access.conf"},
    "get_haccess_filters",
    write_access_rule,
    write_access_closing,
};

int get_haccess_rules(FILE *file)
{
    return write_rules(router_access, {file, "", "", "", "", ""});
}

// Virtual servers

enum vserver_field {
    VSERVER_PROTOCOL = 1,
    VSERVER_PUBLIC_PORT = 2,
    VSERVER_PORT = 3,
    VSERVER_ADDRESS = 4
};

static bool write_vserver_rule(const list_entry &entry, rule_output *out)
{
    const auto &field = entry.field;
    fprintf(out->file, "-A VSERVER -p %s -m %s --dport %s -j DNAT --to %s:%s\n",
            field[VSERVER_PROTOCOL], field[VSERVER_PROTOCOL], field[VSERVER_PUBLIC_PORT],
            field[VSERVER_ADDRESS], field[VSERVER_PORT]);
    return true;
}

constexpr rule_source virtual_servers = {
    {"/etc/default/vservers", 9, comments::parsed, field_end::kept, missing_fields::inherited, " ",
     "get_vservers_rules"},
    "get_vservers_filters",
    write_vserver_rule,
    nullptr,
};

int get_vservers_rules(FILE *file)
{
    return write_rules(virtual_servers, {file, "", "", "", "", ""});
}

// Masquerading

constexpr option_field masquerading_options[] = {
    {1, "-s", nullptr},
    {3, "-p", nullptr},
    {4, "--dport", nullptr},
};

static bool write_masquerading_rule(const list_entry &entry, rule_output *out)
{
    char options[RULE_TEXT_MAX] = "";
    append_options(options, masquerading_options, entry);
    fprintf(out->file, "-A POSTROUTING %s -j MASQUERADE\n", options);
    return true;
}

constexpr rule_source masquerading = {
    {"/etc/default/masq", 9, comments::skipped, field_end::trimmed, missing_fields::inherited, " ",
     nullptr},
    "get_masquerading",
    write_masquerading_rule,
    nullptr,
};

int get_masquerading(FILE *file)
{
    return write_rules(masquerading, {file, "", "", "", "", ""});
}

// Port triggers

enum trigger_field {
    TRIGGER_NAME = 0,
    TRIGGER_PORT = 1,
    TRIGGER_IN_PROTOCOL = 2,
    TRIGGER_OPENED_PORT = 3,
    TRIGGER_PROTOCOL = 4
};

// The protocols of the rules that a trigger with this protocol field writes, told by its first
// three letters in any case.
struct trigger_kind {
    const char *name;
    const char *protocols[2];
};

constexpr trigger_kind trigger_kinds[] = {
    {"all", {"tcp", "udp"}},
    {"tcp", {"tcp", nullptr}},
    {"udp", {"udp", nullptr}},
};
constexpr size_t TRIGGER_KIND_COMPARED = 3;

static void write_trigger(const list_entry &entry, const rule_output &out, const char *protocol)
{
    const char *port = entry.field[TRIGGER_PORT];
    const char *opened = entry.field[TRIGGER_OPENED_PORT];
    fprintf(out.file,
            "-A PREROUTING -p %s -i %s --dport %s:%s -j autofw --related-proto %s "
            "--related-dport %s-%s --related-to %s-%s\n",
            protocol, out.lan_if, port, port, protocol, opened, opened, opened, opened);
}

static bool write_trigger_rules(const list_entry &entry, rule_output *out)
{
    // The line reads as it always has: "out_port," shows nothing, and the labels behind it are off
    // by one, so in_proto shows the opened port and in_port the protocol that nothing else uses.
    logmessage("porttrigger_setting_morvi",
               "desc = %s, out_proto = %s, out_port, in_proto=%s, in_port=%s",
               entry.field[TRIGGER_NAME], entry.field[TRIGGER_PROTOCOL],
               entry.field[TRIGGER_OPENED_PORT], entry.field[TRIGGER_IN_PROTOCOL]);
    for (const trigger_kind &kind : trigger_kinds) {
        if (strncasecmp(entry.field[TRIGGER_PROTOCOL], kind.name, TRIGGER_KIND_COMPARED) != 0)
            continue;
        for (const char *protocol : kind.protocols) {
            if (protocol != nullptr)
                write_trigger(entry, *out, protocol);
        }
        break;
    }
    return true;
}

constexpr rule_source port_triggers = {
    {"/etc/default/trigger_ports", 9, comments::skipped, field_end::trimmed,
     missing_fields::inherited, " ", nullptr},
    nullptr,
    write_trigger_rules,
    nullptr,
};

int porttrigger_setting_morvi(FILE *file, const char *lan_if)
{
    if (fw.trigger_ports == 0)
        return -1;
    return write_rules(port_triggers, {file, lan_if, "", "", "", ""});
}
