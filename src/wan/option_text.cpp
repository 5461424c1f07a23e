#include "wan/option_text.h"

#include "util/text.h"

#include <string.h>

// More than an interface's name (15 characters) and the prefix.
constexpr size_t DEVICE_WORD_MAX = 32;

size_t value_length(const char *value)
{
    size_t length = strcspn(value, "\n");
    while (length > 0 && value[length - 1] == '\r')
        length--;
    return length;
}

static bool is_plain(char c)
{
    return c > ' ' && c < '\x7f' && strchr("\"'\\#", c) == nullptr;
}

static bool is_plain_text(const char *text, size_t length)
{
    for (size_t i = 0; i < length; i++) {
        if (!is_plain(text[i]))
            return false;
    }
    return true;
}

static void write_quoted(FILE *file, const char *text, size_t length)
{
    fputc('"', file);
    for (size_t i = 0; i < length; i++) {
        if (text[i] == '"' || text[i] == '\\')
            fputc('\\', file);
        fputc(text[i], file);
    }
    fputc('"', file);
}

static void write_piece(FILE *file, const char *text, size_t length)
{
    fprintf(file, "%.*s", static_cast<int>(length), text);
}

static void write_word(FILE *file, const char *text, size_t length)
{
    if (is_plain_text(text, length))
        write_piece(file, text, length);
    else
        write_quoted(file, text, length);
}

void write_pppd_value(FILE *file, const char *value)
{
    size_t length = value_length(value);
    if (length == 0 && *value != '\0')
        write_quoted(file, value, 0);
    else
        write_word(file, value, length);
}

void write_pppd_quoted(FILE *file, const char *value)
{
    write_quoted(file, value, value_length(value));
}

// What the names of this router's Ethernet interfaces begin with; a number follows. No option of
// pppd and no character device looks so.
constexpr const char *device_kinds[] = {"apcli", "br",  "eth",   "ra",  "usb",
                                        "vlan",  "wds", "wimax", "wlan"};

// Of what may stand in one, only the point is less than a digit, and does not begin it.
static bool is_device_number(const char *text, size_t length)
{
    return length > 0 && *text >= '0' && strspn(text, "0123456789.") >= length;
}

static bool is_usual_device(const char *text, size_t length)
{
    for (const char *kind : device_kinds) {
        size_t skipped = strlen(kind);
        if (skipped < length && strncmp(kind, text, skipped) == 0 &&
            is_device_number(text + skipped, length - skipped))
            return true;
    }
    return false;
}

void write_pppd_device(FILE *file, const char *iface)
{
    size_t length = value_length(iface);
    size_t colon = strcspn(iface, ":");
    if (colon < length)
        length = colon;
    if (length == 0)
        return;
    const char *prefix = is_usual_device(iface, length) ? "" : "nic-";
    char word[DEVICE_WORD_MAX];
    text_format(word, sizeof(word), "%s%.*s", prefix, static_cast<int>(length), iface);
    write_word(file, word, strlen(word));
}

void write_xl2tpd_value(FILE *file, const char *value)
{
    size_t length = value_length(value);
    size_t comment = strcspn(value, ";");
    write_piece(file, value, comment < length ? comment : length);
}
