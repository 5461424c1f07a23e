#include "config/known_interfaces.h"
#include "config/source_formats.h"
#include "ctl/check/fields.h"
#include "ctl/check/judges.h"
#include "util/text.h"
#include "wan/link_kind.h"

#include <string.h>

enum interface_position {
    IF_NAME = 0,
    IF_SECOND_NAME = 1,
    IF_AUTO = 2,
    IF_TYPE = 3,
    IF_ADDRESS = 4,
    IF_NETMASK = 5,
    IF_GATEWAY = 6,
    IF_METRIC = 7,
    IF_BROADCAST = 8,
    IF_MTU = 9,
    IF_MAC = 10
};

// The types with which an interface gets what it needs.
struct interface_types {
    const char *types[3];
    const char *words;
};

constexpr interface_types types_of[INTERFACES] = {
    {{"static", "dhcp", ""}, "static"},
    {{"static", "dhcp", "pppoe"}, "static, dhcp or pppoe"},
    {{"static", "dhcp", ""}, "static or dhcp"},
};

constexpr uint32_t METRIC_MAX = 99999;
constexpr uint32_t MTU_MIN = 68;
constexpr uint32_t MTU_MAX = 1500;

static void split(const settings_line &line, line_words *words)
{
    const line_format &format = interfaces_format;
    split_line(line, format.separators, format.separators, format.end, words);
}

static bool is_host(uint32_t address)
{
    uint32_t first = address >> 24;
    return first != 0 && first != 127 && first < 224;
}

static bool take_network(const line_words &words, ipv4_network *network)
{
    return words.count > IF_NETMASK && parse_ipv4(words.word[IF_ADDRESS], &network->address) &&
           parse_netmask(words.word[IF_NETMASK], false, &network->mask);
}

static void learn_line(interface_facts *facts, const char *iface, const line_words &words)
{
    facts->is_auto = words.count > IF_AUTO && strcmp(words.word[IF_AUTO], "1") == 0;
    text_set(facts->type, words.count > IF_TYPE ? words.word[IF_TYPE] : "");
    bool is_static = strcmp(facts->type, "static") == 0;
    facts->has_network = is_static && take_network(words, &facts->network);
    facts->metric = static_cast<uint32_t>(get_link_kind(iface)->dhcp_metric);
    if (is_static && (words.count <= IF_METRIC ||
                      !parse_number(words.word[IF_METRIC], METRIC_MAX, &facts->metric)))
        facts->metric = 0;
}

// A LAN without a line; of a WAN without one nobody asks more.
static void learn_default(interface_facts *lan)
{
    const known_interface &known = known_interfaces[LAN];
    lan->has_network = parse_ipv4(known.ipaddr, &lan->network.address) &&
                       parse_netmask(known.netmask, false, &lan->network.mask);
}

void learn_interfaces(settings *all)
{
    learn_default(&all->interfaces[LAN]);
    line_reader reader = begin_lines(file_of(*all, source::interfaces));
    settings_line line;
    while (next_line(&reader, &line)) {
        line_words words;
        if (!is_entry(&reader, line, interfaces_format.hash_lines, nullptr))
            continue;
        split(line, &words);
        size_t i = find_interface(words.word[IF_NAME]);
        if (i == INTERFACES)
            continue;
        learn_line(&all->interfaces[i], known_interfaces[i].iface, words);
        all->interfaces[i].line = line.number;
    }
}

// One line that counts, while it is judged.
struct interface_line {
    const settings &all;
    unsigned number;
    size_t interface;
    char *const *word;
};

static void tell(const interface_line &line, size_t field, code id, const char *first = "",
                 const char *second = "")
{
    find(line.all.r, line.number, interface_fields[field].name, id, first, second);
}

static bool judge_address(const interface_line &line, size_t field, uint32_t *address)
{
    if (parse_ipv4(line.word[field], address) && is_host(*address))
        return true;
    tell(line, field, code::address, line.word[field]);
    return false;
}

