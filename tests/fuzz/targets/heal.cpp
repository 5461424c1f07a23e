// mctl heal of any router: a dry run changes nothing; what is run is of a fixed list, with the
// words of its form; a link that status calls up is left alone, and a healthy router meets no
// command.
#include "fuzz/router.h"
#include "fuzz/targets.h"

#include <algorithm>

namespace fuzz
{

namespace
{

// "*" is one word, whatever stands in it.
const std::vector<std::string_view> forms[] = {
    {"iptables", "-t", "nat", "-S"},
    {"iptables", "-t", "nat", "-I", "PREROUTING", "-i", "*", "-d", "*", "-j", "VSERVER"},
    {"iptables", "-t", "nat", "-D", "PREROUTING", "-i", "*", "-d", "*", "-j", "VSERVER"},
    {"mcfg", "start_wan", "*", "0"},
    {"mcfg", "stop_wan", "*", "0"},
    {"pppd", "call", "*"},
    {"xl2tpd"},
    {"sys_netbase", "save_ppp_info", "remove", "*", "*", "*", "*"},
    {"/etc/init.d/scripts/resolv", "remove", "*", "*"},
    {"/etc/init.d/scripts/resolv", "start"},
};

// What goes through the shell; its words are looked at on their way (commands.cpp).
constexpr std::string_view line_heads[] = {
    "iptables -t nat -D PREROUTING -i ",
    "led yellow_wan ",
    "led green_wan ",
};

bool is_of_list(const words &command)
{
    for (const auto &form : forms) {
        if (has_form(command, form))
            return true;
    }
    return false;
}

bool is_of_lines(const std::string &line)
{
    for (std::string_view head : line_heads) {
        if (line.compare(0, head.size(), head) == 0)
            return true;
    }
    return false;
}

void check_commands()
{
    for (const words &command : here.tools) {
        if (!is_of_list(command))
            violated("a command of heal: %s", command[0].c_str());
        bool is_mcfg = command[0] == "mcfg";
        if (is_mcfg && command[2].find_first_not_of("0123456789") != std::string::npos)
            violated("mcfg for the WAN \"%s\"", command[2].c_str());
    }
    for (const std::string &line : here.lines) {
        if (!is_of_lines(line))
            violated("a line of heal: %s", line.c_str());
    }
}

size_t count_looks()
{
    return static_cast<size_t>(
        std::count(here.commands.begin(), here.commands.end(), "iptables -t nat -S"));
}

// ---- links that are up

struct up_link {
    std::string kind;
    std::string iface;
    size_t position; // of a WAN, from 1
};

std::string text_of(const json_t *object, const char *key)
{
    const char *text = json_string_value(json_object_get(object, key));
    return text != nullptr ? text : "";
}

// Those whose interface no other link has: what is done to that other is none of theirs.
std::vector<up_link> up_links(const std::string &json)
{
    std::vector<up_link> all;
    json_t *root = json_loadb(json.data(), json.size(), 0, nullptr);
    const json_t *links = json_object_get(root, "links");
    std::vector<std::string> ifaces;
    size_t i;
    size_t wans = 0;
    const json_t *link;
    json_array_foreach(links, i, link)
    {
        const std::string kind = text_of(link, "kind");
        wans += kind == "wan" ? 1 : 0;
        ifaces.push_back(text_of(link, "iface"));
        if (text_of(link, "state") == "up")
            all.push_back({kind, ifaces.back(), wans});
    }
    auto is_shared = [&ifaces](const up_link &link_up) {
        return std::count(ifaces.begin(), ifaces.end(), link_up.iface) != 1;
    };
    all.erase(std::remove_if(all.begin(), all.end(), is_shared), all.end());
    json_decref(root);
    return all;
}

bool has_word(const words &command, const char *option, const std::string &value)
{
    for (size_t i = 0; i + 1 < command.size(); i++) {
        if (command[i] == option && command[i + 1] == value)
            return true;
    }
    return false;
}

bool touches(const words &command, const up_link &link)
{
    const std::string position = std::to_string(link.position);
    if (command[0] == "mcfg")
        return link.kind == "wan" && command[2] == position;
    return has_word(command, "-i", link.iface) || has_word(command, "remove", link.iface);
}

void check_untouched(const std::vector<up_link> &all)
{
    for (const up_link &link : all) {
        for (const words &command : here.tools) {
            if (touches(command, link))
                violated("%s, which is up, is touched by %s", link.iface.c_str(),
                         command[0].c_str());
        }
    }
}

// Only processes that a pid file of ours names, and never a group of them.
void check_signals()
{
    for (const auto &[pid, sig] : here.signals) {
        if (pid <= 0 || !here.files.exists("/proc/" + std::to_string(pid) + "/stat"))
            violated("signal %d to %d", sig, static_cast<int>(pid));
    }
}

// ---- the runs

void run_dry(router *healed)
{
    int status = healed->run_mctl({"heal", "--dry-run"});
    healed->check_said(status);
    if (here.files.changes() != 0 || !here.signals.empty() || here.requests != 0 ||
        count_looks() != here.commands.size())
        violated("a dry run does something");
}

// Nothing of it lies in the way of a later event.
class locks_check
{
  public:
    locks_check() : was_store_locked(is_there(STORE_LOCK)), was_config_locked(is_there(CONFIG_LOCK))
    {
    }

    void after() const
    {
        if ((is_there(STORE_LOCK) && !was_store_locked) ||
            (is_there(CONFIG_LOCK) && !was_config_locked))
            violated("heal leaves a lock");
    }

  private:
    static constexpr char STORE_LOCK[] = "/var/lock/state_link.lock";
    static constexpr char CONFIG_LOCK[] = "/var/lock/Config.lock";
    static bool is_there(const char *path) { return here.files.exists(path); }

    bool was_store_locked;
    bool was_config_locked;
};

void run_wet(router *healed, const std::vector<up_link> &up)
{
    locks_check locks;
    int status = healed->run_mctl({"heal"});
    healed->check_said(status);
    check_commands();
    check_signals();
    if (!healed->is_quiet())
        return;
    locks.after();
    check_untouched(up);
    if (status != 0)
        return;
    if (healed->run_mctl({"heal"}) != 0 || count_looks() != here.commands.size() ||
        !here.standard_output.empty())
        violated("there is more to heal: %s", here.standard_output.c_str());
    if (healed->run_mctl({"status"}) != 0)
        violated("healed, and all is not well: %s", here.standard_output.c_str());
}

} // namespace

void test_heal(input &parts)
{
    if (parts.holds(SECRET_MARK))
        return;
    router healed(parts);
    int status = healed.run_mctl({"status", "--json"});
    std::vector<up_link> up = up_links(here.standard_output);
    bool is_well = status == 0 && healed.is_quiet();
    run_dry(&healed);
    if (is_well && !here.standard_output.empty())
        violated("a step for a healthy router: %s", here.standard_output.c_str());
    run_wet(&healed, up);
}

} // namespace fuzz
