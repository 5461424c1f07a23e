// Calls that only a sweep is interested in: memory, and what goes through descriptors and streams.
// Streams are made anew over the same descriptors, so that what the C library does for them inside
// itself passes through here as well.
#include "support/recorder_calls.h"
#include "support/recorder_failing.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

// A call that is passed on as it is unless it is to fail.
#define PASSED_ON(type, name, failed, parameters, arguments)                                       \
    type name parameters                                                                           \
    {                                                                                              \
        static type(*real) parameters;                                                             \
        if (real == NULL)                                                                          \
            find_real(#name, &real);                                                               \
        return call_fails(CALL_##name) ? failed : real arguments;                                  \
    }

PASSED_ON(void *, malloc, NULL, (size_t size), (size))
PASSED_ON(void *, calloc, NULL, (size_t count, size_t size), (count, size))
PASSED_ON(void *, realloc, NULL, (void *memory, size_t size), (memory, size))
PASSED_ON(int, fsync, -1, (int descriptor), (descriptor))
PASSED_ON(int, rename, -1, (const char *from, const char *to), (from, to))
PASSED_ON(int, unlink, -1, (const char *path), (path))
PASSED_ON(int, fchmod, -1, (int descriptor, mode_t mode), (descriptor, mode))
PASSED_ON(int, ftruncate, -1, (int descriptor, off_t size), (descriptor, size))
PASSED_ON(ssize_t, readlink, -1, (const char *restrict path, char *restrict bytes, size_t size),
          (path, bytes, size))
PASSED_ON(int, pipe2, -1, (int ends[2], int flags), (ends, flags))
PASSED_ON(DIR *, opendir, NULL, (const char *path), (path))
PASSED_ON(struct dirent *, readdir, NULL, (DIR * directory), (directory))
PASSED_ON(int, fstat, -1, (int descriptor, struct stat *status), (descriptor, status))
PASSED_ON(int, flock, -1, (int descriptor, int how), (descriptor, how))
PASSED_ON(int, dup2, -1, (int from, int to), (from, to))
PASSED_ON(int, mkdir, -1, (const char *path, mode_t mode), (path, mode))
PASSED_ON(int, rmdir, -1, (const char *path), (path))
PASSED_ON(int, symlink, -1, (const char *to, const char *path), (to, path))
PASSED_ON(int, execvp, -1, (const char *path, char *const words[]), (path, words))
PASSED_ON(pid_t, setsid, -1, (void), ())

// The child has ended when this fails: what it does still belongs to the run.
pid_t waitpid(pid_t child, int *status, int how)
{
    static pid_t (*real)(pid_t, int *, int);
    if (real == NULL)
        find_real("waitpid", &real);
    if (!call_fails(CALL_waitpid))
        return real(child, status, how);
    int error = errno;
    siginfo_t ended;
    if (child > 0 && (how & WNOHANG) == 0)
        waitid(P_PID, (id_t)child, &ended, WEXITED | WNOWAIT);
    errno = error;
    return -1;
}

ssize_t read(int descriptor, void *bytes, size_t size)
{
    static const size_t few = 3;
    static ssize_t (*real)(int, void *, size_t);
    if (real == NULL)
        find_real("read", &real);
    if (!call_fails(CALL_read))
        return real(descriptor, bytes, size);
    return fails_half_way() ? real(descriptor, bytes, size < few ? size : few) : -1;
}

ssize_t write(int descriptor, const void *bytes, size_t size)
{
    static ssize_t (*real)(int, const void *, size_t);
    if (real == NULL)
        find_real("write", &real);
    bool is_cut = call_fails(CALL_write);
    bool does_half = is_cut && fails_half_way() && size > 1;
    ssize_t count =
        is_cut && !does_half ? -1 : real(descriptor, bytes, does_half ? size / 2 : size);
    if (count < 0)
        note_torn(descriptor);
    return count;
}

// The descriptor is closed in any case, as the kernel does it. One that is not open is no call of
// interest: a child closes all there may be.
int close(int descriptor)
{
    static int (*real)(int);
    if (real == NULL)
        find_real("close", &real);
    note_opened(descriptor, NULL, false); // what it was is whole by now
    bool is_open = is_plan_followed() && syscall(SYS_fcntl, descriptor, F_GETFD) >= 0;
    if (!is_open || !call_fails(CALL_close))
        return real(descriptor);
    int error = errno;
    real(descriptor);
    errno = error;
    return -1;
}

// A pause of milliseconds. In the thousands of runs of a sweep, it takes no time.
int nanosleep(const struct timespec *pause, struct timespec *left)
{
    static int (*real)(const struct timespec *, struct timespec *);
    if (real == NULL)
        find_real("nanosleep", &real);
    if (call_fails(CALL_nanosleep))
        return -1;
    return is_plan_followed() ? sched_yield() : real(pause, left);
}

// ---- streams

static FILE *descriptor_streams[1024];
static int stream_descriptors[1024];

static void *cookie_of(int descriptor)
{
    stream_descriptors[descriptor] = descriptor;
    return &stream_descriptors[descriptor];
}

static ssize_t read_stream(void *cookie, char *bytes, size_t size)
{
    return read(*(int *)cookie, bytes, size);
}

// The C library takes nothing stored for the failure of such a stream.
static ssize_t write_stream(void *cookie, const char *bytes, size_t size)
{
    size_t stored = 0;
    while (stored < size) {
        ssize_t count = write(*(int *)cookie, bytes + stored, size - stored);
        if (count < 0)
            return 0;
        stored += (size_t)count;
    }
    return (ssize_t)stored;
}

static int close_stream(void *cookie)
{
    descriptor_streams[*(int *)cookie] = NULL;
    return close(*(int *)cookie);
}

static FILE *make_stream(int descriptor, const char *mode)
{
    static const cookie_io_functions_t calls = {read_stream, write_stream, NULL, close_stream};
    recorder_enters();
    FILE *stream = fopencookie(cookie_of(descriptor), mode, calls);
    recorder_leaves();
    descriptor_streams[descriptor] = stream;
    return stream;
}

FILE *fdopen(int descriptor, const char *mode)
{
    static FILE *(*real)(int, const char *);
    if (real == NULL)
        find_real("fdopen", &real);
    if (!is_plan_followed() || descriptor >= 1024)
        return real(descriptor, mode);
    return call_fails(CALL_fdopen) ? NULL : make_stream(descriptor, mode);
}

// Of a sweep, only for reading, and its calls are one.
FILE *fopen(const char *restrict path, const char *restrict mode)
{
    static FILE *(*real)(const char *restrict, const char *restrict);
    if (real == NULL)
        find_real("fopen", &real);
    if (!is_plan_followed() || mode[0] != 'r')
        return real(path, mode);
    if (call_fails(CALL_fopen))
        return NULL;
    int descriptor = openat(AT_FDCWD, path, O_RDONLY | (strchr(mode, 'e') ? O_CLOEXEC : 0));
    return descriptor >= 0 ? make_stream(descriptor, "r") : NULL;
}

int fileno(FILE *stream)
{
    static int (*real)(FILE *);
    if (real == NULL)
        find_real("fileno", &real);
    for (int i = 0; i < 1024; i++)
        if (descriptor_streams[i] == stream)
            return i;
    return real(stream);
}

void take_standard_streams(void)
{
    if (!is_plan_followed())
        return;
#ifdef __GLIBC__
    stdout = make_stream(STDOUT_FILENO, "w");
    stderr = make_stream(STDERR_FILENO, "w");
    setvbuf(stderr, NULL, _IONBF, 0);
#else
    dprintf(STDERR_FILENO, "recorder: this C library's streams cannot be replaced for a sweep\n");
    _exit(125);
#endif
}
