"""One source text that holds all mutants of a file: each acts where the switch bears its number."""
import sites

HEADER = """#pragma once
extern volatile int mutant_active;
extern unsigned char *mutant_reached;
#define MUTANT(number) (mutant_reached[number] = 1, mutant_active == (number))
"""

# The switch is found in the built programs by its mark, and set there: so whatever starts them, in whatever
# environment, starts the mutant. While the tests are measured, the segment takes what they reach.
SWITCH = """#include <sys/shm.h>
extern volatile int mutant_active;
extern unsigned char *mutant_reached;
struct mutant_switch { char mark[16]; volatile int active; volatile int segment; };
static mutant_switch the_switch = {{%s}, -1, -1};
static unsigned char nowhere[%d];
unsigned char *mutant_reached = nowhere;
volatile int mutant_active = -1;
__attribute__((constructor(101))) static void look_at_switch()
{
    mutant_active = the_switch.active;
    if (the_switch.segment != -1)
        mutant_reached = static_cast<unsigned char *>(shmat(the_switch.segment, nullptr, 0));
}
"""
SWITCH_MARK = b"switch of mutant"


def switch_source(room):
    return SWITCH % (", ".join(str(c) for c in SWITCH_MARK), room)


# Beside the tests while they are measured: says after each which mutants it has reached, and what it took.
LISTENER = """#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/shm.h>
static double used(int who)
{
    rusage u;
    getrusage(who, &u);
    return double(u.ru_utime.tv_sec + u.ru_stime.tv_sec) + double(u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e6;
}
static double used() { return used(RUSAGE_SELF) + used(RUSAGE_CHILDREN); }
struct reached_listener : testing::EmptyTestEventListener {
    unsigned char *reached = nullptr;
    double start = 0;
    void OnTestStart(const testing::TestInfo &) override { start = used(); }
    void OnTestEnd(const testing::TestInfo &test) override
    {
        printf("\\nREACHED %%s.%%s %%.3f", test.test_suite_name(), test.name(), used() - start);
        for (int i = 0; i < %d; i++) {
            if (reached[i] != 0)
                printf(" %%d", i);
            reached[i] = 0;
        }
        printf("\\n");
        fflush(stdout);
    }
};
static bool listen()
{
    const char *segment = getenv("MUTANTS_SEGMENT");
    if (segment == nullptr)
        return false;
    auto *listener = new reached_listener;
    listener->reached = static_cast<unsigned char *>(shmat(atoi(segment), nullptr, 0));
    testing::UnitTest::GetInstance()->listeners().Append(listener);
    return true;
}
static bool is_listening = listen();
"""

# In the unit tests' program, once it is inside its world: reads "NUMBER SECONDS FILTER" from its input, runs these
# tests with this mutant in a child, which takes its mounts along when it ends, and says how it ended. To start the
# program and make its world anew would take several times as long as the tests. The calls are the kernel's own, as
# what the last test made of the others still holds.
SERVER = """
#include <csignal>
#include <cstring>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
extern volatile int mutant_active;
static void be_mutant(int number, rlim_t seconds, const char *filter)
{
    rlimit most = {seconds, seconds + 1};
    if (setrlimit(RLIMIT_CPU, &most) != 0 || unshare(CLONE_NEWNS) != 0)
        _exit(99);
    testing::GTEST_FLAG(filter) = filter;
    testing::GTEST_FLAG(fail_fast) = true;
    mutant_active = number;
}
static const bool is_server = getenv("MUTANTS_SERVER") != nullptr; // the world has another environment
static void serve_mutants()
{
    static char line[1 << 20];
    if (!is_server)
        return;
    while (fgets(line, sizeof(line), stdin) != nullptr) {
        char *rest = nullptr;
        int number = int(strtol(line, &rest, 10));
        rlim_t seconds = rlim_t(strtol(rest, &rest, 10));
        rest[strcspn(rest, "\\n")] = 0;
        pid_t child = pid_t(syscall(SYS_clone, SIGCHLD, 0, 0, 0, 0));
        if (child == 0)
            return be_mutant(number, seconds, rest + 1);
        if (child < 0) {
            perror("fork");
            _exit(98);
        }
        int status = 0;
        while (syscall(SYS_wait4, child, &status, 0, 0) != child) {}
        syscall(SYS_kill, -1, SIGKILL);
        while (syscall(SYS_wait4, -1, nullptr, WNOHANG, 0) > 0) {}
        printf("\\nENDED %d\\n", status);
        fflush(stdout);
    }
    _exit(0);
}
"""


def with_server(text):
    """The main() of the unit tests with the server in it."""
    call = "    int status = RUN_ALL_TESTS();"
    assert call in text
    text = text.replace(call, "    serve_mutants();\n    tests_process = getpid();\n" + call)
    return text.replace("int main(", SERVER.replace("\\\\", "\\") + "int main(", 1)


def _wrap(mutant, inside):
    number = mutant.number
    if mutant.kind == sites.MARK:
        return f" MUTANT({number});"
    if mutant.kind == sites.EXPRESSION:
        return f"(MUTANT({number}) ? ({mutant.new}) : ({inside}))"
    if mutant.kind == sites.CALL:
        return f"(MUTANT({number}) ? static_cast<void>(0) : static_cast<void>({inside}))"
    return f"{{ if (!MUTANT({number})) {inside} }}"


class _Range:
    def __init__(self, begin, end):
        self.begin, self.end = begin, end
        self.mutants, self.inner = [], []


# Ranges within ranges: what is changed in the midst of what is changed as a whole.
def _nest(mutants, length):
    root = _Range(0, length)
    path = [root]
    for mutant in sorted(mutants, key=lambda m: (m.begin, -m.end)):
        while not (path[-1].begin <= mutant.begin and mutant.end <= path[-1].end):
            path.pop()
        if (path[-1].begin, path[-1].end) != (mutant.begin, mutant.end) or path[-1] is root:
            inner = _Range(mutant.begin, mutant.end)
            path[-1].inner.append(inner)
            path.append(inner)
        path[-1].mutants.append(mutant)
    return root


def _text(text, node):
    out, at = [], node.begin
    for inner in node.inner:
        out += [text[at:inner.begin], _text(text, inner)]
        at = inner.end
    result = "".join(out) + text[at:node.end]
    # What leaves an expression out stands around what changes its value.
    for mutant in sorted(node.mutants, key=lambda m: m.kind != sites.EXPRESSION):
        result = _wrap(mutant, result)
    return result


def with_all(text, mutants):
    """The text with all these mutants and marks in it, as many lines as before."""
    return '#include "mutants.h"\n#line 1\n' + _text(text, _nest(mutants, len(text)))
