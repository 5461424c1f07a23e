// Events of the DHCP client in a router box: a lease, and what it leaves in the link-state store.
#pragma once

#include "support/lease.h"
#include "support/router_box.h"

#include <gtest/gtest.h>
#include <stddef.h>
#include <string>

namespace dhcp_life
{

using support::environment;
using support::outcome;
using support::router_box;
using support::vlan2_lease;

inline constexpr char config[] = R"({"Network":{"Wan":[
    {"iface":"vlan2","name":"WAN","auto":true,"type":"dhcp"},
    {"iface":"wimax0","name":"WIMAX","auto":true,"type":"dhcp"},
    {"iface":"eth9","type":"dhcp"}]}})";

inline environment with(environment lease, const std::string &name, const std::string &value)
{
    for (auto &variable : lease) {
        if (variable.first == name) {
            variable.second = value;
            return lease;
        }
    }
    lease.emplace_back(name, value);
    return lease;
}

inline environment without(environment lease, const std::string &name)
{
    for (size_t i = 0; i < lease.size(); i++) {
        if (lease[i].first == name)
            lease.erase(lease.begin() + static_cast<ptrdiff_t>(i));
    }
    return lease;
}

class dhcp_test : public testing::Test
{
  protected:
    router_box box;
    void SetUp() override { box.write("/var/run/Config", config); }
    outcome event(const std::string &name, const environment &env)
    {
        box.clear_trace();
        return box.run({"/tmp/udhcpc", name}, env);
    }
};

inline constexpr char bound_store[] = R"({
   "state_links": [
      {
         "iface": "vlan2",
         "name": "wan",
         "type": "dhcp",
         "proto": "ether",
         "metric": 101,
         "ipaddr": "192.0.2.10",
         "netmask": "255.255.255.0",
         "gateway": "192.0.2.1",
         "dns1": "198.51.100.53",
         "dns2": "203.0.113.53"
      }
   ]
})";

} // namespace dhcp_life
