#include "firewall/rule_writer.h"

#include "firewall/list_formats.h"
#include "util/log.h"
#include "util/text.h"

#include <string.h>

int write_rules(const rule_source &source, rule_output out)
{
    if (source.tag != nullptr)
        logmessage(source.tag, "start");
    list_reader reader;
    if (!open_list(&reader, source.format))
        return -1;
    bool goes_on = true;
    while (goes_on && next_entry(&reader))
        goes_on = source.write_entry(reader.entry, &out);
    close_list(&reader);
    if (!goes_on)
        return -1;
    if (source.write_closing != nullptr)
        source.write_closing(out);
    if (source.tag != nullptr)
        logmessage(source.tag, "done");
    return 0;
}

static void append_option(char (&text)[RULE_TEXT_MAX], const option_field &row, const char *value)
{
    bool is_range = row.range_option != nullptr && strchr(value, '-') != nullptr;
    const char *pieces[] = {" ", is_range ? row.range_option : row.option, " ", value};
    for (const char *piece : pieces)
        text_append(text, piece);
}

void append_options(char (&text)[RULE_TEXT_MAX], const option_field *options, size_t count,
                    const list_entry &entry)
{
    for (size_t i = 0; i < count; i++) {
        const char *value = entry.field[options[i].field];
        if (strcmp(value, NOT_GIVEN) != 0)
            append_option(text, options[i], value);
    }
}
