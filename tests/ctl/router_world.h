// A healthy router for the tests of mctl's status and heal: the example's settings, with LAN, a
// leased WAN and its record, in the test's own network, whose nat table is real.
#pragma once

#include "config/document.h"
#include "ctl/status/status.h"
#include "support/texts.h"
#include "support/unit_test.h"

#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <string>
#include <vector>

namespace router_world
{

constexpr char STORE[] = "/var/run/state_link";
constexpr char DHCP_PID[] = "/var/run/udhcpc.vlan2.pid";

inline const std::string DHCP_RECORD =
    R"({"iface":"vlan2","name":"wan","type":"dhcp","proto":"ether","metric":101,"ipaddr":"192.0.2.77",)"
    R"("netmask":"255.255.255.0","gateway":"192.0.2.1","dns1":null,"dns2":null})";
inline const std::string PPP_RECORD =
    R"({"iface":"ppp1","type":"pppoe","name":"wan1","proto":null,"metric":1,"ipaddr":"10.9.0.10",)"
    R"("netmask":"255.255.255.255","gateway":"10.9.0.1","dns1":null,"dns2":null})";

class router_test : public support::unit_test
{
  protected:
    void SetUp() override
    {
        unit_test::SetUp();
        world.copy_in(support::example_path("router"), "/");
        // Distributions reach it through links.
        world.bind("/usr/sbin/xtables-legacy-multi", "/real/iptables");
        world.on("pass /real/iptables iptables");
        // The network outlives a test, its files do not.
        for (const char *iface : {"vlan2", "ppp1", "br0"})
            try_ip(std::string("link del ") + iface);
        iptables("-F");
        iptables("-X");
        // No bridge, whose carrier would come a second later.
        cable("br0");
        ip("address add 192.168.1.1/24 dev br0");
        for (const char *port : {"vlan1", "ra0"})
            world.write(std::string("/sys/class/net/br0/brif/") + port, "");
        cable("vlan2");
        iptables("-N VSERVER");
        set_config(1);
        world.write(STORE, R"({"state_links":[]})");
    }

    // ---- the router in order

    void lease()
    {
        client = run_daemon("udhcpc", DHCP_PID);
        ip("address add 192.0.2.77/24 dev vlan2");
        ip("route add default via 192.0.2.1 dev vlan2 metric 101");
        iptables("-I PREROUTING -i vlan2 -d 192.0.2.77 -j VSERVER");
        record(DHCP_RECORD);
    }

    void dial()
    {
        world.copy_in(support::example_path("pppoe"), "/");
        set_config(1);
        pppd = run_daemon("pppd", "/var/run/ppp-pppoe-wan1.pid", "\nppp1\n");
        cable("ppp1");
        ip("address add 10.9.0.10 peer 10.9.0.1 dev ppp1");
        ip("route add default dev ppp1 metric 1");
        iptables("-I PREROUTING -i ppp1 -d 10.9.0.10 -j VSERVER");
        record(PPP_RECORD);
    }

    // ---- what tests do to it

    void record(const std::string &link)
    {
        world.write(STORE, R"({"state_links":[)" + link + "]}");
    }

    // An interface with a carrier, which goes away when its other end, NAMEp, goes down.
    void cable(const std::string &name)
    {
        ip("link add " + name + " type veth peer name " + name + "p");
        ip("link set " + name + " up");
        set_carrier(name, true);
    }

    // The kernel tells of it a moment later, up to a second.
    void set_carrier(const std::string &name, bool is_there)
    {
        ip("link set " + name + "p " + (is_there ? "up" : "down"));
        for (int i = 0; i < 500; i++) {
            std::string shown = world.in_network({"ip", "link", "show", name});
            if ((shown.find("NO-CARRIER") == std::string::npos) == is_there)
                return;
            poll(nullptr, 0, 20);
        }
        throw std::runtime_error(name + ": the carrier does not change");
    }

    pid_t run_daemon(const std::string &name, const std::string &pid_file,
                     const std::string &rest = "\n")
    {
        pid_t pid = world.bystander(false, name);
        world.write(pid_file, std::to_string(pid) + rest);
        return pid;
    }

    void ip(const std::string &words) { world.in_network(split("ip " + words)); }

    void try_ip(const std::string &words)
    {
        try {
            ip(words);
        } catch (const std::runtime_error &) {
            // It was not there.
        }
    }

    // The lock is the machine's own, which other tests want.
    void iptables(const std::string &words)
    {
        world.in_network(
            split("env XTABLES_LOCKFILE=/dev/null iptables-legacy --wait -t nat " + words));
    }

    std::string prerouting()
    {
        return world.in_network(
            split("env XTABLES_LOCKFILE=/dev/null iptables-legacy -t nat -S PREROUTING"));
    }

    // ---- what is seen

    // "NAME: CODE" of each reason, and what the state is of those that are not simply up or off.
    std::vector<std::string> reasons()
    {
        std::vector<std::string> found;
        static look at;
        static router_status status;
        char fault[FAULT_MAX] = "";
        if (look_around(&at, fault))
            judge(at, &status);
        else
            found.push_back(fault);
        for (size_t i = 0; fault[0] == '\0' && i < status.links; i++) {
            const link_status &link = status.link[i];
            for (size_t n = 0; n < link.reasons; n++)
                found.push_back(std::string(shown_name(link)) + " " + state_name(link.state) +
                                ": " + text_of(link.reason_of[n].id).name);
        }
        forget_look(&at);
        return found;
    }

    pid_t client = -1;
    pid_t pppd = -1;

    static std::vector<std::string> split(const std::string &line)
    {
        std::vector<std::string> words;
        std::istringstream stream(line);
        for (std::string word; stream >> word;)
            words.push_back(word);
        return words;
    }
};

} // namespace router_world
