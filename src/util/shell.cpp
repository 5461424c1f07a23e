#include "util/shell.h"

#include "util/text.h"

#include <ctype.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

int shell(const char *line)
{
    return system(line);
}

int shell_format(const char *format, ...)
{
    char line[SHELL_LINE_MAX];
    va_list args;
    va_start(args, format);
    int length = vsnprintf(line, sizeof(line), format, args);
    va_end(args);
    if (length < 0)
        return -1;
    // The cut may fall between two quotes of a value, and what is left be a command of other words.
    bool is_cut = static_cast<size_t>(length) >= sizeof(line);
    if (is_cut && strchr(line, '\'') != nullptr)
        return -1;
    return shell(line);
}

static bool is_plain(char c)
{
    return c != '\0' && (isalnum(static_cast<unsigned char>(c)) || strchr("_./:@%+=,-", c));
}

static bool is_plain_text(const char *text)
{
    while (is_plain(*text))
        text++;
    return *text == '\0';
}

// A single quote inside single quotes: leave them, add an escaped one, enter them again.
constexpr char QUOTE_IN_QUOTES[] = "'\\''";

const char *shell_quote(char (&out)[SHELL_LINE_MAX], const char *value)
{
    if (is_plain_text(value)) {
        text_set(out, value);
        return out;
    }
    size_t used = 0;
    out[used++] = '\'';
    for (const char *c = value; *c != '\0'; c++) {
        const char piece[] = {*c, '\0'};
        const char *added = *c == '\'' ? QUOTE_IN_QUOTES : piece;
        size_t length = strlen(added);
        if (used + length + sizeof("'") > sizeof(out))
            break;
        memcpy(out + used, added, length);
        used += length;
    }
    out[used++] = '\'';
    out[used] = '\0';
    return out;
}
