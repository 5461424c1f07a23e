// Fails the program's calls one at a time and looks at what becomes of the router: see sweep.h.
//
//   mcfg_sweep [--parts N] [--turn N] [INVOCATION...]
//
// Of all runs every N-th is made (default 1: all), beginning with number turn (default: what
// MCFG_SWEEP_TURN says, else 0). Without names, all invocations are swept.
#include "sweep/sweep.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <map>
#include <memory>
#include <vector>

using namespace sweep;

namespace
{

struct arguments {
    share which;
    std::vector<std::string> names;
};

arguments read_arguments(int argc, char **argv)
{
    arguments given;
    const char *turn = getenv("MCFG_SWEEP_TURN");
    given.which.turn = turn != nullptr ? unsigned(strtoul(turn, nullptr, 10)) : 0;
    for (int i = 1; i < argc; i++) {
        std::string word = argv[i];
        if (word == "--parts" && i + 1 < argc)
            given.which.parts = std::max(1u, unsigned(strtoul(argv[++i], nullptr, 10)));
        else if (word == "--turn" && i + 1 < argc)
            given.which.turn = unsigned(strtoul(argv[++i], nullptr, 10));
        else
            given.names.push_back(word);
    }
    given.which.turn %= given.which.parts;
    return given;
}

bool is_asked_for(const arguments &given, const std::string &name)
{
    return given.names.empty() ||
           std::find(given.names.begin(), given.names.end(), name) != given.names.end();
}

void show(const counts &sum, const share &which)
{
    printf("sweep: %u invocations, %u calls of %zu kinds; %u runs of %u (part %u of %u), "
           "%u calls failed; %u findings\n",
           sum.invocations, sum.calls, sum.kinds.size(), sum.runs, sum.possible, which.turn + 1,
           which.parts, sum.failed, sum.findings);
    printf("%u passed, %u failed\n", sum.runs - sum.findings, sum.findings);
}

// One program's worlds: a usual one, and one for each directory whose disk is full.
class worlds
{
  public:
    explicit worlds(program which) : usual(which)
    {
        if (which == program::mctl) // it keeps nothing
            return;
        for (const char *directory : {"/tmp", "/var/run", "/etc"})
            full.emplace(directory, std::make_unique<sweep_box>(which, directory));
    }
    void sweep(const invocation &what, const share &which, counts &sum)
    {
        unsigned before = sum.possible;
        usual_end end = sweep_invocation(usual, what, which, sum);
        for (const auto &[directory, box] : full)
            run_on_full_disk(*box, directory, what, end, which, sum);
        printf("%-24s %u runs possible\n", what.name.c_str(), sum.possible - before);
        fflush(stdout);
    }

  private:
    sweep_box usual;
    std::map<std::string, std::unique_ptr<sweep_box>> full;
};

counts sweep_all(const arguments &given)
{
    counts sum;
    for (program which : {program::mcfg, program::mmac, program::mctl}) {
        worlds all(which);
        for (const invocation &what : invocations())
            if (what.which == which && is_asked_for(given, what.name))
                all.sweep(what, given.which, sum);
    }
    return sum;
}

} // namespace

int main(int argc, char **argv)
{
    try {
        arguments given = read_arguments(argc, argv);
        counts sum = sweep_all(given);
        show(sum, given.which);
        return sum.findings > 0 || sum.runs == 0;
    } catch (const std::exception &e) {
        fprintf(stderr, "sweep: %s\n", e.what());
        return 2;
    }
}
