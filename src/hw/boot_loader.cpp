#include "hw/boot_loader.h"

#include "hw/flash.h"
#include "util/mac.h"
#include "util/open_file.h"
#include "util/shell.h"

#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

// Where things stand in the flash.
constexpr uint32_t BOOT_SIGNATURE_OFFSET = 0x16d20;
constexpr uint32_t EEPROM_OFFSET = 0x40000;
constexpr uint32_t EEPROM_MAC_OFFSET = EEPROM_OFFSET + 4;

constexpr size_t EEPROM_SIZE = 512;

constexpr unsigned char boot_signature[] = {'3', '.', '3', '\0', '-', '-', '-', '-'};
constexpr unsigned char eeprom_signature[] = {0x50, 0x30}; // the chip, RT3050, low byte first

constexpr char DEFAULT_EEPROM[] = "/etc_ro/wlan/RT3050_AP_1T1R_V1_0.bin";

static void say(const char *text)
{
    fputs(text, stderr);
}

static void write_default_eeprom()
{
    int fd = open_file(DEFAULT_EEPROM, O_RDONLY);
    if (fd < 0) {
        say("open eeprom file error\n");
        return;
    }
    unsigned char image[EEPROM_SIZE];
    if (read(fd, image, sizeof(image)) < static_cast<ssize_t>(sizeof(image)))
        say("read eeprom file error\n");
    else if (FWrite(image, EEPROM_OFFSET, sizeof(image)) < 0)
        say("write eeprom error\n");
    close(fd);
}

// Put the base MAC address into the calibration data. Only the address's first byte decides, and
// it is held against zero, not against what the flash has: an address that begins with 00 is never
// written, any other one always is. A router without a base address has zeros here.
static void update_eeprom_mac()
{
    unsigned char mac[MAC_BYTES] = {};
    char text[MAC_TEXT_MAX];
    get_box_mac(mac);
    fprintf(stderr, "%s\n", format_mac(mac, text));
    if (mac[0] == 0)
        return;
    say("eeprom mac is not same like in nvram\n");
    FWrite(mac, EEPROM_MAC_OFFSET, sizeof(mac));
}

static void check_eeprom()
{
    unsigned char signature[sizeof(eeprom_signature)] = {};
    if (FRead(signature, EEPROM_OFFSET, sizeof(signature)) < 0) {
        say("read eeprom signature error: Out of scope\n");
        return;
    }
    if (memcmp(signature, eeprom_signature, sizeof(signature)) != 0) {
        say("wrong eeprom, replace it!!!! \n");
        write_default_eeprom();
    }
    // Read only to see whether the area can be read.
    unsigned char old_mac[MAC_BYTES];
    if (FRead(old_mac, EEPROM_MAC_OFFSET, sizeof(old_mac)) < 0) {
        say("read eeprom mac error: Out of scope\n");
        return;
    }
    update_eeprom_mac();
}

void check_update_from_china()
{
    unsigned char signature[sizeof(boot_signature)] = {};
    if (FRead(signature, BOOT_SIGNATURE_OFFSET, sizeof(signature)) < 0) {
        say("read uboot signature error: Out of scope\n");
        return;
    }
    if (memcmp(signature, boot_signature, sizeof(signature)) == 0) {
        say("We have our uboot\n");
        return;
    }
    say("It's china uboot, replace it\n");
    shell("led status overlap");
    shell("mtd_write write /etc_ro/uboot.bin /dev/mtd0");
    check_eeprom();
    shell("reboot");
}
