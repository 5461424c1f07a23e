// The kernel's block device events, as the kernel's helper starts them.
#include "hotplug/lock_holder.h"
#include "support/expect.h"
#include "support/router_box.h"

#include <gtest/gtest.h>

using support::environment;
using support::has_waiter;
using support::lock_holder;
using support::outcome;

namespace
{

const std::string LOCK_FILE = "/tmp/hotplug_lock";

class test_box : public support::router_box
{
  public:
    test_box() { mkdir("/media"); }
    using router_box::host_path;
};

environment block_event(const char *action, const char *minor)
{
    return {{"ACTION", action}, {"MAJOR", "8"}, {"MINOR", minor}, {"PHYSDEVDRIVER", "sd"}};
}

const std::vector<std::string> BLOCK = {"hotplug", "block"};

TEST(hotplug_block_event, add_makes_node_and_directory_and_mounts)
{
    test_box box;
    outcome result = box.run({"/usr/bin/hotplug", "block"}, block_event("add", "1"));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
    EXPECT_TRACE(R"(
        log hotplug: env add sd!\n
        log hotplug: adding disk...\n
        mknod /dev/sda1 b 0700 8:1
        log hotplug: err = 0\n
        log hotplug: err /media/sda1= Success\n
        shell mount /dev/sda1 /media/sda1
        log hotplug: err = 0\n
    )",
                 result.trace);
    EXPECT_TRUE(box.exists("/dev/sda1"));
    EXPECT_EQ(box.mode("/dev/sda1"), 0700U);
    EXPECT_EQ(box.list("/media"), std::vector<std::string>{"sda1"});
    EXPECT_EQ(box.mode("/media/sda1"), 0755U) << "0777 less the umask";
    EXPECT_FALSE(box.exists(LOCK_FILE));
}

TEST(hotplug_block_event, add_of_a_second_disk_with_another_major)
{
    test_box box;
    environment event = block_event("add", "17");
    event[1].second = "259";
    outcome result = box.run(BLOCK, event);
    EXPECT_EQ(result.status, 0);
    EXPECT_TRACE(R"(
        mknod /dev/sdb1 b 0700 259:17
        shell mount /dev/sdb1 /media/sdb1
    )",
                 box.trace_of({"mknod", "shell"}));
}

TEST(hotplug_block_event, fifth_disk_is_a_bad_device)
{
    test_box box;
    for (const char *minor : {"64", "65", "4096", "-16"}) {
        SCOPED_TRACE(minor);
        outcome result = box.run(BLOCK, block_event("add", minor));
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.err, "");
        EXPECT_TRACE(R"(
            log hotplug: env add sd!\n
            log hotplug: bad dev!\n
        )",
                     result.trace);
        EXPECT_EQ(box.list("/media"), std::vector<std::string>{});
        EXPECT_FALSE(box.exists("/dev/sde1"));
        EXPECT_FALSE(box.exists(LOCK_FILE));
    }
}

TEST(hotplug_block_event, mount_that_fails_leaves_nothing_behind)
{
    test_box box;
    box.on("exit 32 mount");
    outcome result = box.run(BLOCK, block_event("add", "1"));
    EXPECT_EQ(result.status, 0);
    EXPECT_TRACE(R"(
        log hotplug: env add sd!\n
        log hotplug: adding disk...\n
        mknod /dev/sda1 b 0700 8:1
        log hotplug: err = 0\n
        log hotplug: err /media/sda1= Success\n
        shell mount /dev/sda1 /media/sda1
        log hotplug: err = 8192\n
        log hotplug: unsuccess 8192!\n
    )",
                 result.trace);
    EXPECT_FALSE(box.exists("/dev/sda1"));
    EXPECT_EQ(box.list("/media"), std::vector<std::string>{});
    EXPECT_FALSE(box.exists(LOCK_FILE));
}

TEST(hotplug_block_event, missing_mount_tool_is_a_mount_that_fails)
{
    test_box box;
    for (const char *path : {"/sbin/mount", "/bin/mount", "/usr/sbin/mount", "/usr/bin/mount"})
        box.remove_tool(path);
    outcome result = box.run(BLOCK, block_event("add", "1"));
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.trace.find("log hotplug: unsuccess 32512!\\n"), std::string::npos)
        << result.trace;
    EXPECT_FALSE(box.exists("/dev/sda1"));
    EXPECT_EQ(box.list("/media"), std::vector<std::string>{});
}

// A disk that was pulled out and put in again may find its node and directory still there.
TEST(hotplug_block_event, node_and_directory_that_are_there_do_no_harm)
{
    test_box box;
    box.write("/dev/sda1", "node");
    box.mkdir("/media/sda1");
    outcome result = box.run(BLOCK, block_event("add", "1"));
    EXPECT_EQ(result.status, 0);
    EXPECT_TRACE(R"(
        log hotplug: env add sd!\n
        log hotplug: adding disk...\n
        mknod /dev/sda1 b 0700 8:1 = EEXIST
        log hotplug: err = -1\n
        log hotplug: err /media/sda1= File exists\n
        shell mount /dev/sda1 /media/sda1
        log hotplug: err = 0\n
    )",
                 result.trace);
    EXPECT_EQ(box.read("/dev/sda1"), "node");
}

