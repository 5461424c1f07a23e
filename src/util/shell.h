// Command lines for the shell. Programs with fixed words are run with _eval (util/process.h); the
// shell is for the lines that the firmware's scripts and administrators know in this form.
#pragma once

#include <stddef.h>

// Room for one formatted command line with its terminator; a longer line is cut, or not run.
constexpr size_t SHELL_LINE_MAX = 256;

// Run line through the shell and wait for it. Returns what system() returns: the wait status of the
// shell, or -1 when it could not be started.
int shell(const char *line);

// The same with a printf format, in SHELL_LINE_MAX characters. Texts that come from outside must
// pass through shell_quote. A longer line of plain words is cut and run. With quotes in what is
// left it is not: where the cut falls would decide which words the shell finds. So a value of many
// quotes (sixty of them fill the line) keeps the whole command from running and no other value is
// lost. Returns -1 for a line that is not run, also for one that cannot be formed.
[[gnu::format(printf, 1, 2)]] int shell_format(const char *format, ...);

// Write value into out as the shell is to see it, and return out: as it stands when it is made of
// letters, digits and "_./:@%+=,-" only (addresses, interface names and paths are then found in the
// list of processes as a person would type them, and an empty value stays empty), else between
// single quotes. Whatever the value holds, it can neither end the command nor start another one. A
// value too long for the room is cut; its quotes stay closed. What else is on its line then makes
// that too long to be run.
const char *shell_quote(char (&out)[SHELL_LINE_MAX], const char *value);
