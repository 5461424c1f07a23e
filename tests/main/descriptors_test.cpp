// What a job opens it closes: it may be started within a process that goes on, and what stays open
// is inherited by daemons that live for months.
#include "main/programs.h"

#include "support/texts.h"
#include "support/unit_test.h"
#include "util/mmac.h"

#include <fcntl.h>
#include <set>
#include <stdlib.h>
#include <string>
#include <vector>

namespace
{

struct job {
    const char *name;
    std::vector<std::string> words;
    std::vector<std::pair<const char *, const char *>> environment;
    size_t kept = 0; // a socket for address queries, a lock: no child inherits them
};

class descriptors : public support::unit_test, public testing::WithParamInterface<job>
{
  protected:
    void SetUp() override
    {
        unit_test::SetUp();
        for (const char *rule :
             {"skip ioctl", "skip shell", "skip kill", "gpio 0x800", "flash-status 0"})
            world.on(rule);
        world.interface("br0");
        world.copy_in(support::example_path("router"), "/");
        world.write("/var/run/state_link",
                    R"({"state_links": [{"iface": "vlan2", "name": "wan"}]})");
        world.write("/var/run/udhcpc.vlan2.pid", "4711\n");
        world.write("/etc_ro/wlan/RT3050_AP_1T1R_V1_0.bin", std::string(512, 'e'));
        for (const char *name :
             {"/sys/class/usb/1/device/idVendor", "/sys/class/usb/1/device/idProduct",
              "/sys/devices/1/idVendor", "/sys/devices/1/idProduct"})
            world.write(name, "12d1\n");
        world.mkdir("/tmp/ppp");
        run({"mcfg", "set_config"});
    }

    static void run(std::vector<std::string> words)
    {
        std::vector<char *> argv;
        for (std::string &word : words)
            argv.push_back(word.data());
        argv.push_back(nullptr);
        int argc = static_cast<int>(words.size());
        if (words[0] == "mmac")
            mmac_main(argc, argv.data());
        else
            run_program(argc, argv.data());
        fflush(nullptr);
    }

    static std::set<int> open_ones()
    {
        std::set<int> found;
        for (int fd = 0; fd < 1024; fd++)
            if (fcntl(fd, F_GETFD) >= 0)
                found.insert(fd);
        return found;
    }
};

// The second time: a library that opens something for good, such as the log, has it by then.
TEST_P(descriptors, are_closed_by)
{
    for (const auto &[name, value] : GetParam().environment)
        setenv(name, value, 1);
    std::vector<std::string> words = GetParam().words;
    auto run_words = [](void *context) { run(*static_cast<std::vector<std::string> *>(context)); };
    support::private_world::captured(1, run_words, &words);
    std::set<int> before = open_ones();
    support::private_world::captured(1, run_words, &words);
    EXPECT_EQ(open_ones().size(), before.size() + GetParam().kept);
}

// clang-format off
const job jobs[] = {
    {"set_config", {"mcfg", "set_config"}, {}},
    {"get_wan_type", {"mcfg", "get_wan_type"}, {}},
    {"set_device_params", {"mcfg", "set_device_params"}, {}},
    {"netbase_start", {"mcfg", "netbase_start"}, {}, 1},
    {"netbase_stop", {"mcfg", "netbase_stop"}, {}},
    {"start_wan", {"mcfg", "start_wan"}, {}},
    {"stop_wan", {"mcfg", "stop_wan"}, {}},
    {"check_update", {"mcfg", "check_update"}, {}},
    {"firewall_update", {"firewall_update", "br0", "vlan2", "none"}, {}, 1},
    {"update_time", {"update_time"}, {}},
    {"usb_event", {"hotplug", "usb"}, {{"ACTION", "add"}, {"PRODUCT", "12d1/1446/0"}}},
    {"usb_device_event", {"hotplug", "usb_device"},
     {{"ACTION", "add"}, {"DEVPATH", "/class/usb/1"}, {"PHYSDEVPATH", "/devices/1"}}, 1},
    {"block_event", {"hotplug", "block"},
     {{"ACTION", "add"}, {"MINOR", "1"}, {"MAJOR", "8"}, {"PHYSDEVDRIVER", "sd"}}},
    {"lease", {"udhcpc", "bound"},
     {{"interface", "vlan2"}, {"ip", "192.0.2.10"}, {"subnet", "255.255.255.0"}, {"router", "192.0.2.1"},
      {"dns", "198.51.100.53"}}},
    {"end_of_a_lease", {"udhcpc", "deconfig"}, {{"interface", "vlan2"}}},
    {"ppp_link_up", {"ip-up"},
     {{"IFNAME", "ppp1"}, {"LINKNAME", "pppoe-wan1"}, {"IPLOCAL", "10.9.0.10"}, {"IPREMOTE", "10.9.0.1"},
      {"DNS1", "198.51.100.53"}}},
    {"ppp_link_down", {"ip-down"}, {{"IFNAME", "ppp1"}, {"LINKNAME", "pppoe-wan1"}}},
    {"mac_address_shown", {"mmac", "get", "lan"}, {}},
    {"mac_address_set", {"mmac", "set", "wan", "00:11:22:33:44:55"}, {}},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(jobs, descriptors, testing::ValuesIn(jobs), support::row_name);

} // namespace
