// mctl as a routine: its words in, its exit status and both outputs out.
#pragma once

#include "ctl/mctl.h"
#include "support/private_world.h"

#include <string>
#include <vector>

namespace ctl_test
{

struct told {
    int status;
    std::string out;
    std::string err;
};

inline bool operator==(const told &a, const told &b)
{
    return a.status == b.status && a.out == b.out && a.err == b.err;
}

inline std::ostream &operator<<(std::ostream &out, const told &what)
{
    return out << what.status << "\n" << what.out << "----\n" << what.err;
}

// Any routine that gives a status.
template <class Routine> told outputs_of(Routine routine)
{
    struct context {
        Routine &routine;
        told what;
    } run = {routine, {-1, "", ""}};
    run.what.err = support::private_world::captured(
        2,
        [](void *outer) {
            static_cast<context *>(outer)->what.out = support::private_world::captured(
                1,
                [](void *inner) {
                    context *c = static_cast<context *>(inner);
                    c->what.status = c->routine();
                },
                outer);
        },
        &run);
    return run.what;
}

inline told run_mctl(std::vector<std::string> words)
{
    std::vector<char *> argv = {const_cast<char *>("mctl")};
    for (std::string &word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    return outputs_of([&] { return mctl_main(static_cast<int>(words.size()) + 1, argv.data()); });
}

} // namespace ctl_test
