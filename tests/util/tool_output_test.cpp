// What an outside tool writes, taken into memory.
#include "util/tool_output.h"

#include "support/descriptors.h"
#include "support/unit_test.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

struct taken {
    std::string text;
    int status;
};

bool operator==(const taken &a, const taken &b)
{
    return a.text == b.text && a.status == b.status;
}

std::ostream &operator<<(std::ostream &out, const taken &what)
{
    return out << what.status << " \"" << what.text << "\"";
}

class tool_output : public support::unit_test
{
  protected:
    // The tool is this script.
    void script(const std::string &lines) { world.write("/tool", "#!/bin/sh\n" + lines, 0755); }

    static taken take(char *(*read)(const char *const argv[], unsigned, int *),
                      unsigned timeout_s = 20)
    {
        const char *const argv[] = {"/tool", "one", nullptr};
        int status = -1;
        char *text = read(argv, timeout_s, &status);
        taken result = {text != nullptr ? text : "(null)", status};
        free(text);
        return result;
    }
};

TEST_F(tool_output, is_taken)
{
    script("echo $1 out\necho err >&2\necho more\n");
    const std::set<int> open = support::open_descriptors();
    std::string err = support::private_world::captured(
        2,
        [](void *) {
            EXPECT_EQ(take(read_tool_output), (taken{"one out\nmore\n", 0}));
        },
        nullptr);
    EXPECT_EQ(err, "err\n");
    EXPECT_EQ(support::open_descriptors(), open);
}

TEST_F(tool_output, is_taken_with_its_errors)
{
    script("echo $1 out\necho err >&2\necho more\n");
    const std::set<int> open = support::open_descriptors();
    std::string err = support::private_world::captured(
        2,
        [](void *) {
            EXPECT_EQ(take(read_tool_messages), (taken{"one out\nerr\nmore\n", 0}));
            dprintf(2, "of ours\n");
        },
        nullptr);
    EXPECT_EQ(err, "of ours\n");
    EXPECT_EQ(support::open_descriptors(), open);
}

TEST_F(tool_output, may_be_nothing)
{
    script("");
    EXPECT_EQ(take(read_tool_output), (taken{"", 0}));
    EXPECT_EQ(take(read_tool_messages), (taken{"", 0}));
}

TEST_F(tool_output, comes_with_what_became_of_the_tool)
{
    script("echo half\nexit 3\n");
    EXPECT_EQ(take(read_tool_output), (taken{"half\n", 3}));
    script("echo half\nkill -9 $$\n");
    EXPECT_EQ(take(read_tool_output), (taken{"half\n", SIGKILL}));
    world.remove("/tool");
    EXPECT_EQ(take(read_tool_messages), (taken{"/tool: No such file or directory\n", ENOENT}));
}

TEST_F(tool_output, comes_with_the_signal_of_a_tool_that_takes_too_long)
{
    ASSERT_EQ(mkfifo("/never", 0600), 0);
    script("echo half\nread line < /never\n");
    EXPECT_EQ(take(read_tool_output, 1), (taken{"half\n", SIGALRM}));
}

// What is in our own buffer by then is ours.
TEST_F(tool_output, leaves_our_own_output_alone)
{
    script("echo of the tool\n");
    std::string out = support::private_world::captured(
        1,
        [](void *) {
            printf("before, ");
            EXPECT_EQ(take(read_tool_output), (taken{"of the tool\n", 0}));
            printf("behind\n");
        },
        nullptr);
    EXPECT_EQ(out, "before, behind\n");
}

// In a file that gets both, as a log of a boot does.
TEST_F(tool_output, stands_behind_what_we_said_before_it)
{
    script("echo of the tool >&2\n");
    std::string said = support::private_world::captured(
        1,
        [](void *) {
            int own = dup(STDERR_FILENO);
            dup2(STDOUT_FILENO, STDERR_FILENO);
            printf("before\n");
            take(read_tool_output);
            printf("behind\n");
            dup2(own, STDERR_FILENO);
            close(own);
        },
        nullptr);
    EXPECT_EQ(said, "before\nof the tool\nbehind\n");
}

// As a program is started whose standard output is closed.
TEST_F(tool_output, is_taken_where_ours_goes_nowhere)
{
    script("echo of the tool\n");
    fflush(stdout);
    int own = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 10);
    close(STDOUT_FILENO);
    taken seen = take(read_tool_output);
    int flags = fcntl(STDOUT_FILENO, F_GETFD);
    dup2(own, STDOUT_FILENO);
    close(own);
    EXPECT_EQ(seen, (taken{"of the tool\n", 0}));
    EXPECT_EQ(flags, -1) << "it is closed again";
}

