// The scripts that start fuzz targets, failing calls and mutants: what they say of arguments that
// they can do nothing with, before minutes of building, of a build that fails, and of an input that
// breaks something.
#include "support/scratch.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>

namespace
{

namespace fs = std::filesystem;

using support::said;

// The scripts in a tree of their own with what they look at, where a build is played and says that
// it was begun.
class drivers : public ::testing::Test
{
  protected:
    drivers()
    {
        copy("scripts");
        copy("tests/fuzz/targets.cpp");
        copy("tests/sweep/invocations.cpp");
        copy("src/util/lock.cpp");
        play("tools/dpkg-query", "printf installed");
        play("tools/cmake", "echo a build was begun");
        play("tests/fuzz/make-seeds", "");
        play("build-fuzz/tests/fuzz/mcfg_fuzz_replay", "echo 'lease 3072 lease events'");
        play("build-fuzz/tests/fuzz/mcfg_fuzz",
             "echo cov: 8; echo stat::number_of_executed_units: 9");
        play("build/tests/mcfg_sweep", "echo swept: $*");
        support::run_line("git init -q '" + here.string() + "'");
    }

    void copy(const std::string &name) const
    {
        fs::create_directories((here / name).parent_path());
        fs::copy(fs::path(MCFG_SOURCE_DIR) / name, here / name, fs::copy_options::recursive);
    }

    void play(const std::string &name, const std::string &lines) const
    {
        room.write(name, "#!/bin/bash\n" + lines + "\n");
        fs::permissions(here / name, fs::perms::owner_all);
    }

    // A line of the shell in the tree.
    said run(const std::string &line) const
    {
        return support::run_line("exec 2>&1; cd '" + here.string() +
                                 "' && PATH=$PWD/tools:$PATH; " + line);
    }

    support::scratch_directory room{"drivers test"};
    const fs::path &here = room.path();
};

// clang-format off
struct refused {
    const char *line;
    const char *answer; // how its one line begins
};

constexpr refused refusals[] = {
    {"scripts/sweep nosuch", "sweep: no invocation \"nosuch\"; there are: no-command start get_wan_type "},
    {"scripts/sweep sanitize netbase_start host", "sweep: no invocation \"host\"; there are: "},
    {"scripts/sweep 'ip-up ip-down'", "sweep: no invocation \"ip-up ip-down\"; there are: "},
    {"scripts/sweep --parts 0", "sweep: --parts needs a number from 1 on, not \"0\"\n"},
    {"scripts/sweep --parts x start", "sweep: --parts needs a number from 1 on, not \"x\"\n"},
    {"scripts/sweep start --parts", "sweep: --parts needs a number from 1 on, not \"\"\n"},
    {"scripts/sweep --turn -1", "sweep: --turn needs a number from 0 on, not \"-1\"\n"},
    {"scripts/sweep --part 10", "sweep: no option \"--part\"; there are: --parts --turn\n"},
    {"MCFG_SWEEP_TURN=x scripts/sweep", "sweep: MCFG_SWEEP_TURN needs a number from 0 on, not \"x\"\n"},

    {"scripts/mutants nosuch.cpp", "mutants: no source of the program, such as src/util/lock.cpp: nosuch.cpp\n"},
    {"scripts/mutants src/util/lock.cpp src", "mutants: no source of the program, such as src/util/lock.cpp: src\n"},
    {"scripts/mutants --sample 0", "mutants: argument --sample: needs a number from 1 on, not \"0\"; scripts/mutants --help"},
    {"scripts/mutants --nosuch", "mutants: unrecognized arguments: --nosuch; scripts/mutants --help"},

    {"scripts/fuzz nosuch", "fuzz: no target \"nosuch\"; there are: all coverage minimise settings firewall lease "},
    {"scripts/fuzz l.* 5", "fuzz: no target \"l.*\"; there are: all "},
    {"scripts/fuzz all", "fuzz: for how many seconds, from 1 on? scripts/fuzz all SECONDS, not \"\"\n"},
    {"scripts/fuzz all x", "fuzz: for how many seconds, from 1 on? scripts/fuzz all SECONDS, not \"x\"\n"},
    {"scripts/fuzz lease 0", "fuzz: for how many seconds, from 1 on? scripts/fuzz lease SECONDS, not \"0\"\n"},
    {"scripts/fuzz lease 5 ppp 6", "fuzz: nothing is known to do with \"ppp 6\" behind lease\n"},
    {"scripts/fuzz coverage lease", "fuzz: nothing is known to do with \"lease\" behind coverage\n"},
    {"MCFG_FUZZ_SEED=0 scripts/fuzz all 5", "fuzz: MCFG_FUZZ_SEED is a number from 1 on, not \"0\"\n"},
    {"MCFG_FUZZ_SEED=x scripts/fuzz all 5", "fuzz: MCFG_FUZZ_SEED is a number from 1 on, not \"x\"\n"},
};
// clang-format on

TEST_F(drivers, say_what_is_wrong_in_a_line_and_build_nothing)
{
    for (const refused &row : refusals) {
        SCOPED_TRACE(row.line);
        said s = run(row.line);
        EXPECT_EQ(s.status, 2);
        EXPECT_EQ(s.text.substr(0, std::string(row.answer).size()), row.answer);
        EXPECT_EQ(s.text.find('\n'), s.text.size() - 1) << s.text;
    }
}

TEST_F(drivers, hand_on_what_is_right)
{
    said s = run("scripts/sweep host --parts 10 --turn 13 start ip-up; MCFG_FUZZ_SEED=7 "
                 "scripts/fuzz lease 5");
    EXPECT_EQ(s.status, 0);
    EXPECT_EQ(s.text, "swept: --parts 10 --turn 13 start ip-up\n"
                      "MCFG_FUZZ_SEED=7\nlease: 9 inputs, 8 edges\n1 passed, 0 failed\n");
}

TEST_F(drivers, show_why_a_build_fails)
{
    play("tools/cmake", "echo a build has failed; exit 1");
    for (const char *line : {"scripts/sweep start", "scripts/fuzz lease 5"}) {
        said s = run(line);
        EXPECT_EQ(s.status, 1) << line;
        EXPECT_EQ(s.text, "a build has failed\n0 passed, 1 failed\n") << line;
    }
}

TEST_F(drivers, tell_how_a_finding_is_had_again)
{
    play("build-fuzz/tests/fuzz/mcfg_fuzz", R"sh(
        input=build-fuzz/findings/lease-crash-1
        printf hostile > $input
        echo "fuzz: a lease of $(grep -o -e '-seed=[0-9]*' <<< "$*")"
        echo "artifact_prefix='build-fuzz/findings/lease-'; Test unit written to $input"
        exit 77)sh");
    said s = run("MCFG_FUZZ_SEED=7 scripts/fuzz lease 5");
    EXPECT_EQ(s.status, 1);
    EXPECT_EQ(s.text,
              R"(MCFG_FUZZ_SEED=7
fuzz: a lease of -seed=7
lease: to try again: MCFG_FUZZ_SEED=7 scripts/fuzz lease 5
lease: or this input alone: build-fuzz/tests/fuzz/mcfg_fuzz_replay run lease build-fuzz/findings/lease-crash-1, which is
  base64 -d > build-fuzz/findings/lease-crash-1 << end
aG9zdGlsZQ==
end
lease: failed
0 passed, 1 failed
)");
}

} // namespace
