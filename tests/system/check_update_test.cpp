// The check of the boot loader and of the radio's calibration data, on a whole flash.
#include "support/expect.h"
#include "support/router_box.h"

#include <gtest/gtest.h>

using support::outcome;

namespace
{

// A flash of 4 MB as on the board: boot loader, its settings, the radio's calibration data (EEPROM
// image), and the system.
constexpr size_t FLASH_SIZE = 0x400000;
constexpr size_t BOOT_SIGNATURE = 0x16d20;
constexpr size_t EEPROM = 0x40000;
constexpr size_t EEPROM_MAC = EEPROM + 4;
constexpr size_t EEPROM_SIZE = 512;

const std::string OWN_BOOT_LOADER("3.3\0----", 8);
const std::string FOREIGN_BOOT_LOADER("3.3.2 (J", 8);
const std::string RT3050("\x50\x30", 2);

const std::string DEFAULT_EEPROM = "/etc_ro/wlan/RT3050_AP_1T1R_V1_0.bin";

// Bytes that look like nothing in particular, the same at each call.
std::string some_bytes(size_t size, uint32_t seed)
{
    std::string bytes(size, '\0');
    for (char &byte : bytes) {
        seed = seed * 1664525 + 1013904223;
        byte = static_cast<char>(seed >> 24);
    }
    return bytes;
}

std::string flash_image(const std::string &boot_signature, const std::string &eeprom_signature)
{
    std::string flash = some_bytes(0x30000, 1);                  // boot loader
    flash += std::string("\x12\x34\x56\x78", 4) + "bootdelay=1"; // its settings
    flash.resize(0x40000, '\xff');
    flash += some_bytes(EEPROM_SIZE, 2); // calibration data
    flash.resize(0x50000, '\xff');
    flash += some_bytes(FLASH_SIZE - flash.size(), 3); // kernel and root file system
    flash.replace(BOOT_SIGNATURE, 8, boot_signature);
    flash.replace(EEPROM, eeprom_signature.size(), eeprom_signature);
    return flash;
}

std::string default_eeprom()
{
    return RT3050 + std::string("\x01\x01", 2) + std::string("\x00\x0c\x43\x30\x52\x77", 6) +
           some_bytes(EEPROM_SIZE - 10, 4);
}

class update_box : public support::router_box
{
  public:
    update_box(const std::string &flash, const std::string &mac)
    {
        write("/flash", flash);
        on("flash /flash");
        write(DEFAULT_EEPROM, default_eeprom() + "what follows is not for the flash");
        write("/etc/nvram/0", "pin=12345670\nethaddr=" + mac + "\n");
    }
    outcome check() { return run({"mcfg", "check_update"}); }
    std::string flash() const { return read("/flash"); }
};

// The sequence around what a foreign boot loader leads to.
std::string replacing(const std::string &between)
{
    return "ioctl /dev/flash0 read 0x16d20 8\n"
           "shell led status overlap\n"
           "shell mtd_write write /etc_ro/uboot.bin /dev/mtd0\n" +
           between + "shell reboot\n";
}

const std::string REPLACE = "It's china uboot, replace it\n";

// Compares two flashes without printing megabytes.
void expect_same_flash(const std::string &found, const std::string &wanted)
{
    ASSERT_EQ(found.size(), wanted.size());
    for (size_t i = 0; i < wanted.size(); i++)
        ASSERT_EQ(int(found[i]), int(wanted[i])) << "first difference at 0x" << std::hex << i;
}

TEST(check_update_command, own_boot_loader_is_left_alone)
{
    const std::string flash = flash_image(OWN_BOOT_LOADER, "\xff\xff");
    update_box box(flash, "02:11:22:33:44:55");
    outcome result = box.check();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "We have our uboot\n");
    EXPECT_TRACE(R"(
        ioctl /dev/flash0 read 0x16d20 8
    )",
                 result.trace);
    expect_same_flash(box.flash(), flash);
}

