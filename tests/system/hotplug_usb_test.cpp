// The kernel's USB and network events, as the kernel's helper starts them.
#include "hotplug/lock_holder.h"
#include "support/expect.h"
#include "support/router_box.h"

#include <gtest/gtest.h>
#include <sstream>

using support::environment;
using support::has_waiter;
using support::lock_holder;
using support::outcome;

namespace
{

const std::string LOCK_FILE = "/tmp/hotplug_lock";
const std::string DEVICE = "/class/usb_device/usbdev1.4";
const std::string PHYSICAL = "/devices/platform/dwc_otg/usb1/1-1";

const std::vector<std::string> USB = {"hotplug", "usb"};
const std::vector<std::string> USB_DEVICE = {"hotplug", "usb_device"};

// The lines of a trace that begin with one of these texts.
std::string lines_with(const std::string &trace, const std::vector<std::string> &beginnings)
{
    std::istringstream lines(trace);
    std::string found;
    for (std::string line; std::getline(lines, line);)
        for (const std::string &beginning : beginnings)
            if (line.compare(0, beginning.size(), beginning) == 0)
                found += line + "\n";
    return found;
}

class test_box : public support::router_box
{
  public:
    // Sysfs of a device that reads so when the event comes and after the wait.
    void identify(const std::string &vendor, const std::string &product,
                  const std::string &new_vendor, const std::string &new_product)
    {
        write("/sys" + DEVICE + "/device/idVendor", vendor + "\n");
        write("/sys" + DEVICE + "/device/idProduct", product + "\n");
        write("/sys" + PHYSICAL + "/idVendor", new_vendor + "\n");
        write("/sys" + PHYSICAL + "/idProduct", new_product + "\n");
    }
    // Starts the event and waits until it waits: the number of events that do by then.
    pid_t start_waiting(const environment &event, size_t number)
    {
        pid_t handle = start(USB_DEVICE, event);
        for (int i = 0; i < 10000 && waiting() < number; i++)
            usleep(1000);
        EXPECT_EQ(waiting(), number);
        return handle;
    }
    using router_box::host_path;

  private:
    size_t waiting() const { return lines_with(trace(), {"sleep 45"}).size() / sizeof("sleep 45"); }
};

environment device_event(const char *action)
{
    return {{"ACTION", action}, {"DEVPATH", DEVICE}, {"PHYSDEVPATH", PHYSICAL}};
}

TEST(hotplug_usb_event, is_logged)
{
    test_box box;
    outcome result = box.run(USB, {{"ACTION", "add"}, {"PRODUCT", "12d1/1446/0"}});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
    EXPECT_TRACE(R"(
        log hotplug: hotplug_usb - start...\n
        shell export -p >> /tmp/hotplug_usb
        log hotplug_usb: action=add\n
        log hotplug_usb: hotplug detected product:  12d1/1446/0\n
        log hotplug_usb: Vendor:Product - 12d1:1446 \n
        log hotplug: hotplug_usb - stop...\n
    )",
                 result.trace);
    EXPECT_FALSE(box.exists(LOCK_FILE));
}

TEST(hotplug_usb_event, every_variable_is_needed_after_the_diagnosis)
{
    for (const environment &event :
         {environment{{"ACTION", "add"}}, {{"PRODUCT", "12d1/1446/0"}}, {}}) {
        test_box box;
        outcome result = box.run(USB, event);
        EXPECT_EQ(result.status, 22);
        EXPECT_TRACE(R"(
            log hotplug: hotplug_usb - start...\n
            shell export -p >> /tmp/hotplug_usb
        )",
                     result.trace);
    }
}

TEST(hotplug_usb_event, environment_is_appended_for_diagnosis)
{
    test_box box;
    box.write("/tmp/hotplug_usb", "earlier\n");
    box.run(USB, {{"ACTION", "add"}, {"PRODUCT", "1/2/3"}, {"SEQNUM", "it's 7; reboot"}});
    box.run(USB_DEVICE, {{"DEVICE", "/proc/bus/usb/001/004"}});
    std::string text = box.read("/tmp/hotplug_usb");
    size_t at = 0;
    for (const char *line :
         {"earlier\n", "export ACTION='add'\n", "export PRODUCT='1/2/3'\n",
          "export SEQNUM='it'\"'\"'s 7; reboot'\n", "export DEVICE='/proc/bus/usb/001/004'\n"}) {
        size_t found = text.find(line, at);
        ASSERT_NE(found, std::string::npos) << line << "not in order in\n" << text;
        at = found + 1;
    }
}

