"""The mutants of one file: what its syntax tree offers to change."""
import re
from dataclasses import dataclass, field

import changes

# How a change is put into the text.
EXPRESSION = "expression"  # another expression in its place
CALL = "call"              # an expression whose value nobody uses, left out
STATEMENT = "statement"    # return, break or continue with its semicolon, left out
ROW = "row"                # an element of a table, left out
MARK = "mark"              # no change: where a function begins


@dataclass
class Mutant:
    kind: str
    begin: int
    end: int
    new: str       # what stands in place of the text from begin to end
    what: str      # as it is told
    function: str
    is_fixed: bool  # within what the compiler evaluates: cannot be switched at run time
    number: int = -1


@dataclass
class Found:
    mutants: list = field(default_factory=list)
    marks: list = field(default_factory=list)     # (offset, function)
    uses: dict = field(default_factory=dict)      # name: what refers to it


@dataclass(frozen=True)
class Around:
    """What stands around a node."""
    function: str = ""
    is_fixed: bool = True
    is_followed: bool = False  # some statement comes next where this one is left out
    is_statement: bool = False
    is_negated: bool = False

    def but(self, **other):
        return Around(**{**self.__dict__, "is_statement": False, "is_negated": False, **other})


TRANSPARENT = {"ParenExpr", "ImplicitCastExpr", "ExprWithCleanups", "ConstantExpr", "MaterializeTemporaryExpr"}
UNEVALUATED = {"UnaryExprOrTypeTraitExpr", "OffsetOfExpr", "StaticAssertDecl", "ConstantExpr", "CXXDefaultArgExpr",
               "EnumDecl", "ParmVarDecl", "CXXNoexceptExpr", "TypedefDecl", "TypeAliasDecl", "FullComment"}
CALLS = {"CallExpr", "CXXMemberCallExpr", "CXXOperatorCallExpr"}


def bare(node):
    while node.get("kind") in TRANSPARENT and node.get("inner"):
        node = node["inner"][-1]
    return node


def type_of(node):
    kind = node.get("type", {})
    name = kind.get("desugaredQualType", kind.get("qualType", ""))
    return re.sub(r"^const char ?\[\d+\]$", "const char *", name)


