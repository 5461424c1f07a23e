#include "wireless/profile.h"

#include "lan/interface.h"
#include "platform/nvram.h"
#include "util/log.h"
#include "util/output_file.h"
#include "util/shell.h"
#include "util/text.h"

#include <stdio.h>
#include <string.h>
#include <unistd.h>

constexpr char PROFILE[] = "/etc/Wireless/RT2860/RT2860.dat";

// What stands behind the "=" of a line. Unless it says otherwise, the value is that of the NVRAM
// key of the same name.
enum class form : unsigned char {
    number,      // as a decimal integer: 0 when it is not set or no number
    text,        // as it stands: nothing when it is not set
    text_if_set, // the same, but the whole line is left out when it is not set
    per_bss,     // the number, once for each BSS
    wsc_status,  // 2 when the number WscConfigured is not 0, else 1
    radio_on,    // 0 when the number RadioOff is 1, else 1
    empty,       // nothing, whatever NVRAM holds
    zero,        // 0, whatever NVRAM holds
};

// One line of the profile, or a family of lines that are numbered from first to last: "#" in the
// key is the number. A partner is a second line for each number, which follows the first one.
struct row {
    const char *key;
    form how;
    unsigned char first = 0;
    unsigned char last = 0;
    const char *partner = nullptr;
    form partner_how = form::text;
};

// In the order in which the driver has always been given them.
constexpr row ROWS[] = {
    {"CountryRegion", form::number},
    {"CountryRegionABand", form::number},
    {"CountryCode", form::text},
    {"BssidNum", form::number},
    {"SSID#", form::text, 1, 8},
    {"WirelessMode", form::number},
    {"FixedTxMode", form::text},
    {"TxRate", form::per_bss},
    {"Channel", form::number},
    {"BasicRate", form::number},
    {"BeaconPeriod", form::number},
    {"DtimPeriod", form::number},
    {"TxPower", form::number},
    {"DisableOLBC", form::number},
    {"BGProtection", form::number},
    {"TxAntenna", form::empty},
    {"RxAntenna", form::empty},
    {"TxPreamble", form::number},
    {"RTSThreshold", form::number},
    {"FragThreshold", form::number},
    {"TxBurst", form::number},
    {"PktAggregate", form::number},
    {"TurboRate", form::zero},
    {"WmmCapable", form::per_bss},
    {"APAifsn", form::text},
    {"APCwmin", form::text},
    {"APCwmax", form::text},
    {"APTxop", form::text},
    {"APACM", form::text},
    {"BSSAifsn", form::text},
    {"BSSCwmin", form::text},
    {"BSSCwmax", form::text},
    {"BSSTxop", form::text},
    {"BSSACM", form::text},
    {"AckPolicy", form::text},
    {"APSDCapable", form::text},
    {"DLSCapable", form::text},
    {"NoForwarding", form::text},
    {"NoForwardingBTNBSSID", form::number},
    {"HideSSID", form::text},
    {"ShortSlot", form::number},
    {"AutoChannelSelect", form::number},
    {"IEEE8021X", form::text},
    {"IEEE80211H", form::number},
    {"CarrierDetect", form::number},
    {"CSPeriod", form::number},
    {"RDRegion", form::text},
    {"StationKeepAlive", form::number},
    {"DfsLowerLimit", form::number},
    {"DfsUpperLimit", form::number},
    {"FixDfsLimit", form::number},
    {"LongPulseRadarTh", form::number},
    {"AvgRssiReq", form::number},
    {"DFS_R66", form::number},
    {"BlockCh", form::text},
    {"GreenAP", form::number},
    {"PreAuth", form::text},
    {"AuthMode", form::text},
    {"EncrypType", form::text},
    {"WapiPsk1", form::text},
    {"WapiPskType", form::text},
    {"Wapiifname", form::text},
    {"WapiAsCertPath", form::text},
    {"WapiUserCertPath", form::text},
    {"WapiAsIpAddr", form::text},
    {"WapiAsPort", form::text},
    {"BssidNum", form::number}, // a second time, deliberately
    {"RekeyMethod", form::text},
    {"RekeyInterval", form::number},
    {"PMKCachePeriod", form::text},
    {"MeshAutoLink", form::number},
    {"MeshAuthMode", form::text},
    {"MeshEncrypType", form::text},
    {"MeshDefaultkey", form::number},
    {"MeshWEPKEY", form::text},
    {"MeshWPAKEY", form::text},
    {"MeshId", form::text},
    {"WPAPSK#", form::text, 1, 8},
    {"DefaultKeyID", form::text},
    {"Key1Type", form::text},
    {"Key1Str#", form::text, 1, 8},
    {"Key2Type", form::text},
    {"Key2Str#", form::text, 1, 8},
    {"Key3Type", form::text},
    {"Key3Str#", form::text, 1, 8},
    {"Key4Type", form::text},
    {"Key4Str#", form::text, 1, 8},
    {"HSCounter", form::number},
    {"HT_HTC", form::number},
    {"HT_RDG", form::number},
    {"HT_LinkAdapt", form::number},
    {"HT_OpMode", form::number},
    {"HT_MpduDensity", form::number},
    {"HT_EXTCHA", form::number},
    {"HT_BW", form::number},
    {"HT_AutoBA", form::number},
    {"HT_BADecline", form::number},
    {"HT_AMSDU", form::number},
    {"HT_BAWinSize", form::number},
    {"HT_GI", form::number},
    {"HT_STBC", form::number},
    {"HT_MCS", form::number},
    {"HT_TxStream", form::number},
    {"HT_RxStream", form::number},
    {"HT_PROTECT", form::number},
    {"WscConfMode", form::number},
    {"WscConfStatus", form::wsc_status},
    {"WscVendorPinCode", form::text_if_set},
    {"AccessPolicy#", form::number, 0, 7, "AccessControlList#", form::text},
    {"WdsEnable", form::number},
    {"WdsPhyMode", form::text},
    {"WdsEncrypType", form::text},
    {"WdsList", form::text},
    {"WdsKey", form::text},
    {"RADIUS_Server", form::text},
    {"RADIUS_Port", form::text},
    {"RADIUS_Key", form::text},
    {"RADIUS_Acct_Server", form::text},
    {"RADIUS_Acct_Port", form::number},
    {"RADIUS_Acct_Key", form::text},
    {"own_ip_addr", form::text},
    {"Ethifname", form::text},
    {"EAPifname", form::text},
    {"PreAuthifname", form::text},
    {"session_timeout_interval", form::number},
    {"idle_timeout_interval", form::number},
    {"WiFiTest", form::number},
    {"TGnWifiTest", form::number},
    {"ApCliEnable", form::number},
    {"ApCliSsid", form::text},
    {"ApCliBssid", form::text},
    {"ApCliAuthMode", form::text},
    {"ApCliEncrypType", form::text},
    {"ApCliWPAPSK", form::text},
    {"ApCliDefaultKeyId", form::number},
    {"ApCliKey#Type", form::number, 1, 4, "ApCliKey#Str", form::text},
    {"RadioOn", form::radio_on},
    {"SSID", form::empty},
    {"WPAPSK", form::empty},
    {"Key1Str", form::empty},
    {"Key2Str", form::empty},
    {"Key3Str", form::empty},
    {"Key4Str", form::empty},
};

