#include "util/link_state.h"

#include "support/unit_test.h"

#include <string>
#include <vector>

namespace
{

const char store_path[] = "/var/run/state_link";
const char lock_path[] = "/var/lock/state_link.lock";

// Compact JSON text as the store's file holds it.
std::string as_stored(const std::string &compact)
{
    json_t *value = json_loads(compact.c_str(), JSON_DECODE_ANY, nullptr);
    char *text = json_dumps(value, JSON_INDENT(3) | JSON_PRESERVE_ORDER | JSON_ENCODE_ANY);
    std::string result = text != nullptr ? text : "not JSON: " + compact;
    free(text);
    json_decref(value);
    return result;
}

void save(const char *entry_text)
{
    json_t *entry = json_loads(entry_text, JSON_DECODE_ANY, nullptr);
    EXPECT_EQ(save_link_state_ex(entry), 1);
    json_decref(entry);
}

class link_state : public support::unit_test
{
};

TEST_F(link_state, the_first_save_makes_the_file)
{
    save(R"({"iface": "vlan2", "name": "wan", "metric": 101, "dns2": null})");
    EXPECT_EQ(world.read(store_path), "{\n"
                                      "   \"state_links\": [\n"
                                      "      {\n"
                                      "         \"iface\": \"vlan2\",\n"
                                      "         \"name\": \"wan\",\n"
                                      "         \"metric\": 101,\n"
                                      "         \"dns2\": null\n"
                                      "      }\n"
                                      "   ]\n"
                                      "}");
    EXPECT_FALSE(world.exists(lock_path));
    EXPECT_TRACE(R"(
        log mcfg-save_link_state_ex: start
        log mcfg-save_link_state_ex: get root - error
        log mcfg-save_link_state_ex: stop
    )",
                 world.trace());
}

struct save_row {
    const char *name;
    const char *before; // null for no file; taken to the letter
    std::vector<const char *> entries;
    const char *after;
};

const std::string fair_entry = R"({"name":")" + std::string(63, 'n') + R"("})";
const std::string one_fair_entry = R"({"state_links":[)" + fair_entry + "]}";
const std::string long_name(64, 'n');
const std::string long_entry = R"({"name":")" + long_name + R"("})";
const std::string two_long_entries = R"({"state_links":[)" + long_entry + "," + long_entry + "]}";

const save_row save_rows[] = {
    {"saved again, still one",
     nullptr,
     {R"({"name":"wan","ipaddr":"192.0.2.1"})", R"({"name":"wan","ipaddr":"192.0.2.2"})"},
     R"({"state_links":[{"name":"wan","ipaddr":"192.0.2.2"}]})"},
    {"in the order of saving",
     nullptr,
     {R"({"name":"wan"})", R"({"name":"ppp0"})"},
     R"({"state_links":[{"name":"wan"},{"name":"ppp0"}]})"},
    {"saved again moves to the end",
     nullptr,
     {R"({"name":"wan"})", R"({"name":"ppp0"})", R"({"name":"wan"})"},
     R"({"state_links":[{"name":"ppp0"},{"name":"wan"}]})"},
    {"only the first of the same name is replaced",
     R"({"state_links":[{"name":"wan","n":1},{"name":"wan","n":2}]})",
     {R"({"name":"wan","n":3})"},
     R"({"state_links":[{"name":"wan","n":2},{"name":"wan","n":3}]})"},
    {"other members of the store are kept",
     R"({"a":1,"state_links":[],"b":{}})",
     {R"({"name":"wan"})"},
     R"({"a":1,"state_links":[{"name":"wan"}],"b":{}})"},
    {"empty file", "", {R"({"name":"wan"})"}, R"({"state_links":[{"name":"wan"}]})"},
    {"cut short",
     R"({"state_links":[{"name":"ppp0)",
     {R"({"name":"wan"})"},
     R"({"state_links":[{"name":"wan"}]})"},
    {"binary", "\x01\xff\xfe\x02", {R"({"name":"wan"})"}, R"({"state_links":[{"name":"wan"}]})"},
    {"no object or array at the top",
     "7",
     {R"({"name":"wan"})"},
     R"({"state_links":[{"name":"wan"}]})"},
    {"without state_links it is never repaired",
     R"({"other":[1,2]})",
     {R"({"name":"wan"})"},
     R"({"other":[1,2]})"},
    {"an array is not repaired either", R"([1])", {R"({"name":"wan"})"}, R"([1])"},
    {"state_links is an object",
     R"({"state_links":{"name":"wan"}})",
     {R"({"name":"wan"})"},
     R"({"state_links":{"name":"wan"}})"},
    {"state_links is null",
     R"({"state_links":null})",
     {R"({"name":"wan"})"},
     R"({"state_links":null})"},
    {"elements that are no links stay",
     R"({"state_links":[null,7,"wan",["wan"],{"name":7},{"name":"wan"}]})",
     {R"({"name":"wan"})"},
     R"({"state_links":[null,7,"wan",["wan"],{"name":7},{"name":"wan"}]})"},
    {"no name: of all links without one, the one with an empty name is replaced",
     R"({"state_links":[{"iface":"a"},{"name":""}]})",
     {R"({"iface":"b"})"},
     R"({"state_links":[{"iface":"a"},{"iface":"b"}]})"},
    {"a name that is no text counts as none",
     nullptr,
     {R"({"name":null})", R"({"name":7})"},
     R"({"state_links":[{"name":null},{"name":7}]})"},
    {"a name of 63 characters is found again",
     nullptr,
     {fair_entry.c_str(), fair_entry.c_str()},
     one_fair_entry.c_str()},
    {"a name of 64 characters is not found again",
     nullptr,
     {long_entry.c_str(), long_entry.c_str()},
     two_long_entries.c_str()},
};

