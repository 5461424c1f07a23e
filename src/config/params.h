// The flat records that the LAN and WAN code work on, one per interface and one per PPP connection.
// Every field is a text with its terminator; a record lives on its user's stack.
#pragma once

#include <stddef.h>
#include <stdint.h>

constexpr int IPV4_TEXT_MAX = 16; // "255.255.255.255" and the terminator

struct iface_params {
    // The interface name. When the record is filled from a line of the settings file, this place
    // holds three fields of IFACE_NAME_FIELD characters instead: the entry name, a second name
    // that nothing reads, and the start-automatically flag.
    char iface[48];
    char type[16];
    char ipaddr[IPV4_TEXT_MAX];
    char netmask[IPV4_TEXT_MAX];
    char gateway[IPV4_TEXT_MAX];
    char metric[6];
    char bcast[IPV4_TEXT_MAX];
    char mtu[6];
    char mac[18];
};

constexpr int IFACE_NAME_FIELD = 16;

struct ppp_params {
    char name[32];
    char type[16];     // "pppoe", "pptp" or "l2tp"
    int32_t auto_dial; // 1 when the entry's "auto" is true
    char login[64];
    char passwd[64];
    int32_t metric;  // never filled: stays 0
    char server[16]; // pptp and l2tp only
    char iface[16];  // pppoe only, like the next two
    char ac[64];     // PPPoE access concentrator name
    char service[64];
};

// The connections whose entries give a field.
enum class peer_kind {
    any,
    pppoe,
    server, // pptp and l2tp
};

// A text of ppp_params: the member that fills it, and the room there with the terminator.
struct ppp_param_field {
    const char *key;
    peer_kind kind;
    size_t offset;
    size_t capacity;
};

#define PPP_PARAM_FIELD(member, kind)                                                              \
    {                                                                                              \
#member, kind, offsetof(ppp_params, member), sizeof(ppp_params::member)                    \
    }

inline constexpr ppp_param_field ppp_param_fields[] = {
    PPP_PARAM_FIELD(name, peer_kind::any),      PPP_PARAM_FIELD(type, peer_kind::any),
    PPP_PARAM_FIELD(login, peer_kind::any),     PPP_PARAM_FIELD(passwd, peer_kind::any),
    PPP_PARAM_FIELD(server, peer_kind::server), PPP_PARAM_FIELD(iface, peer_kind::pppoe),
    PPP_PARAM_FIELD(ac, peer_kind::pppoe),      PPP_PARAM_FIELD(service, peer_kind::pppoe),
};
#undef PPP_PARAM_FIELD
