// Turns the raw trace, as the recorders append it, into the lines that tests compare.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace support
{

// The lines of a raw trace as world.h describes them: without the writers' numbers, without a "run"
// line that only repeats the "shell" line before it, and with equal lines folded. A last line
// without an end, which is still being written, is left out. With kinds, only the lines that begin
// with one of these words are taken.
std::vector<std::string> trace_lines(std::string_view raw,
                                     const std::vector<std::string> &kinds = {});

// Lines as one text, each with its line end.
std::string joined(const std::vector<std::string> &lines);

} // namespace support
