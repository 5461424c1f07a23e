"""Mutants of what the compiler evaluates, tables above all: each is compiled and linked by itself."""
import json
import os
import shlex
import subprocess

from tree import PROGRAMS, run_quietly


class Alone:
    def __init__(self, tree):
        self.tree = tree
        self.room = os.path.join(tree.room, "alone")
        os.makedirs(self.room, exist_ok=True)
        self.log = os.path.join(self.room, "build.log")
        with open(os.path.join(tree.build, "compile_commands.json"), encoding="utf-8") as file:
            self.compile = {c["file"]: shlex.split(c["command"]) for c in json.load(file)}
        self.links = {name: self._link(name) for name in PROGRAMS}

    # The command that links a program, as the build has it, without what its generator puts around it.
    def _link(self, name):
        out = subprocess.run(["ninja", "-C", self.tree.build, "-t", "commands", "-s", name],
                             stdout=subprocess.PIPE, check=True).stdout.decode()
        words = shlex.split(out.strip().splitlines()[-1])
        return words[words.index("&&") + 1:-2] if words[0] == ":" else words

    def build(self, mutant):
        """Builds the programs with this mutant. False: it does not compile."""
        text = self.tree.texts[mutant.file]
        changed = text[:mutant.begin] + self._new(mutant) + text[mutant.end:]
        source = os.path.join(self.room, os.path.basename(mutant.file))
        with open(source, "w", encoding="latin-1", newline="") as file:
            file.write(changed)
        command = self.compile[os.path.join(self.tree.copy, mutant.file)]
        command = list(command)
        while os.path.basename(command[0]) == "ccache":
            command.pop(0)
        obj = source[:-4] + ".o"
        command[command.index("-o") + 1] = obj
        command[command.index("-c") + 1] = source
        return run_quietly(command, self.log, cwd=self.tree.build) and all(self._relink(n, obj) for n in PROGRAMS)

    @staticmethod
    def _new(mutant):
        return f"({mutant.new})" if mutant.kind == "expression" else mutant.new

    # Before the library, so that its own object of this source stays out.
    def _relink(self, name, obj):
        words = list(self.links[name])
        library = next(i for i, w in enumerate(words) if w.endswith("libmcfg_core.a"))
        words.insert(library, obj)
        out = words.index("-o") + 1
        words[out] = self.tree.program(name) + ".new"
        if not run_quietly(words, self.log, cwd=self.tree.build):
            return False
        os.rename(words[out], self.tree.program(name))
        return True
