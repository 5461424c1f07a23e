// Outside programs, run from an argument vector without a shell, and signals through pid files.
#pragma once

#include <sys/types.h>

// Run argv[0] (looked up along the child's PATH) with the null-terminated vector argv.
//
// path: null leaves the child's output alone. ">>FILE" appends its standard output and error to
//   FILE, ">FILE" truncates FILE first, and "FILE" alone overwrites FILE from its start without
//   truncating it. FILE is created with mode 0644. If it cannot be opened, the child says so on
//   standard error and goes on with the output it inherited.
// timeout: seconds after which the child gets SIGALRM; 0 for no limit.
// ppid: null waits for the child; otherwise its process id is stored there, and it is not waited
// for.
//
// The child starts in a session of its own without a terminal, with default signal dispositions,
// nothing blocked, descriptors 3 to 255 closed, PATH "/sbin:/bin:/usr/sbin:/usr/bin" and
// LD_LIBRARY_PATH "/lib:/usr/lib".
//
// Returns the exit code of a child that ended normally, the raw wait status of one that a signal
// ended, 0 at once when ppid is given, or the error number when fork or wait failed (reported on
// standard error). A program that cannot be executed gives its error number as exit code, after a
// line on standard error that names it: a missing one gives 2.
int _eval(char *const argv[], const char *path, unsigned timeout, pid_t *ppid);

// _eval() as nearly everyone needs it: the words of an outside tool, output left alone, no time
// limit, waited for. run_tool("killall", "ip-up") is run_words() of a vector of these two.
int run_words(const char *const argv[]);

template <typename... Word> int run_tool(const Word *...words)
{
    const char *const argv[] = {words..., nullptr};
    return run_words(argv);
}

// Send signal sig to the process whose number stands on the first line of the file path (decimal,
// "0x" hexadecimal or "0" octal; up to 255 characters are read).
// Returns kill()'s result: 0, or -1 on failure. When the file cannot be opened or holds nothing,
// returns the current error number (ENOENT for a missing file); an empty file is left open.
// A text without a number counts as 0, which is this process's own group.
int kill_pidfile_s(const char *path, int sig);

// Stop the process whose number stands in the file path: send it SIGTERM and, when kill_pidfile_s
// could not (no such file or process), wait 3 seconds and send second_sig through the same file,
// which a daemon that was just starting has written by then. Whether the process ended is not
// looked at.
void stop_by_pidfile(const char *path, int second_sig);
