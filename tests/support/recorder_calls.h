// The recorded calls of the C library (recorder_calls.c, recorder_ioctl.c), for those who link
// them: the preloaded recorder of the router box and the unit tests' program.
#ifndef SUPPORT_RECORDER_CALLS_H
#define SUPPORT_RECORDER_CALLS_H

#include "support/record.h"

#ifdef __cplusplus
extern "C" {
#endif

// How far the calls are recorded. Until this is set, they are the C library's own.
enum recording {
    RECORDING_OFF,
    RECORDING_PROGRAM, // the process is the program
    RECORDING_TEST,    // the process is the test: signals to process groups are noted, not sent
};
extern enum recording box_recording;

// The next definition of a function behind ours, that is, the C library's (or the sanitizer's).
// function is the address of a pointer to a function.
void find_real(const char *name, void *function);

// Looks the event up in the "fail" and "skip" rules. True when a rule answers in place of
// the real call: *result is then its result, errno is set, and the line is in the trace.
bool answered_by_rule(const struct line *event, int *result);
// Notes an event after the real call: with the name of errno when result is negative, else with
// answer (which may be NULL) behind it. Leaves errno alone.
void trace_outcome(const struct line *event, int result, const char *answer);

#ifdef __cplusplus
}
#endif

#endif
