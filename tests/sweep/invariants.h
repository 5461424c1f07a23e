// What holds after every run, whatever failed in it.
#pragma once

#include "support/router_box.h"
#include "sweep/files.h"

#include <set>
#include <string>

namespace sweep
{

// How a run that nothing disturbs ends.
struct usual_end {
    support::outcome result;
    files before;
    files after;
    std::set<std::string> commands; // the lines of its trace that are commands
};

// A run that something has disturbed.
struct disturbed_end {
    support::outcome result;
    files after;
    bool is_killed; // on purpose
    bool may_tear;  // what is written in place may be cut: a write failed, or the run was killed
    bool may_keep_lock;   // the lock's release itself has failed
    bool is_mute = false; // what it says reaches nobody
};

std::set<std::string> commands_of(const std::string &trace);

// What is wrong, a line for each; empty when all holds.
std::string wrongs(const usual_end &usual, const disturbed_end &end);
// The same for a run over files that are not as they should be, which are not to be compared with.
std::string wrongs_of_odd_files(const files &before, const disturbed_end &end);

// The same of mctl, by its command: what it tells is as when nothing disturbs it, or it ends with
// what says that it could not look; nothing is changed that is not to be mended; no secret is told.
std::string wrongs_of_mctl(const std::string &command, const usual_end &usual,
                           const disturbed_end &end);

// ---- parts of both

bool is_json(const std::string &text);
std::string check_end(const usual_end &usual, const disturbed_end &end);
std::string check_inherited(const usual_end &usual, const disturbed_end &end);
std::string check_store(const usual_end &usual, const disturbed_end &end);

} // namespace sweep
