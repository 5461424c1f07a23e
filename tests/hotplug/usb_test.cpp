#include "hotplug/net.h"
#include "hotplug/usb.h"

#include "support/unit_test.h"

#include <errno.h>
#include <stdlib.h>

namespace
{

class usb_handler : public support::unit_test
{
  protected:
    void TearDown() override
    {
        for (const char *name : {"ACTION", "PRODUCT", "DEVPATH", "PHYSDEVPATH"})
            unsetenv(name);
    }
};

struct product_row {
    const char *text;
    const char *read;
};

const product_row product_rows[] = {
    {"12d1/1446/0", "12d1:1446"},
    {"12D1/1446/100", "12d1:1446"},
    {"5c6/1/0", "05c6:0001"},
    {"12d1/1446", "12d1:1446"},
    {"12d1", "12d1:0000"}, // what is missing is 0
    {"", "0000:0000"},
    {"none", "0000:0000"},
    {"12d1/", "12d1:0000"},
    {"12d1/none/0", "12d1:0000"},
    {"/1446/0", "0000:0000"},
    {"12d14/1446/0", "12d1:0000"}, // four digits, and then the "/" must follow
    {"12d1/14467/0", "12d1:1446"}, // of the last number that matters the rest is let go
    {"12d1 /1446/0", "12d1:0000"},
    {" 12d1/ 1446/0", "12d1:1446"}, // blanks before a number are skipped
    {"0x12d1/1446/0", "0012:0000"}, // the prefix takes two of the four places
    {"0x5/1446/0", "0005:1446"},
    {"-1/1446/0", "ffffffff:1446"}, // as the C library reads a sign
    {"\xff\xfe/1446/0", "0000:0000"},
};

TEST_F(usb_handler, reads_vendor_and_product_with_four_digits_each)
{
    setenv("ACTION", "add", 1);
    for (const product_row &row : product_rows) {
        SCOPED_TRACE(row.text);
        world.clear_trace();
        setenv("PRODUCT", row.text, 1);
        EXPECT_EQ(hotplug_usb(), 0);
        EXPECT_TRACE(std::string("log hotplug: hotplug_usb - start...\\n\n"
                                 "log hotplug_usb: action=add\\n\n"
                                 "log hotplug_usb: hotplug detected product:  ") +
                         row.text + "\\n\nlog hotplug_usb: Vendor:Product - " + row.read +
                         " \\n\nlog hotplug: hotplug_usb - stop...\\n\n",
                     world.trace_of({"log"}));
    }
}

struct id_row {
    const char *name;
    std::string file;
    const char *read; // null: not at all
};

const id_row id_rows[] = {
    {"as sysfs writes it", "12d1\n", "12d1"},
    {"without a line end", "12d1", "12d1"},
    {"short", "5\n", "0005"},
    {"upper case", "ABCD\n", "abcd"},
    {"more than four digits", "12d14567\n", "12d1"},
    {"with a prefix, which counts", "0x12d1\n", "0012"},
    {"blanks first", "  12d1\n", "12d1"},
    {"only the first line counts", "\n12d1\n", "0000"},
    {"no number", "none\n", "0000"},
    {"digits beyond the 63rd character", std::string(62, ' ') + "12d1\n", "0001"},
    {"digits that all stand too far", std::string(63, ' ') + "12d1\n", "0000"},
    {"binary", std::string("\0\xff\x01", 3), "0000"},
    {"a very long line", std::string(100000, '1'), "1111"},
    {"empty", "", nullptr},
};

TEST_F(usb_handler, reads_identities_from_the_first_line)
{
    setenv("ACTION", "remove", 1);
    setenv("DEVPATH", "/class/usb_device/usbdev1.2", 1);
    setenv("PHYSDEVPATH", "/devices/1-1", 1);
    const std::string first = "/sys/class/usb_device/usbdev1.2/device/";
    world.write(first + "idProduct", "1446\n");
    world.write("/sys/devices/1-1/idProduct", "1446\n");
    for (const id_row &row : id_rows) {
        SCOPED_TRACE(row.name);
        world.clear_trace();
        world.write(first + "idVendor", row.file);
        world.write("/sys/devices/1-1/idVendor", row.file);
        int result = hotplug_usb_dev();
        std::string trace = world.trace_of({"log"});
        if (row.read == nullptr) {
            EXPECT_EQ(result, EINVAL);
            EXPECT_EQ(trace.find("Vendor"), std::string::npos) << trace;
            continue;
        }
        EXPECT_EQ(result, 0);
        EXPECT_NE(trace.find(std::string(": Vendor=") + row.read + "\\n"), std::string::npos)
            << trace;
        EXPECT_NE(trace.find(std::string(": Vendor_new=") + row.read + "\\n"), std::string::npos)
            << trace;
    }
}

struct lock_row {
    const char *name;
    const char *rule;
    int result;
    const char *trace; // from the lock on
};

const lock_row lock_rows[] = {
    {"a second try is enough", "fail EINTR lock #1", 0, R"(
        lock = EINTR
        sleep 45
        log hotplug_usb_dev: Vendor_new=12d1\n
        log hotplug_usb_dev: Product_new=1446\n
        log hotplug: Unlock LOCK_FILE\n
    )"},
    {"no lock: nothing is waited for", "fail EINTR lock", -1, R"(
        lock = EINTR (x2)
        log hotplug: Failed locking LOCK_FILE: Interrupted system call\n
    )"},
    {"a lock that cannot be released", "fail ENOLCK unlock", -1, R"(
        sleep 45
        log hotplug_usb_dev: Vendor_new=12d1\n
        log hotplug_usb_dev: Product_new=1446\n
        unlock = ENOLCK
        log hotplug: Failed unlocking LOCK_FILE: No locks available\n
    )"},
};

TEST_F(usb_handler, lock_that_cannot_be_taken_or_released_ends_the_event)
{
    setenv("ACTION", "remove", 1);
    setenv("DEVPATH", "/devices/1-1", 1);
    setenv("PHYSDEVPATH", "/devices/1-1", 1);
    for (const char *directory : {"/sys/devices/1-1/device/", "/sys/devices/1-1/"}) {
        world.write(std::string(directory) + "idVendor", "12d1\n");
        world.write(std::string(directory) + "idProduct", "1446\n");
    }
    for (const lock_row &row : lock_rows) {
        SCOPED_TRACE(row.name);
        world.clear_rules();
        world.clear_trace();
        world.on(row.rule);
        EXPECT_EQ(hotplug_usb_dev(), row.result);
        std::string trace = world.trace();
        std::string last_before = "Product=1446\\n\n";
        size_t begin = trace.find(last_before);
        ASSERT_NE(begin, std::string::npos) << trace;
        EXPECT_TRACE(row.trace, trace.substr(begin + last_before.size()));
        EXPECT_TRUE(world.exists("/tmp/hotplug_lock"));
    }
}

// Sysfs paths of nested hubs are long.
TEST_F(usb_handler, device_paths_of_255_characters_are_used_whole)
{
    setenv("ACTION", "remove", 1);
    std::string device = "/" + std::string(126, 'd') + "/" + std::string(127, 'e');
    std::string physical = "/" + std::string(126, 'p') + "/" + std::string(127, 'q');
    ASSERT_EQ(device.size(), 255U);
    for (const char *id : {"idVendor", "idProduct"}) {
        world.write("/sys" + device + "/device/" + id, "12d1\n");
        world.write("/sys" + physical + "/" + id, "19d2\n");
    }
    setenv("DEVPATH", device.c_str(), 1);
    setenv("PHYSDEVPATH", physical.c_str(), 1);
    EXPECT_EQ(hotplug_usb_dev(), 0);
    EXPECT_NE(world.trace().find("Vendor_new=19d2\\n"), std::string::npos) << world.trace();

    // A longer one is cut, and leads to where the 255 characters lead.
    setenv("PHYSDEVPATH", (physical + "r/and/more").c_str(), 1);
    world.clear_trace();
    EXPECT_EQ(hotplug_usb_dev(), 0);
    EXPECT_NE(world.trace().find("Vendor_new=19d2\\n"), std::string::npos) << world.trace();
    setenv("DEVPATH", ("/x" + device).c_str(), 1);
    EXPECT_EQ(hotplug_usb_dev(), EINVAL);
    setenv("DEVPATH", std::string(100000, '/').c_str(), 1);
    EXPECT_EQ(hotplug_usb_dev(), EINVAL);
}

TEST_F(usb_handler, network_events_are_logged_only)
{
    EXPECT_EQ(hotplug_net(), 1);
    EXPECT_TRACE(R"(
        log hotplug: hotplug_net - start...\n
        log hotplug: hotplug_net - stop...\n
    )",
                 world.trace());
}

} // namespace