static void judge_gateway(const interface_line &line, const ipv4_network &network)
{
    bool is_lan = line.interface == LAN;
    uint32_t gateway;
    if (!is_given(line.word[IF_GATEWAY])) {
        if (!is_lan)
            tell(line, IF_GATEWAY, code::gateway_missing);
        return;
    }
    if (!judge_address(line, IF_GATEWAY, &gateway) || is_in(network, gateway))
        return;
    char text[NETWORK_TEXT_MAX];
    format_network(text, network);
    tell(line, IF_GATEWAY, code::gateway_outside, text);
}

static void judge_broadcast(const interface_line &line, const ipv4_network &network)
{
    const char *word = line.word[IF_BROADCAST];
    uint32_t broadcast;
    if (!is_given(word))
        return;
    if (!parse_ipv4(word, &broadcast)) {
        tell(line, IF_BROADCAST, code::address, word);
        return;
    }
    uint32_t given = network.address | ~network.mask;
    char text[NETWORK_TEXT_MAX];
    text_format(text, sizeof(text), "%u.%u.%u.%u", given >> 24, given >> 16 & 255, given >> 8 & 255,
                given & 255);
    if (broadcast != given)
        tell(line, IF_BROADCAST, code::broadcast_unused, text);
}

static void judge_overlap(const interface_line &line, const ipv4_network &network)
{
    const interface_facts &lan = line.all.interfaces[LAN];
    if (line.interface != LAN && lan.has_network && do_overlap(lan.network, network))
        tell(line, IF_ADDRESS, code::networks_overlap);
}

// Says which of the two is missing. Returns whether none is.
static bool has_address(const interface_line &line)
{
    static constexpr size_t needed[] = {IF_ADDRESS, IF_NETMASK};
    bool has_both = true;
    for (size_t field : needed) {
        if (is_given(line.word[field]))
            continue;
        tell(line, field, code::static_address);
        has_both = false;
    }
    return has_both;
}

static void judge_static(const interface_line &line)
{
    ipv4_network network;
    if (!has_address(line) || !judge_address(line, IF_ADDRESS, &network.address))
        return;
    if (!parse_netmask(line.word[IF_NETMASK], false, &network.mask) || network.mask == 0) {
        tell(line, IF_NETMASK, code::netmask, line.word[IF_NETMASK]);
        return;
    }
    judge_overlap(line, network);
    judge_gateway(line, network);
    judge_broadcast(line, network);
}

static void judge_unused(const interface_line &line)
{
    static constexpr size_t unused[] = {IF_ADDRESS, IF_NETMASK, IF_GATEWAY, IF_BROADCAST};
    for (size_t field : unused) {
        if (is_given(line.word[field]))
            tell(line, field, code::address_unused, line.word[IF_TYPE]);
    }
}

static void judge_metric(const interface_line &line)
{
    const char *word = line.word[IF_METRIC];
    uint32_t metric;
    if (!is_given(word))
        return;
    if (!parse_number(word, METRIC_MAX, &metric))
        tell(line, IF_METRIC, code::number, word);
    else if (strcmp(line.word[IF_TYPE], "dhcp") == 0)
        tell(line, IF_METRIC, code::metric_unused);
    else if (strcmp(line.word[IF_TYPE], "pppoe") == 0)
        tell(line, IF_METRIC, code::address_unused, line.word[IF_TYPE]);
}

static void judge_mtu(const interface_line &line)
{
    const char *word = line.word[IF_MTU];
    uint32_t mtu = 0;
    if (!is_given(word))
        return;
    if (!parse_number(word, MTU_MAX, &mtu) || mtu < MTU_MIN)
        tell(line, IF_MTU, code::mtu, word);
    else if (line.interface == LAN)
        tell(line, IF_MTU, code::lan_link_unused);
}

static void judge_own_mac(const interface_line &line)
{
    static constexpr unsigned char nothing[6] = {};
    const char *word = line.word[IF_MAC];
    unsigned char mac[6];
    if (!is_given(word))
        return;
    if (!parse_mac_text(word, mac) || mac[0] % 2 != 0 || memcmp(mac, nothing, sizeof(mac)) == 0)
        tell(line, IF_MAC, code::mac, word);
    else if (line.interface == LAN)
        tell(line, IF_MAC, code::lan_link_unused);
}

