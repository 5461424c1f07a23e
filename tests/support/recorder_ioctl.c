// Requests to devices: those about interfaces and routes go to the real kernel of the world's own
// network, those to the router's board are played (recorder_board.c), and both are noted.
#include "support/recorder_board.h"
#include "support/recorder_calls.h"
#include "support/recorder_failing.h"

#include <arpa/inet.h>
#include <errno.h>
#include <net/if.h>
#include <net/route.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <sys/ioctl.h>
#include <unistd.h>

// musl's prototype differs from glibc's.
#ifdef __GLIBC__
typedef unsigned long ioctl_request;
#else
typedef int ioctl_request;
#endif

static int real_ioctl(int descriptor, unsigned long request, void *argument)
{
    static int (*real)(int, unsigned long, ...);
    if (real == NULL)
        find_real("ioctl", &real);
    return real(descriptor, request, argument);
}

// ---- interfaces and routes

enum value { VALUE_NONE, VALUE_FLAGS, VALUE_ADDRESS, VALUE_NUMBER, VALUE_HARDWARE };

static const struct interface_request {
    unsigned long request;
    const char *name;
    bool reads;
    enum value value;
} interface_requests[] = {
    {SIOCSIFFLAGS, "SIOCSIFFLAGS", false, VALUE_FLAGS},
    {SIOCGIFFLAGS, "SIOCGIFFLAGS", true, VALUE_FLAGS},
    {SIOCSIFADDR, "SIOCSIFADDR", false, VALUE_ADDRESS},
    {SIOCGIFADDR, "SIOCGIFADDR", true, VALUE_ADDRESS},
    {SIOCSIFNETMASK, "SIOCSIFNETMASK", false, VALUE_ADDRESS},
    {SIOCGIFNETMASK, "SIOCGIFNETMASK", true, VALUE_ADDRESS},
    {SIOCSIFBRDADDR, "SIOCSIFBRDADDR", false, VALUE_ADDRESS},
    {SIOCGIFBRDADDR, "SIOCGIFBRDADDR", true, VALUE_ADDRESS},
    {SIOCSIFDSTADDR, "SIOCSIFDSTADDR", false, VALUE_ADDRESS},
    {SIOCGIFDSTADDR, "SIOCGIFDSTADDR", true, VALUE_ADDRESS},
    {SIOCSIFMTU, "SIOCSIFMTU", false, VALUE_NUMBER},
    {SIOCGIFMTU, "SIOCGIFMTU", true, VALUE_NUMBER},
    {SIOCGIFINDEX, "SIOCGIFINDEX", true, VALUE_NUMBER},
    {SIOCSIFHWADDR, "SIOCSIFHWADDR", false, VALUE_HARDWARE},
    {SIOCGIFHWADDR, "SIOCGIFHWADDR", true, VALUE_HARDWARE},
};

static const struct interface_request *find_request(unsigned long request)
{
    for (size_t i = 0; i < sizeof interface_requests / sizeof *interface_requests; i++)
        if (interface_requests[i].request == request)
            return &interface_requests[i];
    return NULL;
}

static void print_address(struct line *line, const struct sockaddr *address)
{
    struct sockaddr_in inet;
    char text[INET_ADDRSTRLEN];
    memcpy(&inet, address, sizeof inet);
    inet_ntop(AF_INET, &inet.sin_addr, text, sizeof text);
    line_print(line, "%s", text);
}

static void print_value(struct line *line, const struct ifreq *request, enum value value)
{
    const unsigned char *mac = (const unsigned char *)request->ifr_hwaddr.sa_data;
    switch (value) {
    case VALUE_NONE:
        break;
    case VALUE_FLAGS:
        line_print(line, "0x%x", (unsigned)(unsigned short)request->ifr_flags);
        break;
    case VALUE_ADDRESS:
        print_address(line, &request->ifr_addr);
        break;
    case VALUE_NUMBER:
        line_print(line, "%d", request->ifr_mtu);
        break;
    case VALUE_HARDWARE:
        line_print(line, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4],
                   mac[5]);
        break;
    }
}

void print_interface(struct line *line, const struct ifreq *request)
{
    char name[IFNAMSIZ + 1] = "";
    memcpy(name, request->ifr_name, IFNAMSIZ); // which may lack its terminator
    line_print(line, "ioctl ");
    line_word(line, name);
}

