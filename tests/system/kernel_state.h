// What the kernel of a world knows, read back with iproute2 and written one fact a line.
#pragma once

#include "support/world.h"

#include <jansson.h>
#include <string>
#include <vector>

namespace kernel_state
{

inline std::string text_of(const json_t *object, const char *key, const char *prefix = "")
{
    const json_t *value = json_object_get(object, key);
    if (json_is_string(value))
        return prefix + std::string(json_string_value(value));
    if (json_is_integer(value))
        return prefix + std::to_string(json_integer_value(value));
    return "";
}

inline json_t *ask(support::world &world, const std::vector<std::string> &words)
{
    std::string answer = world.in_network(words);
    json_t *value = json_loads(answer.c_str(), 0, nullptr);
    return value != nullptr ? value : json_array(); // iproute2 writes nothing for no entries
}

// The IPv4 routes that did not come with an address, in the order of the routing table:
// "DESTINATION via GATEWAY dev IFACE metric METRIC", without what a route does not have.
inline std::string routes(support::world &world)
{
    json_t *list = ask(world, {"ip", "-4", "-json", "route", "show"});
    std::string result;
    for (size_t i = 0; i < json_array_size(list); i++) {
        const json_t *route = json_array_get(list, i);
        if (text_of(route, "protocol") != "kernel")
            result += text_of(route, "dst") + text_of(route, "gateway", " via ") +
                      text_of(route, "dev", " dev ") + text_of(route, "metric", " metric ") + "\n";
    }
    json_decref(list);
    return result;
}

// "up" or "down", and the IPv4 addresses: "up 192.0.2.10/24 broadcast 192.0.2.255".
inline std::string interface(support::world &world, const std::string &name)
{
    json_t *list = ask(world, {"ip", "-json", "addr", "show", "dev", name});
    const json_t *link = json_array_get(list, 0);
    json_t *flags = json_object_get(link, "flags");
    std::string result = "down";
    for (size_t i = 0; i < json_array_size(flags); i++) {
        if (json_string_value(json_array_get(flags, i)) == std::string("UP"))
            result = "up";
    }
    json_t *addresses = json_object_get(link, "addr_info");
    for (size_t i = 0; i < json_array_size(addresses); i++) {
        const json_t *address = json_array_get(addresses, i);
        if (text_of(address, "family") != "inet")
            continue;
        result += text_of(address, "local", " ") + text_of(address, "prefixlen", "/") +
                  text_of(address, "broadcast", " broadcast ");
    }
    json_decref(list);
    return result;
}

} // namespace kernel_state
