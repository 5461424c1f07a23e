// Processes, told by their pid files, their names and their words.
#include "ctl/status/processes.h"

#include "support/unit_test.h"

#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <limits.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace
{

using pid_files = support::unit_test;

constexpr char FILE_NAME[] = "/var/run/some.pid";

struct pid_row {
    const char *name;
    std::string content;
    int number;
    const char *iface;
};

// clang-format off
const pid_row pid_rows[] = {
    {"a line", "12\n", 12, ""},
    {"no line end", "12", 12, ""},
    {"a figure", "7", 7, ""},
    {"two lines, as pppd writes them", "12\nppp1\n", 12, "ppp1"},
    {"two lines without an end", "12\nppp1", 12, "ppp1"},
    {"three lines", "12\nppp1\nmore\n", 12, "ppp1"},
    {"a long interface", "12\n0123456789abcdefgh\n", 12, "0123456789abcde"},
    {"blanks before and words behind", "  12 and more\n", 12, ""},
    {"nothing", "", 0, ""},
    {"a line end", "\n", 0, ""},
    {"a word", "none\nppp1\n", 0, "ppp1"},
    {"zero", "0\n", 0, ""},
    {"one", "1\n", 1, ""},
    {"below zero", "-1\n", 0, ""},
    {"the largest", "2147483647\n", INT_MAX, ""},
    {"larger than the largest", "2147483648\n", 0, ""},
    {"larger than anything", "99999999999999999999\n", 0, ""},
    {"as much as is read", std::string(58, ' ') + "12345\n", 12345, ""},
    {"more than is read", std::string(59, ' ') + "12345\nppp1\n", 1234, ""},
};
// clang-format on

TEST_F(pid_files, are_read)
{
    for (const pid_row &row : pid_rows) {
        SCOPED_TRACE(row.name);
        world.write(FILE_NAME, row.content);
        pid_file file = read_pid_file(FILE_NAME);
        EXPECT_EQ(file.number, row.number);
        EXPECT_STREQ(file.iface, row.iface);
    }
}

TEST_F(pid_files, that_are_none_are_not_opened)
{
    EXPECT_EQ(read_pid_file(FILE_NAME).number, 0);
    world.mkdir(FILE_NAME);
    EXPECT_EQ(read_pid_file(FILE_NAME).number, 0);
    ASSERT_EQ(mkfifo("/var/run/fifo", 0600), 0);
    int other_end = open("/var/run/fifo", O_RDWR | O_CLOEXEC);
    ASSERT_EQ(write(other_end, "12\n", 3), 3);
    EXPECT_EQ(read_pid_file("/var/run/fifo").number, 0);
    close(other_end);
}

// One behind the other: what the first has told is not told again.
TEST_F(pid_files, that_cannot_be_opened_tell_nothing)
{
    world.write("/var/run/other.pid", "12\nppp1\n");
    world.write(FILE_NAME, "13\nppp2\n");
    world.on("fail EACCES open /var/run/some.pid");
    pid_file other = read_pid_file("/var/run/other.pid");
    pid_file file = read_pid_file(FILE_NAME);
    EXPECT_EQ(other.number, 12);
    EXPECT_EQ(file.number, 0);
    EXPECT_STREQ(file.iface, "");
}

TEST_F(pid_files, lead_to_processes_of_the_name)
{
    pid_t pid = world.bystander(false, "udhcpc");
    world.write(FILE_NAME, std::to_string(pid) + "\n");
    EXPECT_EQ(find_process(FILE_NAME, "udhcpc"), pid);
    EXPECT_EQ(find_process(FILE_NAME, "udhcp"), 0);
    EXPECT_EQ(find_process(FILE_NAME, "udhcpcd"), 0);
    world.write(FILE_NAME, "999999\n");
    EXPECT_EQ(find_process(FILE_NAME, "udhcpc"), 0);
    world.remove(FILE_NAME);
    EXPECT_EQ(find_process(FILE_NAME, "udhcpc"), 0);
}

bool is_named(int number, const char *name)
{
    const char *const names[] = {"another", name};
    return is_process(number, names, 2);
}

TEST_F(pid_files, lead_to_any_of_several_names)
{
    pid_t pid = world.bystander(false, "ip-up");
    const char *const names[] = {"mcfg", "ip-up", "ip-down"};
    EXPECT_TRUE(is_process(pid, names, 3));
    EXPECT_TRUE(is_process(pid, names, 2));
    EXPECT_FALSE(is_process(pid, names, 1));
    EXPECT_FALSE(is_process(0, names, 3));
    EXPECT_FALSE(is_process(-1, names, 3));
}

// The first process of all is one.
TEST_F(pid_files, may_tell_of_number_1)
{
    std::ifstream file("/proc/1/comm");
    std::string name;
    std::getline(file, name);
    EXPECT_TRUE(is_named(1, name.c_str())) << name;
}

TEST_F(pid_files, names_may_hold_anything)
{
    for (const char *name : {"a) Z (b", "x) R 1", "(", ")", "a b"})
        EXPECT_TRUE(is_named(world.bystander(false, name), name)) << name;
}

TEST_F(pid_files, do_not_lead_to_one_that_has_ended)
{
    pid_t pid = fork();
    if (pid == 0) {
        prctl(PR_SET_NAME, "udhcpc");
        _exit(0);
    }
    siginfo_t info;
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT), 0);
    EXPECT_FALSE(is_named(pid, "udhcpc"));
    EXPECT_EQ(waitpid(pid, nullptr, 0), pid);
}

