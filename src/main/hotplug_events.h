// The kernel's hotplug events.
#pragma once

// Handle the event argv[1] and return its handler's result. Without one the usage goes to standard
// error and the result is 22; an event that nothing handles gives 0, without a message. The
// handlers take their inputs from the environment.
int hotplug_main(int argc, char **argv);
