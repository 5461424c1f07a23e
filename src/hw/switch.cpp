#include "hw/switch.h"

#include "util/ioctl_request.h"
#include "util/log.h"
#include "util/text.h"

#include <linux/sockios.h>
#include <net/if.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <unistd.h>

constexpr ioctl_request READ_REGISTER = SIOCDEVPRIVATE + 1;
constexpr ioctl_request WRITE_REGISTER = SIOCDEVPRIVATE + 2;

int esw_fd = -1;

struct switch_register {
    uint32_t offset;
    uint32_t value;
};

// Written first, whatever the WAN mode. 0x50 gives VLAN index 0 the VID 1 (LAN) and index 1 the VID
// 2 (WAN).
constexpr switch_register common_registers[] = {
    {0x14, 0x405555},
    {0x50, 0x2001},
    {0x98, 0x7f3f},
    {0xe4, 0x3f},
};

// The WAN modes: the VLAN of each port, 12 bits each, two ports in a register with the lower one in
// the low half, and the members of each VLAN, a byte of port bits for each index from the low byte
// up. The CPU's port 6 is in both VLANs.
struct port_layout {
    int mode;
    uint32_t ports_0_1; // 0x40
    uint32_t ports_2_3; // 0x44
    uint32_t ports_4_5; // 0x48
    uint32_t members;   // 0x70
};

constexpr port_layout layouts[] = {
    {1, 0x1002, 0x1001, 0x1001, 0xffff417e}, // WAN: port 0
    {2, 0x1002, 0x1001, 0x1002, 0xffff516e}, // 0, 4
    {3, 0x2001, 0x1001, 0x1002, 0xffff526d}, // 1, 4
    {4, 0x1001, 0x1002, 0x1002, 0xffff546b}, // 2, 4
    {5, 0x1001, 0x2001, 0x1002, 0xffff5867}, // 3, 4
    {6, 0x1001, 0x2002, 0x1002, 0xffff5c63}, // 2, 3, 4
};
constexpr port_layout default_layout = {0, 0x1001, 0x1001, 0x1002, 0xffff506f}; // 4

// clang-format off
constexpr switch_register restore_registers[] = {
    {0x14, 0x5555},
    {0x40, 0x1001},
    {0x44, 0x1001},
    {0x48, 0x1001},
    {0x4c, 0x1},
    {0x50, 0x2001},
    {0x70, 0xffffffff},
    {0x98, 0x7f7f},
    {0xe4, 0x7f},
};
// clang-format on

int switch_init()
{
    esw_fd = socket(AF_INET, SOCK_DGRAM, 0);
    if (esw_fd < 0) {
        perror("socket");
        return -1;
    }
    return 0;
}

void switch_fini()
{
    if (esw_fd >= 0)
        close(esw_fd);
    esw_fd = -1;
}

// Pass the record to the driver. On failure reports it and closes the switch.
static int pass_request(ioctl_request number, switch_register *record)
{
    ifreq request = {};
    text_set(request.ifr_name, "eth2");
    request.ifr_data = reinterpret_cast<char *>(record);
    if (ioctl(esw_fd, number, &request) < 0) {
        perror("ioctl");
        switch_fini();
        return -1;
    }
    return 0;
}

int ra3052_reg_read(uint32_t offset, uint32_t *value)
{
    switch_register record = {offset, 0};
    if (pass_request(READ_REGISTER, &record) < 0)
        return -1;
    *value = record.value;
    return 0;
}

int ra3052_reg_write(uint32_t offset, uint32_t value)
{
    switch_register record = {offset, value};
    if (pass_request(WRITE_REGISTER, &record) < 0)
        exit(0);
    return 0;
}

template <size_t N> static void write_registers(const switch_register (&registers)[N])
{
    for (const switch_register &row : registers)
        ra3052_reg_write(row.offset, row.value);
}

static int open_switch(const char *tag)
{
    if (switch_init() < 0) {
        logmessage(tag, "Error switch init");
        return -1;
    }
    return 0;
}

static const port_layout &layout_of(int mode)
{
    for (const port_layout &row : layouts) {
        if (row.mode == mode)
            return row;
    }
    return default_layout;
}

int config_3052(int mode)
{
    if (open_switch("config_3052") < 0)
        return -1;
    const port_layout &layout = layout_of(mode);
    write_registers(common_registers);
    ra3052_reg_write(0x40, layout.ports_0_1);
    ra3052_reg_write(0x44, layout.ports_2_3);
    ra3052_reg_write(0x48, layout.ports_4_5);
    ra3052_reg_write(0x70, layout.members);
    switch_fini();
    return 0;
}

int restore_3052()
{
    if (open_switch("restore_3052") < 0)
        return -1;
    write_registers(restore_registers);
    switch_fini();
    return 0;
}
