// What the time zone and the NVRAM plainly say, as a person reads them by the manual pages: see
// settings_meaning.h.
#pragma once

#include "trees/settings_meaning.h"

#include <map>
#include <optional>
#include <string>

namespace settings_meaning
{

// Where a zone stands on 1 August.
struct meant_zone {
    unsigned line;                   // 0 for no file
    std::optional<int> minutes_west; // none for a text that is no zone
};

meant_zone zone_of(const tree &settings);

constexpr char ZONE[] = "/etc/TZ";
constexpr char DEVICE[] = "/etc/nvram/0";
constexpr char WIRELESS[] = "/etc/nvram/1";

// The lines of the wireless driver's profile that lines of the settings are about, KEY=VALUE, by
// the profile's own keys.
meant_list profile_lines(const tree &settings, const std::map<std::string, std::string> &profile);

// Whether a line of the profile may be there with this value without a line of the settings.
bool is_unset(const std::string &key, const std::string &value);

// The commands that the wireless settings ask for, as the trace has them.
meant_list wireless_commands(const tree &settings);

// What "mmac get" ought to tell, PARAMETER=VALUE, of the parameters that are set.
meant_list identity(const tree &settings);

// The addresses that LAN and WAN port ought to get, as the trace has the commands.
meant_list port_addresses(const tree &settings);

} // namespace settings_meaning
