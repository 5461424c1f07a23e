// The two transitions of a PPP link. Links that carry IP themselves have their own
// (wan/wan_link.h).
#pragma once

#include "config/params.h"

#include <jansson.h>

// One PPP link as the PPP daemon tells of it. A text that it did not give is empty.
struct ppp_link {
    char iface[16];
    char name[48]; // of the tunnel
    char type[16]; // of the tunnel: "pppoe", "pptp", "l2tp", or "3g" for a modem
    char ipaddr[IPV4_TEXT_MAX];
    char netmask[IPV4_TEXT_MAX];
    char gateway[IPV4_TEXT_MAX]; // the peer's address
    char dns1[IPV4_TEXT_MAX];
    char dns2[IPV4_TEXT_MAX];
};

// Insert (operation "-I") or delete ("-D") the jump of the traffic for the link's address into the
// chain of port forwardings, by words. Returns the result of the command (see _eval()).
int change_jump(const char *operation, const char *iface, const char *ipaddr);

// Make the empty files /tmp/ppp/link.IFACE and /tmp/ppp/link.NAME, by which scripts see that the
// link is up. Returns 0, or the error number of the first that could not be made, which is reported
// on standard error with its path. Neither is made when one of the two names holds a slash: EINVAL,
// reported with that name.
int create_link_markers(const ppp_link *link);

// The metric of the link object, which is a JSON integer (anything else counts as 0). Returns false
// when it is missing or null, which means that the link gets no default route.
bool get_link_metric(const json_t *object, int *metric);

// Take the link into use: its default route when it has a metric, the registration with the
// system's scripts, the jump into the port forwardings (nat chain VSERVER), the WAN lights, and
// object (borrowed) as its record in the link-state store. Failures do not stop the sequence. Logs
// with the tag mcfg-wan_ppp_up.
void wan_ppp_up(const ppp_link *link, json_t *object);

// Undo what the link-state store holds of the link over iface, while holding the store's lock, and
// remove the record. Routes go away with the interface. The record must have "ipaddr", "name" and
// "type"; else it is only removed. Any of the three may be null, which counts as empty, and all
// commands are run then, too: wan_ppp_up() ran the same ones with the same empty words, the jump
// for an empty address among them. (wan_up() makes no jump for a null address, and so wan_down()
// removes none.) Without a record, or when the lock or the store cannot be had, nothing happens.
// Logs with the tag mcfg-wan_ppp_down.
void wan_ppp_down(const char *iface);
