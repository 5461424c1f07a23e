#include "ctl/check/fields.h"

#include "ctl/check/values.h"

#include <string.h>

size_t kept_length(const char *word, size_t capacity)
{
    size_t length = strlen(word);
    return length < capacity ? length : capacity - 1;
}

bool take_field(const settings &all, unsigned line, const char *name, char *word, size_t capacity)
{
    size_t kept = kept_length(word, capacity);
    cut_line_end(word);
    size_t length = strlen(word);
    if (length >= capacity) {
        find_number(all.r, line, name, code::field_cut, capacity - 1);
        return false;
    }
    if (kept != length) {
        find(all.r, line, name, code::line_end_kept);
        return false;
    }
    if (has_control_characters(word)) {
        find(all.r, line, name, code::odd_character);
        return false;
    }
    return true;
}

void judge_extra(const settings &all, unsigned line, const line_words &words, size_t fields)
{
    if (words.count <= fields)
        return;
    const char *extra = words.word[fields];
    if (extra[0] != '-' && extra[0] != '#')
        find(all.r, line, "-", code::extra_fields);
}
