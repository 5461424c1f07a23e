// A private world for the tests: its own root directory, its own network, host name and process
// numbers, where the router's files are the test's, every outside tool is a recorder, and what
// needs a board is played. Nothing in it reaches the machine it runs on, and nothing of it is left
// behind.
//
// There are two ways into such a world:
//   router_box    (router_box.h)    runs the built program, unmodified, as a process of its own;
//   private_world (private_world.h) moves the test process itself inside, so that routines can be
//                                   called directly, under the sanitizers.
// Both offer the members below. Paths are always absolute and as the program sees them.
//
// THE TRACE. Everything that the program does to the outside is one line of text, in order:
//
//   log TAG: TEXT            a system log line sent with no options, facility 0 and priority 0; in
//                            any other way: "log(option=..,facility=..,priority=..) TAG: .."
//   shell LINE               a command line given to system(), to the letter
//   run WORD WORD ...        an outside tool that was started, with its words
//   ioctl IFACE REQUEST ...  an interface or route request, for instance
//                              ioctl vlan2 SIOCSIFFLAGS 0x1043
//                              ioctl br0 SIOCSIFADDR 192.168.0.1
//                              ioctl lo SIOCADDRT 127.0.0.0/255.0.0.0 metric 0 flags 0x1
//                              ioctl ppp1 SIOCADDRT 0.0.0.0/0.0.0.0 via 10.0.0.1 metric 9 flags 0x3
//                            (reads are lines as well: "ioctl br0 SIOCGIFADDR -> 192.168.0.1")
//   ioctl /dev/gpio ...      a request to the board, likewise
//                              ioctl /dev/gpio 2 -> 0x800
//                              ioctl /dev/flash0 read 0x16d20 8      (flash offset, length)
//                              ioctl /dev/flash0 write 0x40004 6
//                                (/dev/flash0:rw when it was not opened read-only)
//                              ioctl eth2 0x89f1 0x14 -> 0x5555      (switch register read)
//                              ioctl eth2 0x89f2 0x14 0x405555       (switch register written)
//   sleep SECONDS            a pause; it takes no time
//   kill PID SIGNAL          a signal sent, such as "kill 123 SIGTERM"; signal 0 reads "0"
//   settimeofday SEC[.MICROSECONDS] WEST DST   the clock set; the machine's own is never touched
//   mknod PATH TYPE MODE MAJOR:MINOR   such as "mknod /dev/sda1 b 0700 8:1"; what is made is an
//                            empty file with that mode, since not every machine allows the node
//   fork, open PATH, socket FAMILY KIND PROTOCOL, lock, unlock, gettimeofday, getifaddrs
//                            only when a rule refuses it: "fail EAGAIN fork", "fail EMFILE open
//                            /var/run/state_link" (by open()), "fail EMFILE socket inet raw 255"
//                            (KIND dgram or raw), "fail EINTR lock" (a record lock)
//   isatty DESCRIPTOR        only when a rule makes it a terminal: "skip isatty 1"
// A call that fails (for real or as told) ends in " = " and the error's name: " = ENODEV".
//
// Control characters in a line are escaped (\n, \t, \r, \\, \xHH). A word of a "run" line that is
// empty or holds white space, quotes or control characters stands between single quotes. A "run"
// line whose words are just those of the "shell" line before it is left out, so that an ordinary
// shell command is one line; where quoting or redirection makes the two differ, both stay. The
// lines of "> FILE" redirections are not traced. Where equal lines follow each other, the second
// and later ones are folded into the first as "LINE (xN)".
//
// RULES tell how calls and tools that do not simply succeed behave. on() takes one rule:
//
//   exit STATUS WORDS...       the tool command line that begins with these words exits so
//   print TEXT WORDS...        ... writes TEXT to its standard output (escapes as above)
//   pass PATH WORDS...         ... is recorded, and then the real program bound at PATH is run in
//                              its place with the same words (see bind())
//   fail ERROR EVENT...        the call whose trace line begins with EVENT fails with that error,
//                              for instance "fail EPERM ioctl br0 SIOCSIFADDR"
//   skip EVENT...              ... is recorded and answered with success, and goes no further
//   wait PATH EVENT...         the sleep, shell or run line that begins with EVENT is recorded, and
//                              then lasts until the file PATH is there
//   gpio 0xWORD                the word that /dev/gpio answers with
//   flash PATH                 the file that plays the flash behind /dev/flash0
//   flash-status N             the status word that the flash driver answers with
//   switch 0xOFFSET 0xVALUE    what the switch register reads as
//   clock SECONDS[.MICROSECONDS] WEST DST   the time of day (six digits after the point), and the
//                              kernel's time zone record, as read
//   watch exists               also trace existence tests: "exists /var/lock/Config.lock = no"
// The first rule that matches wins; a rule may end in " #N" to hold for the first N matches only.
// ("print" stands beside the others: a tool may print and then exit as told.) A word of a rule may
// stand between single quotes. "gpio" and "flash" rules also make the device where it is missing.
// What the board plays only by a rule (gpio, flash, reading the switch) fails with ENOTTY without
// one. "fail" and "skip" hold for existence tests too, watched or not.
#pragma once

