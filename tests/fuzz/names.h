// Comparison of names: of files, variables, commands.
#pragma once

#include <string_view>

namespace fuzz
{

// Names are compared some hundred times in a run, and are short: the C library's routines, which
// the sanitizer and the fuzzer watch, would cost more than the comparison.
inline bool is_same(std::string_view a, std::string_view b)
{
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); i++) {
        if (a[i] != b[i])
            return false;
    }
    return true;
}

} // namespace fuzz
