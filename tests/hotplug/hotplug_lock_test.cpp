#include "hotplug/hotplug_lock.h"

#include "hotplug/lock_holder.h"
#include "support/unit_test.h"

#include <signal.h>
#include <sys/time.h>

using support::lock_holder;

namespace
{

const std::string LOCK_FILE = "/tmp/hotplug_lock";

class hotplug_lock : public support::unit_test
{
  protected:
};

TEST_F(hotplug_lock, file_is_made_for_everyone)
{
    mode_t umask_before = umask(0);
    int fd = open_hotplug_lock();
    umask(umask_before);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(world.mode(LOCK_FILE), 0666U);
    EXPECT_EQ(world.read(LOCK_FILE), "");
    EXPECT_EQ(fcntl(fd, F_GETFL) & O_ACCMODE, O_RDWR);
    EXPECT_TRACE("", world.trace());
    close(fd);
}

TEST_F(hotplug_lock, file_that_is_there_is_left_as_it_is)
{
    world.write(LOCK_FILE, "left by a script", 0600);
    int fd = open_hotplug_lock();
    ASSERT_GE(fd, 0);
    EXPECT_EQ(world.read(LOCK_FILE), "left by a script");
    EXPECT_EQ(world.mode(LOCK_FILE), 0600U);
    close(fd);
}

TEST_F(hotplug_lock, file_that_cannot_be_opened_is_logged)
{
    world.mkdir(LOCK_FILE);
    EXPECT_EQ(open_hotplug_lock(), -1);
    EXPECT_TRACE(R"(
        log hotplug: Failed opening lock file LOCK_FILE: Is a directory\n
    )",
                 world.trace());
}

TEST_F(hotplug_lock, is_held_while_another_process_holds_any_lock)
{
    int fd = open_hotplug_lock();
    ASSERT_GE(fd, 0);
    EXPECT_FALSE(is_hotplug_lock_held(fd));
    for (int type : {F_RDLCK, F_WRLCK}) {
        lock_holder holder(LOCK_FILE, type);
        EXPECT_TRUE(is_hotplug_lock_held(fd)) << type;
        holder.release();
        EXPECT_FALSE(is_hotplug_lock_held(fd)) << type;
    }
    EXPECT_TRACE("", world.trace());
    close(fd);
}

TEST_F(hotplug_lock, own_lock_is_not_held_by_another)
{
    int fd = open_hotplug_lock();
    ASSERT_GE(fd, 0);
    EXPECT_EQ(take_hotplug_lock(fd), 0);
    EXPECT_FALSE(is_hotplug_lock_held(fd));
    close(fd);
}

TEST_F(hotplug_lock, query_that_the_kernel_refuses_counts_as_not_held)
{
    EXPECT_FALSE(is_hotplug_lock_held(-1));
    EXPECT_TRACE("", world.trace());
}

TEST_F(hotplug_lock, covers_the_whole_file_however_long_it_is)
{
    world.write(LOCK_FILE, std::string(100000, 'x'));
    int fd = open_hotplug_lock();
    ASSERT_GE(fd, 0);
    lseek(fd, 500, SEEK_SET); // the lock counts from the start, wherever the file stands
    ASSERT_EQ(take_hotplug_lock(fd), 0);
    pid_t pid = fork();
    if (pid == 0) { // asks about each end, as another process
        int status = 0;
        for (off_t at : {off_t{0}, off_t{99999}, off_t{200000}}) {
            struct flock query = {};
            query.l_type = F_RDLCK;
            query.l_whence = SEEK_SET;
            query.l_start = at;
            query.l_len = 1;
            int other = open(LOCK_FILE.c_str(), O_RDWR);
            if (fcntl(other, F_GETLK, &query) != 0 || query.l_type != F_WRLCK)
                status = 1;
        }
        _exit(status);
    }
    int status = -1;
    waitpid(pid, &status, 0);
    EXPECT_EQ(status, 0);
    close(fd);
}

lock_holder *holder_to_release = nullptr;
sig_atomic_t release_at = 0;
volatile sig_atomic_t alarms = 0;

void note_alarm(int)
{
    alarms = alarms + 1;
    if (alarms == release_at)
        holder_to_release->tell_to_release();
}