TEST(hotplug_usb_event, file_that_cannot_be_written_is_no_obstacle)
{
    test_box box;
    box.mkdir("/tmp/hotplug_usb");
    outcome result = box.run(USB, {{"ACTION", "remove"}, {"PRODUCT", "5c6/1/0"}});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.err.find("/tmp/hotplug_usb"), std::string::npos) << result.err;
    EXPECT_NE(result.trace.find("log hotplug_usb: Vendor:Product - 05c6:0001 \\n\n"),
              std::string::npos)
        << result.trace;
}

TEST(hotplug_usb_device_event, modem_that_has_settled_starts_the_service)
{
    test_box box;
    box.identify("12d1", "1001", "12d1", "1001");
    outcome result = box.run(USB_DEVICE, device_event("add"));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
    EXPECT_TRACE(R"(
        log hotplug: hotplug_usb - start...\n
        shell export -p >> /tmp/hotplug_usb
        log hotplug_usb_dev: action=add\n
        log hotplug_usb_dev: dev_path=/class/usb_device/usbdev1.4\n
        log hotplug_usb_dev: phys_dev_path=/devices/platform/dwc_otg/usb1/1-1\n
        log hotplug_usb_dev: Vendor=12d1\n
        log hotplug_usb_dev: Product=1001\n
        sleep 45
        log hotplug_usb_dev: Vendor_new=12d1\n
        log hotplug_usb_dev: Product_new=1001\n
        log hotplug_usb_dev: device is cool - start 3g\n
        shell /etc/init.d/scripts/3g start
        log hotplug: Unlock LOCK_FILE\n
    )",
                 result.trace);
    EXPECT_TRUE(box.exists(LOCK_FILE)) << "the file stays";
    EXPECT_NO_THROW(lock_holder{box.host_path(LOCK_FILE)}) << "its lock does not";
}

TEST(hotplug_usb_device_event, service_that_fails_is_not_noticed)
{
    test_box box;
    box.identify("12d1", "1001", "12d1", "1001");
    box.on("exit 1 /etc/init.d/scripts/3g");
    EXPECT_EQ(box.run(USB_DEVICE, device_event("add")).status, 0);
}

struct settle_row {
    const char *name;
    const char *action;
    std::string vendor, product, new_vendor, new_product;
};

const settle_row settle_rows[] = {
    {"became a modem, whose own event counts", "add", "12d1", "1446", "12d1", "1001"},
    {"became another vendor's", "add", "12d1", "1446", "19d2", "1446"},
    {"is being removed", "remove", "12d1", "1001", "12d1", "1001"},
    {"any other action", "adds", "12d1", "1001", "12d1", "1001"},
    {"empty action", "", "12d1", "1001", "12d1", "1001"},
};

TEST(hotplug_usb_device_event, other_devices_do_not_start_the_service)
{
    for (const settle_row &row : settle_rows) {
        SCOPED_TRACE(row.name);
        test_box box;
        box.identify(row.vendor, row.product, row.new_vendor, row.new_product);
        outcome result = box.run(USB_DEVICE, device_event(row.action));
        EXPECT_EQ(result.status, 0);
        EXPECT_TRACE(
            std::string("log hotplug: hotplug_usb - start...\\n\n"
                        "shell export -p >> /tmp/hotplug_usb\n"
                        "log hotplug_usb_dev: action=") +
                row.action +
                "\\n\n"
                "log hotplug_usb_dev: dev_path=/class/usb_device/usbdev1.4\\n\n"
                "log hotplug_usb_dev: phys_dev_path=/devices/platform/dwc_otg/usb1/1-1\\n\n"
                "log hotplug_usb_dev: Vendor=" +
                row.vendor + "\\n\nlog hotplug_usb_dev: Product=" + row.product +
                "\\n\nsleep 45\nlog hotplug_usb_dev: Vendor_new=" + row.new_vendor +
                "\\n\nlog hotplug_usb_dev: Product_new=" + row.new_product +
                "\\n\nlog hotplug: Unlock LOCK_FILE\\n\n",
            result.trace);
    }
}

TEST(hotplug_usb_device_event, device_that_is_gone_after_the_wait_reads_as_zero)
{
    test_box box;
    box.identify("12d1", "1001", "12d1", "1001");
    box.remove("/sys" + PHYSICAL);
    outcome result = box.run(USB_DEVICE, device_event("add"));
    EXPECT_EQ(result.status, 0);
    EXPECT_TRACE(R"(
        log hotplug_usb_dev: action=add\n
        log hotplug_usb_dev: dev_path=/class/usb_device/usbdev1.4\n
        log hotplug_usb_dev: phys_dev_path=/devices/platform/dwc_otg/usb1/1-1\n
        log hotplug_usb_dev: Vendor=12d1\n
        log hotplug_usb_dev: Product=1001\n
        log hotplug_usb_dev: Vendor_new=0000\n
        log hotplug_usb_dev: Product_new=0000\n
        log hotplug: Unlock LOCK_FILE\n
    )",
                 lines_with(box.trace(), {"log hotplug_usb_dev", "log hotplug: U"}));
}

