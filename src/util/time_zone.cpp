#include "util/time_zone.h"

#include "util/log.h"
#include "util/open_file.h"
#include "util/text.h"

#include <stdio.h>
#include <stdlib.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

constexpr char TAG[] = "update_time";

// The records of the two system calls, which are used as they are: a C library may leave the zone
// unread, refuse to set it together with the time, or have a wider time than the call, and setting
// the zone alone for the first time after boot moves the clock.
struct kernel_time {
    long seconds;
    long microseconds;
};

struct kernel_zone {
    int minutes_west;
    int daylight;
};

// The calls take machine words, also where the C library's time_t has 64 bits on a 32-bit machine.
static_assert(sizeof(kernel_time) == 2 * sizeof(void *));

// musl renames them on 32-bit machines, as their time ends in 2038.
#ifdef SYS_gettimeofday_time32
constexpr long GET_TIME_OF_DAY = SYS_gettimeofday_time32;
constexpr long SET_TIME_OF_DAY = SYS_settimeofday_time32;
#else
constexpr long GET_TIME_OF_DAY = SYS_gettimeofday;
constexpr long SET_TIME_OF_DAY = SYS_settimeofday;
#endif

static bool read_zone_name(char *name, int cap)
{
    FILE *file = open_stream(ZONE_FILE, "r");
    if (file == nullptr)
        return false;
    bool is_read = fgets(name, cap, file) != nullptr;
    fclose(file);
    return is_read;
}

static void use_zone_of_device()
{
    char name[ZONE_TEXT_MAX];
    if (!read_zone_name(name, sizeof(name))) {
        logmessage(TAG, "nvram");
        return;
    }
    logmessage(TAG, "/etc/TZ");
    setenv("TZ", trim_r(name), 1);
}

void update_time()
{
    logmessage(TAG, "start");
    use_zone_of_device();

    tzset();
    time_t now = time(nullptr);
    tm utc = {};
    tm local = {};
    gmtime_r(&now, &utc);
    localtime_r(&now, &local);

    kernel_time clock = {};
    kernel_zone zone = {};
    bool is_read = syscall(GET_TIME_OF_DAY, &clock, &zone) == 0;
    if (!is_read)
        perror(TAG);
    logmessage(TAG, "gm.tm_hour = %d, local.tm_hour = %d", utc.tm_hour, local.tm_hour);
    zone.minutes_west = (utc.tm_hour - local.tm_hour) * 60;
    if (is_read) // or it would be set to 1970
        syscall(SET_TIME_OF_DAY, &clock, &zone);
    logmessage(TAG, "done");
}
