// The PPP tunnels of a WAN entry of the running configuration.
#pragma once

#include <jansson.h>
#include <stddef.h>

constexpr size_t PPP_PIDFILE_MAX = 100;

// Write the path of the file into which pppd puts its process number and, on the next line, the
// name of its interface, for the tunnel of that type and name (wan/peer.h). A longer path is cut.
void format_ppp_pidfile(char (&path)[PPP_PIDFILE_MAX], const char *type, const char *name);

// Dial the tunnels that suit a WAN entry of type wan_type: those with "auto" true, in the order of
// the array, up to one over "static" or "dhcp", three over "pppoe" and none over anything else.
// PPPoE needs a bare Ethernet, so it is not dialled over static or dhcp; PPTP and L2TP need an IP
// link, so they are not dialled over pppoe; "ppp" is never dialled. An entry whose "type" is
// missing or no text is passed over. Before each dialling the WAN LEDs show it. Tunnels that run
// already are not noticed: they are started again.
// Logs (tag mcfg-start_tunnels) each tunnel looked at and why one is passed over, and "Error on
// tun_array" when tunnels is no array. What becomes of the daemons is not looked at.
void start_tunnels(const char *wan_type, const json_t *tunnels);

// How many connections start_tunnels() dials over a WAN entry of type wan_type.
int get_dial_budget(const char *wan_type);

// Why a connection of that type is not dialled over a WAN entry of type wan_type, in the words of
// the log, or null when it may be.
const char *why_unsuited(const char *wan_type, const char *type);

// Stop the daemons of all tunnels, dialled or not: xl2tpd by its name, which stops every L2TP
// tunnel, and pppd with SIGTERM through the pid file of the tunnel's link, a second time after 3
// seconds when that fails. Members that are missing or no texts count as empty. A name with a slash
// in it was never dialled (wan/peer.h); its pid file is only looked for. Logs (tag
// mcfg-stop_tunnels) each tunnel and its pid file, and "Error on tun_array" when tunnels is no
// array.
void stop_tunnels(const json_t *tunnels);
