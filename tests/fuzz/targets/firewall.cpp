// firewall_update from any arguments, switches and lists: three rule files, each a whole table with
// one rule a line, unless an entry of a list whose fields keep their line ends bears one.
#include "fuzz/lines.h"
#include "fuzz/targets.h"
#include "fuzz/world.h"

#include <string_view>

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

// The lists whose fields keep their line ends write into these chains. A line that such a field
// ends is gone on with a blank, or with what stands behind a field of a port forward.
constexpr std::string_view broken_chains[] = {"-A FORWARD  ", "-A INPUT  ", "-A VSERVER "};

bool begins_with(std::string_view text, std::string_view beginning)
{
    return text.substr(0, beginning.size()) == beginning;
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
        if (line.empty() || line[0] == ' ' || (line[0] == ':' && is_in_broken && !is_chain(line))) {
            if (!is_in_broken)
                refuse(line);
            return;
        }
        if (!begins_with_one(line, starts))
            refuse(line);
        is_in_broken = begins_with_one(line, broken_chains) || is_cut_by_schedule(line);
        if (line[0] == '-' && !is_in_broken && line.find(" -j ") == std::string::npos)
            violated("a rule of %s without a target: %s", checked.path, std::string(line).c_str());
    }

    // A time span of seven digits that ends its line has its line end for the eighth.
    static bool is_cut_by_schedule(std::string_view line)
    {
        return line.find(" --timestop ") != line.npos && line.find(" --days ") == line.npos;
    }

    static bool is_chain(std::string_view line) { return line.find(" [0:0]") != line.npos; }

    const table &checked;
    bool is_in_broken = false;
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
        words.push_back(*word);
        has_line_end = has_line_end || word->find('\n') != std::string::npos;
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
        if (!has_line_end)
            line_check(row).check(*text);
    }
}

} // namespace fuzz
