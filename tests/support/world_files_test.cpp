// The files of a world, as a test handles them from outside.
#include "support/router_box.h"
#include "support/scratch.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace
{

class world_files : public testing::Test
{
  protected:
    support::router_box box{BOX_PROBE};
};

TEST_F(world_files, the_routers_directories_are_there)
{
    for (const char *path : {"/etc", "/etc/default", "/etc/ppp/peers", "/var/run", "/var/lock",
                             "/tmp", "/media", "/sys", "/dev", "/run", "/etc/init.d/scripts"})
        EXPECT_TRUE(box.exists(path)) << path;
    EXPECT_EQ(box.mode("/tmp"), 01777U);
    EXPECT_EQ(box.mode("/etc"), 0755U);
    EXPECT_FALSE(box.exists("/home"));
    EXPECT_EQ(box.list("/etc/default"), std::vector<std::string>());
}

TEST_F(world_files, write_makes_directories_and_sets_the_mode)
{
    mode_t mask = umask(077);
    box.write("/a/b/c", std::string("x\0y", 3), 0666);
    umask(mask);
    EXPECT_EQ(box.read("/a/b/c"), std::string("x\0y", 3));
    EXPECT_EQ(box.mode("/a/b/c"), 0666U);
    box.write("/a/b/c", "z");
    EXPECT_EQ(box.read("/a/b/c"), "z");
    EXPECT_EQ(box.mode("/a/b/c"), 0644U);
    EXPECT_THROW(box.write("relative", ""), std::invalid_argument);
}

TEST_F(world_files, missing_files_throw_their_path)
{
    try {
        box.read("/etc/none");
        FAIL();
    } catch (const std::runtime_error &e) {
        EXPECT_NE(std::string(e.what()).find("/etc/none"), std::string::npos);
    }
    EXPECT_THROW(box.mode("/etc/none"), std::runtime_error);
    EXPECT_THROW(box.list("/etc/none"), std::runtime_error);
    EXPECT_EQ(box.link("/etc/none"), "");
    box.remove("/etc/none");
}

TEST_F(world_files, links_lead_where_the_world_has_them)
{
    box.mkdir("/tmp/ppp", 0700);
    EXPECT_EQ(box.mode("/tmp/ppp"), 0700U);
    box.symlink("/tmp/ppp", "/etc/link");
    box.write("/etc/link/options", "in the world");
    EXPECT_EQ(box.read("/tmp/ppp/options"), "in the world");
    EXPECT_EQ(box.read("/etc/link/../ppp/options"), "in the world");
    box.symlink("../tmp/ppp/options", "/etc/relative");
    EXPECT_EQ(box.read("/etc/relative"), "in the world");
    EXPECT_EQ(box.link("/etc/relative"), "../tmp/ppp/options");
    box.symlink("/etc/passwd", "/etc/outside"); // this machine has one, the world does not
    EXPECT_TRUE(box.exists("/etc/outside"));
    EXPECT_THROW(box.read("/etc/outside"), std::runtime_error);
    box.symlink("/etc/loop", "/etc/loop");
    EXPECT_THROW(box.read("/etc/loop"), std::runtime_error);
    box.remove("/etc/link");
    EXPECT_TRUE(box.exists("/tmp/ppp/options"));
    box.remove("/tmp/ppp");
    EXPECT_FALSE(box.exists("/tmp/ppp"));
}

TEST_F(world_files, a_written_file_replaces_a_tool)
{
    box.write("/sbin/led", "#!/bin/sh\necho real $1\n", 0755);
    EXPECT_EQ(box.run({"probe", "eval", "2", "led", "on"}).out, "real on\neval 0\n");
    EXPECT_EQ(box.run({"probe", "eval", "2", "brctl", "on"}).trace, "run brctl on\n");
}

TEST_F(world_files, copy_in_keeps_modes_and_links)
{
    support::scratch_directory room("box_test");
    std::string from = room.path();
    ASSERT_EQ(mkdir((from + "/below").c_str(), 0750), 0);
    room.write("below/file", "text");
    ASSERT_EQ(chmod((from + "/below/file").c_str(), 0600), 0);
    ASSERT_EQ(symlink("file", (from + "/below/link").c_str()), 0);
    box.write("/etc/default/kept", "kept");
    box.copy_in(from, "/etc/default");

    EXPECT_EQ(box.list("/etc/default"), (std::vector<std::string>{"below", "kept"}));
    EXPECT_EQ(box.read("/etc/default/below/link"), "text");
    EXPECT_EQ(box.mode("/etc/default/below/file"), 0600U);
    EXPECT_THROW(box.copy_in("/nowhere", "/etc"), std::runtime_error);
}

TEST_F(world_files, bound_files_cannot_be_written)
{
    char name[] = "/tmp/box_test_XXXXXX";
    int file = mkstemp(name);
    ASSERT_EQ(write(file, "mine", 4), 4);
    close(file);
    box.bind(name, "/etc/shown/file");
    unlink(name);
    EXPECT_EQ(box.read("/etc/shown/file"), "mine");
    EXPECT_EQ(box.run({"probe", "write", "/etc/shown/file", "x"}).out,
              "write -1 Read-only file system\n");
    EXPECT_EQ(box.run({"probe", "write", "/usr/lib/x", "x"}).out,
              "write -1 Read-only file system\n");
    EXPECT_EQ(box.run({"probe", "write", "/sbin/mcfg", "x"}).status, 0);
    EXPECT_THROW(box.bind("/nowhere", "/etc/x"), std::runtime_error);
}

} // namespace
