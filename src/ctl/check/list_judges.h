// The judges of the firewall's lists: what the fields of a line mean, once lists.cpp has taken it
// apart and told what the format does to it.
#pragma once

#include "ctl/check/list_fields.h"

#include <stddef.h>

constexpr size_t FORWARD_PROTOCOLS = 2; // tcp and udp
constexpr size_t PORTS = 65536;

// What is counted on the way through a list.
struct list_memory {
    unsigned scheduled_line;    // of the URL filter: whose time match is in force, or 0
    unsigned char *taken_ports; // of the port forwards: PORTS for each protocol; may be null
};

void judge_schedule(const list_line &line, list_memory *memory);
void judge_rule(const list_line &line, list_memory *memory);
void judge_mac(const list_line &line, list_memory *memory);
void judge_url(const list_line &line, list_memory *memory);
void judge_access(const list_line &line, list_memory *memory);
void judge_vserver(const list_line &line, list_memory *memory);
void judge_masq(const list_line &line, list_memory *memory);
void judge_trigger(const list_line &line, list_memory *memory);

// About a list as a whole.
void judge_mac_list(const settings &all);
void judge_masq_list(const settings &all);
