// The check of the boot loader and of the radio's calibration data, once at each boot.
#pragma once

// Make sure that the router runs its own boot loader. When it does, nothing else is looked at or
// changed. Otherwise the boot loader is rewritten from the read-only file system, calibration data
// that are not the radio's are replaced by the default image, the base MAC address of the NVRAM is
// put into them, and the router reboots. Failures after the rewrite are reported and never stop the
// reboot; a boot loader area that cannot be read stops everything before any change. A router
// without the flash device reads zeros, which are a foreign boot loader (see FRead in hw/flash.h).
// All messages go to standard error.
void check_update_from_china();
