#include "wan/lease_routes.h"

#include "config/params.h"
#include "lan/route.h"
#include "util/log.h"
#include "util/text.h"

#include <arpa/inet.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

constexpr int LEASE_ROUTE_METRIC = 1;
constexpr int PREFIX_MAX = 32;

// Handle one pair of words; false ends the list.
using take_pair = bool (*)(const char *iface, char *first, char *second);

static void for_each_pair(const char *iface, const char *text, take_pair take)
{
    char *copy = strdup(text);
    if (copy == nullptr) {
        perror(iface);
        return;
    }
    trim_r(copy);
    char *rest = nullptr;
    char *first = strtok_r(copy, " ", &rest);
    char *second = strtok_r(nullptr, " ", &rest);
    while (second != nullptr && take(iface, first, second)) {
        first = strtok_r(nullptr, " ", &rest);
        second = strtok_r(nullptr, " ", &rest);
    }
    free(copy);
}

static bool add_host_route(const char *iface, char *destination, char *gateway)
{
    route_add(iface, LEASE_ROUTE_METRIC, destination, gateway, "255.255.255.255");
    return true;
}

void add_host_routes(const char *iface, const char *routes)
{
    for_each_pair(iface, routes, add_host_route);
}

static bool is_prefix(int length)
{
    return length >= 1 && length <= PREFIX_MAX;
}

static uint32_t netmask_of(int prefix)
{
    return UINT32_MAX << (PREFIX_MAX - prefix);
}

// The address, its first octet the most significant one, as dotted quad.
static const char *quad(char (&out)[IPV4_TEXT_MAX], uint32_t address)
{
    uint32_t address_be = htonl(address);
    return inet_ntop(AF_INET, &address_be, out, sizeof(out));
}

static bool add_static_route(const char *iface, char *destination, char *gateway)
{
    char *slash = strchr(destination, '/');
    int prefix = slash != nullptr ? text_to_int(slash + 1) : 0;
    if (!is_prefix(prefix))
        return false;
    *slash = '\0';
    char netmask[IPV4_TEXT_MAX];
    quad(netmask, netmask_of(prefix));
    logmessage(LEASE_TAG, "netmask = %s, gateway = %s, ipaddr = %s", netmask, gateway, destination);
    route_add(iface, LEASE_ROUTE_METRIC, destination, gateway, netmask);
    return true;
}

void add_static_routes(const char *iface, const char *routes)
{
    for_each_pair(iface, routes, add_static_route);
}

static bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

// The decimal number at the cursor, which moves behind it. Stops growing once it is no prefix
// length, so that it cannot wrap round to one.
static int read_prefix(const char **cursor)
{
    int number = 0;
    for (; is_digit(**cursor); (*cursor)++) {
        if (number <= PREFIX_MAX)
            number = number * 10 + (**cursor - '0');
    }
    return number;
}

// The low eight bits of the decimal number at the cursor, which moves behind it. However long the
// number, wrapping round does not touch them.
static uint32_t read_octet(const char **cursor)
{
    uint32_t number = 0;
    for (; is_digit(**cursor); (*cursor)++)
        number = number * 10 + static_cast<uint32_t>(**cursor - '0');
    return number & 0xff;
}

enum class octets {
    all,      // every octet must be there
    till_end, // the end of the text may cut them short
};

// Read count octets, each behind one blank, into the most significant places of *address, which is
// 0 before. Returns false when one is not there.
static bool read_octets(const char **cursor, int count, octets how, uint32_t *address)
{
    for (int i = 0; i < count; i++) {
        if (how == octets::till_end && **cursor == '\0')
            break;
        if (**cursor != ' ' || !is_digit((*cursor)[1]))
            return false;
        (*cursor)++;
        *address |= read_octet(cursor) << (24 - 8 * i);
    }
    return true;
}

static void add_classless_route(const char *iface, int prefix, uint32_t destination,
                                uint32_t router)
{
    char texts[3][IPV4_TEXT_MAX];
    uint32_t netmask = netmask_of(prefix);
    route_add(iface, LEASE_ROUTE_METRIC, quad(texts[0], destination & netmask),
              quad(texts[1], router), quad(texts[2], netmask));
}

bool add_classless_routes(const char *iface, const char *routes)
{
    const char *cursor = routes;
    while (is_digit(*cursor)) {
        int prefix = read_prefix(&cursor);
        if (!is_prefix(prefix) || *cursor != ' ')
            break;
        uint32_t destination = 0;
        uint32_t router = 0;
        if (!read_octets(&cursor, (prefix + 7) / 8, octets::all, &destination) ||
            !read_octets(&cursor, 4, octets::till_end, &router))
            return false;
        add_classless_route(iface, prefix, destination, router);
        if (*cursor == ' ')
            cursor++;
    }
    return true;
}
