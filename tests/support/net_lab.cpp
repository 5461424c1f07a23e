#include "support/net_lab.h"

#include <arpa/inet.h>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/ip_icmp.h>
#include <poll.h>
#include <sched.h>
#include <sstream>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace support
{

[[noreturn]] static void fail(const std::string &what)
{
    throw std::runtime_error(what + ": " + std::strerror(errno));
}

// For children of the test process, which must never return into the test.
[[noreturn]] static void die(const char *what)
{
    perror(what);
    _exit(126);
}

static void write_proc(const char *path, const std::string &text)
{
    int fd = open(path, O_WRONLY);
    if (fd < 0 || write(fd, text.data(), text.size()) < 0)
        die(path);
    close(fd);
}

// An ordinary user may have networks only below a user namespace of its own.
static bool needs_user_namespace()
{
    return geteuid() != 0;
}

static void enter_user_namespace()
{
    std::string uid = std::to_string(getuid());
    std::string gid = std::to_string(getgid());
    if (unshare(CLONE_NEWUSER) != 0)
        die("user namespace");
    write_proc("/proc/self/setgroups", "deny");
    write_proc("/proc/self/uid_map", "0 " + uid + " 1");
    write_proc("/proc/self/gid_map", "0 " + gid + " 1");
}

static void join(pid_t holder, const char *kind, int flag)
{
    std::string path = "/proc/" + std::to_string(holder) + "/ns/" + kind;
    int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0 || setns(fd, flag) != 0)
        die(path.c_str());
    close(fd);
}

static void join_host(pid_t holder)
{
    if (needs_user_namespace())
        join(holder, "user", CLONE_NEWUSER);
    join(holder, "net", CLONE_NEWNET);
}

static void reap(pid_t child, int *status)
{
    while (waitpid(child, status, 0) < 0) {
        if (errno != EINTR)
            fail("waitpid");
    }
}

static std::string content_of(int fd)
{
    std::string content;
    char buffer[65536];
    lseek(fd, 0, SEEK_SET);
    for (ssize_t n = read(fd, buffer, sizeof(buffer)); n > 0; n = read(fd, buffer, sizeof(buffer)))
        content.append(buffer, static_cast<size_t>(n));
    return content;
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

static void send_descriptor(int over, int fd)
{
    char byte = 0;
    iovec data = {&byte, 1};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr message = {};
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof(control);
    cmsghdr *header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof(int));
    memcpy(CMSG_DATA(header), &fd, sizeof(fd));
    if (sendmsg(over, &message, 0) < 0)
        die("sendmsg");
}

// Returns -1 when the other end has closed without sending one.
static int receive_descriptor(int over)
{
    char byte = 0;
    iovec data = {&byte, 1};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr message = {};
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof(control);
    if (recvmsg(over, &message, MSG_CMSG_CLOEXEC) <= 0)
        return -1;
    cmsghdr *header = CMSG_FIRSTHDR(&message);
    if (header == nullptr)
        return -1;
    int fd = -1;
    memcpy(&fd, CMSG_DATA(header), sizeof(fd));
    return fd;
}

net_lab::net_lab()
{
    char name[] = "/tmp/net_lab_lock_XXXXXX";
    int fd = mkstemp(name);
    if (fd < 0)
        fail(name);
    close(fd);
    lock_file = name;
}

net_lab::~net_lab()
{
    for (int fd : sockets)
        close(fd);
    for (const host_process &host : hosts) {
        kill(host.pid, SIGKILL);
        waitpid(host.pid, nullptr, 0);
    }
    unlink(lock_file.c_str());
}

pid_t net_lab::holder_of(const std::string &host) const
{
    for (const host_process &row : hosts) {
        if (row.name == host)
            return row.pid;
    }
    throw std::runtime_error("no such host: " + host);
}

// A host is a process that holds the namespace and does nothing. All of them share the first one's
// user namespace, so that cables can be laid between them.
void net_lab::add_host(const std::string &host)
{
    int ready[2];
    if (pipe2(ready, O_CLOEXEC) != 0)
        fail("pipe");
    pid_t first = hosts.empty() ? 0 : hosts.front().pid;
    pid_t pid = fork();
    if (pid < 0)
        fail("fork");
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (needs_user_namespace() && first == 0)
            enter_user_namespace();
        else if (needs_user_namespace())
            join(first, "user", CLONE_NEWUSER);
        prctl(PR_SET_PDEATHSIG, SIGKILL); // joining another user namespace takes it back
        if (unshare(CLONE_NEWNET) != 0)
            die("network namespace");
        if (write(ready[1], "", 1) != 1)
            die("pipe");
        close(ready[1]);
        for (;;)
            pause();
    }
    hosts.push_back({host, pid});
    close(ready[1]);
    char byte;
    bool is_up = read(ready[0], &byte, 1) == 1;
    close(ready[0]);
    if (!is_up)
        throw std::runtime_error("this machine does not let the test have a network of its own");
    ip(host, "link set lo up");
}

