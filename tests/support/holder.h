// The holder: the first process of a router box's world. It makes the world, lives in it as long as
// the box, starts processes in it on request and tells how they ended.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace support
{

// What holder processes answer to. Each request is a message whose first text is its name; the
// answer is "ok" with results, or "error" with a reason.
//   run COUNT WORD... NAME=VALUE...   starts the program; descriptors: its output, its errors
//                                     -> number of the process
//   bystander yes|no NAME             starts one that does nothing (yes: not even on SIGTERM)
//                                     -> number
//   running NUMBER                    -> yes|no
//   end NUMBER                        kills it
//   bind HOST-PATH PATH
//   interface NAME
//   number                            -> its own process number, as the machine counts
//   keep                              it stays when the first socket closes, until SIGTERM
// It greets with "ok", with its root directory, network and, if any, user namespace as descriptors.
// On the second socket it sends a message with number and wait status for each process started
// by "run" that has ended.

// Makes the calling process, a child of the test's (parent), start the holder of a new world with
// this program in it. Never returns; ends when the first socket closes.
[[noreturn]] void hold_world(int requests, int endings, const std::string &program, pid_t parent);

} // namespace support
