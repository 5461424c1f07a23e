// The user's lists of the filter table under /etc/default, turned into lines of its rule file while
// that is being written.
//
// Every reader writes its lines to the end of file and returns 0, or -1 when its list cannot be
// opened (reported on standard error with the path; nothing is written then). Callers go on with
// the next group of rules in any case, but do not load a table when the result is LIST_TORN
// (firewall/rule_writer.h). accept_target and drop_target are the chains for the two
// verdicts. Readers that log "start" and "done" do so with their own tag.
#pragma once

#include <stdio.h>

// /etc/default/rules: each entry holds for forwarded traffic and for the router itself.
int get_user_rules(FILE *file, const char *accept_target, const char *drop_target);

// /etc/default/macfilter_list: the chain MACS and the jumps of LAN traffic into it. In allow mode
// the listed devices go on and all others are dropped; in deny mode the listed ones are dropped,
// never through the logging chain, and all others accepted. Tag get_mac_filters. With any other
// mode (see firewall/switches.h) the first entry gives -1 at once. The verdict for the others
// becomes known with the first entry. A list without any entry writes a closing line that names no
// target, so the filter table is refused and the one before stays.
int get_mac_filters(FILE *file, const char *lan_if, const char *accept_target,
                    const char *drop_target);

// /etc/default/url_filter: drops at the head of FORWARD, the last entry first. An entry without a
// schedule of its own takes over the time match of the entry before it. Tag get_url_filters.
// The targets are not used.
int get_url_filters(FILE *file, const char *accept_target, const char *drop_target);

// /etc/default/httpd_access.conf: the chain H_ACCESS, who may reach the router from outside. Tag
// get_haccess_filters; the fields are logged.
int get_haccess_rules(FILE *file);
