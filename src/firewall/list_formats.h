// The lists that the web interface keeps firewall rules in, as data: their formats, the position of
// each field, and the words that mean something. The rule writers read by these, and mctl check
// judges by them.
#pragma once

#include "firewall/rule_list.h"

// A field that becomes no option of its rule.
constexpr char NOT_GIVEN[] = "-";

// sched_list: schedules of the MAC and URL filters.

inline constexpr list_format schedules_format = {
    "/etc/default/sched_list", 5,   comments::parsed, field_end::kept,
    missing_fields::inherited, " ", nullptr,
};

enum sched_field { SCHED_NAME = 0, SCHED_ENABLED = 1, SCHED_DAYS = 3, SCHED_TIME = 4 };

constexpr char SCHED_IS_ENABLED[] = "1";
constexpr char ALWAYS_SCHEDULE[] = "always"; // names none

// rules: the user's own.

inline constexpr list_format user_rules_format = {
    "/etc/default/rules",      9,   comments::skipped, field_end::kept,
    missing_fields::inherited, " ", nullptr,
};

enum rule_field {
    RULE_ACTION = 0,
    RULE_SOURCE = 3,
    RULE_DESTINATION = 4,
    RULE_PROTOCOL = 5,
    RULE_SOURCE_PORT = 6,
    RULE_DESTINATION_PORT = 7
};

constexpr char DROP_ACTION[] = "DROP"; // any other accepts

// macfilter_list

inline constexpr list_format macs_format = {
    "/etc/default/macfilter_list", 2,   comments::skipped, field_end::trimmed,
    missing_fields::emptied,       " ", nullptr,
};

enum mac_field { MAC_ADDRESS = 0, MAC_SCHEDULE = 1 };

// url_filter

inline constexpr list_format urls_format = {
    "/etc/default/url_filter", 2,   comments::parsed, field_end::trimmed,
    missing_fields::inherited, " ", nullptr,
};

enum url_field { URL_TEXT = 0, URL_SCHEDULE = 1 };

// httpd_access.conf: access to the router itself.

inline constexpr list_format access_format = {
    "/etc/default/httpd_access.conf",
    9,
    comments::skipped,
    field_end::trimmed,
    missing_fields::inherited,
    " \t",
    "/etc/default/httpd_access.conf",
};

enum access_field {
    ACCESS_SERVICE = 0,
    ACCESS_INTERFACE = 1,
    ACCESS_SOURCE = 2,
    ACCESS_NETMASK = 3,
    ACCESS_TARGET = 4
};

constexpr char HTTP_SERVICE[] = "HTTP"; // any other is every service
constexpr char ANY_INTERFACE[] = "auto";
constexpr char ANY_SOURCE[] = "any"; // in either of source and netmask

// vservers: port forwards.

inline constexpr list_format vservers_format = {
    "/etc/default/vservers",   9,   comments::parsed,     field_end::kept,
    missing_fields::inherited, " ", "get_vservers_rules",
};

enum vserver_field {
    VSERVER_PROTOCOL = 1,
    VSERVER_PUBLIC_PORT = 2,
    VSERVER_PORT = 3,
    VSERVER_ADDRESS = 4
};

// masq: networks to masquerade.

inline constexpr list_format masq_format = {
    "/etc/default/masq",       9,   comments::skipped, field_end::trimmed,
    missing_fields::inherited, " ", nullptr,
};

enum masq_field { MASQ_SOURCE = 1, MASQ_PROTOCOL = 3, MASQ_PORT = 4 };

// trigger_ports

inline constexpr list_format triggers_format = {
    "/etc/default/trigger_ports", 9,   comments::skipped, field_end::trimmed,
    missing_fields::inherited,    " ", nullptr,
};

enum trigger_field {
    TRIGGER_NAME = 0,
    TRIGGER_PORT = 1,
    TRIGGER_IN_PROTOCOL = 2,
    TRIGGER_OPENED_PORT = 3,
    TRIGGER_PROTOCOL = 4
};

// The protocols of the rules that a trigger with this protocol field writes, told by its first
// letters in any case. A field that is none of these writes no rule.
struct trigger_kind {
    const char *name;
    const char *protocols[2];
};

inline constexpr trigger_kind trigger_kinds[] = {
    {"all", {"tcp", "udp"}},
    {"tcp", {"tcp", nullptr}},
    {"udp", {"udp", nullptr}},
};
constexpr size_t TRIGGER_KIND_COMPARED = 3;