TEST_F(link_state, saves)
{
    for (const save_row &row : save_rows) {
        SCOPED_TRACE(row.name);
        world.clear();
        if (row.before != nullptr)
            world.write(store_path, row.before);
        for (const char *entry : row.entries)
            save(entry);
        EXPECT_EQ(world.read(store_path), as_stored(row.after));
        EXPECT_FALSE(world.exists(lock_path));
    }
}

TEST_F(link_state, the_entry_still_belongs_to_its_caller)
{
    json_t *entry = json_pack("{s:s}", "name", "wan");
    save_link_state_ex(entry);
    save_link_state_ex(entry);
    EXPECT_STREQ(json_string_value(json_object_get(entry, "name")), "wan");
    json_decref(entry);
}

TEST_F(link_state, a_save_that_finds_the_lock_held_is_lost)
{
    world.write(store_path, "as it was");
    world.write(lock_path, "1");
    save(R"({"name":"wan"})");
    EXPECT_EQ(world.read(store_path), "as it was");
    EXPECT_EQ(world.read(lock_path), "1");
    EXPECT_TRACE(R"(
        log mcfg-save_link_state_ex: start
        log mcfg-set_lock_on_file: Can't lock file
        log mcfg-save_link_state_ex: stop
    )",
                 world.trace());
}

TEST_F(link_state, a_save_without_a_place_for_the_lock_is_lost)
{
    world.remove("/var/lock");
    save(R"({"name":"wan"})");
    EXPECT_FALSE(world.exists(store_path));
    EXPECT_TRACE(R"(
        log mcfg-save_link_state_ex: start
        log mcfg-open_file_with_lock: Can't open unlock file
        log mcfg-save_link_state_ex: stop
    )",
                 world.trace());
}

TEST_F(link_state, a_store_that_cannot_be_written_frees_the_lock)
{
    world.mkdir(store_path);
    save(R"({"name":"wan"})");
    EXPECT_FALSE(world.exists(lock_path));
}

// A directory opens and cannot be read: it stands for any store whose reading fails.
TEST_F(link_state, a_store_that_cannot_be_read_is_left_alone)
{
    world.mkdir(store_path);
    save(R"({"name":"wan"})");
    EXPECT_TRACE(R"(
        log mcfg-save_link_state_ex: start
        log mcfg-save_link_state_ex: Cannot read /var/run/state_link: Is a directory
        log mcfg-save_link_state_ex: get root - error
        log mcfg-save_link_state_ex: stop
    )",
                 world.trace());
}

// Only the open that reads it fails, the one that would replace it does not.
TEST_F(link_state, a_store_that_cannot_be_opened_is_left_alone)
{
    const std::string before = R"({"state_links":[{"name":"ppp0"}]})";
    world.write(store_path, before);
    world.on("fail EMFILE open /var/run/state_link #1");
    save(R"({"name":"wan"})");
    EXPECT_EQ(world.read(store_path), before);
    EXPECT_FALSE(world.exists(lock_path));
    EXPECT_TRACE(R"(
        log mcfg-save_link_state_ex: start
        open /var/run/state_link = EMFILE
        log mcfg-save_link_state_ex: Cannot read /var/run/state_link: Too many open files
        log mcfg-save_link_state_ex: get root - error
        log mcfg-save_link_state_ex: stop
    )",
                 world.trace());
}

// Another's editor may have left that.
TEST_F(link_state, a_store_with_a_member_twice_is_read)
{
    world.write(store_path,
                R"({"state_links": [], "state_links": [{"iface": "a", "iface": "b"}]})");
    save(R"({"iface": "vlan2"})");
    EXPECT_EQ(world.read(store_path),
              as_stored(R"({"state_links":[{"iface":"b"},{"iface":"vlan2"}]})"));
}

