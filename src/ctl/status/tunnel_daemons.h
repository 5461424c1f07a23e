// The daemons of tunnels, and what they have recorded.
#pragma once

#include "ctl/status/look.h"

#include <jansson.h>

// The name of the program that dials the tunnel, and its process, 0 for none.
const char *daemon_of(const json_t *tunnel);
int find_daemon(const json_t *tunnel);

// A pppd that an xl2tpd has left, which ended and did not end it, or 0; 0 of other tunnels.
int find_left_pppd(const json_t *tunnel);

// Whether a daemon of one of the entry's tunnels runs.
bool has_tunnel_daemon(const json_t *wan_entry);

// The record of a tunnel, by type and name as pppd's handler stores it; null for none.
const json_t *find_tunnel_record(const look &at, const json_t *tunnel);
