// The routes that a DHCP server sends with a lease, in the three forms that the DHCP client puts
// into its event script's environment. Every route is added over iface with kernel metric 1;
// whether the kernel took it is not looked at. Words are separated by blanks, and what is no dotted
// quad counts as 255.255.255.255.
#pragma once

// The tag of all log lines about leases.
constexpr char LEASE_TAG[] = "dhcp client";

// routes: pairs of destination and gateway, a host route for each complete pair.
void add_host_routes(const char *iface, const char *routes);

// staticroutes: pairs of "address/prefix length" and gateway. The first prefix length outside 1 to
// 32 (none counts as 0) ends the list. Logs each route.
void add_static_routes(const char *iface, const char *routes);

// msroutes: classless routes as decimal octets (RFC 3442): prefix length, as many octets of the
// destination as it covers, the router's four octets; again and again. A prefix length outside 1 to
// 32 or without a blank behind it ends the list. The router may be cut short by the end of the
// text, its missing octets being 0. Of an octet above 255, however long, only the low eight bits
// count. Returns false, with the routes up to there added, when an octet is not where it must be;
// the rest of the lease is then not to be trusted.
bool add_classless_routes(const char *iface, const char *routes);
