// The sweep: each invocation once for each way in which one of its calls can fail, and in each odd
// state and over each odd file.
#pragma once

#include "support/recorder_failing.h"
#include "support/router_box.h"
#include "sweep/files.h"
#include "sweep/invariants.h"
#include "sweep/invocations.h"

#include <set>
#include <string>

namespace sweep
{

// Which of all runs are made: every parts-th, beginning with number turn.
struct share {
    unsigned parts = 1;
    unsigned turn = 0;
};

struct counts {
    unsigned invocations = 0;
    unsigned possible = 0; // runs, had all been made
    unsigned runs = 0;
    unsigned calls = 0;  // that the invocations make when nothing fails
    unsigned failed = 0; // that were made to fail, or got a signal
    unsigned findings = 0;
    std::set<counted_call> kinds;
};

// A world that is made once and used for many runs.
class sweep_box : public support::router_box
{
  public:
    // With a directory, that is a small disk of its own, to be filled.
    explicit sweep_box(program which, const std::string &full = "");
    files now() const { return read_files(root()); }
    void put_back(const files &before) const { sweep::put_back(root(), before, now()); }
    std::string root() const;
    const files &furnished() const { return start; }
    void make_fifo(const std::string &path);

    void fill(const std::string &directory); // until the next put_back()

  private:
    files start;
};

// Sweeps one invocation. Prints a line for each finding. Returns how it ends undisturbed.
usual_end sweep_invocation(sweep_box &box, const invocation &what, const share &which,
                           counts &counts);

// Runs one invocation with a full disk at a directory.
void run_on_full_disk(sweep_box &box, const std::string &directory, const invocation &what,
                      const usual_end &usual, const share &which, counts &counts);

} // namespace sweep
