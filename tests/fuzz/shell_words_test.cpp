// The splitter that the fuzz targets trust, and the quoting, against the shell itself.
#include "fuzz/shell_words.h"

#include "support/unit_test.h"
#include "util/shell.h"

#include <cstdlib>
#include <random>

using fuzz::line_kind;
using fuzz::split_line;

namespace
{

using words = std::vector<std::string>;

struct line_row {
    const char *name;
    const char *line;
    line_kind kind;
    words expected;
};

class line_split : public testing::TestWithParam<line_row>
{
};

TEST_P(line_split, into_words)
{
    words found;
    EXPECT_EQ(split_line(GetParam().line, &found), GetParam().kind);
    if (GetParam().kind == line_kind::words) {
        EXPECT_EQ(found, GetParam().expected);
    }
}

INSTANTIATE_TEST_SUITE_P(
    lines, line_split,
    testing::Values(
        line_row{"none", "", line_kind::words, {}},
        line_row{"plain", "led  status\toverlap", line_kind::words, {"led", "status", "overlap"}},
        line_row{"quoted", "'a b'c ''", line_kind::words, {"a bc", ""}},
        line_row{"escaped", "'a'\\''b' \\;", line_kind::words, {"a'b", ";"}},
        line_row{"open_quote", "led 'a", line_kind::unfinished, {}},
        line_row{"open_escape", "led \\", line_kind::unfinished, {}},
        line_row{"two_commands", "led a;reboot", line_kind::more_to_it, {}},
        line_row{"two_lines", "led a\nreboot", line_kind::more_to_it, {}},
        line_row{"substitution", "led $(reboot)", line_kind::more_to_it, {}},
        line_row{"redirection", "led >x", line_kind::more_to_it, {}},
        line_row{"glob", "led *", line_kind::more_to_it, {}}),
    support::row_name);

// Lines of a printf that ends each word with the character 1 and each line with the character 2.
class sample : public support::unit_test
{
  protected:
    std::mt19937 random{20};

    std::string any_text(size_t longest)
    {
        static const std::string signs = "ab01 \t\n'\"\\$`;&|<>()*?[]#~{}!=%,.-/\xc3\xa4";
        std::string text(random() % (longest + 1), ' ');
        for (char &c : text)
            c = signs[random() % signs.size()];
        return text;
    }

    std::string words_of_shell(const std::string &lines)
    {
        const std::string script = "{\n" + lines + "} > /tmp/words";
        EXPECT_EQ(system(script.c_str()), 0);
        return world.read("/tmp/words");
    }

    static std::string line_of(const std::string &arguments)
    {
        return "printf '%s\\001' x" + arguments + "\nprintf '\\002'\n";
    }

    static void append(std::string *all, const words &found)
    {
        *all += "x\1";
        for (const std::string &word : found)
            *all += word + "\1";
        *all += "\2";
    }
};

TEST_F(sample, of_quoted_values_has_their_words)
{
    std::string lines;
    std::string expected;
    for (int i = 0; i < 300; i++) {
        std::string arguments;
        words values;
        for (int j = 0; j < 3; j++) {
            const std::string value = any_text(j == 2 ? 60 : 12);
            char out[SHELL_LINE_MAX];
            arguments += std::string(" ") + shell_quote(out, value.c_str());
            if (!value.empty()) // which leaves no word
                values.push_back(value);
        }
        words found;
        EXPECT_EQ(split_line(arguments, &found), line_kind::words) << arguments;
        EXPECT_EQ(found, values) << arguments;
        lines += line_of(arguments);
        append(&expected, values);
    }
    EXPECT_EQ(words_of_shell(lines), expected);
}

// Without quoting: what the splitter takes for words only, the shell does too.
TEST_F(sample, of_any_lines_has_the_words_that_the_splitter_finds)
{
    std::string lines;
    std::string expected;
    int taken = 0;
    for (int i = 0; i < 30000 && taken < 300; i++) {
        const std::string arguments = " " + any_text(14);
        words found;
        if (split_line(arguments, &found) != line_kind::words)
            continue;
        taken++;
        lines += line_of(arguments);
        append(&expected, found);
    }
    EXPECT_EQ(taken, 300);
    EXPECT_EQ(words_of_shell(lines), expected);
}

} // namespace
