// The user's lists of the nat table under /etc/default, turned into lines of its rule file while
// that is being written.
//
// Results and messages are as filter_lists.h says.
#pragma once

#include <stdio.h>

// /etc/default/vservers: the chain VSERVER, port forwards. Tag get_vservers_filters; the fields are
// logged (tag get_vservers_rules).
int get_vservers_rules(FILE *file);

// /etc/default/masq: the networks whose source address is rewritten. Tag get_masquerading.
int get_masquerading(FILE *file);

// /etc/default/trigger_ports: outgoing traffic of the LAN that opens a port. Logs each entry (tag
// porttrigger_setting_morvi). Writes nothing and returns -1 when the switch is off.
int porttrigger_setting_morvi(FILE *file, const char *lan_if);
