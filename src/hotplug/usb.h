// USB events of the kernel: modems come and go. Each event first appends its whole environment to
// /tmp/hotplug_usb, so that an unknown modem can be looked into later.
#pragma once

// Log the USB interface event in the environment: ACTION and PRODUCT ("VENDOR/PRODUCT/RELEASE", up
// to four hexadecimal digits each; what is missing counts as 0). Nothing else is done for it.
// Returns 0, or 22 without one of the variables. Logs under "hotplug" and "hotplug_usb".
int hotplug_usb();

// Handle the USB device event in the environment: ACTION, DEVPATH and PHYSDEVPATH (of each path up
// to 255 characters are used). Many modems first appear as a CD drive and become a modem a while
// later, so the device's vendor and product are read from sysfs, 45 seconds are waited under the
// hotplug lock, and only when both still read the same under PHYSDEVPATH an "add" starts the 3G
// service script. A modem that has changed meanwhile has an event of its own. Events that arrive
// while the lock is held are dropped.
// Returns 0, or 22 without one of the variables or when sysfs does not have the vendor and product,
// or -1 when the lock could not be had or released. The lock file stays. Logs under
// "hotplug_usb_dev", "hotplug_usb" (a dropped event) and "hotplug" (start and lock).
int hotplug_usb_dev();
