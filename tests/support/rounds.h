// How often tests repeat what only chance can show: processes that race, or are killed anywhere.
// What is known to go wrong has a test of its own that brings it about for certain.
#pragma once

#include <stdlib.h>

namespace support
{

// few, for every day; MCFG_ROUNDS in the environment asks for so many times as much.
inline int rounds(int few)
{
    const char *times = getenv("MCFG_ROUNDS");
    return times != nullptr ? few * atoi(times) : few;
}

} // namespace support