// A timer whose signal interrupts calls that wait, every 200 ms, without ending the process. The
// signal of that number also ends the holder.
class interruptions
{
  public:
    interruptions(lock_holder &holder, int release_number)
    {
        alarms = 0;
        holder_to_release = &holder;
        release_at = release_number;
        struct sigaction action = {};
        action.sa_handler = note_alarm; // and no SA_RESTART
        sigaction(SIGALRM, &action, &before);
        set_timer(200000);
    }
    ~interruptions()
    {
        set_timer(0);
        sigaction(SIGALRM, &before, nullptr);
    }

  private:
    static void set_timer(int interval_us)
    {
        itimerval timer = {};
        timer.it_value.tv_usec = interval_us;
        timer.it_interval.tv_usec = interval_us;
        setitimer(ITIMER_REAL, &timer, nullptr);
    }

    struct sigaction before = {};
};

TEST_F(hotplug_lock, is_waited_for_once_more_after_a_failure)
{
    int fd = open_hotplug_lock();
    ASSERT_GE(fd, 0);
    lock_holder holder(LOCK_FILE);
    {
        interruptions once(holder, 1);
        EXPECT_EQ(take_hotplug_lock(fd), 0);
    }
    EXPECT_GE(alarms, 1) << "the first request must have failed";
    EXPECT_TRACE("", world.trace());
    close(fd);
}

// The lock is free by then: a third request would get it.
TEST_F(hotplug_lock, fails_after_two_tries)
{
    int fd = open_hotplug_lock();
    ASSERT_GE(fd, 0);
    lock_holder holder(LOCK_FILE);
    {
        interruptions twice(holder, 2);
        EXPECT_EQ(take_hotplug_lock(fd), -1);
    }
    EXPECT_TRACE(R"(
        log hotplug: Failed locking LOCK_FILE: Interrupted system call\n
    )",
                 world.trace());
    close(fd);
}

TEST_F(hotplug_lock, fails_on_a_bad_descriptor)
{
    EXPECT_EQ(take_hotplug_lock(-1), -1);
    EXPECT_TRACE(R"(
        log hotplug: Failed locking LOCK_FILE: Bad file descriptor\n
    )",
                 world.trace());
}

TEST_F(hotplug_lock, release_leaves_the_file_open_and_in_place)
{
    int fd = open_hotplug_lock();
    ASSERT_GE(fd, 0);
    ASSERT_EQ(take_hotplug_lock(fd), 0);
    EXPECT_THROW(lock_holder{LOCK_FILE}, std::runtime_error);
    EXPECT_EQ(release_hotplug_lock(fd), 0);
    EXPECT_NO_THROW(lock_holder{LOCK_FILE});
    EXPECT_GE(fcntl(fd, F_GETFD), 0);
    EXPECT_TRUE(world.exists(LOCK_FILE));
    EXPECT_TRACE(R"(
        log hotplug: Unlock LOCK_FILE\n
    )",
                 world.trace());
    close(fd);
}

TEST_F(hotplug_lock, release_that_fails_is_logged)
{
    EXPECT_EQ(release_hotplug_lock(-1), -1);
    EXPECT_TRACE(R"(
        log hotplug: Failed unlocking LOCK_FILE: Bad file descriptor\n
    )",
                 world.trace());
}

TEST_F(hotplug_lock, remove_closes_and_deletes)
{
    int fd = open_hotplug_lock();
    ASSERT_GE(fd, 0);
    ASSERT_EQ(take_hotplug_lock(fd), 0);
    remove_hotplug_lock(fd);
    EXPECT_EQ(fcntl(fd, F_GETFD), -1);
    EXPECT_FALSE(world.exists(LOCK_FILE));
    EXPECT_NO_THROW(lock_holder{LOCK_FILE});
}

// The file's deletion makes two locks out of one; the handlers live with that.
TEST_F(hotplug_lock, deleted_and_made_anew_is_another_lock)
{
    int old_fd = open_hotplug_lock();
    ASSERT_GE(old_fd, 0);
    lock_holder holder(LOCK_FILE);
    EXPECT_TRUE(is_hotplug_lock_held(old_fd));
    world.remove(LOCK_FILE);
    int new_fd = open_hotplug_lock();
    ASSERT_GE(new_fd, 0);
    EXPECT_FALSE(is_hotplug_lock_held(new_fd));
    EXPECT_EQ(take_hotplug_lock(new_fd), 0);
    EXPECT_TRUE(is_hotplug_lock_held(old_fd)) << "the old file's lock is held on";
    close(new_fd);
    close(old_fd);
}

} // namespace