TEST(check_update_command, foreign_boot_loader_is_replaced)
{
    const std::string flash = flash_image(FOREIGN_BOOT_LOADER, RT3050);
    update_box box(flash, "00:11:22:33:44:55");
    outcome result = box.check();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, REPLACE + "00:11:22:33:44:55\n");
    EXPECT_TRACE(replacing("ioctl /dev/flash0 read 0x40000 2\n"
                           "ioctl /dev/flash0 read 0x40004 6\n"),
                 result.trace);
    expect_same_flash(box.flash(), flash);
}

TEST(check_update_command, mac_is_written_into_the_calibration_data)
{
    std::string flash = flash_image(FOREIGN_BOOT_LOADER, RT3050);
    update_box box(flash, "\"02:1a:22:33:44:ff\"");
    outcome result = box.check();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, REPLACE + "02:1A:22:33:44:FF\neeprom mac is not same like in nvram\n");
    EXPECT_TRACE(replacing("ioctl /dev/flash0 read 0x40000 2\n"
                           "ioctl /dev/flash0 read 0x40004 6\n"
                           "ioctl /dev/flash0 write 0x40004 6\n"),
                 result.trace);
    flash.replace(EEPROM_MAC, 6, "\x02\x1a\x22\x33\x44\xff");
    expect_same_flash(box.flash(), flash);
}

TEST(check_update_command, wrong_calibration_data_are_replaced)
{
    std::string flash = flash_image(FOREIGN_BOOT_LOADER, "\xff\xff");
    update_box box(flash, "00:11:22:33:44:55");
    outcome result = box.check();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, REPLACE + "wrong eeprom, replace it!!!! \n00:11:22:33:44:55\n");
    EXPECT_TRACE(replacing("ioctl /dev/flash0 read 0x40000 2\n"
                           "ioctl /dev/flash0 write 0x40000 512\n"
                           "ioctl /dev/flash0 read 0x40004 6\n"),
                 result.trace);
    flash.replace(EEPROM, EEPROM_SIZE, default_eeprom());
    expect_same_flash(box.flash(), flash);
}

TEST(check_update_command, wrong_calibration_data_are_replaced_and_get_the_mac)
{
    std::string flash = flash_image(FOREIGN_BOOT_LOADER, "\x52\x30");
    update_box box(flash, "02:11:22:33:44:55");
    outcome result = box.check();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, REPLACE + "wrong eeprom, replace it!!!! \n02:11:22:33:44:55\n"
                                    "eeprom mac is not same like in nvram\n");
    EXPECT_TRACE(replacing("ioctl /dev/flash0 read 0x40000 2\n"
                           "ioctl /dev/flash0 write 0x40000 512\n"
                           "ioctl /dev/flash0 read 0x40004 6\n"
                           "ioctl /dev/flash0 write 0x40004 6\n"),
                 result.trace);
    flash.replace(EEPROM, EEPROM_SIZE, default_eeprom());
    flash.replace(EEPROM_MAC, 6, "\x02\x11\x22\x33\x44\x55");
    expect_same_flash(box.flash(), flash);
}

// The second boot: the new boot loader ends the check.
TEST(check_update_command, second_run_finds_the_new_boot_loader)
{
    std::string flash = flash_image(FOREIGN_BOOT_LOADER, "\xff\xff");
    update_box box(flash, "02:11:22:33:44:55");
    box.check();
    flash = box.flash();
    flash.replace(BOOT_SIGNATURE, 8, OWN_BOOT_LOADER); // what mtd_write is for
    box.write("/flash", flash);
    outcome result = box.check();
    EXPECT_EQ(result.err, "We have our uboot\n");
    EXPECT_TRACE(R"(
        ioctl /dev/flash0 read 0x16d20 8
    )",
                 result.trace);
    expect_same_flash(box.flash(), flash);
}

TEST(check_update_command, every_byte_of_the_boot_signature_counts)
{
    for (size_t i = 0; i < OWN_BOOT_LOADER.size(); i++) {
        SCOPED_TRACE(i);
        std::string signature = OWN_BOOT_LOADER;
        signature[i] = i == 3 ? '.' : '\0';
        update_box box(flash_image(signature, RT3050), "00:11:22:33:44:55");
        outcome result = box.check();
        EXPECT_EQ(result.err, REPLACE + "00:11:22:33:44:55\n");
        EXPECT_NE(result.trace.find("shell reboot\n"), std::string::npos);
    }
}

