#include "ctl/check/nvram_networks.h"

#include "util/text.h"
#include "wireless/profile_keys.h"

#include <string.h>

constexpr size_t SSID_LENGTH_MAX = 32;

uint32_t count_networks(const nvram_section &section)
{
    char value[NVRAM_VALUE_MAX];
    uint32_t count = 0;
    get_value(section, BSS_COUNT_KEY, value);
    return parse_number(value, NETWORKS_MAX, &count) ? count : 0;
}

void numbered_key(char (&key)[NVRAM_KEY_MAX], const char *pattern, uint32_t number)
{
    text_set(key, pattern);
    char *mark = strchr(key, '#');
    if (mark != nullptr)
        *mark = static_cast<char>('0' + number);
}

bool is_number(const char *text)
{
    uint32_t number;
    return parse_number(text[0] == '-' ? text + 1 : text, 2147483647, &number);
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

void judge_count(const nvram_section &section, const nvram_line &line)
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

void judge_ssid_line(const nvram_section &section, const nvram_line &line)
{
    uint32_t number = static_cast<uint32_t>(line.key[strlen(line.key) - 1] - '0');
    if (number <= count_networks(section))
        judge_ssid(section, line.number, number);
}
