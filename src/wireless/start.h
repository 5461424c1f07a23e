// The wireless interfaces besides ra0, and the wireless daemons.
#pragma once

// Bring up what NVRAM section 1 asks for, after gen_config() has loaded the driver: the client link
// apcli0, one extra BSS interface and the WDS links in the bridge br0, the radio switch, the
// authenticator rt2860apd and, always, the WPS daemon. Settings are compared as exact texts. The
// argument is not read. No command's result is looked at: a missing interface or tool leaves the
// rest to go on.
// Logs the name of each WDS link (tag mcfg-start_wifi). Returns the result of nvram_close().
int start_wifi(const char *);