TEST(check_update_command, both_bytes_of_the_calibration_signature_count)
{
    for (const char *signature : {"\x51\x30", "\x50\x31", "\x30\x50"}) {
        update_box box(flash_image(FOREIGN_BOOT_LOADER, signature), "00:11:22:33:44:55");
        EXPECT_EQ(box.check().err, REPLACE + "wrong eeprom, replace it!!!! \n00:11:22:33:44:55\n");
        EXPECT_EQ(box.flash().substr(EEPROM, EEPROM_SIZE), default_eeprom());
    }
}

// Whether the address goes into the flash depends on its first byte alone, not on what the flash
// has.
TEST(check_update_command, only_the_first_byte_of_the_mac_decides)
{
    struct {
        const char *nvram;
        const char *printed;
        bool is_written;
    } const rows[] = {
        {"00:00:00:00:00:00", "00:00:00:00:00:00", false},
        {"00:FF:FF:FF:FF:FF", "00:FF:FF:FF:FF:FF", false},
        {"01:00:00:00:00:00", "01:00:00:00:00:00", true},
        {"2:1:2:3:4:5", "02:01:02:03:04:05", true},
        {"80:81:82:83:84:85", "80:81:82:83:84:85", true}, // the very address that stands there
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.nvram);
        std::string flash = flash_image(FOREIGN_BOOT_LOADER, RT3050);
        flash.replace(EEPROM_MAC, 6, "\x80\x81\x82\x83\x84\x85");
        update_box box(flash, row.nvram);
        outcome result = box.check();
        EXPECT_EQ(result.err, REPLACE + row.printed + "\n" +
                                  (row.is_written ? "eeprom mac is not same like in nvram\n" : ""));
        EXPECT_EQ(result.trace.find("ioctl /dev/flash0 write") != std::string::npos,
                  row.is_written);
    }
}

TEST(check_update_command, missing_or_bad_mac_counts_as_zeros)
{
    struct {
        const char *nvram; // null: no file at all
        const char *error;
    } const rows[] = {
        {"pin=12345670\n", "Bad address"},
        {"ethaddr=\n", "Bad address"},
        {nullptr, "Bad address"},
        {"ethaddr=none\n", "Invalid argument"},
        {"ethaddr=02:11:22:33:44\n", "Invalid argument"},
    };
    const std::string flash = flash_image(FOREIGN_BOOT_LOADER, RT3050);
    for (const auto &row : rows) {
        SCOPED_TRACE(row.nvram != nullptr ? row.nvram : "no file");
        update_box box(flash, "");
        if (row.nvram != nullptr)
            box.write("/etc/nvram/0", row.nvram);
        else
            box.remove("/etc/nvram");
        outcome result = box.check();
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.err, REPLACE + "00:00:00:00:00:00\n");
        EXPECT_TRACE(replacing("ioctl /dev/flash0 read 0x40000 2\n"
                               "ioctl /dev/flash0 read 0x40004 6\n"
                               "log mcfg-get_box_mac: cannot get base MAC addr: " +
                               std::string(row.error) + "\\n\n"),
                     result.trace);
        expect_same_flash(box.flash(), flash);
    }
}

struct image_row {
    const char *name;
    enum { missing, directory, file } what;
    std::string content;
    const char *message;
};

