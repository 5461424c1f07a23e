"""A copy of the checkout whose sources bear the mutants, and what is built from it."""
import fnmatch
import hashlib
import json
import os
import pickle
import re
import shutil
import subprocess

import places
import schemata
import sites

PROGRAMS = ["mcfg", "mmac", "mctl", "tests/mcfg_unit_tests"]
TESTS = ["tests/mcfg_unit_tests", "tests/mcfg_system_tests", "tests/mcfg_trees_tests"]
ROOM = 2048  # numbers for each file


def run_quietly(command, log, **options):
    """What the tools say is of interest only when they fail."""
    with open(log, "w", encoding="utf-8") as out:
        status = subprocess.run(command, stdin=subprocess.DEVNULL, stdout=out, stderr=subprocess.STDOUT, check=False,
                                **options).returncode
    return status == 0


def read_text(path):
    with open(path, encoding="latin-1", newline="") as file:
        return file.read()


def write_if_new(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    if not os.path.exists(path) or read_text(path) != text:
        with open(path, "w", encoding="latin-1", newline="") as file:
            file.write(text)


class Tree:
    def __init__(self, top):
        self.top = top
        self.room = os.path.join(top, "build-mutants")
        self.copy = os.path.join(self.room, "tree")
        self.build = os.path.join(self.room, "build")
        self.kept = os.path.join(self.room, "sound")
        self.scans = {}
        self.names = None
        self.texts = {}  # of the sources, as they were when the mutants in them were found

    # What git knows or would take in, as it stands.
    def files(self):
        out = subprocess.run(["git", "-C", self.top, "ls-files", "-z", "-co", "--exclude-standard"],
                             stdout=subprocess.PIPE, check=True).stdout.decode()
        return sorted(f for f in out.split("\0") if f and os.path.isfile(os.path.join(self.top, f)))

    def sources(self):
        if self.names is None:
            self.names = [f for f in self.files() if fnmatch.fnmatch(f, "src/*.cpp")]
        return self.names

    def scan(self, path):
        """The mutants of a source, from what was kept of the last time where nothing has changed since."""
        if path not in self.scans:
            self.scans[path] = self._numbered(path, self._scan(path))
        return self.scans[path]

    def _scan(self, path):
        digest = hashlib.sha256()
        headers = [f for f in self.files() if fnmatch.fnmatch(f, "src/*.h")]
        here = os.path.dirname(__file__)
        for name in [path, *headers]:
            digest.update(open(os.path.join(self.top, name), "rb").read())
        for name in ("places.py", "changes.py", "sites.py"):
            digest.update(open(os.path.join(here, name), "rb").read())
        kept = os.path.join(self.room, "scans", path.replace("/", "-") + "." + digest.hexdigest()[:16])
        if os.path.exists(kept):
            return pickle.load(open(kept, "rb"))
        source = os.path.join(self.top, path)
        arguments = ["-std=gnu++17", "-I" + os.path.join(self.top, "src"), '-DMCFG_VERSION="0"']
        tree, text = places.read_tree("clang++", arguments, source, source)
        found = sites.Finder(text).find(tree)
        os.makedirs(os.path.dirname(kept), exist_ok=True)
        pickle.dump(found, open(kept, "wb"))
        return found

    def _numbered(self, path, found):
        base = self.sources().index(path) * ROOM
        marks = [sites.Mutant(sites.MARK, at, at, "", "", name, False) for at, name in found.marks]
        assert len(found.mutants) + len(marks) <= ROOM, path
        for i, mutant in enumerate(found.mutants + marks):
            mutant.number = base + i
            mutant.file = path
        found.marks = marks
        text = self.texts[path] = read_text(os.path.join(self.top, path))
        for mutant in found.mutants:
            mutant.line = text.count("\n", 0, mutant.begin) + 1
            mutant.key = self._key(text, mutant)
        return found

    # The same mutant after lines were added above it.
    def _key(self, text, mutant):
        start = text.rfind("\n", 0, mutant.begin) + 1
        stop = text.find("\n", mutant.begin)
        words = f"{mutant.file}\0{mutant.function}\0{mutant.begin - start}\0{text[start:stop]}\0{mutant.what}"
        return hashlib.sha256(words.encode()).hexdigest()[:20]

    # Building

    def write(self):
        wanted = set(self.files())
        sources = self.sources()
        self.demoted = self._demoted()
        for name in sorted(wanted - set(sources)):
            self._copy(name)
        for name in sources:
            found = self.scan(name)
            for mutant in found.mutants:
                mutant.is_fixed = mutant.is_fixed or mutant.kind == sites.ROW or mutant.key in self.demoted
            switched = [m for m in found.mutants if not m.is_fixed]
            write_if_new(os.path.join(self.copy, name), schemata.with_all(self.texts[name], switched + found.marks))
        write_if_new(os.path.join(self.copy, "src/mutants.h"), schemata.HEADER)
        write_if_new(os.path.join(self.copy, "src/mutants.cpp"), schemata.switch_source(len(sources) * ROOM))
        ours = {"src/mutants.h", "src/mutants.cpp", "tests/util/mutants_test.cpp", "tests/system/mutants_test.cpp"}
        for name in fnmatch.filter(ours, "tests/*"):
            write_if_new(os.path.join(self.copy, name), schemata.LISTENER % (len(sources) * ROOM))
        self._forget(wanted | ours)

    def _copy(self, name):
        source, copy = os.path.join(self.top, name), os.path.join(self.copy, name)
        old = open(copy, "rb").read() if os.path.exists(copy) else None
        new = open(source, "rb").read()
        # The tests keep each other's shared memory apart, too; but a segment takes what they reach.
        if fnmatch.fnmatch(name, "tests/support/*.cpp"):
            new = new.replace(b" | CLONE_NEWIPC", b"")
        if name == "tests/support/unit_main.cpp":
            new = schemata.with_server(new.decode()).encode()
        # A few of the random trees of settings: a fault that matters shows in one of them.
        if name == "tests/CMakeLists.txt":
            new = re.sub(rb"MCFG_CHECK_TREES=\S+(?=\))", b"MCFG_CHECK_TREES=20", new)
            new = new.replace(b"add_executable(mcfg_trees_tests ", b"add_executable(mcfg_trees_tests system/mutants_test.cpp ")
        if old != new:
            os.makedirs(os.path.dirname(copy), exist_ok=True)
            with open(copy, "wb") as file:
                file.write(new)
            shutil.copymode(source, copy)

    def _forget(self, wanted):
        for directory, _, names in os.walk(self.copy):
            for name in names:
                path = os.path.join(directory, name)
                if os.path.relpath(path, self.copy) not in wanted:
                    os.unlink(path)

    def _demoted(self):
        path = os.path.join(self.room, "demoted.json")
        return set(json.load(open(path, encoding="utf-8"))) if os.path.exists(path) else set()

    def _demote(self, log):
        """Takes out what does not compile side by side with the rest: it is compiled alone. False: nothing found."""
        lines = set(re.findall(r"tree/(src/[\w/]+\.cpp):(\d+):\d+: (?:fatal )?error", read_text(log)))
        before = len(self.demoted)
        for name, line in lines:
            for mutant in self.scan(name).mutants:
                last = mutant.line + self.texts[name].count("\n", mutant.begin, mutant.end)
                if not mutant.is_fixed and mutant.line <= int(line) <= last:
                    self.demoted.add(mutant.key)
        with open(os.path.join(self.room, "demoted.json"), "w", encoding="utf-8") as file:
            json.dump(sorted(self.demoted), file)
        return len(self.demoted) > before

    def make(self, jobs):
        self.restore()
        log = os.path.join(self.room, "build.log")
        flags = "-O0 -w -fpermissive -Wno-narrowing"
        configure = ["cmake", "-S", self.copy, "-B", self.build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
                     "-DCMAKE_CXX_FLAGS_DEBUG=" + flags, "-DCMAKE_C_FLAGS_DEBUG=-O1 -w",
                     "-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld"]
        targets = [os.path.basename(t) for t in PROGRAMS + TESTS[1:]] + ["router-box"]
        while True:
            self.write()
            if run_quietly(configure, log) and \
               run_quietly(["cmake", "--build", self.build, "-j", str(jobs), "--", "-k", "0", *targets], log):
                break
            if not self._demote(log):
                raise SystemExit(read_text(log)[-6000:] + "\nmutants: the build failed, see " + log)
        self._keep()

    def program(self, name):
        return os.path.join(self.build, name)

    def _keep(self):
        for name in PROGRAMS:
            kept = os.path.join(self.kept, name)
            os.makedirs(os.path.dirname(kept), exist_ok=True)
            shutil.copy2(self.program(name), kept)

    def restore(self):
        """Puts the programs back as they were built."""
        for name in PROGRAMS:
            kept = os.path.join(self.kept, name)
            if os.path.exists(kept):
                self.replace(kept, self.program(name))

    @staticmethod
    def replace(source, path):
        shutil.copy2(source, path + ".new")
        os.rename(path + ".new", path)

    def set_switch(self, active, segment=-1):
        """Makes the programs that the tests start this mutant. (The unit tests' program is told when it runs.)"""
        for name in PROGRAMS if segment != -1 or active == -1 else PROGRAMS[:-1]:
            self.switch_program(name, active, segment)

    def switch_program(self, name, active, segment=-1):
        if name not in self.switches:
            content = open(os.path.join(self.kept, name), "rb").read()
            self.switches[name] = content.index(schemata.SWITCH_MARK) + len(schemata.SWITCH_MARK)
        path = self.program(name)
        words = active.to_bytes(4, "little", signed=True) + segment.to_bytes(4, "little", signed=True)
        try:
            file = os.open(path, os.O_WRONLY)
        except OSError:  # something still runs it
            self.replace(path, path)
            file = os.open(path, os.O_WRONLY)
        os.pwrite(file, words, self.switches[name])
        os.close(file)

    switches = {}
