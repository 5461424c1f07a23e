// Documents while memory runs out: every job that stores one is run with its first allocation
// failing, its second one, and so on until none is left to fail.
#include "util/json_memory.h"

#include "config/document.h"
#include "config/json_access.h"
#include "support/texts.h"
#include "support/unit_test.h"
#include "util/link_state.h"
#include "wan/dhcp_event.h"
#include "wan/ppp_event.h"
#include "wan/wan_link.h"
#include "wan/wan_start.h"

#include <errno.h>
#include <jansson.h>
#include <stdlib.h>
#include <string>

namespace
{

constexpr char CONFIG[] = "/var/run/Config";
constexpr char STORE[] = "/var/run/state_link";
constexpr char LOCK[] = "/var/lock/state_link.lock";

// The allocations that still succeed, whether only the next one fails or all of them from there on,
// and whether one has failed.
long good_allocations;
bool fails_for_good;
bool has_failed;

void *failing_malloc(size_t size)
{
    bool fails = good_allocations == 0 || (good_allocations < 0 && fails_for_good);
    good_allocations--;
    if (!fails)
        return malloc(size);
    has_failed = true;
    errno = ENOMEM;
    return nullptr;
}

void build_config()
{
    set_config(1);
}

// As long as texts are that a lexer has to find more room for.
void save_link()
{
    watch_json_memory();
    json_t *link = json_object();
    for (const char *key : {"iface", "name", "type", "proto", "ipaddr", "netmask", "gateway"})
        json_object_set_new(link, key,
                            json_string("a text that fills more than one line of memory"));
    save_link_state_ex(link);
    json_decref(link);
}

void take_link_down()
{
    wan_down("ppp1");
}

void start_static()
{
    start_wan_morvi(1, 1);
}

void lease_bound()
{
    setenv("interface", "vlan2", 1);
    setenv("ip", "192.0.2.10", 1);
    setenv("subnet", "255.255.255.0", 1);
    setenv("router", "192.0.2.1", 1);
    setenv("dns", "198.51.100.53 203.0.113.53", 1);
    char program[] = "udhcpc";
    char event[] = "bound";
    char *argv[] = {program, event, nullptr};
    udhcpc_main(2, argv);
}

void ppp_up()
{
    setenv("IFNAME", "ppp1", 1);
    setenv("LINKNAME", "pppoe-wan1", 1);
    setenv("IPLOCAL", "10.9.0.10", 1);
    setenv("IPREMOTE", "10.9.0.1", 1);
    setenv("DNS1", "198.51.100.53", 1);
    char program[] = "ip-up";
    char *argv[] = {program, nullptr};
    ipup_main(1, argv);
}

constexpr char SETTINGS[] = R"({"Network":{"Wan":[
    {"iface":"vlan2","name":"WAN","auto":true,"type":"static","ipaddr":"192.0.2.10",
     "netmask":"255.255.255.0","gateway":"192.0.2.1","metric":20,
     "Tunnels":[{"name":"wan1","type":"pppoe","metric":30}]}]}})";
constexpr char LINKS[] = R"({"state_links":[{"iface":"ppp1","name":"wan1","metric":30},
    {"iface":"wimax0","name":"a text that fills more than one line of memory"}]})";

struct job {
    const char *name;
    void (*run)();
    const char *file;
    const char *before; // null for none
    // What is stored without a Config is as good when there is no memory to load it: the link is up
    // as the record says, and would never be taken down without one.
    bool does_without_config = false;
};

constexpr job JOBS[] = {
    {"build Config", build_config, CONFIG, SETTINGS},
    {"build the first Config", build_config, CONFIG, nullptr},
    {"save a link", save_link, STORE, LINKS},
    {"save the first link", save_link, STORE, nullptr},
    {"save a link over no JSON", save_link, STORE, "{\"state_links\":[{\"iface"},
    {"take a link down", take_link_down, STORE, LINKS},
    {"start a static WAN", start_static, STORE, LINKS},
    {"bring a lease up", lease_bound, STORE, LINKS},
    {"bring a PPP link up", ppp_up, STORE, LINKS, true},
};

class little_memory : public support::unit_test
{
  protected:
    void SetUp() override
    {
        support::unit_test::SetUp();
        world.copy_in(support::example_path("router"), "/");
        world.on("skip ioctl");
        world.on("skip shell");
        world.on("fail EAGAIN fork"); // hundreds of starts, none of which matters here
        world.mkdir("/tmp/ppp");
    }
    void TearDown() override
    {
        json_allocate = malloc;
        watch_json_memory();
    }

    std::string content(const char *path)
    {
        return world.exists(path) ? world.read(path) : "no file";
    }

    // What becomes of the job's file when so many allocations succeed (-1 for all of them).
    std::string after(const job &row, long allocations, bool for_good, bool has_config = true)
    {
        world.remove(CONFIG);
        if (has_config)
            world.write(CONFIG, SETTINGS);
        world.remove(row.file);
        if (row.before != nullptr)
            world.write(row.file, row.before);
        world.clear_trace();
        good_allocations = allocations;
        fails_for_good = for_good;
        has_failed = false;
        json_allocate = allocations < 0 ? malloc : failing_malloc;
        job copy = row;
        support::private_world::captured(
            2, [](void *context) { static_cast<job *>(context)->run(); }, &copy);
        json_allocate = malloc;
        return content(row.file);
    }

