#include "ctl/check/nvram.h"

#include "ctl/check/lines.h"
#include "platform/nvram.h"
#include "util/text.h"

#include <ctype.h>
#include <string.h>

// The length of the key, or the line's when it has no "=".
static size_t key_length(const char *raw, size_t length)
{
    const void *equals = memchr(raw, '=', length);
    return equals == nullptr ? length
                             : static_cast<size_t>(static_cast<const char *>(equals) - raw);
}

void begin_section(nvram_section *section)
{
    line_reader reader = begin_lines(section->file);
    settings_line line;
    while (next_line(&reader, &line)) {
        size_t length = key_length(line.raw, line.length);
        if (length < line.length)
            add_name(&section->keys, {line.raw, length, line.number, true, false});
    }
    sort_names(&section->keys);
}

void end_section(nvram_section *section)
{
    forget_names(&section->keys);
}

void get_value(const nvram_section &section, const char *key, char (&value)[NVRAM_VALUE_MAX])
{
    value[0] = '\0';
    const named_line *row = find_name(section.keys, key);
    if (row == nullptr)
        return;
    const char *start = row->name + row->length + 1;
    const char *file_end = section.file.bytes + section.file.length;
    size_t left = static_cast<size_t>(file_end - start);
    const void *end = memchr(start, '\n', left);
    size_t length =
        end == nullptr ? left : static_cast<size_t>(static_cast<const char *>(end) - start);
    text_set(value, text_piece{start, length});
}

void tell(const nvram_section &section, const nvram_line &line, code id, const char *first,
          const char *second)
{
    find(section.all.r, line.number, line.key, id, first, second);
}

static bool has_controls(const char *bytes, size_t length)
{
    for (size_t i = 0; i < length; i++) {
        if (iscntrl(static_cast<unsigned char>(bytes[i])))
            return true;
    }
    return false;
}

// The key without the blanks around it, which are no part of what was meant. The "=" behind it is
// none.
static void get_meant(char (&meant)[NVRAM_KEY_MAX], const char *raw, size_t length)
{
    while (isspace(static_cast<unsigned char>(*raw))) {
        raw++;
        length--;
    }
    text_set(meant, text_piece{raw, length});
    trim_r(meant);
}

// Says what is wrong with a key. Returns whether its line is one that the router reads.
static bool judge_key(const nvram_section &section, const settings_line &line, size_t length,
                      key_test is_known)
{
    report *r = section.all.r;
    char meant[NVRAM_KEY_MAX];
    char known[NVRAM_KEY_MAX] = "";
    get_meant(meant, line.raw, length);
    if (!is_known(meant, known))
        return false;
    if (known[0] != '\0' || strlen(meant) != length) {
        find(r, line.number, meant, code::nvram_key, known[0] != '\0' ? known : meant, meant);
        return false;
    }
    const named_line *first = find_name(section.keys, meant);
    if (first == nullptr || first->line == line.number)
        return true;
    find_number(r, line.number, meant, code::key_again, first->line);
    return false;
}

static bool is_pair(const nvram_section &section, const settings_line &line)
{
    if (says_nothing(line))
        return false;
    if (memchr(line.raw, '\0', line.length) != nullptr) {
        find(section.all.r, line.number, "-", code::nul_byte);
        return false;
    }
    if (key_length(line.raw, line.length) < line.length)
        return true;
    find(section.all.r, line.number, "-", code::nvram_line);
    return false;
}

void judge_section(const nvram_section &section, key_test is_known,
                   void (*judge)(const nvram_section &section, const nvram_line &line))
{
    if (section.file.length > NVRAM_SECTION_MAX) {
        find_number(section.all.r, 0, "-", code::section_full, NVRAM_SECTION_MAX / 1024);
        return;
    }
    line_reader reader = begin_lines(section.file);
    settings_line line;
    while (next_line(&reader, &line)) {
        size_t length = key_length(line.raw, line.length);
        if (!is_pair(section, line) || !judge_key(section, line, length, is_known))
            continue;
        nvram_line parts = {line.number, "", ""};
        text_set(parts.key, text_piece{line.raw, length});
        get_value(section, parts.key, parts.value);
        if (has_controls(line.raw, line.length))
            find(section.all.r, line.number, parts.key, code::nvram_character);
        else
            judge(section, parts);
    }
}
