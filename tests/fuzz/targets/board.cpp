// Events of the kernel, and what the board's devices give.
#include "fuzz/targets.h"
#include "fuzz/world.h"
#include "hw/flash.h"
#include "hw/switch.h"
#include "util/device.h"

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
    run_program_with({"mcfg", "check_update"});
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