static void judge_auto(const interface_line &line)
{
    const char *word = line.word[IF_AUTO];
    if (strcmp(word, "1") == 0)
        return;
    if (!is_no_word(word))
        tell(line, IF_AUTO, code::flag, word);
    else if (line.interface == LAN)
        tell(line, IF_AUTO, code::lan_always_on);
}

static bool judge_type(const interface_line &line)
{
    const char *type = line.word[IF_TYPE];
    const interface_types &known = types_of[line.interface];
    if (type[0] == '\0' || !is_one_of(type, known.types)) {
        tell(line, IF_TYPE, code::interface_type, type, known.words);
        return false;
    }
    if (line.interface == LAN && strcmp(type, "dhcp") == 0)
        tell(line, IF_TYPE, code::lan_dhcp);
    bool is_dialled_over = line.interface == WIRED_WAN && strcmp(type, "pppoe") == 0 &&
                           line.all.interfaces[WIRED_WAN].is_auto;
    if (is_dialled_over && !line.all.is_peer_dialled)
        tell(line, IF_TYPE, code::pppoe_without_peer);
    return true;
}

// What each field holds by itself. The words are as trimmed, so there is no line end.
static bool judge_words(const settings &all, unsigned number, const line_words &words)
{
    bool is_good = true;
    for (size_t i = 0; i < words.count && i < INTERFACE_FIELDS; i++) {
        const interface_field &field = interface_fields[i];
        // The second name is not used, but a tab in it joins it with the field behind.
        size_t capacity = i == IF_SECOND_NAME ? SETTINGS_LINE_MAX : field.capacity;
        if (!is_utf8(words.word[i])) {
            find(all.r, number, field.name, code::not_utf8);
            is_good = false;
        } else if (!take_field(all, number, field.name, words.word[i], capacity)) {
            is_good = false;
        }
    }
    return is_good;
}

static bool is_short(const line_words &words)
{
    if (words.count >= INTERFACE_FIELDS)
        return false;
    return words.count != FIRST_ADDRESS_FIELD || words.all != words.count;
}

static void judge_fields(const interface_line &line, bool has_addresses)
{
    judge_auto(line);
    if (!judge_type(line))
        return;
    if (!has_addresses) {
        if (strcmp(line.word[IF_TYPE], "static") == 0)
            tell(line, IF_ADDRESS, code::static_address);
        return;
    }
    if (strcmp(line.word[IF_TYPE], "static") == 0)
        judge_static(line);
    else
        judge_unused(line);
    judge_metric(line);
    judge_mtu(line);
    judge_own_mac(line);
}

static void judge_line(const settings &all, unsigned number, const line_words &words)
{
    size_t i = find_interface(words.word[IF_NAME]);
    const char *name = interface_fields[IF_NAME].name;
    if (i == INTERFACES) {
        find(all.r, number, name, code::interface_unknown, words.word[IF_NAME],
             "br0, vlan2 or wimax0");
        return;
    }
    if (all.interfaces[i].line != number) {
        find_number(all.r, number, name, code::interface_twice, all.interfaces[i].line);
        return;
    }
    if (is_short(words)) {
        find_number(all.r, number, interface_fields[words.count].name, code::short_line,
                    INTERFACE_FIELDS);
        return;
    }
    judge_extra(all, number, words, INTERFACE_FIELDS);
    if (judge_words(all, number, words))
        judge_fields({all, number, i, words.word}, words.count >= INTERFACE_FIELDS);
}

static void judge_absent(const settings &all)
{
    for (size_t i = 0; i < INTERFACES; i++) {
        const known_interface &known = known_interfaces[i];
        if (all.interfaces[i].line == 0)
            find(all.r, 0, known.iface, code::interface_missing, known.iface,
                 i == LAN ? known.ipaddr : "by DHCP");
    }
}

void judge_interfaces(const settings &all, source which)
{
    judge_absent(all);
    line_reader reader = begin_lines(file_of(all, which));
    settings_line line;
    while (next_line(&reader, &line)) {
        line_words words;
        if (!is_entry(&reader, line, interfaces_format.hash_lines, all.r))
            continue;
        split(line, &words);
        judge_line(all, line.number, words);
    }
}
