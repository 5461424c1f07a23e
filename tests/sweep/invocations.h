// What a sweep starts: every sub-command, program name and event, with full settings.
#pragma once

#include "support/router_box.h"

#include <string>
#include <vector>

namespace sweep
{

enum class program { mcfg, mmac, mctl };

struct invocation {
    std::string name;
    program which;
    std::vector<std::string> words;
    support::environment env;
    void (*prepare)(support::router_box &box); // what it needs besides, or null
    int status = 0; // of mctl, how it ends when nothing fails: what else that tells is no news
};

const std::vector<invocation> &invocations();

// A router with all settings given, where the kernel and the board agree to everything; for mctl,
// one in order (watched_router.h). Makes what all invocations of the program start from.
void furnish(support::router_box &box, program which);

} // namespace sweep
