// mctl check, code by code: the NVRAM.
#include "ctl/code_test.h"

namespace
{

using namespace check_test;

const std::string BASE_RADIO = "BssidNum=1\nSSID1=home\nAuthMode=OPEN\nEncrypType=NONE\n";

// clang-format off
const code_case rows[] = {
    {"flag: of the radio", NVRAM_WIRELESS, BASE_RADIO + "RadioOff=2\n", 5, "RadioOff", BASE_RADIO + "RadioOff=1\n"},
    {"flag: of the authenticator", NVRAM_WIRELESS, BASE_RADIO + "IEEE8021X=0 0\n", 5, "IEEE8021X", BASE_RADIO + "IEEE8021X=0;0\n"},
    {"section-full", NVRAM_DEVICE, "ethaddr=00:0A:EB:11:22:30\nx=" + std::string(65536 - 28, 'x') + "\n", 0, "-",
     "ethaddr=00:0A:EB:11:22:30\nx=" + std::string(65536 - 29, 'x') + "\n"},
    {"section-full: of which nothing else is told", NVRAM_DEVICE, "ethaddr=x\npin\nx=" + std::string(65536, 'x') + "\n", 0, "-", "ethaddr=00:0A:EB:11:22:30\n"},
    {"nvram-line", NVRAM_DEVICE, "ethaddr=00:0A:EB:11:22:30\npin\n", 2, "-", "ethaddr=00:0A:EB:11:22:30\npin=\n"},
    {"key-again", NVRAM_WIRELESS, BASE_RADIO + "Channel=6\nChannel=11\n", 6, "Channel", BASE_RADIO + "Channel=6\nchannels=11\n"},
    {"nvram-key: in small letters", NVRAM_WIRELESS, BASE_RADIO + "channel=6\n", 5, "channel", BASE_RADIO + "Channel=6\n"},
    {"nvram-key: a blank", NVRAM_WIRELESS, BASE_RADIO + "Channel =6\n", 5, "Channel", BASE_RADIO + "Channel=6\n"},
    {"nvram-character", NVRAM_WIRELESS, BASE_RADIO + "CountryCode=TR\r\n", 5, "CountryCode", BASE_RADIO + "CountryCode=TR\n"},
    {"no-base-mac", NVRAM_DEVICE, "pin=12345670\n", 0, "ethaddr", "ethaddr=\"00:0A:EB:11:22:30\"\n"},
    {"mac: five bytes", NVRAM_DEVICE, "ethaddr=00:0A:EB:11:22\n", 1, "ethaddr", "ethaddr=00:0A:EB:11:22:30\n"},
    {"mac-wraps", NVRAM_DEVICE, "ethaddr=00:0A:EB:11:22:FF\n", 1, "ethaddr", "ethaddr=00:0A:EB:11:22:FE\n"},
    {"wanmac-unused", NVRAM_DEVICE, "ethaddr=00:0A:EB:11:22:30\nwanmac=00:0A:EB:11:22:32\n", 2, "wanmac", "ethaddr=00:0A:EB:11:22:30\nwanmac=00:0A:EB:11:22:31\n"},
    {"nvram-number", NVRAM_WIRELESS, BASE_RADIO + "Channel=auto\n", 5, "Channel", BASE_RADIO + "Channel=0\n"},
    {"nvram-unused: without its number", NVRAM_WIRELESS, BASE_RADIO + "SSID=home\n", 5, "SSID", BASE_RADIO + "SSID2=home\n"},
    {"nvram-unused: made of another", NVRAM_WIRELESS, BASE_RADIO + "RadioOn=0\n", 5, "RadioOn", BASE_RADIO + "RadioOff=1\n"},
    {"one-digit", NVRAM_WIRELESS, BASE_RADIO + "WmmCapable=1;0\n", 5, "WmmCapable", BASE_RADIO + "WmmCapable=1\n"},
    {"bss-count", NVRAM_WIRELESS, "BssidNum=5\nSSID1=home\nAuthMode=OPEN\nEncrypType=NONE\n", 1, "BssidNum", BASE_RADIO},
    {"bss-unbridged", NVRAM_WIRELESS, "BssidNum=3\nSSID1=a\nSSID2=b\nSSID3=c\n", 1, "BssidNum", "BssidNum=2\nSSID1=a\nSSID2=b\n"},
    {"ssid: 33 characters", NVRAM_WIRELESS, "BssidNum=1\nSSID1=" + std::string(33, 's') + "\n", 2, "SSID1", "BssidNum=1\nSSID1=" + std::string(32, 's') + "\n"},
    {"ssid: none", NVRAM_WIRELESS, "BssidNum=2\nSSID1=a\n", 1, "SSID2", "BssidNum=2\nSSID1=a\nSSID2=b\n"},
    {"auth-mode", NVRAM_WIRELESS, "BssidNum=1\nSSID1=a\nAuthMode=WPA3\n", 3, "AuthMode", "BssidNum=1\nSSID1=a\nAuthMode=OPEN\nEncrypType=WEP\n"},
    {"auth-key: passphrase", NVRAM_WIRELESS, "BssidNum=1\nSSID1=a\nAuthMode=WPA2PSK\nEncrypType=AES\nWPAPSK1=1234567\n", 3, "AuthMode",
     "BssidNum=1\nSSID1=a\nAuthMode=WPA2PSK\nEncrypType=AES\nWPAPSK1=12345678\n"},
    {"auth-key: WEP", NVRAM_WIRELESS, "BssidNum=1\nSSID1=a\nAuthMode=SHARED\nEncrypType=WEP\nDefaultKeyID=2\nKey1Str1=12345\n", 3, "AuthMode",
     "BssidNum=1\nSSID1=a\nAuthMode=SHARED\nEncrypType=WEP\nDefaultKeyID=2\nKey2Str1=12345\n"},
    {"auth-key: server", NVRAM_WIRELESS, "BssidNum=1\nSSID1=a\nAuthMode=WPA2\nEncrypType=AES\nRADIUS_Server=192.168.1.9\n", 3, "AuthMode",
     "BssidNum=1\nSSID1=a\nAuthMode=WPA2\nEncrypType=AES\nRADIUS_Server=192.168.1.9\nRADIUS_Key=secret\n"},
    {"encryption: none", NVRAM_WIRELESS, "BssidNum=1\nSSID1=a\nAuthMode=WPA2PSK\nEncrypType=NONE\nWPAPSK1=12345678\n", 4, "EncrypType",
     "BssidNum=1\nSSID1=a\nAuthMode=WPA2PSK\nEncrypType=TKIPAES\nWPAPSK1=12345678\n"},
    {"encryption: of WEP", NVRAM_WIRELESS, "BssidNum=1\nSSID1=a\nAuthMode=SHARED\nEncrypType=AES\nKey1Str1=12345\n", 4, "EncrypType",
     "BssidNum=1\nSSID1=a\nAuthMode=SHARED\nEncrypType=WEP\nKey1Str1=12345\n"},
    {"encryption: not set", NVRAM_WIRELESS, "BssidNum=1\nSSID1=a\nAuthMode=WPAPSK\nWPAPSK1=12345678\n", 3, "AuthMode",
     "BssidNum=1\nSSID1=a\nAuthMode=WPAPSK\nWPAPSK1=12345678\nEncrypType=TKIP\n"},
    {"auth-list: of modes", NVRAM_WIRELESS, "BssidNum=2\nSSID1=a\nSSID2=b\nAuthMode=OPEN;WPA2\nEncrypType=NONE;AES\nRADIUS_Server=192.168.1.9\nRADIUS_Key=k\n", 4, "AuthMode",
     "BssidNum=2\nSSID1=a\nSSID2=b\nAuthMode=OPEN;OPEN\nEncrypType=NONE;WEP\n"},
    {"auth-list: of authenticators", NVRAM_WIRELESS, "BssidNum=2\nSSID1=a\nSSID2=b\nIEEE8021X=0;1\n", 4, "IEEE8021X", "BssidNum=2\nSSID1=a\nSSID2=b\nIEEE8021X=0;0\n"},
    {"wds-mode", NVRAM_WIRELESS, BASE_RADIO + "WdsEnable=1\n", 5, "WdsEnable", BASE_RADIO + "WdsEnable=2\nWdsList=00:00:00:00:00:01\n"},
    {"wds-list", NVRAM_WIRELESS, BASE_RADIO + "WdsEnable=2\nWdsList=AA:00:00:00:00:01;00:00:00:00:00:01\n", 6, "WdsList",
     BASE_RADIO + "WdsEnable=2\nWdsList=00:00:00:00:00:01;AA:00:00:00:00:01\n"},
    {"own-address", NVRAM_WIRELESS, BASE_RADIO + "IEEE8021X=1\nown_ip_addr=192.168.9.1\n", 6, "own_ip_addr", BASE_RADIO + "IEEE8021X=1\nown_ip_addr=192.168.1.1\n"},
};
// clang-format on

using nvram_code = code_test;

TEST_F(nvram_code, is_raised_alone_and_not_by_its_neighbour)
{
    expect_each_alone(rows);
}

} // namespace
