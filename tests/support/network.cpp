// The network of a world, made over the kernel's netlink interface: calling a tool for it would
// cost more than the rest of a box together.
#include "support/namespaces.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <linux/veth.h>
#include <net/if.h>
#include <sched.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace support
{

namespace
{

// A netlink message that is put together attribute by attribute.
class message
{
  public:
    message(int type, int flags)
    {
        nlmsghdr header = {};
        header.nlmsg_type = uint16_t(type);
        header.nlmsg_flags = uint16_t(flags);
        add_bytes(&header, sizeof header);
    }

    void add_interface(unsigned flags)
    {
        ifinfomsg record = {};
        record.ifi_flags = record.ifi_change = flags;
        add_bytes(&record, sizeof record);
    }

    void add(int type, const void *value, size_t size)
    {
        size_t place = open(type);
        add_bytes(value, size);
        close(place);
    }

    void add(int type, const std::string &value) { add(type, value.c_str(), value.size() + 1); }

    // An attribute that holds others: everything added until close() of what this returned.
    size_t open(int type)
    {
        rtattr header = {};
        header.rta_type = uint16_t(type);
        size_t place = bytes.size();
        add_bytes(&header, sizeof header);
        return place;
    }

    void close(size_t place)
    {
        uint16_t length = uint16_t(bytes.size() - place);
        memcpy(&bytes[place], &length, sizeof length); // rta_len stands first
        bytes.resize(NLMSG_ALIGN(bytes.size()));
    }

    // Sends it and waits for the kernel's answer. Returns 0 or an error number.
    int send()
    {
        uint32_t length = uint32_t(bytes.size());
        memcpy(&bytes[0], &length, sizeof length); // nlmsg_len stands first
        int netlink = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
        char answer[8192];
        ssize_t got = -1;
        if (netlink >= 0 && ::send(netlink, bytes.data(), bytes.size(), 0) >= 0)
            got = recv(netlink, answer, sizeof answer, 0);
        int error = got < 0 ? errno : EPROTO;
        if (netlink >= 0)
            ::close(netlink);
        nlmsgerr record;
        if (got < ssize_t(NLMSG_HDRLEN + sizeof record.error))
            return error;
        memcpy(&record.error, answer + NLMSG_HDRLEN, sizeof record.error);
        return -record.error;
    }

  private:
    void add_bytes(const void *data, size_t size)
    {
        bytes.append(static_cast<const char *>(data), size);
        bytes.resize(NLMSG_ALIGN(bytes.size()));
    }

    std::string bytes;
};

const int create = NLM_F_REQUEST | NLM_F_ACK | NLM_F_CREATE | NLM_F_EXCL;

int make_bridge(const std::string &name)
{
    message request(RTM_NEWLINK, create);
    request.add_interface(0);
    request.add(IFLA_IFNAME, name);
    size_t info = request.open(IFLA_LINKINFO);
    request.add(IFLA_INFO_KIND, "bridge");
    request.close(info);
    return request.send();
}

int open_network()
{
    return out_of_the_way(open("/proc/self/ns/net", O_RDONLY | O_CLOEXEC));
}

// Runs in the network at the other end of the cables, which is made when it is first needed. It
// lives as long as the descriptor, that is, as this process.
int in_far_network(int (*make)(const std::string &name, int near), const std::string &name)
{
    static int far = -1;
    int near = open_network();
    if (near < 0 || (far < 0 ? unshare(CLONE_NEWNET) : setns(far, CLONE_NEWNET)) != 0)
        fail("the network of the other ends");
    if (far < 0)
        far = open_network();
    int error = make(name, near);
    if (setns(near, CLONE_NEWNET) != 0)
        fail("the way back from the network of the other ends");
    close(near);
    return error;
}

int lay_cable(const std::string &here, int there, const std::string &name_there)
{
    message request(RTM_NEWLINK, create);
    request.add_interface(0);
    request.add(IFLA_IFNAME, here);
    size_t info = request.open(IFLA_LINKINFO);
    request.add(IFLA_INFO_KIND, "veth");
    size_t data = request.open(IFLA_INFO_DATA);
    size_t peer = request.open(VETH_INFO_PEER);
    request.add_interface(0);
    request.add(IFLA_IFNAME, name_there);
    request.add(IFLA_NET_NS_FD, &there, sizeof there);
    request.close(peer);
    request.close(data);
    request.close(info);
    int error = request.send();
    if (error != 0)
        return error;
    message up(RTM_NEWLINK, NLM_F_REQUEST | NLM_F_ACK);
    up.add_interface(IFF_UP);
    up.add(IFLA_IFNAME, here);
    return up.send();
}

int make_veth(const std::string &name, int near)
{
    static int number = 0;
    return lay_cable("far" + std::to_string(number++), near, name);
}

void write_setting(const char *path, const char *value)
{
    int file = open(path, O_WRONLY | O_CLOEXEC);
    if (file < 0 && errno == ENOENT)
        return; // a kernel without IPv6
    if (file < 0 || write(file, value, strlen(value)) < 0)
        fail(path);
    close(file);
}

} // namespace

void fresh_network()
{
    if (unshare(CLONE_NEWNET) != 0)
        fail("a network of its own");
    write_setting("/proc/sys/net/ipv6/conf/all/disable_ipv6", "1");
    write_setting("/proc/sys/net/ipv6/conf/default/disable_ipv6", "1");
}

static void expect_made(const std::string &name, int error)
{
    if (error != 0)
        throw std::runtime_error("interface " + name + ": " + strerror(error));
}

void make_cable(const std::string &here, int there, const std::string &name_there)
{
    expect_made(here, lay_cable(here, there, name_there));
}

void make_interface(const std::string &name)
{
    bool is_bridge = name.compare(0, 2, "br") == 0;
    expect_made(name, is_bridge ? make_bridge(name) : in_far_network(make_veth, name));
}

} // namespace support
