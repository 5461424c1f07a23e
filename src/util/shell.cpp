#include "util/shell.h"

#include "util/text.h"

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
    bool fits = text_vformat(line, sizeof(line), format, args);
    va_end(args);
    // The cut may fall between two quotes of a value, and what is left be a command of other words.
    if (!fits && (line[0] == '\0' || strchr(line, '\'') != nullptr))
        return -1;
    return shell(line);
}

constexpr char PLAIN_CHARACTERS[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                    "0123456789_./:@%+=,-";

static bool is_plain_text(const char *text)
{
    return text[strspn(text, PLAIN_CHARACTERS)] == '\0';
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
