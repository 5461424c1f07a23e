// mctl status and heal as they are started: what they print, what they leave alone, and what they
// make of a world that is not as it should be.
#include "support/expect.h"
#include "support/router_box.h"
#include "support/texts.h"
#include "support/world_root.h"

#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <jansson.h>
#include <set>
#include <string>

namespace
{

constexpr char CONFIG[] = "/var/run/Config";
constexpr char STORE[] = "/var/run/state_link";
constexpr char LISTING[] = "run iptables -t nat -S\n";

class mctl : public testing::Test
{
  protected:
    support::router_box box{support::program_of_build("mctl")};

    void SetUp() override
    {
        box.copy_in(support::example_path("router"), "/");
        configure(
            R"({"iface":"br0","name":"LAN0","auto":true,"type":"static","ipaddr":"192.168.1.1"})",
            R"({"iface":"vlan2","name":"WAN","auto":false,"type":"dhcp"})");
        for (const char *port : {"vlan1", "ra0"})
            box.write(std::string("/sys/class/net/br0/brif/") + port, "");
        for (const char *words : {"link add br0 type veth peer name br0p", "link set br0p up",
                                  "link set br0 up", "address add 192.168.1.1/24 dev br0"})
            ip(words);
    }

    void configure(const std::string &lan, const std::string &wan)
    {
        box.write(CONFIG, R"({"Network":{"Common":{"Dns":{},"Wimax":{}},"Lan":[)" + lan +
                              R"(],"Wan":[)" + wan + "]}}");
    }

    void ip(const std::string &words)
    {
        std::vector<std::string> command = {"ip"};
        std::istringstream stream(words);
        for (std::string word; stream >> word;)
            command.push_back(word);
        box.in_network(command);
    }

    support::outcome run(std::vector<std::string> words)
    {
        words.insert(words.begin(), "mctl");
        support::outcome seen = box.run(words);
        EXPECT_EQ(seen.signal, 0);
        return seen;
    }
};

TEST_F(mctl, status_of_a_router_in_order)
{
    support::outcome seen = run({"status"});
    EXPECT_EQ(seen.status, 0) << seen.err;
    EXPECT_EQ(seen.err, "");
    EXPECT_TRACE(R"(
        NAME       IFACE    STATE     WANTED          RECORDED        REAL
        LAN0       br0      up        192.168.1.1     -               192.168.1.1
        WAN        vlan2    off       off             -               -
        all is well
        )",
                 seen.out);
    EXPECT_EQ(seen.trace, LISTING);
}

TEST_F(mctl, status_of_a_router_that_is_not)
{
    box.write("/var/lock/state_link.lock", "999999");
    support::outcome seen = run({"status"});
    EXPECT_EQ(seen.status, 1);
    EXPECT_NE(seen.out.find("router: lock-dead: the lock state_link was left by process 999999, "
                            "which is gone, so no event can be recorded\n    cure: mctl heal\n"),
              std::string::npos)
        << seen.out;
}

// ---- the JSON against its schema: kinds, required members, no others

json_t *load_schema()
{
    return json_load_file(MCFG_SOURCE_DIR "/docs/mctl-status.schema.json", 0, nullptr);
}

bool is_kind(const json_t *value, const std::string &kind)
{
    return (kind == "object" && json_is_object(value)) ||
           (kind == "array" && json_is_array(value)) ||
           (kind == "string" && json_is_string(value)) ||
           (kind == "integer" && json_is_integer(value)) ||
           (kind == "boolean" && json_is_boolean(value)) || (kind == "null" && json_is_null(value));
}

bool is_one_of(const json_t *value, const json_t *kinds)
{
    if (json_is_string(kinds))
        return is_kind(value, json_string_value(kinds));
    for (size_t i = 0; i < json_array_size(kinds); i++) {
        if (is_kind(value, json_string_value(json_array_get(kinds, i))))
            return true;
    }
    return false;
}

bool is_in(const json_t *value, const json_t *list)
{
    for (size_t i = 0; i < json_array_size(list); i++) {
        if (json_equal(value, json_array_get(list, i)))
            return true;
    }
    return false;
}

