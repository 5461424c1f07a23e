#include "util/shell.h"

#include "support/unit_test.h"

#include <cstring>
#include <string>
#include <sys/wait.h>

namespace
{

class shell_line : public support::unit_test
{
  protected:
    static std::string quoted(const std::string &value)
    {
        char out[SHELL_LINE_MAX];
        return shell_quote(out, value.c_str());
    }
};

TEST_F(shell_line, runs_to_the_letter)
{
    EXPECT_EQ(shell_format("led %s  %s", "yellow_wan", "off"), 0);
    EXPECT_TRACE("shell led yellow_wan  off", world.trace());
}

TEST_F(shell_line, gives_the_wait_status)
{
    world.on("exit 3 led");
    int status = shell("led status overlap");
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 3);
}

TEST_F(shell_line, is_cut_at_255_characters)
{
    std::string word(300, 'w');
    shell_format("led %s", word.c_str());
    EXPECT_EQ(world.trace_of({"shell"}), "shell led " + std::string(251, 'w') + "\n");
}

struct quote_row {
    const char *name;
    const char *value;
    const char *expected;
};

class ordinary_or_quoted : public testing::TestWithParam<quote_row>
{
};

TEST_P(ordinary_or_quoted, value)
{
    char out[SHELL_LINE_MAX];
    EXPECT_STREQ(shell_quote(out, GetParam().value), GetParam().expected);
    EXPECT_EQ(shell_quote(out, GetParam().value), out);
}

INSTANTIATE_TEST_SUITE_P(
    values, ordinary_or_quoted,
    testing::Values(quote_row{"address", "192.168.0.1", "192.168.0.1"},
                    quote_row{"mac", "00:0A:EB:11:22:30", "00:0A:EB:11:22:30"},
                    quote_row{"path", "/media/sda1", "/media/sda1"},
                    quote_row{"network", "10.0.0.0/8", "10.0.0.0/8"},
                    quote_row{"all_plain_signs", "a_b.c/d:e@f%g+h=i,j-k", "a_b.c/d:e@f%g+h=i,j-k"},
                    quote_row{"empty", "", ""}, quote_row{"blank", "a b", "'a b'"},
                    quote_row{"command", "1;reboot", "'1;reboot'"},
                    quote_row{"substitution", "$(reboot)", "'$(reboot)'"},
                    quote_row{"quote", "a'b", "'a'\\''b'"},
                    quote_row{"line_end", "a\nreboot", "'a\nreboot'"},
                    quote_row{"home", "~root", "'~root'"}, quote_row{"glob", "*", "'*'"},
                    quote_row{"high_bytes", "\xc3\xa4", "'\xc3\xa4'"}),
    support::row_name);

TEST_F(shell_line, quoted_values_reach_the_tool_and_start_nothing)
{
    const char *hostile[] = {"1;reboot",        "`reboot`",  "$(reboot)",   "a'b;reboot'",
                             "x&reboot|reboot", "a\nreboot", "\\';reboot;'"};
    for (const char *value : hostile) {
        world.clear_trace();
        char out[SHELL_LINE_MAX];
        shell_format("led %s on", shell_quote(out, value));
        std::string runs = world.trace_of({"run"});
        EXPECT_EQ(runs.rfind("run led ", 0), 0U) << runs;
        EXPECT_EQ(runs.find("run reboot"), std::string::npos) << runs;
        EXPECT_EQ(runs.find("run", 1), std::string::npos) << runs;
    }
}

TEST_F(shell_line, a_quoted_value_too_long_stays_closed)
{
    std::string text = quoted(";" + std::string(400, 'a'));
    EXPECT_EQ(text, "';" + std::string(252, 'a') + "'");
    EXPECT_EQ(text.size(), SHELL_LINE_MAX - 1);

    text = quoted(std::string(400, '\''));
    EXPECT_LT(text.size(), SHELL_LINE_MAX);
    EXPECT_EQ((text.size() - 2) % 4, 0U) << "no escaped quote is cut in two";
    EXPECT_EQ(text.front(), '\'');
    EXPECT_EQ(text.back(), '\'');
}

// A line that is cut inside its quotes is no command any more: the shell refuses it.
TEST_F(shell_line, a_line_cut_inside_quotes_starts_nothing)
{
    char out[SHELL_LINE_MAX];
    std::string value = std::string(250, 'a') + ";reboot";
    EXPECT_NE(shell_format("led %s on", shell_quote(out, value.c_str())), 0);
    EXPECT_EQ(world.trace_of({"run"}), "");
}

// Sixty quotes fill a line. Cut between two of them, "led" would run with fewer and without "on".
TEST_F(shell_line, a_line_cut_between_quotes_starts_nothing)
{
    for (size_t count = 55; count < 70; count++) {
        char out[SHELL_LINE_MAX];
        const std::string value(count, '\'');
        world.clear_trace();
        int status = shell_format("led yellow_wan %s on", shell_quote(out, value.c_str()));
        bool fits = strlen("led yellow_wan  on") + strlen(out) < SHELL_LINE_MAX;
        EXPECT_EQ(status, fits ? 0 : -1) << count;
        EXPECT_EQ(world.trace_of({"shell"}).empty(), !fits) << count;
        EXPECT_EQ(world.trace_of({"run"}).empty(), !fits) << count;
    }
}

TEST_F(shell_line, one_that_cannot_be_formed_is_not_run)
{
    const wchar_t no_character[] = {0x12345, 0}; // none of the "C" locale's
    EXPECT_EQ(shell_format("led %ls", no_character), -1);
    EXPECT_EQ(world.trace_of({"shell"}), "");
}

} // namespace
