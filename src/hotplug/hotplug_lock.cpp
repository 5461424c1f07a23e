#include "hotplug/hotplug_lock.h"

#include "util/log.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

constexpr char LOCK_FILE[] = "/tmp/hotplug_lock";
constexpr mode_t LOCK_FILE_MODE = 0666;
constexpr int LOCK_TRIES = 2;

// The tag of all handlers for what concerns the lock, whichever of them it is.
constexpr char TAG[] = "hotplug";

// A record lock of that type on the whole file, however long it is.
static struct flock whole_file(short type)
{
    struct flock request = {};
    request.l_type = type;
    request.l_whence = SEEK_SET;
    request.l_start = 0;
    request.l_len = 0;
    return request;
}

int open_hotplug_lock()
{
    int fd = open(LOCK_FILE, O_RDWR | O_CREAT | O_CLOEXEC, LOCK_FILE_MODE);
    if (fd < 0)
        logmessage(TAG, "Failed opening lock file LOCK_FILE: %s\n", strerror(errno));
    return fd;
}

bool is_hotplug_lock_held(int fd)
{
    struct flock answer = whole_file(F_WRLCK);
    if (fcntl(fd, F_GETLK, &answer) < 0)
        return false;
    return answer.l_type == F_RDLCK || answer.l_type == F_WRLCK;
}

int take_hotplug_lock(int fd)
{
    struct flock request = whole_file(F_WRLCK);
    for (int i = 0; i < LOCK_TRIES; i++) {
        if (fcntl(fd, F_SETLKW, &request) == 0)
            return 0;
    }
    logmessage(TAG, "Failed locking LOCK_FILE: %s\n", strerror(errno));
    return -1;
}

int release_hotplug_lock(int fd)
{
    struct flock request = whole_file(F_UNLCK);
    if (fcntl(fd, F_SETLK, &request) < 0) {
        logmessage(TAG, "Failed unlocking LOCK_FILE: %s\n", strerror(errno));
        return -1;
    }
    logmessage(TAG, "Unlock LOCK_FILE\n");
    return 0;
}

void remove_hotplug_lock(int fd)
{
    close(fd);
    unlink(LOCK_FILE);
}
