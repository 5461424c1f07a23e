// The MAC query tool: shows and stores the addresses and other identity values that NVRAM section 0
// holds. It is a program of its own, for the factory and for scripts.
#pragma once

#include <stddef.h>

// argv: "mmac" "get" PARAMETER, or "mmac" "set" PARAMETER VALUE. Parameters are the addresses
// "lan", "box" and "base" (all the base address), "wan" and "wlan", and the texts "pin", "sn",
// "hwrev", "countrycode", "flashspeed" and "appex". get prints the value as one line; an address
// that is not set is counted from the base address. set stores the value as given; an address must
// be one. Returns the process status: 0, or 1 for too few or too many arguments, for a value that
// is not set or not an address, and when NVRAM or the answer cannot be written. An unknown command
// or parameter shows the usage and gives 0. Messages go to standard error.
int mmac_main(int argc, char **argv);

// The NVRAM key of the tool's parameter at index, or null behind the last one. Some keys occur more
// than once.
const char *parameter_key(size_t index);
