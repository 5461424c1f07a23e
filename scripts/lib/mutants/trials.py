"""Runs tests against the program with one mutant switched on."""
import collections
import ctypes
import hashlib
import os
import pickle
import re
import select
import signal
import subprocess
import time

from tree import ROOM, TESTS

# A test that takes longer than this is about something else than one routine.
LONGEST_TEST_S = 3.0
# Suites about the tree itself or its scripts, and those that let processes race.
PASSED_OVER = ["install_dependencies*", "papers*", "preview*", "replay*", "*_rounds*"]
MEMORY_MAX = 4 << 30
FILE_MAX = 64 << 20

Test = collections.namedtuple("Test", "program name seconds reached")


# How a program is started: it cannot take the machine's memory, or its disk.
def _limited(*more):
    return ["prlimit", f"--as={MEMORY_MAX}", f"--fsize={FILE_MAX}", "--core=0", *more]


class Server:
    """The unit tests' program, waiting inside its world for mutants and tests."""

    def __init__(self, tree):
        self.process = subprocess.Popen([*_limited(), tree.program(TESTS[0])], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, start_new_session=True,
                                        env={**os.environ, "MUTANTS_SERVER": "1"}, cwd=tree.build)

    def run(self, number, names, cpu_s, wall_s):
        """Returns whether the tests passed, and what they said; (None, "") when time ran out."""
        self.process.stdin.write(f"{number} {cpu_s} {':'.join(names)}\n".encode())
        self.process.stdin.flush()
        out, stop = b"", time.monotonic() + wall_s
        while not re.search(rb"\nENDED \d+\n$", out):
            ready, _, _ = select.select([self.process.stdout], [], [], max(0, stop - time.monotonic()))
            piece = os.read(self.process.stdout.fileno(), 1 << 16) if ready else b""
            if not piece:
                self.end()
                return (None, "") if not ready else (False, out.decode(errors="replace"))
            out += piece
        return out.endswith(b"\nENDED 0\n"), out.decode(errors="replace")

    def is_there(self):
        return self.process.poll() is None

    def end(self):
        os.killpg(self.process.pid, signal.SIGKILL)
        self.process.communicate()


class Segment:
    """Shared memory in which the programs note what they reach."""

    def __init__(self, size):
        libc = ctypes.CDLL(None, use_errno=True)
        self.libc = libc
        self.id = libc.shmget(0, ctypes.c_size_t(size), 0o1666)
        if self.id < 0:
            raise OSError(ctypes.get_errno(), "shmget")

    def close(self):
        self.libc.shmctl(self.id, 0, None)


