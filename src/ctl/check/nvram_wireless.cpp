#include "ctl/check/judges.h"
#include "ctl/check/nvram.h"
#include "util/text.h"
#include "wireless/profile_keys.h"
#include "wireless/start.h"

#include <ctype.h>
#include <initializer_list>
#include <string.h>
#include <strings.h>

constexpr uint32_t NETWORKS_MAX = 4;
constexpr size_t SSID_LENGTH_MAX = 32;
constexpr char SSID_KEY[] = "SSID#";
constexpr char AUTH_KEY[] = "AuthMode";
constexpr char ENCRYPTION_KEY[] = "EncrypType";
constexpr char WDS_MODE_KEY[] = "WdsEnable";
constexpr char WDS_LIST_KEY[] = "WdsList";
constexpr char IEEE8021X_KEY[] = "IEEE8021X";
constexpr char OWN_ADDRESS_KEY[] = "own_ip_addr";

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
    const char *pattern; // null for none
    profile_form how;
};

static known_key find_key(const char *key, int (*compare)(const char *, const char *))
{
    for (const profile_row &row : profile_rows) {
        if (is_key_of(key, row.key, row.first, row.last, compare))
            return {row.key, row.how};
    }
    for (const char *source : {WSC_CONFIGURED_KEY, RADIO_OFF_KEY}) {
        if (compare(key, source) == 0)
            return {source, profile_form::number};
    }
    return {nullptr, profile_form::text};
}

static bool is_known_key(const char *key, const char **known)
{
    if (find_key(key, strcmp).pattern != nullptr)
        return true;
    *known = find_key(key, strcasecmp).pattern;
    return *known != nullptr;
}

static bool is_number(const char *text)
{
    uint32_t number;
    return parse_number(text[0] == '-' ? text + 1 : text, 2147483647, &number);
}

static bool is_digit(const char *text)
{
    return isdigit(static_cast<unsigned char>(text[0])) && text[1] == '\0';
}

