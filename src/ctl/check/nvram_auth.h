// How the devices of the wireless networks prove who they are, by NVRAM section 1.
#pragma once

#include "ctl/check/nvram.h"

constexpr char AUTH_KEY[] = "AuthMode";
constexpr char ENCRYPTION_KEY[] = "EncrypType";
constexpr char IEEE8021X_KEY[] = "IEEE8021X";
constexpr char OWN_ADDRESS_KEY[] = "own_ip_addr";

// At the line of AUTH_KEY: its modes, and what each needs besides.
void judge_auth(const nvram_section &section, const nvram_line &line);
// At the line of ENCRYPTION_KEY: whether it goes with the modes.
void judge_ciphers(const nvram_section &section, const nvram_line &line);
void judge_8021x(const nvram_section &section, const nvram_line &line);
void judge_own_address(const nvram_section &section, const nvram_line &line);
