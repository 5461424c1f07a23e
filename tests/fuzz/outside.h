// The calls of the program that reach outside, as they are answered here.
#pragma once

#include <csetjmp>

namespace fuzz
{

// Take back what a run has left behind: open streams, memory of documents.
void release_outside();

// A process begins: it has slept for no time, and no alarm is set.
void begin_process();

// What the end of a process does to its standard output.
void flush_outside();

// Where the end of the process leads to.
std::jmp_buf *process_end();

} // namespace fuzz
