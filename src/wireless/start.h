// The wireless interfaces besides ra0, and the wireless daemons.
#pragma once

#include <stddef.h>

// The last interface of that number of BSSs only: those below it are left as they are.
struct extra_bss {
    const char *bss_count;
    const char *iface;
    const char *bridge_command;
};

inline constexpr extra_bss extra_bsses[] = {
    {"2", "ra1", "brctl addif br0 ra1"},
    {"3", "ra2", "brctl addif br0 ra2"},
    {"4", "ra3", "brctl addif br0 ra3"},
};

// The values of WdsEnable that set up links.
inline constexpr const char *wds_modes[] = {"2", "3"};
constexpr size_t WDS_LIST_MAX = 512;
constexpr int WDS_LINKS = 4; // the driver has wds0 to wds3

// The values of AuthMode that need the authenticator; so does 1 in IEEE8021X.
inline constexpr const char *authenticated_modes[] = {"WPA", "WPA2", "WPA1WPA2"};

// Bring up what NVRAM section 1 asks for, after gen_config() has loaded the driver: the client link
// apcli0, one extra BSS interface and the WDS links in the bridge br0, the radio switch, the
// authenticator rt2860apd and, always, the WPS daemon. Settings are compared as exact texts. The
// argument is not read. No command's result is looked at: a missing interface or tool leaves the
// rest to go on.
// Logs the name of each WDS link (tag mcfg-start_wifi). Returns the result of nvram_close().
int start_wifi(const char *);