static void tell(const nvram_section &section, const nvram_line &line, code id,
                 const char *first = "", const char *second = "")
{
    find(section.all.r, line.number, line.key, id, first, second);
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

// Networks

static uint32_t count_networks(const nvram_section &section)
{
    char value[NVRAM_VALUE_MAX];
    uint32_t count = 0;
    get_value(section, BSS_COUNT_KEY, value);
    return parse_number(value, NETWORKS_MAX, &count) ? count : 0;
}

static void numbered_key(char (&key)[NVRAM_KEY_MAX], const char *pattern, uint32_t number)
{
    text_set(key, pattern);
    char *mark = strchr(key, '#');
    if (mark != nullptr)
        *mark = static_cast<char>('0' + number);
}

static void judge_ssid(const nvram_section &section, unsigned line, uint32_t number)
{
    char key[NVRAM_KEY_MAX];
    char value[NVRAM_VALUE_MAX];
    numbered_key(key, SSID_KEY, number);
    get_value(section, key, value);
    size_t length = strlen(value);
    if (length == 0 || length > SSID_LENGTH_MAX)
        find_number(section.all.r, line, key, code::ssid, number);
}

static void judge_count(const nvram_section &section, const nvram_line &line)
{
    uint32_t count = count_networks(section);
    if (count == 0) {
        if (is_number(line.value))
            tell(section, line, code::bss_count, line.value);
        return;
    }
    for (uint32_t i = 1; i <= count; i++) {
        char key[NVRAM_KEY_MAX];
        numbered_key(key, SSID_KEY, i);
        if (find_name(section.keys, key) == nullptr)
            judge_ssid(section, line.number, i);
    }
    if (count > 2)
        tell(section, line, code::bss_unbridged, count == 3 ? "ra2, not ra1" : "ra3, not ra1, ra2");
}

static void judge_ssid_line(const nvram_section &section, const nvram_line &line)
{
    uint32_t number = static_cast<uint32_t>(line.key[strlen(line.key) - 1] - '0');
    if (number <= count_networks(section))
        judge_ssid(section, line.number, number);
}

// How devices prove who they are

enum class proof : unsigned char { none, wep, passphrase, server };

struct auth_mode {
    const char *name;
    proof by;
};

// clang-format off
constexpr auth_mode auth_modes[] = {
    {"OPEN", proof::none},
    {"SHARED", proof::wep},
    {"WEPAUTO", proof::wep},
    {"WPAPSK", proof::passphrase},
    {"WPA2PSK", proof::passphrase},
    {"WPAPSKWPA2PSK", proof::passphrase},
    {"WPA", proof::server},
    {"WPA2", proof::server},
    {"WPA1WPA2", proof::server},
};
// clang-format on

constexpr const char *strong_ciphers[] = {"TKIP", "AES", "TKIPAES"};
constexpr const char *open_ciphers[] = {"NONE", "WEP"};

static const auth_mode *find_mode(const char *name)
{
    for (const auth_mode &row : auth_modes) {
        if (strcmp(row.name, name) == 0)
            return &row;
    }
    return nullptr;
}

// The item of a list with ";" between its items; the last one when there are not so many.
static void get_item(char (&item)[NVRAM_VALUE_MAX], const char *list, uint32_t index)
{
    const char *next = strchr(list, ';');
    for (; index > 0 && next != nullptr; index--) {
        list = next + 1;
        next = strchr(list, ';');
    }
    text_format(item, sizeof(item), "%.*s",
                static_cast<int>(next != nullptr ? next - list : static_cast<long>(strlen(list))),
                list);
}

static bool is_passphrase(const char *text)
{
    size_t length = strlen(text);
    if (length == 64)
        return strspn(text, "0123456789abcdefABCDEF") == length;
    return length >= 8 && length < 64;
}

static bool is_set(const nvram_section &section, const char *key)
{
    char value[NVRAM_VALUE_MAX];
    get_value(section, key, value);
    return value[0] != '\0';
}

static void judge_passphrase(const nvram_section &section, const nvram_line &line, const char *mode,
                             uint32_t number)
{
    char key[NVRAM_KEY_MAX];
    char value[NVRAM_VALUE_MAX];
    numbered_key(key, "WPAPSK#", number);
    get_value(section, key, value);
    if (is_passphrase(value))
        return;
    char needed[64];
    text_format(needed, sizeof(needed), "%s, 8 to 63 characters", key);
    tell(section, line, code::auth_key, mode, needed);
}

static void judge_wep(const nvram_section &section, const nvram_line &line, const char *mode,
                      uint32_t number)
{
    char value[NVRAM_VALUE_MAX];
    char item[NVRAM_VALUE_MAX];
    get_value(section, "DefaultKeyID", value);
    get_item(item, value, number - 1);
    uint32_t slot = 1;
    if (!parse_number(item, 4, &slot) || slot == 0)
        slot = 1;
    char key[NVRAM_KEY_MAX];
    text_format(key, sizeof(key), "Key%uStr%u", slot, number);
    if (!is_set(section, key))
        tell(section, line, code::auth_key, mode, key);
}

static void judge_server(const nvram_section &section, const nvram_line &line, const char *mode)
{
    for (const char *key : {"RADIUS_Server", "RADIUS_Key"}) {
        if (!is_set(section, key))
            tell(section, line, code::auth_key, mode, key);
    }
    if (strcmp(mode, line.value) != 0)
        tell(section, line, code::auth_list, mode);
}

static void judge_proof(const nvram_section &section, const nvram_line &line, const auth_mode &mode,
                        uint32_t number)
{
    switch (mode.by) {
    case proof::none:
        return;
    case proof::wep:
        judge_wep(section, line, mode.name, number);
        return;
    case proof::passphrase:
        judge_passphrase(section, line, mode.name, number);
        return;
    case proof::server:
        judge_server(section, line, mode.name);
        return;
    }
}

static bool do_agree(const auth_mode &mode, const char *cipher)
{
    switch (mode.by) {
    case proof::none:
        return is_one_of(cipher, open_ciphers);
    case proof::wep:
        return strcmp(cipher, "WEP") == 0;
    case proof::passphrase:
    case proof::server:
        break;
    }
    return is_one_of(cipher, strong_ciphers);
}

// At the line of either key.
static void judge_ciphers(const nvram_section &section, const nvram_line &line)
{
    char modes[NVRAM_VALUE_MAX];
    char ciphers[NVRAM_VALUE_MAX];
    get_value(section, AUTH_KEY, modes);
    get_value(section, ENCRYPTION_KEY, ciphers);
    for (uint32_t i = 0; i < count_networks(section); i++) {
        char mode[NVRAM_VALUE_MAX];
        char cipher[NVRAM_VALUE_MAX];
        get_item(mode, modes, i);
        get_item(cipher, ciphers, i);
        const auth_mode *row = find_mode(mode);
        if (row == nullptr || do_agree(*row, cipher))
            continue;
        tell(section, line, code::encryption, mode, cipher);
        return;
    }
}

static void judge_auth(const nvram_section &section, const nvram_line &line)
{
    for (uint32_t i = 0; i < count_networks(section); i++) {
        char item[NVRAM_VALUE_MAX];
        get_item(item, line.value, i);
        const auth_mode *mode = find_mode(item);
        if (mode == nullptr) {
            tell(section, line, code::auth_mode, item);
            return;
        }
        judge_proof(section, line, *mode, i + 1);
    }
    if (find_name(section.keys, ENCRYPTION_KEY) == nullptr)
        judge_ciphers(section, line);
}

static bool has_item(const char *list, const char *wanted)
{
    for (const char *item = list; item != nullptr; item = strchr(item, ';')) {
        item += *item == ';' ? 1 : 0;
        size_t length = strcspn(item, ";");
        if (length == strlen(wanted) && strncmp(item, wanted, length) == 0)
            return true;
    }
    return false;
}

static void judge_8021x(const nvram_section &section, const nvram_line &line)
{
    if (has_item(line.value, "1") && strcmp(line.value, "1") != 0)
        tell(section, line, code::auth_list, "IEEE8021X 1");
}

static bool needs_authenticator(const nvram_section &section)
{
    char value[NVRAM_VALUE_MAX];
    get_value(section, AUTH_KEY, value);
    if (is_one_of(value, authenticated_modes))
        return true;
    get_value(section, IEEE8021X_KEY, value);
    return strcmp(value, "1") == 0;
}

static void judge_own_address(const nvram_section &section, const nvram_line &line)
{
    const interface_facts &lan = section.all.interfaces[LAN];
    uint32_t address = 0;
    if (!lan.has_network || !needs_authenticator(section) ||
        (parse_ipv4(line.value, &address) && address == lan.network.address))
        return;
    char text[NETWORK_TEXT_MAX];
    format_network(text, {lan.network.address, 0xffffffff});
    *strchr(text, '/') = '\0';
    tell(section, line, code::own_address, text);
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
    uint32_t mode = 0;
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
    begin_section(&section);
    if (section.keys.count > 0 && find_name(section.keys, BSS_COUNT_KEY) == nullptr)
        find(all.r, 0, BSS_COUNT_KEY, code::bss_count);
    judge_section(section, is_known_key, judge_line);
    end_section(&section);
}
