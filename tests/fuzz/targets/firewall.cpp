// firewall_update from any arguments, switches and lists: three rule files, each a whole table. The
// rules of the two lists whose fields keep their line ends are those that the lists' format makes
// of the entries, to the character; everything else has one rule a line.
#include "fuzz/lines.h"
#include "fuzz/targets.h"
#include "fuzz/world.h"

#include <algorithm>
#include <cctype>
#include <string_view>
#include <vector>

namespace fuzz
{

namespace
{

constexpr const char *files[] = {
    "ip_filter",         "igmp",           "upnp",          "rules",
    "sched_list",        "macfilter_list", "url_filter",    "vservers",
    "httpd_access.conf", "masq",           "trigger_ports",
};

struct table {
    const char *path;
    const char *name;
    const char *loading;
};

// In the order of their loading.
constexpr table tables[] = {
    {"/tmp/nat_rules", "*nat", "iptables-restore /tmp/nat_rules"},
    {"/tmp/filter_rules", "*filter", "iptables-restore /tmp/filter_rules"},
    {"/tmp/mangle_rules", "*mangle", "iptables-restore /tmp/mangle_rules"},
};

constexpr std::string_view starts[] = {"-A ", "-I ", ":", "*", "COMMIT"};

bool begins_with(std::string_view text, std::string_view beginning)
{
    return text.substr(0, beginning.size()) == beginning;
}

// The entries of a list as its format has them: pieces of lines of at most 254 characters, none
// that begins with white space; nine fields between blanks, cut to 31 characters, the line end on
// the last one. What a line does not give is that of the entry before.
std::vector<std::vector<std::string>> entries_of(std::string_view list, bool has_comments)
{
    constexpr size_t PIECE_MAX = 254;
    std::vector<std::vector<std::string>> entries;
    std::vector<std::string> fields(9);
    while (!list.empty()) {
        size_t end = std::min(list.find('\n'), list.size() - 1) + 1;
        const std::string piece(list.substr(0, std::min(end, PIECE_MAX)));
        list.remove_prefix(piece.size());
        const std::string line = piece.c_str(); // up to a NUL
        if (isspace(static_cast<unsigned char>(line[0])) != 0 || (has_comments && line[0] == '#'))
            continue;
        size_t at = 0;
        for (std::string &field : fields) {
            at = line.find_first_not_of(' ', at);
            if (at == line.npos)
                break;
            end = std::min(line.find(' ', at), line.size());
            field = line.substr(at, std::min<size_t>(end - at, 31));
            at = end;
        }
        entries.push_back(fields);
    }
    return entries;
}

std::string content_of(const char *path)
{
    const std::string *text = here.files.read(path);
    return text != nullptr ? *text : "";
}

std::string port_forwards()
{
    std::string rules;
    for (const auto &field : entries_of(content_of("/etc/default/vservers"), false))
        rules += "-A VSERVER -p " + field[1] + " -m " + field[1] + " --dport " + field[2] +
                 " -j DNAT --to " + field[4] + ":" + field[3] + "\n";
    return rules;
}

// An option of a user's rule, for a range of addresses another one.
std::string option(const char *name, const char *range_name, const std::string &value)
{
    if (value == "-")
        return "";
    return (value.find('-') != value.npos ? range_name : name) + value;
}

std::string user_rules(const std::string &log_mode)
{
    const char *accept = log_mode == "accept" || log_mode == "both" ? "logaccept" : "ACCEPT";
    const char *drop = log_mode == "drop" || log_mode == "both" ? "logdrop" : "DROP";
    std::string rules;
    for (const auto &field : entries_of(content_of("/etc/default/rules"), true)) {
        const std::string rule =
            " " + option(" -p ", " -p ", field[5]) + option(" -s ", " --src-range ", field[3]) +
            option(" --sport ", " --sport ", field[6]) + option(" -d ", " --dst-range ", field[4]) +
            option(" --dport ", " --dport ", field[7]) + " -j " +
            (field[0] == "DROP" ? drop : accept) + "\n";
        rules += "-A FORWARD" + rule + "-A INPUT" + rule;
    }
    return rules;
}

// A rule file without the rules of a list, which must stand in it as they are.
std::string without(const std::string &text, const std::string &rules, const char *path)
{
    size_t at = text.find(rules);
    if (at == text.npos)
        violated("not in %s: %s", path, rules.c_str());
    return text.substr(0, at) + text.substr(at + rules.size());
}

template <size_t N> bool begins_with_one(std::string_view text, const std::string_view (&list)[N])
{
    for (std::string_view row : list) {
        if (begins_with(text, row))
            return true;
    }
    return false;
}

class line_check
{
  public:
    explicit line_check(const table &row) : checked(row) {}

    void check(const std::string &text)
    {
        std::string_view rest = text;
        std::string_view line;
        for (size_t number = 0; next_line(&rest, &line); number++) {
            if (number == 0 && line != checked.name)
                violated("%s begins with %s", checked.path, std::string(line).c_str());
            check_line(line);
        }
        if (line != "COMMIT" || text.back() != '\n')
            violated("%s ends with %s", checked.path, std::string(line).c_str());
    }

  private:
    void refuse(std::string_view line) const
    {
        violated("a line of %s that is no rule: %s", checked.path, std::string(line).c_str());
    }

    void check_line(std::string_view line)
    {
        if (is_cut && line.substr(0, 1) == " ") {
            is_cut = false;
            return;
        }
        if (is_cut || !begins_with_one(line, starts))
            refuse(line);
        is_cut = is_cut_by_schedule(line);
        if (line[0] == '-' && !is_cut && line.find(" -j ") == std::string::npos)
            violated("a rule of %s without a target: %s", checked.path, std::string(line).c_str());
    }

    // A time span of seven digits that ends its line has its line end for the eighth.
    static bool is_cut_by_schedule(std::string_view line)
    {
        return line.find(" --timestop ") != line.npos && line.find(" --days ") == line.npos;
    }

    const table &checked;
    bool is_cut = false;
};

void check_loading()
{
    size_t next = 0;
    for (const std::string &command : here.commands) {
        if (next == 3 || command != tables[next++].loading)
            violated("loaded out of turn: %s", command.c_str());
    }
    if (next != 3)
        violated("%zu tables loaded", next);
}

} // namespace

void test_firewall(input &parts)
{
    std::vector<std::string> words = {"firewall_update"};
    bool has_line_end = false;
    for (int i = 0; i < 3; i++) {
        const std::string *word = parts.next();
        if (word == nullptr)
            continue;
        words.emplace_back(word->c_str());
        has_line_end = has_line_end || words.back().find('\n') != std::string::npos;
    }
    for (const char *name : files)
        here.put_file(std::string("/etc/default/") + name, parts.next());
    here.answers = parts.next_text();
    here.obstruct(parts.next());
    if (run_program_with(words) != 0)
        violated("a status of firewall_update");

    if (here.standard_output.empty()) { // the LAN interface has no address
        if (!here.commands.empty())
            violated("a table was loaded without an address");
        return;
    }
    if (here.is_obstructed) // a table that cannot be written is not loaded
        return;
    check_loading();
    for (const table &row : tables) {
        const std::string *text = here.files.read(row.path);
        if (text == nullptr)
            violated("no %s", row.path);
        std::string rest = *text;
        if (&row == &tables[0])
            rest = without(rest, port_forwards(), row.path);
        if (&row == &tables[1])
            rest = without(rest, user_rules(words.size() > 3 ? words[3] : ""), row.path);
        if (!has_line_end)
            line_check(row).check(rest);
    }
}

} // namespace fuzz
