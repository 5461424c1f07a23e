#include "fuzz/link_store.h"

#include "fuzz/world.h"

#include <cstring>

namespace fuzz
{

namespace
{

constexpr char PATH[] = "/var/run/state_link";
constexpr size_t NAME_COMPARED = 63;

json_t *load(const std::string &text)
{
    return json_loadb(text.data(), text.size(), 0, nullptr);
}

} // namespace

json_t *text_or_null(const std::string *text)
{
    json_t *value = text != nullptr ? json_string(text->c_str()) : nullptr;
    return value != nullptr ? value : json_null();
}

json_t *load_document_at(const char *path)
{
    const std::string *text = here.files.read(path);
    return text != nullptr ? load(*text) : nullptr;
}

std::string text_of(const json_t *record, const char *key)
{
    const char *text = json_string_value(json_object_get(record, key));
    return text != nullptr ? text : "";
}

void put_documents(input &parts)
{
    here.put_file("/var/run/Config", parts.next());
    here.put_file(PATH, parts.next());
    here.put_file("/var/lock/state_link.lock", parts.next());
    here.put_file("/var/lock/Config.lock", parts.next());
}

expected_store::expected_store()
    : is_there(here.files.read(PATH) != nullptr),
      is_locked(here.files.exists("/var/lock/state_link.lock")),
      before(is_there ? *here.files.read(PATH) : ""), root(load(before))
{
}

expected_store::~expected_store()
{
    json_decref(root);
    json_decref(now);
}

bool expected_store::find(const char *key, const char *value, size_t *index) const
{
    for (*index = 0; *index < json_array_size(links()); ++*index) {
        const json_t *link = json_array_get(links(), *index);
        const char *text = json_string_value(json_object_get(link, key));
        if (text != nullptr && strcmp(text, value) == 0)
            return true;
    }
    return false;
}

const json_t *expected_store::over(const std::string &iface) const
{
    size_t index = 0;
    bool is_found = !is_locked && find("iface", iface.c_str(), &index);
    return is_found ? json_array_get(links(), index) : nullptr;
}

const json_t *expected_store::last_now()
{
    json_decref(now);
    now = is_locked ? nullptr : load_document_at(PATH);
    const json_t *all = json_object_get(now, "state_links");
    size_t size = json_array_size(all);
    return size > 0 ? json_array_get(all, size - 1) : nullptr;
}

void expected_store::expect_saved(json_t *record)
{
    if (root == nullptr)
        root = json_pack("{s:[]}", "state_links");
    const char *name = json_string_value(json_object_get(record, "name"));
    const std::string compared = std::string(name != nullptr ? name : "").substr(0, NAME_COMPARED);
    size_t index = 0;
    if (find("name", compared.c_str(), &index))
        json_array_remove(links(), index);
    json_array_append_new(links(), record);
    is_written = !is_locked;
}

void expected_store::expect_removed(const std::string &iface)
{
    size_t index = 0;
    is_written = over(iface) != nullptr && find("iface", iface.c_str(), &index) &&
                 json_array_remove(links(), index) == 0;
}

void expected_store::check() const
{
    const std::string *text = here.files.read(PATH);
    if (!is_written) {
        if ((text != nullptr) != is_there || (text != nullptr && *text != before))
            violated("the store was changed: %s", text != nullptr ? text->c_str() : "gone");
        return;
    }
    json_t *after = text != nullptr ? load(*text) : nullptr;
    if (!json_equal(after, root)) {
        char *expected = json_dumps(root, JSON_COMPACT);
        violated("the store is %s in place of %s", text != nullptr ? text->c_str() : "gone",
                 expected);
    }
    json_decref(after);
}

} // namespace fuzz
