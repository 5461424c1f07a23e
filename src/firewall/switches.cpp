#include "firewall/switches.h"

#include "config/settings_file.h"
#include "firewall/switch_keys.h"
#include "util/text.h"

#include <string.h>
#include <strings.h>

firewall_switches fw;

const switch_key *find_switch_key(const char *path, const char *key)
{
    for (const switch_key &row : switch_keys) {
        if (strcmp(row.file, path) == 0 && strncmp(key, row.key, row.compared) == 0)
            return &row;
    }
    return nullptr;
}

const switch_value *find_switch_value(const switch_key *row, const char *value)
{
    for (const switch_value *known = row->values; known->text != nullptr; known++) {
        if (strcasecmp(value, known->text) == 0)
            return known;
    }
    return nullptr;
}

static void apply_line(const char *path, char *line)
{
    char *equals = strchr(line, '=');
    if (equals == nullptr)
        return;
    *equals = '\0';
    char *rest = nullptr;
    char *value = strtok_r(equals + 1, SWITCH_SEPARATORS, &rest);
    if (value == nullptr)
        return;
    const switch_key *row = find_switch_key(path, line);
    const switch_value *known = row != nullptr ? find_switch_value(row, trim_r(value)) : nullptr;
    if (known != nullptr)
        *row->target = known->value;
}

// Lines that are skipped as comments could not match a key anyway.
static int read_switches(const char *path)
{
    FILE *file = open_settings(path);
    if (file == nullptr)
        return -1;
    char line[SETTINGS_LINE_MAX];
    while (next_settings_line(file, line))
        apply_line(path, line);
    close_settings(file, path);
    return 0;
}

int get_global_firewall_config()
{
    fw = {};
    for (const char *path : switch_files) {
        if (read_switches(path) != 0)
            return -1;
    }
    return 0;
}
