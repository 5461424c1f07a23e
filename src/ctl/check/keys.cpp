#include "config/source_formats.h"
#include "ctl/check/judges.h"
#include "ctl/check/lines.h"
#include "util/text.h"

#include <ctype.h>
#include <string.h>

// The latest line of a key, for lines that say otherwise.
struct key_seen {
    unsigned line;
    char value[SETTINGS_LINE_MAX];
};

constexpr size_t KEYS_MAX = 3;

// One line of a file of this kind, taken apart.
struct key_line {
    const settings &all;
    unsigned number;
    const key_row *row;
    char *value; // as read
    char *plain; // without its line end
};

static void tell(const key_line &line, code id, const char *first = "", const char *second = "")
{
    find(line.all.r, line.number, line.row->key, id, first, second);
}

static void judge_dns_auto(const key_line &line)
{
    if (strcmp(line.plain, "0") == 0) {
        if (strcmp(line.value, "0") != 0)
            tell(line, code::off_is_on, "a 0 with a line end behind it is taken for a name",
                 "write it as the last line, and no line end behind it, or leave it out");
        return;
    }
    bool is_link = strcmp(line.plain, "wan") == 0 || strcmp(line.plain, "wimax") == 0;
    if (!is_link && find_name(line.all.peers, line.plain) == nullptr)
        tell(line, code::dns_unknown, line.plain);
}

static void judge_address(const key_line &line)
{
    uint32_t address;
    if (!parse_ipv4(line.plain, &address))
        tell(line, code::address, line.plain);
}

static void judge_flag(const key_line &line)
{
    if (strcmp(line.value, "0") != 0 && is_no_word(line.plain))
        tell(line, code::off_is_on, "only a 0 without a line end behind it counts",
             "write 0 as the last line, and no line end behind it");
}

static void judge_presence(const key_line &line)
{
    if (line.plain[0] == '\0' || is_no_word(line.plain))
        tell(line, code::off_is_on, "the line is enough, whatever its value", "leave it out");
}

static void judge_name(const key_line &line)
{
    if (isspace(static_cast<unsigned char>(line.value[0])))
        tell(line, code::blank_name);
}

static void judge_form(const key_line &line)
{
    switch (line.row->how) {
    case key_form::flag_and_name:
        judge_dns_auto(line);
        return;
    case key_form::text:
        judge_address(line);
        return;
    case key_form::flag:
        judge_flag(line);
        return;
    case key_form::presence:
        judge_presence(line);
        return;
    case key_form::text_or_null:
        judge_name(line);
        return;
    }
}

static void judge_twice(const key_line &line, key_seen *seen)
{
    if (seen->line != 0 && strcmp(seen->value, line.value) != 0)
        find_number(line.all.r, line.number, line.row->key, code::key_twice, seen->line,
                    "the later one counts");
    seen->line = line.number;
    text_set(seen->value, line.value);
}

static void judge_value(const key_line &line, bool is_cut, key_seen *seen)
{
    judge_twice(line, seen);
    if (line.plain[0] == '\0' && line.row->how != key_form::presence)
        tell(line, code::no_value);
    else if (is_cut)
        tell(line, code::value_cut);
    else if (!is_utf8(line.plain))
        tell(line, code::not_utf8);
    else if (has_control_characters(line.plain))
        tell(line, code::odd_character);
    else
        judge_form(line);
}

struct key_table {
    const line_format &format;
    const key_row *rows;
    size_t count;
    const char *words; // what can be written
};

static const key_row *find_key(const key_table &table, const char *key)
{
    for (size_t i = 0; i < table.count; i++) {
        if (strcmp(table.rows[i].key, key) == 0)
            return &table.rows[i];
    }
    return nullptr;
}

static void judge_without_value(const settings &all, unsigned number, const key_table &table,
                                char *key)
{
    bool has_line_end = cut_line_end(key);
    const key_row *row = find_key(table, key);
    if (row == nullptr)
        find(all.r, number, "-", code::unknown_key, key, table.words);
    else if (has_line_end || row->how != key_form::presence)
        find(all.r, number, row->key, code::no_value);
}

static void judge_key_line(const settings &all, unsigned number, const key_table &table,
                           const line_words &words, key_seen *seen)
{
    if (words.all < 2) {
        judge_without_value(all, number, table, words.word[0]);
        return;
    }
    const key_row *row = find_key(table, words.word[0]);
    if (row == nullptr) {
        find(all.r, number, "-", code::unknown_key, words.word[0], table.words);
        return;
    }
    char plain[SETTINGS_LINE_MAX];
    text_set(plain, words.word[1]);
    cut_line_end(plain);
    judge_value({all, number, row, words.word[1], plain}, words.count > 2, &seen[row - table.rows]);
}

static void judge_keys(const settings &all, source which, const key_table &table)
{
    key_seen seen[KEYS_MAX] = {};
    line_reader reader = begin_lines(file_of(all, which));
    settings_line line;
    while (next_line(&reader, &line)) {
        line_words words;
        const line_format &format = table.format;
        if (!is_entry(&reader, line, format.hash_lines, all.r))
            continue;
        split_line(line, format.separators, format.separators, format.end, &words);
        if (words.all > 0)
            judge_key_line(all, line.number, table, words, seen);
    }
}

template <size_t N> constexpr size_t count_of(const key_row (&)[N])
{
    static_assert(N <= KEYS_MAX);
    return N;
}

void judge_dns(const settings &all, source which)
{
    judge_keys(all, which, {dns_format, dns_keys, count_of(dns_keys), "auto, dns1 or dns2"});
}

void judge_wimax(const settings &all, source which)
{
    judge_keys(
        all, which,
        {wimax_format, wimax_keys, count_of(wimax_keys), "WIMAX_ENABLE, WIMAX_SSID or WIMAX_DOFF"});
}
