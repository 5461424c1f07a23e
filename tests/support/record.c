#include "support/record.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

static void broken_box(const char *what)
{
    dprintf(2, "recorder: %s: %s\n", what, strerror(errno));
    _exit(125);
}

void line_free(struct line *line)
{
    free(line->text);
    line->text = NULL;
    line->length = line->capacity = 0;
}

static void line_reserve(struct line *line, size_t more)
{
    size_t wanted = line->length + more + 1;
    if (wanted <= line->capacity)
        return;
    line->capacity = wanted * 2;
    line->text = realloc(line->text, line->capacity);
    if (line->text == NULL)
        broken_box("memory");
}

void line_print(struct line *line, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    int length = vsnprintf(NULL, 0, format, arguments);
    va_end(arguments);
    if (length < 0)
        broken_box("format");
    line_reserve(line, (size_t)length);
    va_start(arguments, format);
    vsnprintf(line->text + line->length, (size_t)length + 1, format, arguments);
    va_end(arguments);
    line->length += (size_t)length;
}

static bool is_control(char c)
{
    return (unsigned char)c < 0x20 || c == 0x7f;
}

static void line_character(struct line *line, char c)
{
    static const char plain[] = "\n\t\r\\";
    static const char letter[] = "ntr\\";
    const char *found = c != '\0' ? strchr(plain, c) : NULL;
    if (found != NULL)
        line_print(line, "\\%c", letter[found - plain]);
    else if (is_control(c))
        line_print(line, "\\x%02x", (unsigned)(unsigned char)c);
    else
        line_print(line, "%c", c);
}

void line_text(struct line *line, const char *text)
{
    line_reserve(line, strlen(text));
    for (; *text != '\0'; text++)
        line_character(line, *text);
}

static bool needs_quotes(const char *word)
{
    if (*word == '\0')
        return true;
    for (; *word != '\0'; word++)
        if (is_control(*word) || strchr(" '\"", *word) != NULL)
            return true;
    return false;
}

void line_word(struct line *line, const char *word)
{
    const char *quote = needs_quotes(word) ? "'" : "";
    line_print(line, "%s", quote);
    line_text(line, word);
    line_print(line, "%s", quote);
}

// The parent's parent; 0 when there is none to be seen.
static int grandparent(void)
{
    char text[512];
    int parent = 0;
    snprintf(text, sizeof text, "/proc/%d/stat", (int)getppid());
    int file = openat(AT_FDCWD, text, O_RDONLY | O_CLOEXEC);
    ssize_t length = file >= 0 ? read(file, text, sizeof text - 1) : -1;
    if (file >= 0)
        close(file);
    text[length > 0 ? length : 0] = '\0';
    const char *name_end = strrchr(text, ')'); // "12 (name) S 7 ..."
    if (name_end == NULL || sscanf(name_end + 1, " %*c %d", &parent) != 1)
        return 0;
    return parent;
}

void trace_line(const char *text)
{
    struct line whole = LINE_EMPTY;
    line_print(&whole, "%d %d %d %s\n", (int)getpid(), (int)getppid(), grandparent(), text);
    int file = openat(AT_FDCWD, BOX_TRACE, O_WRONLY | O_APPEND | O_CLOEXEC);
    if (file < 0 || write(file, whole.text, whole.length) != (ssize_t)whole.length)
        broken_box(BOX_TRACE);
    close(file);
    line_free(&whole);
}

void trace_failure(const char *text, int error)
{
    char digits[16];
    struct line whole = LINE_EMPTY;
    line_print(&whole, "%s = %s", text, error_name(error, digits));
    trace_line(whole.text);
    line_free(&whole);
}

