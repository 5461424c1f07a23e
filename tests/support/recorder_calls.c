// Calls of the C library that reach outside of the router's files and network: they are noted in
// the trace and, where the real thing would need a board or disturb the machine, played.
#include "support/recorder_calls.h"
#include "support/recorder_failing.h"

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <ifaddrs.h>
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <sys/types.h>
#include <unistd.h>

enum recording box_recording = RECORDING_OFF;

// Where time has 64 bits on a 32-bit machine, the headers of glibc give these calls other names,
// and those by the plain names have other records.
#if defined(__GLIBC__) && defined(__USE_TIME_BITS64) && __TIMESIZE == 32
static const char *real_name(const char *name)
{
    static const char *const names[][2] = {
        {"clock_gettime", "__clock_gettime64"},
        {"fcntl", "__fcntl_time64"},
        {"fstat", "__fstat64_time64"},
        {"ftruncate", "ftruncate64"},
        {"gettimeofday", "__gettimeofday64"},
        {"ioctl", "__ioctl_time64"},
        {"readdir", "readdir64"},
        {"time", "__time64"},
    };
    for (size_t i = 0; i < sizeof names / sizeof *names; i++)
        if (strcmp(names[i][0], name) == 0)
            return names[i][1];
    return name;
}
#else
static const char *real_name(const char *name)
{
    return name;
}
#endif

void find_real(const char *name, void *function)
{
    void *found = dlsym(RTLD_NEXT, real_name(name));
    if (found == NULL) {
        dprintf(2, "recorder: the C library has no %s\n", name);
        _exit(125);
    }
    memcpy(function, &found, sizeof found);
}

bool answered_by_rule(const struct line *event, int *result)
{
    static const char *const answers[] = {"fail", "skip", NULL};
    int saved = errno;
    struct rule rule;
    bool found = rule_for_event(answers, event->text, &rule);
    errno = saved;
    if (!found)
        return false;
    *result = strcmp(rule.kind, "fail") == 0 ? -1 : 0;
    if (*result < 0)
        errno = error_number(rule.argument[0]);
    trace_outcome(event, *result, NULL);
    return true;
}

void trace_outcome(const struct line *event, int result, const char *answer)
{
    int saved = errno;
    struct line line = LINE_EMPTY;
    line_print(&line, "%s%s", event->text, answer != NULL && result >= 0 ? answer : "");
    if (result < 0)
        trace_failure(line.text, saved);
    else
        trace_line(line.text);
    line_free(&line);
    errno = saved;
}

// What a command inherits besides its standard input and outputs is noted during a sweep.
static void trace_inherited(void)
{
    for (int i = STDERR_FILENO + 1; is_plan_followed() && i < 64; i++) {
        struct line event = LINE_EMPTY;
        long flags = syscall(SYS_fcntl, i, F_GETFD);
        if (flags < 0 || (flags & FD_CLOEXEC) != 0)
            continue;
        line_print(&event, "inherited %d", i);
        trace_line(event.text);
        line_free(&event);
    }
}

int system(const char *command)
{
    if (call_fails(CALL_system))
        return -1;
    RECORDERS_WORK;
    static int (*real)(const char *);
    if (real == NULL)
        find_real("system", &real);
    if (box_recording == RECORDING_OFF || command == NULL)
        return real(command);

    int result;
    struct line event = LINE_EMPTY;
    line_print(&event, "shell ");
    line_text(&event, command);
    trace_inherited();
    if (!answered_by_rule(&event, &result)) {
        trace_line(event.text);
        hold_by_rule(event.text);
        result = real(command);
    }
    line_free(&event);
    return result;
}

unsigned sleep(unsigned seconds)
{
    RECORDERS_WORK;
    static unsigned (*real)(unsigned);
    if (real == NULL)
        find_real("sleep", &real);
    if (box_recording == RECORDING_OFF)
        return real(seconds);

    int result;
    struct line event = LINE_EMPTY;
    line_print(&event, "sleep %u", seconds);
    if (!answered_by_rule(&event, &result)) {
        trace_line(event.text);
        hold_by_rule(event.text);
    }
    line_free(&event);
    return 0;
}