void expect_valid(const json_t *value, json_t *schema, json_t *root, const std::string &place)
{
    if (json_object_get(schema, "$ref") != nullptr)
        schema = json_object_get(json_object_get(root, "$defs"), "reasons");
    if (json_object_get(schema, "enum") != nullptr)
        EXPECT_TRUE(is_in(value, json_object_get(schema, "enum"))) << place;
    else
        EXPECT_TRUE(is_one_of(value, json_object_get(schema, "type"))) << place;
    json_t *required = json_object_get(schema, "required");
    for (size_t i = 0; i < json_array_size(required); i++) {
        const char *key = json_string_value(json_array_get(required, i));
        EXPECT_NE(json_object_get(value, key), nullptr) << place << " " << key;
    }
    json_t *properties = json_object_get(schema, "properties");
    if (properties != nullptr) {
        const char *key;
        json_t *member;
        json_object_foreach(const_cast<json_t *>(value), key, member)
        {
            json_t *below = json_object_get(properties, key);
            EXPECT_NE(below, nullptr) << place << " has " << key;
            if (below != nullptr)
                expect_valid(member, below, root, place + "/" + key);
        }
    }
    json_t *items = json_object_get(schema, "items");
    for (size_t i = 0; items != nullptr && i < json_array_size(value); i++)
        expect_valid(json_array_get(value, i), items, root, place + "/" + std::to_string(i));
}

json_t *parse_valid(const std::string &text)
{
    json_t *status = json_loads(text.c_str(), 0, nullptr);
    json_t *schema = load_schema();
    EXPECT_NE(schema, nullptr);
    EXPECT_NE(status, nullptr) << text;
    expect_valid(status, schema, schema, "");
    json_decref(schema);
    return status;
}

TEST_F(mctl, status_json_is_as_its_schema_says)
{
    json_t *well = parse_valid(run({"status", "--json"}).out);
    EXPECT_TRUE(json_is_true(json_object_get(well, "well")));
    EXPECT_EQ(json_array_size(json_object_get(well, "links")), 2u);
    json_decref(well);
    box.write(
        STORE,
        R"({"state_links":[{"iface":"ppp0","name":"modem","type":"3g","ipaddr":"10.1.1.1"}]})");
    box.write("/var/lock/Config.lock", "");
    ip("link set br0p down");
    support::outcome seen = run({"status", "--json"});
    EXPECT_EQ(seen.status, 1);
    json_t *odd = parse_valid(seen.out);
    EXPECT_TRUE(json_is_false(json_object_get(odd, "well")));
    EXPECT_EQ(json_array_size(json_object_get(odd, "links")), 3u);
    EXPECT_EQ(json_array_size(json_object_get(odd, "reasons")), 1u);
    json_decref(odd);
}

// ---- what it leaves alone

TEST_F(mctl, status_opens_nothing_for_writing_and_changes_nothing)
{
    box.write(STORE, R"({"state_links":[{"iface":"vlan2","name":"wan","type":"dhcp"}]})");
    box.write("/var/lock/state_link.lock", "999999");
    std::string store = box.read(STORE), config = box.read(CONFIG);
    std::vector<std::string> run_files = box.list("/var/run"), tmp = box.list("/tmp");
    support::outcome seen = run({"status"});
    EXPECT_EQ(seen.status, 1);
    EXPECT_EQ(seen.trace, LISTING);
    EXPECT_EQ(box.read(STORE), store);
    EXPECT_EQ(box.read(CONFIG), config);
    EXPECT_EQ(box.list("/var/run"), run_files);
    EXPECT_EQ(box.list("/tmp"), tmp);
    EXPECT_EQ(box.read("/var/lock/state_link.lock"), "999999");
}

TEST_F(mctl, heal_of_a_router_in_order_runs_nothing_but_the_listing)
{
    support::outcome seen = run({"heal"});
    EXPECT_EQ(seen.status, 0) << seen.err;
    EXPECT_EQ(seen.out + seen.err, "");
    EXPECT_EQ(seen.trace, LISTING);
}

TEST_F(mctl, heal_tells_and_logs_its_steps_and_only_tells_them_when_it_is_asked_to)
{
    box.write("/var/lock/Config.lock", "999999");
    support::outcome seen = run({"heal", "--dry-run"});
    EXPECT_EQ(seen.status, 1);
    EXPECT_EQ(seen.out, "router: would remove the lock Config\n");
    EXPECT_EQ(support::without(seen.trace, {"run iptables -t nat -S", "sleep "}), "");
    EXPECT_TRUE(box.exists("/var/lock/Config.lock"));
    EXPECT_FALSE(box.exists("/var/run/mctl-heal.lock"));
    seen = run({"heal"});
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(seen.out, "router: remove the lock Config\n");
    EXPECT_EQ(support::without(seen.trace, {"run iptables -t nat -S", "sleep "}),
              "log mctl-heal: router: remove the lock Config\n");
    EXPECT_FALSE(box.exists("/var/lock/Config.lock"));
}

