// What the kernel of a world knows of its interfaces and routes, read back with iproute2 and
// written as texts.
#pragma once

#include "support/world.h"

#include <jansson.h>
#include <memory>
#include <string>
#include <vector>

namespace kernel_state
{

using answer = std::unique_ptr<json_t, decltype(&json_decref)>;

// "ip -json" with these words. It writes nothing where it finds nothing: that is an empty array.
inline answer ask(support::world &world, std::vector<std::string> words)
{
    words.insert(words.begin(), {"ip", "-json"});
    std::string text = world.in_network(words);
    json_t *value = json_loads(text.c_str(), 0, nullptr);
    return {value != nullptr ? value : json_array(), json_decref};
}

// A member as text, with before in front of it; "" when it is missing.
inline std::string text_of(const json_t *object, const char *key, const char *before = "")
{
    const json_t *value = json_object_get(object, key);
    if (json_is_string(value))
        return before + std::string(json_string_value(value));
    return json_is_integer(value) ? before + std::to_string(json_integer_value(value)) : "";
}

// The interface's flags, for instance "BROADCAST,MULTICAST,UP,LOWER_UP".
inline std::string flags(support::world &world, const std::string &iface)
{
    answer links = ask(world, {"link", "show", "dev", iface});
    const json_t *list = json_object_get(json_array_get(links.get(), 0), "flags");
    std::string text;
    for (size_t i = 0; i < json_array_size(list); i++)
        text += (i == 0 ? "" : ",") + std::string(json_string_value(json_array_get(list, i)));
    return text;
}

inline bool is_up(support::world &world, const std::string &iface)
{
    return ("," + flags(world, iface) + ",").find(",UP,") != std::string::npos;
}

// The interface's IPv4 addresses, "192.0.2.10/24 broadcast 192.0.2.255", joined by ", ".
inline std::string addresses(support::world &world, const std::string &iface)
{
    answer links = ask(world, {"-4", "address", "show", "dev", iface});
    const json_t *list = json_object_get(json_array_get(links.get(), 0), "addr_info");
    std::string text;
    for (size_t i = 0; i < json_array_size(list); i++) {
        const json_t *address = json_array_get(list, i);
        text += (i == 0 ? "" : ", ") + text_of(address, "local") +
                text_of(address, "prefixlen", "/") + text_of(address, "broadcast", " broadcast ");
    }
    return text;
}

// "up" or "down", and the addresses: "up 192.0.2.10/24 broadcast 192.0.2.255".
inline std::string interface(support::world &world, const std::string &iface)
{
    std::string all = addresses(world, iface);
    return (is_up(world, iface) ? "up" : "down") + (all.empty() ? "" : " " + all);
}

// The IPv4 routes that did not come with an address, in the order of the routing table, a line
// each: "DESTINATION via GATEWAY dev IFACE metric METRIC", without what a route does not have.
inline std::string routes(support::world &world)
{
    answer list = ask(world, {"-4", "route", "show"});
    std::string text;
    for (size_t i = 0; i < json_array_size(list.get()); i++) {
        const json_t *route = json_array_get(list.get(), i);
        if (text_of(route, "protocol") != "kernel")
            text += text_of(route, "dst") + text_of(route, "gateway", " via ") +
                    text_of(route, "dev", " dev ") + text_of(route, "metric", " metric ") + "\n";
    }
    return text;
}

// Those over one interface: "DESTINATION via GATEWAY metric METRIC scope SCOPE".
inline std::string routes_over(support::world &world, const std::string &iface)
{
    answer list = ask(world, {"-details", "route", "show", "dev", iface});
    std::string text;
    for (size_t i = 0; i < json_array_size(list.get()); i++) {
        const json_t *route = json_array_get(list.get(), i);
        if (text_of(route, "protocol") != "kernel")
            text += text_of(route, "dst") + text_of(route, "gateway", " via ") +
                    text_of(route, "metric", " metric ") + text_of(route, "scope", " scope ") +
                    "\n";
    }
    return text;
}

} // namespace kernel_state