// Zero equals zero: an identity that does not read as a number is as good as one that does.
TEST(hotplug_usb_device_event, unreadable_identity_that_stays_unreadable_starts_the_service)
{
    test_box box;
    box.identify("none", "none", "none", "none");
    box.remove("/sys" + PHYSICAL);
    outcome result = box.run(USB_DEVICE, device_event("add"));
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.trace.find("shell /etc/init.d/scripts/3g start\n"), std::string::npos)
        << result.trace;
}

struct missing_row {
    const char *name;
    environment event;
    const char *removed; // a file of sysfs, or null
    const char *logged;  // after the start
};

TEST(hotplug_usb_device_event, ends_at_the_first_thing_missing)
{
    const environment whole = device_event("add");
    const std::string vendor = "/sys" + DEVICE + "/device/idVendor";
    const std::string product = "/sys" + DEVICE + "/device/idProduct";
    const missing_row rows[] = {
        {"ACTION", {whole[1], whole[2]}, nullptr, ""},
        {"DEVPATH", {whole[0], whole[2]}, nullptr, R"(
            log hotplug_usb_dev: action=add\n
        )"},
        {"PHYSDEVPATH", {whole[0], whole[1]}, nullptr, R"(
            log hotplug_usb_dev: action=add\n
            log hotplug_usb_dev: dev_path=/class/usb_device/usbdev1.4\n
        )"},
        {"idVendor", whole, vendor.c_str(), R"(
            log hotplug_usb_dev: action=add\n
            log hotplug_usb_dev: dev_path=/class/usb_device/usbdev1.4\n
            log hotplug_usb_dev: phys_dev_path=/devices/platform/dwc_otg/usb1/1-1\n
        )"},
        {"idProduct", whole, product.c_str(), R"(
            log hotplug_usb_dev: action=add\n
            log hotplug_usb_dev: dev_path=/class/usb_device/usbdev1.4\n
            log hotplug_usb_dev: phys_dev_path=/devices/platform/dwc_otg/usb1/1-1\n
            log hotplug_usb_dev: Vendor=12d1\n
        )"},
    };
    for (const missing_row &row : rows) {
        SCOPED_TRACE(row.name);
        test_box box;
        box.identify("12d1", "1001", "12d1", "1001");
        if (row.removed != nullptr)
            box.remove(row.removed);
        outcome result = box.run(USB_DEVICE, row.event);
        EXPECT_EQ(result.status, 22);
        EXPECT_EQ(result.err, "");
        EXPECT_TRACE(row.logged, lines_with(box.trace(), {"log hotplug_usb_dev"}));
        EXPECT_TRACE(R"(
            log hotplug: hotplug_usb - start...\n
            shell export -p >> /tmp/hotplug_usb
        )",
                     lines_with(box.trace(), {"log hotplug:", "shell", "sleep", "run"}));
        EXPECT_FALSE(box.exists(LOCK_FILE));
    }
}

TEST(hotplug_usb_device_event, identity_that_cannot_be_read_ends_the_event)
{
    test_box box;
    box.identify("12d1", "1001", "12d1", "1001");
    const std::string vendor = "/sys" + DEVICE + "/device/idVendor";
    box.write(vendor, "");
    EXPECT_EQ(box.run(USB_DEVICE, device_event("add")).status, 22);
    box.remove(vendor);
    box.mkdir(vendor);
    EXPECT_EQ(box.run(USB_DEVICE, device_event("add")).status, 22);
    EXPECT_FALSE(box.exists(LOCK_FILE));
}

TEST(hotplug_usb_device_event, lock_file_that_cannot_be_opened)
{
    test_box box;
    box.identify("12d1", "1001", "12d1", "1001");
    box.mkdir(LOCK_FILE);
    outcome result = box.run(USB_DEVICE, device_event("add"));
    EXPECT_EQ(result.status, 255);
    EXPECT_TRACE(R"(
        log hotplug: hotplug_usb - start...\n
        log hotplug: Failed opening lock file LOCK_FILE: Is a directory\n
    )",
                 lines_with(box.trace(), {"log hotplug:", "sleep"}));
}

