#include "ctl/check/nvram_auth.h"

#include "ctl/check/nvram_networks.h"
#include "ctl/check/values.h"
#include "util/text.h"
#include "wireless/start.h"

#include <string.h>

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
    uint32_t slot;
    if (!parse_number(item, 4, &slot) || slot == 0)
        slot = 1;
    char key[NVRAM_KEY_MAX];
    text_format(key, sizeof(key), "Key%uStr%u", slot, number);
    if (!is_set(section, key))
        tell(section, line, code::auth_key, mode, key);
}

static void judge_server(const nvram_section &section, const nvram_line &line, const char *mode)
{
    static constexpr const char *needed[] = {"RADIUS_Server", "RADIUS_Key"};
    for (const char *key : needed) {
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

void judge_ciphers(const nvram_section &section, const nvram_line &line)
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

void judge_auth(const nvram_section &section, const nvram_line &line)
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

// Whether the list has nothing but a 0 or a 1, or nothing at all, for each network.
static bool is_flag_list(const char *list)
{
    for (const char *p = list; *p != '\0'; p++) {
        bool is_second = p > list && p[-1] != ';';
        if (*p != ';' && (is_second || (*p != '0' && *p != '1')))
            return false;
    }
    return true;
}

void judge_8021x(const nvram_section &section, const nvram_line &line)
{
    if (!is_flag_list(line.value))
        tell(section, line, code::flag, line.value);
    else if (strchr(line.value, '1') != nullptr && strcmp(line.value, "1") != 0)
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

void judge_own_address(const nvram_section &section, const nvram_line &line)
{
    const interface_facts &lan = section.all.interfaces[LAN];
    uint32_t address = 0;
    if (!lan.has_network || !needs_authenticator(section) ||
        (parse_ipv4(line.value, &address) && address == lan.network.address))
        return;
    char text[NETWORK_TEXT_MAX];
    format_network(text, {lan.network.address, 0xffffffff});
    text[strcspn(text, "/")] = '\0';
    tell(section, line, code::own_address, text);
}
