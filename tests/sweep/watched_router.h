// The router that mctl looks at, and what can be wrong with it.
#pragma once

#include "support/router_box.h"

namespace sweep
{

// A router in order: its LAN is up, its WAN has a lease and a way into the port forwards, and what
// is loaded is what was generated.
void furnish_watched(support::router_box &box);

// Settings that are newer than Config, which is what they make all the same.
void renew_settings(support::router_box &box);

// Secrets wherever the router has some, and in the log. Each holds this word.
constexpr char CANARY[] = "canary";
void add_secrets(support::router_box &box);

// Lines of all lists that mctl check has errors for, those that it needs memory for among them.
void spoil_settings(support::router_box &box);

// A lock that was left, and a record whose link is gone. mctl heal mends both.
void leave_lock_and_record(support::router_box &box);

// The same, and a link whose client does not run, which stays so here.
void lose_client(support::router_box &box);

} // namespace sweep
