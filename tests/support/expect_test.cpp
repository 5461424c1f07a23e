// The comparison of texts of many lines, and its report.
#include "support/expect.h"

namespace
{

TEST(expect, raw_strings_lose_their_indentation)
{
    EXPECT_EQ(support::unindented(R"(
        first
          second

        third
    )"),
              "first\n  second\n\nthird\n");
    EXPECT_EQ(support::unindented("one\ntwo\n"), "one\ntwo\n");
    EXPECT_EQ(support::unindented("one"), "one\n");
    EXPECT_EQ(support::unindented(""), "");
    EXPECT_EQ(support::unindented("\n    "), "");
}

TEST(expect, equal_texts_are_equal)
{
    EXPECT_TRACE(R"(
        run led on
    )",
                 "run led on\n");
    EXPECT_TRACE("", "");
    EXPECT_FALSE(support::same_lines("", "", "a", "a")); // no line end
    EXPECT_FALSE(support::same_lines("", "", "", "a\n"));
    EXPECT_FALSE(support::same_lines("", "", "a\n", ""));
}

TEST(expect, the_report_shows_both_sides)
{
    testing::AssertionResult result =
        support::same_lines("", "trace", "a\nb\nc\nd\n", "a\nx\nc\ne\nd\n");
    EXPECT_FALSE(result);
    std::string report = result.message();
    EXPECT_NE(report.find("  a        | a\n"
                          "* b        | x\n"
                          "  c        | c\n"
                          "+          | e\n"
                          "  d        | d\n"),
              std::string::npos)
        << report;
    report = support::same_lines("", "trace", "a\nb\n", "b\n").message();
    EXPECT_NE(report.find("- a        | \n  b        | b\n"), std::string::npos) << report;
}

} // namespace
