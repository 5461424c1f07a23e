// The steps that mend: one routine for each reason that mctl heal takes on.
#pragma once

#include "ctl/status/link_status.h"
#include "ctl/status/look.h"

struct healing {
    const look *at;
    bool is_dry;
    bool may_change_jumps; // nobody rebuilds the firewall
};

// Take the step for the reason that link has. Returns false when there is none, or when it is left
// to somebody: that is told.
bool mend(const healing &h, const link_status &link, const found_reason &found);
