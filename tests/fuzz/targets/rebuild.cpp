// mctl firewall with any settings lists, rule files, listings and refusals: it runs what it should
// and no more, says what it says in printable lines, and when it calls all well, each recorded link
// leads into the port forwards exactly once.
#include "fuzz/lines.h"
#include "fuzz/router.h"
#include "fuzz/targets.h"

#include <algorithm>
#include <arpa/inet.h>
#include <csignal>

namespace fuzz
{

namespace
{

constexpr const char *rule_files[] = {"/tmp/nat_rules", "/tmp/filter_rules", "/tmp/mangle_rules"};

const std::vector<std::string_view> forms[] = {
    {"iptables", "-t", "nat", "-S"},
    {"iptables", "-t", "filter", "-S"},
    {"iptables", "-t", "mangle", "-S"},
    {"iptables-restore", "--test", "/tmp/nat_rules"},
    {"iptables-restore", "--test", "/tmp/filter_rules"},
    {"iptables-restore", "--test", "/tmp/mangle_rules"},
    {"iptables", "-t", "nat", "-I", "PREROUTING", "-i", "*", "-d", "*", "-j", "VSERVER"},
    {"iptables", "-t", "nat", "-D", "PREROUTING", "-i", "*", "-d", "*", "-j", "VSERVER"},
};

// What the input says of the rebuild that mctl starts.
struct rebuild {
    words arguments;
    const std::string *generated[3];
    std::string loaded_nat;
    std::string told;
    std::string messages; // of iptables-restore
    std::string refused;  // the tables that it refuses, by the path of their file, a line each
    int times = 0;
};

bool is_line_of(const std::string &all, const std::string &wanted)
{
    std::string_view rest = all;
    for (std::string_view line; next_line(&rest, &line);) {
        if (line == wanted)
            return true;
    }
    return false;
}

void load_tables(rebuild *done, router *rebuilt)
{
    done->times++;
    for (int i = 0; i < 3; i++) {
        if (done->generated[i] != nullptr)
            here.files.put_deep(rule_files[i], *done->generated[i]);
        here.files.set_change_time(rule_files[i], 1);
    }
    rebuilt->nat = done->loaded_nat;
    here.tool_output = done->told;
}

void obey(const words &command, rebuild *done, router *rebuilt)
{
    if (command[0] == "firewall_update")
        load_tables(done, rebuilt);
    bool is_test = command[0] == "iptables-restore" && command.size() == 3;
    if (is_test && is_line_of(done->refused, command[2])) {
        here.tool_errors = done->messages;
        here.tool_status = 1;
    }
}

bool is_of_list(const words &command)
{
    for (const auto &form : forms) {
        if (has_form(command, form))
            return true;
    }
    return false;
}

void check_commands(const rebuild &done)
{
    words update = {"firewall_update"};
    update.insert(update.end(), done.arguments.begin() + 1, done.arguments.end());
    for (const words &command : here.tools) {
        if (command != update && !is_of_list(command))
            violated("a command of firewall: %s", command[0].c_str());
    }
    if (!here.lines.empty() || here.signals.size() > 1)
        violated("more is done than a rebuild");
    if (done.times > 1)
        violated("the tables are rebuilt %d times", done.times);
}

// The lines of the jumps that the records should have.
std::vector<std::string> expected_jumps()
{
    std::vector<std::string> all;
    const std::string *text = here.files.read("/var/run/state_link");
    json_t *root = text != nullptr ? json_loadb(text->data(), text->size(), 0, nullptr) : nullptr;
    size_t i;
    const json_t *record;
    json_array_foreach(json_object_get(root, "state_links"), i, record)
    {
        const char *iface = json_string_value(json_object_get(record, "iface"));
        const char *address = json_string_value(json_object_get(record, "ipaddr"));
        in_addr any;
        if (iface != nullptr && iface[0] != '\0' && address != nullptr &&
            inet_pton(AF_INET, address, &any) == 1 && any.s_addr != 0)
            all.push_back(jump_line(iface, address));
    }
    json_decref(root);
    return all;
}

// A listing has its jumps as iptables writes them. What the input has invented besides may count as
// the one that is wanted, or not.
void check_jumps(const router &rebuilt)
{
    const std::vector<std::string> expected = expected_jumps();
    std::string rest = rebuilt.nat;
    for (const std::string &line : expected) {
        size_t at = rest.find(line);
        if (at != rest.npos)
            rest.erase(at, line.size());
        if (rest.find(line) != rest.npos && std::count(expected.begin(), expected.end(), line) == 1)
            violated("more than one jump: %s", line.c_str());
    }
    std::string_view others = rest;
    for (std::string_view line; next_line(&others, &line);) {
        if (line.find("PREROUTING") != line.npos && line.find("VSERVER") != line.npos)
            return;
    }
    for (const std::string &line : expected) {
        if (rebuilt.nat.find(line) == std::string::npos)
            violated("no jump: %s", line.c_str());
    }
}

} // namespace

void test_rebuild(input &parts)
{
    if (parts.holds(SECRET_MARK))
        return;
    rebuild done = {};
    done.arguments = {"firewall"};
    for (int i = 0; i < 3; i++)
        done.arguments.emplace_back(parts.next_text().c_str());
    for (const std::string *&text : done.generated)
        text = parts.next();
    done.loaded_nat = parts.next_text();
    const std::string filter = parts.next_text();
    const std::string mangle = parts.next_text();
    done.told = parts.next_text();
    done.messages = parts.next_text();
    done.refused = parts.next_text();
    router rebuilt(parts, std::string(SECRET_MARK) + "x");
    rebuilt.filter = filter;
    rebuilt.mangle = mangle;
    auto listings = here.on_command;
    here.on_command = [&](const words &command) {
        listings(command);
        obey(command, &done, &rebuilt);
    };
    int status = rebuilt.run_mctl(done.arguments);
    check_commands(done);
    // The process beside it, when the rebuild that it waits for never comes.
    if (status == 128 + SIGALRM)
        return;
    rebuilt.check_said(status);
    if (status == 0 && rebuilt.is_quiet())
        check_jumps(rebuilt);
}

} // namespace fuzz
