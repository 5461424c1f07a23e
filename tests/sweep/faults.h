// What can go wrong with a call: the errors that it can really give on a router, and the signals
// that can arrive before it.
#pragma once

#include "support/recorder_failing.h"
#include "support/router_box.h"

#include <string>
#include <vector>

namespace sweep
{

// The ways in which the call of that kind, the number-th of a run, can fail.
std::vector<support::failing_plan> faults_of(counted_call call, unsigned number, failing_who who);

const char *name_of(counted_call call);
std::string text_of(const support::failing_plan &plan, counted_call call);

} // namespace sweep
