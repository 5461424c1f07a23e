// The dumps of an event's environment that the router keeps (/tmp/udhcpc-env and the like).
#pragma once

#include "support/router_box.h"

#include <string>

namespace support
{

// The variables in what a shell's "export -p" wrote: "export NAME='value'" lines, the value quoted
// in any of the ways that the router's BusyBox, dash and bash ("declare -x") do. Variables without
// a value are left out. Where several dumps follow each other, as in /tmp/hotplug_usb, those of the
// last one: a name that comes again begins another dump.
// Throws std::runtime_error with the number of the line that is none of this.
environment read_env_dump(const std::string &text);

// Sets a variable, in place of an earlier one of that name.
void set_variable(environment &env, const std::string &name, const std::string &value);

} // namespace support
