#include "ctl/check/judges.h"
#include "ctl/check/nvram.h"
#include "util/mac.h"
#include "util/mmac.h"
#include "util/text.h"

#include <string.h>
#include <strings.h>

constexpr char BASE_KEY[] = "ethaddr";
constexpr char WAN_KEY[] = "wanmac";
constexpr char WLAN_KEY[] = "wlanmac";

static bool is_known_key(const char *key, char (&known)[NVRAM_KEY_MAX])
{
    for (size_t i = 0; parameter_key(i) != nullptr; i++) {
        if (strcmp(parameter_key(i), key) == 0)
            return true;
    }
    for (size_t i = 0; known[0] == '\0' && parameter_key(i) != nullptr; i++) {
        if (strcasecmp(parameter_key(i), key) == 0)
            text_set(known, parameter_key(i));
    }
    return known[0] != '\0';
}

static bool parse_value(const char *value, unsigned char (&mac)[MAC_BYTES])
{
    text_piece inner = without_quotes(value);
    char text[NVRAM_VALUE_MAX];
    text_set(text, inner);
    return parse_mac_text(text, mac) && mac[0] % 2 == 0;
}

static bool get_base(const nvram_section &section, unsigned char (&mac)[MAC_BYTES])
{
    char value[NVRAM_VALUE_MAX];
    get_value(section, BASE_KEY, value);
    return parse_value(value, mac);
}

static void judge_wan(const nvram_section &section, const nvram_line &line,
                      const unsigned char (&mac)[MAC_BYTES])
{
    unsigned char base[MAC_BYTES];
    if (!get_base(section, base))
        return;
    base[MAC_BYTES - 1]++;
    char text[MAC_TEXT_MAX];
    if (memcmp(base, mac, sizeof(base)) != 0)
        tell(section, line, code::wanmac_unused, format_mac(base, text));
}

static void judge_line(const nvram_section &section, const nvram_line &line)
{
    bool is_base = strcmp(line.key, BASE_KEY) == 0;
    bool is_wan = strcmp(line.key, WAN_KEY) == 0;
    unsigned char mac[MAC_BYTES];
    if (line.value[0] == '\0' || (!is_base && !is_wan && strcmp(line.key, WLAN_KEY) != 0))
        return;
    if (!parse_value(line.value, mac))
        tell(section, line, code::mac, line.value);
    else if (is_base && mac[MAC_BYTES - 1] == 0xff)
        tell(section, line, code::mac_wraps);
    else if (is_wan)
        judge_wan(section, line, mac);
}

void judge_nvram_device(const settings &all, source which)
{
    nvram_section section = {all, file_of(all, which), {}};
    char value[NVRAM_VALUE_MAX];
    begin_section(&section);
    get_value(section, BASE_KEY, value);
    if (value[0] == '\0')
        find(all.r, 0, BASE_KEY, code::no_base_mac);
    judge_section(section, is_known_key, judge_line);
    end_section(&section);
}