// Whatever lock another process has, even one that only reads.
TEST(hotplug_usb_device_event, is_dropped_while_the_lock_is_held)
{
    for (int type : {F_RDLCK, F_WRLCK}) {
        SCOPED_TRACE(type);
        test_box box;
        box.identify("12d1", "1001", "12d1", "1001");
        lock_holder holder(box.host_path(LOCK_FILE), type);
        outcome result = box.run(USB_DEVICE, device_event("add"));
        EXPECT_EQ(result.status, 0);
        EXPECT_TRACE(R"(
            log hotplug: hotplug_usb - start...\n
            shell export -p >> /tmp/hotplug_usb
            log hotplug_usb_dev: action=add\n
            log hotplug_usb_dev: dev_path=/class/usb_device/usbdev1.4\n
            log hotplug_usb_dev: phys_dev_path=/devices/platform/dwc_otg/usb1/1-1\n
            log hotplug_usb_dev: Vendor=12d1\n
            log hotplug_usb_dev: Product=1001\n
            log hotplug_usb: LOCK_FILE is locking, exit
        )",
                     result.trace);
        holder.release();
        EXPECT_NE(
            box.run(USB_DEVICE, device_event("add")).trace.find("shell /etc/init.d/scripts/3g"),
            std::string::npos)
            << "the next event is handled";
    }
}

// A modem's wait under the lock: another modem's event is dropped, a disk's waits.
TEST(hotplug_usb_device_event, holds_the_lock_while_it_waits)
{
    test_box box;
    box.identify("12d1", "1001", "12d1", "1001");
    box.on("wait /tmp/go sleep 45");
    pid_t first = box.start_waiting(device_event("add"), 1);
    outcome second = box.run(USB_DEVICE, device_event("add"));
    EXPECT_EQ(second.status, 0);
    EXPECT_NE(second.trace.find("log hotplug_usb: LOCK_FILE is locking, exit\n"), std::string::npos)
        << second.trace;
    EXPECT_EQ(second.trace.find("sleep"), std::string::npos) << second.trace;

    box.mkdir("/media");
    pid_t disk =
        box.start({"hotplug", "block"},
                  {{"ACTION", "add"}, {"MAJOR", "8"}, {"MINOR", "1"}, {"PHYSDEVDRIVER", "sd"}});
    ASSERT_TRUE(has_waiter(box.host_path(LOCK_FILE)));
    EXPECT_FALSE(box.exists("/media/sda1"));

    box.clear_trace();
    box.write("/tmp/go", "");
    EXPECT_EQ(box.finish(first).status, 0);
    EXPECT_EQ(box.finish(disk).status, 0);
    EXPECT_TRACE(R"(
        shell /etc/init.d/scripts/3g start
        shell mount /dev/sda1 /media/sda1
    )",
                 box.trace_of({"shell"}));
}

// A disk event that ends deletes the lock file under the waiting modem: the next modem makes a new
// one, and both wait side by side. Either lock is released in the end.
TEST(hotplug_usb_device_event, lock_file_that_is_deleted_meanwhile_makes_two_locks)
{
    test_box box;
    box.identify("12d1", "1001", "12d1", "1001");
    box.on("wait /tmp/go sleep 45");
    pid_t first = box.start_waiting(device_event("add"), 1);
    box.remove(LOCK_FILE);
    pid_t second = box.start_waiting(device_event("add"), 2);
    EXPECT_THROW(lock_holder{box.host_path(LOCK_FILE)}, std::runtime_error);
    box.write("/tmp/go", "");
    EXPECT_EQ(box.finish(first).status, 0);
    EXPECT_EQ(box.finish(second).status, 0);
    EXPECT_NO_THROW(lock_holder{box.host_path(LOCK_FILE)});
}

TEST(hotplug_usb_device_event, long_and_strange_environments)
{
    test_box box;
    box.identify("12d1", "1001", "12d1", "1001");
    for (const std::string &value : {std::string(10000, 'x'), std::string(10000, '/'),
                                     std::string("%s%n%s"), std::string("/../.."), std::string()}) {
        SCOPED_TRACE(value.substr(0, 20));
        outcome device =
            box.run(USB_DEVICE, {{"ACTION", value}, {"DEVPATH", value}, {"PHYSDEVPATH", value}});
        EXPECT_EQ(device.status, 22);
        EXPECT_EQ(box.run(USB, {{"ACTION", value}, {"PRODUCT", value}}).status, 0);
    }
}

TEST(hotplug_net_event, is_logged_and_returns_one)
{
    test_box box;
    outcome result = box.run({"hotplug", "net"}, {{"ACTION", "add"}, {"INTERFACE", "wimax0"}});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
    EXPECT_TRACE(R"(
        log hotplug: hotplug_net - start...\n
        log hotplug: hotplug_net - stop...\n
    )",
                 result.trace);
}

} // namespace
