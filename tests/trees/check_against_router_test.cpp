// mctl check against the router: good settings are made worse at random, the program makes rules,
// document and option files of them, iptables judges the rules, and mctl check must have known.
//
//   - No table that iptables refuses comes of settings with status 0, and the line that is at fault
//     is among the findings.
//   - With status 0, every value in the rules, the document and the option files is the one that
//   its
//     line says (settings_meaning.h), but where a warning at that very line says otherwise.
//
// By hand, with many more trees: MCFG_CHECK_TREES=20000 mcfg_trees_tests
#include "support/router_box.h"
#include "support/texts.h"
#include "trees/settings_meaning.h"
#include "trees/settings_trees.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <jansson.h>
#include <set>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

using settings_meaning::meant;
using settings_meaning::meant_list;
using settings_meaning::path_of;
using settings_trees::tree;

constexpr size_t BLOCKS = 10;

struct finding {
    std::string file;
    unsigned line;
    bool is_error;
    std::string code;
};

struct verdict {
    int status;
    std::vector<finding> findings;
    std::string text;
};

std::string output_of(const std::string &command, int *status)
{
    FILE *pipe = popen(command.c_str(), "r");
    if (pipe == nullptr)
        throw std::runtime_error("popen");
    std::string text;
    std::array<char, 4096> block;
    while (size_t length = fread(block.data(), 1, block.size(), pipe))
        text.append(block.data(), length);
    int ended = pclose(pipe);
    *status = WIFEXITED(ended) ? WEXITSTATUS(ended) : -1;
    return text;
}

// A directory of this machine for the check and for iptables, gone with the object.
class place
{
  public:
    place()
    {
        std::string pattern = std::filesystem::temp_directory_path() / "trees-XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr)
            throw std::runtime_error("mkdtemp");
        path = pattern;
    }
    ~place() { std::filesystem::remove_all(path); }
    place(const place &) = delete;
    place &operator=(const place &) = delete;

    void write(const std::string &name, const std::string &content) const
    {
        std::filesystem::create_directories(std::filesystem::path(path + name).parent_path());
        std::ofstream(path + name, std::ios::binary) << content;
    }

    std::string path;
};

finding parse_finding(const std::string &line)
{
    size_t file_end = line.find(':');
    size_t line_end = line.find(':', file_end + 1);
    size_t severity = line.find(": ", line_end + 1) + 2;
    size_t code = line.find(": ", severity) + 2;
    return {line.substr(0, file_end),
            static_cast<unsigned>(std::stoul(line.substr(file_end + 1, line_end - file_end - 1))),
            support::begins_with(line.substr(severity), "error"),
            line.substr(code, line.find(": ", code) - code)};
}

bool has_finding(const verdict &check, const std::string &file, unsigned line, bool is_error)
{
    return std::any_of(check.findings.begin(), check.findings.end(), [&](const finding &f) {
        return f.file == file && f.line == line && (f.is_error || !is_error);
    });
}

bool has_error_in(const verdict &check, const std::string &file)
{
    return std::any_of(check.findings.begin(), check.findings.end(),
                       [&](const finding &f) { return f.file == file && f.is_error; });
}

// Single blanks, none at the end.
std::string with_single_blanks(const std::string &line)
{
    std::string text;
    for (const std::string &word : settings_trees::words_of(line))
        text += (text.empty() ? "" : " ") + word;
    return text;
}

// Which list a rule comes of.
struct rule_kind {
    const char *begin;
    const char *list;
};

// clang-format off
const rule_kind rule_kinds[] = {
    {"-A FORWARD  ", "rules"},
    {"-A INPUT  ", "rules"},
    {"-A MACS -m mac", "macfilter_list"},
    {"-I FORWARD -p tcp", "url_filter"},
    {"-A H_ACCESS -j RETURN", nullptr},
    {"-A H_ACCESS", "httpd_access.conf"},
    {"-A VSERVER", "vservers"},
    {"-A POSTROUTING  ", "masq"},
    {"-A PREROUTING -p", "trigger_ports"},
};
// clang-format on

const char *list_of_rule(const std::string &rule)
{
    for (const rule_kind &kind : rule_kinds) {
        if (support::begins_with(rule, kind.begin))
            return kind.list;
    }
    return nullptr;
}

