// The standard descriptors and the pipe through which the program takes what a tool writes: it puts
// the pipe in their place for as long as the tool is started, and must put them back.
#pragma once

#include <cstddef>
#include <sys/types.h>

namespace fuzz
{

constexpr int PIPE_READ_END = 91;
constexpr int PIPE_WRITE_END = 92;

// As pipe2(): the two ends are open then. There is one pipe at a time.
void open_pipe(int *ends);

// Whether the descriptor is one of those that are looked after here.
bool is_standing(int fd);

// As fcntl(F_DUPFD_CLOEXEC), dup2(), close() and read() of one of them.
int duplicate(int fd);
int put_in_place(int from, int to);
int close_standing(int fd);
ssize_t read_pipe(char *buffer, size_t size);

// What a tool that is started now writes to its standard output and error goes into the pipe where
// that is in their place.
void write_as_tool();

// Whether the program's own standard output is where it was.
bool is_output_in_place();

// See that all is where it was at the start of a run, and that nothing stays open.
void check_descriptors();
void reset_descriptors();

} // namespace fuzz
