// The nat table as it is loaded, by one listing of it, and as it was generated.
#pragma once

#include "config/params.h"

#include <net/if.h>
#include <netinet/in.h>
#include <stddef.h>

// A jump from PREROUTING into the port forwards.
struct jump_view {
    char iface[IF_NAMESIZE];
    in_addr_t address_be;
};

constexpr size_t JUMPS_MAX = 64;

struct nat_view {
    size_t jumps;
    jump_view jump[JUMPS_MAX]; // in the table's order; further ones are left out
    char *listing;             // the table's rules, a line each
};

// Run the listing. Returns 0, or what became of the command (see _eval()). The view is to be
// forgotten in either case.
int look_at_nat(nat_view *view);
void forget_nat(nat_view *view);

// List a table's rules, a line each. The caller frees the text, which is null for want of memory;
// *status is what became of the command.
char *list_table(const char *table, int *status);

// How many jumps there are through iface for the address.
size_t count_jumps(const nat_view &nat, const char *iface, in_addr_t address_be);

// Compare the rules of a table as "iptables -S" lists them with the rule file path that it was
// generated as: chain by chain the rules in order, by their target, addresses and ports. The jumps
// into the port forwards and what the UPnP daemon has put into its chain stand in no file and are
// left out. Returns false and writes what differs first into difference, of cap characters; true
// without a file, as nothing was generated then. When the two cannot be compared, for want of
// memory or as the file cannot be read, difference tells why, and it is noted (ctl/unseen.h).
bool is_as_generated(const char *path, const char *listing, char *difference, size_t cap);
