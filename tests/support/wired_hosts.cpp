#include "support/wired_hosts.h"

#include "support/message.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <netinet/in.h>
#include <netinet/ip_icmp.h>
#include <poll.h>
#include <sched.h>
#include <sstream>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace support
{

static void join(int descriptor, int kind)
{
    if (setns(descriptor, kind) != 0)
        fail("a host's namespace");
}

// Runs make in a process of its own, which may go where none comes back from, and gives the
// descriptors that it leaves. What it throws is thrown here.
static std::vector<int> from_child(const std::function<std::vector<int>()> &make)
{
    int pair[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, pair) != 0)
        fail("socketpair");
    pid_t child = fork();
    if (child < 0)
        fail("fork");
    if (child == 0) {
        try {
            send_message(pair[1], {"ok"}, make());
        } catch (const std::exception &e) {
            send_message(pair[1], {"error", e.what()});
        }
        _exit(0);
    }
    close(pair[1]);
    message answer;
    std::vector<int> descriptors;
    bool is_answered = receive_message(pair[0], answer, &descriptors);
    close(pair[0]);
    while (waitpid(child, nullptr, 0) < 0 && errno == EINTR)
        ;
    if (!is_answered || answer.at(0) != "ok")
        throw std::runtime_error(is_answered ? answer.at(1) : "no answer from a host");
    return descriptors;
}

static sockaddr_in to_address(const std::string &address, int port)
{
    sockaddr_in inet = {};
    inet.sin_family = AF_INET;
    inet.sin_port = htons(static_cast<uint16_t>(port));
    if (inet_pton(AF_INET, address.c_str(), &inet.sin_addr) != 1)
        throw std::runtime_error("no address: " + address);
    return inet;
}

static bool is_ready(int fd, short events, wait how_long)
{
    pollfd waiting = {fd, events, 0};
    return poll(&waiting, 1, static_cast<int>(how_long)) == 1 && (waiting.revents & events) != 0;
}

// The end of a connection attempt, from the one side: true when it is established.
static bool is_connected(int fd, wait how_long)
{
    int error = 0;
    socklen_t length = sizeof(error);
    return is_ready(fd, POLLOUT, how_long) &&
           getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &length) == 0 && error == 0;
}

wired_hosts::wired_hosts()
{
    char name[] = "/tmp/wired_hosts_lock_XXXXXX";
    int fd = mkstemp(name);
    if (fd < 0)
        fail(name);
    close(fd);
    lock_file = name;
}

wired_hosts::~wired_hosts()
{
    for (int fd : sockets)
        close(fd);
    for (const auto &host : hosts)
        close(host.second);
    if (users >= 0)
        close(users);
    unlink(lock_file.c_str());
}

void wired_hosts::enter(const std::string &host) const
{
    auto found = hosts.find(host);
    if (found == hosts.end())
        throw std::runtime_error("no such host: " + host);
    if (users >= 0)
        join(users, CLONE_NEWUSER);
    join(found->second, CLONE_NEWNET);
}

// A host is a network that a descriptor keeps alive. An ordinary user may have networks only below
// a user namespace: all share that of the first, so that cables can be laid between them.
void wired_hosts::add_host(const std::string &host)
{
    std::vector<int> made = from_child([this] {
        std::vector<int> namespaces;
        bool is_first_of_user = users < 0 && leave_namespaces(CLONE_NEWNET);
        if (users >= 0)
            join(users, CLONE_NEWUSER);
        fresh_network();
        namespaces.push_back(open("/proc/self/ns/net", O_RDONLY | O_CLOEXEC));
        if (is_first_of_user)
            namespaces.push_back(open("/proc/self/ns/user", O_RDONLY | O_CLOEXEC));
        return namespaces;
    });
    hosts[host] = made.at(0);
    if (made.size() > 1)
        users = made[1];
    ip(host, "link set lo up");
}

void wired_hosts::cable(const std::string &a, const std::string &a_iface, const std::string &b,
                        const std::string &b_iface)
{
    from_child([&] {
        enter(a);
        make_cable(a_iface, hosts.at(b), b_iface);
        return std::vector<int>();
    });
    ip(b, "link set " + b_iface + " up");
}

program_result wired_hosts::try_run(const std::string &host,
                                    const std::vector<std::string> &command,
                                    const std::string &input)
{
    return try_program(
        command,
        [&] {
            enter(host);
            setenv("XTABLES_LOCKFILE", lock_file.c_str(), 1);
        },
        input);
}

std::string wired_hosts::run(const std::string &host, const std::vector<std::string> &command,
                             const std::string &input)
{
    program_result result = try_run(host, command, input);
    if (result.status != 0)
        throw std::runtime_error(command.at(0) + " failed on " + host + ": " + result.err);
    return result.out;
}

void wired_hosts::ip(const std::string &host, const std::string &lines)
{
    run(host, {"ip", "-batch", "-"}, lines + "\n");
}

