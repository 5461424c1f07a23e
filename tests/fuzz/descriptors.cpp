#include "fuzz/descriptors.h"

#include "fuzz/property.h"
#include "fuzz/world.h"

#include <algorithm>
#include <cerrno>
#include <unistd.h>

namespace fuzz
{

namespace
{

constexpr int FIRST_SAVED = 93;
constexpr int SAVED_MAX = 4;
constexpr int CLOSED = -1;

// What stands behind a descriptor: the number of the standard one that it was at the start, or the
// end of the pipe.
int behind[STDERR_FILENO + 1] = {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO};
int saved[SAVED_MAX] = {CLOSED, CLOSED, CLOSED, CLOSED};
bool is_read_end_open = false;
bool is_write_end_open = false;
std::string piped;
size_t taken = 0;

int *place_of(int fd)
{
    if (fd >= 0 && fd <= STDERR_FILENO)
        return &behind[fd];
    if (fd >= FIRST_SAVED && fd < FIRST_SAVED + SAVED_MAX)
        return &saved[fd - FIRST_SAVED];
    return nullptr;
}

int fail()
{
    errno = EBADF;
    return -1;
}

} // namespace

void open_pipe(int *ends)
{
    if (is_read_end_open || is_write_end_open)
        violated("a pipe while another is open");
    is_read_end_open = is_write_end_open = true;
    piped.clear();
    taken = 0;
    ends[0] = PIPE_READ_END;
    ends[1] = PIPE_WRITE_END;
}

bool is_standing(int fd)
{
    return place_of(fd) != nullptr || fd == PIPE_READ_END || fd == PIPE_WRITE_END;
}

int duplicate(int fd)
{
    const int *from = place_of(fd);
    if (from == nullptr || *from == CLOSED)
        return fail();
    for (int i = 0; i < SAVED_MAX; i++) {
        if (saved[i] != CLOSED)
            continue;
        saved[i] = *from;
        return FIRST_SAVED + i;
    }
    violated("a standard descriptor is put aside again and again");
}

int put_in_place(int from, int to)
{
    const int *source = place_of(from);
    int *place = place_of(to);
    bool is_pipe = from == PIPE_WRITE_END && is_write_end_open;
    if (place == nullptr || (!is_pipe && (source == nullptr || *source == CLOSED)))
        return fail();
    *place = is_pipe ? PIPE_WRITE_END : *source;
    return to;
}

int close_standing(int fd)
{
    int *place = place_of(fd);
    bool *end = fd == PIPE_READ_END ? &is_read_end_open : &is_write_end_open;
    bool is_open = place != nullptr ? *place != CLOSED : *end;
    if (!is_open)
        return fail();
    if (place != nullptr)
        *place = CLOSED;
    else
        *end = false;
    return 0;
}

// A tool that still could write would be waited for.
ssize_t read_pipe(char *buffer, size_t size)
{
    if (!is_read_end_open)
        return fail();
    if (is_write_end_open || behind[STDOUT_FILENO] == PIPE_WRITE_END)
        violated("the pipe is read while its other end is our own: it never ends");
    size_t count = piped.copy(buffer, size, std::min(taken, piped.size()));
    taken += count;
    return static_cast<ssize_t>(count);
}

void write_as_tool()
{
    if (behind[STDOUT_FILENO] == PIPE_WRITE_END)
        piped += here.tool_output;
    if (behind[STDERR_FILENO] == PIPE_WRITE_END)
        piped += here.tool_errors;
}

bool is_output_in_place()
{
    return behind[STDOUT_FILENO] == STDOUT_FILENO;
}

void check_descriptors()
{
    for (int fd = 0; fd <= STDERR_FILENO; fd++) {
        if (behind[fd] != fd)
            violated("descriptor %d is not put back", fd);
    }
    bool is_left = is_read_end_open || is_write_end_open;
    for (int aside : saved)
        is_left = is_left || aside != CLOSED;
    if (is_left)
        violated("a descriptor of a tool's pipe stays open");
}

void reset_descriptors()
{
    for (int fd = 0; fd <= STDERR_FILENO; fd++)
        behind[fd] = fd;
    for (int &aside : saved)
        aside = CLOSED;
    is_read_end_open = is_write_end_open = false;
}

} // namespace fuzz
