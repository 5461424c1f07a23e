// Raw access to the flash through the pseudo device /dev/flash0. The driver erases and programs;
// this side builds a request and passes it on. All messages go to standard error.
//
// Two failures count as success, and callers carry on after them: a length that is too great, and a
// device that cannot be opened.
#pragma once

#include <stdint.h>

constexpr uint32_t FLASH_TRANSFER_MAX = 65536; // bytes in one call

// Read length bytes at the absolute flash offset into buffer. Returns 0, or -1 when the driver
// refused the request ("FLASH_API: ioctl error") or the range lies outside the flash (no message).
// 0 is also the result, and buffer untouched, when length is greater than FLASH_TRANSFER_MAX ("Too
// many bytes - LENGTH > 65536 bytes") and when the device cannot be opened ("Open flash pseudo
// device failed").
int FRead(void *buffer, uint32_t offset, uint32_t length);

// Write length bytes of buffer at the absolute flash offset. Results and messages as for FRead.
int FWrite(const void *buffer, uint32_t offset, uint32_t length);
