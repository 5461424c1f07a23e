#include "hotplug/modems.h"

#include <gtest/gtest.h>
#include <string>

namespace
{

struct row {
    uint32_t id;
    uint32_t mask;
    const char *name;
    const char *description;
};

// Written out once more, from the modems' papers: an entry that is changed by mistake shows up
// here.
constexpr row rows[] = {
    {0x676104e8, 0xffffffff, "yota-samsung", "Samsung USB mWiMAX Modem"},
    {0x000005c6, 0x0000ffff, "anydata-5xx-cdrom", "Anydata-5xx dongle in cdrom mode"},
    {0x650216d5, 0xffffffff, "anydata-5xx-modem", "Anydata-5xx dongle in modem mode"},
    {0x100312d1, 0xffffffff, "huawei-160", "huawei 160 dongle "},
    {0x144612d1, 0xffffffff, "huawei-1550", "huawei 1550 dongle in cdrom mode "},
    {0x100112d1, 0xffffffff, "huawei-1550", "huawei 1550 dongle in modem mode "},
    {0x200019d2, 0xffffffff, "ZTE", "ZTE dongle in cdrom mode "},
    {0x003119d2, 0xffffffff, "ZTE", "ZTE dongle in modem mode "},
    {0xf0001bbb, 0xffffffff, "Alcatel", "Alcatel both dongle in cdrom mode "},
    {0x00001bbb, 0xffffffff, "Alcatel-x500", "Alcatel x500 dongle in modem mode "},
    {0x00171bbb, 0xffffffff, "Alcatel-orange", "Alcatel orange dongle in modem mode "},
    {0x50101410, 0xffffffff, "novatel", "novatel dongle in cdrom mode "},
    {0x44001410, 0xffffffff, "novatel", "novatel dongle in modem mode "},
    {0x41001410, 0xffffffff, "novatel", "novatel dongle in modem mode "},
};

TEST(modems, are_these)
{
    const modem *known = known_modems;
    for (const row &wanted : rows) {
        SCOPED_TRACE(wanted.description);
        EXPECT_EQ(known->id, wanted.id);
        EXPECT_EQ(known->mask, wanted.mask);
        ASSERT_NE(known->name, nullptr);
        EXPECT_STREQ(known->name, wanted.name);
        ASSERT_NE(known->description, nullptr);
        EXPECT_STREQ(known->description, wanted.description);
        known++;
    }
    EXPECT_EQ(known->id, 0U) << "a row of zeros ends the table";
    EXPECT_EQ(known->mask, 0U);
    EXPECT_EQ(known->name, nullptr);
    EXPECT_EQ(known->description, nullptr);
}

// The rule that the header gives, applied as a reader of the table would.
std::string name_of(uint32_t vendor, uint32_t product)
{
    for (const modem *row = known_modems; row->mask != 0; row++)
        if (((vendor | product << 16) & row->mask) == row->id)
            return row->name;
    return "";
}

TEST(modems, match_by_vendor_and_product)
{
    struct {
        uint32_t vendor;
        uint32_t product;
        const char *name;
    } const devices[] = {
        {0x12d1, 0x1446, "huawei-1550"},
        {0x12d1, 0x1001, "huawei-1550"},
        {0x12d1, 0x1003, "huawei-160"},
        {0x12d1, 0x1002, ""}, // a known vendor's unknown product
        {0x05c6, 0x0000, "anydata-5xx-cdrom"},
        {0x05c6, 0x1000, "anydata-5xx-cdrom"}, // any product
        {0x05c6, 0xffff, "anydata-5xx-cdrom"},
        {0x1bbb, 0x0000, "Alcatel-x500"}, // product 0 is one
        {0x1bbb, 0x0001, ""},
        {0x1446, 0x12d1, ""}, // the wrong way round
        {0x0000, 0x0000, ""}, // the row of zeros is the end, no modem
    };
    for (const auto &device : devices)
        EXPECT_EQ(name_of(device.vendor, device.product), device.name)
            << std::hex << device.vendor << ":" << device.product;
}

} // namespace
