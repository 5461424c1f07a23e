"""What is changed in an expression, given its text: one small fault for each change."""
import re

OPERATORS = {
    "==": ["!="], "!=": ["=="],
    "<": ["<=", ">="], "<=": ["<", ">"], ">": [">=", "<="], ">=": [">", "<"],
    "&&": ["||"], "||": ["&&"],
    "+": ["-"], "-": ["+"], "*": ["/"], "/": ["*"], "%": ["*"],
    "&": ["|"], "|": ["&"], "^": ["&"], "<<": [">>"], ">>": ["<<"],
    "+=": ["-="], "-=": ["+="], "*=": ["/="], "/=": ["*="], "%=": ["*="],
    "&=": ["|="], "|=": ["&="], "^=": ["&="], "<<=": [">>="], ">>=": ["<<="],
}
TRUTHS = {"==", "!=", "<", "<=", ">", ">=", "&&", "||"}

# Compared for equality only, so that the order of their first two words says nothing.
SYMMETRIC = {"strcmp", "strcasecmp", "strncmp", "strncasecmp", "memcmp", "json_equal"}

# What gives memory back: the process ends soon after, and nothing can tell.
RELEASES = {"free", "json_decref", "va_end"}


def one_line(text):
    """The text without comments and line ends, as it must be to stand within a line."""
    pieces = re.findall(r'"(?:\\.|[^"\\])*"|\'(?:\\.|[^\'\\])*\'|//[^\n]*|/\*.*?\*/|[^"\'/]+|/', text, re.DOTALL)
    kept = (" " if p.startswith(("//", "/*")) else p if p[0] in "\"'" else re.sub(r"\s+", " ", p) for p in pieces)
    return "".join(kept)


def changed_number(text, negated):
    digits = re.fullmatch(r"(0[xX][0-9a-fA-F]+|[0-9]+)[uUlL]*", text)
    if not digits:
        return []
    if not re.search("[1-9a-fA-F]", digits.group(1)):
        return [f"({text} + 1)"]
    return [f"({text} - 1)"] if negated else [f"({text} + 1)", f"({text} - 1)"]


# Offsets of the characters of a string that may be changed for others: no escapes, no directives.
def _free_characters(text):
    free = []
    for literal in re.finditer(r'"((?:\\.|[^"\\])*)"', text, re.DOTALL):
        inside = literal.group(1)
        for piece in re.finditer(r"\\(?:x[0-9a-fA-F]+|[0-7]{1,3}|.)|%[-+ #0]*[\d*]*(?:\.[\d*]+)?[hlzjt]*\w|%%|.",
                                 inside, re.DOTALL):
            if len(piece.group()) == 1:
                free.append(literal.start(1) + piece.start())
    return free


def changed_string(text):
    """The string with its last letter changed, or its last free character; as long as before."""
    free = _free_characters(text)
    if not free or text.startswith(("R", "u", "U", "L")):
        return []
    letters = [i for i in free if text[i].isalnum()]
    at = (letters or free)[-1]
    new = "x" if text[at].isalpha() and text[at] != "x" else "y" if text[at] == "x" else \
        str((int(text[at]) + 1) % 10) if text[at].isdigit() else "_" if text[at] == " " else "~"
    return [text[:at] + new + text[at + 1:]]
