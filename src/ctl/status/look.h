// The three worlds that mctl status compares, read at one time: what is wanted (Config), what is
// recorded (state_link), and what is (kernel, nat table). Nothing is changed, no lock is taken.
#pragma once

#include "ctl/status/kernel_view.h"
#include "ctl/status/nat_view.h"

#include <jansson.h>
#include <stddef.h>

struct look {
    json_t *config;
    json_t *store;           // null when there is none
    const char *store_fault; // why it cannot be used, or null
    bool is_store_broken;    // it was read, so nothing that can be used is lost with it
    kernel_view kernel;
    nat_view nat;
};

constexpr size_t FAULT_MAX = 160;

// Read all. A document that is being written just now is read again after a moment. Returns false
// and writes why into fault when one of the worlds cannot be seen; the look is to be forgotten in
// either case. A store that is broken is seen, one that cannot be read is not.
bool look_around(look *at, char (&fault)[FAULT_MAX]);
void forget_look(look *at);

// The store alone.
void look_at_store(look *at);

// The entries of "Network"/LIST in Config, an array of objects with a text "iface" each.
const json_t *config_entries(const look &at, const char *list);

// The first record of the store whose iface is this one, or null.
const json_t *find_record(const look &at, const char *iface);

// All records; null when there are none.
const json_t *all_records(const look &at);

// The address of a text member, in network order; 0 when it is none.
in_addr_t address_of(const json_t *object, const char *key);
