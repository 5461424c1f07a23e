// The link scripts of the PPP daemon, which runs the program under their names when a link gains or
// loses its IP layer. The link comes in the environment: IFNAME, LINKNAME ("TYPE-NAME" of the
// tunnel), IPLOCAL, IPREMOTE, DNS1, DNS2. Arguments are only logged.
#pragma once

// A link is up: find the tunnel's metric in /var/run/Config (10 for type "3g", without a look at
// it), make the marker files and take the link into use with wan_ppp_up(). Only tunnels of the
// first WAN entry are found; of a tunnel name with "-" only the part before it counts. The
// environment is left in /tmp/ppp-up-env for a look at it. Logs with the tag ppp-up. Returns 0, or
// the error number when a marker file could not be made (reported on standard error with its path):
// nothing is set up then.
int ipup_main(int argc, char **argv);

// A link is down: end it with wan_ppp_down(), which runs its commands also for a link without an
// address, with an empty word, because ip-up ran them so. (The end of a lease has no command to run
// then: see wan_down() in wan/wan_link.h.) The environment is left in /tmp/ppp-down-env. Logs
// with the tag ppp-down. Returns 0.
int ipdown_main(int argc, char **argv);
