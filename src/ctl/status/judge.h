// What the three worlds make together: each LAN and WAN entry, each tunnel, each link that only the
// store knows, and the router as a whole, with a state and the reasons for it.
#pragma once

#include "ctl/status/link_status.h"
#include "ctl/status/look.h"

// What could not be looked at is noted (ctl/unseen.h): the verdict is worth nothing then.
void judge(const look &at, router_status *status);

// Look around and judge. Returns false and writes why into fault when not all could be seen: then
// status is not to be used. The look is to be forgotten in either case.
bool look_and_judge(look *at, router_status *status, char (&fault)[FAULT_MAX]);