TEST(hotplug_block_event, node_and_directory_that_cannot_be_made_do_not_stop_the_mount)
{
    test_box box;
    box.on("fail EPERM mknod /dev/sda1");
    box.remove("/media");
    outcome result = box.run(BLOCK, block_event("add", "1"));
    EXPECT_EQ(result.status, 0);
    EXPECT_TRACE(R"(
        log hotplug: env add sd!\n
        log hotplug: adding disk...\n
        mknod /dev/sda1 b 0700 8:1 = EPERM
        log hotplug: err = -1\n
        log hotplug: err /media/sda1= No such file or directory\n
        shell mount /dev/sda1 /media/sda1
        log hotplug: err = 0\n
    )",
                 result.trace);
}

// What the failed mount removes need not be what this event made.
TEST(hotplug_block_event, mount_that_fails_removes_an_old_directory_unless_it_is_in_use)
{
    test_box box;
    box.on("exit 1 mount");
    box.mkdir("/media/sda1");
    EXPECT_EQ(box.run(BLOCK, block_event("add", "1")).status, 0);
    EXPECT_FALSE(box.exists("/media/sda1"));

    box.write("/media/sda1/photo", "kept");
    EXPECT_EQ(box.run(BLOCK, block_event("add", "1")).status, 0);
    EXPECT_EQ(box.read("/media/sda1/photo"), "kept");
    EXPECT_FALSE(box.exists("/dev/sda1"));
}

TEST(hotplug_block_event, remove_unmounts_and_deletes)
{
    test_box box;
    box.run(BLOCK, block_event("add", "17"));
    outcome result = box.run(BLOCK, block_event("remove", "17"));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_TRACE(R"(
        log hotplug: env remove sd!\n
        log hotplug: removing disk /media/sdb1...\n
        shell umount /media/sdb1
    )",
                 result.trace);
    EXPECT_FALSE(box.exists("/dev/sdb1"));
    EXPECT_EQ(box.list("/media"), std::vector<std::string>{});
    EXPECT_FALSE(box.exists(LOCK_FILE));
}

TEST(hotplug_block_event, unmount_that_fails_is_not_noticed)
{
    test_box box;
    box.run(BLOCK, block_event("add", "1"));
    box.write("/media/sda1/photo", "still mounted");
    box.on("exit 1 umount");
    outcome result = box.run(BLOCK, block_event("remove", "1"));
    EXPECT_EQ(result.status, 0);
    EXPECT_TRACE(R"(
        log hotplug: env remove sd!\n
        log hotplug: removing disk /media/sda1...\n
        shell umount /media/sda1
    )",
                 result.trace);
    EXPECT_FALSE(box.exists("/dev/sda1"));
    EXPECT_EQ(box.read("/media/sda1/photo"), "still mounted") << "a directory in use stays";
}

TEST(hotplug_block_event, remove_of_what_is_not_there)
{
    test_box box;
    outcome result = box.run(BLOCK, block_event("remove", "65"));
    EXPECT_EQ(result.status, 0);
    EXPECT_TRACE(R"(
        log hotplug: env remove sd!\n
        log hotplug: removing disk /media/sde1...\n
        shell umount /media/sde1
    )",
                 result.trace);
}

TEST(hotplug_block_event, other_actions_are_not_supported)
{
    test_box box;
    for (const std::string action : {"change", "ADD", "add ", "removed", ""}) {
        SCOPED_TRACE(action);
        outcome result = box.run(BLOCK, block_event(action.c_str(), "1"));
        EXPECT_EQ(result.status, 0);
        EXPECT_TRACE("log hotplug: env " + action +
                         " sd!\\n\n"
                         "log hotplug: not support action!\\n\n",
                     result.trace);
        EXPECT_FALSE(box.exists("/dev/sda1"));
        EXPECT_FALSE(box.exists(LOCK_FILE));
    }
}

TEST(hotplug_block_event, every_variable_is_needed)
{
    for (size_t missing = 0; missing < 4; missing++) {
        test_box box;
        environment event = block_event("add", "1");
        SCOPED_TRACE(event[missing].first);
        event.erase(event.begin() + static_cast<std::ptrdiff_t>(missing));
        outcome result = box.run(BLOCK, event);
        EXPECT_EQ(result.status, 22);
        EXPECT_EQ(result.err, "");
        EXPECT_TRACE("", result.trace);
        EXPECT_FALSE(box.exists(LOCK_FILE));
    }
}

