// The device: what other programs of the firmware are told about it, and its WAN-type switch.
#pragma once

// The position of the WAN-type switch, read from /dev/gpio: 1 when its bit is clear, 0 when it is
// set, -1 when the driver cannot be asked, which is reported on standard error ("/dev/gpio" or
// "ioctl"). Which position means which kind of WAN is for the caller of the command to know.
// Logs the word of all input lines (tag get_wan_type).
int get_wan_type();

// Write /etc/device_params whole. Name and mode are always UNKNOWN: no board of this family tells
// them apart, but there are readers that want the lines. Returns 1, also when the file cannot be
// written, which is not reported.
int update_device_mode();

// Write /etc/device_params and the port map /tmp/lanwanext.conf, whole. Returns 1, also when a file
// cannot be written: that one is passed over in silence.
int set_device_params();
