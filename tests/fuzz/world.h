// The world around the program in a fuzzing process: files, environment, answers of everything that
// is not the program, and what must hold of all that it asks the world for.
//
// The objects of mcfg_core are the real ones. Their calls that reach outside are led here when the
// target is linked (outside.syms, outside.cpp).
#pragma once

#include "fuzz/input.h"
#include "fuzz/memory_files.h"
#include "fuzz/property.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace fuzz
{

struct world {
    memory_files files;
    std::vector<std::pair<std::string, char *>> environment;

    // What calls that can go either way give: each takes the next character. 0, and the end, mean
    // that it goes well.
    std::string answers;
    size_t next = 0;

    // What was asked for, in order: command lines for the shell, words of tools run without it, and
    // both in one list, the words with a blank between them.
    std::vector<std::string> lines;
    std::vector<std::vector<std::string>> tools;
    std::vector<std::string> commands;
    std::string standard_output;
    std::string standard_error;
    std::vector<std::pair<pid_t, int>> signals;

    // How often the kernel was asked to change an interface or a route.
    int requests = 0;

    // What a command does besides: called with its words. It may set what it writes, for a program
    // that takes it, and its exit status.
    std::function<void(const std::vector<std::string> &)> on_command;
    std::string tool_output;
    std::string tool_errors;
    int tool_status = 0;

    // What comes and goes while the program sleeps: a path a line, one for each time. See spoil().
    std::string meanwhile;
    size_t meanwhile_at = 0;

    // Interfaces as getifaddrs() gives them, a line for each address: "NAME FLAGS ADDRESS NETMASK
    // PEER", of the flags u (up), r (running) and p (to a peer); an address "-" is none, "6" one of
    // another family. Null when they cannot be had.
    std::unique_ptr<std::string> interfaces;
    bool is_terminal = false;

    // The flash as the driver gives it, at any offset.
    std::string flash;
    // What was written to it, by its offsets.
    std::vector<std::pair<size_t, std::string>> flash_writes;
    // The words of the line being formatted, and whether it is too long for its room.
    bool is_expecting = false;
    bool is_cut = false;
    std::vector<std::string> expected;

    unsigned answer();
    void sleep();
    void set_variable(const std::string &name, const std::string *value);
    void put_file(const std::string &path, const std::string *content);

    // Places that are not as they should be, a path a line: what is there is gone, and where
    // nothing is stands a directory. A number in place of a path is the room left on the disk. Null
    // for none.
    void obstruct(const std::string *paths);
    bool is_obstructed = false;
};

extern world here;

// Empty the world: a booted router without settings.
void reset_world();

// The end of an input: what is written reaches the world while there is one, as the process may end
// here; open streams and memory of documents are taken back.
void leave_world();

// Run the routine until it returns or ends the process. Returns its result, or the process status.
int run(const std::function<int()> &routine);

// Run the program with the words given, the first one its name.
int run_program_with(const std::vector<std::string> &words);

// A document that was valid before, or missing, is valid now; a lock that was free is free.
class documents_check
{
  public:
    // The files of the documents as they are now.
    documents_check();
    void after() const;

  private:
    bool is_store_valid;
    bool is_store_locked;
    bool is_config_locked;
};

} // namespace fuzz
