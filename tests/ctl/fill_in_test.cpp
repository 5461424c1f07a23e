// Texts with places for what is told besides.
#include "ctl/fill_in.h"

#include "support/unit_test.h"

namespace
{

struct filling {
    const char *text;
    const char *first;
    const char *second;
    size_t room;
    const char *expected;
};

// clang-format off
const filling rows[] = {
    {"", "one", "two", 80, ""},
    {"no place", "one", "two", 80, "no place"},
    {"{1}", "one", "two", 80, "one"},
    {"{1}{2}", "one", "two", 80, "onetwo"},
    {"{2} and {1}, {1}", "one", "two", 80, "two and one, one"},
    {"{3} {x} { {", "one", "two", 80, "{3} {x} { {"},
    {"{{1}}", "one", "two", 80, "{one}"},
    {"{1", "one", "two", 80, "{1"},
    {"{1}", "{2}", "two", 80, "{2}"},
    {"{1}", "%s%n", "", 80, "%s%n"},
    {"abc", "", "", 4, "abc"},
    {"abcd", "", "", 4, "abc"},
    {"a{1}", "bcd", "", 4, "abc"},
    {"{1}d", "abc", "", 4, "abc"},
    {"a{1}", "bcd", "", 1, ""},
};
// clang-format on

TEST(fill_in, puts_texts_in_their_places)
{
    for (const filling &row : rows) {
        char out[80];
        fill_in(out, row.room, row.text, row.first, row.second);
        EXPECT_STREQ(out, row.expected) << row.text;
    }
}

} // namespace