#include <string>
#include <string_view>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace support
{

class world
{
  public:
    virtual ~world() = default;

    // Files. write() makes the directories on the way and replaces what was there; the mode is set
    // whatever the umask. read() of a file that is missing throws std::runtime_error with its path.
    void write(const std::string &path, std::string_view content, mode_t mode = 0644);
    std::string read(const std::string &path) const;
    bool exists(const std::string &path) const;      // a dangling link exists too
    mode_t mode(const std::string &path) const;      // permission bits
    std::string link(const std::string &path) const; // target of a symbolic link, "" if not one
    std::vector<std::string> list(const std::string &directory) const; // sorted names
    void mkdir(const std::string &path, mode_t mode = 0755);
    void symlink(const std::string &target, const std::string &path);
    void remove(const std::string &path); // files and whole directories; missing is fine
    // Copies a directory of this machine, with everything below it, over a directory of the world.
    void copy_in(const std::string &host_directory, const std::string &path);
    // What the fixture NAME of this source tree (tests/fixtures) holds.
    std::string fixture(const std::string &name) const;
    // Shows a file or directory of this machine, read-only, at a path of the world.
    virtual void bind(const std::string &host_path, const std::string &path) = 0;

    // Tools. Those that the router's firmware is known to have are recorders from the start
    // (the list is in world_root.cpp); this adds one, at an absolute path.
    void tool(const std::string &path);
    void remove_tool(const std::string &path) { remove(path); }

    void on(const std::string &rule);
    void clear_rules();

    // What happened since the last clear_trace().
    std::string trace() const;
    // Only the lines that begin with one of these words ("log", "run", ...).
    std::string trace_of(const std::vector<std::string> &kinds) const;
    void clear_trace();

    // Network. Makes a real interface in the world's network: a bridge for names that begin with
    // "br", else one end of a veth pair. It is down and has no address.
    virtual void interface(const std::string &name) = 0;
    // Runs this machine's own program (not the world's) in the world's network and returns what it
    // wrote to standard output, for instance in_network({"ip", "-json", "route"}).
    // Throws std::runtime_error with its standard error when it fails.
    virtual std::string in_network(const std::vector<std::string> &command) = 0;

    // Starts a process in the world that does nothing until a signal ends it, and returns its
    // number as the world counts. With ignore_term it lets SIGTERM pass; with a name (15 characters
    // of it) that is its command's. is_running() asks after it.
    virtual pid_t bystander(bool ignore_term = false, const std::string &name = "") = 0;
    virtual bool is_running(pid_t pid) const = 0;

  protected:
    virtual std::string host_path(const std::string &path) const = 0; // how to reach it from here
    // How to reach a path of this machine from here.
    virtual std::string machine_path(const std::string &path) const { return path; }

    std::string raw_trace() const;

  private:
    bool is_network_file(const std::string &path) const;
    std::string place(const std::string &path, bool follow_last) const;
    std::string place_for(const std::string &path);
};

} // namespace support
