#include "wireless/profile.h"

#include "lan/interface.h"
#include "platform/nvram.h"
#include "util/log.h"
#include "util/output_file.h"
#include "util/shell.h"
#include "util/text.h"
#include "wireless/profile_keys.h"

#include <stdio.h>
#include <string.h>
#include <unistd.h>

constexpr char PROFILE[] = "/etc/Wireless/RT2860/RT2860.dat";

// Room for four BSSs with one-digit values, and then some.
constexpr size_t BSS_LIST_MAX = 16;

static const char *text_of(const char *key)
{
    return nvram_bufget(NVRAM_WIRELESS, key);
}

static int number_of(const char *key)
{
    return text_to_int(text_of(key));
}

// value, count times, with ";" between. What does not fit whole is left out.
static void repeat_value(char (&list)[BSS_LIST_MAX], int value, int count)
{
    list[0] = '\0';
    size_t used = 0;
    for (int i = 0; i < count; i++) {
        char item[BSS_LIST_MAX];
        text_format(item, sizeof(item), i == 0 ? "%d" : ";%d", value);
        if (!text_set(list + used, sizeof(list) - used, item)) {
            list[used] = '\0';
            return;
        }
        used += strlen(item);
    }
}

static void write_text(FILE *file, const char *key, const char *value)
{
    fprintf(file, "%s=%s\n", key, value);
}

static void write_number(FILE *file, const char *key, int value)
{
    fprintf(file, "%s=%d\n", key, value);
}

static void write_line(FILE *file, const char *key, profile_form how, int bss_count)
{
    char list[BSS_LIST_MAX];
    switch (how) {
    case profile_form::number:
        write_number(file, key, number_of(key));
        return;
    case profile_form::text_if_set:
        if (text_of(key)[0] == '\0')
            return;
        [[fallthrough]];
    case profile_form::text:
        write_text(file, key, text_of(key));
        return;
    case profile_form::per_bss:
        repeat_value(list, number_of(key), bss_count);
        write_text(file, key, list);
        return;
    case profile_form::wsc_status:
        write_number(file, key, number_of(WSC_CONFIGURED_KEY) != 0 ? 2 : 1);
        return;
    case profile_form::radio_on:
        write_number(file, key, number_of(RADIO_OFF_KEY) == 1 ? 0 : 1);
        return;
    case profile_form::empty:
        write_text(file, key, "");
        return;
    case profile_form::zero:
        write_number(file, key, 0);
        return;
    }
}

static void write_lines(FILE *file, const profile_row &row, int number, int bss_count)
{
    text_piece rest = {row.keys, strlen(row.keys)};
    text_piece pattern;
    while (next_piece(&rest, " ", &pattern)) {
        char key[PROFILE_KEY_MAX];
        text_set(key, pattern);
        char *mark = strchr(key, '#');
        if (mark != nullptr)
            *mark = static_cast<char>('0' + number);
        write_line(file, key, row.how, bss_count);
    }
}

static void write_settings(FILE *file)
{
    fputs("#The word of \"Default\" must not be removed\nDefault\n", file);
    int bss_count = text_to_int(nvram_get(NVRAM_WIRELESS, BSS_COUNT_KEY));
    const profile_row *end = profile_rows + sizeof(profile_rows) / sizeof(profile_rows[0]);
    const profile_row *next;
    for (const profile_row *row = profile_rows; row < end; row = next) {
        next = row + 1 < end && row[1].is_paired ? row + 2 : row + 1;
        for (int number = row->first; number <= row->last; number++) {
            for (const profile_row *line = row; line < next; line++)
                write_lines(file, *line, number, bss_count);
        }
    }
}

static void write_profile()
{
    FILE *file = create_beside(PROFILE);
    if (file == nullptr)
        return;
    write_settings(file);
    replace_output(file, PROFILE);
}

int gen_config(const char *, int mode)
{
    shell("rmmod rt2860v2_ap");
    logmessage("gen_config", "mode = %d\n", mode);
    logmessage("gen_config", "RT2860_NVRAM = %d\n", 0);
    bool is_readable = nvram_init(mode) >= 0;
    shell("mkdir -p /etc/Wireless/RT2860");
    if (mode != NVRAM_WIRELESS)
        return 0;

    // Without its settings the driver would make an open network: better those of before, or none.
    if (is_readable)
        write_profile();
    nvram_close(mode);
    if (!is_readable && access(PROFILE, F_OK) != 0)
        return 0;
    shell("modprobe rt2860v2_ap");
    sleep(1);
    ifconfig("ra0", IFACE_UP, nullptr, nullptr);
    return 0;
}
