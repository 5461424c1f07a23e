// Events of the PPP daemon in a router box: a link, and what it leaves in the link-state store.
#pragma once

#include "support/router_box.h"

#include <gtest/gtest.h>
#include <string>

namespace ppp_life
{

using support::environment;
using support::outcome;
using support::router_box;

inline constexpr char config[] = R"({"Network":{"Wan":[
    {"iface":"vlan2","type":"pppoe","have_tunnels":true,"Tunnels":[
        {"name":"office","type":"l2tp","metric":7},
        {"name":"wan1","type":"pppoe","metric":2},
        {"name":"plain","type":"pppoe"},
        {"name":"none","type":"pppoe","metric":null},
        {"name":"text","type":"pppoe","metric":"9"},
        {"name":"list","type":"pppoe","metric":[[1]]},
        {"name":"huge","type":"pppoe","metric":2147483647},
        {"name":7,"metric":8}, 7, null]},
    {"iface":"wimax0","type":"dhcp","Tunnels":[{"name":"second","metric":3}]}]}})";

// clang-format off
inline const environment wan1 = {
    {"IFNAME", "ppp1"},
    {"LINKNAME", "pppoe-wan1"},
    {"IPLOCAL", "10.9.0.10"},
    {"IPREMOTE", "10.9.0.1"},
    {"DNS1", "10.9.0.53"},
    {"DNS2", "10.9.0.54"},
};
// clang-format on

inline environment with(environment env, const std::string &name, const std::string &value)
{
    for (auto &variable : env) {
        if (variable.first == name)
            variable.second = value;
    }
    return env;
}

class ppp_test : public testing::Test
{
  protected:
    router_box box;
    void SetUp() override
    {
        box.write("/var/run/Config", config);
        box.mkdir("/tmp/ppp");
    }
    outcome up(const environment &env)
    {
        box.clear_trace();
        return box.run({"/tmp/ppp/ip-up", "ppp1", "", "0", "10.9.0.10", "10.9.0.1", "pppoe/wan1"},
                       env);
    }
    outcome down(const environment &env)
    {
        box.clear_trace();
        return box.run({"/tmp/ppp/ip-down", "ppp1"}, env);
    }
};

inline constexpr char up_store[] = R"({
   "state_links": [
      {
         "iface": "ppp1",
         "type": "pppoe",
         "name": "wan1",
         "proto": null,
         "metric": 2,
         "ipaddr": "10.9.0.10",
         "netmask": "255.255.255.255",
         "gateway": "10.9.0.1",
         "dns1": "10.9.0.53",
         "dns2": "10.9.0.54"
      }
   ]
})";

} // namespace ppp_life