static int interface_ioctl(int descriptor, unsigned long code, struct ifreq *request)
{
    static const struct interface_request unknown = {0, NULL, false, VALUE_NONE};
    const struct interface_request *known = find_request(code);
    int result;
    struct line event = LINE_EMPTY;
    struct line answer = LINE_EMPTY;
    print_interface(&event, request);
    if (known != NULL)
        line_print(&event, " %s", known->name);
    else
        line_print(&event, " 0x%lx", code);
    known = known != NULL ? known : &unknown;
    if (known->value != VALUE_NONE && !known->reads) {
        line_print(&event, " ");
        print_value(&event, request, known->value);
    }
    if (!answered_by_rule(&event, &result)) {
        result = real_ioctl(descriptor, code, request);
        line_print(&answer, " -> ");
        print_value(&answer, request, known->value);
        trace_outcome(&event, result, known->reads ? answer.text : NULL);
    }
    line_free(&answer);
    line_free(&event);
    return result;
}

// The kernel takes the three addresses of a route for what their families say, so a family left out
// belongs in the trace.
static void print_families(struct line *line, const struct rtentry *route)
{
    unsigned destination = route->rt_dst.sa_family;
    unsigned gateway = route->rt_gateway.sa_family;
    unsigned mask = route->rt_genmask.sa_family;
    if (destination != AF_INET || gateway != AF_INET || mask != AF_INET)
        line_print(line, " families %u,%u,%u", destination, gateway, mask);
}

static void print_route(struct line *line, const char *name, const struct rtentry *route)
{
    struct sockaddr_in gateway;
    memcpy(&gateway, &route->rt_gateway, sizeof gateway);
    line_print(line, "ioctl ");
    line_word(line, route->rt_dev != NULL ? route->rt_dev : "-");
    line_print(line, " %s ", name);
    print_address(line, &route->rt_dst);
    line_print(line, "/");
    print_address(line, &route->rt_genmask);
    if (gateway.sin_addr.s_addr != 0) {
        line_print(line, " via ");
        print_address(line, &route->rt_gateway);
    }
    line_print(line, " metric %d flags 0x%x", route->rt_metric, (unsigned)route->rt_flags);
    print_families(line, route);
}

static int route_ioctl(int descriptor, unsigned long code, struct rtentry *route)
{
    int result;
    struct line event = LINE_EMPTY;
    print_route(&event, code == SIOCADDRT ? "SIOCADDRT" : "SIOCDELRT", route);
    if (!answered_by_rule(&event, &result)) {
        result = real_ioctl(descriptor, code, route);
        trace_outcome(&event, result, NULL);
    }
    line_free(&event);
    return result;
}

// ---- which is which

static bool is_socket_request(unsigned long code)
{
    return (code & ~0xffUL) == 0x8900;
}

static bool is_terminal_request(unsigned long code)
{
    return (code & 0xff00UL) == 0x5400 || code == TIOCNOTTY;
}

static bool is_device(int descriptor, char *path, size_t capacity)
{
    char link[64];
    int saved = errno;
    snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
    ssize_t length = readlink(link, path, capacity - 1);
    path[length > 0 ? length : 0] = '\0';
    errno = saved;
    return strncmp(path, "/dev/", 5) == 0 && strcmp(path, "/dev/null") != 0;
}

int ioctl(int descriptor, ioctl_request number, ...)
{
    char path[256];
    unsigned long code = (unsigned)number; // as the kernel takes it
    va_list arguments;
    va_start(arguments, number);
    void *argument = va_arg(arguments, void *);
    va_end(arguments);
    if (box_recording == RECORDING_OFF || is_terminal_request(code))
        return real_ioctl(descriptor, code, argument);
    if (call_fails(CALL_ioctl))
        return -1;
    RECORDERS_WORK;
    if (code == SIOCADDRT || code == SIOCDELRT)
        return route_ioctl(descriptor, code, argument);
    if (code >= SIOCDEVPRIVATE && code <= SIOCDEVPRIVATE + 15)
        return switch_ioctl(code, argument);
    if (is_socket_request(code) && code != SIOCGIFCONF)
        return interface_ioctl(descriptor, code, argument);
    if (!is_device(descriptor, path, sizeof path))
        return real_ioctl(descriptor, code, argument);
    if (strcmp(path, "/dev/gpio") == 0)
        return gpio_ioctl(code, argument);
    if (strcmp(path, "/dev/flash0") == 0)
        return flash_ioctl(descriptor, code, argument);
    return other_device_ioctl(path, code);
}
