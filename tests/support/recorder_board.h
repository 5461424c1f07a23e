// Requests to the router's board (recorder_board.c). Each notes the request and answers from the
// rules; none reaches a driver of this machine. A request that no rule is about fails with ENOTTY.
#ifndef SUPPORT_RECORDER_BOARD_H
#define SUPPORT_RECORDER_BOARD_H

#include "support/recorder_calls.h"

#include <net/if.h>
#include <stdint.h>

// The flash driver's record, of machine words. A read goes from a flash offset to an address, a
// write from an address to a flash offset.
struct flash_request {
    uintptr_t source;
    uintptr_t destination;
    uintptr_t length;
    uintptr_t unused[2];
    uintptr_t status;
};

int switch_ioctl(unsigned long code, struct ifreq *request); // the Ethernet driver's private ones
int gpio_ioctl(unsigned long code, uint32_t *word);
int flash_ioctl(int descriptor, unsigned long code, struct flash_request *request);
int other_device_ioctl(const char *path, unsigned long code); // a device that no box plays

// Begins an event's line with "ioctl INTERFACE" (recorder_ioctl.c).
void print_interface(struct line *line, const struct ifreq *request);

#endif
