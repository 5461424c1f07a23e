#include "ctl/status/look.h"

#include "config/document.h"
#include "config/json_access.h"
#include "ctl/check/tree.h"
#include "util/json_memory.h"
#include "util/link_state.h"
#include "util/text.h"

#include <arpa/inet.h>
#include <string.h>
#include <time.h>

// Config and store are written in place, which takes milliseconds.
constexpr int READING_TRIES = 4;
constexpr timespec BETWEEN_TRIES = {0, 60 * 1000 * 1000};

struct read_document {
    json_t *root;
    bool is_missing;
    const char *fault; // null when it was read; else there is no root
    bool is_whole;     // all of it was seen, so the fault is its own
};

static void read_text(read_document *document, const loaded_file &file)
{
    document->root = read_json_text(file.bytes, file.length, nullptr);
    document->is_whole = !file.is_cut && !json_memory_failed();
    if (!document->is_whole) {
        json_decref(document->root);
        document->root = nullptr;
        document->fault = file.is_cut ? "is too long" : "is too long for the memory";
    } else if (document->root == nullptr) {
        document->fault = "is no JSON";
    }
}

static void read_once(read_document *document, const char *path)
{
    *document = {};
    loaded_file file = load_file("/", path);
    switch (file.state) {
    case file_state::missing:
        document->is_missing = true;
        document->fault = "is missing";
        break;
    case file_state::not_a_file:
        document->fault = "is no plain file";
        break;
    case file_state::unreadable:
        document->fault = "cannot be read";
        break;
    case file_state::loaded:
        read_text(document, file);
        break;
    }
    unload_file(&file);
}

static void read_settled(read_document *document, const char *path)
{
    for (int i = 0; i < READING_TRIES; i++) {
        if (i > 0)
            nanosleep(&BETWEEN_TRIES, nullptr);
        read_once(document, path);
        if (document->fault == nullptr || document->is_missing)
            return;
    }
}

static bool are_entries(const json_t *list)
{
    for (size_t i = 0; i < json_array_size(list); i++) {
        if (!json_is_string(json_object_get(json_array_get(list, i), "iface")))
            return false;
    }
    return json_is_array(list);
}

static bool look_at_config(look *at, char (&fault)[FAULT_MAX])
{
    read_document document;
    read_settled(&document, CONFIG_PATH);
    at->config = document.root;
    if (document.fault != nullptr) {
        text_format(fault, sizeof(fault), "%s %s: mcfg set_config makes it", CONFIG_PATH,
                    document.fault);
        return false;
    }
    if (are_entries(config_entries(*at, "Lan")) && are_entries(config_entries(*at, "Wan")))
        return true;
    text_format(fault, sizeof(fault),
                "%s has not the lists Network/Lan and Network/Wan, an iface in each entry: "
                "mcfg set_config makes it",
                CONFIG_PATH);
    return false;
}

void look_at_store(look *at)
{
    read_document document;
    read_settled(&document, LINK_STATE_PATH);
    at->store = document.root;
    if (!document.is_missing)
        at->store_fault = document.fault;
    if (document.fault == nullptr && !json_is_array(all_records(*at)))
        at->store_fault = "has no state_links";
    at->is_store_broken = at->store_fault != nullptr && document.is_whole;
}

// What a store that cannot be read may hold is not lost: without it, nobody can tell which links
// are recorded, and it is not to be replaced.
static bool is_store_seen(const look &at, char (&fault)[FAULT_MAX])
{
    bool is_seen = at.store_fault == nullptr || at.is_store_broken;
    if (!is_seen)
        text_format(fault, sizeof(fault), "%s %s: try again, or move it away", LINK_STATE_PATH,
                    at.store_fault);
    return is_seen;
}

bool look_around(look *at, char (&fault)[FAULT_MAX])
{
    *at = {};
    if (!look_at_config(at, fault))
        return false;
    // What is recorded had its address and its jump before: so these are looked at later.
    look_at_store(at);
    if (!is_store_seen(*at, fault))
        return false;
    int error = look_at_kernel(&at->kernel);
    if (error != 0) {
        text_format(fault, sizeof(fault), "cannot see the network: %s", strerror(error));
        return false;
    }
    int status = look_at_nat(&at->nat);
    if (status != 0)
        text_format(fault, sizeof(fault),
                    "cannot list the nat table: iptables -t nat -S ended with %d, is this root?",
                    status);
    return status == 0;
}

void forget_look(look *at)
{
    json_decref(at->config);
    json_decref(at->store);
    forget_nat(&at->nat);
}

const json_t *config_entries(const look &at, const char *list)
{
    return json_object_get(json_object_get(at.config, "Network"), list);
}

const json_t *all_records(const look &at)
{
    return json_object_get(at.store, LINK_STATE_LINKS);
}

const json_t *find_record(const look &at, const char *iface)
{
    const json_t *records = all_records(at);
    for (size_t i = 0; i < json_array_size(records); i++) {
        const json_t *record = json_array_get(records, i);
        if (strcmp(text_or_empty(json_object_get(record, "iface")), iface) == 0)
            return record;
    }
    return nullptr;
}

in_addr_t address_of(const json_t *object, const char *key)
{
    in_addr address;
    const char *text = text_or_empty(json_object_get(object, key));
    return inet_pton(AF_INET, text, &address) == 1 ? address.s_addr : 0;
}
