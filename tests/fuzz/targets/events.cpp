// Events of links: any environment, any configuration, any store. Whatever comes, the store stays a
// document, locks are released, and the commands have their words (fuzz/commands.h).
#include "fuzz/targets.h"
#include "fuzz/world.h"

#include <jansson.h>

namespace fuzz
{

namespace
{

void put_documents(input &parts)
{
    here.put_file("/var/run/Config", parts.next());
    here.put_file("/var/run/state_link", parts.next());
    here.put_file("/var/lock/state_link.lock", parts.next());
    here.put_file("/var/lock/Config.lock", parts.next());
}

template <size_t N> void set_variables(const char *const (&names)[N], input &parts)
{
    for (const char *name : names)
        here.set_variable(name, parts.next());
}

// The links that the store holds, a reference of the caller's; null when it holds none.
json_t *links_of_store()
{
    const std::string *text = here.files.read("/var/run/state_link");
    if (text == nullptr)
        return nullptr;
    json_t *root = json_loadb(text->data(), text->size(), 0, nullptr);
    json_t *links = json_incref(json_object_get(root, "state_links"));
    json_decref(root);
    return links;
}

size_t count_of(const json_t *links, const char *key, const std::string &value)
{
    size_t count = 0;
    size_t i;
    json_t *link;
    json_array_foreach(links, i, link)
    {
        const char *text = json_string_value(json_object_get(link, key));
        count += text != nullptr && value == text ? 1 : 0;
    }
    return count;
}

bool has_tool(const std::string &first, const std::string &second, const std::string &third)
{
    for (const auto &words : here.tools) {
        if (words.size() > 2 && words[0] == first && words[1] == second && words[2] == third)
            return true;
    }
    return false;
}

constexpr const char *lease_variables[] = {
    "interface", "ip", "subnet", "router", "dns", "routes", "staticroutes", "msroutes",
};

constexpr const char *ppp_variables[] = {
    "IFNAME", "LINKNAME", "IPLOCAL", "IPREMOTE", "DNS1", "DNS2",
};

} // namespace

void test_lease(input &parts)
{
    const std::string *event = parts.next();
    set_variables(lease_variables, parts);
    put_documents(parts);
    here.answers = parts.next_text();
    here.obstruct(parts.next());
    documents_check documents;
    std::vector<std::string> words = {"udhcpc"};
    if (event != nullptr)
        words.push_back(*event);
    int status = run_program_with(words);
    if (status != (event == nullptr ? 22 : 0))
        violated("status %d of a lease event", status);
    documents.after();
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
    json_t *before = links_of_store();
    std::vector<std::string> words = {is_up ? "ip-up" : "ip-down"};
    for (const std::string *word = parts.next(); word != nullptr; word = parts.next())
        words.push_back(*word);
    int status = run_program_with(words);
    if (!is_up && status != 0)
        violated("status %d of ip-down", status);
    documents.after();

    if (here.is_obstructed) // then the store is as its writing in place has left it
        return;
    json_t *after = links_of_store();
    // A link that was taken into use has one record more, or a new one for its name.
    bool is_used = is_up && has_tool("sys_netbase", "save_ppp_info", "add");
    if (is_used && json_is_array(before) && json_array_size(after) < json_array_size(before))
        violated("a link that came up took a record away");
    if (!is_up && json_array_size(after) > json_array_size(before))
        violated("a link that went down left a record");
    if (!is_up && has_tool("sys_netbase", "save_ppp_info", "remove") &&
        count_of(after, "iface", here.tools[0][6]) + 1 !=
            count_of(before, "iface", here.tools[0][6]))
        violated("the record of %s stays", here.tools[0][6].c_str());
    json_decref(before);
    json_decref(after);
}

void test_wan(input &parts)
{
    bool is_start = parts.next_text() != "stop";
    std::vector<std::string> words = {"mcfg", is_start ? "start_wan" : "stop_wan"};
    for (int i = 0; i < 2; i++) {
        const std::string *word = parts.next();
        if (word != nullptr)
            words.push_back(*word);
    }
    put_documents(parts);
    const std::string *pid = parts.next();
    here.put_file("/var/run/udhcpc.vlan2.pid", pid);
    here.put_file("/var/run/ppp-pppoe-wan1.pid", pid);
    here.answers = parts.next_text();
    here.obstruct(parts.next());
    documents_check documents;
    if (run_program_with(words) != 0)
        violated("a status of %s", words[1].c_str());
    documents.after();
}

} // namespace fuzz
