#include "config/json_access.h"

#include "util/json_memory.h"
#include "util/lock.h"
#include "util/log.h"
#include "util/open_file.h"
#include "util/output_file.h"
#include "util/text.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

constexpr char PATH_TAG[] = "get_object_by_path";

// The text is made first: a writer that runs out of memory half-way would leave half a file.
void write_document(const char *tag, const json_t *root, const char *path)
{
    char *text = json_dumps(root, DOCUMENT_FLAGS);
    if (text == nullptr || json_memory_failed())
        logmessage(tag, "Not enough memory, %s stays as it was", path);
    else
        write_text(path, text);
    free(text);
}

json_t *load_document(const char *path)
{
    FILE *file = open_stream(path, "r");
    if (file == nullptr)
        return nullptr;
    bool had_failed = json_memory_failed();
    json_t *root = read_json(file);
    fclose(file);
    set_json_memory_failed(had_failed); // what is built without this document is whole
    return root;
}

json_t *load_file_with_lock(const char *dir, const char *name, unsigned attempts)
{
    static constexpr char tag[] = "mcfg-open_file_with_lock";
    char path[512];
    text_format(path, sizeof(path), "%s/%s", dir, name);
    logmessage(tag, "Open file - %s", path);

    switch (try_lock_file(name, attempts)) {
    case lock_result::no_file:
        logmessage(tag, "Can't open unlock file");
        return nullptr;
    case lock_result::held:
        logmessage(tag, "Can't unlock file");
        return nullptr;
    case lock_result::taken:
        break;
    }
    json_t *root = load_document(path);
    remove_lock_file(name);
    return root;
}

// One "name:index" segment. The container itself is the answer when it has no such array.
static json_t *get_array_element(json_t *container, const char *segment, bool *is_found)
{
    char name[64];
    char index[40];
    const char *colon = strchr(segment, ':');
    text_set(name, segment);
    if (static_cast<size_t>(colon - segment) < sizeof(name))
        name[colon - segment] = '\0';
    text_set(index, colon + 1);

    logmessage(PATH_TAG, "ar_index = %s, ar_name = %s", index, name);
    json_t *array = json_object_get(container, name);
    *is_found = json_is_array(array);
    if (!*is_found)
        return container;
    logmessage(PATH_TAG, "really array");
    logmessage(PATH_TAG, "ar_index = %s, ar_name = %s", index, name);
    int position = text_to_int(index);
    return position < 0 ? nullptr : json_array_get(array, static_cast<size_t>(position));
}

json_t *get_object_by_path(json_t *root, const char *path)
{
    char buf[1024];
    text_set(buf, path);

    json_t *current = root;
    char *rest = nullptr;
    for (char *segment = strtok_r(buf, "/", &rest); segment != nullptr;
         segment = strtok_r(nullptr, "/", &rest)) {
        logmessage(PATH_TAG, "buf = %s", segment);
        if (strchr(segment, ':') == nullptr) {
            logmessage(PATH_TAG, "is not array");
            current = json_object_get(current, segment);
            continue;
        }
        logmessage(PATH_TAG, "is array");
        bool is_found = false;
        current = get_array_element(current, segment, &is_found);
        if (!is_found)
            return current;
    }
    return current;
}

json_t *find_object_from_array_by_param(json_t *array, const char *key, const char *value,
                                        unsigned *index_out)
{
    static constexpr char tag[] = "mcfg-find_object_from_array_by_param";
    if (!json_is_array(array))
        return nullptr;
    size_t size = json_array_size(array);
    logmessage(tag, "size of array = %d", static_cast<int>(size));
    for (size_t i = 0; i < size; i++) {
        json_t *element = json_array_get(array, i);
        if (element == nullptr) {
            logmessage(tag, "Error on get item of array");
            continue;
        }
        const char *text = json_string_value(json_object_get(element, key));
        if (text == nullptr || strcmp(text, value) != 0)
            continue;
        logmessage(tag, "find item #%d", static_cast<int>(i));
        *index_out = static_cast<unsigned>(i);
        return element;
    }
    return nullptr;
}

const char *text_or_empty(const json_t *value)
{
    const char *text = json_string_value(value);
    return text != nullptr ? text : "";
}

void put_text(json_t *object, const char *key, const char *text)
{
    json_object_set_new(object, key, json_string(text));
}

int get_string_from_json_by_name(const json_t *object, const char *key, char *dst, size_t cap)
{
    const char *text = json_string_value(json_object_get(object, key));
    if (text == nullptr)
        return -1;
    text_set(dst, cap, text);
    return 1;
}

int get_integer_from_json_by_name(const json_t *object, const char *key, int32_t *)
{
    const json_t *member = json_object_get(object, key);
    if (!json_is_integer(member))
        return -1;
    logmessage("mcfg-get_string_from_json_by_name", "name = %s, value = %d", key,
               static_cast<int>(json_integer_value(member)));
    return 1;
}

int get_iface_params_from_json(const json_t *entry, struct iface_params *params)
{
    *params = {};
    get_string_from_json_by_name(entry, "iface", params->iface);
    get_string_from_json_by_name(entry, "type", params->type);
    if (strcmp(params->type, "static") == 0) {
        get_string_from_json_by_name(entry, "ipaddr", params->ipaddr);
        get_string_from_json_by_name(entry, "netmask", params->netmask);
        get_string_from_json_by_name(entry, "gateway", params->gateway);
        get_string_from_json_by_name(entry, "metric", params->metric);
        get_string_from_json_by_name(entry, "bcast", params->bcast);
        get_string_from_json_by_name(entry, "mtu", params->mtu);
    }
    get_string_from_json_by_name(entry, "mac", params->mac);
    return 1;
}

static bool is_server_type(const char *type)
{
    return strcmp(type, "l2tp") == 0 || strcmp(type, "pptp") == 0;
}

static bool has_kind(const char *type, peer_kind kind)
{
    switch (kind) {
    case peer_kind::pppoe:
        return strcmp(type, "pppoe") == 0;
    case peer_kind::server:
        return is_server_type(type);
    case peer_kind::any:
        break;
    }
    return true;
}

int get_ppp_params_from_json(const json_t *entry, struct ppp_params *params)
{
    *params = {};
    for (const ppp_param_field &field : ppp_param_fields) {
        // The type comes before the fields that depend on it.
        if (has_kind(params->type, field.kind))
            get_string_from_json_by_name(
                entry, field.key, reinterpret_cast<char *>(params) + field.offset, field.capacity);
    }
    params->auto_dial = json_is_true(json_object_get(entry, "auto")) ? 1 : 0;
    get_integer_from_json_by_name(entry, "metric", &params->metric);
    return 1;
}
