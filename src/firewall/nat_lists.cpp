#include "firewall/nat_lists.h"

#include "firewall/list_formats.h"
#include "firewall/rule_writer.h"
#include "firewall/switches.h"
#include "util/log.h"

#include <string.h>
#include <strings.h>

// Virtual servers

static bool write_vserver_rule(const list_entry &entry, rule_output *out)
{
    const auto &field = entry.field;
    rule_text rule;
    add(&rule, "-A VSERVER -p ", field[VSERVER_PROTOCOL], " -m ", field[VSERVER_PROTOCOL]);
    add(&rule, " --dport ", field[VSERVER_PUBLIC_PORT]);
    add(&rule, " -j DNAT --to ", field[VSERVER_ADDRESS], ":", field[VSERVER_PORT], "\n");
    fputs(rule.text, out->file);
    return true;
}

constexpr rule_source virtual_servers = {
    vservers_format, "get_vservers_filters", write_vserver_rule, nullptr, rule_source::goes_on,
};

int get_vservers_rules(FILE *file)
{
    return write_rules(virtual_servers, {file});
}

// Masquerading

constexpr option_field masquerading_options[] = {
    {MASQ_SOURCE, " -s ", nullptr},
    {MASQ_PROTOCOL, " -p ", nullptr},
    {MASQ_PORT, " --dport ", nullptr},
};

static bool write_masquerading_rule(const list_entry &entry, rule_output *out)
{
    rule_text rule;
    add(&rule, "-A POSTROUTING ");
    add_options(&rule, masquerading_options, entry);
    add(&rule, " -j MASQUERADE\n");
    fputs(rule.text, out->file);
    return true;
}

constexpr rule_source masquerading = {
    masq_format, "get_masquerading", write_masquerading_rule, nullptr, rule_source::goes_on,
};

int get_masquerading(FILE *file)
{
    return write_rules(masquerading, {file});
}

// Port triggers

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
    // Who looks into the log knows the line so: "out_port," shows nothing, and the labels behind it
    // are off by one: in_proto shows the opened port and in_port the protocol that nothing else
    // uses.
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
    triggers_format, nullptr, write_trigger_rules, nullptr, rule_source::goes_on,
};

int porttrigger_setting_morvi(FILE *file, const char *lan_if)
{
    if (fw.trigger_ports == 0)
        return -1;
    return write_rules(port_triggers, {file, lan_if});
}
