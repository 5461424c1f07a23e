#include "support/texts.h"
#include "trees/trial.h"

#include <set>

namespace trees
{

namespace
{

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

// The number behind the last "line" of a message, 0 when there is none.
size_t line_in(const std::string &message)
{
    size_t at = message.rfind("line");
    size_t digit = at == std::string::npos ? at : message.find_first_of("0123456789", at);
    return digit == std::string::npos ? 0 : std::stoul(message.substr(digit));
}

} // namespace

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

namespace
{

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

} // namespace

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

} // namespace trees
