#include "util/link_state.h"

#include "config/json_access.h"
#include "util/json_memory.h"
#include "util/lock.h"
#include "util/log.h"
#include "util/open_file.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>

constexpr size_t LINK_NAME_MAX = 64;

struct loaded_store {
    json_t *root; // null when there is none
    int error;    // why it could not be read, or 0 when it is missing or no JSON
};

static loaded_store read_store(FILE *file)
{
    json_t *root = read_json(file);
    if (root == nullptr && ferror(file) != 0)
        return {nullptr, errno};
    return {root, json_memory_failed() ? ENOMEM : 0};
}

static loaded_store open_store()
{
    FILE *file = open_stream(LINK_STATE_PATH, "r");
    if (file == nullptr)
        return {nullptr, errno == ENOENT ? 0 : errno};
    loaded_store store = read_store(file);
    fclose(file);
    return store;
}

static loaded_store load_store(const char *tag)
{
    loaded_store store = open_store();
    if (store.error != 0)
        logmessage(tag, "Cannot read %s: %s", LINK_STATE_PATH, strerror(store.error));
    return store;
}

// Whether it could be written is not looked at: the next save starts from what it finds.
static void write_store(const char *tag, const json_t *root)
{
    write_document(tag, root, LINK_STATE_PATH);
}

static void put_link(json_t *links, json_t *entry)
{
    char name[LINK_NAME_MAX] = "";
    get_string_from_json_by_name(entry, "name", name);
    unsigned index = 0;
    if (find_object_from_array_by_param(links, "name", name, &index) != nullptr)
        json_array_remove(links, index);
    json_array_append(links, entry);
}

static json_t *make_store(json_t *entry)
{
    json_t *links = json_array();
    json_array_append(links, entry);
    json_t *root = json_object();
    json_object_set_new(root, LINK_STATE_LINKS, links);
    return root;
}

static void update_store(const char *tag, json_t *entry)
{
    loaded_store store = load_store(tag);
    if (store.root != nullptr) {
        logmessage(tag, "get root - ok");
        json_t *links = json_object_get(store.root, LINK_STATE_LINKS);
        if (links != nullptr)
            put_link(links, entry);
    } else {
        logmessage(tag, "get root - error");
        if (store.error != 0)
            return; // it may hold the records of other links
        store.root = make_store(entry);
    }
    write_store(tag, store.root);
    json_decref(store.root);
}

int save_link_state_ex(json_t *entry)
{
    static constexpr char tag[] = "mcfg-save_link_state_ex";
    logmessage(tag, "start");
    if (json_memory_failed()) {
        logmessage(tag, "Not enough memory, %s stays as it was", LINK_STATE_PATH);
    } else if (set_lock_on_file(LINK_STATE_LOCK, LINK_STATE_TRIES) == 1) {
        update_store(tag, entry);
        clear_lock_on_file(LINK_STATE_LOCK, LINK_STATE_TRIES);
    }
    logmessage(tag, "stop");
    return 1;
}

json_t *get_link_state_ex(json_t *root, const char *param, const char *value)
{
    static constexpr char tag[] = "mcfg-get_link_state_ex";
    logmessage(tag, "start");
    json_t *links = json_object_get(root, LINK_STATE_LINKS);
    json_t *link = nullptr;
    if (links != nullptr) {
        logmessage(tag, "state_links - ok");
        unsigned index = 0;
        link = find_object_from_array_by_param(links, param, value, &index);
    }
    logmessage(tag, "stop");
    return link;
}

static void remove_at(const char *tag, json_t *links, unsigned index)
{
    logmessage(tag, "index for remove = %d", static_cast<int>(index));
    if (json_array_remove(links, index) == 0)
        logmessage(tag, "Success! Remove item by index %d", static_cast<int>(index));
    else
        logmessage(tag, "Error! Don't remove item by index %d", static_cast<int>(index));
}

void remove_link_state_ex(json_t *root, const char *param, const char *value)
{
    static constexpr char tag[] = "mcfg-remove_link_state_ex";
    logmessage(tag, "start - param =%s, value = %s", param, value);
    json_t *links = json_object_get(root, LINK_STATE_LINKS);
    if (links != nullptr) {
        logmessage(tag, "state_links - ok");
        unsigned index = 0;
        if (find_object_from_array_by_param(links, param, value, &index) != nullptr)
            remove_at(tag, links, index);
    }
    logmessage(tag, "stop");
}

static bool is_over(const json_t *link, const char *iface)
{
    const char *text = json_string_value(json_object_get(link, "iface"));
    return text != nullptr && strcmp(text, iface) == 0;
}

bool is_link_recorded(const char *iface)
{
    json_t *root = open_store().root;
    const json_t *links = json_object_get(root, LINK_STATE_LINKS);
    bool is_recorded = false;
    for (size_t i = 0; i < json_array_size(links) && !is_recorded; i++)
        is_recorded = is_over(json_array_get(links, i), iface);
    json_decref(root);
    return is_recorded;
}

static bool forget_link(const char *tag, json_t *root, const char *iface, undo_link undo)
{
    const json_t *record = get_link_state_ex(root, "iface", iface);
    if (record == nullptr) {
        logmessage(tag, " Not get link on iface %s", iface);
        return false;
    }
    logmessage(tag, "Get link on iface %s", iface);
    undo(iface, record);
    remove_link_state_ex(root, "iface", iface);
    const json_t *links = json_object_get(root, LINK_STATE_LINKS);
    if (links != nullptr)
        logmessage(tag, " size of array =  %d", static_cast<int>(json_array_size(links)));
    write_store(tag, root);
    return true;
}

bool forget_link_state(const char *tag, const char *iface, undo_link undo)
{
    loaded_store store = load_store(tag);
    if (store.root == nullptr)
        return false;
    bool was_recorded = forget_link(tag, store.root, iface, undo);
    json_decref(store.root);
    return was_recorded;
}
