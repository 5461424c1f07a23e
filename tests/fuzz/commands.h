// What must hold of every command that the program runs.
#pragma once

#include <string>

namespace fuzz
{

// Hold a line on its way to the shell against the words that its format has, and note it.
void check_line(const char *line);

// Hold the words of a tool that is run without a shell against the list of tools, and note them.
void check_tool(const char *const words[]);

} // namespace fuzz
