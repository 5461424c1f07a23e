// What the kernel holds about the interfaces and routes of a world, read back with iproute2.
#pragma once

#include "support/world.h"

#include <jansson.h>
#include <memory>
#include <stdexcept>
#include <string>

using json_document = std::unique_ptr<json_t, decltype(&json_decref)>;

inline json_document ask_ip(support::world &world, std::vector<std::string> words)
{
    words.insert(words.begin(), {"ip", "-json"});
    std::string text = world.in_network(words);
    json_document document(json_loads(text.c_str(), 0, nullptr), json_decref);
    if (!document)
        throw std::runtime_error("ip wrote no JSON: " + text);
    return document;
}

// A member as text, with before in front of it; "" when it is missing.
inline std::string member_of(const json_t *object, const char *key, const char *before = "")
{
    const json_t *value = json_object_get(object, key);
    if (json_is_string(value))
        return before + std::string(json_string_value(value));
    return json_is_integer(value) ? before + std::to_string(json_integer_value(value)) : "";
}

inline std::string joined_texts(const json_t *array)
{
    std::string text;
    for (size_t i = 0; i < json_array_size(array); i++)
        text += (i == 0 ? "" : ",") + std::string(json_string_value(json_array_get(array, i)));
    return text;
}

// The interface's IPv4 addresses, each as "192.168.0.1/24 brd 192.168.0.255;".
inline std::string addresses_of(support::world &world, const std::string &iface)
{
    json_document links = ask_ip(world, {"-4", "address", "show", "dev", iface});
    const json_t *infos = json_object_get(json_array_get(links.get(), 0), "addr_info");
    std::string text;
    for (size_t i = 0; i < json_array_size(infos); i++) {
        const json_t *info = json_array_get(infos, i);
        text += member_of(info, "local") + member_of(info, "prefixlen", "/") +
                member_of(info, "broadcast", " brd ") + ";";
    }
    return text;
}

// The interface's flags, for instance "BROADCAST,MULTICAST,UP,LOWER_UP".
inline std::string flags_of(support::world &world, const std::string &iface)
{
    json_document links = ask_ip(world, {"link", "show", "dev", iface});
    return joined_texts(json_object_get(json_array_get(links.get(), 0), "flags"));
}

// The routes over the interface in the main table, except those that the kernel adds for addresses,
// each as "10.0.0.0/8 via 192.168.0.254 metric 5 scope link;".
inline std::string routes_over(support::world &world, const std::string &iface)
{
    json_document routes = ask_ip(world, {"-details", "route", "show", "dev", iface});
    std::string text;
    for (size_t i = 0; i < json_array_size(routes.get()); i++) {
        const json_t *route = json_array_get(routes.get(), i);
        if (member_of(route, "protocol") == "kernel")
            continue;
        text += member_of(route, "dst") + member_of(route, "gateway", " via ") +
                member_of(route, "metric", " metric ") + member_of(route, "scope", " scope ") + ";";
    }
    return text;
}
