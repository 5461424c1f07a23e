// The kernel's time zone.
#pragma once

constexpr char ZONE_FILE[] = "/etc/TZ";
constexpr int ZONE_TEXT_MAX = 64; // with the terminator

// Tell the kernel how far the local time of /etc/TZ (one line, a POSIX time zone, at most 63
// characters of it) lies west of UTC: the firewall's schedules and the stamps of files on FAT disks
// go by that. Without the file the zone is that of the environment. The clock is set to the time
// just read, in the same call: only the zone changes.
//
// The offset is the difference of the two hours of the day, in minutes: parts of an hour do not
// count, and while the two dates differ the offset is a day off. A kernel may refuse such a one (or
// the call altogether), which is not reported. A clock that cannot be read is not set,
// and reported on standard error.
// Sets TZ of this process. Logs its steps (tag update_time).
void update_time();
