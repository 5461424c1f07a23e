#include "ctl/check/judges.h"
#include "ctl/check/lines.h"
#include "firewall/switch_keys.h"
#include "util/text.h"

#include <string.h>

constexpr size_t SWITCH_KEYS = sizeof(switch_keys) / sizeof(switch_keys[0]);

struct switch_file {
    const char *path;
    source which;
    const char *keys; // what can be written
};

constexpr switch_file files[] = {
    {IP_FILTER, source::ip_filter, "one of its keys, in capitals"},
    {IGMP, source::igmp, "IGMP_ENABLE"},
    {UPNP, source::upnp, "UPNP_ENABLE"},
};

struct switch_line {
    char text[SETTINGS_LINE_MAX];
    char *key;
    char *value;      // trimmed; null for none
    const char *rest; // what stands behind it and is not read; null for nothing
    const switch_key *row;
    const switch_value *effect; // null for a value that changes nothing
};

static void split(const char *path, const settings_line &line, switch_line *out)
{
    memcpy(out->text, line.text, sizeof(out->text));
    out->key = out->text;
    out->value = nullptr;
    out->rest = nullptr;
    out->effect = nullptr;
    char *equals = strchr(out->text, '=');
    if (equals != nullptr) {
        *equals = '\0';
        char *rest = nullptr;
        out->value = strtok_r(equals + 1, SWITCH_SEPARATORS, &rest);
        out->rest = strtok_r(nullptr, "= \r\n", &rest);
    }
    out->row = find_switch_key(path, out->key);
    trim_r(out->key);
    if (out->value == nullptr)
        return;
    trim_r(out->value);
    if (out->row != nullptr)
        out->effect = find_switch_value(out->row, out->value);
}

static bool can_be_read(const loaded_file &file)
{
    return file.state == file_state::loaded;
}

// Lines that are skipped as comments could not match a key anyway; those that are too long or hold
// a NUL byte switch what they begin with.
void learn_switches(settings *all)
{
    fw = {};
    for (const switch_file &row : files) {
        const loaded_file &file = file_of(*all, row.which);
        // A directory can be opened: it reads as an empty file.
        if (!can_be_read(file) && strcmp(file.kind, "directory") != 0) {
            all->unread_since = row.path;
            return;
        }
        line_reader reader = begin_lines(file);
        settings_line line;
        while (next_line(&reader, &line)) {
            switch_line parts;
            split(row.path, line, &parts);
            if (parts.effect != nullptr)
                *parts.row->target = parts.effect->value;
        }
    }
}

// Switches that are on until something turns them off; the other kind takes the last value.
static bool is_on_off(const switch_key &row)
{
    return row.target != &fw.mac_mode;
}

static bool is_known_value(const switch_line &line)
{
    return line.effect != nullptr || (is_on_off(*line.row) && is_yes_word(line.value));
}

// Whether an earlier key has the same switch.
static bool is_shared(const switch_key &row)
{
    for (const switch_key *other = switch_keys; other != &row; other++) {
        if (other->target == row.target)
            return true;
    }
    return false;
}

// What the lines of one key said last.
struct switch_seen {
    unsigned line;
    const switch_value *effect;
};

static void judge_twice(const settings &all, unsigned number, const switch_line &line,
                        switch_seen *seen)
{
    switch_seen &before = seen[line.row - switch_keys];
    if (before.line != 0 && before.effect != line.effect)
        find_number(all.r, number, line.row->key, code::key_twice, before.line,
                    is_on_off(*line.row) ? "once off, it stays off" : "the later one counts");
    before = {number, line.effect};
}

// What other settings make of this one.
static void judge_company(const settings &all, unsigned number, const switch_line &line)
{
    const switch_key &row = *line.row;
    if (is_shared(row))
        find(all.r, number, row.key, code::nat_by_vservers);
    if (row.target == &fw.wan_ping && fw.firewall == 0)
        find(all.r, number, row.key, code::ping_open);
    bool is_pppoe = strcmp(all.interfaces[WIRED_WAN].type, "pppoe") == 0;
    if (row.target == &fw.mac_mode && line.effect->value == MAC_DENY && is_pppoe)
        find(all.r, number, row.key, code::mss_bypassed);
}

static void judge_setting(const settings &all, unsigned number, const switch_line &line,
                          switch_seen *seen)
{
    const switch_key &row = *line.row;
    if (line.value == nullptr || line.value[0] == '\0') {
        find(all.r, number, row.key, code::no_value);
        return;
    }
    if (strcmp(row.key, line.key) != 0)
        find(all.r, number, line.key, code::key_prefix, row.key);
    if (!is_known_value(line)) {
        find(all.r, number, row.key, code::switch_value, line.value,
             is_on_off(row) ? "0 or NO for off, 1 for on" : "0, 1 or allow, 2 or deny");
        return;
    }
    judge_twice(all, number, line, seen);
    if (line.rest != nullptr && line.rest[0] != '#')
        find(all.r, number, row.key, code::extra_fields);
    if (line.effect != nullptr)
        judge_company(all, number, line);
}

static bool is_unread(const settings &all, const switch_file &file)
{
    for (const switch_file *row = files; row != &file; row++) {
        if (row->path == all.unread_since)
            return true;
    }
    return false;
}

static void judge_line(const settings &all, const switch_file &file, const settings_line &line,
                       switch_seen *seen)
{
    switch_line parts;
    split(file.path, line, &parts);
    if (parts.row == nullptr)
        find(all.r, line.number, "-", code::unknown_key, parts.key, file.keys);
    else if (!is_unread(all, file))
        judge_setting(all, line.number, parts, seen);
    else if (parts.effect != nullptr)
        find(all.r, line.number, parts.row->key, code::switches_unread, all.unread_since);
}

void judge_switches(const settings &all, source which)
{
    const switch_file *file = files;
    while (file->which != which)
        file++;
    switch_seen seen[SWITCH_KEYS] = {};
    line_reader reader = begin_lines(file_of(all, which));
    settings_line line;
    while (next_line(&reader, &line)) {
        if (is_entry(&reader, line, comments::skipped, all.r))
            judge_line(all, *file, line, seen);
    }
}
