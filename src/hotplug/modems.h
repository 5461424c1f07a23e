// The USB modems that this router supports, by what they identify themselves as: most of them first
// appear as a CD drive with their driver on it and then as a modem. The table is the list of
// supported devices for whoever adds one; starting them is left to the 3G service script.
#pragma once

#include <stdint.h>

// A row matches a device when (vendor | product << 16) & mask == id.
struct modem {
    uint32_t id;   // vendor in the low 16 bits, product in the high 16 bits
    uint32_t mask; // MODEM_EXACT or MODEM_ANY_PRODUCT
    const char *name;
    const char *description;
};

constexpr uint32_t MODEM_EXACT = 0xffffffff;
constexpr uint32_t MODEM_ANY_PRODUCT = 0x0000ffff;

// Ended by a row of zeros.
extern const modem known_modems[];