// The lines of a list that the router takes for entries: those that begin with white space are not
// among them, nor comments where there are any, and a line of over 254 characters is several.
std::vector<unsigned> entry_lines(const tree &settings, const std::string &list)
{
    static const std::set<std::string> without_comments = {"url_filter", "vservers"};
    std::vector<unsigned> numbers;
    auto file = settings.find(path_of(list));
    unsigned number = 0;
    for (const std::string &line :
         settings_trees::split_lines(file != settings.end() ? file->second : std::string())) {
        number++;
        for (size_t at = 0; at < line.size() || at == 0; at += 254) {
            char first = at < line.size() ? line[at] : '\n';
            bool is_comment = first == '#' && without_comments.count(list) == 0;
            if (isspace(static_cast<unsigned char>(first)) == 0 && !is_comment)
                numbers.push_back(number);
        }
    }
    return numbers;
}

struct fault {
    std::string file;
    unsigned line;
    bool is_scheduled;
};

// The line of the settings that the rule in line number of the rule file comes of.
fault find_fault(const tree &settings, const std::string &rules, size_t number)
{
    std::vector<std::string> lines = settings_trees::split_lines(rules);
    std::map<std::string, size_t> counts;
    std::string list;
    std::string last;
    for (size_t i = 0; i < number && i < lines.size(); i++) {
        if (lines[i].empty() || lines[i][0] != '-')
            continue; // the rest of a rule with a line end in it
        const char *of = list_of_rule(lines[i]);
        list = of != nullptr ? of : "";
        last = lines[i];
        // Of the two rules of a user's, and of a trigger's, one counts.
        bool is_second = support::begins_with(last, "-A INPUT  ");
        if (!is_second)
            counts[list]++;
    }
    if (support::begins_with(last, "-A MACS -j"))
        return {path_of("macfilter_list"), 0, false};
    std::vector<unsigned> numbers = entry_lines(settings, list);
    size_t index = counts[list] - 1;
    bool is_scheduled = last.find("-m time") != std::string::npos;
    if (list == "trigger_ports" || index >= numbers.size())
        return {path_of(list), 0, is_scheduled}; // one line may give two rules
    return {path_of(list), numbers[index], is_scheduled};
}

class router
{
  public:
    router()
    {
        for (const char *name : {"/etc/TZ", "/etc/nvram/0", "/etc/nvram/1"}) {
            std::ifstream file(support::example_path("router") + name, std::ios::binary);
            here.write("/tree" + std::string(name), {std::istreambuf_iterator<char>(file), {}});
        }
        box.interface("br0");
        box.interface("vlan2");
        box.interface("wimax0");
        box.in_network({"ip", "address", "add", "192.168.1.1/24", "dev", "br0"});
    }

    void put(const tree &settings)
    {
        for (const auto &[path, content] : current) {
            if (settings.count(path) == 0) {
                box.remove(path);
                std::filesystem::remove(here.path + "/tree" + path);
            }
        }
        for (const auto &[path, content] : settings) {
            auto known = current.find(path);
            if (known == current.end() || known->second != content) {
                box.write(path, content);
                here.write("/tree" + path, content);
            }
        }
        current = settings;
    }

    verdict check() const
    {
        verdict result;
        result.text = output_of(std::string(MCTL_PROGRAM) + " check --root " + here.path + "/tree",
                                &result.status);
        for (const std::string &line : support::lines_of(result.text)) {
            if (line[0] == '/')
                result.findings.push_back(parse_finding(line));
        }
        return result;
    }

    void build_firewall() { box.run({"firewall_update", "br0", "vlan2", "none"}); }

    void build_document()
    {
        box.remove("/etc/ppp/peers");
        box.mkdir("/etc/ppp/peers");
        box.remove("/etc/xl2tpd.conf");
        box.run({"mcfg", "set_config"});
        box.run({"mcfg", "start_wan"});
    }

    // What iptables says of a rule file, "" when it takes it. Told from memory for one that it has
    // judged before.
    std::string refusal(const std::string &rules)
    {
        auto known = judged.find(rules);
        if (known != judged.end())
            return known->second;
        here.write("/rules", rules);
        std::string message;
        try {
            // A name in place of an address is asked for where nobody answers: not for long.
            box.in_network({"env", "XTABLES_LOCKFILE=/dev/null", "RES_OPTIONS=timeout:1 attempts:1",
                            MCFG_SOURCE_DIR "/lab/stand-ins/iptables-restore", "--test",
                            here.path + "/rules"});
        } catch (const std::exception &e) {
            message = e.what();
        }
        return judged[rules] = message;
    }

    support::router_box box;

  private:
    place here;
    tree current;
    std::map<std::string, std::string> judged;
};

// The number behind the last "line" of a message, 0 when there is none.
size_t line_in(const std::string &message)
{
    size_t at = message.rfind("line");
    size_t digit = at == std::string::npos ? at : message.find_first_of("0123456789", at);
    return digit == std::string::npos ? 0 : std::stoul(message.substr(digit));
}

