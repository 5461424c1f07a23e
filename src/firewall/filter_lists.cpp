#include "firewall/filter_lists.h"

#include "firewall/list_formats.h"
#include "firewall/rule_writer.h"
#include "firewall/schedule.h"
#include "firewall/switches.h"
#include "util/text.h"

#include <string.h>

// User rules

constexpr option_field user_rule_options[] = {
    {RULE_PROTOCOL, " -p ", nullptr},
    {RULE_SOURCE, " -s ", " --src-range "},
    {RULE_SOURCE_PORT, " --sport ", nullptr},
    {RULE_DESTINATION, " -d ", " --dst-range "},
    {RULE_DESTINATION_PORT, " --dport ", nullptr},
};

static bool write_user_rule(const list_entry &entry, rule_output *out)
{
    bool is_drop = strcmp(entry.field[RULE_ACTION], DROP_ACTION) == 0;
    rule_text rule;
    add(&rule, " ");
    add_options(&rule, user_rule_options, entry);
    add(&rule, " -j ", is_drop ? out->drop_target : out->accept_target, "\n");
    const char *const lines[] = {"-A FORWARD", rule.text, "-A INPUT", rule.text};
    for (const char *text : lines)
        fputs(text, out->file);
    return true;
}

constexpr rule_source user_rules = {
    user_rules_format, nullptr, write_user_rule, nullptr, rule_source::goes_on,
};

int get_user_rules(FILE *file, const char *accept_target, const char *drop_target)
{
    return write_rules(user_rules, {file, "", accept_target, drop_target});
}

// MAC filter

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
    macs_format, "get_mac_filters", write_mac_rule, write_mac_closing, rule_source::is_not_loaded,
};

int get_mac_filters(FILE *file, const char *lan_if, const char *accept_target,
                    const char *drop_target)
{
    return write_rules(mac_filters, {file, lan_if, accept_target, drop_target});
}

// URL filter

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
    urls_format, "get_url_filters", write_url_rule, nullptr, rule_source::goes_on,
};

int get_url_filters(FILE *file, const char *accept_target, const char *drop_target)
{
    return write_rules(url_filters, {file, "", accept_target, drop_target});
}

// Router access

constexpr size_t RULE_PIECE_MAX = 64;

static bool write_access_rule(const list_entry &entry, rule_output *out)
{
    const char *iface = entry.field[ACCESS_INTERFACE];
    const char *source = entry.field[ACCESS_SOURCE];
    const char *netmask = entry.field[ACCESS_NETMASK];
    rule_text rule;
    add(&rule, "-A H_ACCESS");
    if (strcmp(iface, ANY_INTERFACE) != 0)
        add(&rule, " -i ", iface);
    if (strcmp(source, ANY_SOURCE) != 0 && strcmp(netmask, ANY_SOURCE) != 0) {
        char piece[RULE_PIECE_MAX];
        text_format(piece, sizeof(piece), " -s %s/%s", source, netmask);
        add(&rule, piece);
    }
    if (strcmp(entry.field[ACCESS_SERVICE], HTTP_SERVICE) == 0)
        add(&rule, " -p tcp --dport 80");
    add(&rule, " -j ", entry.field[ACCESS_TARGET], "\n");
    fputs(rule.text, out->file);
    return true;
}

static void write_access_closing(const rule_output &out)
{
    fputs("-A H_ACCESS -j RETURN\n", out.file);
}

constexpr rule_source router_access = {
    access_format,        "get_haccess_filters", write_access_rule,
    write_access_closing, rule_source::goes_on,
};

int get_haccess_rules(FILE *file)
{
    return write_rules(router_access, {file});
}
