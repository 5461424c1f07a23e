// The recorder that the router box preloads into the program: switches the recording on and takes
// itself out of the environment, so that the program sees the environment its test gave it.
#include "support/recorder_calls.h"
#include "support/recorder_failing.h"

#include <stdlib.h>

__attribute__((constructor)) static void start_recording(void)
{
    unsetenv("LD_PRELOAD");
    unsetenv("ASAN_OPTIONS");
    unsetenv("UBSAN_OPTIONS");
    box_recording = RECORDING_PROGRAM;
    follow_plan();
    take_standard_streams();
}
