#include "util/process.h"

#include "util/open_file.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

// MIPS has signals up to 127, twice as many as other processors. The last one, which nothing on the
// router sends, is left as it is.
constexpr int LAST_RESET_SIGNAL = 126;

static void reset_signals()
{
    // 0 and the numbers that the kernel lacks or the C library keeps for itself are refused; that
    // does no harm.
    for (int sig = 0; sig <= LAST_RESET_SIGNAL; sig++)
        signal(sig, SIG_DFL);
    sigset_t nothing;
    sigemptyset(&nothing);
    sigprocmask(SIG_SETMASK, &nothing, nullptr);
}

static void detach()
{
    for (int fd = 3; fd <= 255; fd++)
        close(fd);
    ioctl(STDIN_FILENO, TIOCNOTTY, 0);
    setsid();
}

static void redirect(const char *path)
{
    const char *name = path;
    int flags = O_WRONLY | O_CREAT;
    if (strncmp(path, ">>", 2) == 0) {
        name = path + 2;
        flags |= O_APPEND;
    } else if (path[0] == '>') {
        name = path + 1;
        flags |= O_TRUNC;
    }
    int fd = open(name, flags, 0644);
    if (fd < 0) {
        perror(name);
        return;
    }
    dup2(fd, STDOUT_FILENO);
    dup2(fd, STDERR_FILENO);
    if (fd > STDERR_FILENO)
        close(fd);
}

[[noreturn]] static void run_child(char *const argv[], const char *path, unsigned timeout)
{
    reset_signals();
    detach();
    if (path != nullptr)
        redirect(path);
    setenv("PATH", "/sbin:/bin:/usr/sbin:/usr/bin", 1);
    setenv("LD_LIBRARY_PATH", "/lib:/usr/lib", 1);
    alarm(timeout);
    execvp(argv[0], argv);
    int error = errno;
    perror(argv[0]);
    _exit(error);
}

int _eval(char *const argv[], const char *path, unsigned timeout, pid_t *ppid)
{
    pid_t pid = fork();
    if (pid < 0) {
        int error = errno;
        perror("fork");
        return error;
    }
    if (pid == 0)
        run_child(argv, path, timeout);

    if (ppid != nullptr) {
        *ppid = pid;
        return 0;
    }
    int status = 0;
    if (waitpid(pid, &status, 0) < 0) {
        int error = errno;
        perror("waitpid");
        return error;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : status;
}

int run_words(const char *const argv[])
{
    // exec takes pointers to writable words for the sake of old programs and leaves them alone.
    return _eval(const_cast<char *const *>(argv), nullptr, 0, nullptr);
}

// The process number in text, base as its prefix says. Clamped to the range of a pid: on a machine
// with a wide long a huge number must not wrap round to -1, which would signal every process.
static pid_t to_pid(const char *text)
{
    long number = strtol(text, nullptr, 0);
    if (number > INT_MAX)
        return INT_MAX;
    if (number < INT_MIN)
        return INT_MIN;
    return static_cast<pid_t>(number);
}

int kill_pidfile_s(const char *path, int sig)
{
    FILE *file = open_stream(path, "r");
    char line[256];
    if (file == nullptr || fgets(line, sizeof(line), file) == nullptr)
        return errno;
    fclose(file);
    return kill(to_pid(line), sig);
}

void stop_by_pidfile(const char *path, int second_sig)
{
    if (kill_pidfile_s(path, SIGTERM) == 0)
        return;
    sleep(3);
    kill_pidfile_s(path, second_sig);
}
