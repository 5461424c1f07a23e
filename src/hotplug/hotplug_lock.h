// The kernel record lock (POSIX) on /tmp/hotplug_lock, through which the hotplug handlers take
// turns: the kernel may start many of them at once. It covers the whole file and vanishes with the
// process that holds it. A block event deletes the file when it is done, so a process that still
// has the old file open and one that makes a new file can both hold the lock; that is accepted.
#pragma once

// Open the lock file for reading and writing, made with mode 0666 (less the umask) when it is
// missing. Returns the descriptor, which the caller owns, or -1 after logging "Failed opening lock
// file LOCK_FILE: ERROR" (tag hotplug).
int open_hotplug_lock();

// Whether another process holds the lock now. A query that the kernel refuses counts as no. Logs
// nothing.
bool is_hotplug_lock_held(int fd);

// Wait for the lock and take it; a request that fails is made once more. Returns 0, or -1 after
// logging "Failed locking LOCK_FILE: ERROR" (tag hotplug).
int take_hotplug_lock(int fd);

// Release the lock, leaving the file open and in place. Returns 0 after logging "Unlock LOCK_FILE",
// or -1 after logging "Failed unlocking LOCK_FILE: ERROR" (tag hotplug).
int release_hotplug_lock(int fd);

// Close fd, which releases the lock, and delete the lock file.
void remove_hotplug_lock(int fd);
