// Network device events of the kernel.
#pragma once

// Log that the event came ("hotplug_net - start...", "hotplug_net - stop...", tag hotplug) and
// return 1: interfaces are brought up by the start scripts, not by their appearance.
int hotplug_net();
