// A small network of the test's own: hosts, each a network namespace, joined by cables. For tests
// in which packets have to show what a firewall does. Nothing is sent outside of it, and all of it
// goes away with the object, also when the test is killed.
//
// Programs that run in it are this machine's own. Failures throw std::runtime_error.
#pragma once

#include <cstdint>
#include <string>
#include <sys/types.h>
#include <vector>

namespace support
{

struct lab_result {
    int status; // exit status, or -1 when a signal ended it
    std::string out;
    std::string err;
};

// How long a test waits for packets, in milliseconds. What is let through arrives at once: the long
// time is for a machine under load. What is dropped never comes, so the short time is always lost.
enum class wait { until_it_arrives = 10000, to_see_it_stay_away = 300 };

class net_lab
{
  public:
    net_lab();
    ~net_lab();
    net_lab(const net_lab &) = delete;
    net_lab &operator=(const net_lab &) = delete;

    // Adds a host with only its loopback interface, which is up.
    void add_host(const std::string &host);

    // Joins interface a_iface of host a and b_iface of host b, both new and up.
    void cable(const std::string &a, const std::string &a_iface, const std::string &b,
               const std::string &b_iface);

    // Runs a program on a host with this standard input. try_run gives what came of it; run gives
    // the standard output and throws when the exit status is not 0.
    lab_result try_run(const std::string &host, const std::vector<std::string> &command,
                       const std::string &input = "");
    std::string run(const std::string &host, const std::vector<std::string> &command,
                    const std::string &input = "");

    // Runs "ip" on a host, once for each line of its words.
    void ip(const std::string &host, const std::string &lines);

    // Opens a port of a host for TCP connections. The descriptor belongs to the lab.
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
    pid_t holder_of(const std::string &host) const;
    int open_socket(const std::string &host, int type, int protocol, const std::string &address,
                    int port);

    struct host_process {
        std::string name;
        pid_t pid;
    };
    std::vector<host_process> hosts;
    std::vector<int> sockets;
    uint16_t next_echo_id = 1; // another for each echo request: a connection to the router's eye
    std::string lock_file;     // of iptables, so that labs side by side do not wait for each other
};

} // namespace support
