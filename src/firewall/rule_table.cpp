#include "firewall/rule_table.h"

#include "firewall/rule_writer.h"
#include "util/open_file.h"
#include "util/output_file.h"
#include "util/shell.h"

#include <string.h>

struct placeholder {
    const char *text;
    const char *rule_values::*value;
};

constexpr placeholder placeholders[] = {
    {"{lan}", &rule_values::lan_if},
    {"{lan_ip}", &rule_values::lan_ip},
    {"{lan_network}", &rule_values::lan_network},
    {"{wan}", &rule_values::wan_if},
    {"{accept}", &rule_values::accept_target},
    {"{drop}", &rule_values::drop_target},
};

// Write the placeholder that text begins with. Returns its length, or 0 when it is none.
static size_t write_placeholder(FILE *file, const char *text, const rule_values &values)
{
    for (const placeholder &row : placeholders) {
        size_t length = strlen(row.text);
        if (strncmp(text, row.text, length) == 0) {
            fputs(values.*row.value, file);
            return length;
        }
    }
    return 0;
}

static void write_lines(FILE *file, const char *lines, const rule_values &values)
{
    while (*lines != '\0') {
        size_t length = *lines == '{' ? write_placeholder(file, lines, values) : 0;
        if (length == 0)
            fputc(*lines++, file);
        lines += length;
    }
}

static bool is_on(const int *needed)
{
    return needed == ALWAYS || *needed != 0;
}

int write_rule_file(const char *path, const rule_row *rows, size_t count, const rule_values &values)
{
    FILE *file = open_stream(path, "w");
    if (file == nullptr)
        return -1;
    bool is_whole = true;
    for (size_t i = 0; i < count; i++) {
        const rule_row &row = rows[i];
        if (!is_on(row.needed) || !is_on(row.also_needed))
            continue;
        if (row.lines != nullptr)
            write_lines(file, row.lines, values);
        else if (row.list(file, values) == LIST_TORN)
            is_whole = false;
    }
    return close_output(file, path) && is_whole ? 0 : -1;
}

int load_rule_file(const char *path)
{
    return shell_format("iptables-restore %s", path);
}