// A socket lives in the network that its maker is in, so a child that goes there makes it and hands
// it back.
int wired_hosts::open_socket(const std::string &host, int type, int protocol,
                             const std::string &address, int port)
{
    sockaddr_in inet = to_address(address, port);
    std::vector<int> made = from_child([&] {
        enter(host);
        int fd = socket(AF_INET, type | SOCK_NONBLOCK, protocol);
        int yes = 1;
        setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
        if (fd < 0 || bind(fd, reinterpret_cast<sockaddr *>(&inet), sizeof(inet)) != 0)
            fail("a socket on " + host + " for " + address);
        return std::vector<int>{fd};
    });
    sockets.push_back(made.at(0));
    return made[0];
}

int wired_hosts::listen(const std::string &host, const std::string &address, int port)
{
    int fd = open_socket(host, SOCK_STREAM, 0, address, port);
    if (::listen(fd, 16) != 0)
        fail("listen");
    return fd;
}

std::string wired_hosts::connect(const std::string &host, const std::string &from,
                                 const std::string &to, int port, int listener, wait how_long,
                                 const std::string &request)
{
    int fd = open_socket(host, SOCK_STREAM, 0, from, 0);
    sockaddr_in inet = to_address(to, port);
    int started = ::connect(fd, reinterpret_cast<sockaddr *>(&inet), sizeof(inet));
    if ((started != 0 && errno != EINPROGRESS) || !is_connected(fd, how_long)) {
        // Closed now, lest it try again while the test goes on.
        close(fd);
        sockets.pop_back();
        return "";
    }
    sockaddr_in peer = {};
    socklen_t length = sizeof(peer);
    if (!is_ready(listener, POLLIN, wait::until_it_arrives))
        return "";
    int accepted = accept4(listener, reinterpret_cast<sockaddr *>(&peer), &length, SOCK_CLOEXEC);
    if (accepted < 0)
        fail("accept");
    sockets.push_back(accepted);

    if (!request.empty()) {
        if (send(fd, request.data(), request.size(), MSG_NOSIGNAL) < 0)
            fail("send");
        if (!is_ready(accepted, POLLIN, how_long))
            return "";
    }
    char text[INET_ADDRSTRLEN];
    return inet_ntop(AF_INET, &peer.sin_addr, text, sizeof(text));
}

static uint16_t checksum_of(const icmphdr &header)
{
    uint16_t words[sizeof(header) / 2];
    memcpy(words, &header, sizeof(header));
    uint32_t sum = 0;
    for (uint16_t word : words)
        sum += word;
    sum = (sum >> 16) + (sum & 0xffff);
    sum += sum >> 16;
    return static_cast<uint16_t>(~sum);
}

static void send_echo_request(int fd, const sockaddr_in &to, uint16_t id)
{
    icmphdr request = {};
    request.type = ICMP_ECHO;
    request.un.echo.id = id;
    request.checksum = checksum_of(request);
    if (sendto(fd, &request, sizeof(request), 0, reinterpret_cast<const sockaddr *>(&to),
               sizeof(to)) < 0)
        fail("sendto");
}

static bool is_echo_reply(const char *packet, size_t length, uint16_t id)
{
    constexpr size_t IP_HEADER = 20;
    icmphdr answer = {};
    if (length < IP_HEADER + sizeof(answer))
        return false;
    memcpy(&answer, packet + IP_HEADER, sizeof(answer));
    return answer.type == ICMP_ECHOREPLY && answer.un.echo.id == id;
}

bool wired_hosts::ping(const std::string &host, const std::string &from, const std::string &to,
                       wait how_long)
{
    int fd = open_socket(host, SOCK_RAW, IPPROTO_ICMP, from, 0);
    uint16_t id = next_echo_id++;
    send_echo_request(fd, to_address(to, 0), id);
    while (is_ready(fd, POLLIN, how_long)) {
        char packet[1500];
        ssize_t length = recv(fd, packet, sizeof(packet), 0);
        if (length > 0 && is_echo_reply(packet, static_cast<size_t>(length), id))
            return true;
    }
    return false;
}

void wired_hosts::flood(const std::string &host, const std::string &from, const std::string &to,
                        int count)
{
    int fd = open_socket(host, SOCK_RAW, IPPROTO_ICMP, from, 0);
    sockaddr_in inet = to_address(to, 0);
    for (int i = 0; i < count; i++)
        send_echo_request(fd, inet, next_echo_id++);
}

int wired_hosts::packets(const std::string &host, const std::string &table, const std::string &text)
{
    int count = 0;
    bool is_found = false;
    std::istringstream rules(run(host, {"iptables-legacy-save", "-c", "-t", table}));
    for (std::string line; std::getline(rules, line);) {
        if (line[0] != '[' || line.find(text) == std::string::npos)
            continue;
        is_found = true;
        count += std::stoi(line.substr(1));
    }
    if (!is_found)
        throw std::runtime_error("no rule of " + table + " holds: " + text);
    return count;
}

} // namespace support
