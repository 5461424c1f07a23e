// Block device events of the kernel: partitions of USB storage come and go.
#pragma once

// Handle the event in the environment: ACTION, MINOR, PHYSDEVDRIVER and MAJOR. "add" makes the
// device node of the partition (mode 0700) and its directory under /media and mounts one onto the
// other; when the mount fails both are removed again. Only the first four disks are taken. "remove"
// unmounts and removes both. A partition is named after the driver, the disk's letter and the
// number in the disk, so MINOR 17 of "sd" is sdb1; the whole disk has number 0.
// Events take turns through the hotplug lock, whose file is deleted at the end.
// Returns 0 whatever became of the event, 22 without one of the variables or when PHYSDEVDRIVER
// does not begin with "sd", -1 when the lock could not be had. Everything is logged under
// "hotplug".
int hotplug_block();
