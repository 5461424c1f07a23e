// Access to the running configuration document and to the link-state store. Values found inside a
// document are borrowed: they live as long as the document, which its loader owns.
#pragma once

#include "config/params.h"

#include <jansson.h>
#include <stddef.h>

// How documents are written: three blanks an indentation, members in the order of their insertion.
constexpr size_t DOCUMENT_FLAGS = JSON_INDENT(3) | JSON_PRESERVE_ORDER;

// Write the document root to path, in place. When root could not be built whole for want of memory
// (util/json_memory.h, watched by its builder), or there is none left to write it with, the file
// stays as it was, which is logged with tag. A file that cannot be written is not reported.
void write_document(const char *tag, const json_t *root, const char *path);

// Load the JSON file path. Returns a new document, owned by the caller, or null when the file is
// missing, cannot be read, does not parse, or memory did not suffice for all of it. Nothing is
// logged. Watches the memory (util/json_memory.h) and keeps in mind only what had failed before:
// what the caller builds without this document is whole.
json_t *load_document(const char *path);

// Load the JSON file dir/name while holding its lock file /var/lock/NAME.lock, for which at most
// attempts tests are made. Returns a new document, owned by the caller, or null when the lock
// could not be taken or load_document() gives none; the lock is free again in any case in which it
// was taken. Logs (tag mcfg-open_file_with_lock) "Open file - PATH", and on failure of
// the lock "Can't open unlock file" (cannot be created) or "Can't unlock file" (held by another).
json_t *load_file_with_lock(const char *dir, const char *name, unsigned attempts);

// The value that path leads to from root, for instance "Network/Wan:0/Tunnels": segments between
// "/" (runs of them count as one), a member name each, or "name:index" for an element of an array
// member. Up to 1023 characters of path, 63 of a name and 39 of an index are looked at; an index
// without digits is 0. An empty path gives root.
// Returns null for a plain segment that is missing and for an index out of range, but for an
// indexed segment that is missing or no array it returns the value reached so far. Test the kind of
// what you get. Each segment is logged (tag get_object_by_path).
json_t *get_object_by_path(json_t *root, const char *path);

// The first element of array whose member key is a string equal to value, with its position stored
// in *index_out; null (and *index_out untouched) when there is none or array is no array. Elements
// without that string never match. Logs the size and the position found.
json_t *find_object_from_array_by_param(json_t *array, const char *key, const char *value,
                                        unsigned *index_out);

// The text of a JSON value, borrowed from it; "" when it is no string or there is none.
const char *text_or_empty(const json_t *value);

// Set the member key of object to a text, in place of an earlier one. A text that is not UTF-8, as
// JSON has to be, sets nothing.
void put_text(json_t *object, const char *key, const char *text);

// Copy the string member key of object into dst, of cap characters with the terminator; a longer
// one is cut. Returns 1, or -1 (dst untouched) when the member is missing or no string.
int get_string_from_json_by_name(const json_t *object, const char *key, char *dst, size_t cap);

template <size_t N>
int get_string_from_json_by_name(const json_t *object, const char *key, char (&dst)[N])
{
    return get_string_from_json_by_name(object, key, dst, N);
}

// Log the integer member key of object ("name = %s, value = %d", tag
// mcfg-get_string_from_json_by_name). Returns 1, or -1 when it is missing or no integer.
// dst is never written: the records that go through here keep their zero.
int get_integer_from_json_by_name(const json_t *object, const char *key, int32_t *dst);

// Zero the record and fill it from an interface entry of the document: "iface", "type" and "mac",
// and the addresses, metric and MTU for type "static" only. Members that are missing or no strings
// leave their field empty, so metric and mtu, which the document keeps as integers, stay empty.
// Returns 1.
int get_iface_params_from_json(const json_t *entry, struct iface_params *params);

// Zero the record and fill it from an element of "Tunnels": the members common to all types, then
// "server" for l2tp and pptp, or "iface", "ac" and "service" for pppoe. Returns 1.
int get_ppp_params_from_json(const json_t *entry, struct ppp_params *params);
