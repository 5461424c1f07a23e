// The profile of the wireless driver (module rt2860v2_ap), which reads it when it is loaded.
#pragma once

// Unload the driver, write /etc/Wireless/RT2860/RT2860.dat afresh from NVRAM section 1, load the
// driver again, wait a second for it and bring ra0 up. What used ra0 before (bridge, WDS, client
// link) has to be set up again: see start_wifi().
// The first argument is not read. mode is the NVRAM section; with any other than 1 the driver stays
// unloaded, no profile is written and the section stays open.
// Values are neither checked nor escaped: the web interface has done that. A profile that cannot be
// created or written whole is reported on standard error with its path; the one before then stays,
// as it does when the section cannot be read, and the driver is loaded all the same. Only where
// there is neither a section that can be read nor a profile does it stay unloaded. No command's
// result is looked at. Returns 0.
// Logs "mode = %d" and "RT2860_NVRAM = 0", each with a line end (tag gen_config).
int gen_config(const char *, int mode);
