// The router box: the built program, unmodified, run under any of its names in a private world
// (world.h) that lives as long as this object, so that several invocations can follow each other
// over the same files and the same network.
//
// KEEPING A WORLD. With MCFG_KEEP_WORLD in the environment, the world of a box that ends in a test
// that has failed by then stays, with its files, its network and what still runs in it. A message
// on standard error says how to enter it and how to end it.
#pragma once

#include "support/world.h"

#include <cstdint>
#include <map>
#include <memory>
#include <set>

namespace support
{

struct outcome {
    int status; // exit status, or -1 when a signal ended it
    int signal; // the signal that ended it, or 0
    std::string out;
    std::string err;
    std::string trace; // of this run only
};

// What is odd about how a run is started. The kernel, pppd and scripts start the program in states
// of their own.
struct start_state {
    std::vector<int> closed;  // of the descriptors 0 to 2
    std::vector<int> ignored; // signals
    bool reader_gone = false; // both outputs are pipes that nobody reads
};

// Which call of a run fails and how, in the numbers of recorder_failing.h.
struct failing_plan {
    unsigned number = 0; // of the call, the first is 1; 0 counts them only
    int error = 0;
    int how = 0;
    int who = 0;
    int signal = 0;
};

struct failing_outcome {
    outcome result;
    std::vector<uint8_t> calls; // those met: enum counted_call
    unsigned hits;              // how many of them failed
    std::set<std::string> seen; // the files that it opened or asked after
    std::set<std::string> torn; // those that may have been cut; "" for what is no file
};

using environment = std::vector<std::pair<std::string, std::string>>;

class router_box : public world
{
  public:
    router_box();
    // A box for another program than the one under test, a path of this machine. run() starts it
    // under any name, as it does mcfg, and it stands at /sbin/mcfg.
    explicit router_box(const std::string &program);
    ~router_box() override;
    router_box(const router_box &) = delete;
    router_box &operator=(const router_box &) = delete;

    // Runs the program as words[0] ("mcfg", "/usr/bin/ip-up", any name: it becomes argument 0 to
    // the letter) with the other words as arguments and only this environment besides PATH. Waits
    // for it; a run of over 60 seconds throws std::runtime_error, and so does a sanitizer's report.
    outcome run(const std::vector<std::string> &words, const environment &env = {});

    // The same without waiting, for several at once; finish() waits for one and gives its outcome
    // (whose trace is empty: the traces of runs side by side are mixed, see trace()).
    pid_t start(const std::vector<std::string> &words, const environment &env = {});
    outcome finish(pid_t handle);

    // How the runs that follow are started.
    void start_from(const start_state &state);
    // Runs the program with a call failing by plan. What it writes to its outputs, and its memory,
    // then go through the recorder. The trace is empty afterwards.
    failing_outcome run_failing(const std::vector<std::string> &words, const environment &env,
                                const failing_plan &plan);

    // The number of the world's first process, as this machine counts: see enter.h.
    pid_t number() const;

    // How long a run may take, in milliseconds, in place of the 60 seconds.
    void set_time_limit(int milliseconds);

    void bind(const std::string &host_path, const std::string &path) override;
    // Puts an empty disk of that size ("8k") at a directory, to be filled up.
    void disk(const std::string &path, const std::string &size);
    void interface(const std::string &name) override;
    std::string in_network(const std::vector<std::string> &command) override;
    pid_t bystander(bool ignore_term = false, const std::string &name = "") override;
    bool is_running(pid_t pid) const override;

  protected:
    std::string host_path(const std::string &path) const override;

  private:
    void keep();
    void refuse_sanitizer_reports(const std::string &err);

    struct parts;
    std::unique_ptr<parts> p;
};

} // namespace support
