#include "sweep/invariants.h"

#include "sweep/trace_lines.h"

#include <algorithm>
#include <jansson.h>
#include <memory>
#include <vector>

namespace sweep
{

std::set<std::string> commands_of(const std::string &trace)
{
    std::set<std::string> commands;
    for (const std::string &line : lines_of(trace))
        if (begins_with(line, "shell ") || begins_with(line, "run ") || begins_with(line, "kill "))
            commands.insert(without_count(line));
    return commands;
}

// ---- the end itself

std::string check_end(const usual_end &, const disturbed_end &end)
{
    if (end.result.signal != 0 && !end.is_killed)
        return "ended by signal " + std::to_string(end.result.signal) + "\n";
    if (end.result.status == 125)
        return "the recorder gave up: " + end.result.err + "\n";
    return "";
}

std::string check_inherited(const usual_end &, const disturbed_end &end)
{
    for (const std::string &line : lines_of(end.result.trace))
        if (begins_with(line, "inherited "))
            return "a command inherits descriptor " + line.substr(10) + "\n";
    return "";
}

// ---- commands

// Commands that a failure leads to, and that are right then: what is said without an address that
// could not be had, and the second signal to a client whose first could not be sent.
static const char *const lesser_commands[] = {
    "shell ifconfig eth2 hw ether ",
    "shell ifconfig vlan2 hw ether ",
    "kill 4711 SIGKILL",
    "kill 4712 SIGTERM",
};

static bool is_lesser(const std::string &command)
{
    for (const char *known : lesser_commands)
        if (command == known)
            return true;
    return false;
}

static std::string check_commands(const usual_end &usual, const disturbed_end &end)
{
    std::string wrong;
    for (const std::string &command : commands_of(end.result.trace))
        if (usual.commands.count(command) == 0 && !is_lesser(command))
            wrong += "a command of its own: " + command + "\n";
    return wrong;
}

// ---- locks

static std::string check_locks(const usual_end &usual, const disturbed_end &end)
{
    std::string wrong;
    for (const auto &[path, content] : end.after)
        if (begins_with(path, "/var/lock/") && usual.after.count(path) == 0 && !end.may_keep_lock)
            wrong += "a lock is left: " + path + "\n";
    return wrong;
}

// ---- documents

bool is_json(const std::string &text)
{
    json_t *root = json_loadb(text.data(), text.size(), 0, nullptr);
    bool is_whole = root != nullptr;
    json_decref(root);
    return is_whole;
}

// A tunnel's metric is null where Config could not be had: the link then has no default route.
static std::set<std::string> links_of(const std::string &text)
{
    std::set<std::string> links;
    json_t *root = json_loadb(text.data(), text.size(), 0, nullptr);
    json_t *list = json_object_get(root, "state_links");
    for (size_t i = 0; i < json_array_size(list); i++) {
        json_object_set_new(json_array_get(list, i), "metric", json_null());
        std::unique_ptr<char, void (*)(void *)> link(
            json_dumps(json_array_get(list, i), JSON_SORT_KEYS), free);
        links.insert(link.get());
    }
    json_decref(root);
    return links;
}

static bool is_cut(const std::string &text, const std::string &whole)
{
    return text.size() < whole.size() && begins_with(whole, text);
}

bool may_tear(const disturbed_end &end, const std::string &path)
{
    return end.torn.count(path) != 0;
}

// The store's links are whole, and of those that were there or have come; the one that no run has
// to do with is always there.
std::string check_store(const usual_end &usual, const disturbed_end &end)
{
    static const char path[] = "/var/run/state_link";
    const std::string &now = content_of(end.after, path);
    if (now == content_of(usual.before, path) || now == content_of(usual.after, path))
        return "";
    if (may_tear(end, path) && !is_json(now))
        return "";
    std::set<std::string> before = links_of(content_of(usual.before, path));
    std::set<std::string> after = links_of(content_of(usual.after, path));
    std::set<std::string> links = links_of(now);
    std::string wrong;
    for (const std::string &link : links)
        if (before.count(link) == 0 && after.count(link) == 0)
            wrong += "a link that never was: " + link + "\n";
    for (const std::string &link : before)
        if (after.count(link) != 0 && links.count(link) == 0)
            wrong += "a link is lost: " + link + "\n";
    return wrong;
}

// The lines that only one of the texts has.
static std::set<std::string> difference(const std::string &one, const std::string &other)
{
    std::vector<std::string> of_one = lines_of(one), of_other = lines_of(other);
    std::set<std::string> in_one(of_one.begin(), of_one.end());
    std::set<std::string> in_other(of_other.begin(), of_other.end());
    std::set<std::string> only;
    std::set_symmetric_difference(in_one.begin(), in_one.end(), in_other.begin(), in_other.end(),
                                  std::inserter(only, only.end()));
    return only;
}

// Whether a file lacks no more than what settings give it whose loss is reported.
static bool is_hole_reported(const usual_end &usual, const disturbed_end &end,
                             const std::string &path)
{
    const std::string &whole = content_of(usual.after, path);
    std::set<std::string> hole = difference(content_of(end.after, path), whole);
    for (const auto &[settings, left] : usual.without) {
        bool is_reported = false;
        for (const std::string &line : lines_of(end.result.err))
            is_reported = is_reported || begins_with(line, settings + ": ");
        if (is_reported)
            for (const std::string &line : difference(content_of(left, path), whole))
                hole.erase(line);
    }
    return hole.empty();
}

// Config is that of before, or the usual one, or one made without settings whose loss is reported.
static std::string check_config(const usual_end &usual, const disturbed_end &end)
{
    static const char path[] = "/var/run/Config";
    const std::string &now = content_of(end.after, path);
    const std::string &after = content_of(usual.after, path);
    if (now == content_of(usual.before, path) || now == after)
        return "";
    if (may_tear(end, path) && (is_cut(now, after) || !is_json(now)))
        return "";
    if (!is_json(now))
        return "Config is torn\n";
    return is_hole_reported(usual, end, path) ? "" : "Config lacks something, unreported\n";
}

// ---- NVRAM

static std::set<std::string> keys_of(const std::string &text)
{
    std::set<std::string> keys;
    for (const std::string &line : lines_of(text))
        keys.insert(line.substr(0, line.find('=')));
    return keys;
}

static std::string check_nvram(const usual_end &usual, const disturbed_end &end)
{
    std::string wrong;
    for (const char *path : {"/etc/nvram/0", "/etc/nvram/1"}) {
        const std::string &now = content_of(end.after, path);
        if (now == content_of(usual.before, path) || now == content_of(usual.after, path))
            continue;
        wrong += std::string(path) + " is neither what it was nor what it should be\n";
        for (const std::string &key : keys_of(content_of(usual.before, path)))
            if (keys_of(now).count(key) == 0)
                wrong += std::string(path) + " is short of " + key + "\n";
    }
    return wrong;
}

// ---- files for others

struct loaded_file {
    const char *command; // that takes the file
    const char *path;
    bool may_lack_settings; // when the loss is reported
};

static const loaded_file loaded_files[] = {
    {"shell iptables-restore /tmp/nat_rules", "/tmp/nat_rules", true},
    {"run iptables-restore /tmp/filter_rules", "/tmp/filter_rules", true},
    {"shell iptables-restore /tmp/mangle_rules", "/tmp/mangle_rules", false},
    {"run pppd call wan1", "/etc/ppp/peers/wan1", false},
    {"run xl2tpd", "/etc/xl2tpd.conf", false},
    {"run xl2tpd", "/etc/ppp/peers/work", false},
    {"shell modprobe rt2860v2_ap", "/etc/Wireless/RT2860/RT2860.dat", false},
};

static std::string check_loaded(const usual_end &usual, const disturbed_end &end)
{
    std::string wrong;
    std::set<std::string> commands = commands_of(end.result.trace);
    for (const loaded_file &row : loaded_files) {
        const std::string &now = content_of(end.after, row.path);
        bool is_right = now == content_of(usual.after, row.path) ||
                        (std::string(row.path).find("Wireless") != std::string::npos &&
                         now == content_of(usual.before, row.path));
        bool is_known = row.may_lack_settings && is_hole_reported(usual, end, row.path);
        if (commands.count(row.command) != 0 && !is_right && !is_known)
            wrong += std::string(row.path) + " is taken with a hole in it\n";
    }
    return wrong;
}

// Nothing is left lying about that neither was there nor belongs there.
static std::string check_leftovers(const usual_end &usual, const disturbed_end &end)
{
    std::string wrong;
    for (const auto &[path, content] : end.after)
        if (!end.may_keep_lock && usual.before.count(path) == 0 && usual.after.count(path) == 0 &&
            !begins_with(path, "/var/lock/"))
            wrong += "a file is left: " + path + "\n";
    return wrong;
}

static std::string first_wrongs(const usual_end &usual, const disturbed_end &end)
{
    return check_end(usual, end) + check_inherited(usual, end) + check_locks(usual, end);
}

std::string wrongs_of_odd_files(const files &before, const disturbed_end &end)
{
    return first_wrongs({{}, before, before, {}}, end);
}

std::string wrongs(const usual_end &usual, const disturbed_end &end)
{
    using check = std::string (*)(const usual_end &, const disturbed_end &);
    static const check checks[] = {check_end,       check_inherited, check_commands, check_locks,
                                   check_store,     check_config,    check_nvram,    check_loaded,
                                   check_leftovers, check_silence};
    std::string wrong;
    for (check each : checks)
        wrong += each(usual, end);
    return wrong;
}

} // namespace sweep
