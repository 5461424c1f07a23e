// What the tools that the router hands its settings to surely take, and take as it is meant.
// Stricter than those tools are: a number with a leading 0 is octal to one and decimal to another.
#pragma once

#include <stddef.h>
#include <stdint.h>

bool is_one_of(const char *text, const char *const *words, size_t count);

template <size_t N> bool is_one_of(const char *text, const char *const (&words)[N])
{
    return is_one_of(text, words, N);
}

// The same in any case.
bool is_any_case_of(const char *text, const char *const *words, size_t count);

template <size_t N> bool is_any_case_of(const char *text, const char *const (&words)[N])
{
    return is_any_case_of(text, words, N);
}

// Whether a field says anything; one that does not holds NOT_GIVEN, in every file.
bool is_given(const char *word);

// Decimal digits only, no 0 in front, at most most. out is left alone when it returns false.
bool parse_number(const char *text, uint32_t most, uint32_t *out);

// A dotted quad, in host order.
bool parse_ipv4(const char *text, uint32_t *out);

// The bits of a dotted netmask, or of a number from 0 to 32 where those are allowed.
bool parse_netmask(const char *text, bool allow_bits, uint32_t *mask);

struct ipv4_network {
    uint32_t address;
    uint32_t mask;
};

// ADDRESS, or ADDRESS/BITS, or ADDRESS/NETMASK.
bool parse_network(const char *text, ipv4_network *out);

// FIRST-LAST, both addresses, in order.
bool parse_address_range(const char *text, uint32_t *first, uint32_t *last);

bool is_in(const ipv4_network &network, uint32_t address);
bool do_overlap(const ipv4_network &one, const ipv4_network &other);

// "192.168.1.0/24". The text holds 24 characters.
constexpr size_t NETWORK_TEXT_MAX = 24;
void format_network(char (&out)[NETWORK_TEXT_MAX], const ipv4_network &network);

struct port_range {
    uint32_t first;
    uint32_t last;
};

// PORT, or FIRST:LAST with separator ':'; a separator of 0 allows no range. A single port is not 0.
bool parse_ports(const char *text, char separator, port_range *out);

// Six bytes of two hexadecimal digits with colons between them.
bool parse_mac_text(const char *text, unsigned char (&mac)[6]);

// Whether text has a control character, such as a tab; and whether all of it is UTF-8.
bool has_control_characters(const char *text);
bool is_utf8(const char *text);

// Words that mean yes or no to people, in any case.
bool is_yes_word(const char *text);
bool is_no_word(const char *text);
