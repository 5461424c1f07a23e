// IPv4 routes, one at a time, through the kernel.
#pragma once

// Add or delete the route to destination over device. destination, gateway and netmask are dotted
// quads, null or "" for 0.0.0.0: a settings line that ends early leaves "" behind. A gateway of
// 0.0.0.0 is no gateway, and a netmask of 255.255.255.255 makes a host route. metric goes to the
// kernel unchanged (16 bits), which counts from 1: callers with a configured metric pass it plus 1.
// Of the device name, 15 characters are used.
// Returns 0, or the error number, which is reported on standard error with device as prefix.
int route_add(const char *device, int metric, const char *destination, const char *gateway,
              const char *netmask);
int route_del(const char *device, int metric, const char *destination, const char *gateway,
              const char *netmask);
