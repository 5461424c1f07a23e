#include "util/device.h"

#include "util/ioctl_request.h"
#include "util/log.h"
#include "util/output_file.h"

#include <fcntl.h>
#include <stdint.h>
#include <stdio.h>
#include <unistd.h>

// The GPIO driver's request for the levels of all input lines, as one word.
constexpr ioctl_request GPIO_READ = 2;
constexpr uint32_t WAN_TYPE_SWITCH = 1U << 11;

constexpr char DEVICE_PARAMS[] = "DEVICE_NAME=UNKNOWN\n"
                                 "DEVICE_MODE=UNKNOWN\n";

constexpr char PORT_MAP[] = "LAN=\"br0\"\n"
                            "WAN=\"vlan2\"\n"
                            "WLAN=\"ra0\"\n"
                            "LAN_PORTS=\"1-4\"\n"
                            "WLAN_PORTS=\"air\"\n"
                            "WAN_PORTS=\"internet\"\n"
                            "\n"
                            "ALIAS_br0=\"LAN\"\n"
                            "ALIAS_ra0=\"WLAN\"\n"
                            "ALIAS_vlan2=\"WAN\"\n"
                            "br0_PORTS=\"1-4\"\n"
                            "ra0_PORTS=\"air\"\n"
                            "vlan2_PORTS=\"internet\"\n";

int get_wan_type()
{
    int fd = open("/dev/gpio", O_RDONLY);
    if (fd < 0) {
        perror("/dev/gpio");
        return -1;
    }
    uint32_t levels = 0;
    if (ioctl(fd, GPIO_READ, &levels) < 0) {
        perror("ioctl");
        close(fd);
        return -1;
    }
    logmessage("get_wan_type", "value = %x\n", static_cast<unsigned>(levels));
    close(fd);
    return (levels & WAN_TYPE_SWITCH) == 0 ? 1 : 0;
}

int update_device_mode()
{
    write_text("/etc/device_params", DEVICE_PARAMS);
    return 1;
}

int set_device_params()
{
    update_device_mode();
    write_text("/tmp/lanwanext.conf", PORT_MAP);
    return 1;
}
