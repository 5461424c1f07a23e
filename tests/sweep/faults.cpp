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
    {CALL_calloc, ENOMEM, FAILS_FROM_HERE},
    {CALL_realloc, ENOMEM, FAILS_ONCE},
    {CALL_realloc, ENOMEM, FAILS_FROM_HERE},

    {CALL_open, EMFILE, FAILS_ONCE},
    {CALL_open, EMFILE, FAILS_FROM_HERE},
    {CALL_open, ENFILE, FAILS_ONCE},
    {CALL_open, EIO, FAILS_ONCE},
    {CALL_open, EINTR, FAILS_ONCE},
    {CALL_open, EACCES, FAILS_ONCE},
    {CALL_open, ENOSPC, FAILS_ONCE},
    {CALL_fopen, EMFILE, FAILS_ONCE},
    {CALL_fopen, ENFILE, FAILS_ONCE},
    {CALL_fopen, ENOMEM, FAILS_ONCE},
    {CALL_fdopen, ENOMEM, FAILS_ONCE},
    {CALL_fdopen, SIGKILL, GETS_SIGNAL},
    {CALL_read, EIO, FAILS_ONCE},
    {CALL_read, EIO, FAILS_FROM_HERE},
    {CALL_read, EINTR, FAILS_ONCE},
    {CALL_read, EINTR, STOPS_HALF_WAY},
    {CALL_write, ENOSPC, FAILS_ONCE},
    {CALL_write, ENOSPC, FAILS_FROM_HERE},
    {CALL_write, ENOSPC, FAILS_HALF_WAY},
    {CALL_write, EINTR, STOPS_HALF_WAY},
    {CALL_write, EINTR, FAILS_ONCE},
    {CALL_write, EIO, FAILS_ONCE},
    {CALL_write, EIO, FAILS_FROM_HERE},
    {CALL_write, SIGPIPE, GETS_SIGNAL},
    {CALL_write, SIGKILL, GETS_SIGNAL},
    {CALL_close, EIO, FAILS_ONCE},
    {CALL_close, EINTR, FAILS_ONCE},
    {CALL_close, SIGKILL, GETS_SIGNAL},
    {CALL_fsync, EIO, FAILS_ONCE},
    {CALL_fsync, ENOSPC, FAILS_ONCE},
    {CALL_fsync, SIGKILL, GETS_SIGNAL},
    {CALL_rename, ENOSPC, FAILS_ONCE},
    {CALL_rename, EIO, FAILS_ONCE},
    {CALL_rename, EINTR, FAILS_ONCE},
    {CALL_rename, EROFS, FAILS_ONCE},
    {CALL_rename, SIGKILL, GETS_SIGNAL},
    {CALL_unlink, EIO, FAILS_ONCE},
    {CALL_unlink, EINTR, FAILS_ONCE},
    {CALL_unlink, EROFS, FAILS_ONCE},
    {CALL_unlink, SIGKILL, GETS_SIGNAL},
    {CALL_fchmod, EROFS, FAILS_ONCE},
    {CALL_ftruncate, EIO, FAILS_ONCE},
    {CALL_ftruncate, ENOSPC, FAILS_ONCE},
    {CALL_ftruncate, EINTR, FAILS_ONCE},
    {CALL_ftruncate, SIGKILL, GETS_SIGNAL},
    {CALL_stat, EIO, FAILS_ONCE},
    {CALL_stat, ENOMEM, FAILS_ONCE},
    {CALL_lstat, EIO, FAILS_ONCE},
    {CALL_fstat, EIO, FAILS_ONCE},
    {CALL_access, EIO, FAILS_ONCE},
    {CALL_readlink, EIO, FAILS_ONCE},
    {CALL_readlink, EACCES, FAILS_ONCE},
    {CALL_flock, EINTR, FAILS_ONCE},
    {CALL_flock, ENOLCK, FAILS_ONCE},
    {CALL_fcntl_lock, EINTR, FAILS_ONCE},
    {CALL_fcntl_lock, ENOLCK, FAILS_ONCE},
    {CALL_fcntl_dup, EMFILE, FAILS_ONCE},
    {CALL_fcntl_dup, EMFILE, FAILS_FROM_HERE},
    {CALL_dup2, EBUSY, FAILS_ONCE},
    {CALL_dup2, EINTR, FAILS_ONCE},
    {CALL_pipe2, EMFILE, FAILS_ONCE},
    {CALL_pipe2, EMFILE, FAILS_FROM_HERE},
    {CALL_pipe2, ENFILE, FAILS_ONCE},

    {CALL_opendir, EMFILE, FAILS_ONCE},
    {CALL_opendir, EMFILE, FAILS_FROM_HERE},
    {CALL_opendir, ENFILE, FAILS_ONCE},
    {CALL_opendir, ENOMEM, FAILS_ONCE},
    {CALL_readdir, EIO, FAILS_ONCE},
    {CALL_readdir, EIO, FAILS_FROM_HERE},
    {CALL_mkdir, ENOSPC, FAILS_ONCE},
    {CALL_mkdir, ENOSPC, FAILS_FROM_HERE},
    {CALL_mkdir, EROFS, FAILS_ONCE},
    {CALL_rmdir, EBUSY, FAILS_ONCE},
    {CALL_symlink, ENOSPC, FAILS_ONCE},
    {CALL_mknod, ENOSPC, FAILS_ONCE},
    {CALL_mknod, EPERM, FAILS_ONCE},

    {CALL_socket, EMFILE, FAILS_ONCE},
    {CALL_socket, EMFILE, FAILS_FROM_HERE},
    {CALL_socket, ENFILE, FAILS_ONCE},
    {CALL_socket, ENOBUFS, FAILS_ONCE},
    {CALL_ioctl, ENODEV, FAILS_ONCE},
    {CALL_ioctl, ENODEV, FAILS_FROM_HERE},
    {CALL_ioctl, ENOMEM, FAILS_ONCE},
    {CALL_ioctl, EINTR, FAILS_ONCE},
    {CALL_getifaddrs, EMFILE, FAILS_ONCE},
    {CALL_getifaddrs, ENOBUFS, FAILS_ONCE},
    {CALL_getifaddrs, ENOMEM, FAILS_ONCE},

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
    {CALL_execvp, EACCES, FAILS_ONCE},
    {CALL_execvp, ENOMEM, FAILS_ONCE},
    {CALL_execvp, EIO, FAILS_ONCE},
    {CALL_setsid, EPERM, FAILS_ONCE},
    {CALL_kill, ESRCH, FAILS_ONCE},
    {CALL_kill, EPERM, FAILS_ONCE},

    {CALL_gettimeofday, EFAULT, FAILS_ONCE},
    {CALL_settimeofday, EPERM, FAILS_ONCE},
    {CALL_nanosleep, EINTR, FAILS_ONCE},
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
