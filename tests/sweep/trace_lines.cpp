#include "sweep/trace_lines.h"

#include <sstream>

namespace sweep
{

bool begins_with(const std::string &text, const std::string &start)
{
    return text.compare(0, start.size(), start) == 0;
}

std::vector<std::string> lines_of(const std::string &text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

std::string without_count(const std::string &line)
{
    size_t mark = line.rfind(" (x");
    return mark != std::string::npos && line.back() == ')' ? line.substr(0, mark) : line;
}

} // namespace sweep