// The warnings that say that a value is not the one of its line. Whatever else makes one differ is
// an error.
const std::set<std::string> telling_warnings = {"url-inherits",   "netmask-beside-any",
                                                "duplicate-name", "peer-no-metric",
                                                "never-dialled",  "second-l2tp"};

// Everything about one tree, while it is judged.
struct trial {
    router &machine;
    const tree &settings;
    verdict check;
    size_t *told; // values that differ as a warning says

    std::vector<std::string> faults = {};
    bool is_refused = false;

    void fail(const std::string &what) { faults.push_back(what); }

    // A value that is not the one its line says.
    void differs(const meant &expected, const std::string &seen)
    {
        bool is_told =
            std::any_of(check.findings.begin(), check.findings.end(), [&](const finding &f) {
                return f.file == expected.file && f.line == expected.line &&
                       telling_warnings.count(f.code) != 0;
            });
        *told += is_told ? 1 : 0;
        if (!is_told)
            fail(expected.file + ":" + std::to_string(expected.line) + " says \"" + expected.text +
                 "\", the router has \"" + seen + "\"");
    }
};

void compare_refusal(trial *t, const std::string &file)
{
    std::string rules = t->machine.box.read(file);
    std::string message = t->machine.refusal(rules);
    if (message.empty())
        return;
    t->is_refused = true;
    if (t->check.status == 0) {
        t->fail("a table is refused with status 0: " + message);
        return;
    }
    fault at = find_fault(t->settings, rules, line_in(message));
    bool is_told = at.line == 0 && at.file != path_of("macfilter_list")
                       ? has_error_in(t->check, at.file)
                       : has_finding(t->check, at.file, at.line, true);
    if (!is_told && !(at.is_scheduled && has_error_in(t->check, path_of("sched_list"))))
        t->fail("no finding for " + at.file + ":" + std::to_string(at.line) + ": " + message);
}

bool is_list_on(const tree &settings, const std::string &list)
{
    using settings_meaning::is_on;
    if (list == "macfilter_list")
        return settings_meaning::mac_mode(settings) != "off";
    if (list == "url_filter")
        return is_on(settings, "ip_filter", "URL_FILTER_ENABLE");
    if (list == "masq")
        return is_on(settings, "ip_filter", "NAT_ENABLE") &&
               is_on(settings, "ip_filter", "VSERVERS_ENABLE");
    return list != "trigger_ports" || is_on(settings, "ip_filter", "TRIGGER_PORTS_ENABLE");
}

void compare_list(trial *t, const std::string &list, const std::vector<std::string> &lines)
{
    meant_list expected;
    if (is_list_on(t->settings, list))
        expected = settings_meaning::rules_of(t->settings, list);
    std::vector<std::string> seen;
    for (const std::string &line : lines) {
        const char *of = list_of_rule(line);
        if (of != nullptr && of == list)
            seen.push_back(with_single_blanks(line));
    }
    if (seen.size() != expected.size()) {
        t->fail(list + ": " + std::to_string(seen.size()) + " rules, and not " +
                std::to_string(expected.size()));
        return;
    }
    for (size_t i = 0; i < seen.size(); i++) {
        if (seen[i] != expected[i].text)
            t->differs(expected[i], seen[i]);
    }
}

struct switch_rule {
    const char *file;
    const char *key;
    const char *rule; // is there when the switch is on
    const char *rules_file;
};

// clang-format off
const switch_rule switch_rules[] = {
    {"ip_filter", "FIREWALL_ENABLE", "-A INPUT -j DROP", "/tmp/filter_rules"},
    {"ip_filter", "DDOS_ENABLE", "-A INPUT ! -i br0 -m state --state NEW -j SECURITY", "/tmp/filter_rules"},
    {"ip_filter", "NAT_ENABLE", "-A POSTROUTING -o br0 -s 192.168.1.0/24 -d 192.168.1.0/24 -j SNAT --to-source 192.168.1.1", "/tmp/nat_rules"},
    {"ip_filter", "WAN_PING_ENABLE", "-A INPUT -p icmp -j ACCEPT", "/tmp/filter_rules"},
    {"igmp", "IGMP_ENABLE", "-A FORWARD -p udp -d 224.0.0.0/4 -j ACCEPT", "/tmp/filter_rules"},
    {"upnp", "UPNP_ENABLE", "-A MINIUPNPD -j RETURN", "/tmp/filter_rules"},
};
// clang-format on

