// The judges of one subject each.
#pragma once

#include "ctl/status/link_status.h"
#include "ctl/status/look.h"

void judge_lan(const look &at, link_status *lan);
void judge_wan(const look &at, link_status *wan);
// wan is the entry below it, judged already.
void judge_tunnel(const look &at, const link_status &wan, bool is_dialled, link_status *tunnel);
void judge_other(const look &at, link_status *other);
void judge_router(const look &at, const router_status &status, link_status *router);
