#include "hw/flash.h"

#include "util/ioctl_request.h"

#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

constexpr ioctl_request READ_REQUEST = 1;
constexpr ioctl_request WRITE_REQUEST = 2;
constexpr uintptr_t OUT_OF_SCOPE = 10; // driver status: the range lies outside the flash

// The driver's record: six machine words, 32 bits each on the router. A read has the flash offset
// as its source and the buffer's address as its destination, a write the other way round.
struct flash_request {
    uintptr_t source;
    uintptr_t destination;
    uintptr_t length; // bytes
    uintptr_t unused[2];
    uintptr_t status; // set by the driver
};
static_assert(sizeof(flash_request) == 6 * sizeof(uintptr_t), "the driver reads six words");

static int pass_request(ioctl_request number, flash_request *request)
{
    if (request->length > FLASH_TRANSFER_MAX) {
        fprintf(stderr, "Too many bytes - %d > %d bytes\n", static_cast<int>(request->length),
                static_cast<int>(FLASH_TRANSFER_MAX));
        return 0;
    }
    int fd = open("/dev/flash0", O_RDONLY); // the driver asks for no more, even to write
    if (fd < 0) {
        fputs("Open flash pseudo device failed\n", stderr);
        return 0;
    }
    int result = ioctl(fd, number, request);
    if (result < 0)
        fputs("FLASH_API: ioctl error\n", stderr);
    close(fd);
    return result < 0 || request->status == OUT_OF_SCOPE ? -1 : 0;
}

int FRead(void *buffer, uint32_t offset, uint32_t length)
{
    flash_request request = {};
    request.source = offset;
    request.destination = reinterpret_cast<uintptr_t>(buffer);
    request.length = length;
    return pass_request(READ_REQUEST, &request);
}

int FWrite(const void *buffer, uint32_t offset, uint32_t length)
{
    flash_request request = {};
    request.source = reinterpret_cast<uintptr_t>(buffer);
    request.destination = offset;
    request.length = length;
    return pass_request(WRITE_REQUEST, &request);
}
