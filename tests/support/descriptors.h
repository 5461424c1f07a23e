// Which descriptors are open: what a routine leaves open is one more.
#pragma once

#include <fcntl.h>
#include <set>

namespace support
{

inline std::set<int> open_descriptors()
{
    std::set<int> open;
    for (int fd = 0; fd < 1024; fd++) {
        if (fcntl(fd, F_GETFD) >= 0)
            open.insert(fd);
    }
    return open;
}

} // namespace support
