#include "platform/nvram.h"

#include "support/rounds.h"
#include "support/unit_test.h"

#include <algorithm>
#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <random>
#include <string.h>
#include <string>
#include <sys/file.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>
#include <vector>

namespace
{

constexpr size_t SECTION_MAX = 65536;

class nvram : public support::unit_test
{
  protected:
    void SetUp() override
    {
        support::unit_test::SetUp();
        for (int section = 0; section < 4; section++)
            nvram_close(section);
    }

    void section(const std::string &content) { world.write("/etc/nvram/1", content); }
    std::string section() const { return world.read("/etc/nvram/1"); }

    static std::string said_by_init()
    {
        return support::private_world::captured(
            2, [](void *) { nvram_init(1); }, nullptr);
    }
};

struct reading {
    const char *name;
    std::string content;
    const char *key;
    const char *value;
};

const reading READINGS[] = {
    {"plain", "A=1\nB=2\n", "B", "2"},
    {"first line", "A=1\nB=2\n", "A", "1"},
    {"last line without a line end", "A=1\nB=2", "B", "2"},
    {"not set", "A=1\n", "B", ""},
    {"set to nothing", "A=\n", "A", ""},
    {"set to nothing at the end", "B=1\nA=", "A", ""},
    {"empty file", "", "A", ""},
    {"first of two lines wins", "A=1\nA=2\n", "A", "1"},
    {"first of two wins though it is empty", "A=\nA=2\n", "A", ""},
    {"further equals signs", "A=b=c==\n", "A", "b=c=="},
    {"blanks are kept", "A=  two words \t\n", "A", "  two words \t"},
    {"blanks before the key belong to it", " A=1\n", "A", ""},
    {"carriage return is kept", "A=1\r\n", "A", "1\r"},
    {"quotes are kept", "A=\"1\"\n", "A", "\"1\""},
    {"no comments", "#A=1\n", "#A", "1"},
    {"longer key with the same beginning", "AB=1\nA=2\n", "A", "2"},
    {"shorter key with the same beginning", "A=1\nAB=2\n", "AB", "2"},
    {"case counts", "a=1\n", "A", ""},
    {"line without an equals sign", "A\nA=1\n", "A", "1"},
    {"equals sign in the key asked for", "A=b=c\n", "A=b", "c"},
    {"no key", "A=1\n=2\n", "", "2"},
    {"another key of the same sum", "BB=1\nAa=2\n", "Aa", "2"},
    {"first of two lines wins, between others of the same sum", "BB=1\nAa=2\nBB=3\nAa=4\n", "Aa",
     "2"},
    {"key in the middle of a value", "B=A=1\n", "A", ""},
    {"empty lines", "\n\n\nA=1\n\n", "A", "1"},
    {"bytes beyond ASCII", "A=\xc3\xa9\xff\n", "A", "\xc3\xa9\xff"},
    {"zero byte ends a value", std::string("A=1\0C=3\nB=2\n", 12), "A", "1"},
    {"line after a zero byte", std::string("A=1\0C=3\nB=2\n", 12), "B", "2"},
};

TEST_F(nvram, reads)
{
    for (const reading &row : READINGS) {
        SCOPED_TRACE(row.name);
        section(row.content);
        EXPECT_EQ(nvram_init(1), 0);
        EXPECT_STREQ(nvram_bufget(1, row.key), row.value);
        EXPECT_STREQ(nvram_get(1, row.key), row.value);
        EXPECT_EQ(nvram_close(1), 0);
    }
}

TEST_F(nvram, reads_a_missing_file_as_empty)
{
    EXPECT_EQ(said_by_init(), "");
    EXPECT_EQ(nvram_init(1), 0);
    EXPECT_STREQ(nvram_bufget(1, "A"), "");
    EXPECT_FALSE(world.exists("/etc/nvram/1"));
}

TEST_F(nvram, forgets_a_file_that_is_gone)
{
    section("A=1\n");
    nvram_init(1);
    world.remove("/etc/nvram/1");
    EXPECT_EQ(nvram_init(1), 0);
    EXPECT_STREQ(nvram_bufget(1, "A"), "");
    EXPECT_EQ(nvram_bufset(1, "B", "2"), 0);
    EXPECT_EQ(section(), "B=2\n");
}

TEST_F(nvram, reads_a_section_that_was_not_opened)
{
    section("A=1\n");
    EXPECT_STREQ(nvram_bufget(1, "A"), "1");
    nvram_close(1);
    section("A=2\n");
    EXPECT_STREQ(nvram_get(1, "A"), "2");
}

TEST_F(nvram, keeps_sections_apart)
{
    world.write("/etc/nvram/0", "A=zero\n");
    world.write("/etc/nvram/3", "A=three\n");
    section("A=one\n");
    nvram_init(0);
    nvram_init(1);
    const char *zero = nvram_bufget(0, "A");
    EXPECT_STREQ(nvram_bufget(1, "A"), "one");
    EXPECT_STREQ(nvram_bufget(2, "A"), "");
    EXPECT_STREQ(nvram_bufget(3, "A"), "three");
    EXPECT_EQ(nvram_bufset(1, "A", "changed"), 0);
    EXPECT_STREQ(zero, "zero");
}

TEST_F(nvram, has_four_sections)
{
    for (int section : {-1, 4, 1000000, -2147483647}) {
        SCOPED_TRACE(section);
        EXPECT_EQ(nvram_init(section), -EINVAL);
        EXPECT_STREQ(nvram_bufget(section, "A"), "");
        EXPECT_STREQ(nvram_get(section, "A"), "");
        EXPECT_EQ(nvram_bufset(section, "A", "1"), -EINVAL);
        EXPECT_EQ(nvram_close(section), -EINVAL);
    }
}

// What is handed out stays until the section is opened anew or changes.
TEST_F(nvram, keeps_values_while_the_file_changes)
{
    section("A=old\n");
    nvram_init(1);
    const char *value = nvram_bufget(1, "A");
    section("A=new\n");
    EXPECT_STREQ(value, "old");
    EXPECT_STREQ(nvram_bufget(1, "A"), "old");
    nvram_init(1);
    EXPECT_STREQ(nvram_bufget(1, "A"), "new");
}

TEST_F(nvram, takes_a_full_section_and_no_more)
{
    std::string full = "A=1\nB=" + std::string(SECTION_MAX - 7, 'x') + "\n";
    ASSERT_EQ(full.size(), SECTION_MAX);
    section(full);
    EXPECT_EQ(said_by_init(), "");
    EXPECT_EQ(strlen(nvram_bufget(1, "B")), SECTION_MAX - 7);

    std::string without_line_end = "A=1\nB=" + std::string(SECTION_MAX - 6, 'x');
    section(without_line_end);
    EXPECT_EQ(said_by_init(), "");
    EXPECT_EQ(strlen(nvram_bufget(1, "B")), SECTION_MAX - 6);

    section(full + "C");
    EXPECT_EQ(said_by_init(), "/etc/nvram/1: File too large\n");
    EXPECT_EQ(nvram_init(1), -EFBIG);
    EXPECT_STREQ(nvram_bufget(1, "A"), "");
    EXPECT_EQ(nvram_bufset(1, "A", "1"), -EFBIG);
    EXPECT_EQ(section(), full + "C");
}

// As many lines as there can be, which are then as short as they can be.
TEST_F(nvram, finds_every_line_of_a_full_section)
{
    std::string pairs;
    for (int i = 0; pairs.size() < SECTION_MAX - 16; i++)
        pairs += std::to_string(i) + "=" + std::to_string(i % 10) + "\n";
    section(pairs);
    nvram_init(1);
    const auto count = std::count(pairs.begin(), pairs.end(), '\n');
    for (int i = 0; i < count; i++)
        ASSERT_EQ(nvram_bufget(1, std::to_string(i).c_str()), std::to_string(i % 10));

    std::string shortest;
    while (shortest.size() < SECTION_MAX)
        shortest += "=\n";
    section(shortest);
    EXPECT_EQ(nvram_init(1), 0);
    EXPECT_STREQ(nvram_bufget(1, "A"), "");
    section(shortest.substr(0, SECTION_MAX - 4) + "\nA=1");
    EXPECT_EQ(nvram_init(1), 0);
    EXPECT_STREQ(nvram_bufget(1, "A"), "1");
}

TEST_F(nvram, reports_what_it_cannot_read)
{
    world.mkdir("/etc/nvram/1");
    EXPECT_EQ(said_by_init(), "/etc/nvram/1: Is a directory\n");
    EXPECT_EQ(nvram_bufset(1, "A", "1"), -EISDIR);
    world.remove("/etc/nvram");
    world.write("/etc/nvram", "");
    EXPECT_EQ(said_by_init(), "/etc/nvram/1: Not a directory\n");
    EXPECT_EQ(nvram_bufset(1, "A", "1"), -ENOTDIR);
}

struct setting {
    const char *name;
    std::string before;
    const char *key;
    const char *value;
    std::string after;
};

const setting SETTINGS[] = {
    {"new key", "A=1\n", "B", "2", "A=1\nB=2\n"},
    {"into an empty file", "", "B", "2", "B=2\n"},
    {"behind a last line without a line end", "A=1", "B", "2", "A=1\nB=2\n"},
    {"longer", "A=1\nB=2\nC=3\n", "B", "22222", "A=1\nB=22222\nC=3\n"},
    {"shorter", "A=1\nB=22222\nC=3\n", "B", "2", "A=1\nB=2\nC=3\n"},
    {"to nothing", "A=1\nB=2\nC=3\n", "B", "", "A=1\nB=\nC=3\n"},
    {"first line", "A=1\nB=2\n", "A", "x", "A=x\nB=2\n"},
    {"last line without a line end", "A=1\nB=2", "B", "x", "A=1\nB=x\n"},
    {"the first of two lines", "A=1\nB=2\nA=3\n", "A", "x", "A=x\nB=2\nA=3\n"},
    {"not a longer key", "AB=1\nA=2\n", "A", "x", "AB=1\nA=x\n"},
    {"verbatim", "", "A", " b=\"c\" #\r\t", "A= b=\"c\" #\r\t\n"},
    {"other lines are kept", "\n# no pair\n=x\nA=1\n", "A", "2", "\n# no pair\n=x\nA=2\n"},
    {"behind a zero byte", std::string("A=1\0B=2\n", 8), "B", "3", "A=1\nB=3\n"},
};

TEST_F(nvram, sets)
{
    for (const setting &row : SETTINGS) {
        SCOPED_TRACE(row.name);
        section(row.before);
        nvram_init(1);
        EXPECT_EQ(nvram_bufset(1, row.key, row.value), 0);
        EXPECT_EQ(section(), row.after);
        EXPECT_STREQ(nvram_bufget(1, row.key), row.value);
        nvram_close(1);
        EXPECT_STREQ(nvram_bufget(1, row.key), row.value);
        EXPECT_FALSE(world.exists("/etc/nvram/1.new"));
    }
}

TEST_F(nvram, refuses_what_would_not_be_one_pair)
{
    section("A=1\n");
    const char *pairs[][2] = {{"A", "1\n"}, {"A", "1\nB=2"}, {"A", "\n"}, {"", "1"},
                              {"A=", "1"},  {"A=1\nB", "2"}, {"A\n", "1"}};
    for (auto &pair : pairs) {
        SCOPED_TRACE(pair[0] + std::string("=") + pair[1]);
        EXPECT_EQ(nvram_bufset(1, pair[0], pair[1]), -EINVAL);
        EXPECT_EQ(section(), "A=1\n");
    }
}

TEST_F(nvram, refuses_to_grow_past_a_full_section)
{
    std::string almost = "A=1\nB=" + std::string(SECTION_MAX - 8, 'x') + "\n";
    section(almost);
    EXPECT_EQ(nvram_bufset(1, "A", "123"), -ENOSPC);
    EXPECT_EQ(nvram_bufset(1, "C", ""), -ENOSPC);
    EXPECT_EQ(nvram_bufset(1, "C", std::string(2 * SECTION_MAX, 'x').c_str()), -ENOSPC);
    EXPECT_EQ(section(), almost);
    EXPECT_STREQ(nvram_bufget(1, "A"), "1");
    EXPECT_EQ(nvram_bufset(1, "A", "12"), 0);
    EXPECT_EQ(section().size(), SECTION_MAX);
    EXPECT_STREQ(nvram_bufget(1, "A"), "12");
}

TEST_F(nvram, takes_one_pair_that_fills_a_section)
{
    std::string value(SECTION_MAX - 3, 'x');
    EXPECT_EQ(nvram_bufset(1, "A", value.c_str()), 0);
    EXPECT_EQ(section(), "A=" + value + "\n");
    EXPECT_EQ(nvram_bufset(1, "A", (value + "x").c_str()), -ENOSPC);
}

TEST_F(nvram, makes_the_store_of_a_new_router_for_root_only)
{
    world.remove("/etc/nvram");
    EXPECT_EQ(nvram_bufset(1, "WPAPSK1", "secret"), 0);
    EXPECT_EQ(section(), "WPAPSK1=secret\n");
    EXPECT_EQ(world.mode("/etc/nvram/1"), 0600U);
    EXPECT_EQ(world.mode("/etc/nvram"), 0755U);
}

TEST_F(nvram, keeps_the_mode_of_the_file)
{
    world.write("/etc/nvram/1", "A=1\n", 0741);
    EXPECT_EQ(nvram_bufset(1, "A", "2"), 0);
    EXPECT_EQ(world.mode("/etc/nvram/1"), 0741U);
}

// What was read before lies behind a shorter text.
TEST_F(nvram, does_not_find_what_is_gone_behind_an_end_without_a_line_end)
{
    for (const char *left : {"A", "", "B=2\nA"}) {
        section("A=1\nA=1\n");
        nvram_init(1);
        section(left);
        nvram_init(1);
        EXPECT_STREQ(nvram_bufget(1, "A"), "");
    }
}

TEST_F(nvram, reads_the_file_anew_before_it_sets)
{
    section("A=1\n");
    nvram_init(1);
    section("A=1\nB=from elsewhere\n");
    EXPECT_EQ(nvram_bufset(1, "A", "2"), 0);
    EXPECT_EQ(section(), "A=2\nB=from elsewhere\n");
    EXPECT_STREQ(nvram_bufget(1, "B"), "from elsewhere");
}

// A part of a file that a power cut left beside is not taken for anything.
TEST_F(nvram, overwrites_what_a_cut_left_beside)
{
    section("A=1\n");
    world.write("/etc/nvram/1.new", "A=2\nB=a very long line that is not all there");
    nvram_init(1);
    EXPECT_STREQ(nvram_bufget(1, "A"), "1");
    EXPECT_EQ(nvram_bufset(1, "B", "2"), 0);
    EXPECT_EQ(section(), "A=1\nB=2\n");
    EXPECT_FALSE(world.exists("/etc/nvram/1.new"));
}

TEST_F(nvram, leaves_the_file_when_it_cannot_write_beside)
{
    section("A=1\n");
    nvram_init(1);
    world.mkdir("/etc/nvram/1.new");
    EXPECT_EQ(nvram_bufset(1, "A", "2"), -EISDIR);
    EXPECT_EQ(section(), "A=1\n");
    EXPECT_STREQ(nvram_bufget(1, "A"), "1");
}

pid_t start_child(void (*work)(int), int argument)
{
    pid_t pid = fork();
    if (pid == 0) {
        work(argument);
        _exit(0);
    }
    return pid;
}

int wait_for(pid_t pid)
{
    int status = -1;
    EXPECT_EQ(waitpid(pid, &status, 0), pid);
    return status;
}

constexpr int WRITERS = 3;
const int KEYS_OF_A_WRITER = support::rounds(40);

std::string key_of(int writer, int number)
{
    return "w" + std::to_string(writer) + "k" + std::to_string(number);
}

// Every writer adds keys of its own, and counts up one of them.
void write_many(int writer)
{
    for (int i = 0; i < KEYS_OF_A_WRITER; i++) {
        std::string count = std::to_string(i + 1);
        if (nvram_bufset(1, key_of(writer, i).c_str(), count.c_str()) != 0 ||
            nvram_bufset(1, key_of(writer, -1).c_str(), count.c_str()) != 0)
            _exit(1);
    }
}

TEST_F(nvram, loses_nothing_when_several_write_at_once)
{
    section("A=1\n");
    std::vector<pid_t> writers;
    for (int i = 0; i < WRITERS; i++)
        writers.push_back(start_child(write_many, i));
    for (pid_t writer : writers)
        EXPECT_EQ(wait_for(writer), 0);

    nvram_init(1);
    EXPECT_STREQ(nvram_bufget(1, "A"), "1");
    for (int writer = 0; writer < WRITERS; writer++) {
        EXPECT_EQ(nvram_bufget(1, key_of(writer, -1).c_str()), std::to_string(KEYS_OF_A_WRITER));
        for (int i = 0; i < KEYS_OF_A_WRITER; i++)
            EXPECT_EQ(nvram_bufget(1, key_of(writer, i).c_str()), std::to_string(i + 1));
    }
    std::string text = section();
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1 + WRITERS * (KEYS_OF_A_WRITER + 1));
}

