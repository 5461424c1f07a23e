// The private namespaces that a world lives in.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace support
{

// Throws std::runtime_error "WHAT: reason", the reason from errno.
[[noreturn]] void fail(const std::string &what);

// Gives the calling process namespaces of its own of these kinds (CLONE_NEW...). Where it may not
// have them, it also gets a user namespace in which it is root. Returns whether it did; throws when
// the machine allows neither.
bool leave_namespaces(int kinds);

// Gives the calling process mount, network, host name and IPC namespaces of its own, and its next
// children process numbers of their own, as leave_namespaces(). Rights that would reach the machine
// from inside are given up.
void leave_machine();

// Gives up the rights that would still reach the machine from inside: its clock, its modules, its
// power switch and its hardware. A program started later cannot have them back.
void drop_machine_rights();

// The calling process dies when its parent does. For a child just forked; parent is its parent's
// number, and 0 where that lies outside of the child's own process numbers.
void die_with_parent(int parent);

// Puts the calling process into a network of its own, whose loopback is down and which is without
// IPv6, so that nothing in it happens by itself.
void fresh_network();

// Makes an interface in the network of the calling process: a bridge for names that begin with
// "br", else one end of a veth pair whose other end is up in a further network that holds nothing
// else.
void make_interface(const std::string &name);

// Makes a cable from the calling process's network, where its end here is called that and is up, to
// the network that the descriptor there leads to, where its other end is down.
void make_cable(const std::string &here, int there, const std::string &name_there);

struct program_result {
    int status; // exit status, or -1 when a signal ended it
    std::string out;
    std::string err;
};

// Runs a program of this machine with this standard input and waits for it. The new process calls
// enter() before; what that throws is told like a program's own error, with status 127.
program_result try_program(const std::vector<std::string> &command,
                           const std::function<void()> &enter, const std::string &input = "");

// Runs a program of this machine and returns its standard output. The new process calls enter()
// before. Throws std::runtime_error with the standard error when it does not end with status 0.
std::string run_program(const std::vector<std::string> &command,
                        const std::function<void()> &enter);

// A duplicate of a descriptor, closed on exec and numbered above those that routines under test
// may count on or close. Closes the original.
int out_of_the_way(int descriptor);

// Everything in a file, from its start.
std::string whole_file(int descriptor);

} // namespace support
