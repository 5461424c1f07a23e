#include "hotplug/block.h"

#include "hotplug/hotplug_lock.h"
#include "util/log.h"
#include "util/shell.h"
#include "util/text.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

constexpr char TAG[] = "hotplug";

constexpr char USB_DISK_DRIVER[] = "sd";
constexpr int MINORS_PER_DISK = 16;
constexpr int DISKS_MAX = 4; // sda to sdd

constexpr mode_t NODE_MODE = 0700;
constexpr mode_t MOUNT_POINT_MODE = 0777;

constexpr size_t PARTITION_NAME_MAX = 32; // the kernel's own bound for names of disks

struct partition {
    int disk; // 0 for the letter a
    dev_t number;
    char node[sizeof("/dev/") + PARTITION_NAME_MAX];
    char mount_point[sizeof("/media/") + PARTITION_NAME_MAX];
};

static void set_partition(struct partition *partition, const char *driver, int major, int minor)
{
    partition->disk = minor / MINORS_PER_DISK;
    partition->number = makedev(static_cast<unsigned>(major), static_cast<unsigned>(minor));

    char name[PARTITION_NAME_MAX];
    text_format(name, sizeof(name), "%s%c%d", driver, 'a' + partition->disk,
                minor % MINORS_PER_DISK);
    text_format(partition->node, sizeof(partition->node), "/dev/%s", name);
    text_format(partition->mount_point, sizeof(partition->mount_point), "/media/%s", name);
}

static void delete_places(const struct partition &partition)
{
    unlink(partition.node);
    rmdir(partition.mount_point); // stays when something is still in it
}

static int mount_partition(const struct partition &partition)
{
    char node[SHELL_LINE_MAX];
    char mount_point[SHELL_LINE_MAX];
    return shell_format("mount %s %s", shell_quote(node, partition.node),
                        shell_quote(mount_point, partition.mount_point));
}

// A node or directory that is there already, for instance after a disk was pulled out while in use,
// does no harm, so only the mount decides.
static void add_disk(const struct partition &partition)
{
    if (partition.disk < 0 || partition.disk >= DISKS_MAX) {
        logmessage(TAG, "bad dev!\n");
        return;
    }
    logmessage(TAG, "adding disk...\n");
    logmessage(TAG, "err = %d\n", mknod(partition.node, S_IFBLK | NODE_MODE, partition.number));

    int error = mkdir(partition.mount_point, MOUNT_POINT_MODE) == 0 ? 0 : errno;
    logmessage(TAG, "err %s= %s\n", partition.mount_point, strerror(error));

    int status = mount_partition(partition);
    logmessage(TAG, "err = %d\n", status);
    if (status != 0) {
        logmessage(TAG, "unsuccess %d!\n", status);
        delete_places(partition);
    }
}

// The disk is gone by now: nothing can be done about an unmount that fails.
static void remove_disk(const struct partition &partition)
{
    logmessage(TAG, "removing disk %s...\n", partition.mount_point);
    char mount_point[SHELL_LINE_MAX];
    shell_format("umount %s", shell_quote(mount_point, partition.mount_point));
    delete_places(partition);
}

struct block_action {
    const char *name;
    void (*handle)(const struct partition &partition);
};

constexpr block_action actions[] = {
    {"add", add_disk},
    {"remove", remove_disk},
};

static void handle_action(const char *action, const struct partition &partition)
{
    for (const block_action &row : actions) {
        if (strcmp(row.name, action) == 0) {
            row.handle(partition);
            return;
        }
    }
    logmessage(TAG, "not support action!\n");
}

int hotplug_block()
{
    const char *action = getenv("ACTION");
    const char *minor = getenv("MINOR");
    const char *driver = getenv("PHYSDEVDRIVER");
    const char *major = getenv("MAJOR");
    if (action == nullptr || minor == nullptr || driver == nullptr || major == nullptr)
        return EINVAL;
    logmessage(TAG, "env %s %s!\n", action, driver);
    if (strncmp(driver, USB_DISK_DRIVER, strlen(USB_DISK_DRIVER)) != 0)
        return EINVAL;

    int fd = open_hotplug_lock();
    if (fd < 0)
        return -1;
    if (take_hotplug_lock(fd) < 0) {
        close(fd);
        return -1;
    }
    struct partition partition;
    set_partition(&partition, driver, text_to_int(major), text_to_int(minor));
    handle_action(action, partition);
    remove_hotplug_lock(fd);
    return 0;
}
