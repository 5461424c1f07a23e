// The plain syslog() is what is called: its one format is fixed, so that the C library's check of
// formats has nothing to find, and it would cost every line of the log.
#undef _FORTIFY_SOURCE
#include "util/log.h"

#include "util/text.h"

#include <syslog.h>

void log_text(const char *ident, const char *text)
{
    // Facility 0 and priority 0: on this router every line is to reach the console at once.
    openlog(ident, 0, 0);
    syslog(0, "%s", text);
    closelog();
}

void logmessage(const char *ident, const char *format, ...)
{
    char text[512];
    va_list args;
    va_start(args, format);
    text_vformat(text, sizeof(text), format, args);
    va_end(args);
    log_text(ident, text);
}
