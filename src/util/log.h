// The system log. What a firmware engineer sees of this program is these lines.
#pragma once

// Write one line to the system log with ident as its tag: facility kernel, priority emergency, the
// text cut to 511 characters. The log is opened and closed for each line, so nothing stays open.
// Cannot fail visibly. ident is usually "mcfg-" and the routine's name.
[[gnu::format(printf, 2, 3)]] void logmessage(const char *ident, const char *format, ...);

// The same for a text that needs no formatting: it is logged as it stands, and must not be longer
// than that.
void log_text(const char *ident, const char *text);
