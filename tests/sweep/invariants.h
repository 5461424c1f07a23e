// What holds after every run, whatever failed in it.
#pragma once

#include "support/router_box.h"
#include "sweep/files.h"

#include <map>
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
    // How it leaves the files when one of its settings files is missing, by that file's path.
    std::map<std::string, files> without = {};
};

// A run that something has disturbed.
struct disturbed_end {
    support::outcome result;
    files after;
    bool is_killed;             // on purpose
    std::set<std::string> torn; // files that may be cut: a write to them failed, or the run was
                                // killed while they were open for writing; "" is an output
    bool may_keep_lock;         // the lock's release itself has failed
    bool is_mute = false;       // what it says reaches nobody
    int call = -1;              // of which kind calls failed, and how many
    unsigned failed = 0;
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
// Where nothing is reported, all is done and left as usual.
std::string check_silence(const usual_end &usual, const disturbed_end &end);
bool may_tear(const disturbed_end &end, const std::string &path);

} // namespace sweep
