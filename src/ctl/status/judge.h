// What the three worlds make together: each LAN and WAN entry, each tunnel, each link that only the
// store knows, and the router as a whole, with a state and the reasons for it.
#pragma once

#include "ctl/status/link_status.h"
#include "ctl/status/look.h"

void judge(const look &at, router_status *status);
