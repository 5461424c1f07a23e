// One PPP tunnel handed to the daemon that dials it.
#pragma once

#include "config/params.h"
#include "util/text.h"

#include <jansson.h>

constexpr size_t PEER_PATH_MAX = 80;

// Write the path of the tunnel's peer file. A longer one is cut.
inline void format_peer_path(char (&path)[PEER_PATH_MAX], const char *name)
{
    text_format(path, sizeof(path), "/etc/ppp/peers/%s", name);
}

// Write the tunnel's peer file /etc/ppp/peers/NAME (a new one is readable by its owner only: it
// holds the password) and run the daemon: "pppd call NAME", or for type "l2tp" xl2tpd, after
// rewriting /etc/xl2tpd.conf, which has room for one tunnel only. Both daemons put themselves in
// the background, which is waited for. Every text is written so that the daemon reads it back as
// one value (wan/option_text.h): plain ones as they are, others in quotes.
//
// From the lines written here pppd derives what others rely on: the link name TYPE-NAME, the pid
// file /var/run/ppp-TYPE-NAME.pid, and TYPE/NAME as argument 6 of ip-up and ip-down.
//
// tunnel is the entry that params were filled from; nothing of it is used beyond them.
// Returns the daemon's exit status (_eval), or -1 when it was not run, with the reason on standard
// error: a file cannot be opened (the prefix is the peer file's path, whichever of the two it was);
// a file could not be written whole (its own path); the name holds a slash, which would lead out of
// /etc/ppp/peers (the name; nothing is written). Announces itself on standard error; logs nothing.
int start_pppd(const ppp_params *params, const json_t *tunnel);
