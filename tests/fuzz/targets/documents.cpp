// Access to any document by any path, and the link records of any store.
#include "config/json_access.h"
#include "fuzz/guarded_memory.h"
#include "fuzz/targets.h"
#include "fuzz/world.h"
#include "util/link_state.h"

#include <cstring>
#include <jansson.h>

namespace fuzz
{

namespace
{

constexpr size_t NAME_COMPARED = 63;

json_t *load(const std::string &text)
{
    return json_loadb(text.data(), text.size(), 0, nullptr);
}

const char *name_of(const json_t *entry)
{
    const char *name = json_string_value(json_object_get(entry, "name"));
    return name != nullptr ? name : "";
}

int undone = 0;

void undo(const char *iface, const json_t *record)
{
    const char *text = json_string_value(json_object_get(record, "iface"));
    if (text == nullptr || strcmp(text, iface) != 0)
        violated("the record of another interface is undone");
    undone++;
}

// A record that is saved is the last one, unless nothing may be saved at all.
void check_saved(const json_t *entry, bool is_locked, const json_t *before)
{
    const std::string *text = here.files.read("/var/run/state_link");
    if (is_locked || here.is_obstructed)
        return;
    if (text == nullptr)
        violated("no store was written");
    json_t *after = load(*text);
    if (after == nullptr)
        violated("the store is no JSON: %s", text->c_str());
    const json_t *links = json_object_get(after, "state_links");
    bool has_place = before == nullptr || json_is_array(json_object_get(before, "state_links"));
    size_t size = json_array_size(links);
    if (has_place && (size == 0 || !json_equal(json_array_get(links, size - 1), entry)))
        violated("the record saved is not the last one");
    if (!has_place && !json_equal(after, before))
        violated("a store without a place for records was changed");
    json_decref(after);
}

void test_records(const json_t *root, const std::string &name)
{
    json_t *entry = json_object();
    json_object_set_new(entry, "name", json_string(name.c_str()));
    json_object_set_new(entry, "iface", json_string(name.c_str()));
    json_object_set(entry, "all", const_cast<json_t *>(root));
    bool is_locked = here.files.exists("/var/lock/state_link.lock");
    const std::string *text = here.files.read("/var/run/state_link");
    json_t *before = text != nullptr ? load(*text) : nullptr;
    save_link_state_ex(entry);
    check_saved(entry, is_locked, before);

    undone = 0;
    forget_link_state("tag", name_of(entry), undo);
    if (undone > 1)
        violated("two records of one interface are undone at once");
    json_decref(before);
    json_decref(entry);
}

} // namespace

void test_documents(input &parts)
{
    const std::string document = parts.next_text();
    const std::string path = parts.next_text();
    const std::string key = parts.next_text();
    const std::string value = parts.next_text();
    here.put_file("/var/run/state_link", parts.next());
    here.put_file("/var/lock/state_link.lock", parts.next());
    here.obstruct(parts.next());
    documents_check documents;

    json_t *root = load(document);
    json_t *found = get_object_by_path(root, guarded_text(path));
    if (root == nullptr && found != nullptr)
        violated("something in no document");
    unsigned index = 0;
    const json_t *element =
        find_object_from_array_by_param(found, guarded_text(key), guarded_text(value), &index);
    if (element != nullptr && json_array_get(found, index) != element)
        violated("an element at another position");
    iface_params iface;
    get_iface_params_from_json(found, &iface);
    ppp_params ppp;
    get_ppp_params_from_json(found, &ppp);

    if (value.size() <= NAME_COMPARED && json_is_object(root))
        test_records(root, value);
    json_decref(root);
    documents.after();
}

} // namespace fuzz
