// The lines of the wireless driver's profile, as data: the writer (wireless/profile.h) writes by
// them, and mctl check judges NVRAM section 1 by them.
#pragma once

// The keys that have no line of their own name.
constexpr char WSC_CONFIGURED_KEY[] = "WscConfigured";
constexpr char RADIO_OFF_KEY[] = "RadioOff";

constexpr char BSS_COUNT_KEY[] = "BssidNum";

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

// One line of the profile, or a family of lines that are numbered from first to last: "#" in the
// key is the number. A family that is paired with the row before it has its lines between those of
// that row: both with one number, then both with the next.
struct profile_row {
    const char *key;
    profile_form how;
    unsigned char first = 0;
    unsigned char last = 0;
    bool is_paired = false;
};

// In the order of the profile's lines, by which people compare a router's with that of another.
inline constexpr profile_row profile_rows[] = {
    {"CountryRegion", profile_form::number},
    {"CountryRegionABand", profile_form::number},
    {"CountryCode", profile_form::text},
    {"BssidNum", profile_form::number},
    {"SSID#", profile_form::text, 1, 8},
    {"WirelessMode", profile_form::number},
    {"FixedTxMode", profile_form::text},
    {"TxRate", profile_form::per_bss},
    {"Channel", profile_form::number},
    {"BasicRate", profile_form::number},
    {"BeaconPeriod", profile_form::number},
    {"DtimPeriod", profile_form::number},
    {"TxPower", profile_form::number},
    {"DisableOLBC", profile_form::number},
    {"BGProtection", profile_form::number},
    {"TxAntenna", profile_form::empty},
    {"RxAntenna", profile_form::empty},
    {"TxPreamble", profile_form::number},
    {"RTSThreshold", profile_form::number},
    {"FragThreshold", profile_form::number},
    {"TxBurst", profile_form::number},
    {"PktAggregate", profile_form::number},
    {"TurboRate", profile_form::zero},
    {"WmmCapable", profile_form::per_bss},
    {"APAifsn", profile_form::text},
    {"APCwmin", profile_form::text},
    {"APCwmax", profile_form::text},
    {"APTxop", profile_form::text},
    {"APACM", profile_form::text},
    {"BSSAifsn", profile_form::text},
    {"BSSCwmin", profile_form::text},
    {"BSSCwmax", profile_form::text},
    {"BSSTxop", profile_form::text},
    {"BSSACM", profile_form::text},
    {"AckPolicy", profile_form::text},
    {"APSDCapable", profile_form::text},
    {"DLSCapable", profile_form::text},
    {"NoForwarding", profile_form::text},
    {"NoForwardingBTNBSSID", profile_form::number},
    {"HideSSID", profile_form::text},
    {"ShortSlot", profile_form::number},
    {"AutoChannelSelect", profile_form::number},
    {"IEEE8021X", profile_form::text},
    {"IEEE80211H", profile_form::number},
    {"CarrierDetect", profile_form::number},
    {"CSPeriod", profile_form::number},
    {"RDRegion", profile_form::text},
    {"StationKeepAlive", profile_form::number},
    {"DfsLowerLimit", profile_form::number},
    {"DfsUpperLimit", profile_form::number},
    {"FixDfsLimit", profile_form::number},
    {"LongPulseRadarTh", profile_form::number},
    {"AvgRssiReq", profile_form::number},
    {"DFS_R66", profile_form::number},
    {"BlockCh", profile_form::text},
    {"GreenAP", profile_form::number},
    {"PreAuth", profile_form::text},
    {"AuthMode", profile_form::text},
    {"EncrypType", profile_form::text},
    {"WapiPsk1", profile_form::text},
    {"WapiPskType", profile_form::text},
    {"Wapiifname", profile_form::text},
    {"WapiAsCertPath", profile_form::text},
    {"WapiUserCertPath", profile_form::text},
    {"WapiAsIpAddr", profile_form::text},
    {"WapiAsPort", profile_form::text},
    {"BssidNum", profile_form::number}, // a second time, deliberately
    {"RekeyMethod", profile_form::text},
    {"RekeyInterval", profile_form::number},
    {"PMKCachePeriod", profile_form::text},
    {"MeshAutoLink", profile_form::number},
    {"MeshAuthMode", profile_form::text},
    {"MeshEncrypType", profile_form::text},
    {"MeshDefaultkey", profile_form::number},
    {"MeshWEPKEY", profile_form::text},
    {"MeshWPAKEY", profile_form::text},
    {"MeshId", profile_form::text},
    {"WPAPSK#", profile_form::text, 1, 8},
    {"DefaultKeyID", profile_form::text},
    {"Key1Type", profile_form::text},
    {"Key1Str#", profile_form::text, 1, 8},
    {"Key2Type", profile_form::text},
    {"Key2Str#", profile_form::text, 1, 8},
    {"Key3Type", profile_form::text},
    {"Key3Str#", profile_form::text, 1, 8},
    {"Key4Type", profile_form::text},
    {"Key4Str#", profile_form::text, 1, 8},
    {"HSCounter", profile_form::number},
    {"HT_HTC", profile_form::number},
    {"HT_RDG", profile_form::number},
    {"HT_LinkAdapt", profile_form::number},
    {"HT_OpMode", profile_form::number},
    {"HT_MpduDensity", profile_form::number},
    {"HT_EXTCHA", profile_form::number},
    {"HT_BW", profile_form::number},
    {"HT_AutoBA", profile_form::number},
    {"HT_BADecline", profile_form::number},
    {"HT_AMSDU", profile_form::number},
    {"HT_BAWinSize", profile_form::number},
    {"HT_GI", profile_form::number},
    {"HT_STBC", profile_form::number},
    {"HT_MCS", profile_form::number},
    {"HT_TxStream", profile_form::number},
    {"HT_RxStream", profile_form::number},
    {"HT_PROTECT", profile_form::number},
    {"WscConfMode", profile_form::number},
    {"WscConfStatus", profile_form::wsc_status},
    {"WscVendorPinCode", profile_form::text_if_set},
    {"AccessPolicy#", profile_form::number, 0, 7},
    {"AccessControlList#", profile_form::text, 0, 7, true},
    {"WdsEnable", profile_form::number},
    {"WdsPhyMode", profile_form::text},
    {"WdsEncrypType", profile_form::text},
    {"WdsList", profile_form::text},
    {"WdsKey", profile_form::text},
    {"RADIUS_Server", profile_form::text},
    {"RADIUS_Port", profile_form::text},
    {"RADIUS_Key", profile_form::text},
    {"RADIUS_Acct_Server", profile_form::text},
    {"RADIUS_Acct_Port", profile_form::number},
    {"RADIUS_Acct_Key", profile_form::text},
    {"own_ip_addr", profile_form::text},
    {"Ethifname", profile_form::text},
    {"EAPifname", profile_form::text},
    {"PreAuthifname", profile_form::text},
    {"session_timeout_interval", profile_form::number},
    {"idle_timeout_interval", profile_form::number},
    {"WiFiTest", profile_form::number},
    {"TGnWifiTest", profile_form::number},
    {"ApCliEnable", profile_form::number},
    {"ApCliSsid", profile_form::text},
    {"ApCliBssid", profile_form::text},
    {"ApCliAuthMode", profile_form::text},
    {"ApCliEncrypType", profile_form::text},
    {"ApCliWPAPSK", profile_form::text},
    {"ApCliDefaultKeyId", profile_form::number},
    {"ApCliKey#Type", profile_form::number, 1, 4},
    {"ApCliKey#Str", profile_form::text, 1, 4, true},
    {"RadioOn", profile_form::radio_on},
    {"SSID", profile_form::empty},
    {"WPAPSK", profile_form::empty},
    {"Key1Str", profile_form::empty},
    {"Key2Str", profile_form::empty},
    {"Key3Str", profile_form::empty},
    {"Key4Str", profile_form::empty},
};
