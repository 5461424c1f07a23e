// What a process has once it has settled, whatever it was started with.
#include "util/start.h"

#include "support/descriptors.h"
#include "support/unit_test.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <string.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace
{

std::vector<int> closed_ones; // of the standard descriptors

// How many descriptors are open, and what becomes of reading and of writing a byte of those that
// were closed.
std::string use_of_descriptors()
{
    std::string text = std::to_string(support::open_descriptors().size()) + " open";
    for (int fd : closed_ones) {
        char byte = 'x';
        text += read(fd, &byte, 1) == 0 ? ", empty" : std::string(", ") + strerror(errno);
        text += write(fd, &byte, 1) == 1 ? " and taken" : std::string(" and ") + strerror(errno);
    }
    return text;
}

std::string use_of_a_child_and_a_reader_that_go_away()
{
    pid_t child = fork();
    if (child == 0)
        _exit(5);
    int status = -1;
    if (waitpid(child, &status, 0) != child)
        return strerror(errno);
    int ends[2];
    if (pipe(ends) != 0)
        return strerror(errno);
    close(ends[0]);
    return std::to_string(WEXITSTATUS(status)) + ", " +
           (write(ends[1], "x", 1) == 1 ? "taken" : strerror(errno));
}

class settled_process : public support::unit_test
{
  protected:
    // What use says in a process of its own that is started without the closed ones, by somebody
    // who leaves his children to the kernel.
    std::string of(std::string (*use)())
    {
        fflush(nullptr);
        pid_t process = fork();
        if (process == 0) {
            for (int fd : closed_ones)
                close(fd);
            signal(SIGCHLD, SIG_IGN);
            settle_process();
            world.write("/seen", use());
            _exit(0);
        }
        int status = -1;
        EXPECT_EQ(waitpid(process, &status, 0), process);
        EXPECT_EQ(status, 0);
        return world.read("/seen");
    }

    // Each of the standard descriptors that is closed is used like this.
    void expect_use_of_each_closed_one(const std::string &use)
    {
        const std::string open = std::to_string(support::open_descriptors().size()) + " open";
        for (const std::vector<int> &closed :
             std::vector<std::vector<int>>{{0}, {1}, {2}, {0, 1}, {1, 2}, {0, 2}, {0, 1, 2}}) {
            SCOPED_TRACE(testing::PrintToString(closed));
            std::string expected = open;
            for (size_t i = 0; i < closed.size(); i++)
                expected += use;
            closed_ones = closed;
            EXPECT_EQ(of(use_of_descriptors), expected);
        }
        closed_ones.clear();
    }
};

// What is printed goes nowhere, and that is no error.
TEST_F(settled_process, has_nothing_in_place_of_closed_descriptors)
{
    expect_use_of_each_closed_one(", empty and taken");
}

// At the begin of a boot.
TEST_F(settled_process, has_what_cannot_be_written_where_there_are_no_devices)
{
    world.on("fail ENOENT open /dev/null");
    expect_use_of_each_closed_one(", Is a directory and Bad file descriptor");
}

TEST_F(settled_process, waits_for_children_and_outlives_readers)
{
    EXPECT_EQ(of(use_of_a_child_and_a_reader_that_go_away), "5, Broken pipe");
}

} // namespace