// A signal to a whole process group would reach the test that runs the routine.
static bool would_hit_the_test(pid_t process)
{
    return box_recording == RECORDING_TEST && (process <= 0 || process == getpid());
}

int kill(pid_t process, int number)
{
    if (call_fails(CALL_kill))
        return -1;
    RECORDERS_WORK;
    static int (*real)(pid_t, int);
    if (real == NULL)
        find_real("kill", &real);
    if (box_recording == RECORDING_OFF)
        return real(process, number);

    int result = 0;
    char digits[16];
    struct line event = LINE_EMPTY;
    line_print(&event, "kill %d %s", (int)process, signal_name(number, digits));
    if (answered_by_rule(&event, &result)) {
        // Answered and noted.
    } else if (process <= 0 || process == getpid()) {
        trace_line(event.text); // before the signal, which may leave no time after it
        result = would_hit_the_test(process) ? 0 : real(process, number);
    } else {
        result = real(process, number);
        trace_outcome(&event, result, NULL);
    }
    line_free(&event);
    return result;
}

// What follows is no line of the trace, but a rule may refuse it: "fail EAGAIN fork".
static bool refused_by_rule(const char *text)
{
    int result = 0;
    struct line event = LINE_EMPTY;
    line_print(&event, "%s", text);
    bool is_answered = box_recording != RECORDING_OFF && answered_by_rule(&event, &result);
    line_free(&event);
    return is_answered && result < 0;
}

pid_t fork(void)
{
    if (call_fails(CALL_fork))
        return -1;
    static pid_t (*real)(void);
    if (real == NULL)
        find_real("fork", &real);
    recorder_enters();
    bool is_refused = refused_by_rule("fork");
    recorder_leaves();
    pid_t child = is_refused ? -1 : real();
    if (child == 0)
        count_as_child();
    return child;
}

static bool is_open_refused(const char *path)
{
    struct line text = LINE_EMPTY;
    line_print(&text, "open ");
    line_text(&text, path);
    bool is_refused = refused_by_rule(text.text);
    line_free(&text);
    return is_refused;
}

// The recorder itself opens its files by openat().
int open(const char *path, int flags, ...)
{
    note_seen(path);
    if (call_fails(CALL_open))
        return -1;
    RECORDERS_WORK;
    static int (*real)(const char *, int, ...);
    va_list arguments;
    va_start(arguments, flags);
    mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    if (real == NULL)
        find_real("open", &real);
    int descriptor = is_open_refused(path) ? -1 : real(path, flags, mode);
    note_opened(descriptor, path, (flags & O_ACCMODE) != O_RDONLY);
    return descriptor;
}

int socket(int domain, int type, int protocol)
{
    if (call_fails(CALL_socket))
        return -1;
    RECORDERS_WORK;
    static int (*real)(int, int, int);
    if (real == NULL)
        find_real("socket", &real);
    char text[64];
    const char *kind = type == SOCK_DGRAM ? "dgram" : type == SOCK_RAW ? "raw" : "other";
    snprintf(text, sizeof text, "socket %s %s %d", domain == AF_INET ? "inet" : "other", kind,
             protocol);
    return refused_by_rule(text) ? -1 : real(domain, type, protocol);
}

int getifaddrs(struct ifaddrs **list)
{
    if (call_fails(CALL_getifaddrs))
        return -1;
    RECORDERS_WORK;
    static int (*real)(struct ifaddrs **);
    if (real == NULL)
        find_real("getifaddrs", &real);
    return refused_by_rule("getifaddrs") ? -1 : real(list);
}

// A rule plays a terminal.
int isatty(int descriptor)
{
    RECORDERS_WORK;
    static int (*real)(int);
    if (real == NULL)
        find_real("isatty", &real);
    int result = -1;
    struct line event = LINE_EMPTY;
    line_print(&event, "isatty %d", descriptor);
    bool is_played = box_recording != RECORDING_OFF && answered_by_rule(&event, &result);
    line_free(&event);
    return is_played ? result == 0 : real(descriptor);
}