// musl does not tell the names of errors and signals. These are those that tests have to do with;
// an error that is not among them shows as a number.
#ifndef __GLIBC__
static const char *strerrorname_np(int error)
{
    static const char *const names[] = {
        [EPERM] = "EPERM",
        [ENOENT] = "ENOENT",
        [ESRCH] = "ESRCH",
        [EINTR] = "EINTR",
        [EIO] = "EIO",
        [ENXIO] = "ENXIO",
        [E2BIG] = "E2BIG",
        [ENOEXEC] = "ENOEXEC",
        [EBADF] = "EBADF",
        [ECHILD] = "ECHILD",
        [EAGAIN] = "EAGAIN",
        [ENOMEM] = "ENOMEM",
        [EACCES] = "EACCES",
        [EFAULT] = "EFAULT",
        [EBUSY] = "EBUSY",
        [EEXIST] = "EEXIST",
        [EXDEV] = "EXDEV",
        [ENODEV] = "ENODEV",
        [ENOTDIR] = "ENOTDIR",
        [EISDIR] = "EISDIR",
        [EINVAL] = "EINVAL",
        [ENFILE] = "ENFILE",
        [EMFILE] = "EMFILE",
        [ENOTTY] = "ENOTTY",
        [ETXTBSY] = "ETXTBSY",
        [EFBIG] = "EFBIG",
        [ENOSPC] = "ENOSPC",
        [ESPIPE] = "ESPIPE",
        [EROFS] = "EROFS",
        [EMLINK] = "EMLINK",
        [EPIPE] = "EPIPE",
        [EDOM] = "EDOM",
        [ERANGE] = "ERANGE",
        [EDEADLK] = "EDEADLK",
        [ENAMETOOLONG] = "ENAMETOOLONG",
        [ENOLCK] = "ENOLCK",
        [ENOSYS] = "ENOSYS",
        [ENOTEMPTY] = "ENOTEMPTY",
        [ELOOP] = "ELOOP",
        [EOPNOTSUPP] = "EOPNOTSUPP",
        [EADDRINUSE] = "EADDRINUSE",
        [EADDRNOTAVAIL] = "EADDRNOTAVAIL",
        [ENETDOWN] = "ENETDOWN",
        [ENETUNREACH] = "ENETUNREACH",
        [ECONNRESET] = "ECONNRESET",
        [ENOBUFS] = "ENOBUFS",
        [ETIMEDOUT] = "ETIMEDOUT",
        [ECONNREFUSED] = "ECONNREFUSED",
        [EHOSTUNREACH] = "EHOSTUNREACH",
    };
    bool is_known = error >= 0 && (size_t)error < sizeof names / sizeof *names;
    return is_known ? names[error] : NULL;
}

static const char *sigabbrev_np(int number)
{
    static const char *const names[] = {
        [SIGHUP] = "HUP",   [SIGINT] = "INT",   [SIGQUIT] = "QUIT", [SIGILL] = "ILL",
        [SIGTRAP] = "TRAP", [SIGABRT] = "ABRT", [SIGBUS] = "BUS",   [SIGFPE] = "FPE",
        [SIGKILL] = "KILL", [SIGUSR1] = "USR1", [SIGSEGV] = "SEGV", [SIGUSR2] = "USR2",
        [SIGPIPE] = "PIPE", [SIGALRM] = "ALRM", [SIGTERM] = "TERM", [SIGCHLD] = "CHLD",
        [SIGCONT] = "CONT", [SIGSTOP] = "STOP",
    };
    bool is_known = number >= 0 && (size_t)number < sizeof names / sizeof *names;
    return is_known ? names[number] : NULL;
}
#endif

const char *error_name(int error, char digits[16])
{
    const char *name = strerrorname_np(error);
    snprintf(digits, 16, "%d", error);
    return name != NULL ? name : digits;
}

int error_number(const char *name)
{
    const int last_error = 4095; // the kernel's own bound
    for (int error = 1; error <= last_error; error++) {
        const char *candidate = strerrorname_np(error);
        if (candidate != NULL && strcmp(candidate, name) == 0)
            return error;
    }
    return 0;
}

const char *signal_name(int number, char digits[16])
{
    const char *name = sigabbrev_np(number);
    if (name != NULL)
        snprintf(digits, 16, "SIG%s", name);
    else
        snprintf(digits, 16, "%d", number);
    return digits;
}

static void wait_for_file(const char *path)
{
    const struct timespec pause = {0, 1000000};
    for (int tries = 0; tries < 60000; tries++) {
        if (faccessat(AT_FDCWD, path, F_OK, 0) == 0)
            return;
        syscall(SYS_nanosleep, &pause, NULL);
    }
    errno = ETIMEDOUT;
    broken_box(path);
}

void hold_by_rule(const char *event)
{
    static const char *const waits[] = {"wait", NULL};
    struct rule rule;
    if (rule_for_event(waits, event, &rule))
        wait_for_file(rule.argument[0]);
}
