// What holds after every run of mctl.
#include "sweep/invariants.h"
#include "sweep/watched_router.h"

#include <sstream>
#include <vector>

namespace sweep
{

namespace
{

bool has(const std::string &text, const std::string &part)
{
    return text.find(part) != std::string::npos;
}

// Of the kernel's record locks, the files stay.
files without_records(const files &all)
{
    files others = all;
    for (const char *name : {"heal", "firewall"})
        others.erase(std::string("/var/run/mctl-") + name + ".lock");
    return others;
}

std::string check_unchanged(const usual_end &usual, const disturbed_end &end)
{
    std::string wrong;
    files before = without_records(usual.before), after = without_records(end.after);
    for (const auto &[path, content] : after)
        if (before.count(path) == 0 || before.at(path) != content)
            wrong += "changed: " + path + "\n";
    for (const auto &[path, content] : before)
        if (after.count(path) == 0)
            wrong += "gone: " + path + "\n";
    return wrong;
}

std::string check_status(const usual_end &, const disturbed_end &end)
{
    if (end.is_killed)
        return "";
    if (end.result.status < 0 || end.result.status > 2)
        return "status " + std::to_string(end.result.status) + "\n";
    bool is_told = !end.torn.empty() || end.is_mute || !end.result.err.empty();
    return end.result.status != 2 || is_told ? "" : "status 2 without a word\n";
}

// A verdict is that of the undisturbed run, or about a file that it says cannot be read.
std::string check_verdict(const usual_end &usual, const disturbed_end &end)
{
    if (end.is_killed || end.result.status == 2)
        return "";
    bool is_same = end.result.status == usual.result.status &&
                   (end.is_mute || end.result.out == usual.result.out);
    bool is_file = end.result.status == 1 && has(end.result.out, "unreadable");
    if (is_same || is_file)
        return "";
    return "another verdict: status " + std::to_string(end.result.status) + "\n" + end.result.out +
           end.result.err;
}

std::string check_json(const usual_end &usual, const disturbed_end &end)
{
    bool is_asked = is_json(usual.result.out) && !end.is_killed && !end.is_mute;
    bool is_whole = end.result.status == 2 || is_json(end.result.out);
    return is_asked && !is_whole ? "no JSON: " + end.result.out + "\n" : "";
}

// ---- the report

// The sections that have something in them, by their titles.
std::set<std::string> sections_of(const std::string &report)
{
    std::set<std::string> titles;
    std::istringstream stream(report);
    std::string title;
    for (std::string line; std::getline(stream, line);) {
        if (line.compare(0, 5, "==== ") == 0)
            title = line;
        else if (!line.empty())
            titles.insert(title);
    }
    return titles;
}

std::string check_report(const usual_end &usual, const disturbed_end &end)
{
    std::string wrong;
    if (has(end.result.out + end.result.err, CANARY))
        wrong += "a secret is told\n";
    if (end.is_killed || end.is_mute)
        return wrong;
    if (end.result.status == 0 && sections_of(end.result.out) != sections_of(usual.result.out))
        wrong += "a section is missing\n" + end.result.out;
    bool is_refused = end.result.status == 2 && end.result.out.empty() &&
                      has(end.result.err, "mctl: the report could not be written\n");
    if (end.result.status != 0 && !is_refused && end.torn.empty() && !end.is_killed)
        wrong += "half a report: " + end.result.out + end.result.err;
    return wrong;
}

// ---- what changes the router

std::string check_steps(const usual_end &usual, const disturbed_end &end)
{
    std::string wrong;
    for (const std::string &command : commands_of(end.result.trace))
        if (usual.commands.count(command) == 0 && command.compare(0, 5, "kill ") != 0)
            wrong += "a command of its own: " + command + "\n";
    return wrong;
}

std::string check_own_locks(const usual_end &usual, const disturbed_end &end)
{
    std::string wrong;
    for (const auto &[path, content] : end.after)
        if (path.compare(0, 10, "/var/lock/") == 0 && usual.before.count(path) == 0 &&
            !end.may_keep_lock)
            wrong += "a lock is left: " + path + "\n";
    return wrong;
}

std::string check_healed(const usual_end &usual, const disturbed_end &end)
{
    bool is_well = !end.is_killed && end.result.status == 0;
    if (is_well && without_records(end.after) != without_records(usual.after))
        return "said to be well, but not mended: " + end.result.out + "\n";
    return "";
}

// What the settings have wrong, unless some cannot be looked at, and behind it the tables.
std::string check_rebuilt(const usual_end &usual, const disturbed_end &end)
{
    const std::string &out = end.result.out;
    std::string tables = usual.result.out.substr(usual.result.out.find("nat: "));
    bool is_unseen = has(out, "unreadable") || has(end.result.err, "mctl: cannot look at ");
    bool is_told = out.size() >= tables.size() &&
                   out.compare(out.size() - tables.size(), tables.size(), tables) == 0;
    bool is_well = !end.is_killed && end.result.status == 0;
    bool is_same = end.is_mute || (is_unseen ? is_told : out == usual.result.out);
    return is_well && !is_same ? "another verdict: " + end.result.out + "\n" : "";
}

using check = std::string (*)(const usual_end &, const disturbed_end &);

struct command_row {
    const char *command;
    std::vector<check> checks;
};

// clang-format off
const command_row commands[] = {
    {"check", {check_status, check_unchanged, check_verdict, check_json}},
    {"status", {check_status, check_unchanged, check_verdict, check_json, check_steps}},
    {"report", {check_status, check_unchanged, check_report, check_steps}},
    {"heal", {check_status, check_own_locks, check_store, check_steps, check_healed}},
    {"firewall", {check_status, check_unchanged, check_steps, check_rebuilt}},
};
// clang-format on

bool is_dry(const usual_end &usual)
{
    return has(usual.result.out, ": would ");
}

} // namespace

std::string wrongs_of_mctl(const std::string &command, const usual_end &usual,
                           const disturbed_end &end)
{
    std::string wrong = check_end(usual, end) + check_inherited(usual, end);
    for (const command_row &row : commands)
        if (row.command == command)
            for (check each : row.checks)
                wrong += each(usual, end);
    if (is_dry(usual))
        wrong += check_unchanged(usual, end) + check_verdict(usual, end);
    return wrong;
}

} // namespace sweep
