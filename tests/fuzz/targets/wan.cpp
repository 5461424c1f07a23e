// Start and stop of the WAN from any configuration, store and pid files.
#include "config/params.h"
#include "fuzz/link_store.h"
#include "fuzz/targets.h"
#include "fuzz/world.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <jansson.h>

namespace fuzz
{

namespace
{

// The configuration and the store around a start or stop: of the store's records, those of other
// links stay as they are, and a new one is what an entry of the configuration says.
class wan_check
{
  public:
    explicit wan_check(bool is_start)
        : is_starting(is_start), config(load_document_at("/var/run/Config")),
          before(load_document_at(STORE))
    {
        const std::string *text = here.files.read("/var/run/Config");
        config_text = text != nullptr ? *text : "";
    }

    ~wan_check()
    {
        json_decref(config);
        json_decref(before);
        json_decref(now);
    }
    wan_check(const wan_check &) = delete;
    wan_check &operator=(const wan_check &) = delete;

    void after()
    {
        const std::string *text = here.files.read("/var/run/Config");
        if ((text != nullptr ? *text : "") != config_text)
            violated("a start or stop changes the configuration");
        now = load_document_at(STORE);
        check_others();
        size_t i;
        const json_t *record;
        json_array_foreach(json_object_get(now, "state_links"), i, record)
        {
            if (!is_old(record) && (!is_starting || !is_of_an_entry(record)))
                violated("a record that no entry gives: %s", text_of(record, "iface").c_str());
        }
    }

  private:
    static constexpr char STORE[] = "/var/run/state_link";

    const json_t *entries() const
    {
        return json_object_get(json_object_get(config, "Network"), "Wan");
    }

    // A start takes a record's name anew, a stop its interface away, as much of it as is kept.
    bool is_concerned(const json_t *record) const
    {
        const std::string name = text_of(record, "name");
        if (is_starting)
            return name == "wan" || name == "wimax" || name == "unknown";
        const std::string iface = text_of(record, "iface");
        size_t i;
        const json_t *entry;
        json_array_foreach(entries(), i, entry)
        {
            if (text_of(entry, "iface").substr(0, sizeof(iface_params::iface) - 1) == iface)
                return true;
        }
        return iface.empty();
    }

    std::vector<const json_t *> others(const json_t *store) const
    {
        std::vector<const json_t *> found;
        size_t i;
        const json_t *record;
        json_array_foreach(json_object_get(store, "state_links"), i, record)
        {
            if (!is_concerned(record))
                found.push_back(record);
        }
        return found;
    }

    void check_others() const
    {
        auto is_same = [](const json_t *a, const json_t *b) { return json_equal(a, b) != 0; };
        const auto was = others(before);
        const auto is = others(now);
        if (!std::equal(was.begin(), was.end(), is.begin(), is.end(), is_same))
            violated("the records of other links were changed");
    }

    bool is_old(const json_t *record) const
    {
        size_t i;
        const json_t *old;
        json_array_foreach(json_object_get(before, "state_links"), i, old)
        {
            if (json_equal(old, record) != 0)
                return true;
        }
        return false;
    }

    bool is_of_an_entry(const json_t *record) const
    {
        size_t i;
        const json_t *entry;
        json_array_foreach(entries(), i, entry)
        {
            bool is_same = text_of(record, "type") == "static";
            for (const char *key : {"iface", "metric", "ipaddr", "netmask", "gateway"}) {
                const json_t *value = json_object_get(record, key);
                const json_t *given = json_object_get(entry, key);
                is_same = is_same && (value == given || json_equal(value, given) != 0);
            }
            if (is_same)
                return true;
        }
        return false;
    }

    bool is_starting;
    json_t *config;
    json_t *before;
    json_t *now = nullptr;
    std::string config_text;
};

constexpr size_t FIRST_LINE_MAX = 255;

// What a daemon's file says is the only process that gets a signal.
void check_signals(const std::string *pid)
{
    for (const auto &[number, signal] : here.signals) {
        const std::string line = pid != nullptr ? pid->substr(0, pid->find('\n')) : "";
        long long expected = strtoll(line.substr(0, FIRST_LINE_MAX).c_str(), nullptr, 0);
        if (pid == nullptr || number != std::clamp<long long>(expected, INT_MIN, INT_MAX))
            violated("signal %d for %d", signal, number);
    }
}

} // namespace

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
    wan_check check(is_start);
    if (run_program_with(words) != 0)
        violated("a status of %s", words[1].c_str());
    documents.after();
    check_signals(pid);
    if (!here.is_obstructed)
        check.after();
}

} // namespace fuzz
