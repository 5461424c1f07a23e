// Settings trees for the tests of mctl check: good ones, made worse at random in the ways that
// people and programs make them worse.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace settings_trees
{

using tree = std::map<std::string, std::string>; // the content by path; missing files are not in it

// The same numbers on every machine.
class dice
{
  public:
    explicit dice(uint64_t seed) : state(seed * 2654435761U + 88172645463325252U) {}
    // 0 to sides - 1.
    size_t roll(size_t sides);

  private:
    uint64_t state;
};

// The example router and its relatives, all of them right.
std::vector<tree> good_trees();

// One change to a file that is chosen at random. Returns what was done to what, for messages.
std::string make_worse(tree *settings, dice *random);

// The words of a line, with blanks and tabs between them.
std::vector<std::string> words_of(const std::string &line);

// The lines without their line ends.
std::vector<std::string> split_lines(const std::string &content);

} // namespace settings_trees
