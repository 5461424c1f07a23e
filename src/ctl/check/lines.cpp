#include "ctl/check/lines.h"

#include "util/text.h"

#include <ctype.h>
#include <string.h>

constexpr size_t ENTRY_MAX = SETTINGS_LINE_MAX - 1;

line_reader begin_lines(const loaded_file &file)
{
    return {&file, 0, 0, false};
}

bool next_line(line_reader *reader, settings_line *line)
{
    size_t left = reader->file->length - reader->position;
    if (left == 0)
        return false;
    line->raw = reader->file->bytes + reader->position;
    const void *end = memchr(line->raw, '\n', left);
    size_t taken = left;
    line->length = left;
    if (end != nullptr) {
        line->length = static_cast<size_t>(static_cast<const char *>(end) - line->raw);
        taken = line->length + 1;
    }
    size_t kept = taken < ENTRY_MAX ? taken : ENTRY_MAX;
    memcpy(line->text, line->raw, kept);
    line->text[kept] = '\0';
    line->number = ++reader->number;
    reader->position += taken;
    return true;
}

bool says_nothing(const settings_line &line)
{
    for (size_t i = 0; i < line.length; i++) {
        if (!isspace(static_cast<unsigned char>(line.raw[i])))
            return line.raw[i] == '#';
    }
    return true;
}

static bool is_blank(const settings_line &line)
{
    for (size_t i = 0; i < line.length; i++) {
        if (!isspace(static_cast<unsigned char>(line.raw[i])))
            return false;
    }
    return true;
}

static void tell(report *r, const settings_line &line, code id)
{
    if (r != nullptr)
        find(r, line.number, "-", id);
}

static bool is_passed_over(const settings_line &line, comments hash_lines, report *r)
{
    if (line.length == 0 || is_skipped_line(line.text[0], hash_lines)) {
        if (!says_nothing(line))
            tell(r, line, code::indented);
        return true;
    }
    if (line.text[0] != '#')
        return false;
    tell(r, line, code::hash_entry);
    return true;
}

bool is_entry(line_reader *reader, const settings_line &line, comments hash_lines, report *r)
{
    if (line.length > ENTRY_MAX) {
        if (!is_blank(line))
            tell(r, line, code::long_line);
        return false;
    }
    if (line.length > 0 && line.raw[line.length - 1] == '\r' && !reader->has_return) {
        reader->has_return = true;
        tell(r, line, code::carriage_return);
    }
    if (is_passed_over(line, hash_lines, r))
        return false;
    if (memchr(line.raw, '\0', line.length) != nullptr) {
        tell(r, line, code::nul_byte);
        return false;
    }
    return true;
}

bool has_entries(const loaded_file &file, comments hash_lines)
{
    line_reader reader = begin_lines(file);
    settings_line line;
    while (next_line(&reader, &line)) {
        if (!is_skipped_line(line.text[0], hash_lines))
            return true;
    }
    return false;
}

static bool is_nothing(const char *word)
{
    while (isspace(static_cast<unsigned char>(*word)))
        word++;
    return *word == '\0';
}

void split_line(const settings_line &line, const char *first_separators, const char *separators,
                field_end end, line_words *words)
{
    memcpy(words->text, line.text, sizeof(words->text));
    words->all = 0;
    char *rest = nullptr;
    for (char *word = strtok_r(words->text, first_separators, &rest);
         word != nullptr && words->all < WORDS_MAX; word = strtok_r(nullptr, separators, &rest)) {
        words->word[words->all++] = end == field_end::trimmed ? trim_r(word) : word;
    }
    words->count = words->all;
    if (words->count > 0 && is_nothing(words->word[words->count - 1]))
        words->count--;
}

bool cut_line_end(char *word)
{
    bool has_line_end = strchr(word, '\n') != nullptr;
    trim_r(word);
    return has_line_end;
}