class Finder:
    def __init__(self, text):
        self.text = text
        self.found = Found()
        self.seen = set()
        self.seen_bodies = set()

    def find(self, tree):
        self.children(tree, Around())
        self.found.mutants.sort(key=lambda m: (m.begin, -m.end))
        return self.found

    # The text of a node in one line, or None.
    def text_of(self, node):
        begin, end = node.get("at", (None, None))
        return None if begin is None else changes.one_line(self.text[begin:end])

    def add(self, kind, around, begin, end, new, what):
        key = (begin, end, kind, new)
        if key not in self.seen:
            self.seen.add(key)
            self.found.mutants.append(Mutant(kind, begin, end, new, what, around.function, around.is_fixed))

    def replace(self, node, around, new):
        begin, end = node["at"]
        old = self.text_of(node)
        self.add(EXPRESSION, around, begin, end, new, f"{old} becomes {new.strip()}")

    def visit(self, node, around):
        if "kind" not in node or node["kind"] in UNEVALUATED:
            return
        getattr(self, "visit_" + node["kind"], self.children)(node, around)

    def children(self, node, around):
        for child in node.get("inner", []):
            self.visit(child, around.but())

    # Declarations

    def visit_FunctionDecl(self, node, around):
        body = node.get("inner", [{}])[-1]
        if not node.get("in_file") or body.get("kind") != "CompoundStmt" or body["at"][0] is None:
            return
        inside = Around(node["name"], bool(node.get("constexpr")))
        if not inside.is_fixed and body["at"] not in self.seen_bodies:
            self.found.marks.append((body["at"][0] + 1, node["name"]))
        self.seen_bodies.add(body["at"])
        self.visit(body, inside)

    visit_CXXMethodDecl = visit_FunctionDecl

    def visit_VarDecl(self, node, around):
        if not around.function and not node.get("in_file"):
            return
        is_static = node.get("storageClass") == "static" or not around.function
        inside = around.but(is_fixed=around.is_fixed or is_static or bool(node.get("constexpr")),
                            function=around.function or node["name"])
        self.children(node, inside)

    def visit_DeclRefExpr(self, node, around):
        name = node.get("referencedDecl", {}).get("name")
        if name:
            self.found.uses.setdefault(name, set()).add(around.function)

    # Statements

    def statement(self, node, around):
        if node.get("kind") in CALLS | {"BinaryOperator", "CompoundAssignOperator", "UnaryOperator",
                                        "ExprWithCleanups"}:
            self.leave_out(node, around)
        self.visit(node, around)

    def leave_out(self, node, around):
        text = self.text_of(node)
        core = bare(node)
        if text is None or self.callee(core) in changes.RELEASES:
            return
        begin, end = node["at"]
        self.add(CALL, around, begin, end, "static_cast<void>(0)", f"{text}; left out")

    def visit_CompoundStmt(self, node, around):
        statements = node.get("inner", [])
        for i, child in enumerate(statements):
            self.statement(child, around.but(is_followed=around.is_followed or i + 1 < len(statements)))

    def visit_IfStmt(self, node, around):
        parts = node["inner"]
        branches = 2 if node.get("hasElse") else 1
        for child in parts[:-branches]:
            self.visit(child, around.but())
        self.condition(parts[-branches - 1], around)
        for child in parts[-branches:]:
            self.statement(child, around.but())

    def visit_WhileStmt(self, node, around):
        self.loop(node["inner"][-1], node["inner"][:-1], around)
        self.condition(node["inner"][-2], around)

    def visit_DoStmt(self, node, around):
        self.loop(node["inner"][0], node["inner"][1:], around)
        self.condition(node["inner"][1], around)

    def visit_ForStmt(self, node, around):
        self.loop(node["inner"][-1], node["inner"][:-1], around)
        if node["inner"][2].get("kind"):
            self.condition(node["inner"][2], around)

    def visit_CXXForRangeStmt(self, node, around):
        self.loop(node["inner"][-1], node["inner"][1:2], around)

    def loop(self, body, rest, around):
        for child in rest:
            self.visit(child, around.but())
        self.statement(body, around.but(is_followed=True))

    def visit_CaseStmt(self, node, around):
        self.statement(node["inner"][-1], around.but(is_followed=around.is_followed))

    visit_DefaultStmt = visit_CaseStmt

    def visit_SwitchStmt(self, node, around):
        last = node["inner"][-1].get("inner", [{}])[-1]
        while last.get("kind") in ("CaseStmt", "DefaultStmt"):
            last = last["inner"][-1]
        last["is_idle"] = last.get("kind") == "BreakStmt"  # it leaves what ends here anyway
        for child in node["inner"][:-1]:
            self.visit(child, around.but())
        self.visit(node["inner"][-1], around.but(is_followed=around.is_followed))

    def jump(self, node, around):
        begin, end = node["at"]
        stop = None if begin is None or node.get("is_idle") else re.compile(r"\s*;").match(self.text, end)
        if stop:
            self.add(STATEMENT, around, begin, stop.end(), "{}", f"{self.text_of(node)}; left out")

    def visit_ReturnStmt(self, node, around):
        if around.is_followed:
            self.jump(node, around)
        for child in node.get("inner", []):
            if type_of(child) == "bool":
                self.condition(child, around)
            self.visit(child, around.but())

    visit_BreakStmt = jump
    visit_ContinueStmt = jump

    # Expressions

    # A truth that is no operator's result is negated.
    def condition(self, node, around):
        core = bare(node)
        if core.get("opcode") in changes.TRUTHS | {"!"} or core.get("kind") in ("CXXBoolLiteralExpr", "DeclStmt", None):
            return
        text = self.text_of(core)
        if text is not None:
            self.replace(core, around, f"!({text})")

    def visit_BinaryOperator(self, node, around):
        left, right = node["inner"]
        a, b = self.text_of(left), self.text_of(right)
        is_distance = "*" in type_of(left) and "*" in type_of(right)
        if a is not None and b is not None and node["at"][0] is not None:
            for other in changes.OPERATORS.get(node["opcode"], []):
                if not (is_distance and other == "+"):
                    self.replace(node, around, f"({a}) {other} ({b})")
        for child in node["inner"]:
            if node["opcode"] in ("&&", "||"):
                self.condition(child, around)
            self.visit(child, around.but())

    visit_CompoundAssignOperator = visit_BinaryOperator

    def visit_ConditionalOperator(self, node, around):
        self.condition(node["inner"][0], around)
        self.children(node, around)

    def visit_UnaryOperator(self, node, around):
        opcode, inner = node["opcode"], node["inner"][0]
        text = self.text_of(inner)
        is_number = bare(inner).get("kind") == "IntegerLiteral"
        if text is not None and node["at"][0] is not None:
            if opcode in ("!", "~") or opcode == "-" and not is_number:
                self.replace(node, around, f"({text})")
            elif opcode in ("++", "--"):
                other = "--" if opcode == "++" else "++"
                self.replace(node, around, f"({text}){other}" if node.get("isPostfix") else f"{other}({text})")
        self.visit(inner, around.but(is_negated=opcode == "-"))

    def visit_ImplicitCastExpr(self, node, around):
        if node.get("castKind") != "NullToPointer":
            self.visit(node["inner"][0], around.but(is_negated=around.is_negated))

    def visit_IntegerLiteral(self, node, around):
        text = self.text_of(node)
        if text is not None:
            for new in changes.changed_number(text, around.is_negated):
                self.replace(node, around, new)

    def visit_CharacterLiteral(self, node, around):
        text = self.text_of(node)
        if text is not None:
            self.replace(node, around, f"static_cast<char>({text} + 1)")

    def visit_CXXBoolLiteralExpr(self, node, around):
        if node["at"][0] is not None:
            self.replace(node, around, "false" if node["value"] else "true")

    def visit_StringLiteral(self, node, around):
        text = self.text_of(node)
        if text is not None and text.startswith('"'):
            for new in changes.changed_string(text):
                self.replace(node, around, new)

    def callee(self, node):
        if node.get("kind") not in CALLS:
            return None
        return bare(node["inner"][0]).get("referencedDecl", {}).get("name")

    def visit_CallExpr(self, node, around):
        words = [w for w in node["inner"][1:] if w.get("kind") != "CXXDefaultArgExpr"]
        texts = [self.text_of(w) for w in words]
        if self.callee(node) not in changes.SYMMETRIC and node["at"][0] is not None and None not in texts:
            for i in range(len(words) - 1):
                if type_of(words[i]) == type_of(words[i + 1]) and texts[i] != texts[i + 1]:
                    self.swap(node, around, words[i], words[i + 1])
        self.children(node, around)

    visit_CXXMemberCallExpr = visit_CallExpr

    def swap(self, node, around, first, second):
        begin, end = node["at"]
        cut = [begin, *first["at"], *second["at"], end]
        pieces = [self.text[cut[i]:cut[i + 1]] for i in range(5)]
        pieces[1], pieces[3] = pieces[3], pieces[1]
        if [begin] + cut[1:-1] + [end] == sorted(cut):
            self.replace(node, around, changes.one_line("".join(pieces)))

    # Tables

    def visit_InitListExpr(self, node, around):
        rows = node.get("inner", [])
        is_table = around.is_fixed and "[" in type_of(node) and node["at"][0] is not None
        if not is_table:
            self.children(node, around)
            return
        # What rows hold is many times the program: a row left out stands for all of it.
        for row in rows:
            self.refer(row, around)
        if len(rows) > 1 and all(r.get("at", (None,))[0] is not None for r in rows):
            for i, row in enumerate(rows):
                self.drop(rows, i, around)

    def refer(self, node, around):
        if node.get("kind") == "DeclRefExpr":
            self.visit_DeclRefExpr(node, around)
        for child in node.get("inner", []):
            self.refer(child, around)

    def drop(self, rows, i, around):
        begin, end = rows[i]["at"]
        text = self.text_of(rows[i])
        if re.fullmatch(r"\{\s*\}|nullptr", text):
            return  # the end mark of a table: without it the rest of memory is read
        behind = rows[i + 1]["at"][0] if i + 1 < len(rows) else end
        before = begin if i + 1 < len(rows) else rows[i - 1]["at"][1]
        if before < behind:
            self.add(ROW, around, before, behind, "", f"row {text} left out")
