#include "firewall/schedule.h"

#include "firewall/list_formats.h"
#include "util/text.h"

#include <string.h>

constexpr const char *day_names[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr size_t DAYS = sizeof(day_names) / sizeof(day_names[0]);
constexpr size_t TIME_SPAN = 8;

const char *get_sched_by_name(const char *name, char (&days_out)[LIST_FIELD_MAX],
                              char (&time_out)[LIST_FIELD_MAX])
{
    list_reader reader;
    if (!open_list(&reader, schedules_format))
        return nullptr;
    const char *found = nullptr;
    const auto &field = reader.entry.field;
    while (found == nullptr && next_entry(&reader)) {
        if (strcmp(field[SCHED_NAME], name) != 0 ||
            strcmp(field[SCHED_ENABLED], SCHED_IS_ENABLED) != 0)
            continue;
        text_set(days_out, field[SCHED_DAYS]);
        text_set(time_out, field[SCHED_TIME]);
        found = name;
    }
    close_list(&reader);
    return found;
}

int timematch_conv_morvi(char (&out)[TIME_MATCH_MAX], const char *days, const char *time)
{
    out[0] = '\0';
    if (strlen(days) != DAYS || strlen(time) != TIME_SPAN)
        return -1;
    if (strcmp(days, "1111111") == 0 && strcmp(time, "00002359") == 0)
        return 0;

    text_format(out, sizeof(out), "-m time --timestart %.2s:%.2s --timestop %.2s:%.2s --days ",
                time, time + 2, time + 4, time + 6);
    // The first day stands behind a second blank.
    const char *separator = " ";
    for (size_t i = 0; i < DAYS; i++) {
        if (days[i] != '1')
            continue;
        text_append(out, separator);
        text_append(out, day_names[i]);
        separator = ",";
    }
    return 0;
}

void schedule_to_match(char (&out)[TIME_MATCH_MAX], const char *schedule)
{
    if (schedule[0] == '\0' || strcmp(schedule, ALWAYS_SCHEDULE) == 0)
        return;
    char days[LIST_FIELD_MAX];
    char time[LIST_FIELD_MAX];
    if (get_sched_by_name(schedule, days, time) != nullptr)
        timematch_conv_morvi(out, days, time);
}
