// Routers as mctl status and mctl heal see them: what is wanted, recorded and there, in a few words
// for each, so that each state of a link is a row. The kernel is played; the documents, pid files
// and processes are real.
#pragma once

#include "ctl/status/judge.h"
#include "ctl/status/look.h"
#include "ctl/unseen.h"
#include "support/texts.h"
#include "support/unit_test.h"

#include <algorithm>
#include <arpa/inet.h>
#include <fcntl.h>
#include <map>
#include <string.h>
#include <string>
#include <sys/stat.h>
#include <time.h>
#include <vector>

namespace pictures
{

// In the texts of documents, ' stands for ".
struct picture {
    std::string name;
    std::string lan; // the entries of Config
    std::string wan;
    std::string records; // of the store, between its brackets; NO_STORE for none
    // A line for each interface, "NAME up|down|idle [ADDRESS/BITS]... [ADDRESS/BITS peer ADDRESS]",
    // and for each default route, "route NAME METRIC [GATEWAY]".
    std::string kernel;
    std::string jumps = {};                          // as the nat table is listed
    std::map<std::string, std::string> daemons = {}; // pid file, name
    std::map<std::string, std::string> files = {};   // path, content; REMOVED
};

constexpr char NO_STORE[] = "(none)";
constexpr char REMOVED[] = "(removed)";

inline std::string quoted(std::string text)
{
    std::replace(text.begin(), text.end(), '\'', '"');
    return text;
}

inline void add_iface(kernel_view *kernel, const std::string &line)
{
    std::istringstream words(line);
    std::string name, state, word;
    words >> name >> state;
    iface_view &iface = kernel->iface[kernel->ifaces++];
    snprintf(iface.name, sizeof(iface.name), "%s", name.c_str());
    iface.is_up = state != "down";
    iface.has_carrier = state == "up";
    while (words >> word) {
        if (word == "peer") {
            words >> word;
            iface.peer_be[iface.addresses - 1] = inet_addr(word.c_str());
            continue;
        }
        size_t slash = word.find('/');
        unsigned bits = static_cast<unsigned>(std::stoi(word.substr(slash + 1)));
        iface.address_be[iface.addresses] = inet_addr(word.substr(0, slash).c_str());
        iface.netmask_be[iface.addresses++] = htonl(~0U << (32 - bits));
    }
}

inline void add_route(kernel_view *kernel, const std::string &line)
{
    std::istringstream words(line);
    std::string route, name, gateway;
    route_view &added = kernel->default_route[kernel->defaults++];
    words >> route >> name >> added.metric >> gateway;
    snprintf(added.iface, sizeof(added.iface), "%s", name.c_str());
    added.gateway_be = gateway.empty() ? 0 : inet_addr(gateway.c_str());
}

class picture_test : public support::unit_test
{
  protected:
    void SetUp() override
    {
        unit_test::SetUp();
        tzset(); // a test before this one may have had a zone
        world.tool("/sbin/mcfg");
        world.on("skip ioctl");
        world.on("skip kill");
        for (const char *port : {"vlan1", "ra0"})
            world.write(std::string("/sys/class/net/br0/brif/") + port, "");
    }
    void TearDown() override { forget_look(&at); }

    void show(const picture &row)
    {
        make_files(row);
        world.on("print '" + escaped(row.jumps) + "' iptables -t nat -S");
        char fault[FAULT_MAX] = "";
        forget_unseen();
        EXPECT_TRUE(look_around(&at, fault)) << fault;
        at.kernel = {};
        for (const std::string &line : support::lines_of(row.kernel)) {
            if (support::begins_with(line, "route "))
                add_route(&at.kernel, line);
            else
                add_iface(&at.kernel, line);
        }
        judge(at, &status);
    }

  private:
    void make_files(const picture &row)
    {
        world.write("/var/run/Config", quoted("{'Network':{'Common':{'Dns':{},'Wimax':{}},'Lan':[" +
                                              row.lan + "],'Wan':[" + row.wan + "]}}"));
        if (row.records != NO_STORE)
            world.write("/var/run/state_link", quoted("{'state_links':[" + row.records + "]}"));
        for (const auto &[path, name] : row.daemons) {
            pid_t pid = world.bystander(false, name);
            world.write(path, std::to_string(pid) + "\n" + (name == "pppd" ? "ppp1\n" : ""));
            numbers[std::to_string(pid)] = name;
        }
        for (const auto &[path, content] : row.files) {
            if (content == REMOVED)
                world.remove(path);
            else
                world.write(path, content);
        }
        // As of yesterday, where the settings are of today.
        const timespec times[] = {{1500000000, 0}, {1500000000, 0}};
        if (!row.files.empty() && support::begins_with(row.files.begin()->first, "/etc/default/"))
            utimensat(AT_FDCWD, "/var/run/Config", times, 0);
    }

  protected:
    // Numbers of processes are others each time.
    std::string with_names(std::string text) const
    {
        for (const auto &[number, name] : numbers) {
            for (const char *before : {"process ", "kill ", "\"process\": "}) {
                size_t place = text.find(before + number);
                if (place != std::string::npos)
                    text.replace(place + strlen(before), number.size(), name);
            }
        }
        return text;
    }

    static std::string escaped(const std::string &text)
    {
        std::string result;
        for (char c : text)
            result += c == '\n' ? "\\n" : std::string(1, c);
        return result;
    }

    look at = {};
    router_status status = {};
    std::map<std::string, std::string> numbers; // of processes, and their names
};

} // namespace pictures
