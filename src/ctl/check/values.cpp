#include "ctl/check/values.h"

#include "firewall/list_formats.h"
#include "util/text.h"

#include <ctype.h>
#include <string.h>
#include <strings.h>

bool is_one_of(const char *text, const char *const *words, size_t count)
{
    for (size_t i = 0; i < count; i++) {
        if (strcmp(text, words[i]) == 0)
            return true;
    }
    return false;
}

bool is_any_case_of(const char *text, const char *const *words, size_t count)
{
    for (size_t i = 0; i < count; i++) {
        if (strcasecmp(text, words[i]) == 0)
            return true;
    }
    return false;
}

bool is_given(const char *word)
{
    return strcmp(word, NOT_GIVEN) != 0;
}

bool parse_number(const char *text, uint32_t most, uint32_t *out)
{
    size_t length = strlen(text);
    if (length == 0 || length > 10 || strspn(text, "0123456789") != length)
        return false;
    if (text[0] == '0' && length > 1)
        return false;
    uint64_t value = 0;
    for (; *text != '\0'; text++)
        value = value * 10 + static_cast<unsigned>(*text - '0');
    if (value > most)
        return false;
    *out = static_cast<uint32_t>(value);
    return true;
}

// Split text at the first separator into two texts. Returns false when there is none, or when a
// part has no place.
template <size_t N>
static bool halve(const char *text, char separator, char (&first)[N], char (&second)[N])
{
    const char *at = strchr(text, separator);
    return at != nullptr && text_set(first, {text, static_cast<size_t>(at - text)}) &&
           text_set(second, at + 1);
}

bool parse_ipv4(const char *text, uint32_t *out)
{
    char copy[sizeof("255.255.255.255")];
    if (!text_set(copy, text))
        return false;
    uint32_t address = 0;
    char *part = copy;
    for (int i = 0; i < 4; i++) {
        char *dot = strchr(part, '.');
        if ((dot == nullptr) != (i == 3))
            return false;
        if (dot != nullptr)
            *dot = '\0';
        uint32_t byte;
        if (!parse_number(part, 255, &byte))
            return false;
        address = address << 8 | byte;
        part = dot != nullptr ? dot + 1 : part;
    }
    *out = address;
    return true;
}

static uint32_t mask_of_bits(uint32_t bits)
{
    return bits == 0 ? 0 : ~static_cast<uint32_t>(0) << (32 - bits);
}

bool parse_netmask(const char *text, bool allow_bits, uint32_t *mask)
{
    uint32_t value;
    if (allow_bits && parse_number(text, 32, &value)) {
        *mask = mask_of_bits(value);
        return true;
    }
    if (!parse_ipv4(text, &value) || (~value & (~value + 1)) != 0)
        return false;
    *mask = value;
    return true;
}

bool parse_network(const char *text, ipv4_network *out)
{
    out->mask = mask_of_bits(32);
    if (strchr(text, '/') == nullptr)
        return parse_ipv4(text, &out->address);
    char address[32];
    char mask[32];
    return halve(text, '/', address, mask) && parse_ipv4(address, &out->address) &&
           parse_netmask(mask, true, &out->mask);
}

bool parse_address_range(const char *text, uint32_t *first, uint32_t *last)
{
    char from[32];
    char to[32];
    return halve(text, '-', from, to) && parse_ipv4(from, first) && parse_ipv4(to, last) &&
           *first <= *last;
}

bool is_in(const ipv4_network &network, uint32_t address)
{
    return (address & network.mask) == (network.address & network.mask);
}

bool do_overlap(const ipv4_network &one, const ipv4_network &other)
{
    uint32_t common = one.mask & other.mask;
    return (one.address & common) == (other.address & common);
}

void format_network(char (&out)[NETWORK_TEXT_MAX], const ipv4_network &network)
{
    int bits = 0;
    while (bits < 32 && (network.mask << bits & 0x80000000U) != 0)
        bits++;
    uint32_t base = network.address & network.mask;
    text_format(out, sizeof(out), "%u.%u.%u.%u/%d", base >> 24, base >> 16 & 255, base >> 8 & 255,
                base & 255, bits);
}

bool parse_ports(const char *text, char separator, port_range *out)
{
    if (separator == '\0' || strchr(text, separator) == nullptr) {
        bool is_port = parse_number(text, 65535, &out->first) && out->first != 0;
        out->last = out->first;
        return is_port;
    }
    char first[32];
    char last[32];
    return halve(text, separator, first, last) && parse_number(first, 65535, &out->first) &&
           parse_number(last, 65535, &out->last) && out->first <= out->last;
}

static int hex_digit(char c)
{
    if (!isxdigit(static_cast<unsigned char>(c)))
        return -1;
    return isdigit(static_cast<unsigned char>(c)) ? c - '0' : (c | 0x20) - 'a' + 10;
}

bool parse_mac_text(const char *text, unsigned char (&mac)[6])
{
    if (strlen(text) != strlen("00:00:00:00:00:00"))
        return false;
    for (size_t i = 0; i < sizeof(mac); i++, text += 3) {
        int high = hex_digit(text[0]);
        int low = hex_digit(text[1]);
        if (high < 0 || low < 0 || (i < sizeof(mac) - 1 && text[2] != ':'))
            return false;
        mac[i] = static_cast<unsigned char>(high * 16 + low);
    }
    return true;
}

bool has_control_characters(const char *text)
{
    for (; *text != '\0'; text++) {
        if (iscntrl(static_cast<unsigned char>(*text)))
            return true;
    }
    return false;
}

// How many bytes follow the first one of a character; -1 for none that begins one.
static int follow_bytes(unsigned char first)
{
    if (first < 0x80)
        return 0;
    if (first >= 0xc2 && first < 0xe0)
        return 1;
    if (first >= 0xe0 && first < 0xf0)
        return 2;
    return first >= 0xf0 && first < 0xf5 ? 3 : -1;
}

// Characters in more bytes than they need, halves of pairs, and those beyond the last one.
static bool is_forbidden(const unsigned char *p)
{
    return (p[0] == 0xe0 && p[1] < 0xa0) || (p[0] == 0xed && p[1] >= 0xa0) ||
           (p[0] == 0xf0 && p[1] < 0x90) || (p[0] == 0xf4 && p[1] >= 0x90);
}

bool is_utf8(const char *text)
{
    const unsigned char *p = reinterpret_cast<const unsigned char *>(text);
    while (*p != '\0') {
        int follow = follow_bytes(*p);
        if (follow < 0)
            return false;
        for (int i = 1; i <= follow; i++) {
            if ((p[i] & 0xc0) != 0x80)
                return false;
        }
        if (is_forbidden(p))
            return false;
        p += follow + 1;
    }
    return true;
}

constexpr const char *yes_words[] = {"1", "yes", "on", "true", "enable", "enabled"};
constexpr const char *no_words[] = {"0", "-", "no", "off", "false", "disable", "disabled"};

bool is_yes_word(const char *text)
{
    return is_any_case_of(text, yes_words);
}

bool is_no_word(const char *text)
{
    return is_any_case_of(text, no_words);
}
