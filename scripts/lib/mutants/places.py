"""Where in a source file clang sees what: its syntax tree with ranges as offsets into the file."""
import json
import subprocess
import sys

sys.setrecursionlimit(20000)

# A construct that a macro makes up has no text of its own to change.
UNSEEN = (None, None)


class Places:
    """Gives each node its "at": the offsets where it begins and ends, or UNSEEN.

    The tree names a file only where it differs from the one named before: all nodes have to be passed, in order."""

    def __init__(self, path, text):
        self.path = path
        self.text = text
        self.file = None

    def _plain(self, loc):
        self.file = loc.get("file", self.file)
        if "offset" not in loc:
            return None
        return (self.file, loc["offset"], loc["offset"] + loc["tokLen"])

    # The place, and the macro it is in: the offset of its name, or None outside of macros.
    def _place(self, loc):
        if "spellingLoc" not in loc:
            return self._plain(loc), None
        spelling = self._plain(loc["spellingLoc"])
        expansion = self._plain(loc["expansionLoc"])
        if loc["expansionLoc"].get("isMacroArgExpansion"):
            return spelling, None
        return expansion, expansion and expansion[1]

    # Behind the words in parentheses of a macro whose name ends here.
    def _behind_macro(self, end):
        start = end
        while self.text[start : start + 1].isspace():
            start += 1
        if self.text[start : start + 1] != "(":
            return end
        depth = 0
        for i in range(start, len(self.text)):
            depth += {"(": 1, ")": -1}.get(self.text[i], 0)
            if depth == 0:
                return i + 1
        return end

    def _range(self, node):
        begin, begin_macro = self._place(node["range"].get("begin", {}))
        end, end_macro = self._place(node["range"].get("end", {}))
        if not begin or not end or begin[0] != self.path or end[0] != self.path:
            return UNSEEN
        if begin_macro is not None and begin_macro == end_macro:
            return UNSEEN
        stop = end[2] if end_macro is None else self._behind_macro(end[2])
        return (begin[1], stop) if begin[1] < stop else UNSEEN

    def mark(self, node):
        if "loc" in node:
            node["in_file"] = (self._place(node["loc"])[0] or [self.file])[0] == self.path
        node["at"] = self._range(node) if "range" in node else UNSEEN
        for child in node.get("inner", []):
            self.mark(child)


def read_tree(compiler, arguments, source, path):
    """The syntax tree of source, whose ranges are those within path: source itself or a header of it."""
    dump = subprocess.run([compiler, *arguments, "-w", "-fsyntax-only", "-Xclang", "-ast-dump=json", source],
                          stdout=subprocess.PIPE, check=True).stdout
    tree = json.loads(dump)
    with open(path, encoding="latin-1", newline="") as file:
        text = file.read()
    Places(path, text).mark(tree)
    return tree, text
