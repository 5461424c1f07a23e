// What mctl status asks of the kernel, all of it: the trace of the box knows what the program runs
// and sends, but not what it opens. So it is looked at from outside, by strace.
#include "support/record.h"
#include "support/router_box.h"
#include "support/texts.h"
#include "support/world_root.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace
{

constexpr char CALLS[] = "/tmp/calls";

// All calls by which a file, the network or another process could be changed.
constexpr char WATCHED[] =
    "trace=open,openat,openat2,creat,unlink,unlinkat,rename,renameat,renameat2,mkdir,mkdirat,rmdir,"
    "symlink,symlinkat,link,linkat,mknod,mknodat,chmod,fchmod,fchmodat,chown,fchown,lchown,"
    "fchownat,truncate,ftruncate,utimensat,mount,umount2,chroot,kill,tkill,tgkill,ioctl,setsockopt,"
    "sendmsg,sendmmsg,settimeofday,clock_settime,sethostname,reboot,execve,execveat,socket";

// A box whose program is strace, which has mctl run.
class mctl_calls : public testing::Test
{
  protected:
    support::router_box box{"/usr/bin/strace"};

    void SetUp() override
    {
        box.copy_in(support::example_path("router"), "/");
        box.bind(support::program_of_build("mctl"), "/sbin/mctl");
        box.write(
            "/var/run/Config",
            R"({"Network":{"Common":{"Dns":{},"Wimax":{}},"Lan":[{"iface":"br0","name":"LAN0",)"
            R"("type":"static","ipaddr":"192.168.1.1"}],"Wan":[{"iface":"vlan2","name":"WAN",)"
            R"("type":"dhcp","have_tunnels":true,"Tunnels":[{"type":"l2tp","name":"work"}]}]}})");
        box.write("/var/run/state_link",
                  R"({"state_links":[{"iface":"vlan2","type":"dhcp","ipaddr":"192.0.2.7"}]})");
        box.write("/var/run/udhcpc.vlan2.pid", "1\n");
        box.write("/var/run/xl2tpd.pid", "1\n");
        box.write("/var/lock/state_link.lock", "999999");
        box.write("/var/lock/Config.lock", "1");
        box.write("/tmp/nat_rules", "*nat\n-A VSERVER -j ACCEPT\nCOMMIT\n");
    }

    // The calls of mctl with these words, a line each, without the recorder's own.
    std::vector<std::string> calls_of(const std::vector<std::string> &words)
    {
        std::vector<std::string> command = {"strace", "-f", "-qqq",  "-e", "signal=none", "-o",
                                            CALLS,    "-e", WATCHED, "--", "/sbin/mctl"};
        command.insert(command.end(), words.begin(), words.end());
        support::outcome seen = box.run(command);
        EXPECT_EQ(seen.status, 1) << seen.out << seen.err;
        EXPECT_NE(seen.out.find("lock"), std::string::npos) << seen.out << seen.err;
        std::vector<std::string> calls;
        for (const std::string &line : support::lines_of(box.read(CALLS))) {
            if (line.find(BOX_DIRECTORY) == std::string::npos)
                calls.push_back(line.substr(line.find_first_not_of("0123456789 ")));
        }
        return calls;
    }
};

// What is not worth telling: opening to read, the descriptors 0 to 2 that each program of ours
// makes sure of, being no terminal, and asking the kernel for the interfaces.
bool is_harmless(const std::string &call)
{
    bool is_open = support::begins_with(call, "open");
    bool is_to_read = call.find("O_RDONLY") != std::string::npos &&
                      call.find("O_CREAT") == std::string::npos &&
                      call.find("O_TRUNC") == std::string::npos;
    return (is_open && is_to_read) ||
           support::begins_with(call, "openat(AT_FDCWD, \"/dev/null\", O_RDWR") ||
           support::begins_with(call, "ioctl(0, TIOCNOTTY)") ||
           call.find(", TCGETS, ") != std::string::npos ||
           support::begins_with(call, "socket(AF_NETLINK, SOCK_RAW|SOCK_CLOEXEC, NETLINK_ROUTE)");
}

std::string without_addresses(const std::string &call)
{
    return call.substr(0, call.find("]") + 1) + call.substr(call.find(" = "));
}

TEST_F(mctl_calls, status_opens_nothing_for_writing_and_runs_the_listing_only)
{
    for (const std::vector<std::string> &words :
         {std::vector<std::string>{"status"}, std::vector<std::string>{"status", "--json"}}) {
        std::string others, runs;
        size_t reads = 0;
        for (const std::string &call : calls_of(words)) {
            if (support::begins_with(call, "execve(\"/sbin/mctl\""))
                continue;
            if (support::begins_with(call, "execve(") && call.find(" = 0") != std::string::npos)
                runs += without_addresses(call) + "\n";
            else if (!support::begins_with(call, "execve(") && !is_harmless(call))
                others += call + "\n";
            reads += is_harmless(call) ? 1 : 0;
        }
        EXPECT_EQ(others, "");
        EXPECT_EQ(runs,
                  "execve(\"/usr/sbin/iptables\", [\"iptables\", \"-t\", \"nat\", \"-S\"] = 0\n");
        EXPECT_GT(reads, 10u);
    }
}

// The process that looks for the next rule file, to put the jumps right then, would be waited for.
TEST_F(mctl_calls, a_rebuild_ends_when_its_next_file_cannot_be_looked_at)
{
    box.tool("/sbin/firewall_update");
    box.on("print 'firewall done\\n' firewall_update");
    box.write("/tmp/filter_rules", "COMMIT\n");
    box.set_time_limit(20000);
    support::outcome seen = box.run({"strace", "-o", CALLS, "-P", "/tmp/filter_rules", "-e",
                                     "inject=%%stat:error=EIO:when=2", "--", "/sbin/mctl",
                                     "firewall", "br0", "vlan2", "none"});
    EXPECT_NE(box.read(CALLS).find("(INJECTED)"), std::string::npos) << box.read(CALLS);
    EXPECT_NE(seen.out.find("filter: loaded\n"), std::string::npos) << seen.out;
}

// That it would be seen.
TEST_F(mctl_calls, heal_is_seen_to_open_its_lock_and_to_remove_another)
{
    std::string calls;
    for (const std::string &call : calls_of({"heal"})) {
        if (!is_harmless(call) && !support::begins_with(call, "execve("))
            calls += call + "\n";
    }
    EXPECT_NE(calls.find("\"/var/run/mctl-heal.lock\", O_RDWR|O_CREAT"), std::string::npos)
        << calls;
    EXPECT_NE(calls.find("unlink(\"/var/lock/state_link.lock\") = 0"), std::string::npos) << calls;
}

} // namespace
