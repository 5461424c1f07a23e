// The router's NVRAM: settings as KEY=value pairs in numbered sections. Section 0 holds the
// device's identity (MAC addresses, serial number, PIN), section 1 the wireless settings under the
// driver's own key names.
//
// These are the calls of the board's own library, with C linkage, so that the program can be linked
// with that library instead (-DMCFG_NVRAM_LIBRARY=...). What is said of files here is the built-in
// store of nvram.cpp, one text file /etc/nvram/N for section N: see mcfg-nvram(5).
//
// A value that is handed out belongs to the store. It stays as it is until its section is opened
// anew, closed or written to; callers that need it longer copy it. A section is read into memory
// once, when it is opened or first used, so reading hundreds of keys costs one file access.
#pragma once

#include <stddef.h>

constexpr size_t NVRAM_SECTION_MAX = 64 * 1024; // one erase block of the flash

constexpr int NVRAM_DEVICE = 0;
constexpr int NVRAM_WIRELESS = 1;

extern "C" {

// Open section (0 to 3) and read it. A section without a file is empty.
// Returns 0, or a negative error number when there is no such section or its file cannot be read or
// is over 64 KiB; that is reported on standard error with the path, and the section counts as
// empty.
int nvram_init(int section);

// Set key to value in the section's file: at once, whole or not at all, and without losing what
// another process sets meanwhile (waits for it). Works on a section that is open or not.
// Returns 0, or a negative error number with the file untouched: -EINVAL for a section out of
// range, an empty key, a key with "=" or a line end and a value with a line end; -ENOSPC when the
// section would pass 64 KiB; else that of the system call that failed. Reports nothing.
int nvram_bufset(int section, const char *key, const char *value);

// Close section: its values are no longer valid. Returns 0, or -EINVAL for a section out of range.
int nvram_close(int section);
}

// The platform's reading calls. A board's library may give null for a key that is not set, so these
// names are kept apart from those that the program calls.
namespace nvram_platform
{
extern "C" {
const char *nvram_bufget(int section, const char *key);
const char *nvram_get(int section, const char *key);
}
} // namespace nvram_platform

// The value of key, or "" when it is not set or set to nothing. Never null. A section that is not
// open is opened. On the board the first call reads the section's buffer and the second one the
// store; here there is one copy and the two do the same.
inline const char *nvram_bufget(int section, const char *key)
{
    const char *value = nvram_platform::nvram_bufget(section, key);
    return value != nullptr ? value : "";
}

inline const char *nvram_get(int section, const char *key)
{
    const char *value = nvram_platform::nvram_get(section, key);
    return value != nullptr ? value : "";
}
