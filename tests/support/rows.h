// The rows of tests. The first member of a row is its name, which says what is odd about it: a test
// that has a name for each row (TEST_P) gets it from there, a test that goes through all rows says
// it with SCOPED_TRACE. Rows of one or two short values may speak for themselves.
#pragma once

#include <ctype.h>
#include <gtest/gtest.h>
#include <string>

namespace support
{

// The name of a row as GoogleTest can use it, for INSTANTIATE_TEST_SUITE_P: letters, digits and
// "_".
struct row_namer {
    template <class Row> std::string operator()(const testing::TestParamInfo<Row> &row) const
    {
        std::string name = row.param.name;
        for (char &c : name) {
            if (!isalnum(static_cast<unsigned char>(c)))
                c = '_';
        }
        return name;
    }
};

inline constexpr row_namer row_name;

} // namespace support