// The first stands in its pause until the second has come and gone.
TEST_F(mctl, two_heals_at_once_do_each_step_once)
{
    box.write("/var/lock/Config.lock", "999999");
    box.on("wait /tmp/go sleep 2");
    pid_t first = box.start({"mctl", "heal"});
    while (box.trace().find("sleep") == std::string::npos)
        continue;
    support::outcome second = run({"heal"});
    EXPECT_EQ(second.status, 0);
    EXPECT_EQ(second.out, "another mctl heal is at work\n");
    box.write("/tmp/go", "");
    support::outcome seen = box.finish(first);
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(seen.out, "router: remove the lock Config\n");
}

// The first file that it opens would get the descriptor, and all that it says.
TEST_F(mctl, heal_without_standard_outputs_writes_into_no_file)
{
    box.write("/var/lock/Config.lock", "999999");
    support::start_state closed;
    closed.closed = {0, 1, 2};
    box.start_from(closed);
    EXPECT_EQ(run({"heal"}).status, 0);
    EXPECT_FALSE(box.exists("/var/lock/Config.lock"));
    EXPECT_EQ(box.read("/var/run/mctl-heal.lock"), "");
    EXPECT_EQ(box.read("/var/run/mctl-firewall.lock"), "");
}

// ---- worlds that are not as they should be

struct hostile {
    const char *what;
    const char *path;
    std::string content;
    int status;
    const char *words; // among what is told
};

const std::string many_entries = [] {
    std::string list = R"({"iface":"x","type":"dhcp"})";
    for (int i = 0; i < 1000; i++)
        list += R"(,{"iface":"x","type":"dhcp"})";
    return R"({"Network":{"Lan":[],"Wan":[)" + list + "]}}";
}();

const std::string many_umlauts = [] {
    std::string text;
    for (int i = 0; i < 100; i++)
        text += "\xc3\xa4";
    return text;
}();

std::string lan_with_address(const std::string &address)
{
    return R"({"Network":{"Lan":[{"iface":"br0","name":"LAN0","type":"static","ipaddr":")" +
           address + R"("}],"Wan":[]}})";
}

// clang-format off
const hostile HOSTILE[] = {
    {"no Config", CONFIG, "(none)", 2, "/var/run/Config is missing"},
    {"Config is a directory", CONFIG, "(directory)", 2, "/var/run/Config is no plain file"},
    {"empty Config", CONFIG, "", 2, "/var/run/Config is no JSON"},
    {"half a Config", CONFIG, "{\"Network\":{\"Lan\":[{\"ifa", 2, "/var/run/Config is no JSON"},
    {"Config of another kind", CONFIG, "[]", 2, "an iface in each entry: mcfg set_config makes it"},
    {"entries of another kind", CONFIG, "{\"Network\":{\"Lan\":[7],\"Wan\":[]}}", 2, "an iface in each entry: mcfg set_config makes it"},
    {"deep Config", CONFIG, std::string(100000, '['), 2, "/var/run/Config is no JSON"},
    {"long Config", CONFIG, "[\"" + std::string(1200000, 'x') + "\"]", 2, "/var/run/Config is "},
    {"a thousand entries", CONFIG, many_entries, 1, "more entries than can be shown"},
    {"names that are not to be shown", CONFIG,
     "{\"Network\":{\"Lan\":[],\"Wan\":[{\"iface\":\"../../etc\",\"name\":\"\\u001b[31m" + std::string(300, 'n') +
     "\",\"type\":\"dhcp\"}]}}", 1, "?[31mnnnnnnnnnnnnnnnnnnnnnnnnnn "},
    {"numbers for texts", CONFIG,
     "{\"Network\":{\"Lan\":[{\"iface\":\"br0\",\"type\":1,\"ipaddr\":[]}],\"Wan\":[{\"iface\":\"vlan2\",\"auto\":9,"
     "\"have_tunnels\":true,\"Tunnels\":[1,null,{\"type\":4,\"name\":{}}]}]}}", 0, "all is well"},
    {"a store that is a directory", STORE, "(directory)", 2, "mctl: /var/run/state_link is no plain file: try again, or move it away"},
    {"records of another kind", STORE, "{\"state_links\":[1,null,\"x\",{},{\"iface\":3},{\"iface\":\"\"}]}", 1, "no-address"},
    {"records without end", STORE, "{\"state_links\":[" + std::string(400, '{') + "]}", 1, "store-broken"},
    {"a lock that is a directory", "/var/lock/Config.lock", "(directory)", 1, "lock-dead"},
    {"a lock of number 0", "/var/lock/Config.lock", "0", 1, "lock-dead"},
    {"a lock of a negative number", "/var/lock/Config.lock", "-1", 1, "lock-dead"},
    {"a lock of too large a number", "/var/lock/Config.lock", "99999999999999999999", 1, "lock-dead"},
    {"a pid file of another thing", "/var/run/udhcpc.vlan2.pid", std::string("\0\xff\n\n\n", 5), 0, "all is well"},
    {"a pid file that is a directory", "/var/run/udhcpc.vlan2.pid", "(directory)", 0, "all is well"},
    {"a rule file of one long line", "/tmp/nat_rules", "-A VSERVER " + std::string(5000, 'x') + "\n", 1, "table-other"},
    {"a rule file that is a directory", "/tmp/nat_rules", "(directory)", 0, "all is well"},
    {"a rule file that is not to be shown", "/tmp/nat_rules", "-A VSERVER -j \033[31m\xff\n", 1, "VSERVER ?[31m?"},
    {"an address that is not to be shown", CONFIG, lan_with_address("\\u001b[31m\\n"), 1, "not the address ?[31m? that"},
    // The room for it ends within a character, and half a character is no JSON.
    {"an address that is cut", CONFIG, lan_with_address("x" + many_umlauts), 1, "not the address x????????"},
};
// clang-format on

