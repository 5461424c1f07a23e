// The wireless networks of NVRAM section 1: how many there are, and their names.
#pragma once

#include "ctl/check/nvram.h"

#include <stdint.h>

constexpr uint32_t NETWORKS_MAX = 4;
constexpr char SSID_KEY[] = "SSID#";

// How many the router sets up, 0 where the number is none that it can be.
uint32_t count_networks(const nvram_section &section);

// The key of network number, which takes the place of "#" in pattern.
void numbered_key(char (&key)[NVRAM_KEY_MAX], const char *pattern, uint32_t number);

// Whether text is a number, as the profile has it.
bool is_number(const char *text);

void judge_count(const nvram_section &section, const nvram_line &line);
void judge_ssid_line(const nvram_section &section, const nvram_line &line);
