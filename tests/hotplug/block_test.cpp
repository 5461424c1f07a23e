#include "hotplug/block.h"

#include "support/unit_test.h"

#include <stdlib.h>

namespace
{

class block_handler : public support::unit_test
{
  protected:
    void SetUp() override
    {
        unit_test::SetUp();
        world.mkdir("/media");
    }
    void TearDown() override
    {
        for (const char *name : {"ACTION", "MINOR", "PHYSDEVDRIVER", "MAJOR"})
            unsetenv(name);
    }

    static int handle(const char *action, const std::string &driver, const char *major,
                      const char *minor)
    {
        setenv("ACTION", action, 1);
        setenv("PHYSDEVDRIVER", driver.c_str(), 1);
        setenv("MAJOR", major, 1);
        setenv("MINOR", minor, 1);
        return hotplug_block();
    }
};

struct partition_row {
    const char *driver;
    const char *minor;
    const char *shown; // the partition as it stands in the log and, quoted, in the command
    const char *quoted;
};

const partition_row partition_rows[] = {
    {"sd", "0", "sda0", "/media/sda0"}, // the whole disk has a number as well
    {"sd", "1", "sda1", "/media/sda1"},
    {"sd", "15", "sda15", "/media/sda15"},
    {"sd", "16", "sdb0", "/media/sdb0"},
    {"sd", "17", "sdb1", "/media/sdb1"},
    {"sd", "63", "sdd15", "/media/sdd15"},
    {"sd", "65", "sde1", "/media/sde1"}, // never added, but taken away all the same
    {"sd", "", "sda0", "/media/sda0"},   // no digits count as 0
    {"sd", "one", "sda0", "/media/sda0"},
    {"sd", " +17x", "sdb1", "/media/sdb1"},
    {"sd", "-1", "sda-1", "/media/sda-1"},
    {"sd", "-17", "sd`-1", "'/media/sd`-1'"},
    {"sd", "-1072", "sd\\x1e0", "'/media/sd\\x1e0'"}, // letters are counted on past the alphabet
    {"sd", "2147483647", "sd`15", "'/media/sd`15'"},
    {"sd", "99999999999999999999", "sd`15", "'/media/sd`15'"},
    {"sd", "-99999999999999999999", "sda0", "/media/sda0"},
    {"sdmmc", "1", "sdmmca1", "/media/sdmmca1"}, // "sd" need only begin the name
    {"sd;reboot;", "1", "sd;reboot;a1", "'/media/sd;reboot;a1'"},
    {"sd'$(reboot)'", "1", "sd'$(reboot)'a1", "'/media/sd'\\\\''$(reboot)'\\\\''a1'"},
};

TEST_F(block_handler, names_partitions_after_driver_disk_and_number)
{
    for (const partition_row &row : partition_rows) {
        SCOPED_TRACE(std::string(row.driver) + " " + row.minor);
        world.clear_trace();
        EXPECT_EQ(handle("remove", row.driver, "8", row.minor), 0);
        EXPECT_TRACE(std::string("log hotplug: env remove ") + row.driver +
                         "!\\n\nlog hotplug: removing disk /media/" + row.shown +
                         "...\\n\nshell umount " + row.quoted + "\n",
                     world.trace_of({"log", "shell"}));
    }
}

TEST_F(block_handler, takes_the_first_four_disks_only)
{
    // clang-format off
    struct {
        const char *minor;
        bool is_taken;
    } const rows[] = {
        {"0", true},
        {"31", true},
        {"47", true},
        {"63", true},
        {"64", false},
        {"65", false},
        {"4095", false},
        {"4096", false},
        {"4097", false},
        {"-15", true},
        {"-16", false},
        {"-4096", false},
        {"2544", false},
        {"2147483647", false},
        {"-2147483648", false},
    };
    // clang-format on
    for (const auto &row : rows) {
        SCOPED_TRACE(row.minor);
        world.clear_trace();
        EXPECT_EQ(handle("add", "sd", "8", row.minor), 0);
        EXPECT_EQ(world.trace_of({"shell"}) != "", row.is_taken);
        EXPECT_EQ(world.trace().find("bad dev!") == std::string::npos, row.is_taken);
        EXPECT_FALSE(world.exists("/tmp/hotplug_lock"));
    }
}

// The disk is for every program of the router; the umask may take from it, the handler does not.
TEST_F(block_handler, mount_point_is_open_to_all)
{
    world.on("exit 0 mount");
    mode_t before = umask(0);
    EXPECT_EQ(handle("add", "sd", "8", "1"), 0);
    umask(before);
    EXPECT_EQ(world.mode("/media/sda1"), 0777U);
}

// As a device manager may have made it.
TEST_F(block_handler, node_that_is_there_is_no_fault_of_the_mount_point)
{
    world.on("fail EEXIST mknod /dev/sda1");
    EXPECT_EQ(handle("add", "sd", "8", "1"), 0);
    EXPECT_TRACE(R"(
        log hotplug: env add sd!\n
        log hotplug: adding disk...\n
        log hotplug: err = -1\n
        log hotplug: err /media/sda1= Success\n
        log hotplug: err = 0\n
    )",
                 world.trace_of({"log"}));
}

// Interrupted twice while it waits for another handler: that one's file is not touched.
TEST_F(block_handler, without_the_lock_nothing_is_done)
{
    world.on("fail EINTR lock");
    EXPECT_EQ(handle("add", "sd", "8", "1"), -1);
    EXPECT_TRACE(R"(
        log hotplug: env add sd!\n
        lock = EINTR (x2)
        log hotplug: Failed locking LOCK_FILE: Interrupted system call\n
    )",
                 world.trace());
    EXPECT_TRUE(world.exists("/tmp/hotplug_lock"));
}

// The name is cut to what the kernel can call a disk; nothing is overrun.
TEST_F(block_handler, driver_name_that_is_too_long_is_cut)
{
    std::string driver = "sd" + std::string(4000, 'x');
    EXPECT_EQ(handle("remove", driver, "8", "1"), 0);
    EXPECT_TRACE("shell umount /media/" + driver.substr(0, 31) + "\n", world.trace_of({"shell"}));

    // The longest command that there can be.
    world.clear_trace();
    EXPECT_EQ(handle("remove", "sd" + std::string(4000, '\''), "8", "1"), 0);
    std::string quotes;
    for (int i = 0; i < 29; i++)
        quotes += "'\\\\''";
    EXPECT_TRACE("shell umount '/media/sd" + quotes + "'\n", world.trace_of({"shell"}));
    world.clear_trace();
    EXPECT_EQ(handle("add", "sd" + std::string(4000, ';'), "8", "1"), 0);
    EXPECT_TRACE("shell mount '/dev/sd" + std::string(29, ';') + "' '/media/sd" +
                     std::string(29, ';') + "'\n",
                 world.trace_of({"shell"}));
}

} // namespace
