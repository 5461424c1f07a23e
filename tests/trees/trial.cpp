#include "trees/trial.h"

#include "support/texts.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <stdexcept>

namespace trees
{

static finding parse_finding(const std::string &line)
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

router::router() : mmac_box(MMAC_PROGRAM)
{
    for (const char *name : {"br0", "vlan2", "wimax0"})
        box.interface(name);
    box.in_network({"ip", "address", "add", "192.168.1.1/24", "dev", "br0"});
    for (const char *name : {"eth2", "vlan1", "vlan2", "br0", "ra0"})
        lan_box.interface(name);
}

void router::put(const tree &settings)
{
    for (const auto &[path, content] : current) {
        if (settings.count(path) == 0) {
            for (support::router_box *one : {&box, &lan_box, &mmac_box})
                one->remove(path);
            std::filesystem::remove(here.path() / ("tree" + path));
        }
    }
    for (const auto &[path, content] : settings) {
        auto known = current.find(path);
        if (known != current.end() && known->second == content)
            continue;
        for (support::router_box *one : {&box, &lan_box, &mmac_box})
            one->write(path, content);
        here.write("tree" + path, content);
    }
    current = settings;
}

verdict router::check() const
{
    support::said said = support::run_line(std::string(MCTL_PROGRAM) + " check --root " +
                                           (here.path() / "tree").string());
    verdict result = {said.status, {}, said.text};
    for (const std::string &line : support::lines_of(result.text)) {
        if (line[0] == '/')
            result.findings.push_back(parse_finding(line));
    }
    return result;
}

void router::build_firewall()
{
    box.run({"firewall_update", "br0", "vlan2", "none"});
}

void router::build_document()
{
    box.remove("/etc/ppp/peers");
    box.mkdir("/etc/ppp/peers");
    box.remove("/etc/xl2tpd.conf");
    box.run({"mcfg", "set_config"});
    box.run({"mcfg", "start_wan"});
}

std::string router::refusal(const std::string &rules)
{
    auto known = judged.find(rules);
    if (known != judged.end())
        return known->second;
    here.write("rules", rules);
    std::string message;
    try {
        // A name in place of an address is asked for where nobody answers: not for long.
        box.in_network({"env", "XTABLES_LOCKFILE=/dev/null", "RES_OPTIONS=timeout:1 attempts:1",
                        MCFG_SOURCE_DIR "/lab/stand-ins/iptables-restore", "--test",
                        here.path() / "rules"});
    } catch (const std::exception &e) {
        message = e.what();
    }
    return judged[rules] = message;
}

std::string router::start_lan()
{
    return lan_box.run({"mcfg", "netbase_start"}).trace;
}

int router::set_zone(long now)
{
    box.clear_rules();
    box.on("clock " + std::to_string(now) + " 0 0");
    std::string trace = box.run({"update_time"}).trace;
    box.clear_rules();
    std::string set = support::rests(trace, "settimeofday " + std::to_string(now));
    size_t blank = set.find(' ');
    if (blank == std::string::npos)
        throw std::runtime_error("no zone is set: " + trace);
    return std::stoi(set.substr(blank));
}

std::string router::ask_mmac(const std::string &parameter)
{
    support::outcome told = mmac_box.run({"mmac", "get", parameter});
    return told.status == 0 ? told.out.substr(0, told.out.rfind('\n')) : "";
}

// The warnings that say that a value is not the one of its line. Whatever else makes one differ is
// an error.
static const std::set<std::string> telling_warnings = {
    "url-inherits",  "netmask-beside-any", "duplicate-name", "peer-no-metric",
    "never-dialled", "second-l2tp",        "zone-minutes",   "wanmac-unused"};

void trial::differs(const meant &expected, const std::string &seen)
{
    bool is_told = std::any_of(check.findings.begin(), check.findings.end(), [&](const finding &f) {
        return f.file == expected.file && f.line == expected.line &&
               telling_warnings.count(f.code) != 0;
    });
    *told += is_told ? 1 : 0;
    if (!is_told)
        fail(expected.file + ":" + std::to_string(expected.line) + " says \"" + expected.text +
             "\", the router has \"" + seen + "\"");
}

} // namespace trees
