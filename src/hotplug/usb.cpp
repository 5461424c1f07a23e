#include "hotplug/usb.h"

#include "hotplug/hotplug_lock.h"
#include "util/log.h"
#include "util/open_file.h"
#include "util/shell.h"
#include "util/text.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

constexpr unsigned SETTLE_S = 45; // a mode-switching modem is back by then
constexpr int DEVICE_PATH_MAX = 255;
constexpr size_t ID_LINE_MAX = 64; // with its terminator

constexpr char EVENT_TAG[] = "hotplug";
constexpr char USB_TAG[] = "hotplug_usb";
constexpr char DEVICE_TAG[] = "hotplug_usb_dev";

// Device events say "hotplug_usb" here as well.
static void start_event()
{
    logmessage(EVENT_TAG, "hotplug_usb - start...\n");
    shell("export -p >> /tmp/hotplug_usb");
}

int hotplug_usb()
{
    start_event();
    const char *action = getenv("ACTION");
    const char *product_text = getenv("PRODUCT");
    if (action == nullptr || product_text == nullptr)
        return EINVAL;

    unsigned vendor = 0;
    unsigned product = 0;
    unsigned release = 0;
    sscanf(product_text, "%04x/%04x/%04x", &vendor, &product, &release);
    logmessage(USB_TAG, "action=%s\n", action);
    logmessage(USB_TAG, "hotplug detected product:  %s\n", product_text);
    logmessage(USB_TAG, "Vendor:Product - %04x:%04x \n", vendor, product);
    logmessage(EVENT_TAG, "hotplug_usb - stop...\n");
    return 0;
}

// The environment variable name, logged under label; null when it is missing.
static const char *get_logged(const char *name, const char *label)
{
    const char *value = getenv(name);
    if (value != nullptr)
        logmessage(DEVICE_TAG, "%s=%s\n", label, value);
    return value;
}

// Read the number in the file attribute of the sysfs device. A line without one leaves *id alone.
static bool read_id(const char *device, const char *attribute, unsigned *id)
{
    char path[sizeof("/sys") + DEVICE_PATH_MAX + sizeof("/device/idProduct")];
    text_format(path, sizeof(path), "/sys%.*s/%s", DEVICE_PATH_MAX, device, attribute);
    FILE *file = open_stream(path, "r");
    if (file == nullptr)
        return false;
    char line[ID_LINE_MAX];
    bool is_read = fgets(line, sizeof(line), file) != nullptr;
    fclose(file);
    if (is_read)
        sscanf(line, "%04x", id);
    return is_read;
}

static void log_id(const char *label, unsigned id)
{
    logmessage(DEVICE_TAG, "%s=%04x\n", label, id);
}

struct usb_id {
    unsigned vendor;
    unsigned product;
};

// The identity at the time of the event. Returns false when sysfs does not have it.
static bool read_first_id(const char *device, usb_id *id)
{
    if (!read_id(device, "device/idVendor", &id->vendor))
        return false;
    log_id("Vendor", id->vendor);
    if (!read_id(device, "device/idProduct", &id->product))
        return false;
    log_id("Product", id->product);
    return true;
}

// The identity after the wait. The device may be gone by then, which reads as 0.
static usb_id read_settled_id(const char *device)
{
    usb_id id = {};
    read_id(device, "idVendor", &id.vendor);
    read_id(device, "idProduct", &id.product);
    log_id("Vendor_new", id.vendor);
    log_id("Product_new", id.product);
    return id;
}

static void settle(const char *action, const usb_id &first, const char *physical_device)
{
    sleep(SETTLE_S);
    usb_id settled = read_settled_id(physical_device);
    if (settled.vendor != first.vendor || settled.product != first.product)
        return;
    if (strcmp(action, "add") != 0)
        return;
    logmessage(DEVICE_TAG, "device is cool - start 3g\n");
    shell("/etc/init.d/scripts/3g start");
}

// The lock's descriptor stays open until the process ends.
static int settle_alone(const char *action, const usb_id &first, const char *physical_device)
{
    int fd = open_hotplug_lock();
    if (fd < 0)
        return -1;
    if (is_hotplug_lock_held(fd)) {
        logmessage(USB_TAG, "LOCK_FILE is locking, exit");
        return 0;
    }
    if (take_hotplug_lock(fd) < 0)
        return -1;
    settle(action, first, physical_device);
    return release_hotplug_lock(fd);
}

int hotplug_usb_dev()
{
    start_event();
    const char *action = get_logged("ACTION", "action");
    if (action == nullptr)
        return EINVAL;
    const char *device = get_logged("DEVPATH", "dev_path");
    if (device == nullptr)
        return EINVAL;
    const char *physical_device = get_logged("PHYSDEVPATH", "phys_dev_path");
    if (physical_device == nullptr)
        return EINVAL;

    usb_id first = {};
    if (!read_first_id(device, &first))
        return EINVAL;
    return settle_alone(action, first, physical_device);
}
