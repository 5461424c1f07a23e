#include "ctl/check/settings.h"

#include "config/known_interfaces.h"

#include <string.h>

static_assert(INTERFACES == sizeof(known_interfaces) / sizeof(known_interfaces[0]));

const loaded_file &file_of(const settings &all, source which)
{
    return all.files[static_cast<size_t>(which)];
}

size_t find_interface(const char *name)
{
    size_t i = 0;
    while (i < INTERFACES && strcmp(known_interfaces[i].iface, name) != 0)
        i++;
    return i;
}