TEST_F(nvram, waits_for_another_writer)
{
    section("A=1\n");
    int lock = open("/etc/nvram/1.lock", O_RDWR | O_CREAT, 0600);
    ASSERT_EQ(flock(lock, LOCK_EX), 0);
    auto set_without_that_lock = [](int inherited) {
        close(inherited);
        nvram_bufset(1, "A", "2");
    };
    pid_t writer = start_child(set_without_that_lock, lock);
    usleep(50000);
    EXPECT_EQ(waitpid(writer, nullptr, WNOHANG), 0);
    EXPECT_EQ(section(), "A=1\n");
    close(lock);
    EXPECT_EQ(wait_for(writer), 0);
    EXPECT_EQ(section(), "A=2\n");
}

std::string big_section(char filling)
{
    return "A=1\nBIG=" + std::string(40000, filling) + "\nZ=26\n";
}

// Changes a big value to and fro until a timer ends the process, wherever it is by then.
void write_until_killed(int after_us)
{
    const std::string values[] = {std::string(40000, 'x'), std::string(40000, 'y')};
    itimerval timer = {};
    timer.it_value.tv_usec = after_us;
    setitimer(ITIMER_REAL, &timer, nullptr);
    for (unsigned i = 0;; i++)
        nvram_bufset(1, "BIG", values[i % 2].c_str());
}

