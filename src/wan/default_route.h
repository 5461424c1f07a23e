// The default route of a WAN link.
#pragma once

// Add or delete the default route over iface, via gateway (dotted quad, null or "" for none:
// everything goes into the link). metric is the one of the settings; the kernel gets it plus 1, of
// which it uses 16 bits. Results as route_add().
int add_default_route(const char *iface, int metric, const char *gateway);
int del_default_route(const char *iface, int metric, const char *gateway);
