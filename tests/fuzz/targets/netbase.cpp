// Start and stop of the LAN: all that the router does when it boots, from any settings and NVRAM.
#include "fuzz/targets.h"
#include "fuzz/world.h"

namespace fuzz
{

namespace
{

constexpr const char *files[] = {
    "/etc/default/network-interfaces",
    "/etc/default/ppp-peers",
    "/etc/nvram/0",
    "/etc/nvram/1",
    "/etc/default/ip_filter",
    "/etc/default/rules",
    "/etc/default/macfilter_list",
    "/etc/default/vservers",
    "/var/lock/Config.lock",
};

} // namespace

void test_netbase(input &parts)
{
    bool is_start = parts.next_text() != "stop";
    for (const char *path : files)
        here.put_file(path, parts.next());
    here.answers = parts.next_text();
    here.obstruct(parts.next());
    documents_check documents;
    if (run_program_with({"mcfg", is_start ? "netbase_start" : "netbase_stop"}) != 0)
        violated("a status of the LAN");
    documents.after();

    bool has_document = here.files.exists("/var/run/Config");
    bool is_locked = here.files.exists("/var/lock/Config.lock");
    bool is_up = here.files.exists("/tmp/hosts.runtime");
    if (is_start && !here.is_obstructed && (!has_document || is_up == is_locked))
        violated("a LAN start that stopped half-way");
}

} // namespace fuzz
