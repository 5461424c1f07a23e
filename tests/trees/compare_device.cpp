#include "support/texts.h"
#include "trees/device_meaning.h"
#include "trees/trial.h"

#include <map>

namespace trees
{

namespace
{

// The ends of 1 August 2026: the program compares hours of the day, so at a time of one date.
constexpr long FIRST_SECOND = 1785542400;
constexpr long LAST_SECOND = FIRST_SECOND + 24L * 3600 - 1;

void compare_zone(trial *t)
{
    settings_meaning::meant_zone zone = settings_meaning::zone_of(t->settings);
    bool is_west = zone.minutes_west.value_or(0) > 0;
    int seen = t->machine.set_zone(is_west ? LAST_SECOND : FIRST_SECOND);
    if (zone.minutes_west != seen)
        t->differs({settings_meaning::ZONE, zone.line,
                    zone.minutes_west ? std::to_string(*zone.minutes_west) : "?"},
                   std::to_string(seen));
}

std::map<std::string, std::string> read_profile(const trial &t)
{
    std::map<std::string, std::string> profile;
    std::string text = t.machine.lan_box.read("/etc/Wireless/RT2860/RT2860.dat");
    for (const std::string &line : settings_trees::split_lines(text)) {
        size_t at = line.find('=');
        if (at != std::string::npos)
            profile[line.substr(0, at)] = line.substr(at + 1);
    }
    return profile;
}

void compare_profile(trial *t)
{
    std::map<std::string, std::string> profile = read_profile(*t);
    std::map<std::string, std::string> left = profile;
    for (const meant &line : settings_meaning::profile_lines(t->settings, profile)) {
        std::string key = line.text.substr(0, line.text.find('='));
        auto seen = profile.find(key);
        std::string value = seen == profile.end() ? "missing" : key + "=" + seen->second;
        if (value != line.text)
            t->differs(line, value);
        left.erase(key);
    }
    for (const auto &[key, value] : left) {
        if (!settings_meaning::is_unset(key, value))
            t->fail("nothing says " + key + "=" + value);
    }
}

void compare_commands(trial *t, const meant_list &commands, const std::string &trace)
{
    for (const meant &line : commands) {
        if (trace.find("\n" + line.text + "\n") == std::string::npos)
            t->differs(line, trace);
    }
}

void compare_wireless(trial *t, const std::string &trace)
{
    meant_list commands = settings_meaning::wireless_commands(t->settings);
    compare_commands(t, commands, trace);
    for (const char *begin : {"shell brctl addif br0 ra", "run brctl addif br0 wds",
                              "shell rt2860apd", "shell iwpriv ra0 set RadioOn=0"}) {
        bool is_meant = false;
        for (const meant &line : commands)
            is_meant = is_meant || support::begins_with(line.text, begin);
        if (!is_meant && trace.find(std::string("\n") + begin) != std::string::npos)
            t->fail(std::string("nothing says ") + begin);
    }
}

void compare_identity(trial *t)
{
    for (const meant &line : settings_meaning::identity(t->settings)) {
        std::string parameter = line.text.substr(0, line.text.find('='));
        std::string seen = parameter + "=" + t->machine.ask_mmac(parameter);
        if (seen != line.text)
            t->differs(line, seen);
    }
}

} // namespace

void compare_device(trial *t)
{
    compare_zone(t);
    std::string trace = t->machine.start_lan();
    compare_profile(t);
    compare_wireless(t, trace);
    compare_commands(t, settings_meaning::port_addresses(t->settings), trace);
    compare_identity(t);
}

} // namespace trees
