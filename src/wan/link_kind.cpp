#include "wan/link_kind.h"

#include <string.h>

constexpr link_kind kinds[] = {
    {"vlan2", "wan", "ether", 101},
    {"wimax0", "wimax", "wimax", 100},
};

constexpr link_kind other_kind = {"", "unknown", "unknown", 200};

const link_kind *get_link_kind(const char *iface)
{
    for (const link_kind &kind : kinds) {
        if (iface != nullptr && strcmp(kind.iface, iface) == 0)
            return &kind;
    }
    return &other_kind;
}
