// How reasons that several kinds of links have are found.
#pragma once

#include "ctl/status/link_status.h"
#include "ctl/status/look.h"

#include <netinet/in.h>

// Whether the interface of the link is there, up and connected; else the reason is added.
bool judge_interface(const look &at, link_status *link);
void judge_route(const look &at, link_status *link, in_addr_t gateway_be);
void judge_jumps(const look &at, link_status *link);
