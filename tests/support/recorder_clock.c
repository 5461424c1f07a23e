// The clock: setting it is noted and never done, reading it is played where a "clock" rule says so.
#include "support/recorder_calls.h"
#include "support/recorder_failing.h"

#include <errno.h>
#include <stdarg.h>
#include <stdlib.h>
#include <string.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

// The record of the kernel's own time zone, which the C library's headers keep to themselves.
struct zone {
    int minutes_west;
    int daylight;
};

// The kernel's record of a time of day: two machine words, whatever the C library makes of timeval.
struct kernel_time {
    long seconds;
    long microseconds;
};

static bool clock_is_played(struct kernel_time *now, struct zone *zone)
{
    static const char *const clocks[] = {"clock", NULL};
    int saved = errno;
    struct rule rule;
    bool played = box_recording != RECORDING_OFF && rule_for_event(clocks, NULL, &rule);
    errno = saved;
    if (!played)
        return false;
    char *fraction;
    now->seconds = strtol(rule.argument[0], &fraction, 10);
    now->microseconds = *fraction == '.' ? strtol(fraction + 1, NULL, 10) : 0;
    zone->minutes_west = (int)strtol(rule.argument[1], NULL, 0);
    zone->daylight = (int)strtol(rule.argument[2], NULL, 0);
    return true;
}

// Refuses as long as nothing is recorded: what links the recorder never sets the machine's clock.
static int trace_set_clock(const struct kernel_time *time, const struct zone *zone)
{
    int result = 0;
    if (box_recording == RECORDING_OFF) {
        errno = EPERM;
        return -1;
    }
    struct line event = LINE_EMPTY;
    line_print(&event, "settimeofday");
    if (time != NULL && time->microseconds != 0)
        line_print(&event, " %ld.%06ld", time->seconds, time->microseconds);
    else if (time != NULL)
        line_print(&event, " %ld", time->seconds);
    else
        line_print(&event, " -");
    if (zone != NULL)
        line_print(&event, " %d %d", zone->minutes_west, zone->daylight);
    else
        line_print(&event, " - -");
    if (!answered_by_rule(&event, &result))
        trace_line(event.text);
    line_free(&event);
    return result;
}

int settimeofday(const struct timeval *time, const struct timezone *zone)
{
    struct kernel_time plain = {0, 0};
    if (time != NULL)
        plain = (struct kernel_time){(long)time->tv_sec, (long)time->tv_usec};
    return trace_set_clock(time != NULL ? &plain : NULL, (const struct zone *)zone);
}

// The C library leaves the zone record empty; so does this, or a test would see what no program on
// this C library can see.
int gettimeofday(struct timeval *restrict time, void *restrict zone)
{
    static int (*real)(struct timeval *restrict, void *restrict);
    struct kernel_time now;
    struct zone played;
    if (real == NULL)
        find_real("gettimeofday", &real);
    if (!clock_is_played(&now, &played))
        return real(time, zone);
    time->tv_sec = now.seconds;
    time->tv_usec = now.microseconds;
    if (zone != NULL)
        memset(zone, 0, sizeof(struct zone));
    return 0;
}

time_t time(time_t *result)
{
    static time_t (*real)(time_t *);
    struct kernel_time now;
    struct zone zone;
    RECORDERS_WORK;
    if (real == NULL)
        find_real("time", &real);
    if (!clock_is_played(&now, &zone))
        return real(result);
    if (result != NULL)
        *result = now.seconds;
    return now.seconds;
}

int clock_gettime(clockid_t clock, struct timespec *result)
{
    static int (*real)(clockid_t, struct timespec *);
    struct kernel_time now;
    struct zone zone;
    RECORDERS_WORK;
    if (real == NULL)
        find_real("clock_gettime", &real);
    if (clock != CLOCK_REALTIME || !clock_is_played(&now, &zone))
        return real(clock, result);
    result->tv_sec = now.seconds;
    result->tv_nsec = now.microseconds * 1000;
    return 0;
}

// Whether reading the clock is refused or played; *result is then the call's.
static bool play_get_clock(struct kernel_time *time, struct zone *zone, int *result)
{
    struct kernel_time now;
    struct zone played;
    struct line event = LINE_EMPTY;
    line_print(&event, "gettimeofday");
    *result = 0;
    bool is_answered = box_recording != RECORDING_OFF && answered_by_rule(&event, result);
    line_free(&event);
    if (is_answered || !clock_is_played(&now, &played))
        return is_answered;
    if (time != NULL)
        *time = now;
    if (zone != NULL)
        *zone = played;
    return true;
}

// System calls made without the C library's help: the two of the clock are as above, all others
// pass.
long syscall(long number, ...)
{
    static long (*real)(long, ...);
    long words[7];
    va_list arguments;
    va_start(arguments, number);
    for (int i = 0; i < 7; i++)
        words[i] = va_arg(arguments, long);
    va_end(arguments);
    if (real == NULL)
        find_real("syscall", &real);
    if (number == SYS_settimeofday && call_fails(CALL_settimeofday))
        return -1;
    if (number == SYS_gettimeofday && call_fails(CALL_gettimeofday))
        return -1;
    RECORDERS_WORK;
    if (number == SYS_settimeofday)
        return trace_set_clock((const struct kernel_time *)words[0], (const struct zone *)words[1]);
    int result;
    if (number == SYS_gettimeofday &&
        play_get_clock((struct kernel_time *)words[0], (struct zone *)words[1], &result))
        return result;
    return real(number, words[0], words[1], words[2], words[3], words[4], words[5], words[6]);
}
