// The files that settings are in.
#pragma once

namespace settings_files
{

constexpr char INTERFACES[] = "/etc/default/network-interfaces";
constexpr char PEERS[] = "/etc/default/ppp-peers";
constexpr char DNS[] = "/etc/default/dns.conf";
constexpr char WIMAX[] = "/etc/default/wimax";
constexpr char IP_FILTER[] = "/etc/default/ip_filter";
constexpr char IGMP[] = "/etc/default/igmp";
constexpr char UPNP[] = "/etc/default/upnp";
constexpr char SCHEDULES[] = "/etc/default/sched_list";
constexpr char RULES[] = "/etc/default/rules";
constexpr char MACS[] = "/etc/default/macfilter_list";
constexpr char URLS[] = "/etc/default/url_filter";
constexpr char ACCESS[] = "/etc/default/httpd_access.conf";
constexpr char VSERVERS[] = "/etc/default/vservers";
constexpr char MASQ[] = "/etc/default/masq";
constexpr char TRIGGERS[] = "/etc/default/trigger_ports";
constexpr char ZONE[] = "/etc/TZ";
constexpr char NVRAM_DEVICE[] = "/etc/nvram/0";
constexpr char NVRAM_WIRELESS[] = "/etc/nvram/1";

} // namespace settings_files
