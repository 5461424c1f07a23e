// What the files that answer the program's calls (outside.h) share.
#pragma once

namespace fuzz
{

// The number of each socket: nothing is told apart by it.
constexpr int SOCKET = 90;

// Whether the process at work is a child on its way to a tool: its parent's descriptors stay open.
bool is_child();

// New files have the usual mode again.
void release_file_mask();

} // namespace fuzz