TEST(hotplug_block_event, other_drivers_are_left_alone_without_the_lock)
{
    test_box box;
    lock_holder holder(box.host_path(LOCK_FILE)); // with it the event would wait
    for (const std::string driver : {"usb-storage", "SD", "s", "", "mmcblk", "asd"}) {
        SCOPED_TRACE(driver);
        environment event = block_event("add", "1");
        event[3].second = driver;
        outcome result = box.run(BLOCK, event);
        EXPECT_EQ(result.status, 22);
        EXPECT_TRACE("log hotplug: env add " + driver + "!\\n\n", result.trace);
        EXPECT_FALSE(box.exists("/dev/sda1"));
    }
    EXPECT_TRUE(box.exists(LOCK_FILE));
}

TEST(hotplug_block_event, lock_file_that_cannot_be_opened)
{
    test_box box;
    box.mkdir(LOCK_FILE);
    outcome result = box.run(BLOCK, block_event("add", "1"));
    EXPECT_EQ(result.status, 255);
    EXPECT_TRACE(R"(
        log hotplug: env add sd!\n
        log hotplug: Failed opening lock file LOCK_FILE: Is a directory\n
    )",
                 result.trace);
    EXPECT_FALSE(box.exists("/dev/sda1"));
}

TEST(hotplug_block_event, waits_for_the_lock)
{
    for (int type : {F_RDLCK, F_WRLCK}) {
        SCOPED_TRACE(type);
        test_box box;
        lock_holder holder(box.host_path(LOCK_FILE), type);
        pid_t event = box.start(BLOCK, block_event("add", "1"));
        ASSERT_TRUE(has_waiter(box.host_path(LOCK_FILE)));
        EXPECT_TRACE(R"(
            log hotplug: env add sd!\n
        )",
                     box.trace());
        EXPECT_FALSE(box.exists("/dev/sda1"));
        holder.release();
        EXPECT_EQ(box.finish(event).status, 0);
        EXPECT_TRACE(R"(
            shell mount /dev/sda1 /media/sda1
        )",
                     box.trace_of({"shell"}));
        EXPECT_FALSE(box.exists(LOCK_FILE));
    }
}

// One event deletes the file that another one waits on: the next one makes a new file and needs not
// wait for the one that got the old lock.
TEST(hotplug_block_event, lock_file_that_is_deleted_meanwhile_makes_two_locks)
{
    test_box box;
    lock_holder holder(box.host_path(LOCK_FILE));
    pid_t waiting = box.start(BLOCK, block_event("add", "1"));
    ASSERT_TRUE(has_waiter(box.host_path(LOCK_FILE)));
    box.remove(LOCK_FILE);

    EXPECT_EQ(box.run(BLOCK, block_event("add", "17")).status, 0) << "does not wait";
    EXPECT_TRUE(box.exists("/media/sdb1"));
    EXPECT_FALSE(box.exists("/media/sda1"));
    EXPECT_FALSE(box.exists(LOCK_FILE));

    holder.release();
    EXPECT_EQ(box.finish(waiting).status, 0);
    EXPECT_TRUE(box.exists("/media/sda1"));
}

// The recorder plays mknod() with an ordinary file. A program that a tool starts runs without the
// recorder, so here a script that stands in for "reboot" starts the event, and the kernel answers:
// no process of a world may make device nodes.
void handle_unrecorded(test_box &box, const std::string &action)
{
    box.symlink("/sbin/mcfg", "/usr/bin/hotplug");
    box.write("/sbin/reboot",
              "#!/bin/sh\nACTION=" + action +
                  " MAJOR=250 MINOR=17 PHYSDEVDRIVER=sd exec /usr/bin/hotplug block\n",
              0755);
    box.clear_trace();
    box.run({"mcfg", "check_update"});
}

TEST(hotplug_block_event, node_that_the_kernel_refuses_does_not_stop_the_mount)
{
    test_box box;
    handle_unrecorded(box, "add");
    EXPECT_TRACE(R"(
        run mount /dev/sdb1 /media/sdb1
    )",
                 box.trace_of({"run"}));
    EXPECT_TRUE(box.exists("/media/sdb1"));
    EXPECT_FALSE(box.exists("/dev/sdb1"));
    EXPECT_FALSE(box.exists(LOCK_FILE));

    handle_unrecorded(box, "remove");
    EXPECT_TRACE(R"(
        run umount /media/sdb1
    )",
                 box.trace_of({"run"}));
    EXPECT_FALSE(box.exists("/media/sdb1"));
}

// Values that no kernel sends stay words of the command.
TEST(hotplug_block_event, driver_name_cannot_become_a_command)
{
    test_box box;
    environment event = block_event("add", "1");
    event[3].second = "sd;reboot;";
    outcome result = box.run(BLOCK, event);
    EXPECT_EQ(result.status, 0);
    EXPECT_TRACE(R"(
        log hotplug: env add sd;reboot;!\n
        log hotplug: adding disk...\n
        mknod /dev/sd;reboot;a1 b 0700 8:1
        log hotplug: err = 0\n
        log hotplug: err /media/sd;reboot;a1= Success\n
        shell mount '/dev/sd;reboot;a1' '/media/sd;reboot;a1'
        run mount /dev/sd;reboot;a1 /media/sd;reboot;a1
        log hotplug: err = 0\n
    )",
                 result.trace);
}

} // namespace
