// What the tests of "firewall_update" share: a box that it can run in, and the rule files of the
// example router.
#pragma once

#include "support/expect.h"
#include "support/router_box.h"
#include "support/settings_files.h"

#include <gtest/gtest.h>
#include <sstream>
#include <stdexcept>
#include <string>

namespace firewall_test
{

using namespace settings_files;

constexpr char NAT[] = "/tmp/nat_rules";
constexpr char FILTER[] = "/tmp/filter_rules";
constexpr char MANGLE[] = "/tmp/mangle_rules";
constexpr char PROGRESS[] = "firewall start\nfirewall done\n";

inline std::string replaced(std::string text, const std::string &part, const std::string &other)
{
    size_t at = text.find(part);
    if (at == std::string::npos)
        throw std::runtime_error("nothing to replace: " + part);
    return text.replace(at, part.size(), other);
}

// What iptables-save shows, without the lines that say when and the counts of packets, some of
// which a router sends by itself.
inline std::string rules_of(const std::string &saved)
{
    std::istringstream all(saved);
    std::string rules;
    for (std::string line; std::getline(all, line);) {
        if (line[0] != '#')
            rules += line.substr(0, line.find(" [")) + "\n";
    }
    return rules;
}

// A box with the LAN bridge of the example router, which has an address.
class firewall_command : public testing::Test
{
  protected:
    firewall_command()
    {
        box.interface("br0");
        box.in_network({"ip", "address", "add", "192.168.1.1/24", "dev", "br0"});
    }

    // A rule file of the example router: no verdict is logged in it but in those with another log
    // mode at their name's end.
    std::string rules_fixture(const std::string &name) const
    {
        return box.fixture("firewall/" + name);
    }

    void use_example() { box.copy_in(MCFG_SOURCE_DIR "/examples/router/etc", "/etc"); }

    support::outcome update(const std::string &log_mode = "none")
    {
        return box.run({"firewall_update", "br0", "vlan2", log_mode});
    }

    support::router_box box;
};

} // namespace firewall_test