// All of it is read, more than a pipe holds, so that the tool ends well.
TEST_F(tool_output, is_no_longer_than_it_may_be)
{
    const std::string line(1023, 'x');
    script("i=0\nwhile [ $i -lt 400 ]; do echo " + line + "; i=$((i + 1)); done\necho end >&2\n");
    std::string expected;
    while (expected.size() < TOOL_OUTPUT_MAX)
        expected += line + "\n";
    std::string err = support::private_world::captured(
        2,
        [](void *text) {
            taken seen = take(read_tool_output, 5);
            EXPECT_EQ(seen.status, 0);
            EXPECT_EQ(seen.text.size(), TOOL_OUTPUT_MAX - 1);
            EXPECT_TRUE(seen.text ==
                        static_cast<std::string *>(text)->substr(0, TOOL_OUTPUT_MAX - 1));
        },
        &expected);
    EXPECT_EQ(err, "end\n");
}

TEST_F(tool_output, is_waited_for_through_signals)
{
    ASSERT_EQ(mkfifo("/later", 0600), 0);
    script("echo half\nread line < /later\necho $line\n");
    struct sigaction action = {}, before = {};
    action.sa_handler = [](int) {};
    ASSERT_EQ(sigaction(SIGUSR1, &action, &before), 0);
    pid_t tool = getpid();
    pid_t other = fork();
    if (other == 0) {
        for (int i = 0; i < 5; i++) {
            usleep(20 * 1000);
            syscall(SYS_kill, tool, SIGUSR1);
        }
        int end = open("/later", O_WRONLY);
        _exit(write(end, "whole\n", 6) == 6 ? 0 : 1);
    }
    EXPECT_EQ(take(read_tool_output), (taken{"half\nwhole\n", 0}));
    int status = -1;
    while (waitpid(other, &status, 0) < 0 && errno == EINTR)
        continue;
    EXPECT_EQ(status, 0);
    sigaction(SIGUSR1, &before, nullptr);
}

// Where the kernel reaps all children.
TEST_F(tool_output, is_taken_though_nobody_can_wait_for_the_tool)
{
    script("echo text\n");
    signal(SIGCHLD, SIG_IGN);
    taken seen = take(read_tool_output);
    signal(SIGCHLD, SIG_DFL);
    EXPECT_EQ(seen, (taken{"text\n", ECHILD}));
}

TEST_F(tool_output, is_none_without_a_process)
{
    script("echo text\n");
    world.on("fail EAGAIN fork");
    const std::set<int> open = support::open_descriptors();
    std::string err = support::private_world::captured(
        2,
        [](void *) {
            EXPECT_EQ(take(read_tool_output), (taken{"", EAGAIN}));
        },
        nullptr);
    EXPECT_EQ(err, "fork: Resource temporarily unavailable\n");
    EXPECT_EQ(support::open_descriptors(), open);
}

TEST_F(tool_output, is_none_without_descriptors)
{
    script("echo text\n");
    rlimit before = {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit few = before;
    few.rlim_cur = 0;
    while (fcntl(static_cast<int>(few.rlim_cur), F_GETFD) >= 0)
        few.rlim_cur++;
    setrlimit(RLIMIT_NOFILE, &few);
    taken seen = take(read_tool_output);
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(seen, (taken{"", EMFILE}));
}

// There are two for the pipe, and none to keep our own output with, or one and none for the errors.
// Ours stay as they are: else what is opened next would get what we say.
TEST_F(tool_output, is_none_when_ours_cannot_be_kept)
{
    script("echo text\n");
    struct stat before = {};
    ASSERT_EQ(fstat(STDOUT_FILENO, &before), 0);
    pid_t other = fork();
    if (other == 0) {
        int last = dup(STDERR_FILENO);
        while (last < 20) // a shell has its script in the tenth
            last = dup(STDERR_FILENO);
        rlimit few = {};
        getrlimit(RLIMIT_NOFILE, &few);
        few.rlim_cur = static_cast<rlim_t>(last) + 3;
        setrlimit(RLIMIT_NOFILE, &few);
        alarm(10);
        bool are_none = take(read_tool_output) == taken{"", EMFILE};
        few.rlim_cur++;
        setrlimit(RLIMIT_NOFILE, &few);
        are_none = are_none && take(read_tool_messages) == taken{"", EMFILE} &&
                   take(read_tool_output) == taken{"text\n", 0};
        struct stat now = {};
        bool are_ours = fstat(STDOUT_FILENO, &now) == 0 && now.st_ino == before.st_ino &&
                        fcntl(STDERR_FILENO, F_GETFD) >= 0 && dup(STDERR_FILENO) == last + 1;
        _exit(are_none && are_ours ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(waitpid(other, &status, 0), other);
    EXPECT_EQ(status, 0);
}

} // namespace
