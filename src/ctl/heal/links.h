// Links as mctl heal puts them right: through the routines by which the program itself records and
// undoes them.
#pragma once

#include "ctl/status/link_status.h"
#include "ctl/status/look.h"

// Undo what the store holds of the link over iface, as its own end would.
void undo_recorded_link(const char *iface, const json_t *record);

// Record the link as the kernel has it. The servers for names are not known any more.
void save_found_link(const look &at, const link_status &link);

// The default route that a link should have, by its record or, for a static WAN, its entry.
struct wanted_route {
    int metric;
    const char *gateway; // "" for none
};

wanted_route route_of(const link_status &link);
