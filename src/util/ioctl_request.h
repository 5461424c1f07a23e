// The type that a request's number has for ioctl(): the C libraries do not agree on it. glibc has
// an unsigned long, musl an int, and each compiler would warn of the other's.
#pragma once

#include <sys/ioctl.h>

template <typename Number> Number number_of_request(int (*)(int, Number, ...));
using ioctl_request = decltype(number_of_request(ioctl));
