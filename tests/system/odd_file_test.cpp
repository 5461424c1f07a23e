// Names under which something else than a readable file is found.
#include "support/router_box.h"
#include "system/dhcp_test.h"

#include <gtest/gtest.h>
#include <stdexcept>
#include <sys/stat.h>

namespace
{

using support::environment;
using support::outcome;

class odd_box : public support::router_box
{
  public:
    odd_box()
    {
        copy_in(MCFG_SOURCE_DIR "/examples/router/etc", "/etc");
        interface("br0");
        in_network({"ip", "address", "add", "192.168.1.1/24", "dev", "br0"});
        set_time_limit(20000);
    }
    void fifo(const std::string &path)
    {
        remove(path);
        if (mkfifo(host_path(path).c_str(), 0666) != 0)
            throw std::runtime_error(path);
    }
};

// A FIFO that nobody ever writes to or reads.
struct fifo_row {
    const char *path;
    std::vector<std::string> words;
    environment env;
    bool is_reported;
};

class fifo_in_place_of_a_file : public testing::TestWithParam<fifo_row>
{
};

TEST_P(fifo_in_place_of_a_file, is_not_waited_for)
{
    const fifo_row &row = GetParam();
    odd_box box;
    box.run({"mcfg", "set_config"});
    box.fifo(row.path);
    outcome result = box.run(row.words, row.env);
    EXPECT_EQ(result.signal, 0);
    std::string report = std::string(row.path) + ": Invalid argument\n";
    EXPECT_EQ(result.err.find(report) != std::string::npos, row.is_reported) << result.err;
}

INSTANTIATE_TEST_SUITE_P(
    odd_file, fifo_in_place_of_a_file,
    testing::Values(
        fifo_row{"/etc/default/network-interfaces", {"mcfg", "set_config"}, {}, true},
        fifo_row{"/etc/default/ppp-peers", {"mcfg", "set_config"}, {}, true},
        fifo_row{"/etc/default/dns.conf", {"mcfg", "set_config"}, {}, true},
        fifo_row{"/etc/default/upnp", {"firewall_update", "br0", "vlan2"}, {}, true},
        fifo_row{"/etc/default/macfilter_list", {"firewall_update", "br0", "vlan2"}, {}, true},
        fifo_row{"/tmp/nat_rules", {"firewall_update", "br0", "vlan2"}, {}, false},
        fifo_row{"/etc/nvram/0", {"mcfg", "netbase_start"}, {}, true},
        fifo_row{"/etc/nvram/1", {"mcfg", "netbase_start"}, {}, true},
        fifo_row{"/etc/TZ", {"update_time"}, {}, false},
        fifo_row{"/var/run/Config", {"mcfg", "netbase_start"}, {}, false},
        fifo_row{"/var/run/Config", {"mcfg", "start_wan"}, {}, false},
        fifo_row{"/var/run/Config", {"udhcpc", "bound"}, dhcp_life::vlan2_lease, false},
        fifo_row{"/var/run/state_link", {"udhcpc", "bound"}, dhcp_life::vlan2_lease, false},
        fifo_row{"/var/run/udhcpc.vlan2.pid", {"mcfg", "stop_wan"}, {}, false}));

// A directory opens like a file and fails when it is read.
struct unreadable_row {
    const char *path;
    std::vector<std::string> words;
    const char *report;
};

class unreadable_settings : public testing::TestWithParam<unreadable_row>
{
};

TEST_P(unreadable_settings, are_reported_with_their_path)
{
    const unreadable_row &row = GetParam();
    odd_box box;
    box.remove(row.path);
    box.mkdir(row.path);
    EXPECT_EQ(box.run(row.words).err, row.report);
}

INSTANTIATE_TEST_SUITE_P(
    odd_file, unreadable_settings,
    testing::Values(unreadable_row{"/etc/default/network-interfaces",
                                   {"mcfg", "set_config"},
                                   "/etc/default/network-interfaces: Is a directory\n"
                                   "/etc/default/network-interfaces: Is a directory\n"
                                   "/etc/default/network-interfaces: Is a directory\n"},
                    unreadable_row{"/etc/default/ppp-peers",
                                   {"mcfg", "set_config"},
                                   "/etc/default/ppp-peers: Is a directory\n"},
                    unreadable_row{"/etc/default/dns.conf",
                                   {"mcfg", "set_config"},
                                   "/etc/default/dns.conf: Is a directory\n"},
                    unreadable_row{"/etc/default/wimax",
                                   {"mcfg", "set_config"},
                                   "/etc/default/wimax: Is a directory\n"},
                    unreadable_row{"/etc/default/ip_filter",
                                   {"firewall_update", "br0", "vlan2"},
                                   "/etc/default/ip_filter: Is a directory\n"},
                    unreadable_row{"/etc/default/igmp",
                                   {"firewall_update", "br0", "vlan2"},
                                   "/etc/default/igmp: Is a directory\n"},
                    unreadable_row{"/etc/default/upnp",
                                   {"firewall_update", "br0", "vlan2"},
                                   "/etc/default/upnp: Is a directory\n"}));

} // namespace