    void expect_whole_or_as_before(const job &row, bool for_good)
    {
        const std::string before = row.before != nullptr ? row.before : "no file";
        const std::string whole = after(row, -1, false);
        EXPECT_NE(whole, before);
        const std::string without_config =
            row.does_without_config ? after(row, -1, false, false) : whole;
        bool was_without_config = false;
        for (long n = 0;; n++) {
            SCOPED_TRACE(n);
            std::string now = after(row, n, for_good);
            was_without_config = was_without_config || now == without_config;
            EXPECT_FALSE(world.exists(LOCK));
            if (!has_failed) {
                EXPECT_EQ(now, whole);
                EXPECT_GT(n, 10);
                EXPECT_TRUE(was_without_config || for_good);
                return;
            }
            bool is_good = now == whole || now == before || now == without_config;
            EXPECT_TRUE(is_good) << now;
            if (!is_good)
                return;
        }
    }
};

TEST_F(little_memory, leaves_documents_whole_when_one_allocation_fails)
{
    for (const job &row : JOBS) {
        SCOPED_TRACE(row.name);
        expect_whole_or_as_before(row, false);
    }
}

TEST_F(little_memory, leaves_documents_whole_when_all_allocations_fail_from_there_on)
{
    for (const job &row : JOBS) {
        SCOPED_TRACE(row.name);
        expect_whole_or_as_before(row, true);
    }
}

TEST_F(little_memory, is_logged_for_a_document_that_is_not_written)
{
    after(JOBS[0], 3, false);
    EXPECT_TRACE(R"(
        log mcfg-set_config: start
        log mcfg-set_config: WAN_IFNAME = vlan2
        log mcfg-set_config: Not enough memory, /var/run/Config stays as it was
        log mcfg-set_config: stop
    )",
                 world.trace());
}

// Where Jansson's reader has no room for the closing quote of a text, it would look for one behind
// its memory: a text may have any length.
std::string texts_of_all_lengths()
{
    std::string document = "{\"key\": [0";
    for (const char *piece : {"x", "\\\\", "\\u0041"}) {
        std::string text = piece;
        while (text.size() < 70) {
            document += ", \"" + text + "\"";
            text += piece;
        }
    }
    return document + "]}";
}

struct reader {
    const char *name;
    json_t *(*read)();
};

constexpr reader READERS[] = {
    {"of a file", [] { return load_document("/document"); }},
    {"of a text",
     [] {
         const std::string text = texts_of_all_lengths();
         return read_json_text(text.data(), text.size(), nullptr);
     }},
};

// From the first allocation to the last: a document, or none.
void expect_document_or_none(const reader &row, bool for_good)
{
    for (long n = 0;; n++) {
        good_allocations = n;
        fails_for_good = for_good;
        has_failed = false;
        json_allocate = failing_malloc;
        json_t *root = row.read();
        json_allocate = malloc;
        EXPECT_EQ(root == nullptr, has_failed) << n;
        json_decref(root);
        if (!has_failed) {
            EXPECT_GT(n, 10);
            return;
        }
    }
}

TEST_F(little_memory, loads_no_part_of_a_document)
{
    world.write("/document", texts_of_all_lengths());
    for (const reader &row : READERS) {
        SCOPED_TRACE(row.name);
        expect_document_or_none(row, false);
        expect_document_or_none(row, true);
    }
}

TEST_F(little_memory, leaves_what_is_built_without_a_document_whole)
{
    world.write(STORE, LINKS);
    good_allocations = 3;
    fails_for_good = false;
    json_allocate = failing_malloc;
    EXPECT_EQ(load_document(STORE), nullptr);
    json_allocate = malloc;
    EXPECT_FALSE(json_memory_failed());
}

// The next document is another matter.
TEST_F(little_memory, is_forgotten_when_another_document_is_begun)
{
    after(JOBS[0], 3, false);
    EXPECT_TRUE(json_memory_failed());
    set_config(1);
    EXPECT_FALSE(json_memory_failed());
    EXPECT_NE(content(CONFIG), SETTINGS);
}

TEST_F(little_memory, of_our_own_counts_as_well)
{
    world.write(STORE, LINKS);
    watch_json_memory();
    set_json_memory_failed(true);
    json_t *link = json_pack("{s:s}", "name", "wan1");
    save_link_state_ex(link);
    json_decref(link);
    EXPECT_EQ(content(STORE), LINKS);
    EXPECT_TRACE(R"(
        log mcfg-save_link_state_ex: start
        log mcfg-save_link_state_ex: Not enough memory, /var/run/state_link stays as it was
        log mcfg-save_link_state_ex: stop
    )",
                 world.trace());
}

TEST_F(little_memory, of_before_hides_no_link)
{
    world.write(STORE, LINKS);
    watch_json_memory();
    set_json_memory_failed(true);
    EXPECT_TRUE(is_link_recorded("ppp1"));
}

TEST_F(little_memory, has_run_out_though_a_document_was_loaded_since)
{
    world.write("/document", R"({"key": "value"})");
    watch_json_memory();
    set_json_memory_failed(true);
    json_t *root = load_document("/document");
    EXPECT_NE(root, nullptr);
    EXPECT_TRUE(json_memory_failed());
    json_decref(root);
    watch_json_memory();
    root = load_document("/document");
    EXPECT_FALSE(json_memory_failed());
    json_decref(root);
}

} // namespace
