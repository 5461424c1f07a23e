// The link-state store /var/run/state_link: which WAN links are up, with what they came up with, so
// that the short-lived process which handles the end of a link knows what to undo. A JSON object
// whose member "state_links" is an array of link objects in the order of their saving.
//
// The file is rewritten in place, whole, under the lock LINK_STATE_LOCK (util/lock.h), with that
// lock's weaknesses: a save that cannot take it loses its update, and where two processes hold it
// at once, one of them can overwrite the other's update or read a half-written file, which counts
// as corrupt.
#pragma once

#include <jansson.h>

constexpr char LINK_STATE_PATH[] = "/var/run/state_link";
constexpr char LINK_STATE_LINKS[] = "state_links"; // the member with the links
constexpr char LINK_STATE_LOCK[] = "state_link";
constexpr unsigned LINK_STATE_TRIES = 15;

// Save the link object entry at the end of the store, in place of an earlier one of the same "name"
// (63 characters of it are compared; none counts as ""). The store keeps a reference of its own.
// A store that is missing or no JSON is replaced by one with this entry alone; an object without
// "state_links" is never repaired: it stays as it is. So does a store that is there and cannot be
// read, as it may hold other links' records, and any store when memory did not suffice for it or
// for entry, which its maker has watched (util/json_memory.h); both are logged. Returns 1 always,
// also when the lock was held and nothing was saved. Logs with the tag mcfg-save_link_state_ex.
int save_link_state_ex(json_t *entry);

// The first link of the loaded store root whose member param is the text value, borrowed from root;
// null when there is none. The caller holds the lock. Logs with the tag mcfg-get_link_state_ex.
json_t *get_link_state_ex(json_t *root, const char *param, const char *value);

// Remove that link from the loaded store root, if there is one. The caller holds the lock and
// writes the store. Logs with the tag mcfg-remove_link_state_ex.
void remove_link_state_ex(json_t *root, const char *param, const char *value);

// Whether the store has a record of the link over iface at this moment, as far as can be told
// without the lock: a store that cannot be read has none. Logs nothing.
bool is_link_recorded(const char *iface);

// What the end of a link undoes, by its record in the store.
using undo_link = void (*)(const char *iface, const json_t *record);

// Load the store, call undo with the record of the link over iface, remove the record and write the
// store back. Without a record nothing is written; without a store, or with one that cannot be
// read (which is logged), nothing happens. The caller holds the lock. Logs "Get link on iface
// IFACE" or " Not get link on iface IFACE", and the number of links left, with the caller's tag.
// Returns whether there was a record.
bool forget_link_state(const char *tag, const char *iface, undo_link undo);
