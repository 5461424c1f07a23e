#include "util/lock.h"

#include "support/texts.h"
#include "support/unit_test.h"

#include <string>
#include <unistd.h>

namespace
{

constexpr char LOCK[] = "/var/lock/state_link.lock";

using lock_file = support::unit_test;

TEST_F(lock_file, holds_the_process_id_while_it_is_taken)
{
    EXPECT_EQ(set_lock_on_file("state_link", 15), 1);
    EXPECT_EQ(world.read(LOCK), std::to_string(getpid()));
    EXPECT_EQ(world.mode(LOCK), 0644U);
    EXPECT_EQ(clear_lock_on_file("state_link", 15), 1);
    EXPECT_FALSE(world.exists(LOCK));
    EXPECT_EQ(world.trace(), "");
}

TEST_F(lock_file, that_is_held_gives_up_after_all_tries_and_stays)
{
    world.write(LOCK, "1234");
    world.on("watch exists");
    EXPECT_EQ(set_lock_on_file("state_link", 15), 0);
    EXPECT_TRACE(R"(
        exists /var/lock/state_link.lock = yes (x15)
        log mcfg-set_lock_on_file: Can't lock file
    )",
                 world.trace());
    EXPECT_EQ(world.read(LOCK), "1234");
}

TEST_F(lock_file, without_tries_fails_at_once)
{
    world.on("watch exists");
    EXPECT_EQ(set_lock_on_file("state_link", 0), 0);
    EXPECT_TRACE("log mcfg-set_lock_on_file: Can't lock file", world.trace());
    EXPECT_FALSE(world.exists(LOCK));
}

TEST_F(lock_file, that_cannot_be_created_is_tried_once)
{
    world.remove("/var/lock");
    world.on("watch exists");
    EXPECT_EQ(set_lock_on_file("state_link", 15), 0);
    EXPECT_TRACE(R"(
        exists /var/lock/state_link.lock = no
        log mcfg-open_file_with_lock: Can't open unlock file
    )",
                 world.trace());
}

// The directory is there and refuses the file, as a read-only file system does even to root.
TEST_F(lock_file, that_is_refused_by_its_directory_is_tried_once)
{
    world.bind(support::example_path("router"), "/var/lock");
    world.on("watch exists");
    EXPECT_EQ(set_lock_on_file("state_link", 15), 0);
    EXPECT_TRACE(R"(
        exists /var/lock/state_link.lock = no
        log mcfg-open_file_with_lock: Can't open unlock file
    )",
                 world.trace());
    EXPECT_TRUE(world.exists("/var/lock"));
    EXPECT_FALSE(world.exists(LOCK));
}

TEST_F(lock_file, is_tested_once_when_it_is_free)
{
    world.on("watch exists");
    EXPECT_EQ(set_lock_on_file("state_link", 15), 1);
    EXPECT_TRACE("exists /var/lock/state_link.lock = no", world.trace());
}

TEST_F(lock_file, that_nobody_holds_cannot_be_released)
{
    world.on("watch exists");
    EXPECT_EQ(clear_lock_on_file("state_link", 15), 0);
    EXPECT_TRACE(R"(
        exists /var/lock/state_link.lock = no (x15)
        log mcfg-clear_lock_on_file: Can't clear lock file
    )",
                 world.trace());
}

TEST_F(lock_file, is_released_without_a_look_at_its_holder)
{
    world.write(LOCK, "1");
    EXPECT_EQ(clear_lock_on_file("state_link", 1), 1);
    EXPECT_FALSE(world.exists(LOCK));
}

TEST_F(lock_file, that_is_removed_was_there)
{
    world.write(LOCK, "1");
    EXPECT_TRUE(remove_lock_file("state_link"));
    EXPECT_FALSE(world.exists(LOCK));
    EXPECT_FALSE(remove_lock_file("state_link"));
}

TEST_F(lock_file, release_without_tries_fails_and_leaves_it)
{
    world.write(LOCK, "1");
    EXPECT_EQ(clear_lock_on_file("state_link", 0), 0);
    EXPECT_TRUE(world.exists(LOCK));
    EXPECT_TRACE("log mcfg-clear_lock_on_file: Can't clear lock file", world.trace());
}

// A name cut at the path's room stays a path inside the room.
TEST_F(lock_file, with_a_name_beyond_its_room_is_refused_by_the_system)
{
    std::string name(2000, 'n');
    EXPECT_EQ(set_lock_on_file(name.c_str(), 15), 0);
    EXPECT_TRACE("log mcfg-open_file_with_lock: Can't open unlock file", world.trace());
}

} // namespace
