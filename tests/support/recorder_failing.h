// Calls of the program that fail because a sweep (sweep.h) has chosen them. The preloaded recorder
// counts the program's calls of the C library; its own are not counted. Without a plan in the
// environment nothing is counted and nothing fails.
#ifndef SUPPORT_RECORDER_FAILING_H
#define SUPPORT_RECORDER_FAILING_H

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// The plan: "NUMBER ERROR HOW WHO SIGNAL", all numbers.
#define BOX_PLAN_SETTING "BOX_PLAN="
// The calls met: a struct call_log, which is there before the run.
#define BOX_CALLS "/.box/calls"

#define COUNTED_CALLS_MAX 65536

// clang-format off
#define COUNTED_CALLS(X) \
    X(malloc) X(calloc) X(realloc) \
    X(open) X(fopen) X(fdopen) X(read) X(write) X(close) X(fsync) X(rename) X(unlink) X(fchmod) \
    X(ftruncate) X(stat) X(lstat) X(fstat) X(access) X(readlink) X(flock) X(fcntl_lock) \
    X(fcntl_dup) X(dup2) X(pipe2) \
    X(opendir) X(readdir) X(mkdir) X(rmdir) X(symlink) X(mknod) \
    X(socket) X(ioctl) X(getifaddrs) \
    X(fork) X(waitpid) X(system) X(execvp) X(setsid) X(kill) \
    X(gettimeofday) X(settimeofday) X(nanosleep)
// clang-format on

enum counted_call {
#define CALL_NUMBER(name) CALL_##name,
    COUNTED_CALLS(CALL_NUMBER)
#undef CALL_NUMBER
        COUNTED_CALL_KINDS
};

// How the chosen call fails.
enum failing_how {
    FAILS_ONCE,
    FAILS_FROM_HERE, // and all later ones with that error that give it for the same reason: no
                     // memory, descriptors, room, processes, a medium or device that is gone
    FAILS_HALF_WAY,  // a write stores half of its bytes first, and all later ones fail
    STOPS_HALF_WAY,  // a write stores half of its bytes and says so, as a signal has it do; a read
                     // gives a few of those that are there, as a pipe does
    GETS_SIGNAL,     // a signal arrives before it, and it goes on
    LOGS_REALLY,     // no call fails; the log goes to the C library, not to the trace
};

// Whose calls are counted.
enum failing_who {
    PROGRAM_ITSELF,
    ITS_CHILDREN, // between fork() and exec
};

// Paths, each behind the other with a line end; what has no room is left out.
#define NOTED_PATHS_MAX 16384
struct path_log {
    uint32_t length;
    char text[NOTED_PATHS_MAX];
};

struct call_log {
    uint32_t count;       // calls met
    uint32_t hits;        // calls that failed, or signals sent
    struct path_log seen; // files that were opened or asked after
    struct path_log torn; // files that a write has failed to, or that were open for writing when
                          // the process was killed
    uint8_t calls[COUNTED_CALLS_MAX]; // enum counted_call
};

// Takes the plan out of the environment and follows it from now on.
void follow_plan(void);
bool is_plan_followed(void);
bool is_log_real(void);

// A call of the program's. True when it is to fail; errno is then set.
bool call_fails(enum counted_call call);
// Whether the call that call_fails() has just refused is to do half of its work.
bool fails_half_way(void);
// What the program looks at.
void note_seen(const char *path);
// What a descriptor leads to, until it is closed: NULL.
void note_opened(int descriptor, const char *path, bool is_written);
// A write to the descriptor has failed.
void note_torn(int descriptor);
// The child after a fork.
void count_as_child(void);

// Around the recorder's own work, whose calls are not the program's.
void recorder_enters(void);
void recorder_leaves(void);
void recorder_leaves_scope(const int *scope);
#define RECORDERS_WORK                                                                             \
    __attribute__((cleanup(recorder_leaves_scope), unused)) const int recorders_work =             \
        (recorder_enters(), 0)

// Has the program's standard output and error pass through the counted calls (recorder_streams.c).
void take_standard_streams(void);

#ifdef __cplusplus
}
#endif

#endif
