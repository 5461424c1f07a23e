// How a POSIX shell takes a command line of one simple command apart. Deliberately strict: it knows
// what the program's own lines may consist of, and whatever could mean more to a shell is refused.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace fuzz
{

enum class line_kind {
    words,      // one simple command, made of these words
    unfinished, // a quote stays open: a shell refuses the line and runs nothing
    more_to_it, // something outside of quotes that a shell expands, redirects or ends a command at
};

// Split line into the words that a shell would hand to the command, quotes taken off. words is
// whole only for line_kind::words.
line_kind split_line(std::string_view line, std::vector<std::string> *words);

} // namespace fuzz
