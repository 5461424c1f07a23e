#include "util/ip_query.h"

#include "util/ioctl_request.h"
#include "util/log.h"
#include "util/text.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <net/if.h>
#include <netinet/in.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>

static int query(int fd, ioctl_request number, ifreq *request, const char *prefix,
                 char (&out)[QUERY_TEXT_MAX])
{
    if (ioctl(fd, number, request) < 0) {
        perror(prefix);
        return -1;
    }
    // The address is copied out: the record promises no alignment for it.
    sockaddr_in inet;
    memcpy(&inet, &request->ifr_addr, sizeof(inet));
    inet_ntop(AF_INET, &inet.sin_addr, out, sizeof(out));
    return 0;
}

int get_ip_mask_from_iface(const char *ifname, char (&ipaddr)[QUERY_TEXT_MAX],
                           char (&netmask)[QUERY_TEXT_MAX])
{
    // Never closed: this process asks once and ends soon. It is no business of what it starts.
    int fd = socket(AF_INET, SOCK_DGRAM, 0);
    if (fd < 0) {
        perror("socket");
        return -1;
    }
    fcntl(fd, F_SETFD, FD_CLOEXEC);
    ifreq request = {};
    text_set(request.ifr_name, ifname);
    if (query(fd, SIOCGIFADDR, &request, "ioctl SIOCGIFADDR", ipaddr) != 0)
        return -1;
    if (query(fd, SIOCGIFNETMASK, &request, "ioctl SIOCGIFNETMASK", netmask) != 0)
        return -1;
    logmessage("get_ip_mask_from_iface", "ipaddr = %s, mask = %s\n", ipaddr, netmask);
    return 0;
}

static int prefix_length(uint32_t mask)
{
    return mask == 0 ? 0 : 32 - __builtin_ctz(mask);
}

int ip2class(const char *ipaddr, const char *netmask, char (&out)[NETWORK_TEXT_MAX])
{
    in_addr_t mask_be = inet_addr(netmask);
    in_addr network = {inet_addr(ipaddr) & mask_be};
    char text[INET_ADDRSTRLEN];
    inet_ntop(AF_INET, &network, text, sizeof(text));
    text_format(out, sizeof(out), "%s/%d", text, prefix_length(ntohl(mask_be)));
    return static_cast<int>(strlen(out));
}
