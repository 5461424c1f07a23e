// Texts that tests compare with, taken apart.
#pragma once

#include <sstream>
#include <stdio.h>
#include <stdlib.h>
#include <string>
#include <vector>

namespace support
{

// Where the example settings of that name are ("router", "pppoe").
inline std::string example_path(const std::string &name)
{
    return MCFG_SOURCE_DIR "/examples/" + name;
}

inline std::vector<std::string> lines_of(const std::string &text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

inline bool begins_with(const std::string &text, const std::string &begin)
{
    return text.compare(0, begin.size(), begin) == 0;
}

// The trace without the lines that begin with one of these.
inline std::string without(const std::string &trace, const std::vector<std::string> &begins)
{
    std::string result;
    for (const std::string &line : lines_of(trace)) {
        bool is_left_out = false;
        for (const std::string &begin : begins)
            is_left_out = is_left_out || begins_with(line, begin);
        if (!is_left_out)
            result += line + "\n";
    }
    return result;
}

// The lines of the trace that begin so, without that beginning, joined by ", ".
inline std::string rests(const std::string &trace, const std::string &begin)
{
    std::string result;
    for (const std::string &line : lines_of(trace)) {
        if (begins_with(line, begin))
            result += (result.empty() ? "" : ", ") + line.substr(begin.size());
    }
    return result;
}

// What a routine that is given a file writes into it.
template <class Writer> std::string written(Writer write)
{
    char *text = nullptr;
    size_t length = 0;
    FILE *file = open_memstream(&text, &length);
    write(file);
    fclose(file);
    std::string result(text, length);
    free(text);
    return result;
}

// What a text of several parts, such as a fixture, has of the part of that name: the lines below a
// line with the name, up to an empty line.
inline std::string part_of(const std::string &text, const std::string &name)
{
    const std::string all = "\n\n" + text;
    const std::string head = "\n\n" + name + "\n";
    size_t begin = all.find(head);
    if (begin == std::string::npos)
        return "there is no part \"" + name + "\"\n";
    begin += head.size();
    return all.substr(begin, all.find("\n\n", begin) + 1 - begin);
}

} // namespace support
