// Events of the kernel, and what the board's devices give: into the flash goes nothing but the
// radio's default data and the board's own MAC address, where they belong.
#include "fuzz/targets.h"
#include "fuzz/world.h"
#include "hw/flash.h"
#include "hw/switch.h"
#include "util/device.h"

#include <algorithm>
#include <cstring>
#include <netinet/ether.h>

namespace fuzz
{

namespace
{

constexpr const char *hotplug_variables[] = {
    "ACTION", "MINOR", "PHYSDEVDRIVER", "MAJOR", "PRODUCT", "DEVPATH", "PHYSDEVPATH",
};

constexpr const char *attributes[] = {
    "/sys/devices/usb1/device/idVendor",
    "/sys/devices/usb1/device/idProduct",
    "/sys/devices/usb1/idVendor",
    "/sys/devices/usb1/idProduct",
};

bool has_line(const std::string &beginning)
{
    for (const std::string &line : here.lines) {
        if (line.compare(0, beginning.size(), beginning) == 0)
            return true;
    }
    return false;
}

// ---- the radio's calibration data

constexpr size_t EEPROM_OFFSET = 0x40000;
constexpr size_t EEPROM_MAC_OFFSET = EEPROM_OFFSET + 4;
constexpr char DEFAULT_EEPROM[] = "/etc_ro/wlan/RT3050_AP_1T1R_V1_0.bin";

using flash_writes = std::vector<std::pair<size_t, std::string>>;

// The value of the first line for the base address in NVRAM; empty when there is none.
std::string base_mac_text()
{
    const std::string *section = here.files.read("/etc/nvram/0");
    std::string text = "\n" + (section != nullptr ? *section : "");
    std::replace(text.begin(), text.end(), '\0', '\n');
    size_t at = text.find("\nethaddr=");
    if (at == text.npos)
        return "";
    at += strlen("\nethaddr=");
    std::string value = text.substr(at, text.find('\n', at) - at);
    if (value.size() > 1 && value.front() == '"' && value.back() == '"')
        value = value.substr(1, value.size() - 2);
    return value.substr(0, 63);
}

// What belongs into a flash that begins with these bytes, when every step of the check goes well.
flash_writes expected_writes(const std::string &flash)
{
    flash_writes writes;
    const std::string boot_loader = (flash + std::string(10, '\0')).substr(0, 8);
    const std::string signature = (flash + std::string(10, '\0')).substr(8, 2);
    if (boot_loader == std::string("3.3\0----", 8))
        return writes;
    const std::string *image = here.files.read(DEFAULT_EEPROM);
    if (signature != "P0" && image != nullptr && image->size() >= 512)
        writes.emplace_back(EEPROM_OFFSET, image->substr(0, 512));
    ether_addr mac;
    bool is_given = ether_aton_r(base_mac_text().c_str(), &mac) != nullptr;
    if (is_given && mac.ether_addr_octet[0] != 0)
        writes.emplace_back(EEPROM_MAC_OFFSET,
                            std::string(mac.ether_addr_octet, mac.ether_addr_octet + 6));
    return writes;
}

// A step that fails leaves its write out; none is ever another one.
void check_flash(const flash_writes &expected)
{
    size_t next = 0;
    for (const auto &write : here.flash_writes) {
        while (next < expected.size() && expected[next] != write)
            next++;
        if (next++ == expected.size())
            violated("%zu bytes at 0x%zx of the flash", write.second.size(), write.first);
    }
    bool is_well = here.answers.empty() && !here.is_obstructed;
    if (is_well && here.flash_writes != expected)
        violated("%zu writes to the flash in place of %zu", here.flash_writes.size(),
                 expected.size());
}

} // namespace

void test_hotplug(input &parts)
{
    const std::string *event = parts.next();
    for (const char *name : hotplug_variables)
        here.set_variable(name, parts.next());
    for (const char *path : attributes)
        here.put_file(path, parts.next());
    here.answers = parts.next_text();
    here.obstruct(parts.next());
    std::vector<std::string> words = {"hotplug"};
    if (event != nullptr)
        words.push_back(*event);
    int status = run_program_with(words);
    if (status != 0 && status != 1 && status != -1 && status != 22)
        violated("status %d of a hotplug event", status);
    // Only a block event removes the lock's file.
    bool is_block = has_line("mount ") || has_line("umount ");
    if (is_block && !here.is_obstructed && here.files.exists("/tmp/hotplug_lock"))
        violated("the lock of a block event stays");
}

void test_board(input &parts)
{
    here.flash = parts.next_text();
    here.put_file("/etc/nvram/0", parts.next());
    here.put_file("/etc_ro/wlan/RT3050_AP_1T1R_V1_0.bin", parts.next());
    const std::string mode = parts.next_text();
    here.answers = parts.next_text();
    here.obstruct(parts.next());
    const flash_writes expected = expected_writes(here.flash);
    run_program_with({"mcfg", "check_update"});
    check_flash(expected);
    if (has_line("reboot") && !has_line("mtd_write "))
        violated("a reboot for nothing");
    unsigned char byte = 0;
    if (FRead(&byte, 0, FLASH_TRANSFER_MAX + 1) != 0)
        violated("a transfer too long was passed on");
    run_program_with({"mcfg", "get_wan_type"});
    run_program_with({"mcfg", "set_device_params"});
    run([&] { return config_3052(mode.empty() ? 0 : mode[0] - '0'); });
    uint32_t value = 0;
    run([&] { return switch_init() == 0 ? ra3052_reg_read(0x50, &value) : -1; });
    run(restore_3052);
    switch_fini();
}

void test_zone(input &parts)
{
    here.put_file("/etc/TZ", parts.next());
    here.answers = parts.next_text();
    if (run_program_with({"update_time"}) != 0)
        violated("a status of update_time");
}

void test_names(input &parts)
{
    std::vector<std::string> words;
    for (const std::string *word = parts.next(); word != nullptr; word = parts.next())
        words.push_back(*word);
    run_program_with(words);
}

} // namespace fuzz
