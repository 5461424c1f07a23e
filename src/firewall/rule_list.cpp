#include "firewall/rule_list.h"

#include "util/log.h"
#include "util/text.h"

#include <string.h>

bool open_list(list_reader *reader, const list_format &format)
{
    reader->format = &format;
    reader->entry = {};
    reader->file = open_settings(format.path);
    return reader->file != nullptr;
}

static void split(list_entry *entry, const list_format &format, char *line)
{
    char *rest = nullptr;
    char *text = strtok_r(line, " ", &rest);
    for (size_t i = 0; i < format.fields && text != nullptr; i++) {
        if (format.end == field_end::trimmed)
            trim_r(text);
        text_set(entry->field[i], text);
        if (format.field_tag != nullptr)
            logmessage(format.field_tag, "data[%d] = %s", static_cast<int>(i), entry->field[i]);
        text = strtok_r(nullptr, format.separators, &rest);
    }
}

bool next_entry(list_reader *reader)
{
    const list_format &format = *reader->format;
    char line[SETTINGS_LINE_MAX];
    if (!next_settings_line(reader->file, line, format.hash_lines))
        return false;
    if (format.missing == missing_fields::emptied)
        reader->entry = {};
    split(&reader->entry, format, line);
    return true;
}

void close_list(list_reader *reader)
{
    fclose(reader->file);
}
