#include "firewall/rule_writer.h"

#include "firewall/list_formats.h"
#include "util/log.h"

#include <string.h>

int write_rules(const rule_source &source, rule_output out)
{
    if (source.tag != nullptr)
        logmessage(source.tag, "start");
    forget_schedules();
    list_reader reader;
    if (!open_list(&reader, source.format))
        return -1;
    bool goes_on = true;
    while (goes_on && next_entry(&reader))
        goes_on = source.write_entry(reader.entry, &out);
    close_list(&reader);
    if (source.torn_table == rule_source::is_not_loaded && (reader.is_torn || are_schedules_torn()))
        return LIST_TORN;
    if (!goes_on)
        return -1;
    if (source.write_closing != nullptr)
        source.write_closing(out);
    if (source.tag != nullptr)
        logmessage(source.tag, "done");
    return 0;
}

void add(rule_text *rule, const char *piece)
{
    size_t length = strlen(piece);
    size_t room = sizeof(rule->text) - 1 - rule->length;
    if (length > room)
        length = room;
    memcpy(rule->text + rule->length, piece, length);
    rule->length += length;
    rule->text[rule->length] = '\0';
}

void add_options(rule_text *rule, const option_field *options, size_t count,
                 const list_entry &entry)
{
    for (size_t i = 0; i < count; i++) {
        const option_field &row = options[i];
        const char *value = entry.field[row.field];
        if (strcmp(value, NOT_GIVEN) == 0)
            continue;
        bool is_range = row.range_option != nullptr && strchr(value, '-') != nullptr;
        add(rule, is_range ? row.range_option : row.option, value);
    }
}
