// The event script of the DHCP client: udhcpc runs the program under this name on every change of a
// lease, with the lease in the environment (interface, ip, subnet, router, dns, routes,
// staticroutes, msroutes).
#pragma once

// The latest event's name, cut to what fits. Nothing reads it.
extern char udhcpstate[8];

// Handle the event whose name argv[1] contains one of these, the first that fits:
//   deconfig   the lease is gone: see udhcpc_deconfig
//   bound      a new lease: tell the resolver script of its DNS servers, set the address and the
//              routes that came along, and take the link into use with wan_up(). A malformed
//              msroutes text ends this before the link is in use.
//   renew      only logged: the setup stays
//   leasefail  nothing
//   others     as deconfig, for instance nak
// The environment of bound is left in /tmp/udhcpc-env for a look at it. Results of interface,
// routes and commands are not looked at. Logs with the tag "dhcp client". Returns 0, or 22 without
// doing anything when there is no argv[1].
int udhcpc_main(int argc, char **argv);

// The lease of the environment's interface is gone: tell the resolver script, take the address off
// the interface, write the time into /tmp/udhcpc.IFACE.expires (a failure is reported on standard
// error), set the lights to dialling and end the link with wan_down(). Where that took the
// interface down it is brought up again, without an address: the client goes on asking through it.
// A link whose record has no address has no jump to remove, see wan_down(); PPP links do it
// differently (wan/ppp_event.h). The environment is left in /tmp/udhcpc-env-deconfig. Returns 0.
int udhcpc_deconfig();