TEST(check_update_command, default_calibration_data_that_cannot_be_used_do_not_stop_the_rest)
{
    const std::string start = default_eeprom();
    const image_row rows[] = {
        {"missing", image_row::missing, "", "open eeprom file error\n"},
        {"a directory", image_row::directory, "", "read eeprom file error\n"},
        {"empty", image_row::file, "", "read eeprom file error\n"},
        {"one byte short", image_row::file, start.substr(0, 511), "read eeprom file error\n"},
    };
    for (const image_row &row : rows) {
        SCOPED_TRACE(row.name);
        std::string flash = flash_image(FOREIGN_BOOT_LOADER, "\xff\xff");
        update_box box(flash, "02:11:22:33:44:55");
        box.remove(DEFAULT_EEPROM);
        if (row.what == image_row::directory)
            box.mkdir(DEFAULT_EEPROM);
        if (row.what == image_row::file)
            box.write(DEFAULT_EEPROM, row.content);
        outcome result = box.check();
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.err, REPLACE + "wrong eeprom, replace it!!!! \n" + row.message +
                                  "02:11:22:33:44:55\neeprom mac is not same like in nvram\n");
        EXPECT_TRACE(replacing("ioctl /dev/flash0 read 0x40000 2\n"
                               "ioctl /dev/flash0 read 0x40004 6\n"
                               "ioctl /dev/flash0 write 0x40004 6\n"),
                     result.trace);
        flash.replace(EEPROM_MAC, 6, "\x02\x11\x22\x33\x44\x55");
        expect_same_flash(box.flash(), flash);
    }
}

TEST(check_update_command, image_of_exactly_512_bytes_is_enough)
{
    update_box box(flash_image(FOREIGN_BOOT_LOADER, "\xff\xff"), "00:11:22:33:44:55");
    box.write(DEFAULT_EEPROM, default_eeprom());
    EXPECT_EQ(box.check().err, REPLACE + "wrong eeprom, replace it!!!! \n00:11:22:33:44:55\n");
    EXPECT_EQ(box.flash().substr(EEPROM, EEPROM_SIZE), default_eeprom());
}

struct flash_end_row {
    const char *name;
    size_t size; // of the flash
    std::string messages;
    std::string trace;
};

TEST(check_update_command, flash_that_ends_too_early)
{
    const flash_end_row rows[] = {
        {"in the boot signature: nothing is changed", BOOT_SIGNATURE + 7,
         "read uboot signature error: Out of scope\n", "ioctl /dev/flash0 read 0x16d20 8\n"},
        {"before the calibration data", EEPROM + 1,
         REPLACE + "read eeprom signature error: Out of scope\n",
         replacing("ioctl /dev/flash0 read 0x40000 2\n")},
        {"in the calibration data's MAC", EEPROM_MAC + 5,
         REPLACE + "wrong eeprom, replace it!!!! \nwrite eeprom error\n"
                   "read eeprom mac error: Out of scope\n",
         replacing("ioctl /dev/flash0 read 0x40000 2\n"
                   "ioctl /dev/flash0 write 0x40000 512\n"
                   "ioctl /dev/flash0 read 0x40004 6\n")},
        {"in the calibration data", EEPROM + EEPROM_SIZE - 1,
         REPLACE + "wrong eeprom, replace it!!!! \nwrite eeprom error\n00:11:22:33:44:55\n",
         replacing("ioctl /dev/flash0 read 0x40000 2\n"
                   "ioctl /dev/flash0 write 0x40000 512\n"
                   "ioctl /dev/flash0 read 0x40004 6\n")},
    };
    for (const flash_end_row &row : rows) {
        SCOPED_TRACE(row.name);
        const std::string flash = flash_image(FOREIGN_BOOT_LOADER, "\xff\xff").substr(0, row.size);
        update_box box(flash, "00:11:22:33:44:55");
        outcome result = box.check();
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.err, row.messages);
        EXPECT_TRACE(row.trace, result.trace);
        expect_same_flash(box.flash(), flash);
    }
}

