#include "ctl/check/judges.h"
#include "ctl/check/lines.h"
#include "util/text.h"
#include "util/time_zone.h"

#include <ctype.h>
#include <string.h>

constexpr uint32_t OFFSET_HOURS_MAX = 15; // a kernel refuses more
constexpr uint32_t DAY_HOURS = 24;

// Each of these moves on behind what it names and tells whether it was there.

static bool skip_name(const char **p)
{
    const char *start = *p;
    bool is_quoted = *start == '<';
    size_t length = 0;
    const char *text = start + (is_quoted ? 1 : 0);
    while (isalpha(static_cast<unsigned char>(text[length])) ||
           (is_quoted && (isdigit(static_cast<unsigned char>(text[length])) ||
                          text[length] == '+' || text[length] == '-')))
        length++;
    if (length < 3 || (is_quoted && text[length] != '>'))
        return false;
    *p = text + length + (is_quoted ? 1 : 0);
    return true;
}

static bool skip_number(const char **p, uint32_t most, uint32_t *value)
{
    size_t digits = strspn(*p, "0123456789");
    if (digits == 0 || digits > (most > 99 ? 3 : 2))
        return false;
    *value = 0;
    for (size_t i = 0; i < digits; i++)
        *value = *value * 10 + static_cast<unsigned>(*(*p)++ - '0');
    return *value <= most;
}

// HOURS[:MINUTES[:SECONDS]] with a sign or none.
static bool skip_offset(const char **p, uint32_t most_hours, bool *is_whole)
{
    uint32_t value;
    if (**p == '+' || **p == '-')
        (*p)++;
    if (!skip_number(p, most_hours, &value))
        return false;
    for (int i = 0; i < 2 && **p == ':'; i++) {
        (*p)++;
        if (!skip_number(p, 59, &value))
            return false;
        *is_whole = *is_whole && value == 0;
    }
    return true;
}

static bool skip_sign(const char **p, char sign)
{
    if (**p != sign)
        return false;
    (*p)++;
    return true;
}

// The last Sunday of March is M3.5.0; J1 and 0 are the first of January.
static bool skip_day(const char **p)
{
    uint32_t value;
    if (skip_sign(p, 'M'))
        return skip_number(p, 12, &value) && value > 0 && skip_sign(p, '.') &&
               skip_number(p, 5, &value) && value > 0 && skip_sign(p, '.') &&
               skip_number(p, 6, &value);
    bool is_from_one = skip_sign(p, 'J');
    return skip_number(p, 365, &value) && (value > 0 || !is_from_one);
}

static bool skip_change(const char **p)
{
    bool is_whole = true; // of no matter here
    return skip_sign(p, ',') && skip_day(p) &&
           (!skip_sign(p, '/') || skip_offset(p, DAY_HOURS, &is_whole));
}

// ",START,END" behind the name of summer time, each a day with "/TIME" or not.
static bool is_rule(const char *text)
{
    return skip_change(&text) && skip_change(&text) && *text == '\0';
}

// Leaves is_whole alone unless an offset has minutes.
static bool is_zone(const char *text, bool *is_whole)
{
    if (strcmp(text, "UTC") == 0 || strcmp(text, "GMT") == 0)
        return true;
    const char *p = text;
    if (!skip_name(&p) || !skip_offset(&p, OFFSET_HOURS_MAX, is_whole))
        return false;
    if (*p == '\0')
        return true;
    if (!skip_name(&p))
        return false;
    bool is_summer_whole = true;
    if (*p != '\0' && *p != ',' && !skip_offset(&p, OFFSET_HOURS_MAX, &is_summer_whole))
        return false;
    *is_whole = *is_whole && is_summer_whole;
    return *p == '\0' || is_rule(p);
}

static void judge_first(const settings &all, const settings_line &line)
{
    char text[ZONE_TEXT_MAX];
    bool is_whole = true;
    if (line.length >= sizeof(text)) {
        find_number(all.r, line.number, "zone", code::field_cut, sizeof(text) - 1);
        return;
    }
    text_set(text, line.text);
    trim_r(text);
    if (!is_zone(text, &is_whole) || strlen(text) > line.length)
        find(all.r, line.number, "zone", code::zone, text);
    else if (!is_whole)
        find(all.r, line.number, "zone", code::zone_minutes);
}

void judge_zone(const settings &all, source which)
{
    line_reader reader = begin_lines(file_of(all, which));
    settings_line line;
    if (!next_line(&reader, &line)) {
        find(all.r, 0, "zone", code::zone);
        return;
    }
    judge_first(all, line);
    if (next_line(&reader, &line))
        find(all.r, line.number, "-", code::zone_lines);
}
