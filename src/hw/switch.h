// The RT3052's embedded Ethernet switch: its registers, reached through private requests of the
// Ethernet driver on "eth2", and the port layouts of this router. No command and no event calls the
// layouts: the ports are laid out by the firmware's config-vlan.sh. They are kept, with their
// tests, as the record of what the chip needs.
#pragma once

#include <stdint.h>

// The socket that the requests go through; -1 while the switch is not open.
extern int esw_fd;

// Open the switch. Returns 0, or -1 after reporting "socket" on standard error.
int switch_init();

// Close the switch, if it is open.
void switch_fini();

// Read the register at offset (bytes) into *value. Returns 0, or -1 after reporting "ioctl" on
// standard error and closing the switch; *value is then untouched.
int ra3052_reg_read(uint32_t offset, uint32_t *value);

// Write value to the register at offset (bytes) and return 0. When the driver refuses, "ioctl" is
// reported on standard error, the switch closed and the whole process ended with status 0: a layout
// that is written in part must not go on, and the scripts must not stop for it.
int ra3052_reg_write(uint32_t offset, uint32_t value);

// Lay the ports out over the LAN VLAN (1) and the WAN VLAN (2) for a WAN mode of 1 to 6; any other
// mode is the default, with port 4 as the WAN. See the table in the source.
// Returns 0, or -1 after logging "Error switch init" (tag config_3052). Ends the process as
// ra3052_reg_write does.
int config_3052(int mode);

// Put every port into VLAN 1, with all VLANs open to all ports.
// Returns 0, or -1 after logging "Error switch init" (tag restore_3052). Ends the process as
// ra3052_reg_write does.
int restore_3052();
