// Hosts of the test's own, each a network namespace, joined by cables. For tests in which packets
// have to show what a firewall does. Nothing is sent outside of it, and all of it goes away with
// the object, also when the test is killed.
//
// Programs that run in it are this machine's own. Failures throw std::runtime_error.
#pragma once

#include "support/namespaces.h"

#include <cstdint>
#include <map>
#include <string>
#include <sys/types.h>
#include <vector>

namespace support
{

// How long a test waits for packets, in milliseconds. What is let through arrives at once: the long
// time is for a machine under load. What is dropped never comes, so the short time is always lost.
enum class wait { until_it_arrives = 10000, to_see_it_stay_away = 300 };

class wired_hosts
{
  public:
    wired_hosts();
    ~wired_hosts();
    wired_hosts(const wired_hosts &) = delete;
    wired_hosts &operator=(const wired_hosts &) = delete;

    // Adds a host with only its loopback interface, which is up.
    void add_host(const std::string &host);

    // Joins interface a_iface of host a and b_iface of host b, both new and up.
    void cable(const std::string &a, const std::string &a_iface, const std::string &b,
               const std::string &b_iface);

    // Runs a program on a host with this standard input. try_run gives what came of it; run gives
    // the standard output and throws when the exit status is not 0.
    program_result try_run(const std::string &host, const std::vector<std::string> &command,
                           const std::string &input = "");
    std::string run(const std::string &host, const std::vector<std::string> &command,
                    const std::string &input = "");

    // Runs "ip" on a host, once for each line of its words.
    void ip(const std::string &host, const std::string &lines);

    // Opens a port of a host for TCP connections. The descriptor belongs to this object.
    int listen(const std::string &host, const std::string &address, int port);

    // Connects from a host's address to another's. Returns the address that the listener sees the
    // connection come from, or "" when none came. With a request, it is sent, and "" is also the
    // answer when the request does not get through.
    std::string connect(const std::string &host, const std::string &from, const std::string &to,
                        int port, int listener, wait how_long, const std::string &request = "");

    // Sends one echo request. Returns true when it was answered.
    bool ping(const std::string &host, const std::string &from, const std::string &to,
              wait how_long);

    // Sends so many echo requests at once, each a connection of its own, and waits for no answer.
    void flood(const std::string &host, const std::string &from, const std::string &to, int count);

    // How many packets the rules of a host have matched in whose iptables-save line text stands.
    int packets(const std::string &host, const std::string &table, const std::string &text);

  private:
    // Takes the calling process to a host, for good.
    void enter(const std::string &host) const;
    int open_socket(const std::string &host, int type, int protocol, const std::string &address,
                    int port);

    std::map<std::string, int> hosts; // their networks
    int users = -1;                   // the user namespace of all, where one is needed
    std::vector<int> sockets;
    uint16_t next_echo_id = 1; // another for each echo request: a connection to the router's eye
    std::string lock_file;     // of iptables, so that tests side by side do not wait for each other
};

} // namespace support
