// A lock of mctl's own, by which those who would disturb each other follow each other: a kernel
// record lock, which vanishes with its holder, however that ends.
#pragma once

// Take the lock on the file path, which is made where it is missing. With must_wait it is waited
// for, else not. Returns its descriptor, which release_record() takes back, or -1 with errno:
// EAGAIN when another has it.
int take_record(const char *path, bool must_wait);
void release_record(int lock);

// Between heal, which mends jumps, and firewall, which rebuilds their table.
constexpr char FIREWALL_RECORD[] = "/var/run/mctl-firewall.lock";
constexpr char HEAL_RECORD[] = "/var/run/mctl-heal.lock";
