#include "firewall/rule_list.h"

#include "util/log.h"
#include "util/text.h"

#include <string.h>

bool open_list(list_reader *reader, const list_format &format)
{
    reader->format = &format;
    reader->entry = {};
    reader->is_torn = false;
    reader->file = open_settings(format.path);
    return reader->file != nullptr;
}

static void log_field(const char *tag, size_t index, const char (&field)[LIST_FIELD_MAX])
{
    constexpr size_t DIGIT = sizeof("data[") - 1;
    constexpr size_t START = sizeof("data[0] = ") - 1;
    static_assert(LIST_FIELDS_MAX <= 10, "one digit");
    char line[START + LIST_FIELD_MAX] = "data[0] = ";
    line[DIGIT] = static_cast<char>('0' + index);
    memcpy(line + START, field, LIST_FIELD_MAX);
    log_text(tag, line);
}

static void split(list_entry *entry, const list_format &format, char *line)
{
    const char *separators = " ";
    for (size_t i = 0; i < format.fields; i++) {
        char *text = line + strspn(line, separators);
        size_t length = strcspn(text, separators);
        if (length == 0)
            return;
        line = text + length;
        if (*line != '\0')
            *line++ = '\0';
        if (format.end == field_end::trimmed)
            length = trimmed_length(text);
        text_set(entry->field[i], text_piece{text, length});
        if (format.field_tag != nullptr)
            log_field(format.field_tag, i, entry->field[i]);
        separators = format.separators;
    }
}

bool next_entry(list_reader *reader)
{
    const list_format &format = *reader->format;
    char line[SETTINGS_LINE_MAX];
    if (!next_settings_line(reader->file, line, format.hash_lines)) {
        reader->is_torn = ferror(reader->file) != 0;
        if (reader->is_torn)
            perror(format.path);
        return false;
    }
    if (format.missing == missing_fields::emptied)
        reader->entry = {};
    split(&reader->entry, format, line);
    return true;
}

void close_list(list_reader *reader)
{
    fclose(reader->file);
}
