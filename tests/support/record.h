// What the recorders share: a line of the trace, the rules, and the files of the control directory.
// world.h describes both for the people who write tests. Plain C, since the recorder that stands in
// for every outside tool is a small static program.
#ifndef SUPPORT_RECORD_H
#define SUPPORT_RECORD_H

#include <stdbool.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

#define BOX_DIRECTORY "/.box"
#define BOX_TRACE BOX_DIRECTORY "/trace"
#define BOX_RULES BOX_DIRECTORY "/rules"
#define BOX_COUNTS BOX_DIRECTORY "/counts" // one 32-bit number per rule: how often it was used
#define BOX_TOOL BOX_DIRECTORY "/tool"
#define BOX_PRELOAD BOX_DIRECTORY "/preload.so"
#define FOREIGN_PLACE BOX_DIRECTORY "/foreign" // programs that this machine cannot start by itself

// The settings that the preloaded recorder takes out again before the program sees them. A program
// built with the address sanitizer would refuse a library that comes before the sanitizer's, and
// mcfg leaves its memory to the end of the process on purpose. A run may have no standard error,
// or a child's may go elsewhere: that sanitizer reports to a file; the one for what is undefined
// knows of none, and ends the process by a signal.
#define BOX_REPORT_NAME "report"
#define BOX_PRELOAD_SETTING "LD_PRELOAD=" BOX_PRELOAD
#define BOX_ADDRESS_SETTING                                                                        \
    "ASAN_OPTIONS=verify_asan_link_order=0:detect_leaks=0:log_path=" BOX_DIRECTORY                 \
    "/" BOX_REPORT_NAME
#define BOX_UNDEFINED_SETTING "UBSAN_OPTIONS=abort_on_error=1"

// A text that grows. Start from LINE_EMPTY, end with line_free().
struct line {
    char *text; // terminated, NULL while empty
    size_t length;
    size_t capacity;
};
#define LINE_EMPTY                                                                                 \
    {                                                                                              \
        NULL, 0, 0                                                                                 \
    }

void line_free(struct line *line);
void line_print(struct line *line, const char *format, ...) __attribute__((format(printf, 2, 3)));
// Adds text with its control characters and backslashes escaped.
void line_text(struct line *line, const char *text);
// Adds a word of a command line: escaped, and between single quotes where it would otherwise not be
// recognised as one word.
void line_word(struct line *line, const char *word);

// Appends one line to the trace with a single write, so that processes side by side never mix
// theirs. In the file the line stands behind the numbers of the writer and its parent, which let
// the reader of the trace pair a shell's command line with the tool it started. Ends the process
// when the trace cannot be written: a test must not go on blind.
void trace_line(const char *text);
// The same with " = " and the name of an error number behind it.
void trace_failure(const char *text, int error);

// The errors and signals by name; an unknown number reads as its digits.
const char *error_name(int error, char digits[16]);
int error_number(const char *name); // 0 for a name that is none
const char *signal_name(int number, char digits[16]);

// One rule, taken apart.
struct rule {
    char kind[16];
    char argument[3][256]; // escapes resolved
    size_t argument_length[3];
    char rest[4096]; // the words or the event that it is for, as written
    unsigned limit;  // how often it holds, 0 for always
};

// Takes one rule apart. Returns false when it is none, with a reason in *why.
bool rule_parse(const char *text, struct rule *rule, const char **why);

// The rule that holds now, of those with one of the kinds in a NULL-terminated list: the first
// whose events begin with what event begins with (or, for an event of NULL, just the first). Counts
// its use. False when there is none.
bool rule_for_event(const char *const *kinds, const char *event, struct rule *rule);
// The same for kinds that are about a tool's words.
bool rule_for_words(const char *const *kinds, char **words, struct rule *rule);
// The same for kinds whose first argument is a number: the first rule where it is this one.
bool rule_for_number(const char *const *kinds, unsigned long number, struct rule *rule);

// Where a "wait" rule is for this event, waits until the rule's file exists; gives up, and ends the
// process, after a minute.
void hold_by_rule(const char *event);

#ifdef __cplusplus
}
#endif

#endif