TEST(check_update_command, requests_that_fail)
{
    struct {
        const char *rule;
        std::string messages;
        std::string trace;
    } const rows[] = {
        {"fail EIO ioctl /dev/flash0 read 0x16d20",
         "FLASH_API: ioctl error\nread uboot signature error: Out of scope\n",
         "ioctl /dev/flash0 read 0x16d20 8 = EIO\n"},
        {"fail EIO ioctl /dev/flash0 read 0x40000",
         REPLACE + "FLASH_API: ioctl error\nread eeprom signature error: Out of scope\n",
         replacing("ioctl /dev/flash0 read 0x40000 2 = EIO\n")},
        {"fail EIO ioctl /dev/flash0 write 0x40000",
         REPLACE + "wrong eeprom, replace it!!!! \nFLASH_API: ioctl error\nwrite eeprom error\n"
                   "02:11:22:33:44:55\neeprom mac is not same like in nvram\n",
         replacing("ioctl /dev/flash0 read 0x40000 2\n"
                   "ioctl /dev/flash0 write 0x40000 512 = EIO\n"
                   "ioctl /dev/flash0 read 0x40004 6\n"
                   "ioctl /dev/flash0 write 0x40004 6\n")},
        {"fail EIO ioctl /dev/flash0 read 0x40004",
         REPLACE + "wrong eeprom, replace it!!!! \nFLASH_API: ioctl error\n"
                   "read eeprom mac error: Out of scope\n",
         replacing("ioctl /dev/flash0 read 0x40000 2\n"
                   "ioctl /dev/flash0 write 0x40000 512\n"
                   "ioctl /dev/flash0 read 0x40004 6 = EIO\n")},
        {"fail EIO ioctl /dev/flash0 write 0x40004", // not looked at, but said by the flash access
         REPLACE + "wrong eeprom, replace it!!!! \n02:11:22:33:44:55\n"
                   "eeprom mac is not same like in nvram\nFLASH_API: ioctl error\n",
         replacing("ioctl /dev/flash0 read 0x40000 2\n"
                   "ioctl /dev/flash0 write 0x40000 512\n"
                   "ioctl /dev/flash0 read 0x40004 6\n"
                   "ioctl /dev/flash0 write 0x40004 6 = EIO\n")},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.rule);
        update_box box(flash_image(FOREIGN_BOOT_LOADER, "\xff\xff"), "02:11:22:33:44:55");
        box.on(row.rule);
        outcome result = box.check();
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.err, row.messages);
        EXPECT_TRACE(row.trace, result.trace);
    }
}

// A router without the flash device reads zeros: a foreign boot loader.
TEST(check_update_command, missing_flash_device_is_a_foreign_boot_loader)
{
    const std::string flash = flash_image(OWN_BOOT_LOADER, RT3050);
    update_box box(flash, "02:11:22:33:44:55");
    box.remove("/dev/flash0");
    const std::string no_device = "Open flash pseudo device failed\n";
    outcome result = box.check();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, no_device + REPLACE + no_device + "wrong eeprom, replace it!!!! \n" +
                              no_device + no_device +
                              "02:11:22:33:44:55\neeprom mac is not same like in nvram\n" +
                              no_device);
    EXPECT_TRACE(R"(
        shell led status overlap
        shell mtd_write write /etc_ro/uboot.bin /dev/mtd0
        shell reboot
    )",
                 result.trace);
    expect_same_flash(box.flash(), flash);
}

TEST(check_update_command, tools_that_fail_are_not_noticed)
{
    update_box box(flash_image(FOREIGN_BOOT_LOADER, RT3050), "00:11:22:33:44:55");
    for (const char *rule : {"exit 1 led", "exit 1 mtd_write", "exit 1 reboot"})
        box.on(rule);
    outcome result = box.check();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, REPLACE + "00:11:22:33:44:55\n");
    EXPECT_TRACE(replacing("ioctl /dev/flash0 read 0x40000 2\n"
                           "ioctl /dev/flash0 read 0x40004 6\n"),
                 result.trace);
}

TEST(check_update_command, further_arguments_are_ignored)
{
    update_box box(flash_image(OWN_BOOT_LOADER, RT3050), "00:11:22:33:44:55");
    outcome result = box.run({"/sbin/mcfg", "check_update", "now", ""});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "We have our uboot\n");
}

// The example router's own NVRAM: its address begins with 00.
TEST(check_update_command, of_the_example_router)
{
    std::string flash = flash_image(FOREIGN_BOOT_LOADER, "\xff\xff");
    update_box box(flash, "");
    box.copy_in(MCFG_SOURCE_DIR "/examples/router/etc/nvram", "/etc/nvram");
    outcome result = box.check();
    EXPECT_EQ(result.err, REPLACE + "wrong eeprom, replace it!!!! \n00:0A:EB:11:22:30\n");
    flash.replace(EEPROM, EEPROM_SIZE, default_eeprom());
    expect_same_flash(box.flash(), flash);
}

} // namespace
