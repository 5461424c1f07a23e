// One fuzzed input, taken apart into the texts that a target needs: files, variables, arguments.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace fuzz
{

// Parts are separated by this character, which means nothing to any format that the program reads,
// so that a fuzzer sees texts as they are and a seed can be put together by hand.
constexpr char PART_SEPARATOR = '\x1c';

// A part that is this character alone, or that lies behind the end: no file, an unset variable.
constexpr char ABSENT = '\x15';

class input
{
  public:
    input(const uint8_t *data, size_t size);

    // The next part, or null for an absent one. It lives as long as the input.
    const std::string *next();

    // The next part as a text; an absent one is empty.
    std::string next_text();

    // Whether one of the parts has this text in it.
    bool holds(const std::string &text) const;

  private:
    std::vector<std::string> parts;
    size_t position = 0;
};

} // namespace fuzz