TEST_F(nvram, is_whole_after_a_writer_was_killed_in_the_middle)
{
    section(big_section('x'));
    std::minstd_rand random(1);
    int cuts_beside = 0;
    // A slow machine has not begun to write by then, so the times grow, and end with the first hit.
    for (int i = 0; i < support::rounds(25) || (cuts_beside == 0 && i < 300); i++) {
        int after_us = 300 + static_cast<int>(random() % static_cast<unsigned>(2000 + i * 200));
        int status = wait_for(start_child(write_until_killed, after_us));
        ASSERT_TRUE(WIFSIGNALED(status));
        std::string left = section();
        ASSERT_TRUE(left == big_section('x') || left == big_section('y')) << left.size();
        cuts_beside += world.exists("/etc/nvram/1.new");
        // The dead writer's lock is free again.
        ASSERT_EQ(nvram_bufset(1, "A", "1"), 0);
    }
    EXPECT_GT(cuts_beside, 0) << "no writer was killed while it wrote";
}

// As a damaged store may be. Walking the chain for each of its lines would take half a milliard
// steps, which are seconds on the router.
TEST_F(nvram, is_read_at_once_though_all_its_lines_have_one_key)
{
    std::string content;
    while (content.size() < SECTION_MAX)
        content += "=\n";
    content.replace(0, 4, "A=1\n");
    section(content);
    clock_t start = clock();
    ASSERT_EQ(nvram_init(1), 0);
    EXPECT_LT(clock() - start, CLOCKS_PER_SEC / 5);
    EXPECT_STREQ(nvram_bufget(1, "A"), "1");
}

} // namespace
