#include "firewall/schedule.h"

#include "firewall/list_formats.h"
#include "util/text.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

constexpr const char *day_names[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr size_t DAYS = sizeof(day_names) / sizeof(day_names[0]);
constexpr size_t TIME_SPAN = 8;

// The enabled schedules, chained by a sum over their names: entries look them up by the thousand.
struct schedule {
    schedule *next;
    char name[LIST_FIELD_MAX];
    char days[LIST_FIELD_MAX];
    char time[LIST_FIELD_MAX];
};

constexpr size_t CHAINS = 256;

static struct {
    bool are_read; // as far as they could be
    bool are_torn;
    schedule *chains[CHAINS];
} schedules;

// The place of the schedule name, which holds null when there is none.
static schedule **place_of(const char *name)
{
    schedule **place = &schedules.chains[text_sum(name) % CHAINS];
    while (*place != nullptr && strcmp((*place)->name, name) != 0)
        place = &(*place)->next;
    return place;
}

// gcc's analyzer takes a schedule for lost when it is no longer the last of its chain.
#ifndef __clang__ // which does not know the warning
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wanalyzer-malloc-leak"
#endif
static bool keep_schedule(const list_entry &entry)
{
    if (strcmp(entry.field[SCHED_ENABLED], SCHED_IS_ENABLED) != 0)
        return true;
    schedule **place = place_of(entry.field[SCHED_NAME]);
    if (*place != nullptr)
        return true; // the first one counts
    *place = static_cast<schedule *>(calloc(1, sizeof(schedule)));
    if (*place == nullptr)
        return false;
    text_set((*place)->name, entry.field[SCHED_NAME]);
    text_set((*place)->days, entry.field[SCHED_DAYS]);
    text_set((*place)->time, entry.field[SCHED_TIME]);
    return true;
}
#ifndef __clang__
#pragma GCC diagnostic pop
#endif

static void read_schedules()
{
    list_reader reader;
    if (!open_list(&reader, schedules_format))
        return;
    bool is_kept = true;
    while (is_kept && next_entry(&reader))
        is_kept = keep_schedule(reader.entry);
    if (!is_kept)
        perror(schedules_format.path);
    schedules.are_torn = reader.is_torn || !is_kept;
    schedules.are_read = true;
    close_list(&reader);
}

void forget_schedules()
{
    for (schedule *&chain : schedules.chains) {
        while (chain != nullptr) {
            schedule *rest = chain->next;
            free(chain);
            chain = rest;
        }
    }
    schedules = {};
}

bool are_schedules_torn()
{
    return schedules.are_torn;
}

static const schedule *find_schedule(const char *name)
{
    if (!schedules.are_read)
        read_schedules();
    return *place_of(name);
}

const char *get_sched_by_name(const char *name, char (&days_out)[LIST_FIELD_MAX],
                              char (&time_out)[LIST_FIELD_MAX])
{
    forget_schedules();
    const schedule *found = find_schedule(name);
    if (found == nullptr)
        return nullptr;
    text_set(days_out, found->days);
    text_set(time_out, found->time);
    return name;
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
    const struct schedule *found = find_schedule(schedule);
    if (found != nullptr)
        timematch_conv_morvi(out, found->days, found->time);
}
