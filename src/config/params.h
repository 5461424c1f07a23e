// The flat records that the LAN and WAN code work on, one per interface and one per PPP connection.
// Every field is a text with its terminator; a record lives on its user's stack.
#pragma once

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