void compare_switch(trial *t, const switch_rule &row)
{
    using settings_meaning::is_on;
    std::string rules = "\n" + t->machine.box.read(row.rules_file);
    bool is_there = rules.find("\n" + std::string(row.rule) + "\n") != std::string::npos;
    bool is_meant = is_on(t->settings, row.file, row.key);
    std::string key = row.key;
    if (key == "NAT_ENABLE")
        is_meant = is_meant && is_on(t->settings, row.file, "VSERVERS_ENABLE");
    if (key == "WAN_PING_ENABLE")
        is_meant = is_meant && is_on(t->settings, row.file, "FIREWALL_ENABLE");
    if (is_there != is_meant)
        t->fail(key + " is " + (is_there ? "on" : "off"));
}

void compare_rules(trial *t)
{
    for (const switch_rule &row : switch_rules)
        compare_switch(t, row);
    std::vector<std::string> lines;
    for (const char *file : {"/tmp/filter_rules", "/tmp/nat_rules"}) {
        for (const std::string &line : settings_trees::split_lines(t->machine.box.read(file)))
            lines.push_back(line);
    }
    for (const char *list : {"rules", "macfilter_list", "url_filter", "httpd_access.conf",
                             "vservers", "masq", "trigger_ports"})
        compare_list(t, list, lines);
}

std::string json_text(const json_t *value)
{
    if (value == nullptr)
        return "missing";
    char *text = json_dumps(value, JSON_COMPACT | JSON_ENCODE_ANY);
    std::string result = text;
    free(text);
    // Quotes and backslashes of the value itself, as settings_meaning.h writes them.
    std::string plain;
    for (size_t i = 0; i < result.size(); i++) {
        if (result[i] == '\\' && (result[i + 1] == '"' || result[i + 1] == '\\'))
            i++;
        plain += result[i];
    }
    return plain;
}

// Whether the object has the member as "KEY=VALUE" says.
void compare_member(trial *t, const json_t *object, const meant &expected)
{
    std::string key = expected.text.substr(0, expected.text.find('='));
    std::string seen = key + "=" + json_text(json_object_get(object, key.c_str()));
    if (seen != expected.text)
        t->differs(expected, seen);
}

void compare_connections(trial *t, const json_t *wan)
{
    meant_list expected = settings_meaning::connections(t->settings);
    const json_t *tunnels = json_object_get(wan, "Tunnels");
    if (json_array_size(tunnels) != expected.size()) {
        t->fail("there are " + std::to_string(json_array_size(tunnels)) + " connections");
        return;
    }
    for (size_t i = 0; i < expected.size(); i++) {
        for (const std::string &text : support::lines_of(expected[i].text))
            compare_member(t, json_array_get(tunnels, i),
                           {expected[i].file, expected[i].line, text});
    }
}

void compare_document(trial *t)
{
    std::string text = t->machine.box.read("/var/run/Config");
    json_t *root = json_loads(text.c_str(), 0, nullptr);
    const json_t *network = json_object_get(root, "Network");
    const json_t *wan = json_object_get(network, "Wan");
    const json_t *entries[] = {json_array_get(json_object_get(network, "Lan"), 0),
                               json_array_get(wan, 0), json_array_get(wan, 1)};
    const char *const names[] = {"br0", "vlan2", "wimax0"};
    for (size_t i = 0; i < 3; i++) {
        for (const meant &member : settings_meaning::interface_members(t->settings, names[i]))
            compare_member(t, entries[i], member);
    }
    const json_t *common = json_object_get(network, "Common");
    for (const meant &member : settings_meaning::dns_members(t->settings))
        compare_member(t, json_object_get(common, "Dns"), member);
    for (const meant &member : settings_meaning::wimax_members(t->settings))
        compare_member(t, json_object_get(common, "Wimax"), member);
    compare_connections(t, entries[1]);
    json_decref(root);
}

// The value of an option in pppd's file, without the quotes that pppd takes off.
std::string option_of(const std::string &options, const std::string &name)
{
    for (const std::string &line : support::lines_of(options)) {
        if (!support::begins_with(line, name + " "))
            continue;
        std::string value = line.substr(name.size() + 1);
        if (value.empty() || value[0] != '"')
            return value;
        std::string plain;
        for (size_t i = 1; i + 1 < value.size(); i++) {
            i += value[i] == '\\' ? 1 : 0;
            plain += value[i];
        }
        return plain;
    }
    return "missing";
}

void compare_option(trial *t, const meant &line, const std::string &options,
                    const std::string &name, const std::string &value)
{
    std::string seen = option_of(options, name);
    if (seen != value)
        t->differs({line.file, line.line, name + " " + value}, seen);
}

