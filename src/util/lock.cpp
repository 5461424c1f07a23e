#include "util/lock.h"

#include "util/log.h"
#include "util/text.h"

#include <fcntl.h>
#include <string.h>
#include <unistd.h>

constexpr size_t PID_TEXT_MAX = 16;

void lock_path(char (&path)[LOCK_PATH_MAX], const char *name)
{
    text_format(path, sizeof(path), "/var/lock/%s.lock", name);
}

static bool exists(const char *path)
{
    return access(path, F_OK) == 0;
}

// By the calls themselves: a stream could fail when the file is there already, and nobody would
// remove it then.
static bool create(const char *path)
{
    int fd = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd < 0)
        return false;
    char number[PID_TEXT_MAX];
    text_format(number, sizeof(number), "%d", static_cast<int>(getpid()));
    [[maybe_unused]] ssize_t written = write(fd, number, strlen(number)); // nobody reads it
    close(fd);
    return true;
}

lock_result try_lock_file(const char *name, unsigned tries)
{
    char path[LOCK_PATH_MAX];
    lock_path(path, name);
    for (unsigned i = 0; i < tries; i++) {
        if (!exists(path))
            return create(path) ? lock_result::taken : lock_result::no_file;
    }
    return lock_result::held;
}

bool remove_lock_file(const char *name)
{
    char path[LOCK_PATH_MAX];
    lock_path(path, name);
    return unlink(path) == 0;
}

int set_lock_on_file(const char *name, unsigned tries)
{
    switch (try_lock_file(name, tries)) {
    case lock_result::taken:
        return 1;
    case lock_result::no_file:
        logmessage("mcfg-open_file_with_lock", "Can't open unlock file");
        return 0;
    case lock_result::held:
        break;
    }
    logmessage("mcfg-set_lock_on_file", "Can't lock file");
    return 0;
}

int clear_lock_on_file(const char *name, unsigned tries)
{
    char path[LOCK_PATH_MAX];
    lock_path(path, name);
    for (unsigned i = 0; i < tries; i++) {
        if (exists(path)) {
            unlink(path);
            return 1;
        }
    }
    logmessage("mcfg-clear_lock_on_file", "Can't clear lock file");
    return 0;
}
