// Lock files: a lock "NAME" is held while the file /var/lock/NAME.lock exists. The lock is
// advisory, between processes of this program only. It is taken by a bounded number of existence
// tests that follow each other without a pause, so a lock that is held for any real time makes the
// taker give up; callers then skip their update. Test and creation are two steps, so two processes
// can both see the lock free and both take it: the short-lived processes of this router live with
// that. A holder that dies leaves its lock held until /var/lock is cleared; nobody checks for stale
// ones.
#pragma once

#include <stddef.h>

constexpr size_t LOCK_PATH_MAX = 512;

// Write the path of the lock file of the lock name.
void lock_path(char (&path)[LOCK_PATH_MAX], const char *name);

enum class lock_result {
    taken,
    no_file, // the lock file could not be created
    held,    // every test found it present
};

// Test at most tries times for the lock name and take it at the first test that finds it free: the
// file then holds this process's id in decimal. Logs nothing.
lock_result try_lock_file(const char *name, unsigned tries);

// Remove the file of the lock name, whoever holds it. Returns true when it was removed.
bool remove_lock_file(const char *name);

// Take the lock name with at most tries tests. Returns 1 when it was taken, 0 when not, after
// logging "Can't open unlock file" (tag mcfg-open_file_with_lock; the file could not be created, no
// further tests are made) or "Can't lock file" (tag mcfg-set_lock_on_file; held by another).
int set_lock_on_file(const char *name, unsigned tries);

// Release the lock name, whoever holds it. Returns 1 when the lock file was removed, 0 when tries
// tests did not find it, after logging "Can't clear lock file" (tag mcfg-clear_lock_on_file).
int clear_lock_on_file(const char *name, unsigned tries);