bool is_printable(const std::string &text)
{
    for (char c : text) {
        if ((c < ' ' || c > '~') && c != '\n')
            return false;
    }
    return true;
}

class mctl_hostile : public mctl, public testing::WithParamInterface<hostile>
{
};

TEST_P(mctl_hostile, gets_clear_words)
{
    const hostile &row = GetParam();
    box.remove(row.path);
    if (row.content == "(directory)")
        box.mkdir(row.path);
    else if (row.content != "(none)")
        box.write(row.path, row.content);
    support::outcome seen = run({"status"});
    EXPECT_EQ(seen.status, row.status) << seen.out << seen.err;
    EXPECT_NE((seen.out + seen.err).find(row.words), std::string::npos) << seen.out << seen.err;
    EXPECT_TRUE(is_printable(seen.out)) << seen.out;
    support::outcome json = run({"status", "--json"});
    EXPECT_EQ(json.status, row.status);
    if (row.status != 2)
        json_decref(parse_valid(json.out));
    support::outcome heal = run({"heal", "--dry-run"});
    EXPECT_LE(heal.status, 2);
    EXPECT_TRUE(is_printable(heal.out)) << heal.out;
}

INSTANTIATE_TEST_SUITE_P(rows, mctl_hostile, testing::ValuesIn(HOSTILE));

// By its record, or by the second line of pppd's pid file.
TEST_F(mctl, status_shows_the_interface_of_a_tunnel_as_it_can_be_printed)
{
    configure(R"({"iface":"br0","name":"LAN0","type":"static","ipaddr":"192.168.1.1"})",
              R"({"iface":"vlan2","name":"WAN","auto":false,"type":"pppoe","have_tunnels":true,)"
              R"("Tunnels":[{"name":"wan1","type":"pppoe"}]})");
    box.write("/var/run/ppp-pppoe-wan1.pid", "1\n\033[1J\n");
    EXPECT_NE(run({"status"}).out.find("wan1       ?[1J "), std::string::npos);
    box.write(STORE, "{\"state_links\":[{\"iface\":\"\\u001b[2J\",\"name\":\"wan1\","
                     "\"type\":\"pppoe\"}]}");
    EXPECT_NE(run({"status"}).out.find("wan1       ?[2J "), std::string::npos);
}

TEST_F(mctl, status_that_cannot_list_the_nat_table_says_so)
{
    box.on("exit 4 iptables -t nat -S");
    support::outcome seen = run({"status"});
    EXPECT_EQ(seen.status, 2);
    EXPECT_EQ(seen.err,
              "mctl: cannot list the nat table: iptables -t nat -S ended with 4, is this root?\n");
}

struct usage_error {
    std::vector<std::string> words;
};

const usage_error USAGE[] = {
    {{"status", "--jsn"}},
    {{"status", "--json", "x"}},
    {{"heal", "now"}},
};

TEST_F(mctl, usage_errors_end_with_2)
{
    for (const usage_error &row : USAGE) {
        support::outcome seen = run(row.words);
        EXPECT_EQ(seen.status, 2) << row.words[0];
        EXPECT_EQ(seen.trace, "");
        EXPECT_NE(seen.err.find("usage: mctl "), std::string::npos);
    }
}

} // namespace
