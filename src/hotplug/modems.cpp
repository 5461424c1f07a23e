#include "hotplug/modems.h"

static constexpr modem exactly(uint16_t vendor, uint16_t product, const char *name,
                               const char *description)
{
    return {vendor | static_cast<uint32_t>(product) << 16, MODEM_EXACT, name, description};
}

static constexpr modem any_product(uint16_t vendor, const char *name, const char *description)
{
    return {vendor, MODEM_ANY_PRODUCT, name, description};
}

// The trailing blanks of the descriptions are part of them.
constexpr modem known_modems[] = {
    exactly(0x04e8, 0x6761, "yota-samsung", "Samsung USB mWiMAX Modem"),
    any_product(0x05c6, "anydata-5xx-cdrom", "Anydata-5xx dongle in cdrom mode"),
    exactly(0x16d5, 0x6502, "anydata-5xx-modem", "Anydata-5xx dongle in modem mode"),
    exactly(0x12d1, 0x1003, "huawei-160", "huawei 160 dongle "),
    exactly(0x12d1, 0x1446, "huawei-1550", "huawei 1550 dongle in cdrom mode "),
    exactly(0x12d1, 0x1001, "huawei-1550", "huawei 1550 dongle in modem mode "),
    exactly(0x19d2, 0x2000, "ZTE", "ZTE dongle in cdrom mode "),
    exactly(0x19d2, 0x0031, "ZTE", "ZTE dongle in modem mode "),
    exactly(0x1bbb, 0xf000, "Alcatel", "Alcatel both dongle in cdrom mode "),
    exactly(0x1bbb, 0x0000, "Alcatel-x500", "Alcatel x500 dongle in modem mode "),
    exactly(0x1bbb, 0x0017, "Alcatel-orange", "Alcatel orange dongle in modem mode "),
    exactly(0x1410, 0x5010, "novatel", "novatel dongle in cdrom mode "),
    exactly(0x1410, 0x4400, "novatel", "novatel dongle in modem mode "),
    exactly(0x1410, 0x4100, "novatel", "novatel dongle in modem mode "),
    {},
};
