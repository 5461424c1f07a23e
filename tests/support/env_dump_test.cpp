// The dumps of an event's environment, read back.
#include "support/env_dump.h"
#include "support/namespaces.h"

#include <gtest/gtest.h>

namespace support
{

static std::string shown(const environment &env)
{
    std::string text;
    for (const auto &[name, value] : env)
        text += name + "=" + value + "\n";
    return text;
}

TEST(env_dump, reads_what_export_p_writes)
{
    static const struct {
        const char *dump;
        const char *variables;
    } rows[] = {
        {"", ""},
        {"export A='one'\nexport B='two words'\n", "A=one\nB=two words\n"},
        {"export A='no line end'", "A=no line end\n"},
        {"export A\nexport B=''\n", "B=\n"},
        {"export A='it'\"'\"'s'\n", "A=it's\n"},
        {"export A=it\\'s\n", "A=it's\n"},
        {"export A='two\nlines'\nexport B='x'\n", "A=two\nlines\nB=x\n"},
        {"declare -x A=\"a \\\"b\\\" \\$c \\\\ \\d\"\n", "A=a \"b\" $c \\ \\d\n"},
        {"declare -x A=$'tab\\there\\001'\n", "A=tab\there\001\n"},
        {"export A=\"x\"'y'z\n", "A=xyz\n"},
        {"export A='1'\nexport B='1'\nexport A='2'\nexport C='2'\n", "A=2\nC=2\n"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(shown(read_env_dump(row.dump)), row.variables) << row.dump;
}

TEST(env_dump, refuses_anything_else)
{
    for (const char *dump : {"A=1\n", "export A='open\n", "export A=\"open\n", "export =1\n",
                             "export A='1'\nset B\n", "export A B\n", "export A=$'open\\", "\n"})
        EXPECT_THROW(read_env_dump(dump), std::runtime_error) << dump;
}

TEST(env_dump, reads_back_what_shells_write)
{
    const std::string values[] = {
        "",          "one",   "two words",   "it's",
        "'",         "''x''", "\"double\"",  "$HOME `x` \\ \\\\n",
        "a\nb\n",    "\ttab", "#;&|<>*?[]~", "\xc3\xa4",
        "trailing ",
    };
    for (const char *shell : {"dash", "busybox sh", "bash", "bash --posix"})
        for (const std::string &value : values) {
            std::string dump = run_program(
                {"sh", "-c", std::string("V=\"$1\" ") + shell + " -c 'export -p'", "sh", value},
                [] {});
            EXPECT_NE(shown(read_env_dump(dump)).find("V=" + value + "\n"), std::string::npos)
                << shell << ": " << dump;
        }
}

} // namespace support
