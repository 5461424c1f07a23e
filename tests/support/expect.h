// Comparing traces and other texts of many lines, with a report that shows where they differ.
#pragma once

#include <gtest/gtest.h>
#include <string>

namespace support
{

// A raw string as tests write it, without the line end after its opening and the indentation that
// all its lines share. Blanks before its closing are left out too.
std::string unindented(const std::string &text);

// Compares line by line; expected goes through unindented() first. A failure shows both side by
// side.
testing::AssertionResult same_lines(const char *expected_name, const char *actual_name,
                                    const std::string &expected, const std::string &actual);

} // namespace support

// EXPECT_TRACE(R"(
//     log mcfg-wan_up: up
//     run led green_wan on
// )", box.trace());
#define EXPECT_TRACE(expected, actual)                                                             \
    EXPECT_PRED_FORMAT2(support::same_lines, std::string(expected), std::string(actual))
#define ASSERT_TRACE(expected, actual)                                                             \
    ASSERT_PRED_FORMAT2(support::same_lines, std::string(expected), std::string(actual))