void net_lab::cable(const std::string &a, const std::string &a_iface, const std::string &b,
                    const std::string &b_iface)
{
    ip(a, "link add " + a_iface + " type veth peer name " + b_iface + " netns " +
              std::to_string(holder_of(b)));
    ip(a, "link set " + a_iface + " up");
    ip(b, "link set " + b_iface + " up");
}

lab_result net_lab::try_run(const std::string &host, const std::vector<std::string> &command,
                            const std::string &input)
{
    pid_t holder = holder_of(host);
    std::vector<char *> argv;
    for (const std::string &word : command)
        argv.push_back(const_cast<char *>(word.c_str()));
    argv.push_back(nullptr);

    int files[3];
    for (int &fd : files) {
        fd = memfd_create("net_lab", MFD_CLOEXEC);
        if (fd < 0)
            fail("memfd_create");
    }
    if (write(files[0], input.data(), input.size()) != static_cast<ssize_t>(input.size()))
        fail("input");
    lseek(files[0], 0, SEEK_SET);

    pid_t pid = fork();
    if (pid < 0)
        fail("fork");
    if (pid == 0) {
        for (int fd = 0; fd < 3; fd++)
            dup2(files[fd], fd);
        join_host(holder);
        setenv("XTABLES_LOCKFILE", lock_file.c_str(), 1);
        setenv("PATH", "/usr/sbin:/usr/bin:/sbin:/bin", 1);
        execvp(argv[0], argv.data());
        die(argv[0]);
    }
    int status = 0;
    reap(pid, &status);
    lab_result result = {WIFEXITED(status) ? WEXITSTATUS(status) : -1, content_of(files[1]),
                         content_of(files[2])};
    for (int fd : files)
        close(fd);
    return result;
}

std::string net_lab::run(const std::string &host, const std::vector<std::string> &command,
                         const std::string &input)
{
    lab_result result = try_run(host, command, input);
    if (result.status != 0) {
        std::string line;
        for (const std::string &word : command)
            line += word + " ";
        throw std::runtime_error(line + "on " + host + ": status " + std::to_string(result.status) +
                                 "\n" + result.err);
    }
    return result.out;
}

void net_lab::ip(const std::string &host, const std::string &lines)
{
    run(host, {"ip", "-batch", "-"}, lines + "\n");
}

// A socket lives in the network that its maker is in, so a child that goes there makes it and hands
// it back.
int net_lab::open_socket(const std::string &host, int type, int protocol,
                         const std::string &address, int port)
{
    pid_t holder = holder_of(host);
    sockaddr_in inet = to_address(address, port);
    int pair[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0)
        fail("socketpair");
    pid_t pid = fork();
    if (pid < 0)
        fail("fork");
    if (pid == 0) {
        join_host(holder);
        int fd = socket(AF_INET, type | SOCK_NONBLOCK, protocol);
        int yes = 1;
        setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
        if (fd < 0 || bind(fd, reinterpret_cast<sockaddr *>(&inet), sizeof(inet)) != 0)
            die("socket");
        send_descriptor(pair[1], fd);
        _exit(0);
    }
    close(pair[1]);
    int fd = receive_descriptor(pair[0]);
    close(pair[0]);
    int status = 0;
    reap(pid, &status);
    if (fd < 0)
        throw std::runtime_error("no socket on " + host + " for " + address);
    sockets.push_back(fd);
    return fd;
}

int net_lab::listen(const std::string &host, const std::string &address, int port)
{
    int fd = open_socket(host, SOCK_STREAM, 0, address, port);
    if (::listen(fd, 16) != 0)
        fail("listen");
    return fd;
}

std::string net_lab::connect(const std::string &host, const std::string &from,
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

bool net_lab::ping(const std::string &host, const std::string &from, const std::string &to,
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

void net_lab::flood(const std::string &host, const std::string &from, const std::string &to,
                    int count)
{
    int fd = open_socket(host, SOCK_RAW, IPPROTO_ICMP, from, 0);
    sockaddr_in inet = to_address(to, 0);
    for (int i = 0; i < count; i++)
        send_echo_request(fd, inet, next_echo_id++);
}

int net_lab::packets(const std::string &host, const std::string &table, const std::string &text)
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
