// What udhcpc tells its script of a lease with all that a provider can put into one.
#pragma once

#include "support/router_box.h"

namespace support
{

inline const environment vlan2_lease = {
    {"interface", "vlan2"},
    {"ip", "192.0.2.10"},
    {"subnet", "255.255.255.0"},
    {"router", "192.0.2.1"},
    {"dns", "198.51.100.53 203.0.113.53"},
    {"routes", "198.51.100.7 192.0.2.2"},
    {"staticroutes", "10.0.0.0/8 192.0.2.3"},
    {"msroutes", "24 192 168 5 192 0 2 4"},
};

} // namespace support
