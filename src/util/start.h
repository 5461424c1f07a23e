// What a process may have been started with and must not be left with. The kernel, pppd and
// scripts start these programs, each in a state of its own.
#pragma once

// Call first of all in main().
//
// Descriptors 0 to 2 that are closed become /dev/null, or a file that is opened later would get
// their numbers and with them what is printed, by this program and by those it runs.
// SIGCHLD gets its default, without which nobody can wait for a child.
// SIGPIPE does not end the program: a reader of its output that goes away must not leave the router
// half set up. It is caught, not ignored, so that programs that are run have their default.
void settle_process();
