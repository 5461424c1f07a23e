// What an outside tool writes, taken into memory: no file is made for it.
#pragma once

#include <stddef.h>

constexpr size_t TOOL_OUTPUT_MAX = 256 * 1024; // what is behind it is not kept

// Run the tool as run_words() does, for at most timeout_s seconds, and take its standard output.
// Its standard error stays where ours is. Returns the text, which the caller frees and which is
// never null but for want of memory, and stores at *status what _eval() would return, or the error
// number of what kept the text from being read whole. Our own descriptors stay as they are.
char *read_tool_output(const char *const argv[], unsigned timeout_s, int *status);

// The same with its standard error among it.
char *read_tool_messages(const char *const argv[], unsigned timeout_s, int *status);