TEST_F(link_state, a_save_over_a_store_says_so)
{
    world.write(store_path, R"({"state_links":[{"name":"ppp0"},{"name":"wan"}]})");
    save(R"({"name":"wan"})");
    EXPECT_TRACE(R"(
        log mcfg-save_link_state_ex: start
        log mcfg-save_link_state_ex: get root - ok
        log mcfg-find_object_from_array_by_param: size of array = 2
        log mcfg-find_object_from_array_by_param: find item #1
        log mcfg-save_link_state_ex: stop
    )",
                 world.trace());
}

struct find_row {
    const char *name;
    const char *root;
    const char *param;
    const char *value;
    const char *found; // null for none
    const char *after_removal;
};

const find_row find_rows[] = {
    {"the first of two", R"({"state_links":[{"iface":"a","n":1},{"iface":"a","n":2}]})", "iface",
     "a", R"({"iface":"a","n":1})", R"({"state_links":[{"iface":"a","n":2}]})"},
    {"by name", R"({"state_links":[{"iface":"a","name":"x"},{"iface":"b","name":"a"}]})", "name",
     "a", R"({"iface":"b","name":"a"})", R"({"state_links":[{"iface":"a","name":"x"}]})"},
    {"whole texts only", R"({"state_links":[{"iface":"ppp11"}]})", "iface", "ppp1", nullptr,
     R"({"state_links":[{"iface":"ppp11"}]})"},
    {"none", R"({"state_links":[]})", "iface", "a", nullptr, R"({"state_links":[]})"},
    {"no state_links", R"({"links":[{"iface":"a"}]})", "iface", "a", nullptr,
     R"({"links":[{"iface":"a"}]})"},
    {"state_links is no array", R"({"state_links":{"iface":"a"}})", "iface", "a", nullptr,
     R"({"state_links":{"iface":"a"}})"},
    {"elements that are no links", R"({"state_links":[1,null,"a",{"iface":null}]})", "iface", "a",
     nullptr, R"({"state_links":[1,null,"a",{"iface":null}]})"},
    {"an array at the top", R"([{"iface":"a"}])", "iface", "a", nullptr, R"([{"iface":"a"}])"},
};

TEST_F(link_state, finds_and_removes)
{
    for (const find_row &row : find_rows) {
        SCOPED_TRACE(row.name);
        json_t *root = json_loads(row.root, 0, nullptr);
        ASSERT_NE(root, nullptr);
        json_t *found = get_link_state_ex(root, row.param, row.value);
        json_t *expected = row.found != nullptr ? json_loads(row.found, 0, nullptr) : nullptr;
        EXPECT_TRUE(found == expected || json_equal(found, expected));
        remove_link_state_ex(root, row.param, row.value);
        char *after = json_dumps(root, JSON_COMPACT | JSON_PRESERVE_ORDER);
        EXPECT_STREQ(after, row.after_removal);
        free(after);
        json_decref(expected);
        json_decref(root);
    }
}

TEST_F(link_state, says_what_it_finds_and_removes)
{
    json_t *root = json_loads(R"({"state_links":[{"iface":"a"},{"iface":"b"}]})", 0, nullptr);
    get_link_state_ex(root, "iface", "b");
    remove_link_state_ex(root, "iface", "b");
    remove_link_state_ex(root, "iface", "gone");
    EXPECT_TRACE(R"(
        log mcfg-get_link_state_ex: start
        log mcfg-get_link_state_ex: state_links - ok
        log mcfg-find_object_from_array_by_param: size of array = 2
        log mcfg-find_object_from_array_by_param: find item #1
        log mcfg-get_link_state_ex: stop
        log mcfg-remove_link_state_ex: start - param =iface, value = b
        log mcfg-remove_link_state_ex: state_links - ok
        log mcfg-find_object_from_array_by_param: size of array = 2
        log mcfg-find_object_from_array_by_param: find item #1
        log mcfg-remove_link_state_ex: index for remove = 1
        log mcfg-remove_link_state_ex: Success! Remove item by index 1
        log mcfg-remove_link_state_ex: stop
        log mcfg-remove_link_state_ex: start - param =iface, value = gone
        log mcfg-remove_link_state_ex: state_links - ok
        log mcfg-find_object_from_array_by_param: size of array = 1
        log mcfg-remove_link_state_ex: stop
    )",
                 world.trace());
    json_decref(root);
}

TEST_F(link_state, nothing_to_find_without_state_links)
{
    json_t *root = json_object();
    EXPECT_EQ(get_link_state_ex(root, "iface", "a"), nullptr);
    remove_link_state_ex(root, "iface", "a");
    EXPECT_TRACE(R"(
        log mcfg-get_link_state_ex: start
        log mcfg-get_link_state_ex: stop
        log mcfg-remove_link_state_ex: start - param =iface, value = a
        log mcfg-remove_link_state_ex: stop
    )",
                 world.trace());
    json_decref(root);
}

} // namespace
