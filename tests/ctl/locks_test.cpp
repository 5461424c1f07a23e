// Locks as they are seen from beside: the program's existence locks, and mctl's own.
#include "ctl/record_lock.h"
#include "ctl/status/locks.h"

#include "support/unit_test.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace
{

using seen_lock = support::unit_test;

constexpr char LOCK[] = "/var/lock/Config.lock";

struct holder_row {
    const char *name;
    lock_state expected;
};

const holder_row holder_rows[] = {
    {"mcfg", lock_state::held},  {"mctl", lock_state::held},    {"udhcpc", lock_state::held},
    {"ip-up", lock_state::held}, {"ip-down", lock_state::held}, {"pppd", lock_state::left},
};

// Beside each other, as a look takes a while.
TEST_F(seen_lock, is_held_by_a_process_of_the_program)
{
    std::vector<pid_t> lookers;
    for (const holder_row &row : holder_rows) {
        pid_t holder = world.bystander(false, row.name);
        world.write(std::string("/var/lock/by-") + row.name + ".lock", std::to_string(holder));
        lookers.push_back(fork());
        if (lookers.back() == 0) {
            lock_view seen = look_at_lock((std::string("by-") + row.name).c_str());
            _exit(seen.state == row.expected && seen.holder == holder ? 0 : 1);
        }
    }
    for (size_t i = 0; i < lookers.size(); i++) {
        int status = -1;
        EXPECT_EQ(waitpid(lookers[i], &status, 0), lookers[i]);
        EXPECT_EQ(status, 0) << holder_rows[i].name;
    }
}

TEST_F(seen_lock, is_left_or_free)
{
    lock_view seen = look_at_lock("Config");
    EXPECT_EQ(seen.state, lock_state::free);
    EXPECT_EQ(seen.holder, 0);
    world.write(LOCK, "999999");
    seen = look_at_lock("Config");
    EXPECT_EQ(seen.state, lock_state::left);
    EXPECT_EQ(seen.holder, 999999);
    EXPECT_EQ(look_at_lock("state_link").state, lock_state::free);
    world.write(LOCK, "");
    EXPECT_EQ(look_at_lock("Config").holder, 0);
}

// Somebody does that to the lock while it is being looked at.
pid_t meanwhile(void (*routine)())
{
    pid_t child = fork();
    if (child == 0) {
        usleep(100 * 1000);
        routine();
        _exit(0);
    }
    return child;
}

TEST_F(seen_lock, that_is_given_back_or_taken_anew_meanwhile_is_free)
{
    void (*const routines[])() = {
        [] { unlink(LOCK); },
        [] { chmod(LOCK, 0600); },
        [] {
            close(open("/var/lock/another", O_WRONLY | O_CREAT, 0644));
            rename("/var/lock/another", LOCK);
        },
    };
    for (auto routine : routines) {
        world.write(LOCK, "999999");
        pid_t child = meanwhile(routine);
        lock_view seen = look_at_lock("Config");
        EXPECT_EQ(waitpid(child, nullptr, 0), child);
        EXPECT_EQ(seen.state, lock_state::free);
        EXPECT_EQ(seen.holder, 0);
    }
}

// ---- mctl's own

using record_lock = support::unit_test;

constexpr char RECORD[] = "/var/run/some.lock";

// What a process of its own gets: an errno, 0 for the lock.
int taken_by_another(bool must_wait)
{
    pid_t child = fork();
    if (child == 0)
        _exit(take_record(RECORD, must_wait) >= 0 ? 0 : errno);
    int status = 0;
    waitpid(child, &status, 0);
    return WEXITSTATUS(status);
}

TEST_F(record_lock, is_had_by_one)
{
    int lock = take_record(RECORD, false);
    ASSERT_GE(lock, 0);
    EXPECT_EQ(world.mode(RECORD), 0600U);
    EXPECT_EQ(fcntl(lock, F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(taken_by_another(false), EAGAIN);
    release_record(lock);
    EXPECT_EQ(fcntl(lock, F_GETFD), -1);
    EXPECT_EQ(taken_by_another(false), 0);
    EXPECT_EQ(taken_by_another(true), 0);
    release_record(-1);
}

TEST_F(record_lock, is_waited_for)
{
    int lock = take_record(RECORD, true);
    ASSERT_GE(lock, 0);
    int answer[2];
    ASSERT_EQ(pipe2(answer, O_CLOEXEC), 0);
    pid_t child = fork();
    if (child == 0) {
        bool has_it = take_record(RECORD, true) >= 0;
        _exit(write(answer[1], has_it ? "y" : "n", 1) == 1 ? 0 : 1);
    }
    close(answer[1]);
    usleep(50 * 1000);
    ASSERT_EQ(fcntl(answer[0], F_SETFL, O_NONBLOCK), 0);
    char c = '-';
    EXPECT_EQ(read(answer[0], &c, 1), -1) << "not while another has it";
    release_record(lock);
    EXPECT_EQ(waitpid(child, nullptr, 0), child);
    EXPECT_EQ(read(answer[0], &c, 1), 1);
    EXPECT_EQ(c, 'y');
    close(answer[0]);
}

TEST_F(record_lock, is_asked_for_again_after_a_signal)
{
    world.on("fail EINTR lock #1");
    int lock = take_record(RECORD, false);
    EXPECT_GE(lock, 0);
    release_record(lock);
}

TEST_F(record_lock, that_cannot_be_had_leaves_no_descriptor)
{
    int next = open("/", O_RDONLY | O_CLOEXEC);
    close(next);
    world.on("fail ENOLCK lock");
    EXPECT_EQ(take_record(RECORD, false), -1);
    EXPECT_EQ(errno, ENOLCK);
    world.clear_rules();
    world.symlink("/etc/passwd", "/var/run/link.lock");
    EXPECT_EQ(take_record("/var/run/link.lock", false), -1);
    EXPECT_EQ(errno, ELOOP);
    EXPECT_FALSE(world.exists("/etc/passwd"));
    EXPECT_EQ(fcntl(next, F_GETFD), -1);
}

} // namespace
