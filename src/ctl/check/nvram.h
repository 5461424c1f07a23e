// A section of the NVRAM for the judges of its two parts.
#pragma once

#include "ctl/check/settings.h"

#include <stddef.h>

constexpr size_t NVRAM_KEY_MAX = 40;
constexpr size_t NVRAM_VALUE_MAX = 600; // more than any value that is looked at

struct nvram_line {
    unsigned number;
    char key[NVRAM_KEY_MAX]; // "" for one that is too long for any that is known
    char value[NVRAM_VALUE_MAX];
};

struct nvram_section {
    const settings &all;
    const loaded_file &file;
    name_index keys;
};

// Get ready to look up keys. end_section() forgets them.
void begin_section(nvram_section *section);
void end_section(nvram_section *section);

// The value that the router reads of a key, cut to the room there; "" when there is none.
void get_value(const nvram_section &section, const char *key, char (&value)[NVRAM_VALUE_MAX]);

void tell(const nvram_section &section, const nvram_line &line, code id, const char *first = "",
          const char *second = "");

// Whether the router reads a key of this name; the name as it is read goes to known when the case
// differs.
using key_test = bool (*)(const char *key, char (&known)[NVRAM_KEY_MAX]);

// Judge what all lines have in common, and hand those that count to judge.
void judge_section(const nvram_section &section, key_test is_known,
                   void (*judge)(const nvram_section &section, const nvram_line &line));
