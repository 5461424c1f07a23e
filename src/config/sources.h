// Readers of the user's network settings, the four plain-text files under /etc/default that the web
// interface writes.
//
// A line end is no separator: it stays on the last word of its line. Values that are compared with
// "0", "1" or "-" are compared as read, so a value that ends its line is not equal to any of them.
// The web interface knows this. A file that cannot be opened is reported on standard error with its
// path, and its reader returns -1 and leaves its target alone. Malformed lines give partial
// entries.
#pragma once

#include "config/params.h"

#include <jansson.h>

// Fill record from the lines of /etc/default/network-interfaces whose first field equals name. All
// such lines are applied in file order, so the last one wins field by field. Only the first four
// characters of the record are cleared before; fields that no line reaches keep what they held, but
// a line of fewer than five fields sets the addresses, metric, MTU and MAC to "-".
// Returns 1 when a line matched, else -1.
int get_iface_params(struct iface_params *record, const char *name);

// Append to array one object for each PPP connection in /etc/default/ppp-peers.
// Returns 1 when there was at least one, else -1.
int get_tunnels(json_t *array);

// Set "auto", "name", "dns1" and "dns2" of object from /etc/default/dns.conf. Returns 1, or -1 when
// it cannot be opened.
int get_dns_params(json_t *object);

// Set "diode_off", "enable" and "ssid" of object from /etc/default/wimax. Returns 1, or -1 when it
// cannot be opened.
int get_wimax_params(json_t *object);
