// The sub-commands of the configuration command.
#pragma once

// Set to 1 by the sub-command "start", which does nothing else: the work is done by the
// sub-commands of their own, in the order that the router's start scripts give.
extern int start_flag;

// Carry out the sub-command argv[1]. Without one the usage goes to standard error and the result is
// -1; otherwise it is 0, whatever the sub-command did. An unknown one does nothing, without a
// message; "stop" and "restart" are such, although the usage names them.
int mcfg_main(int argc, char **argv);
