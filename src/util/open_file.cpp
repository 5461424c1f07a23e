#include "util/open_file.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

constexpr mode_t STREAM_MODE = 0666;

static int refuse(int fd, int error)
{
    close(fd);
    errno = error;
    return -1;
}

int open_file(const char *path, int flags, mode_t mode)
{
    int fd = open(path, flags | O_NONBLOCK | O_CLOEXEC, mode);
    if (fd < 0)
        return -1;
    struct stat status;
    bool is_fifo = fstat(fd, &status) == 0 && S_ISFIFO(status.st_mode);
    return is_fifo ? refuse(fd, EINVAL) : fd;
}

// Devices count as empty and cannot be cut.
static bool make_empty(int fd)
{
    struct stat status;
    return (fstat(fd, &status) == 0 && status.st_size == 0) || ftruncate(fd, 0) == 0;
}

FILE *open_stream(const char *path, const char *mode)
{
    bool writes = mode[0] == 'w';
    int fd = open_file(path, writes ? O_WRONLY | O_CREAT : O_RDONLY, STREAM_MODE);
    if (fd < 0)
        return nullptr;
    // Memory first: without it, what the file holds stays.
    FILE *file = fdopen(fd, mode);
    if (file == nullptr) {
        refuse(fd, errno);
    } else if (writes && !make_empty(fd)) {
        int error = errno;
        fclose(file);
        errno = error;
        return nullptr;
    }
    return file;
}
