#include "util/tool_output.h"

#include "util/process.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

// Returns 0 or an error number. The kernel may be busy with the place for a moment.
static int copy_to(int place, int descriptor)
{
    while (dup2(descriptor, place) < 0) {
        if (errno != EINTR && errno != EBUSY)
            return errno;
    }
    return 0;
}

// Put descriptor in the place of fd, and what was there into *own: -1 for one that was closed.
// Returns 0, or an error number when that cannot be kept, and all is then as it was.
static int put_in_place(int fd, int descriptor, int *own)
{
    *own = fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (*own < 0 && errno != EBADF)
        return errno;
    int error = copy_to(fd, descriptor);
    if (error != 0)
        close(*own);
    return error;
}

// No place is left with the pipe, whose end would never come.
static void put_back(int fd, int own)
{
    if (own < 0 || copy_to(fd, own) != 0)
        close(fd);
    if (own >= 0)
        close(own);
}

// Start the tool with the descriptor as its output, which is ours for that long.
static int start_into(const char *const argv[], unsigned timeout_s, int descriptor,
                      bool with_errors, pid_t *child)
{
    fflush(stdout);
    int out = -1, err = -1;
    int error = put_in_place(STDOUT_FILENO, descriptor, &out);
    if (error != 0)
        return error;
    if (with_errors)
        error = put_in_place(STDERR_FILENO, descriptor, &err);
    if (error == 0) {
        error = _eval(const_cast<char *const *>(argv), nullptr, timeout_s, child);
        if (with_errors)
            put_back(STDERR_FILENO, err);
    }
    put_back(STDOUT_FILENO, out);
    return error;
}

// All is read, so that the tool does not wait for us; what has no room is dropped. Returns 0, or
// an error number when the rest could not be read.
static int read_all(int descriptor, char *text)
{
    size_t used = 0;
    char rest[512];
    for (;;) {
        bool is_full = used == TOOL_OUTPUT_MAX - 1;
        ssize_t got = read(descriptor, is_full ? rest : text + used,
                           is_full ? sizeof(rest) : TOOL_OUTPUT_MAX - 1 - used);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return got < 0 ? errno : 0;
        used += is_full ? 0 : static_cast<size_t>(got);
    }
}

static int wait_for(pid_t child)
{
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR)
            return errno;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : status;
}

static char *read_tool(const char *const argv[], unsigned timeout_s, bool with_errors, int *status)
{
    char *text = static_cast<char *>(calloc(1, TOOL_OUTPUT_MAX));
    int ends[2];
    *status = ENOMEM;
    if (text == nullptr)
        return nullptr;
    if (pipe2(ends, O_CLOEXEC) != 0) {
        *status = errno;
        return text;
    }
    pid_t child = -1;
    *status = start_into(argv, timeout_s, ends[1], with_errors, &child);
    close(ends[1]);
    int error = *status == 0 ? read_all(ends[0], text) : 0;
    close(ends[0]); // nor does it wait for us when the rest cannot be read
    if (*status == 0)
        *status = wait_for(child);
    if (error != 0)
        *status = error;
    return text;
}

char *read_tool_output(const char *const argv[], unsigned timeout_s, int *status)
{
    return read_tool(argv, timeout_s, false, status);
}

char *read_tool_messages(const char *const argv[], unsigned timeout_s, int *status)
{
    return read_tool(argv, timeout_s, true, status);
}
