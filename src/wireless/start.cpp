#include "wireless/start.h"

#include "lan/interface.h"
#include "platform/nvram.h"
#include "util/log.h"
#include "util/process.h"
#include "util/shell.h"
#include "util/text.h"

#include <ctype.h>
#include <string.h>

static const char *setting(const char *key)
{
    return nvram_bufget(NVRAM_WIRELESS, key);
}

static bool is_set_to(const char *key, const char *value)
{
    return strcmp(setting(key), value) == 0;
}

static void bring_up(const char *name)
{
    ifconfig(name, IFACE_UP, nullptr, nullptr);
}

// Off and on again, so that the driver connects with the new profile.
static void start_client_link()
{
    if (!is_set_to("ApCliEnable", "1"))
        return;
    shell("iwpriv apcli0 set ApCliEnable=0");
    shell("ifconfig apcli0 up");
    shell("iwpriv apcli0 set ApCliEnable=1");
}

static void start_extra_bss()
{
    for (const extra_bss &row : extra_bsses) {
        if (!is_set_to("BssidNum", row.bss_count))
            continue;
        bring_up(row.iface);
        shell(row.bridge_command);
        return;
    }
}

static void start_wds_link(int number)
{
    char name[16];
    text_format(name, sizeof(name), "wds%d", number);
    logmessage("mcfg-start_wifi", "wds_iface = %s", name);
    bring_up(name);
    run_tool("brctl", "addif", "br0", name);
}

static bool has_wds(const char *mode)
{
    for (const char *known : wds_modes) {
        if (strcmp(known, mode) == 0)
            return true;
    }
    return false;
}

// One link for each peer of the list. The peers' addresses themselves are the driver's affair,
// which has them from the profile. Only the first character tells a list from none, so one that
// begins with a letter, even if it is an address, counts as none.
static void start_wds()
{
    if (!has_wds(setting("WdsEnable")))
        return;
    char list[WDS_LIST_MAX];
    text_set(list, setting("WdsList"));
    if (!isdigit(static_cast<unsigned char>(list[0])))
        return;
    char *rest = nullptr;
    const char *peer = strtok_r(list, ";", &rest);
    for (int i = 0; peer != nullptr && i < WDS_LINKS; i++) {
        start_wds_link(i);
        peer = strtok_r(nullptr, ";", &rest);
    }
}

static void switch_radio()
{
    bool is_off = is_set_to("RadioOff", "1");
    shell(is_off ? "iwpriv ra0 set RadioOn=0" : "iwpriv ra0 set RadioOn=1");
}

static bool needs_authenticator()
{
    for (const char *mode : authenticated_modes) {
        if (is_set_to("AuthMode", mode))
            return true;
    }
    return is_set_to("IEEE8021X", "1");
}

int start_wifi(const char *)
{
    nvram_init(NVRAM_WIRELESS);
    start_client_link();
    start_extra_bss();
    start_wds();
    switch_radio();
    if (needs_authenticator())
        shell("rt2860apd");
    shell("/etc/init.d/scripts/wscd.rc start");
    return nvram_close(NVRAM_WIRELESS);
}
