#include "util/text.h"

#include "support/rows.h"

#include <gtest/gtest.h>
#include <limits.h>
#include <string.h>
#include <string>
#include <vector>

namespace
{

struct trim_row {
    const char *name;
    std::string text;
    const char *expected;
};

class trim : public testing::TestWithParam<trim_row>
{
};

TEST_P(trim, removes_only_blanks_and_line_ends_at_the_end)
{
    std::string text = GetParam().text;
    EXPECT_EQ(trim_r(text.data()), text.data());
    EXPECT_STREQ(text.data(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(texts, trim,
                         testing::Values(trim_row{"blank_and_line_end", "abc \r\n", "abc"},
                                         trim_row{"tab_stays", "abc\t", "abc\t"},
                                         trim_row{"tab_stops", "abc \t \n", "abc \t"},
                                         trim_row{"empty", "", ""},
                                         trim_row{"nothing_else", " \r\n ", ""},
                                         trim_row{"front_stays", "  abc", "  abc"},
                                         trim_row{"inside_stays", "a b\nc\n", "a b\nc"}),
                         support::row_name);

struct piece_row {
    const char *name;
    std::string text;
    const char *separators;
    std::vector<std::string> expected;
};

class pieces : public ::testing::TestWithParam<piece_row>
{
};

TEST_P(pieces, are_those_of_strtok)
{
    const std::string text = GetParam().text; // which stays as it is
    text_piece rest = {text.data(), text.size()};
    text_piece piece;
    std::vector<std::string> found;
    while (next_piece(&rest, GetParam().separators, &piece))
        found.emplace_back(piece.start, piece.length);
    EXPECT_EQ(found, GetParam().expected);
    EXPECT_EQ(piece.length, 0u);

    std::string copy = text;
    std::vector<std::string> split;
    char *left = nullptr;
    for (char *word = strtok_r(copy.data(), GetParam().separators, &left); word != nullptr;
         word = strtok_r(nullptr, GetParam().separators, &left))
        split.emplace_back(word);
    EXPECT_EQ(found, split);
}

INSTANTIATE_TEST_SUITE_P(
    texts, pieces,
    ::testing::Values(piece_row{"two", "a bc", " ", {"a", "bc"}},
                      piece_row{"runs", "  a   b ", " ", {"a", "b"}},
                      piece_row{"other", "-pppoe--wan1-", "-", {"pppoe", "wan1"}},
                      piece_row{"several", "a b-c", " -", {"a", "b", "c"}},
                      piece_row{"none", "   ", " ", {}}, piece_row{"empty", "", " ", {}},
                      piece_row{"whole", "abc", "-", {"abc"}}),
    [](const auto &row) { return row.param.name; });

TEST(pieces, end_with_the_text_and_not_with_its_terminator)
{
    text_piece rest = {"ab c", 2};
    text_piece piece;
    EXPECT_TRUE(next_piece(&rest, " ", &piece));
    EXPECT_EQ(std::string(piece.start, piece.length), "ab");
    const char *end = rest.start;
    EXPECT_FALSE(next_piece(&rest, " ", &piece));
    EXPECT_EQ(rest.start, end);
    EXPECT_EQ(rest.length, 0u);
}

TEST(pieces, may_hold_a_terminator)
{
    const std::string text("a\0b c", 5);
    text_piece rest = {text.data(), text.size()};
    text_piece piece;
    EXPECT_TRUE(next_piece(&rest, " ", &piece));
    EXPECT_EQ(std::string(piece.start, piece.length), std::string("a\0b", 3));
}

TEST(trimmed_length, does_not_look_before_the_text)
{
    const char text[] = "a \n";
    EXPECT_EQ(trimmed_length(text + 3), 0u);
    EXPECT_EQ(trimmed_length(text + 1), 0u);
}

TEST(ether_etoa2, writes_twelve_upper_case_digits)
{
    const unsigned char mac[] = {0x00, 0x0a, 0xbb, 0x0c, 0xdd, 0x0e};
    char out[13];
    EXPECT_EQ(ether_etoa2(mac, out), out);
    EXPECT_STREQ(out, "000ABB0CDD0E");
}

TEST(ether_etoa2, takes_bytes_above_127)
{
    const unsigned char mac[] = {0xff, 0xfe, 0x80, 0x7f, 0x01, 0x00};
    char out[13];
    EXPECT_STREQ(ether_etoa2(mac, out), "FFFE807F0100");
}

struct int_row {
    const char *name;
    const char *text;
    int expected;
};

class decimal : public testing::TestWithParam<int_row>
{
};

TEST_P(decimal, converts_like_atoi)
{
    EXPECT_EQ(text_to_int(GetParam().text), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(texts, decimal,
                         testing::Values(int_row{"plain", "20", 20},
                                         int_row{"leading_blanks", " \t 7", 7},
                                         int_row{"plus", "+5", 5}, int_row{"minus", "-5", -5},
                                         int_row{"stops_at_a_letter", "12ab", 12},
                                         int_row{"no_digits", "x", 0}, int_row{"empty", "", 0},
                                         int_row{"hexadecimal_is_not_read", "0x10", 0},
                                         int_row{"leading_zero_is_decimal", "010", 10},
                                         int_row{"largest", "2147483647", INT_MAX},
                                         int_row{"beyond_an_int", "4294967297", INT_MAX},
                                         int_row{"beyond_a_long", "99999999999999999999", INT_MAX},
                                         int_row{"far_below", "-99999999999999999999", INT_MIN}),
                         support::row_name);

struct copy_row {
    const char *name;
    const char *text;
    const char *expected;
    bool fits;
};

class copy : public testing::TestWithParam<copy_row>
{
};

TEST_P(copy, is_cut_at_the_room_and_terminated)
{
    char dst[4];
    EXPECT_EQ(text_set(dst, GetParam().text), GetParam().fits);
    EXPECT_STREQ(dst, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(texts, copy,
                         testing::Values(copy_row{"empty", "", "", true},
                                         copy_row{"null", nullptr, "", true},
                                         copy_row{"just_fits", "abc", "abc", true},
                                         copy_row{"one_too_long", "abcd", "abc", false},
                                         copy_row{"far_too_long", "abcdefghij", "abc", false}),
                         support::row_name);

TEST(text_set, may_copy_within_one_buffer)
{
    char text[] = "xxabc";
    text_set(text, text + 2);
    EXPECT_STREQ(text, "abc");
}

TEST(text_format, is_cut_at_the_room_and_says_so)
{
    char dst[6];
    EXPECT_TRUE(text_format(dst, sizeof(dst), "%d-%s", 12, "ab"));
    EXPECT_STREQ(dst, "12-ab");
    EXPECT_FALSE(text_format(dst, sizeof(dst), "%d-%s", 12, "abc"));
    EXPECT_STREQ(dst, "12-ab");
}

TEST(text_append, is_cut_at_the_room_and_says_so)
{
    char dst[6] = "";
    EXPECT_TRUE(text_append(dst, ""));
    EXPECT_STREQ(dst, "");
    EXPECT_TRUE(text_append(dst, "12-"));
    EXPECT_TRUE(text_append(dst, "ab"));
    EXPECT_STREQ(dst, "12-ab");
    EXPECT_FALSE(text_append(dst, "c"));
    EXPECT_STREQ(dst, "12-ab");
}

TEST(text_append, keeps_what_fits_of_a_longer_text)
{
    char dst[6] = "12";
    EXPECT_FALSE(text_append(dst, "-abc"));
    EXPECT_STREQ(dst, "12-ab");
}

} // namespace
