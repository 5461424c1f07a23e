#include "fuzz/targets.h"

#include "fuzz/world.h"

#include <cstring>

namespace fuzz
{

// clang-format off
const target targets[] = {
    {"settings", 1536, test_settings, "set_config from any settings"},
    {"firewall", 1536, test_firewall, "firewall_update from any switches and lists, to its rule files"},
    {"lease", 3072, test_lease, "lease events with any environment, configuration and store"},
    {"ppp", 3072, test_ppp, "PPP events likewise"},
    {"wan", 3072, test_wan, "start and stop of the WAN from any configuration, store and pid files"},
    {"netbase", 1024, test_netbase, "start and stop of the LAN from any settings and NVRAM"},
    {"peers", 512, test_peers, "the option files of pppd and xl2tpd from any connection"},
    {"check", 2048, test_check, "mctl check of any settings"},
    {"status", 2560, test_status, "mctl status of any router"},
    {"heal", 2560, test_heal, "mctl heal of any router"},
    {"report", 3072, test_report, "mctl report of any router with secrets in it"},
    {"rebuild", 2048, test_rebuild, "mctl firewall with any rule files, listings and refusals"},
    {"documents", 2048, test_documents, "access to any document, and link records in any store"},
    {"nvram", 768, test_nvram, "NVRAM files: read, set, write again, read back"},
    {"mmac", 512, test_mmac, "the MAC tool with any arguments on any NVRAM"},
    {"wireless", 768, test_wireless, "driver profile and wireless start from any NVRAM"},
    {"hotplug", 512, test_hotplug, "hotplug events with any environment and sysfs"},
    {"board", 768, test_board, "check_update with any flash; switch registers, GPIO, device files"},
    {"zone", 128, test_zone, "update_time with any time zone"},
    {"names", 256, test_names, "any program name and arguments"},
    {"quote", 700, test_quote, "shell_quote and command lines formed with it"},
};
// clang-format on

const size_t target_count = sizeof(targets) / sizeof(targets[0]);

const target *find_target(const char *name)
{
    for (const target &row : targets) {
        if (name != nullptr && strcmp(row.name, name) == 0)
            return &row;
    }
    return nullptr;
}

int test_one(const target &chosen, const uint8_t *data, size_t size)
{
    reset_world();
    input parts(data, size);
    chosen.test(parts);
    leave_world();
    return 0;
}

} // namespace fuzz
