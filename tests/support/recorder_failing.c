// The plan of a sweep: counting the program's calls, and telling which of them is to fail.
#include "support/recorder_failing.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

static struct {
    unsigned number; // of the call that is to fail, the first is 1; 0 for none
    int error;
    enum failing_how how;
    enum failing_who who;
    int signal;
} plan;

static struct call_log *calls;
static int recorder_depth;
static enum failing_who process = PROGRAM_ITSELF;
static uint64_t scarce; // the calls that fail from now on, a bit for each kind

#define BIT(call) (1ULL << CALL_##call)
_Static_assert(COUNTED_CALL_KINDS <= 64, "a bit for each kind of call");

// What runs out or is gone: the error, and the calls that then give it.
static const struct {
    int error;
    uint64_t calls;
} reasons[] = {
    {ENOMEM, BIT(malloc) | BIT(calloc) | BIT(realloc) | BIT(fdopen)},
    {EMFILE, BIT(open) | BIT(fopen) | BIT(opendir) | BIT(socket) | BIT(getifaddrs) | BIT(pipe2) |
                 BIT(fcntl_dup)},
    {ENOSPC, BIT(write) | BIT(mkdir) | BIT(symlink) | BIT(mknod) | BIT(rename)},
    {EAGAIN, BIT(fork) | BIT(system)},
    {EIO, BIT(read) | BIT(readdir)},
    {EIO, BIT(write) | BIT(fsync)},
    {ENODEV, BIT(ioctl)},
};

static uint64_t calls_that_fail_with(enum counted_call call)
{
    for (size_t i = 0; i < sizeof reasons / sizeof *reasons; i++)
        if (reasons[i].error == plan.error && (reasons[i].calls >> call & 1) != 0)
            return reasons[i].calls;
    return 1ULL << call;
}

static void broken_plan(const char *text)
{
    dprintf(2, "recorder: the plan \"%s\": %s\n", text, strerror(errno));
    _exit(125);
}

void follow_plan(void)
{
    const char *text = getenv("BOX_PLAN");
    if (text == NULL)
        return;
    int how, who;
    if (sscanf(text, "%u %d %d %d %d", &plan.number, &plan.error, &how, &who, &plan.signal) != 5)
        broken_plan(text);
    plan.how = (enum failing_how)how;
    plan.who = (enum failing_who)who;
    int file = openat(AT_FDCWD, BOX_CALLS, O_RDWR | O_CLOEXEC);
    void *shared = file < 0
                       ? MAP_FAILED
                       : mmap(NULL, sizeof *calls, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (shared == MAP_FAILED)
        broken_plan(text);
    recorder_enters();
    close(file);
    unsetenv("BOX_PLAN");
    calls = shared;
    recorder_leaves();
}

bool is_plan_followed(void)
{
    return calls != NULL;
}

bool is_log_real(void)
{
    return calls != NULL && plan.how == LOGS_REALLY;
}

static bool is_chosen(enum counted_call call, uint32_t number)
{
    if (scarce != 0)
        return (scarce >> call & 1) != 0;
    if (number != plan.number)
        return false;
    if (plan.how == FAILS_FROM_HERE || plan.how == FAILS_HALF_WAY)
        scarce = calls_that_fail_with(call);
    return true;
}

// ---- paths

#define FOLLOWED_DESCRIPTORS 64
#define FOLLOWED_PATH_MAX 128

static struct {
    bool is_written;
    char path[FOLLOWED_PATH_MAX];
} opened[FOLLOWED_DESCRIPTORS];

static void note_path(struct path_log *log, const char *path)
{
    size_t length = strlen(path);
    if (log->length + length + 1 > sizeof log->text)
        return;
    memcpy(log->text + log->length, path, length);
    log->text[log->length + length] = '\n';
    log->length += (uint32_t)length + 1;
}

void note_seen(const char *path)
{
    if (calls != NULL && recorder_depth == 0)
        note_path(&calls->seen, path);
}

void note_opened(int descriptor, const char *path, bool is_written)
{
    if (calls == NULL || descriptor < 0 || descriptor >= FOLLOWED_DESCRIPTORS)
        return;
    opened[descriptor].is_written = is_written;
    opened[descriptor].path[0] = '\0';
    if (path != NULL)
        strncat(opened[descriptor].path, path, FOLLOWED_PATH_MAX - 1);
}

void note_torn(int descriptor)
{
    int saved = errno;
    bool is_followed = descriptor >= 0 && descriptor < FOLLOWED_DESCRIPTORS;
    if (calls != NULL)
        note_path(&calls->torn, is_followed ? opened[descriptor].path : "");
    errno = saved;
}

static void note_all_torn(void)
{
    for (int i = 0; i < FOLLOWED_DESCRIPTORS; i++)
        if (opened[i].is_written)
            note_torn(i);
}

static bool is_half_way;

bool call_fails(enum counted_call call)
{
    is_half_way = false;
    if (calls == NULL || recorder_depth > 0 || process != plan.who)
        return false;
    uint32_t number = ++calls->count;
    if (number <= COUNTED_CALLS_MAX)
        calls->calls[number - 1] = (uint8_t)call;
    is_half_way = scarce == 0 && (plan.how == FAILS_HALF_WAY || plan.how == STOPS_HALF_WAY);
    if (!is_chosen(call, number))
        return false;
    calls->hits++;
    if (plan.how == GETS_SIGNAL) {
        if (plan.signal == SIGKILL)
            note_all_torn();
        raise(plan.signal);
        return false;
    }
    errno = plan.error;
    return true;
}

bool fails_half_way(void)
{
    return is_half_way;
}

void count_as_child(void)
{
    process = ITS_CHILDREN;
}

void recorder_enters(void)
{
    recorder_depth++;
}

void recorder_leaves(void)
{
    recorder_depth--;
}

void recorder_leaves_scope(const int *scope)
{
    (void)scope;
    recorder_leaves();
}
