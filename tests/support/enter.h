// A person's way into a world that a box holds.
#pragma once

#include <string>
#include <sys/types.h>

namespace support
{

// Runs the world's shell inside of the world whose first process has this number, as the machine
// counts: its files, network, host name and process numbers, and no right that would reach the
// machine. With a command the shell carries it out; without, it reads the caller's standard input.
// Returns the shell's status, 128 and the signal's number when one ended it. Throws
// std::runtime_error when there is no such world or it may not be entered.
//
// Besides the world's own tools, which are recorders and come first, the shell finds:
//   ls, cat, ip ...   this machine's BusyBox, for looking around
//   as NAME WORD...   runs the program under test as NAME, recorded as in a test
//   trace             what was recorded since the world began
int enter_world(pid_t first, const std::string &command);

} // namespace support
