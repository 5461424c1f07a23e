// The formats of the network settings under /etc/default, as data: the readers (config/sources.h)
// read by these tables, and mctl check judges by them.
#pragma once

#include "config/params.h"
#include "config/settings_file.h"

#include <stddef.h>

// network-interfaces: one interface a line.

inline constexpr line_format interfaces_format = {
    "/etc/default/network-interfaces",
    comments::skipped,
    field_end::trimmed,
    " ",
};

// One field of a line: where in the record it goes, and the room there with the terminator.
struct interface_field {
    const char *name;
    size_t offset;
    size_t capacity;
};

#define INTERFACE_FIELD(member)                                                                    \
    {                                                                                              \
#member, offsetof(iface_params, member), sizeof(iface_params::member)                      \
    }

inline constexpr interface_field interface_fields[] = {
    {"interface", offsetof(iface_params, iface), IFACE_NAME_FIELD},
    {"second-name", offsetof(iface_params, iface) + IFACE_NAME_FIELD, IFACE_NAME_FIELD},
    {"auto", offsetof(iface_params, iface) + 2 * IFACE_NAME_FIELD, IFACE_NAME_FIELD},
    INTERFACE_FIELD(type),
    INTERFACE_FIELD(ipaddr),
    INTERFACE_FIELD(netmask),
    INTERFACE_FIELD(gateway),
    INTERFACE_FIELD(metric),
    INTERFACE_FIELD(bcast),
    INTERFACE_FIELD(mtu),
    INTERFACE_FIELD(mac),
};
#undef INTERFACE_FIELD

constexpr size_t INTERFACE_FIELDS = sizeof(interface_fields) / sizeof(interface_fields[0]);

// A line that stops before this field sets it and all behind it to "-"; a longer one that lacks
// some leaves them as they were.
constexpr size_t FIRST_ADDRESS_FIELD = 4;

// ppp-peers: one connection a line, the name, the type, and then words that depend on the type.

inline constexpr line_format peers_format = {
    "/etc/default/ppp-peers",
    comments::skipped,
    field_end::kept,
    " ",
};

// What a word becomes in the connection's object.
enum class peer_form {
    text,
    flag, // true for exactly "1"
    number,
    number_or_null, // null for exactly "-"
};

struct peer_word {
    unsigned position; // after the type
    const char *key;
    peer_form how;
};

inline constexpr peer_word common_words[] = {
    {0, "auto", peer_form::flag},
    {1, "login", peer_form::text},
    {2, "passwd", peer_form::text},
};

// The service name counts as a metric too until a metric of its own follows. The links of lines
// that stop after the service depend on it: without a metric they would get no default route.
inline constexpr peer_word pppoe_words[] = {
    {3, "iface", peer_form::text},    {4, "ac", peer_form::text},
    {5, "service", peer_form::text},  {5, "metric", peer_form::number},
    {6, "metric", peer_form::number},
};

inline constexpr peer_word server_words[] = {
    {3, "server", peer_form::text},
    {4, "metric", peer_form::number_or_null},
};

struct word_list {
    const peer_word *words;
    size_t count;
};

template <size_t N> constexpr word_list list_of(const peer_word (&words)[N])
{
    return {words, N};
}

struct peer_type {
    const char *type;
    word_list words; // those behind the common ones
};

inline constexpr peer_type peer_types[] = {
    {"pppoe", list_of(pppoe_words)},
    {"pptp", list_of(server_words)},
    {"l2tp", list_of(server_words)},
};

// dns.conf and wimax: KEY=value. A value ends at the next "=", and its line end stays on it.

inline constexpr line_format dns_format = {
    "/etc/default/dns.conf",
    comments::skipped,
    field_end::kept,
    "=",
};

inline constexpr line_format wimax_format = {
    "/etc/default/wimax",
    comments::skipped,
    field_end::kept,
    "=",
};

// What a value becomes in the object. A line without a value is passed over, but for presence.
enum class key_form {
    text,          // trimmed
    text_or_null,  // null when it begins with white space
    flag,          // false for exactly "0", the line end counted
    flag_and_name, // the same, and when true the member "name" as well, trimmed
    presence,      // true, whatever the value and even without one
};

struct key_row {
    const char *key;
    const char *member;
    key_form how;
};

inline constexpr key_row dns_keys[] = {
    {"auto", "auto", key_form::flag_and_name},
    {"dns1", "dns1", key_form::text},
    {"dns2", "dns2", key_form::text},
};

inline constexpr key_row wimax_keys[] = {
    {"WIMAX_DOFF", "diode_off", key_form::flag},
    {"WIMAX_ENABLE", "enable", key_form::presence},
    {"WIMAX_SSID", "ssid", key_form::text_or_null},
};
