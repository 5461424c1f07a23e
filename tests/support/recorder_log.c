// The system log, noted in the trace; nothing is sent to a log daemon.
#include "support/recorder_calls.h"
#include "support/recorder_failing.h"

#include <errno.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <syslog.h>
#include <unistd.h>

// What the last openlog() said, as it was said.
static struct {
    const char *tag;
    int options;
    int facility;
} log_identity = {NULL, 0, LOG_USER};

static void identify(const char *tag, int options, int facility)
{
    log_identity.tag = tag;
    log_identity.options = options;
    log_identity.facility = facility;
}

static void trace_log(int priority, const char *format, va_list arguments)
    __attribute__((format(printf, 2, 0)));

static void trace_log(int priority, const char *format, va_list arguments)
{
    int saved = errno; // "%m" in the format, and the caller's
    char *text = NULL;
    if (vasprintf(&text, format, arguments) < 0)
        text = NULL;
    struct line line = LINE_EMPTY;
    if (log_identity.options == 0 && log_identity.facility == 0 && priority == 0)
        line_print(&line, "log ");
    else
        line_print(&line, "log(option=%d,facility=%d,priority=%d) ", log_identity.options,
                   log_identity.facility, priority);
    line_text(&line, log_identity.tag != NULL ? log_identity.tag : "-");
    line_print(&line, ": ");
    line_text(&line, text != NULL ? text : "(not formatted)");
    trace_line(line.text);
    line_free(&line);
    free(text);
    errno = saved;
}

void openlog(const char *tag, int options, int facility)
{
    static void (*real)(const char *, int, int);
    if (real == NULL)
        find_real("openlog", &real);
    if (is_log_real())
        real(tag, options, facility);
    identify(tag, options, facility);
}

void closelog(void)
{
    static void (*real)(void);
    if (real == NULL)
        find_real("closelog", &real);
    if (is_log_real())
        real();
    identify(NULL, 0, LOG_USER);
}

void vsyslog(int priority, const char *format, va_list arguments)
{
    static void (*real)(int, const char *, va_list);
    RECORDERS_WORK;
    if (real == NULL)
        find_real("vsyslog", &real);
    if (is_log_real())
        real(priority, format, arguments);
    else if (box_recording != RECORDING_OFF)
        trace_log(priority, format, arguments);
}

void syslog(int priority, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    vsyslog(priority, format, arguments);
    va_end(arguments);
}

// What the two become in programs built with _FORTIFY_SOURCE.
void __vsyslog_chk(int priority, int flag, const char *format, va_list arguments)
    __attribute__((format(printf, 3, 0)));
void __vsyslog_chk(int priority, int flag, const char *format, va_list arguments)
{
    (void)flag;
    vsyslog(priority, format, arguments);
}

void __syslog_chk(int priority, int flag, const char *format, ...)
    __attribute__((format(printf, 3, 4)));
void __syslog_chk(int priority, int flag, const char *format, ...)
{
    (void)flag;
    va_list arguments;
    va_start(arguments, format);
    vsyslog(priority, format, arguments);
    va_end(arguments);
}