// Room for four BSSs with one-digit values, and then some.
constexpr size_t BSS_LIST_MAX = 16;

static const char *text_of(const char *key)
{
    return nvram_bufget(NVRAM_WIRELESS, key);
}

static int number_of(const char *key)
{
    return text_to_int(text_of(key));
}

// value, count times, with ";" between. What does not fit whole is left out.
static void repeat_value(char (&list)[BSS_LIST_MAX], int value, int count)
{
    list[0] = '\0';
    size_t used = 0;
    for (int i = 0; i < count; i++) {
        char item[BSS_LIST_MAX];
        text_format(item, sizeof(item), i == 0 ? "%d" : ";%d", value);
        if (!text_set(list + used, sizeof(list) - used, item)) {
            list[used] = '\0';
            return;
        }
        used += strlen(item);
    }
}

static void write_line(FILE *file, const char *key, form how, int bss_count)
{
    char list[BSS_LIST_MAX];
    switch (how) {
    case form::number:
        fprintf(file, "%s=%d\n", key, number_of(key));
        return;
    case form::text_if_set:
        if (text_of(key)[0] == '\0')
            return;
        [[fallthrough]];
    case form::text:
        fprintf(file, "%s=%s\n", key, text_of(key));
        return;
    case form::per_bss:
        repeat_value(list, number_of(key), bss_count);
        fprintf(file, "%s=%s\n", key, list);
        return;
    case form::wsc_status:
        fprintf(file, "%s=%d\n", key, number_of("WscConfigured") != 0 ? 2 : 1);
        return;
    case form::radio_on:
        fprintf(file, "%s=%d\n", key, number_of("RadioOff") == 1 ? 0 : 1);
        return;
    case form::empty:
        fprintf(file, "%s=\n", key);
        return;
    case form::zero:
        fprintf(file, "%s=0\n", key);
        return;
    }
}

static void write_numbered(FILE *file, const char *pattern, form how, int number, int bss_count)
{
    char key[32];
    text_set(key, pattern);
    char *mark = strchr(key, '#');
    if (mark != nullptr)
        *mark = static_cast<char>('0' + number);
    write_line(file, key, how, bss_count);
}

static void write_settings(FILE *file)
{
    fputs("#The word of \"Default\" must not be removed\nDefault\n", file);
    int bss_count = text_to_int(nvram_get(NVRAM_WIRELESS, "BssidNum"));
    for (const row &line : ROWS) {
        for (int number = line.first; number <= line.last; number++) {
            write_numbered(file, line.key, line.how, number, bss_count);
            if (line.partner != nullptr)
                write_numbered(file, line.partner, line.partner_how, number, bss_count);
        }
    }
}

static void write_profile()
{
    FILE *file = create_output(PROFILE);
    if (file == nullptr)
        return;
    write_settings(file);
    close_output(file, PROFILE);
}

int gen_config(const char *, int mode)
{
    shell("rmmod rt2860v2_ap");
    logmessage("gen_config", "mode = %d\n", mode);
    logmessage("gen_config", "RT2860_NVRAM = %d\n", 0);
    nvram_init(mode);
    shell("mkdir -p /etc/Wireless/RT2860");
    if (mode != NVRAM_WIRELESS)
        return 0;

    write_profile();
    nvram_close(mode);
    shell("modprobe rt2860v2_ap");
    sleep(1);
    ifconfig("ra0", IFACE_UP, nullptr, nullptr);
    return 0;
}
