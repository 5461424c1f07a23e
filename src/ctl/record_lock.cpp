#include "ctl/record_lock.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

static int set_record(int lock, bool must_wait)
{
    struct flock whole = {};
    whole.l_type = F_WRLCK;
    whole.l_whence = SEEK_SET;
    int result;
    do
        result = fcntl(lock, must_wait ? F_SETLKW : F_SETLK, &whole);
    while (result != 0 && errno == EINTR);
    return result;
}

int take_record(const char *path, bool must_wait)
{
    int lock = open(path, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (lock < 0 || set_record(lock, must_wait) == 0)
        return lock;
    int error = errno == EACCES ? EAGAIN : errno; // kernels have either for another's lock
    close(lock);
    errno = error;
    return -1;
}

void release_record(int lock)
{
    if (lock >= 0)
        close(lock);
}
