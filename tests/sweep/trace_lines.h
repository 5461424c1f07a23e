// Lines of a trace, and of other texts.
#pragma once

#include <string>
#include <vector>

namespace sweep
{

bool begins_with(const std::string &text, const std::string &start);
std::vector<std::string> lines_of(const std::string &text);
// A line of the trace without how often it stands there.
std::string without_count(const std::string &line);

} // namespace sweep
