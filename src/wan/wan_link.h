// The two transitions of a WAN link that carries IP itself, with a static address or a DHCP lease.
// PPP links have their own (wan/ppp_link.h).
#pragma once

#include <jansson.h>

// Take the link over iface into use: its default route, the WAN lights, the jump of its address
// into the port forwardings (nat chain VSERVER), and its record in the link-state store. The
// interface has its address already.
//
// link is what the store is to hold of it, borrowed: a JSON object with "iface", "name", "type",
// "proto", "metric", "ipaddr", "netmask", "gateway", "dns1", "dns2". Where the route comes from
// depends on the type of the interface's entry in /var/run/Config:
//   static   gateway and metric of that entry; a host route to the gateway goes first, and a route
//            of an earlier time is not removed. No gateway there, no route.
//   dhcp     gateway and metric (null: 300) of the link; the same route of an earlier lease is
//            deleted first. No gateway, no route.
//   others   no route
// The route's metric is the configured one plus 1. Failures of routes and commands do not stop the
// sequence.
//
// Returns 0, or -1 when nothing was done: the document could not be loaded under its lock (logged),
// or it has no WAN entry for iface (not logged). Logs with the tag mcfg-wan_up.
int wan_up(const char *iface, json_t *link);

// Undo what the link-state store holds of the link over iface, while holding the store's lock:
// remove the jump of the recorded address, take the interface down without an address, and remove
// the record. A record whose "ipaddr" is null or missing has no jump to remove, since wan_up() made
// none for it; wan_ppp_down() differs, as its up does. The lights stay as they are. Without a
// record, or when the lock or the store cannot be had, the interface is left alone. Logs with the
// tag mcfg-wan_down.
//
// Returns true when there was a record, and so the interface is down now.
bool wan_down(const char *iface);
