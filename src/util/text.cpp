#include "util/text.h"

#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static bool is_one_of(char c, const char *characters)
{
    return c != '\0' && strchr(characters, c) != nullptr;
}

bool next_piece(text_piece *text, const char *separators, text_piece *piece)
{
    const char *end = text->start + text->length;
    const char *start = text->start;
    while (start < end && is_one_of(*start, separators))
        start++;
    const char *stop = start;
    while (stop < end && !is_one_of(*stop, separators))
        stop++;
    *piece = {start, static_cast<size_t>(stop - start)};
    *text = {stop, static_cast<size_t>(end - stop)};
    return stop > start;
}

bool text_set(char *dst, size_t cap, text_piece src)
{
    bool fits = src.length < cap;
    size_t length = fits ? src.length : cap - 1;
    if (length != 0)
        memmove(dst, src.start, length);
    dst[length] = '\0';
    return fits;
}

bool text_set(char *dst, size_t cap, const char *src)
{
    return text_set(dst, cap, text_piece{src, src != nullptr ? strlen(src) : 0});
}

bool text_append(char *dst, size_t cap, const char *src)
{
    size_t used = strlen(dst);
    return text_set(dst + used, cap - used, src);
}

bool text_vformat(char *dst, size_t cap, const char *format, va_list args)
{
    int length = vsnprintf(dst, cap, format, args);
    if (length < 0) {
        dst[0] = '\0';
        return false;
    }
    return static_cast<size_t>(length) < cap;
}

bool text_format(char *dst, size_t cap, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    bool fits = text_vformat(dst, cap, format, args);
    va_end(args);
    return fits;
}

size_t text_sum(const char *text, char end)
{
    size_t sum = 0;
    for (; *text != '\0' && *text != end; text++)
        sum = sum * 31 + static_cast<unsigned char>(*text);
    return sum;
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

size_t trimmed_length(const char *text)
{
    size_t length = strlen(text);
    while (length > 0 && is_trimmed(text[length - 1]))
        length--;
    return length;
}

char *trim_r(char *text)
{
    text[trimmed_length(text)] = '\0';
    return text;
}

char *ether_etoa2(const unsigned char *mac, char *out)
{
    snprintf(out, 13, "%02X%02X%02X%02X%02X%02X", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
    return out;
}
