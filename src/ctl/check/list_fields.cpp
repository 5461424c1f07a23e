#include "ctl/check/list_fields.h"

#include "ctl/check/fields.h"
#include "ctl/check/values.h"

size_t split_entry(const settings_line &line, const list_format &format, line_words *words)
{
    split_line(line, " ", format.separators, format.end, words);
    for (size_t i = 0; i < words->count; i++)
        words->word[i][kept_length(words->word[i], LIST_FIELD_MAX)] = '\0';
    return words->count;
}

void tell(const list_line &line, size_t field, code id, const char *first, const char *second)
{
    find(line.all.r, line.number, line.names[field], id, first, second);
}

void tell_number(const list_line &line, size_t field, code id, unsigned long first,
                 const char *second)
{
    find_number(line.all.r, line.number, line.names[field], id, first, second);
}

// The protocols that every iptables knows without asking a file for them.
constexpr const char *known_protocols[] = {"tcp", "udp", "icmp", "esp", "ah", "all"};

constexpr const char *port_protocols[] = {"tcp", "udp"};

static bool is_protocol(const char *text)
{
    uint32_t number;
    return is_any_case_of(text, known_protocols) || parse_number(text, 255, &number);
}

void judge_protocol(const list_line &line, size_t field)
{
    const char *protocol = line.field[field];
    if (is_given(protocol) && !is_protocol(protocol))
        tell(line, field, code::protocol, protocol, "tcp, udp, icmp, its number, or -");
}

void judge_ports(const list_line &line, size_t field, size_t protocol_field)
{
    const char *protocol = line.field[protocol_field];
    port_range ports;
    if (!is_given(line.field[field]))
        return;
    if (is_given(protocol) && !is_protocol(protocol))
        return; // told of already
    if (!is_any_case_of(protocol, port_protocols))
        tell(line, field, code::port_without_protocol);
    else if (!parse_ports(line.field[field], ':', &ports))
        tell(line, field, code::port, line.field[field],
             "a number from 1 to 65535, FIRST:LAST, or -");
}

void judge_network(const list_line &line, size_t field, bool allow_range)
{
    const char *text = line.field[field];
    uint32_t first;
    uint32_t last;
    ipv4_network network;
    if (allow_range && parse_address_range(text, &first, &last))
        return;
    if (!parse_network(text, &network)) {
        tell(line, field, code::network, text);
        return;
    }
    if ((network.address & ~network.mask) != 0)
        tell(line, field, code::host_bits);
}
