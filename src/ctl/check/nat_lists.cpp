#include "ctl/check/list_judges.h"
#include "ctl/check/values.h"
#include "firewall/switches.h"

#include <string.h>
#include <strings.h>

// Port forwards

constexpr const char *protocols[FORWARD_PROTOCOLS] = {"tcp", "udp"};

static bool judge_forward_ports(const list_line &line, port_range *ports)
{
    port_range inside;
    bool is_good = parse_ports(line.field[VSERVER_PUBLIC_PORT], ':', ports);
    if (!is_good)
        tell(line, VSERVER_PUBLIC_PORT, code::port, line.field[VSERVER_PUBLIC_PORT],
             "a number from 1 to 65535, or FIRST:LAST");
    if (!parse_ports(line.field[VSERVER_PORT], '-', &inside) || inside.first == 0)
        tell(line, VSERVER_PORT, code::port, line.field[VSERVER_PORT],
             "a number from 1 to 65535, or FIRST-LAST");
    else if (is_good && ports->first != ports->last && inside.first == inside.last)
        tell(line, VSERVER_PORT, code::forward_one_port, line.field[VSERVER_PORT]);
    return is_good;
}

static void judge_shadow(const list_line &line, port_range ports, list_memory *memory)
{
    bool is_udp = strcmp(line.field[VSERVER_PROTOCOL], "udp") == 0;
    if (memory->taken_ports == nullptr)
        return;
    unsigned char *taken = memory->taken_ports + (is_udp ? PORTS : 0);
    size_t count = ports.last - ports.first + 1;
    if (memchr(taken + ports.first, 1, count) != nullptr)
        tell(line, VSERVER_PUBLIC_PORT, code::forward_shadowed);
    memset(taken + ports.first, 1, count);
}

static void judge_inside(const list_line &line)
{
    const interface_facts &lan = line.all.interfaces[LAN];
    const char *text = line.field[VSERVER_ADDRESS];
    uint32_t address;
    if (!parse_ipv4(text, &address)) {
        tell(line, VSERVER_ADDRESS, code::address, text);
        return;
    }
    if (!lan.has_network)
        return;
    char network[NETWORK_TEXT_MAX];
    format_network(network, lan.network);
    if (address == lan.network.address)
        tell(line, VSERVER_ADDRESS, code::forward_router);
    else if (!is_in(lan.network, address))
        tell(line, VSERVER_ADDRESS, code::forward_outside, network);
}

void judge_vserver(const list_line &line, list_memory *memory)
{
    const char *protocol = line.field[VSERVER_PROTOCOL];
    bool is_protocol = is_one_of(protocol, protocols);
    port_range ports;
    if (!is_protocol)
        tell(line, VSERVER_PROTOCOL, code::protocol, protocol, "tcp or udp");
    if (judge_forward_ports(line, &ports) && is_protocol)
        judge_shadow(line, ports, memory);
    judge_inside(line);
}

// Masquerading

static bool has_lan(const loaded_file &file, const ipv4_network &lan)
{
    line_reader reader = begin_lines(file);
    settings_line line;
    while (next_line(&reader, &line)) {
        line_words words;
        ipv4_network network;
        if (!is_entry(&reader, line, masq_format.hash_lines, nullptr) ||
            split_entry(line, masq_format, &words) <= MASQ_SOURCE)
            continue;
        const char *source = words.word[MASQ_SOURCE];
        if (!is_given(source) || (parse_network(source, &network) && do_overlap(network, lan)))
            return true;
    }
    return false;
}

void judge_masq_list(const settings &all)
{
    const interface_facts &lan = all.interfaces[LAN];
    if (fw.nat == 0 || !lan.has_network || has_lan(file_of(all, source::masq), lan.network))
        return;
    char network[NETWORK_TEXT_MAX];
    format_network(network, lan.network);
    find(all.r, 0, "-", code::lan_not_masqueraded, network);
}

void judge_masq(const list_line &line, list_memory *)
{
    if (is_given(line.field[MASQ_SOURCE]))
        judge_network(line, MASQ_SOURCE, false);
    else
        tell(line, MASQ_SOURCE, code::masq_all);
    judge_protocol(line, MASQ_PROTOCOL);
    judge_ports(line, MASQ_PORT, MASQ_PROTOCOL);
}

// Port triggers

static void judge_one_port(const list_line &line, size_t field)
{
    port_range ports;
    if (!parse_ports(line.field[field], '\0', &ports))
        tell(line, field, code::port, line.field[field], "one number from 1 to 65535");
}

void judge_trigger(const list_line &line, list_memory *)
{
    judge_one_port(line, TRIGGER_PORT);
    judge_one_port(line, TRIGGER_OPENED_PORT);
    const char *protocol = line.field[TRIGGER_PROTOCOL];
    for (const trigger_kind &kind : trigger_kinds) {
        if (strncasecmp(protocol, kind.name, TRIGGER_KIND_COMPARED) != 0)
            continue;
        if (strcasecmp(protocol, kind.name) != 0)
            tell(line, TRIGGER_PROTOCOL, code::trigger_protocol, protocol,
                 "it is read by its first three letters");
        return;
    }
    tell(line, TRIGGER_PROTOCOL, code::trigger_protocol, protocol, "nothing is opened");
}
