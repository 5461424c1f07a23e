// Bounded text: every copy and every formatted text of the program goes through here, so that no
// field can be overrun whatever a settings file or an environment variable holds.
#pragma once

#include <stdarg.h>
#include <stddef.h>

// A stretch of a text that somebody else owns; not terminated at its length.
struct text_piece {
    const char *start;
    size_t length;
};

// Take the next piece of text between any of these separators, runs of which separate once, as
// strtok_r() does it but without changing the text. Returns false at its end.
bool next_piece(text_piece *text, const char *separators, text_piece *piece);

// Copy src into dst, which holds cap characters with the terminator (cap at least 1). dst is always
// terminated; a longer text is cut to cap - 1 characters. src may be null, which copies as "".
// Returns true when the whole text fitted.
bool text_set(char *dst, size_t cap, const char *src);
bool text_set(char *dst, size_t cap, text_piece src);

// printf and vprintf into dst with the same bound. Return true when the whole text fitted; dst is
// "" when it cannot be formed.
[[gnu::format(printf, 3, 4)]] bool text_format(char *dst, size_t cap, const char *format, ...);
[[gnu::format(printf, 3, 0)]] bool text_vformat(char *dst, size_t cap, const char *format,
                                                va_list args);

// Copy src behind what dst holds, which must be terminated, with the same bound.
bool text_append(char *dst, size_t cap, const char *src);

template <size_t N> bool text_set(char (&dst)[N], const char *src)
{
    return text_set(dst, N, src);
}

template <size_t N> bool text_set(char (&dst)[N], text_piece src)
{
    return text_set(dst, N, src);
}

template <size_t N> bool text_append(char (&dst)[N], const char *src)
{
    return text_append(dst, N, src);
}

// A number made of all characters of text up to end, to spread texts over the chains of a table.
size_t text_sum(const char *text, char end = '\0');

// Decimal text to integer as atoi() does it: leading blanks skipped, optional sign, the conversion
// stops at the first non-digit, no digits give 0. Numbers beyond an int become INT_MIN or INT_MAX
// on every machine, whatever the size of its long.
int text_to_int(const char *text);

// Remove every trailing blank, line feed and carriage return of text, in place, and return text.
// Tabs and anything else stop the trimming.
char *trim_r(char *text);

// What trim_r would leave of the length of text.
size_t trimmed_length(const char *text);

// Write the six bytes of mac as twelve upper-case hexadecimal digits without separators into out,
// which must hold 13 characters. Returns out.
char *ether_etoa2(const unsigned char *mac, char *out);
