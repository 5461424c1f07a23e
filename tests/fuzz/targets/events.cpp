// Events of links: any environment, any configuration, any store. Whatever comes, the record of a
// link that came up holds what the environment says, that of one that went down is gone with what
// it stood for, all other records stay, locks are released, and the commands have their words
// (fuzz/commands.h).
#include "fuzz/link_store.h"
#include "fuzz/targets.h"
#include "fuzz/world.h"

#include <algorithm>
#include <jansson.h>

namespace fuzz
{

namespace
{

template <size_t N> void set_variables(const char *const (&names)[N], input &parts)
{
    for (const char *name : names)
        here.set_variable(name, parts.next());
}

// The value of a variable of the event; null when it is not set.
const std::string *variable(const char *name)
{
    static std::string value;
    for (const auto &[known, text] : here.environment) {
        if (known == name) {
            value = text;
            return &value;
        }
    }
    return nullptr;
}

// What is kept of a text: as much as there is room for, without blanks and line ends at its end.
std::string kept(const std::string *text, size_t cap)
{
    std::string value = text != nullptr ? text->substr(0, cap - 1) : "";
    value.erase(value.find_last_not_of(" \n\r") + 1);
    return value;
}

void put_variable(json_t *record, const char *key, const char *name)
{
    json_object_set_new(record, key, text_or_null(variable(name)));
}

size_t count_of(const std::string &beginning)
{
    return static_cast<size_t>(
        std::count_if(here.commands.begin(), here.commands.end(), [&](const std::string &command) {
            return command.compare(0, beginning.size(), beginning) == 0;
        }));
}

constexpr size_t LEASE_TEXT_MAX = 64;

constexpr const char *lease_variables[] = {
    "interface", "ip", "subnet", "router", "dns", "routes", "staticroutes", "msroutes",
};

constexpr const char *ppp_variables[] = {
    "IFNAME", "LINKNAME", "IPLOCAL", "IPREMOTE", "DNS1", "DNS2",
};

// ---- leases

// Servers come in pairs, and the last pair counts.
void put_servers(json_t *record)
{
    const std::string *all = variable("dns");
    if (all == nullptr)
        return;
    std::vector<std::string> servers;
    const std::string text = kept(all, all->size() + 1) + " ";
    for (size_t at = text.find_first_not_of(' '); at < text.size();
         at = text.find_first_not_of(' ', at)) {
        size_t end = text.find(' ', at);
        servers.push_back(text.substr(at, end - at));
        at = end;
    }
    if (servers.empty())
        return;
    size_t last = (servers.size() - 1) / 2 * 2;
    json_object_set_new(record, "dns1", text_or_null(&servers[last]));
    const std::string *second = last + 1 < servers.size() ? &servers[last + 1] : nullptr;
    json_object_set_new(record, "dns2", text_or_null(second));
}

json_t *lease_record()
{
    const std::string iface = kept(variable("interface"), LEASE_TEXT_MAX);
    bool is_wan = iface == "vlan2";
    bool is_wimax = iface == "wimax0";
    json_t *record = json_object();
    put_variable(record, "iface", "interface");
    const char *name = is_wan ? "wan" : is_wimax ? "wimax" : "unknown";
    json_object_set_new(record, "name", json_string(name));
    json_object_set_new(record, "type", json_string("dhcp"));
    json_object_set_new(record, "proto", json_string(is_wan ? "ether" : name));
    json_object_set_new(record, "metric", json_integer(is_wan ? 101 : is_wimax ? 100 : 200));
    put_variable(record, "ipaddr", "ip");
    put_variable(record, "netmask", "subnet");
    put_variable(record, "gateway", "router");
    put_servers(record);
    return record;
}

// Whether the configuration has a WAN entry for the link, which is used then.
bool is_configured(const std::string &iface)
{
    if (here.files.exists("/var/lock/Config.lock"))
        return false;
    json_t *root = load_document_at("/var/run/Config");
    size_t i;
    json_t *entry;
    bool is_found = false;
    json_array_foreach(json_object_get(json_object_get(root, "Network"), "Wan"), i, entry)
    {
        const char *name = json_string_value(json_object_get(entry, "iface"));
        is_found = is_found || (name != nullptr && name == iface);
    }
    json_decref(root);
    return is_found;
}

// The file that says when the interface lost its lease.
void check_expiry(const std::string &iface)
{
    const std::string *text = here.files.read("/tmp/udhcpc." + iface + ".expires");
    bool has_place = iface.find('/') == std::string::npos;
    if ((text != nullptr) != has_place)
        violated("the end of a lease over \"%s\" is noted or not", iface.c_str());
    if (has_place && (text->empty() || text->find_first_not_of("0123456789") != text->npos))
        violated("a lease that ended at %s", text->c_str());
}

void expect_lease_end(expected_store *store)
{
    const std::string iface = kept(variable("interface"), LEASE_TEXT_MAX);
    check_expiry(iface);
    const json_t *record = store->over(iface);
    bool has_jump = json_is_string(json_object_get(record, "ipaddr"));
    size_t removed = count_of("iptables -t nat -D PREROUTING -i ");
    // A value that is cut within its quotes keeps the line from being run.
    bool is_short = text_of(record, "ipaddr").size() + iface.size() < 64;
    if (removed > (has_jump ? 1 : 0) || (removed == 0 && has_jump && is_short))
        violated("%zu jumps of a lease that ended were removed", removed);
    store->expect_removed(iface);
}

// The link is used when it is configured, unless its classless routes cannot be read.
void expect_lease(expected_store *store, bool is_configured_link)
{
    bool is_used = count_of("led green_wan on") > 0;
    if (is_used != is_configured_link && (is_used || variable("msroutes") == nullptr))
        violated("a lease is used or not");
    const std::string *address = variable("ip");
    size_t added = count_of("iptables -t nat -I PREROUTING -i ");
    if (added > (is_used && address != nullptr ? 1 : 0))
        violated("%zu jumps for a lease", added);
    if (is_used)
        store->expect_saved(lease_record());
}

// ---- PPP links

// The parts of the link's name, between runs of "-": its type and the tunnel's name.
std::vector<std::string> link_name_parts()
{
    std::vector<std::string> parts;
    const std::string *name = variable("LINKNAME");
    size_t at = name != nullptr ? name->find_first_not_of('-') : std::string::npos;
    while (at != std::string::npos && parts.size() < 2) {
        size_t end = std::min(name->find('-', at), name->size());
        parts.push_back(name->substr(at, end - at));
        at = name->find_first_not_of('-', end);
    }
    return parts;
}

// Whether a document has this metric, or none, in an object of this name.
bool has_metric(const json_t *value, const std::string &name, const json_t *metric)
{
    const char *key;
    size_t i;
    json_t *member;
    bool is_found =
        text_of(value, "name") == name && (json_equal(json_object_get(value, "metric"), metric) ||
                                           json_object_get(value, "metric") == metric);
    json_object_foreach(const_cast<json_t *>(value), key, member)
    {
        is_found = is_found || has_metric(member, name, metric);
    }
    json_array_foreach(value, i, member)
    {
        is_found = is_found || has_metric(member, name, metric);
    }
    return is_found;
}

// The metric of a modem is fixed, that of a tunnel the configuration's; null stands for an unknown
// tunnel.
void check_metric(const json_t *metric, const std::string &type, const std::string &name)
{
    json_t *config = load_document_at("/var/run/Config");
    bool is_right = type == "3g" ? json_integer_value(metric) == 10
                                 : json_is_null(metric) || has_metric(config, name, metric);
    if (!is_right)
        violated("a metric of \"%s\" that is none of its", name.c_str());
    json_decref(config);
}

json_t *ppp_record(const json_t *saved)
{
    const std::vector<std::string> parts = link_name_parts();
    json_t *record = json_object();
    put_variable(record, "iface", "IFNAME");
    if (variable("LINKNAME") != nullptr)
        json_object_set_new(record, "type", text_or_null(!parts.empty() ? &parts[0] : nullptr));
    if (!parts.empty())
        json_object_set_new(record, "name", text_or_null(parts.size() > 1 ? &parts[1] : nullptr));
    json_object_set_new(record, "proto", json_null());
    json_object_set_new(record, "netmask", json_string("255.255.255.255"));
    put_variable(record, "ipaddr", "IPLOCAL");
    put_variable(record, "gateway", "IPREMOTE");
    put_variable(record, "dns1", "DNS1");
    put_variable(record, "dns2", "DNS2");
    if (saved == nullptr)
        return record;
    json_t *metric = json_object_get(saved, "metric");
    check_metric(metric, kept(!parts.empty() ? &parts[0] : nullptr, 16),
                 kept(parts.size() > 1 ? &parts[1] : nullptr, 48));
    if (metric != nullptr)
        json_object_set_new(record, "metric", json_deep_copy(metric));
    return record;
}

bool is_marked(const std::string &name)
{
    return here.files.exists("/tmp/ppp/link." + name);
}

// As the link's start has left it. A name that is no part of a path has no marker.
void mark(const std::string &name)
{
    if (name.find('/') == name.npos && name.size() < 128)
        here.files.put("/tmp/ppp/link." + name, "");
}

void expect_ppp_end(expected_store *store)
{
    const std::string iface = kept(variable("IFNAME"), 16);
    const json_t *record = store->over(iface);
    bool is_registered = json_object_get(record, "ipaddr") != nullptr &&
                         json_object_get(record, "name") != nullptr &&
                         json_object_get(record, "type") != nullptr;
    const std::string ipaddr = text_of(record, "ipaddr");
    const std::string name = text_of(record, "name");
    std::vector<std::vector<std::string>> tools = {
        {"iptables", "-t", "nat", "-D", "PREROUTING", "-i", iface, "-d", ipaddr, "-j", "VSERVER"},
        {"sys_netbase", "save_ppp_info", "remove", iface, name, ipaddr, text_of(record, "type")},
        {"/etc/init.d/scripts/resolv", "remove", iface, name},
        {"/etc/init.d/scripts/resolv", "start"},
    };
    if (here.tools != (is_registered ? tools : std::vector<std::vector<std::string>>()))
        violated("the end of a link over %s is told otherwise", iface.c_str());
    if (is_registered && (is_marked(iface) || is_marked(name)))
        violated("a marker of %s stays", iface.c_str());
    store->expect_removed(iface);
}

void expect_ppp_start(expected_store *store, int status)
{
    if (status != 0) {
        if (!here.tools.empty())
            violated("a link that was refused is used");
        return;
    }
    if (count_of("sys_netbase save_ppp_info add ") != 1 || count_of("iptables -t nat -I ") != 1)
        violated("a link that came up is not told");
    if (!is_marked(kept(variable("IFNAME"), 16)))
        violated("a link that came up has no marker");
    store->expect_saved(ppp_record(store->last_now()));
}

} // namespace

void test_lease(input &parts)
{
    const std::string *event = parts.next();
    set_variables(lease_variables, parts);
    put_documents(parts);
    here.answers = parts.next_text();
    here.obstruct(parts.next());
    documents_check documents;
    expected_store store;
    bool is_configured_link = is_configured(kept(variable("interface"), LEASE_TEXT_MAX));
    std::vector<std::string> words = {"udhcpc"};
    if (event != nullptr)
        words.push_back(event->c_str());
    int status = run_program_with(words);
    if (status != (event == nullptr ? 22 : 0))
        violated("status %d of a lease event", status);
    documents.after();
    if (here.is_obstructed) // then the store is as its writing in place has left it
        return;

    // The first of these words that the event holds, and else its end.
    auto is = [&](const char *part) { return words.back().find(part) != std::string::npos; };
    bool is_end = !is("bound") && !is("renew") && !is("leasefail");
    if (event != nullptr && (is("deconfig") || is_end))
        expect_lease_end(&store);
    else if (event != nullptr && is("bound"))
        expect_lease(&store, is_configured_link);
    else if (here.files.changes() != 0 || !here.commands.empty())
        violated("an event without a meaning changes something");
    store.check();
}

void test_ppp(input &parts)
{
    bool is_up = parts.next_text() != "down";
    here.files.make_directory("/tmp/ppp", 0777); // as the start of the WAN has left it
    set_variables(ppp_variables, parts);
    put_documents(parts);
    here.answers = parts.next_text();
    here.obstruct(parts.next());
    documents_check documents;
    expected_store store;
    if (!is_up && !here.is_obstructed) {
        const std::string iface = kept(variable("IFNAME"), 16);
        mark(iface);
        mark(text_of(store.over(iface), "name"));
    }
    std::vector<std::string> words = {is_up ? "ip-up" : "ip-down"};
    for (const std::string *word = parts.next(); word != nullptr; word = parts.next())
        words.push_back(*word);
    int status = run_program_with(words);
    if (!is_up && status != 0)
        violated("status %d of ip-down", status);
    documents.after();
    if (here.is_obstructed)
        return;
    if (is_up)
        expect_ppp_start(&store, status);
    else
        expect_ppp_end(&store);
    store.check();
}

} // namespace fuzz
