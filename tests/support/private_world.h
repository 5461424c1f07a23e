// A private world (world.h) around the test process itself. The unit tests' main() enters it before
// any test runs, so that routines of the program can be called directly although they write fixed
// paths such as /var/run/Config. Calls that need a board, the system log, system(), sleep() and
// kill() are recorded as in the router box; programs started by the routines are its recorders.
#pragma once

#include "support/world.h"

namespace support
{

class private_world : public world
{
  public:
    // Moves this process into a new private world. Called once, by the unit tests' main(), while
    // the process has one thread. Ends the process with a message when the machine does not allow
    // it.
    static void enter();
    // The world around this process. Each test starts with clear(): files of an earlier test, rules
    // and trace are gone, standard directories are there again. (gtest runs tests one by one.)
    static private_world &here();
    void clear();

    void bind(const std::string &host_path, const std::string &path) override;
    void interface(const std::string &name) override;
    std::string in_network(const std::vector<std::string> &command) override;
    pid_t bystander(bool ignore_term = false, const std::string &name = "") override;
    bool is_running(pid_t pid) const override;

    // Runs a routine and returns what it wrote to standard output or standard error (file
    // descriptor 1 or 2), through a file.
    static std::string captured(int descriptor, void (*routine)(void *), void *context);

  protected:
    std::string host_path(const std::string &path) const override;
    std::string machine_path(const std::string &path) const override;

  private:
    int machine_root = -1; // the machine's root directory
    std::vector<std::string> binds;
    std::vector<pid_t> bystanders;
};

} // namespace support
