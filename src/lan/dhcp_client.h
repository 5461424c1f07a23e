// The files of the DHCP client udhcpc, by which those who start it, stop it and serve its events
// find each other.
#pragma once

#include "config/params.h"

#include <stddef.h>

// What the client runs on its events: a link to this program, which start_wan makes.
constexpr char DHCP_SCRIPT[] = "/tmp/udhcpc";

// Room for the path of a pid file with its terminator.
constexpr size_t DHCP_PIDFILE_MAX = sizeof("/var/run/udhcpc..pid") + sizeof(iface_params::iface);

// Write the path of the file into which the client over iface puts its process number.
void format_dhcp_pidfile(char (&path)[DHCP_PIDFILE_MAX], const char *iface);
