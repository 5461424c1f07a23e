#include "ctl/check/fields.h"
#include "ctl/check/judges.h"
#include "ctl/check/list_judges.h"
#include "ctl/check/values.h"
#include "ctl/unseen.h"

#include <errno.h>
#include <stdlib.h>

using list_judge = void (*)(const list_line &line, list_memory *memory);

struct list_row {
    source which;
    const list_format &format;
    size_t needed;        // fields that every line must give
    unsigned used_fields; // a bit for each
    const char *names[LIST_FIELDS_MAX];
    list_judge judge;
    void (*judge_whole)(const settings &all); // may be null
};

constexpr unsigned bits()
{
    return 0;
}
template <typename... More> constexpr unsigned bits(unsigned first, More... more)
{
    return 1U << first | bits(more...);
}

// clang-format off
constexpr list_row rows[] = {
    {source::schedules, schedules_format, SCHED_TIME + 1,
     bits(SCHED_NAME, SCHED_ENABLED, SCHED_DAYS, SCHED_TIME),
     {"name", "enabled", "unused", "days", "time"}, judge_schedule, nullptr},
    {source::rules, user_rules_format, RULE_DESTINATION_PORT + 1,
     bits(RULE_ACTION, RULE_SOURCE, RULE_DESTINATION, RULE_PROTOCOL, RULE_SOURCE_PORT,
          RULE_DESTINATION_PORT),
     {"action", "name", "unused", "source", "destination", "protocol", "source-port",
      "destination-port", "unused"}, judge_rule, nullptr},
    {source::macs, macs_format, MAC_ADDRESS + 1, bits(MAC_ADDRESS, MAC_SCHEDULE),
     {"mac", "schedule"}, judge_mac, judge_mac_list},
    {source::urls, urls_format, URL_SCHEDULE + 1, bits(URL_TEXT, URL_SCHEDULE),
     {"url", "schedule"}, judge_url, nullptr},
    {source::access, access_format, ACCESS_TARGET + 1,
     bits(ACCESS_SERVICE, ACCESS_INTERFACE, ACCESS_SOURCE, ACCESS_NETMASK, ACCESS_TARGET),
     {"service", "interface", "source", "netmask", "target", "unused", "unused", "unused",
      "unused"}, judge_access, nullptr},
    {source::vservers, vservers_format, VSERVER_ADDRESS + 1,
     bits(VSERVER_PROTOCOL, VSERVER_PUBLIC_PORT, VSERVER_PORT, VSERVER_ADDRESS),
     {"name", "protocol", "public-port", "port", "address", "unused", "unused", "unused",
      "unused"}, judge_vserver, nullptr},
    {source::masq, masq_format, MASQ_PORT + 1, bits(MASQ_SOURCE, MASQ_PROTOCOL, MASQ_PORT),
     {"name", "source", "unused", "protocol", "port", "unused", "unused", "unused", "unused"},
     judge_masq, judge_masq_list},
    {source::triggers, triggers_format, TRIGGER_PROTOCOL + 1,
     bits(TRIGGER_PORT, TRIGGER_OPENED_PORT, TRIGGER_PROTOCOL),
     {"description", "trigger-port", "in-protocol", "opened-port", "protocol", "unused",
      "unused", "unused", "unused"}, judge_trigger, nullptr},
};
// clang-format on

static const list_row &row_of_list(source which)
{
    const list_row *row = rows;
    while (row->which != which)
        row++;
    return *row;
}

// A tab joins two fields into one, and moves those behind it.
static bool take_unused_field(const list_line &line, size_t i)
{
    cut_line_end(line.field[i]);
    if (!has_control_characters(line.field[i]))
        return true;
    tell(line, i, code::odd_character);
    return false;
}

// Whether all fields are as the line says, as far as they are used.
static bool take_fields(const list_row &row, const list_line &line)
{
    bool is_good = true;
    for (size_t i = 0; i < line.count && i < row.format.fields; i++) {
        bool is_used = (row.used_fields >> i & 1) != 0;
        bool is_taken =
            is_used ? take_field(line.all, line.number, row.names[i], line.field[i], LIST_FIELD_MAX)
                    : take_unused_field(line, i);
        is_good = is_good && is_taken;
    }
    return is_good;
}

static void judge_entry(const settings &all, const list_row &row, const settings_line &line,
                        list_memory *memory)
{
    line_words words;
    split_line(line, " ", row.format.separators, row.format.end, &words);
    if (words.count < row.needed) {
        find_number(all.r, line.number, row.names[words.count], code::short_line, row.needed);
        return;
    }
    judge_extra(all, line.number, words, row.format.fields);
    list_line parts = {all, line.number, row.names, words.word, words.count};
    if (take_fields(row, parts))
        row.judge(parts, memory);
}

static unsigned char *take_ports()
{
    void *ports = calloc(FORWARD_PROTOCOLS, PORTS);
    if (ports == nullptr)
        note_unseen("ports that are forwarded twice", errno);
    return static_cast<unsigned char *>(ports);
}

void judge_list(const settings &all, source which)
{
    const list_row &row = row_of_list(which);
    if (row.judge_whole != nullptr)
        row.judge_whole(all);
    list_memory memory = {0, nullptr};
    if (which == source::vservers)
        memory.taken_ports = take_ports();
    line_reader reader = begin_lines(file_of(all, which));
    settings_line line;
    while (next_line(&reader, &line)) {
        if (is_entry(&reader, line, row.format.hash_lines, all.r))
            judge_entry(all, row, line, &memory);
    }
    free(memory.taken_ports);
}
