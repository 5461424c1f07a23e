#include "lan/dhcp_client.h"

#include "util/text.h"

void format_dhcp_pidfile(char (&path)[DHCP_PIDFILE_MAX], const char *iface)
{
    text_format(path, sizeof(path), "/var/run/udhcpc.%s.pid", iface);
}
