#include "ctl/status/locks.h"

#include "ctl/status/processes.h"
#include "ctl/unseen.h"
#include "util/lock.h"

#include <errno.h>
#include <sys/stat.h>
#include <time.h>

constexpr int LOOKS = 5;
constexpr timespec BETWEEN_LOOKS = {0, 50 * 1000 * 1000};

// The names under which the program, and this one, may have taken a lock.
constexpr const char *holders[] = {"mcfg", "mctl", "udhcpc", "ip-up", "ip-down"};

static bool is_there(const char *path, struct stat *status)
{
    if (lstat(path, status) == 0)
        return true;
    note_unseen(path, errno);
    return false;
}

lock_view look_at_lock(const char *name)
{
    char path[LOCK_PATH_MAX];
    struct stat first, now;
    lock_path(path, name);
    if (!is_there(path, &first))
        return {lock_state::free, 0};
    for (int i = 1; i < LOOKS; i++) {
        nanosleep(&BETWEEN_LOOKS, nullptr);
        bool is_other = !is_there(path, &now) || now.st_ino != first.st_ino ||
                        now.st_ctim.tv_sec != first.st_ctim.tv_sec ||
                        now.st_ctim.tv_nsec != first.st_ctim.tv_nsec;
        if (is_other)
            return {lock_state::free, 0};
    }
    int holder = read_pid_file(path).number;
    bool is_held = is_process(holder, holders, sizeof(holders) / sizeof(holders[0]));
    return {is_held ? lock_state::held : lock_state::left, holder};
}
