#include "trees/device_meaning.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <regex>
#include <strings.h>

namespace settings_meaning
{

namespace
{

std::string content_of(const tree &settings, const std::string &path)
{
    auto it = settings.find(path);
    return it == settings.end() ? "" : it->second;
}

std::string without_blanks(const std::string &text)
{
    size_t start = text.find_first_not_of(" \t\r");
    return start == std::string::npos
               ? ""
               : text.substr(start, text.find_last_not_of(" \t\r") - start + 1);
}

// The time zone

// A month and the like of "M3.5.0", or a day of the year: where it stands to 1 August, which is day
// 213. Nothing for what is no date.
std::optional<int> days_before_august(const std::string &date)
{
    static const std::regex month(R"(M(\d{1,2})\.([1-5])\.([0-6]))");
    static const std::regex day(R"((J?)(\d{1,3}))");
    std::smatch part;
    if (std::regex_match(date, part, month)) {
        int number = std::stoi(part[1]);
        if (number < 1 || number > 12)
            return {};
        return number < 8 ? 1 : -1;
    }
    if (!std::regex_match(date, part, day))
        return {};
    int number = std::stoi(part[2]);
    bool is_julian = part[1].length() != 0;
    if (number > 365 || (is_julian && number == 0))
        return {};
    return 213 - number;
}

// Minutes of [+-]HOURS[:MINUTES[:SECONDS]].
std::optional<int> minutes_of(const std::string &text, int most_hours)
{
    static const std::regex form(R"(([+-]?)(\d{1,2})(?::(\d{1,2}))?(?::(\d{1,2}))?)");
    std::smatch part;
    if (!std::regex_match(text, part, form))
        return {};
    int hours = std::stoi(part[2]);
    int minutes = part[3].matched ? std::stoi(part[3]) : 0;
    int seconds = part[4].matched ? std::stoi(part[4]) : 0;
    if (hours > most_hours || minutes > 59 || seconds > 59)
        return {};
    return (part[1] == "-" ? -1 : 1) * (hours * 60 + minutes);
}

// Whether it is summer on 1 August by ",START[/TIME],END[/TIME]"; by most rules it is.
std::optional<bool> is_summer(const std::string &rule)
{
    static const std::regex form(R"(,([^,/]+)(?:/([^,/]+))?,([^,/]+)(?:/([^,/]+))?)");
    if (rule.empty())
        return true;
    std::smatch part;
    if (!std::regex_match(rule, part, form))
        return {};
    for (int time : {2, 4}) {
        if (part[time].matched && !minutes_of(part[time], 167))
            return {};
    }
    std::optional<int> start = days_before_august(part[1]);
    std::optional<int> end = days_before_august(part[3]);
    if (!start || !end)
        return {};
    bool is_northern = *start > *end;
    return is_northern ? *start >= 0 && *end < 0 : *start >= 0 || *end < 0;
}

std::optional<int> minutes_west_of(const std::string &text)
{
    static const std::regex form(R"((?:[A-Za-z]{3,}|<[A-Za-z0-9+-]{3,}>)([+-]?[0-9:]+))"
                                 R"((?:([A-Za-z]{3,}|<[A-Za-z0-9+-]{3,}>)([+-]?[0-9:]+)?(,.*)?)?)");
    if (text == "UTC" || text == "GMT")
        return 0;
    std::smatch part;
    if (!std::regex_match(text, part, form))
        return {};
    std::optional<int> winter = minutes_of(part[1], 24);
    if (!winter || !part[2].matched)
        return winter;
    std::optional<int> summer = part[3].matched ? minutes_of(part[3], 24) : *winter - 60;
    std::optional<bool> is_now = is_summer(part[4]);
    if (!summer || !is_now)
        return {};
    return *is_now ? summer : winter;
}

// The NVRAM

struct pair {
    unsigned line;
    std::string key;
    std::string value;
};

bool is_same_key(const std::string &one, const std::string &other)
{
    return strcasecmp(one.c_str(), other.c_str()) == 0;
}

// All behind the first "=" is the value; blanks around a key are not meant.
std::vector<pair> pairs_of(const tree &settings, const std::string &path)
{
    std::vector<pair> pairs;
    unsigned number = 0;
    for (const std::string &line : settings_trees::split_lines(content_of(settings, path))) {
        number++;
        size_t at = line.find('=');
        std::string key = without_blanks(line.substr(0, at));
        if (at != std::string::npos && !key.empty() && key[0] != '#')
            pairs.push_back({number, key, line.substr(at + 1)});
    }
    return pairs;
}

std::string value_of(const tree &settings, const std::string &path, const std::string &key)
{
    for (const pair &p : pairs_of(settings, path)) {
        if (is_same_key(p.key, key))
            return p.value;
    }
    return "";
}

std::string repeated(const std::string &value, const std::string &count)
{
    std::string list = value;
    for (int i = 1; i < std::atoi(count.c_str()); i++)
        list += ";" + value;
    return list;
}

// Keys that are no line of the profile of their own name.
struct other_key {
    const char *key;
    const char *value; // null for any
    const char *line;
};

// clang-format off
const other_key other_keys[] = {
    {"WscConfigured", "", "WscConfStatus=1"},
    {"WscConfigured", "0", "WscConfStatus=1"},
    {"WscConfigured", nullptr, "WscConfStatus=2"},
    {"RadioOff", "1", "RadioOn=0"},
    {"RadioOff", "0", "RadioOn=1"},
    {"RadioOff", "", "RadioOn=1"},
    {"RadioOff", nullptr, "?"},
};
// clang-format on

const other_key *find_other(const pair &p)
{
    const other_key *row =
        std::find_if(std::begin(other_keys), std::end(other_keys), [&](const other_key &one) {
            return is_same_key(one.key, p.key) && (one.value == nullptr || p.value == one.value);
        });
    return row == std::end(other_keys) ? nullptr : row;
}

bool is_zeros(const std::string &value)
{
    return value.find_first_not_of("0;") == std::string::npos;
}

// What a line of the profile ought to be; what is set to nothing is like what is not set.
std::string profile_line(const tree &settings, const pair &p, const std::string &key,
                         const std::string &seen)
{
    if (p.value.empty() && is_zeros(seen))
        return key + "=" + seen;
    bool is_for_each = key == "TxRate" || key == "WmmCapable";
    return key + "=" +
           (is_for_each ? repeated(p.value, value_of(settings, WIRELESS, "BssidNum")) : p.value);
}

std::string address_of(const std::string &value)
{
    bool is_quoted = value.size() > 1 && value.front() == '"' && value.back() == '"';
    return is_quoted ? value.substr(1, value.size() - 2) : value;
}

// An address with its last byte plus 1, in capitals; "?" for none.
std::string next_address(const std::string &text, unsigned more)
{
    unsigned byte[6];
    char end;
    if (sscanf(text.c_str(), "%2x:%2x:%2x:%2x:%2x:%2x%c", &byte[0], &byte[1], &byte[2], &byte[3],
               &byte[4], &byte[5], &end) != 6)
        return "?";
    char other[18];
    snprintf(other, sizeof other, "%02X:%02X:%02X:%02X:%02X:%02X", byte[0], byte[1], byte[2],
             byte[3], byte[4], (byte[5] + more) & 255);
    return other;
}

} // namespace

meant_zone zone_of(const tree &settings)
{
    if (settings.count(ZONE) == 0)
        return {0, 0};
    std::vector<std::string> lines = settings_trees::split_lines(content_of(settings, ZONE));
    return {1, lines.empty() ? std::optional<int>() : minutes_west_of(without_blanks(lines[0]))};
}

meant_list profile_lines(const tree &settings, const std::map<std::string, std::string> &profile)
{
    meant_list all;
    for (const pair &p : pairs_of(settings, WIRELESS)) {
        auto known = std::find_if(profile.begin(), profile.end(),
                                  [&](const auto &line) { return is_same_key(line.first, p.key); });
        if (const other_key *row = find_other(p))
            all.push_back({WIRELESS, p.line, row->line});
        else if (known != profile.end())
            all.push_back(
                {WIRELESS, p.line, profile_line(settings, p, known->first, known->second)});
        else if (is_same_key(p.key, "WscVendorPinCode") && !p.value.empty())
            all.push_back({WIRELESS, p.line, "WscVendorPinCode=" + p.value});
    }
    return all;
}

bool is_unset(const std::string &key, const std::string &value)
{
    return is_zeros(value) || ((key == "WscConfStatus" || key == "RadioOn") && value == "1");
}

meant_list wireless_commands(const tree &settings)
{
    meant_list all;
    for (const pair &p : pairs_of(settings, WIRELESS)) {
        auto add = [&](const std::string &command) { all.push_back({WIRELESS, p.line, command}); };
        if (is_same_key(p.key, "BssidNum") && p.value > "1")
            add("shell brctl addif br0 ra1");
        if (is_same_key(p.key, "RadioOff"))
            add("shell iwpriv ra0 set RadioOn=" + std::string(p.value == "1" ? "0" : "1"));
        bool is_authenticated =
            p.value.find("WPA") != std::string::npos && p.value.find("PSK") == std::string::npos;
        if ((is_same_key(p.key, "AuthMode") && is_authenticated) ||
            (is_same_key(p.key, "IEEE8021X") && p.value.find('1') != std::string::npos))
            add("shell rt2860apd");
        bool has_links = is_same_key(p.key, "WdsList") && !p.value.empty() &&
                         value_of(settings, WIRELESS, "WdsEnable") > "1";
        auto links = std::count(p.value.begin(), p.value.end(), ';') + 1;
        for (int i = 0; has_links && i < links; i++)
            add("run brctl addif br0 wds" + std::to_string(i));
    }
    return all;
}

meant_list identity(const tree &settings)
{
    static const std::pair<const char *, const char *> parameters[] = {
        {"ethaddr", "base"},
        {"wanmac", "wan"},
        {"wlanmac", "wlan"},
        {"pin", "pin"},
        {"sn", "sn"},
        {"hwrev", "hwrev"},
        {"countrycode", "countrycode"},
        {"flashspeed", "flashspeed"},
        {"appex", "appex"}};
    meant_list all;
    for (const pair &p : pairs_of(settings, DEVICE)) {
        for (const auto &[key, parameter] : parameters) {
            bool is_address =
                std::string(key).find("mac") != std::string::npos || std::string(key) == "ethaddr";
            if (is_same_key(p.key, key) && !p.value.empty())
                all.push_back(
                    {DEVICE, p.line,
                     std::string(parameter) + "=" + (is_address ? address_of(p.value) : p.value)});
        }
    }
    return all;
}

meant_list port_addresses(const tree &settings)
{
    meant_list all;
    for (const pair &p : pairs_of(settings, DEVICE)) {
        std::string address = address_of(p.value);
        if (is_same_key(p.key, "ethaddr")) {
            all.push_back(
                {DEVICE, p.line, "shell ifconfig eth2 hw ether " + next_address(address, 0)});
            all.push_back(
                {DEVICE, p.line, "shell ifconfig vlan2 hw ether " + next_address(address, 1)});
        } else if (is_same_key(p.key, "wanmac") && !p.value.empty()) {
            all.push_back(
                {DEVICE, p.line, "shell ifconfig vlan2 hw ether " + next_address(address, 0)});
        }
    }
    return all;
}

} // namespace settings_meaning