// Of all requests, only those for a record lock and for another descriptor can be refused.
int fcntl(int descriptor, int request, ...)
{
    bool is_lock = request == F_SETLK || request == F_SETLKW || request == F_GETLK;
    bool is_dup = request == F_DUPFD || request == F_DUPFD_CLOEXEC;
    if ((is_lock && call_fails(CALL_fcntl_lock)) || (is_dup && call_fails(CALL_fcntl_dup)))
        return -1;
    RECORDERS_WORK;
    static int (*real)(int, int, ...);
    va_list arguments;
    va_start(arguments, request);
    void *argument = va_arg(arguments, void *);
    va_end(arguments);
    if (real == NULL)
        find_real("fcntl", &real);
    if (request == F_SETLK || request == F_SETLKW) {
        const struct flock *lock = argument;
        if (refused_by_rule(lock->l_type == F_UNLCK ? "unlock" : "lock"))
            return -1;
    }
    return real(descriptor, request, argument);
}

static char node_type(mode_t mode)
{
    return S_ISBLK(mode) ? 'b' : S_ISCHR(mode) ? 'c' : S_ISFIFO(mode) ? 'p' : '-';
}

// Stands in for a device node, which not every machine lets a test make: an empty file with the
// node's mode, made where and when the node could have been.
static int make_stand_in(const char *path, mode_t mode)
{
    int file = openat(AT_FDCWD, path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode & 07777);
    return file < 0 ? -1 : close(file);
}

int mknod(const char *path, mode_t mode, dev_t device)
{
    if (call_fails(CALL_mknod))
        return -1;
    RECORDERS_WORK;
    if (box_recording == RECORDING_OFF)
        return mknodat(AT_FDCWD, path, mode, device);

    int result = 0;
    struct line event = LINE_EMPTY;
    line_print(&event, "mknod ");
    line_text(&event, path);
    line_print(&event, " %c %04o %u:%u", node_type(mode), (unsigned)mode & 07777, major(device),
               minor(device));
    if (!answered_by_rule(&event, &result)) {
        result = make_stand_in(path, mode);
        trace_outcome(&event, result, NULL);
    }
    line_free(&event);
    return result;
}

// What mknod() is to programs built against a C library of before 2.33.
int __xmknod(int version, const char *path, mode_t mode, dev_t *device);
int __xmknod(int version, const char *path, mode_t mode, dev_t *device)
{
    (void)version;
    return mknod(path, mode, *device);
}

// Existence tests. They are noted only where a test asks for it: there are many, and few tests
// care.
static int trace_existence(const char *path, int real_result)
{
    static const char *const watches[] = {"watch", NULL};
    static const char *const answers[] = {"fail", "skip", NULL};
    int saved = errno;
    int result = real_result;
    struct rule rule;
    struct line event = LINE_EMPTY;
    line_print(&event, "exists ");
    line_text(&event, path);
    if (rule_for_event(answers, event.text, &rule)) {
        result = strcmp(rule.kind, "fail") == 0 ? -1 : 0;
        saved = result < 0 ? error_number(rule.argument[0]) : saved;
    }
    if (rule_for_event(watches, NULL, &rule)) {
        line_print(&event, " = %s", result == 0 ? "yes" : "no");
        trace_line(event.text);
    }
    line_free(&event);
    errno = saved;
    return result;
}

int access(const char *path, int how)
{
    note_seen(path);
    if (call_fails(CALL_access))
        return -1;
    RECORDERS_WORK;
    int result = faccessat(AT_FDCWD, path, how, 0);
    return box_recording == RECORDING_OFF ? result : trace_existence(path, result);
}

int stat(const char *restrict path, struct stat *restrict status)
{
    note_seen(path);
    if (call_fails(CALL_stat))
        return -1;
    RECORDERS_WORK;
    int result = fstatat(AT_FDCWD, path, status, 0);
    return box_recording == RECORDING_OFF ? result : trace_existence(path, result);
}

int lstat(const char *restrict path, struct stat *restrict status)
{
    note_seen(path);
    if (call_fails(CALL_lstat))
        return -1;
    RECORDERS_WORK;
    int result = fstatat(AT_FDCWD, path, status, AT_SYMLINK_NOFOLLOW);
    return box_recording == RECORDING_OFF ? result : trace_existence(path, result);
}
