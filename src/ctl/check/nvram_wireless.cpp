#include "ctl/check/judges.h"
#include "ctl/check/nvram_auth.h"
#include "ctl/check/nvram_networks.h"
#include "ctl/check/values.h"
#include "util/text.h"
#include "wireless/profile_keys.h"
#include "wireless/start.h"

#include <ctype.h>
#include <string.h>
#include <strings.h>

constexpr char WDS_MODE_KEY[] = "WdsEnable";
constexpr char WDS_LIST_KEY[] = "WdsList";

// Keys with lines

// Whether key is that of the pattern, whose "#" stands for a number from first to last.
static bool is_key_of(const char *key, const char *pattern, int first, int last,
                      int (*compare)(const char *, const char *))
{
    char text[NVRAM_KEY_MAX];
    text_set(text, pattern);
    char *mark = strchr(text, '#');
    if (mark == nullptr)
        return compare(key, text) == 0;
    for (int number = first; number <= last; number++) {
        *mark = static_cast<char>('0' + number);
        if (compare(key, text) == 0)
            return true;
    }
    return false;
}

struct known_key {
    char pattern[NVRAM_KEY_MAX]; // "" for none
    profile_form how;
};

static bool is_in_row(const profile_row &row, const char *key,
                      int (*compare)(const char *, const char *), known_key *known)
{
    known->how = row.how;
    text_piece rest = {row.keys, strlen(row.keys)};
    text_piece piece;
    while (next_piece(&rest, " ", &piece)) {
        text_set(known->pattern, piece);
        if (is_key_of(key, known->pattern, row.first, row.last, compare))
            return true;
    }
    return false;
}

static known_key find_key(const char *key, int (*compare)(const char *, const char *))
{
    static constexpr const char *numbers[] = {WSC_CONFIGURED_KEY, RADIO_OFF_KEY};
    known_key known;
    for (const profile_row &row : profile_rows) {
        if (is_in_row(row, key, compare, &known))
            return known;
    }
    known.how = profile_form::number;
    for (const char *source : numbers) {
        text_set(known.pattern, source);
        if (compare(key, source) == 0)
            return known;
    }
    return {"", profile_form::text};
}

static bool is_known_key(const char *key, char (&known)[NVRAM_KEY_MAX])
{
    if (find_key(key, strcmp).pattern[0] != '\0')
        return true;
    text_set(known, find_key(key, strcasecmp).pattern);
    return known[0] != '\0';
}

static bool is_digit(const char *text)
{
    return isdigit(static_cast<unsigned char>(text[0])) && text[1] == '\0';
}

// A key whose line of the profile comes from elsewhere.
static void judge_unused(const nvram_section &section, const nvram_line &line, profile_form how)
{
    static constexpr char numbered[] = "the same key with the number of a network behind it";
    switch (how) {
    case profile_form::wsc_status:
        tell(section, line, code::nvram_unused, "it is made of WscConfigured", "WscConfigured");
        return;
    case profile_form::radio_on:
        tell(section, line, code::nvram_unused, "it is made of RadioOff", "RadioOff");
        return;
    case profile_form::zero:
        tell(section, line, code::nvram_unused, "it is 0", "nothing");
        return;
    case profile_form::empty:
        tell(section, line, code::nvram_unused, "it is empty",
             strstr(line.key, "Antenna") != nullptr ? "nothing" : numbered);
        return;
    case profile_form::number:
    case profile_form::text:
    case profile_form::text_if_set:
    case profile_form::per_bss:
        return;
    }
}

static void judge_form(const nvram_section &section, const nvram_line &line)
{
    profile_form how = find_key(line.key, strcmp).how;
    bool is_set = line.value[0] != '\0';
    if (how == profile_form::number && is_set && !is_number(line.value))
        tell(section, line, code::nvram_number, line.value);
    else if (how == profile_form::per_bss && is_set && !is_digit(line.value))
        tell(section, line, code::one_digit, line.value);
    else
        judge_unused(section, line, how);
}

// WDS

static const char *why_no_wds(const char *list)
{
    int count = 0;
    if (!isdigit(static_cast<unsigned char>(list[0])))
        return "a list that does not begin with a digit sets up no link";
    for (const char *item = list; item != nullptr; item = strchr(item, ';'), count++) {
        item += *item == ';' ? 1 : 0;
        char text[32];
        unsigned char mac[6];
        text_format(text, sizeof(text), "%.*s", static_cast<int>(strcspn(item, ";")), item);
        if (!parse_mac_text(text, mac))
            return "an entry is no MAC address";
    }
    return count > WDS_LINKS ? "only the first four entries get a link" : nullptr;
}

static bool is_wds_on(const nvram_section &section)
{
    char mode[NVRAM_VALUE_MAX];
    get_value(section, WDS_MODE_KEY, mode);
    return is_one_of(mode, wds_modes);
}

static void judge_wds_mode(const nvram_section &section, const nvram_line &line)
{
    uint32_t mode;
    if (is_wds_on(section)) {
        if (find_name(section.keys, WDS_LIST_KEY) == nullptr)
            tell(section, line, code::wds_list, why_no_wds(""));
    } else if (parse_number(line.value, 0x7fffffff, &mode) && mode != 0) {
        tell(section, line, code::wds_mode);
    }
}

static void judge_wds_list(const nvram_section &section, const nvram_line &line)
{
    const char *reason = is_wds_on(section) ? why_no_wds(line.value) : nullptr;
    if (reason != nullptr)
        tell(section, line, code::wds_list, reason);
}

static void judge_radio(const nvram_section &section, const nvram_line &line)
{
    if (is_number(line.value) && strcmp(line.value, "0") != 0 && strcmp(line.value, "1") != 0)
        tell(section, line, code::flag, line.value);
}

struct key_judge {
    const char *pattern;
    void (*judge)(const nvram_section &section, const nvram_line &line);
};

// clang-format off
constexpr key_judge key_judges[] = {
    {BSS_COUNT_KEY, judge_count},
    {SSID_KEY, judge_ssid_line},
    {AUTH_KEY, judge_auth},
    {ENCRYPTION_KEY, judge_ciphers},
    {IEEE8021X_KEY, judge_8021x},
    {OWN_ADDRESS_KEY, judge_own_address},
    {WDS_MODE_KEY, judge_wds_mode},
    {WDS_LIST_KEY, judge_wds_list},
    {RADIO_OFF_KEY, judge_radio},
};
// clang-format on

static void judge_line(const nvram_section &section, const nvram_line &line)
{
    judge_form(section, line);
    for (const key_judge &row : key_judges) {
        if (is_key_of(line.key, row.pattern, 1, NETWORKS_MAX, strcmp))
            row.judge(section, line);
    }
}

void judge_nvram_wireless(const settings &all, source which)
{
    nvram_section section = {all, file_of(all, which), {}};
    char count[NVRAM_VALUE_MAX];
    begin_section(&section);
    get_value(section, BSS_COUNT_KEY, count);
    if (section.keys.count > 0 && count[0] == '\0')
        find(all.r, 0, BSS_COUNT_KEY, code::bss_count);
    judge_section(section, is_known_key, judge_line);
    end_section(&section);
}
