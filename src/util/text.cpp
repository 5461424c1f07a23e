#include "util/text.h"

#include <limits.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

bool text_set(char *dst, size_t cap, const char *src)
{
    size_t length = src != nullptr ? strlen(src) : 0;
    bool fits = length < cap;
    if (!fits)
        length = cap - 1;
    if (length != 0)
        memmove(dst, src, length);
    dst[length] = '\0';
    return fits;
}

bool text_append(char *dst, size_t cap, const char *src)
{
    size_t used = strlen(dst);
    return text_set(dst + used, cap - used, src);
}

bool text_format(char *dst, size_t cap, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    int length = vsnprintf(dst, cap, format, args);
    va_end(args);
    if (length < 0) {
        dst[0] = '\0';
        return false;
    }
    return static_cast<size_t>(length) < cap;
}

int text_to_int(const char *text)
{
    long value = strtol(text, nullptr, 10);
    if (value > INT_MAX)
        return INT_MAX;
    if (value < INT_MIN)
        return INT_MIN;
    return static_cast<int>(value);
}

static bool is_trimmed(char c)
{
    return c == ' ' || c == '\n' || c == '\r';
}

char *trim_r(char *text)
{
    size_t length = strlen(text);
    while (length > 0 && is_trimmed(text[length - 1]))
        length--;
    text[length] = '\0';
    return text;
}

char *ether_etoa2(const unsigned char *mac, char *out)
{
    snprintf(out, 13, "%02X%02X%02X%02X%02X%02X", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
    return out;
}