// A shell with these words that waits for the end of its input.
class waiting_shell
{
  public:
    explicit waiting_shell(std::vector<std::string> words)
    {
        EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
        std::vector<char *> argv;
        for (std::string &word : words)
            argv.push_back(word.data());
        argv.push_back(nullptr);
        number = fork();
        if (number == 0) {
            dup2(ends[0], STDIN_FILENO);
            execv("/bin/sh", argv.data());
            _exit(127);
        }
        close(ends[0]);
        while (first_word() != words[0])
            continue;
    }
    ~waiting_shell()
    {
        close(ends[1]);
        EXPECT_EQ(waitpid(number, nullptr, 0), number);
    }
    pid_t number;

  private:
    std::string first_word() const
    {
        std::ifstream file("/proc/" + std::to_string(number) + "/cmdline");
        std::string word;
        std::getline(file, word, '\0');
        return word;
    }
    int ends[2];
};

using process_words = support::unit_test;

TEST_F(process_words, tell_what_a_process_is)
{
    EXPECT_TRUE(is_named(waiting_shell({"/usr/sbin/udhcpc", "-s"}).number, "udhcpc"));
    EXPECT_TRUE(is_named(waiting_shell({"interpreter", "-s", "udhcpc"}).number, "udhcpc"));
    EXPECT_TRUE(is_named(waiting_shell({"interpreter", "-s", "/x/udhcpc"}).number, "udhcpc"));
    EXPECT_FALSE(is_named(waiting_shell({"interpreter", "-s", "udhcpc/"}).number, "udhcpc"));
    EXPECT_FALSE(is_named(waiting_shell({"interpreter", "-s", "x", "udhcpc"}).number, "udhcpc"));
    EXPECT_FALSE(is_named(waiting_shell({"interpreter", "-s"}).number, "udhcpc"));
}

TEST_F(process_words, find_a_process_without_a_pid_file)
{
    EXPECT_EQ(find_process_by_words("pppd", "call", "wan1"), 0);
    waiting_shell another({"pppd", "-s", "call", "wan12"});
    waiting_shell backwards({"pppd", "-s", "wan1", "call"});
    waiting_shell apart({"pppd", "-s", "call", "x", "wan1"});
    waiting_shell second_word_only({"wan1", "-s", "pppd"});
    waiting_shell of_another_name({"other", "-s", "x", "y", "call", "wan1"});
    EXPECT_EQ(find_process_by_words("pppd", "call", "wan1"), 0);
    waiting_shell its({"pppd", "-s", "x", "call", "call", "wan1", "more"});
    EXPECT_EQ(find_process_by_words("pppd", "call", "wan1"), its.number);
    EXPECT_EQ(find_process_by_words("pppd", "call", "wan12"), another.number);
}

// 1023 bytes of its words are looked at.
TEST_F(process_words, are_looked_at_so_far)
{
    const std::string most(1023 - std::string("pppd -s  call wan1").size(), 'x');
    waiting_shell its({"pppd", "-s", most, "call", "wan1"});
    EXPECT_EQ(find_process_by_words("pppd", "call", "wan1"), its.number);
    waiting_shell further({"pppd", "-s", most + "x", "call", "wan2"});
    EXPECT_EQ(find_process_by_words("pppd", "call", "wan2"), 0);
}

} // namespace
