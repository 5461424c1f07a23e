# Compares the includes of src/ with docs/design.md, which comes first among the files: its table of
# directories, the highest first, and its table of includes that go upward. Used by scripts/lint.

# A directory's row: | `src/NAME` | ...
FILENAME ~ /\.md$/ && match($0, /^\| `src\/[a-z0-9_]+` \|/) {
    split($0, part, /[`\/]/)
    height[part[3]] = -NR
}

# An include that may go upward: | `src/FILE` | `HEADER` | reason |
FILENAME ~ /\.md$/ && match($0, /^\| `src\/[^`]+\.(cpp|h)` \| `[^`]+` \| [^|]+/) {
    split($0, part, "`")
    listed[part[2] " " part[4]] = FILENAME ":" FNR
}

FILENAME !~ /\.md$/ && match($0, /^#include "[a-z0-9_]+\//) {
    split(FILENAME, own, "/")
    split($0, word, "\"")
    split(word[2], other, "/")
    if (!(own[2] in height) || !(other[1] in height)) {
        print FILENAME ":" FNR ": includes " word[2] ": docs/design.md lists no such directory"
        failed = 1
    } else if (own[2] != other[1] && height[other[1]] > height[own[2]]) {
        if (!((FILENAME " " word[2]) in listed)) {
            print FILENAME ":" FNR ": includes " word[2] " upward, which docs/design.md does not list"
            failed = 1
        }
        delete listed[FILENAME " " word[2]]
    }
}

END {
    for (pair in listed) {
        print listed[pair] ": lists an include that is none, or goes not upward: " pair
        failed = 1
    }
    exit failed
}
