// What the tests of "firewall_update" share: a box that it can run in, and the rule files of the
// example router.
#pragma once

#include "support/expect.h"
#include "support/router_box.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <stdexcept>
#include <string>

namespace firewall_test
{

constexpr char NAT[] = "/tmp/nat_rules";
constexpr char FILTER[] = "/tmp/filter_rules";
constexpr char MANGLE[] = "/tmp/mangle_rules";
constexpr char IP_FILTER[] = "/etc/default/ip_filter";
constexpr char PROGRESS[] = "firewall start\nfirewall done\n";

// The rule files of the example router, none of whose verdicts are logged but in the files with
// another log mode at their name's end.
inline std::string fixture(const std::string &name)
{
    std::ifstream file(MCFG_SOURCE_DIR "/tests/fixtures/firewall/" + name);
    if (!file)
        throw std::runtime_error("no fixture " + name);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

inline std::string replaced(std::string text, const std::string &part, const std::string &other)
{
    size_t at = text.find(part);
    if (at == std::string::npos)
        throw std::runtime_error("nothing to replace: " + part);
    return text.replace(at, part.size(), other);
}

// A box with the LAN bridge of the example router, which has an address.
class firewall_command : public ::testing::Test
{
  protected:
    firewall_command()
    {
        box.interface("br0");
        box.in_network({"ip", "address", "add", "192.168.1.1/24", "dev", "br0"});
    }

    void use_example() { box.copy_in(MCFG_SOURCE_DIR "/examples/router/etc", "/etc"); }

    support::outcome update(const std::string &log_mode = "none")
    {
        return box.run({"firewall_update", "br0", "vlan2", log_mode});
    }

    support::router_box box;
};

} // namespace firewall_test