void compare_dialled(trial *t, const meant &line)
{
    std::vector<std::string> words = support::lines_of(line.text);
    std::string path = "/etc/ppp/peers/" + words[0];
    if (words.size() < 7 || !t->machine.box.exists(path)) {
        t->differs(line, "no options file");
        return;
    }
    std::string options = t->machine.box.read(path);
    compare_option(t, line, options, "user", words[3]);
    compare_option(t, line, options, "password", words[4]);
    compare_option(t, line, options, "linkname", words[1] + "-" + words[0]);
    if (words[1] == "pppoe") {
        compare_option(t, line, options, "rp_pppoe_ac", words[6]);
        compare_option(t, line, options, "rp_pppoe_service", words[7]);
    } else if (words[1] == "pptp") {
        compare_option(t, line, options, "pptp_server", words[5]);
    } else {
        std::string conf = t->machine.box.read("/etc/xl2tpd.conf");
        if (conf.find("\nlns = " + words[5] + "\n") == std::string::npos)
            t->differs(line, conf);
    }
}

void compare_options(trial *t)
{
    meant_list expected = settings_meaning::dialled(t->settings);
    size_t files = t->machine.box.list("/etc/ppp/peers").size();
    if (files > expected.size())
        t->fail(std::to_string(files) + " options files");
    for (const meant &line : expected)
        compare_dialled(t, line);
}

// What became of some trees.
struct tally {
    size_t trees = 0;
    size_t without_error = 0;
    size_t refused = 0; // with a table that iptables refuses
    size_t told = 0;    // values that differ as a warning says
};

// Judges a tree, and says what the check has missed.
std::vector<std::string> try_out(router *machine, const tree &settings, tally *count)
{
    machine->put(settings);
    machine->build_firewall();
    trial t = {*machine, settings, machine->check(), &count->told};
    if (t.check.status != 0 && t.check.status != 1)
        t.fail("the check ended with " + std::to_string(t.check.status));
    for (const char *file : {"/tmp/nat_rules", "/tmp/filter_rules", "/tmp/mangle_rules"})
        compare_refusal(&t, file);
    count->trees++;
    count->refused += t.is_refused ? 1 : 0;
    count->without_error += t.check.status == 0 ? 1 : 0;
    if (t.check.status != 0)
        return t.faults;
    machine->build_document();
    compare_rules(&t);
    compare_document(&t);
    compare_options(&t);
    return t.faults;
}

std::string shown(const tree &settings, const std::vector<tree> &good)
{
    std::string text;
    for (const auto &[path, content] : settings) {
        bool is_good = std::any_of(good.begin(), good.end(), [&](const tree &one) {
            auto it = one.find(path);
            return it != one.end() && it->second == content;
        });
        if (!is_good)
            text += "---- " + path + "\n" + content + "\n";
    }
    return text;
}

size_t trees_of_a_block()
{
    const char *number = getenv("MCFG_CHECK_TREES");
    return (number != nullptr ? strtoul(number, nullptr, 10) : MCFG_CHECK_TREES) / BLOCKS;
}

TEST(good_trees, do_what_they_say)
{
    router machine;
    tally count;
    for (const tree &settings : settings_trees::good_trees())
        EXPECT_EQ(try_out(&machine, settings, &count), std::vector<std::string>());
    EXPECT_EQ(count.without_error, count.trees);
    EXPECT_EQ(count.told, 0U);
}

class bad_trees : public ::testing::TestWithParam<size_t>
{
};

TEST_P(bad_trees, hold_nothing_that_the_check_misses)
{
    router machine;
    tally count;
    const std::vector<tree> good = settings_trees::good_trees();
    for (size_t i = 0; i < trees_of_a_block(); i++) {
        settings_trees::dice random(GetParam() * 1000003 + i);
        tree settings = good[random.roll(good.size())];
        std::string changes;
        for (size_t left = 1 + random.roll(2); left > 0; left--)
            changes += settings_trees::make_worse(&settings, &random) + "\n";
        std::vector<std::string> faults = try_out(&machine, settings, &count);
        EXPECT_TRUE(faults.empty()) << "tree " << i << ":\n"
                                    << changes << ::testing::PrintToString(faults) << "\n"
                                    << shown(settings, good) << machine.check().text;
    }
    printf("%zu trees, %zu with a refused table, %zu without an error, %zu values as warned of\n",
           count.trees, count.refused, count.without_error, count.told);
}

INSTANTIATE_TEST_SUITE_P(blocks, bad_trees, ::testing::Range<size_t>(0, BLOCKS));

} // namespace
