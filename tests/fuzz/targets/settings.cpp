// set_config from any settings: the document is valid, has the members that its readers look for,
// holds only what the settings hold, and comes out the same a second time.
#include "config/document.h"
#include "config/json_access.h"
#include "fuzz/targets.h"
#include "fuzz/world.h"

#include <cstring>
#include <jansson.h>

namespace fuzz
{

namespace
{

constexpr const char *files[] = {
    "/etc/default/network-interfaces",
    "/etc/default/ppp-peers",
    "/etc/default/dns.conf",
    "/etc/default/wimax",
};

// The texts of the document that come from no settings file.
constexpr const char *own_texts[] = {
    "br0",   "LAN0",   "vlan2", "WAN",         "wimax0",
    "WIMAX", "static", "dhcp",  "192.168.0.1", "255.255.255.0",
};

std::string all_settings;

bool is_from_settings(const std::string &text)
{
    for (const char *own : own_texts) {
        if (text == own)
            return true;
    }
    return all_settings.find(text) != std::string::npos;
}

void check_texts(const json_t *value)
{
    const char *key;
    json_t *member;
    size_t i;
    if (json_is_string(value) && !is_from_settings(json_string_value(value)))
        violated("a text that is in no settings file: %s", json_string_value(value));
    json_object_foreach(const_cast<json_t *>(value), key, member) check_texts(member);
    json_array_foreach(value, i, member) check_texts(member);
}

const json_t *element(json_t *root, const char *path)
{
    const json_t *found = get_object_by_path(root, path);
    if (!json_is_object(found))
        violated("no object at %s", path);
    return found;
}

// A reader's field is the member's text, cut to the room there is.
template <size_t N> void check_field(const json_t *entry, const char *key, const char (&field)[N])
{
    const char *text = json_string_value(json_object_get(entry, key));
    const std::string expected = text != nullptr ? std::string(text).substr(0, N - 1) : "";
    if (expected != field)
        violated("%s reads back as %s", expected.c_str(), field);
}

void check_interface(const json_t *entry)
{
    iface_params params;
    get_iface_params_from_json(entry, &params);
    check_field(entry, "iface", params.iface);
    check_field(entry, "type", params.type);
    check_field(entry, "mac", params.mac);
    if (strcmp(params.type, "static") == 0) {
        check_field(entry, "ipaddr", params.ipaddr);
        check_field(entry, "netmask", params.netmask);
        check_field(entry, "gateway", params.gateway);
    }
}

void check_tunnels(const json_t *entry)
{
    const json_t *tunnels = json_object_get(entry, "Tunnels");
    if (json_is_true(json_object_get(entry, "have_tunnels")) != (json_array_size(tunnels) > 0))
        violated("have_tunnels does not say whether there are any");
    size_t i;
    json_t *tunnel;
    json_array_foreach(tunnels, i, tunnel)
    {
        ppp_params params;
        get_ppp_params_from_json(tunnel, &params);
        check_field(tunnel, "name", params.name);
        check_field(tunnel, "type", params.type);
        check_field(tunnel, "login", params.login);
        check_field(tunnel, "passwd", params.passwd);
    }
}

void check_document(const std::string &text)
{
    json_t *root = json_loadb(text.data(), text.size(), JSON_REJECT_DUPLICATES, nullptr);
    if (root == nullptr)
        violated("the document is no JSON: %s", text.c_str());
    check_texts(root);
    element(root, "Network/Common/Dns");
    element(root, "Network/Common/Wimax");
    for (const char *path : {"Network/Lan:0", "Network/Wan:0", "Network/Wan:1"})
        check_interface(element(root, path));
    check_tunnels(element(root, "Network/Wan:0"));
    json_decref(root);
}

} // namespace

void test_settings(input &parts)
{
    all_settings.clear();
    for (const char *path : files) {
        const std::string *content = parts.next();
        here.put_file(path, content);
        all_settings += content != nullptr ? *content + "\n" : "";
    }
    bool from_files = parts.next_text().empty();
    auto build = [&] {
        if (from_files)
            return run_program_with({"mcfg", "set_config"});
        set_config(0);
        return 0;
    };
    build();
    const std::string *written = here.files.read("/var/run/Config");
    if (written == nullptr)
        violated("no document was written");
    const std::string first = *written;
    check_document(first);
    build();
    if (*here.files.read("/var/run/Config") != first)
        violated("the same settings give another document");
}

} // namespace fuzz
