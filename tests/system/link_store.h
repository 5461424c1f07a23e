// The link-state store of a world, read from outside.
#pragma once

#include "support/world.h"

#include <jansson.h>
#include <stdlib.h>
#include <string>
#include <vector>

namespace link_store
{

// The store's links in its order, each as JSON on one line. None when the store is missing or
// corrupt.
inline std::vector<std::string> links(const support::world &world)
{
    std::vector<std::string> result;
    if (!world.exists("/var/run/state_link"))
        return result;
    json_t *store = json_loads(world.read("/var/run/state_link").c_str(), 0, nullptr);
    json_t *list = json_object_get(store, "state_links");
    for (size_t i = 0; i < json_array_size(list); i++) {
        char *text = json_dumps(json_array_get(list, i), JSON_PRESERVE_ORDER | JSON_ENCODE_ANY);
        result.push_back(text);
        free(text);
    }
    json_decref(store);
    return result;
}

inline std::string last(const support::world &world)
{
    std::vector<std::string> all = links(world);
    return all.empty() ? "no link" : all.back();
}

} // namespace link_store
