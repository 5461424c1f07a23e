// Processes that do nothing, for tests of what is done to processes.
#pragma once

#include <string>
#include <sys/types.h>

namespace support
{

// Starts one; a signal ends it, but with ignore_term not SIGTERM. With a name, its
// command is called so.
pid_t start_bystander(bool ignore_term, const std::string &name = "");

// Whether a process is there and not about to end. proc is the /proc of its process numbers.
bool is_process_running(const std::string &proc, pid_t process);

} // namespace support
