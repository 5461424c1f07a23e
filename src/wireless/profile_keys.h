// The lines of the wireless driver's profile, as data: the writer (wireless/profile.h) writes by
// them, and mctl check judges NVRAM section 1 by them.
#pragma once

// The keys that have no line of their own name.
constexpr char WSC_CONFIGURED_KEY[] = "WscConfigured";
constexpr char RADIO_OFF_KEY[] = "RadioOff";

constexpr char BSS_COUNT_KEY[] = "BssidNum";

// Room for any key with its terminator.
constexpr int PROFILE_KEY_MAX = 32;

// What stands behind the "=" of a line. Unless it says otherwise, the value is that of the NVRAM
// key of the same name.
enum class profile_form : unsigned char {
    number,      // as a decimal integer: 0 when it is not set or no number
    text,        // as it stands: nothing when it is not set
    text_if_set, // the same, but the whole line is left out when it is not set
    per_bss,     // the number, once for each BSS
    wsc_status,  // 2 when the number WscConfigured is not 0, else 1
    radio_on,    // 0 when the number RadioOff is 1, else 1
    empty,       // nothing, whatever NVRAM holds
    zero,        // 0, whatever NVRAM holds
};

// Lines of the profile with the same form, or a family of lines that are numbered from first to
// last: "#" in the key is the number. A family that is paired with the row before it has its lines
// between those of that row: both with one number, then both with the next.
struct profile_row {
    const char *keys; // with a blank between
    profile_form how;
    unsigned char first = 0;
    unsigned char last = 0;
    bool is_paired = false;
};

// In the order of the profile's lines, by which people compare a router's with that of another.
inline constexpr profile_row profile_rows[] = {
    {"CountryRegion CountryRegionABand", profile_form::number},
    {"CountryCode", profile_form::text},
    {"BssidNum", profile_form::number},
    {"SSID#", profile_form::text, 1, 8},
    {"WirelessMode", profile_form::number},
    {"FixedTxMode", profile_form::text},
    {"TxRate", profile_form::per_bss},
    {"Channel BasicRate BeaconPeriod DtimPeriod TxPower DisableOLBC BGProtection",
     profile_form::number},
    {"TxAntenna RxAntenna", profile_form::empty},
    {"TxPreamble RTSThreshold FragThreshold TxBurst PktAggregate", profile_form::number},
    {"TurboRate", profile_form::zero},
    {"WmmCapable", profile_form::per_bss},
    {"APAifsn APCwmin APCwmax APTxop APACM BSSAifsn BSSCwmin BSSCwmax BSSTxop BSSACM AckPolicy "
     "APSDCapable DLSCapable NoForwarding",
     profile_form::text},
    {"NoForwardingBTNBSSID", profile_form::number},
    {"HideSSID", profile_form::text},
    {"ShortSlot AutoChannelSelect", profile_form::number},
    {"IEEE8021X", profile_form::text},
    {"IEEE80211H CarrierDetect CSPeriod", profile_form::number},
    {"RDRegion", profile_form::text},
    {"StationKeepAlive DfsLowerLimit DfsUpperLimit FixDfsLimit LongPulseRadarTh AvgRssiReq "
     "DFS_R66",
     profile_form::number},
    {"BlockCh", profile_form::text},
    {"GreenAP", profile_form::number},
    {"PreAuth AuthMode EncrypType WapiPsk1 WapiPskType Wapiifname WapiAsCertPath "
     "WapiUserCertPath WapiAsIpAddr WapiAsPort",
     profile_form::text},
    {"BssidNum", profile_form::number}, // a second time, deliberately
    {"RekeyMethod", profile_form::text},
    {"RekeyInterval", profile_form::number},
    {"PMKCachePeriod", profile_form::text},
    {"MeshAutoLink", profile_form::number},
    {"MeshAuthMode MeshEncrypType", profile_form::text},
    {"MeshDefaultkey", profile_form::number},
    {"MeshWEPKEY MeshWPAKEY MeshId", profile_form::text},
    {"WPAPSK#", profile_form::text, 1, 8},
    {"DefaultKeyID Key1Type", profile_form::text},
    {"Key1Str#", profile_form::text, 1, 8},
    {"Key2Type", profile_form::text},
    {"Key2Str#", profile_form::text, 1, 8},
    {"Key3Type", profile_form::text},
    {"Key3Str#", profile_form::text, 1, 8},
    {"Key4Type", profile_form::text},
    {"Key4Str#", profile_form::text, 1, 8},
    {"HSCounter HT_HTC HT_RDG HT_LinkAdapt HT_OpMode HT_MpduDensity HT_EXTCHA HT_BW HT_AutoBA "
     "HT_BADecline HT_AMSDU HT_BAWinSize HT_GI HT_STBC HT_MCS HT_TxStream HT_RxStream HT_PROTECT "
     "WscConfMode",
     profile_form::number},
    {"WscConfStatus", profile_form::wsc_status},
    {"WscVendorPinCode", profile_form::text_if_set},
    {"AccessPolicy#", profile_form::number, 0, 7},
    {"AccessControlList#", profile_form::text, 0, 7, true},
    {"WdsEnable", profile_form::number},
    {"WdsPhyMode WdsEncrypType WdsList WdsKey RADIUS_Server RADIUS_Port RADIUS_Key "
     "RADIUS_Acct_Server",
     profile_form::text},
    {"RADIUS_Acct_Port", profile_form::number},
    {"RADIUS_Acct_Key own_ip_addr Ethifname EAPifname PreAuthifname", profile_form::text},
    {"session_timeout_interval idle_timeout_interval WiFiTest TGnWifiTest ApCliEnable",
     profile_form::number},
    {"ApCliSsid ApCliBssid ApCliAuthMode ApCliEncrypType ApCliWPAPSK", profile_form::text},
    {"ApCliDefaultKeyId", profile_form::number},
    {"ApCliKey#Type", profile_form::number, 1, 4},
    {"ApCliKey#Str", profile_form::text, 1, 4, true},
    {"RadioOn", profile_form::radio_on},
    {"SSID WPAPSK Key1Str Key2Str Key3Str Key4Str", profile_form::empty},
};
