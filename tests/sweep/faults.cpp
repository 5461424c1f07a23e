#include "sweep/faults.h"

#include <cerrno>
#include <csignal>
#include <cstring>

namespace sweep
{

struct fault {
    counted_call call;
    int error;
    failing_how how;
};

// clang-format off
static const fault faults[] = {
    {CALL_malloc, ENOMEM, FAILS_ONCE},
    {CALL_malloc, ENOMEM, FAILS_FROM_HERE},
    {CALL_calloc, ENOMEM, FAILS_ONCE},
    {CALL_realloc, ENOMEM, FAILS_ONCE},

    {CALL_open, EMFILE, FAILS_ONCE},
    {CALL_open, EMFILE, FAILS_FROM_HERE},
    {CALL_open, EIO, FAILS_ONCE},
    {CALL_open, EACCES, FAILS_ONCE},
    {CALL_open, ENOSPC, FAILS_ONCE},
    {CALL_fdopen, ENOMEM, FAILS_ONCE},
    {CALL_read, EIO, FAILS_ONCE},
    {CALL_write, ENOSPC, FAILS_ONCE},
    {CALL_write, ENOSPC, FAILS_FROM_HERE},
    {CALL_write, ENOSPC, FAILS_HALF_WAY},
    {CALL_write, EIO, FAILS_ONCE},
    {CALL_write, SIGPIPE, GETS_SIGNAL},
    {CALL_write, SIGKILL, GETS_SIGNAL},
    {CALL_close, EIO, FAILS_ONCE},
    {CALL_close, SIGKILL, GETS_SIGNAL},
    {CALL_fsync, EIO, FAILS_ONCE},
    {CALL_fsync, ENOSPC, FAILS_ONCE},
    {CALL_fsync, SIGKILL, GETS_SIGNAL},
    {CALL_rename, ENOSPC, FAILS_ONCE},
    {CALL_rename, EIO, FAILS_ONCE},
    {CALL_rename, SIGKILL, GETS_SIGNAL},
    {CALL_unlink, EIO, FAILS_ONCE},
    {CALL_unlink, SIGKILL, GETS_SIGNAL},
    {CALL_fchmod, EROFS, FAILS_ONCE},
    {CALL_stat, EIO, FAILS_ONCE},
    {CALL_lstat, EIO, FAILS_ONCE},
    {CALL_fstat, EIO, FAILS_ONCE},
    {CALL_access, EIO, FAILS_ONCE},
    {CALL_flock, EINTR, FAILS_ONCE},
    {CALL_flock, ENOLCK, FAILS_ONCE},
    {CALL_fcntl, EINTR, FAILS_ONCE},
    {CALL_fcntl, ENOLCK, FAILS_ONCE},
    {CALL_dup2, EBUSY, FAILS_ONCE},

    {CALL_mkdir, ENOSPC, FAILS_ONCE},
    {CALL_mkdir, EROFS, FAILS_ONCE},
    {CALL_rmdir, EBUSY, FAILS_ONCE},
    {CALL_symlink, ENOSPC, FAILS_ONCE},
    {CALL_mknod, ENOSPC, FAILS_ONCE},
    {CALL_mknod, EPERM, FAILS_ONCE},

    {CALL_socket, EMFILE, FAILS_ONCE},
    {CALL_socket, ENOBUFS, FAILS_ONCE},
    {CALL_ioctl, ENODEV, FAILS_ONCE},
    {CALL_ioctl, ENOMEM, FAILS_ONCE},
    {CALL_ioctl, EINTR, FAILS_ONCE},

    {CALL_fork, EAGAIN, FAILS_ONCE},
    {CALL_fork, EAGAIN, FAILS_FROM_HERE},
    {CALL_fork, ENOMEM, FAILS_ONCE},
    {CALL_waitpid, EINTR, FAILS_ONCE},
    {CALL_waitpid, ECHILD, FAILS_ONCE},
    {CALL_system, EAGAIN, FAILS_ONCE},
    {CALL_system, EAGAIN, FAILS_FROM_HERE},
    {CALL_system, ECHILD, FAILS_ONCE},
    {CALL_system, SIGCHLD, GETS_SIGNAL},
    {CALL_system, SIGKILL, GETS_SIGNAL},
    {CALL_execvp, ENOENT, FAILS_ONCE},
    {CALL_execvp, ENOMEM, FAILS_ONCE},
    {CALL_execvp, EIO, FAILS_ONCE},
    {CALL_setsid, EPERM, FAILS_ONCE},
    {CALL_kill, ESRCH, FAILS_ONCE},
    {CALL_kill, EPERM, FAILS_ONCE},

    {CALL_gettimeofday, EFAULT, FAILS_ONCE},
    {CALL_settimeofday, EPERM, FAILS_ONCE},
};
// clang-format on

std::vector<support::failing_plan> faults_of(counted_call call, unsigned number, failing_who who)
{
    std::vector<support::failing_plan> plans;
    for (const fault &row : faults) {
        if (row.call != call || (row.how == GETS_SIGNAL && who == ITS_CHILDREN))
            continue;
        bool is_signal = row.how == GETS_SIGNAL;
        plans.push_back(
            {number, is_signal ? 0 : row.error, row.how, who, is_signal ? row.error : 0});
    }
    return plans;
}

const char *name_of(counted_call call)
{
#define CALL_NAME(name) #name,
    static const char *const names[] = {COUNTED_CALLS(CALL_NAME)};
#undef CALL_NAME
    return names[call];
}

static const char *way_of(failing_how how)
{
    switch (how) {
    case FAILS_FROM_HERE:
        return " from here on";
    case FAILS_HALF_WAY:
    case STOPS_HALF_WAY:
        return " half-way";
    case FAILS_ONCE:
    case GETS_SIGNAL:
    case LOGS_REALLY:
        break;
    }
    return "";
}

std::string text_of(const support::failing_plan &plan, counted_call call)
{
    std::string what = plan.how == GETS_SIGNAL ? std::string("SIG") + sigabbrev_np(plan.signal)
                                               : strerrorname_np(plan.error);
    return "call " + std::to_string(plan.number) +
           (plan.who == ITS_CHILDREN ? " of the children" : "") + ", " + name_of(call) + ": " +
           what + way_of(static_cast<failing_how>(plan.how));
}

} // namespace sweep
