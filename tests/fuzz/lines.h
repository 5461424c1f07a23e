// A text line by line, as std::getline() takes a stream apart, without making one.
#pragma once

#include <string_view>

namespace fuzz
{

// Take the next line off rest, without its line end. False at the end; a text that ends with a line
// end has no line behind it.
inline bool next_line(std::string_view *rest, std::string_view *line)
{
    if (rest->empty())
        return false;
    size_t end = rest->find('\n');
    *line = rest->substr(0, end);
    rest->remove_prefix(end == std::string_view::npos ? rest->size() : end + 1);
    return true;
}

} // namespace fuzz