class Trials:
    def __init__(self, tree):
        self.tree = tree
        self.tests = []
        self.reaching, self.looking = {}, set()
        self.server = None
        self.served, self.unserved = {}, set()
        self.kills = collections.Counter()  # (function or file, test): how many mutants of it the test has killed

    # Returns whether the tests passed, and what they said; (None, "") when time ran out.
    def _start(self, program, names, cpu_s, wall_s):
        command = [*_limited(f"--cpu={cpu_s}"), self.tree.program(program), "--gtest_fail_fast",
                   "--gtest_filter=" + ":".join(names)]
        process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                   stderr=subprocess.DEVNULL, start_new_session=True, cwd=self.tree.build)
        try:
            out = process.communicate(timeout=wall_s)[0].decode(errors="replace")
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            process.communicate()
            return None, ""
        return process.returncode == 0, out

    def _serve(self, mutant, names, cpu_s, wall_s):
        if not self.server or not self.server.is_there():
            self.server = Server(self.tree)
        return self.server.run(mutant.number, names, cpu_s, wall_s)

    def run(self, mutant, program, names, cpu_s, wall_s):
        """Runs tests of a program. Returns None when all passed, the name of the first that failed, or "time"."""
        if program != TESTS[0] or mutant.is_fixed:
            return self._first_failed(program, names, *self._start(program, names, cpu_s, wall_s))
        served = [name for name in names if name not in self.unserved]
        if served:
            failed = self._first_failed(program, served, *self._serve(mutant, served, cpu_s, wall_s))
            if failed not in (None, "time") and not self._can_be_served(failed):
                return self.run(mutant, program, names, cpu_s, wall_s)
            if failed:
                return failed
        alone = [name for name in names if name in self.unserved]
        if not alone:
            return None
        self.tree.switch_program(program, mutant.number)
        try:
            return self._first_failed(program, alone, *self._start(program, alone, cpu_s, wall_s))
        finally:
            self.tree.switch_program(program, -1)

    @staticmethod
    def _first_failed(program, names, passed, out):
        if passed is None:
            return "time"
        if passed:
            return None
        failed = re.findall(r"^\[  FAILED  \] ([\w./]+)", out, re.MULTILINE) or \
            re.findall(r"^\[ RUN      \] ([\w./]+)", out, re.MULTILINE)[-1:]
        return failed[0] if failed else program

    # A test that binds a directory of the machine fails in a child of the server, mutant or not: the program is started
    # for it.
    def _can_be_served(self, name):
        if name not in self.served:
            sound = type(self).Sound()
            self.served[name] = self._serve(sound, [name], 20, 60)[0] is True
            if not self.served[name]:
                self.unserved.add(name)
        return self.served[name]

    class Sound:
        number = -1

    # What a test reaches holds as long as neither it nor the program has changed.
    def _state(self):
        digest = hashlib.sha256()
        for name in self.tree.files():
            if name.startswith(("src/", "tests/", "examples/")) and not name.endswith(".md"):
                digest.update(name.encode() + open(os.path.join(self.tree.top, name), "rb").read())
        return digest.hexdigest()

    def measure(self, say):
        """Finds out for each test how long it takes and which mutants it reaches."""
        path = os.path.join(self.tree.room, "reached")
        state = self._state()
        if os.path.exists(path):
            with open(path, "rb") as file:
                kept_state, tests = pickle.load(file)
            if kept_state == state:
                self.tests = [Test(*t) for t in tests]
                return
        self._measure(say)
        with open(path, "wb") as file:
            pickle.dump((state, [tuple(t) for t in self.tests]), file)

    def _measure(self, say):
        segment = Segment(len(self.tree.sources()) * ROOM)
        self.tree.set_switch(-1, segment.id)
        try:
            for program in TESTS:
                self._measure_program(program, segment, say)
        finally:
            segment.close()
            self.tree.set_switch(-1)

    def _measure_program(self, program, segment, say):
        command = [self.tree.program(program), "--gtest_filter=-" + ":".join(PASSED_OVER)]
        out = subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                             env={**os.environ, "MUTANTS_SEGMENT": str(segment.id)}, cwd=self.tree.build,
                             check=False).stdout.decode(errors="replace")
        failed = set(re.findall(r"^\[  FAILED  \] (\S+?),? ", out, re.MULTILINE))
        for name, seconds, reached in re.findall(r"^REACHED (\S+) (\S+)(.*)$", out, re.MULTILINE):
            if name in failed or float(seconds) > LONGEST_TEST_S:
                say(f"{name}: not used, as it {'fails without a mutant' if name in failed else f'takes {seconds} s'}")
            else:
                self.tests.append(Test(program, name, float(seconds) + 0.002, frozenset(map(int, reached.split()))))

    def _sort_out(self):
        self.reaching = collections.defaultdict(set)
        self.looking = set()  # tests that reach no function: all that they can look at is tables
        self.shares = {}  # (test, file): how much of what the test reaches is in the file
        for i, test in enumerate(self.tests):
            if not test.reached:
                self.looking.add(i)
            for number in test.reached:
                self.reaching[number].add(i)
            for base, count in collections.Counter(n // ROOM for n in test.reached).items():
                self.shares[i, base] = count / len(test.reached)

    # The tests that reach one of the numbers, those first that are likely to tell.
    def _reaching(self, mutant, numbers):
        if not self.reaching:
            self._sort_out()

        def order(i):
            test = self.tests[i]
            return (-self.kills[mutant.file, mutant.function, test.name], -self.kills[mutant.file, test.name],
                    test.seconds * (1.2 - self.shares.get((i, mutant.number // ROOM), 0)), i)
        found = set().union(*(self.reaching[n] for n in numbers), self.looking if mutant.is_fixed else ())
        return [self.tests[i] for i in sorted(found, key=order)]

    # Pieces that grow: most mutants fall to the first tests, and each start costs.
    def _pieces(self, tests, budget_s):
        piece, room, spent = [], 0.15, 0.0
        for test in tests:
            if spent + test.seconds > budget_s and spent > 0:
                break
            spent += test.seconds
            piece.append(test)
            if sum(t.seconds for t in piece) >= room:
                yield piece
                piece, room = [], room * 3
        if piece:
            yield piece

    def judge(self, mutant, numbers, budget_s):
        """Returns how the mutant ended ("killed", "timed out", "survived") and which test told."""
        count = 0
        for piece in self._pieces(self._reaching(mutant, numbers), budget_s):
            for program in TESTS:
                tests = [t for t in piece if t.program == program]
                count += len(tests)
                verdict = self._try(mutant, program, tests)
                if verdict:
                    return verdict
        return "survived", f"{count} tests"

    def _try(self, mutant, program, tests):
        if not tests:
            return None
        usual = sum(t.seconds for t in tests)
        failed = self.run(mutant, program, [t.name for t in tests], 2 + int(4 * usual), 40 + 20 * usual)
        if failed is None:
            return None
        self.kills[mutant.file, failed] += 1
        self.kills[mutant.file, mutant.function, failed] += 1
        return ("timed out", tests[0].name) if failed == "time" else ("killed", failed)
