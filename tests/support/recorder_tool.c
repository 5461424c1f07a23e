// Stands in for every outside tool of the router: notes the words it was started with in the trace,
// and then does as the rules say, by default nothing, with success. Linked statically, so that it
// starts in a world whose libraries a test may have hidden, and quickly.
#include "support/record.h"

#include <errno.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

static void trace_words(char **words)
{
    struct line line = LINE_EMPTY;
    line_print(&line, "run");
    for (; *words != NULL; words++) {
        line_print(&line, " ");
        line_word(&line, *words);
    }
    trace_line(line.text);
    hold_by_rule(line.text);
    line_free(&line);
}

static void print_as_told(char **words)
{
    static const char *const prints[] = {"print", NULL};
    static struct rule rule;
    if (!rule_for_words(prints, words, &rule))
        return;
    if (write(1, rule.argument[0], rule.argument_length[0]) < 0)
        perror("recorder: standard output");
}

// Makes a directory, and with parents those on the way to it, as mkdir(1) does.
static int make_directory(const char *path, int parents)
{
    char part[PATH_MAX];
    size_t length = strlen(path);
    if (length >= sizeof part)
        return ENAMETOOLONG;
    memcpy(part, path, length + 1);
    for (char *slash = strchr(part + 1, '/'); parents && slash != NULL;
         slash = strchr(slash + 1, '/')) {
        *slash = '\0';
        if (mkdir(part, 0777) != 0 && errno != EEXIST)
            return errno;
        *slash = '/';
    }
    return mkdir(part, 0777) == 0 || (parents && errno == EEXIST) ? 0 : errno;
}

// The one tool whose work later steps rest on.
static int run_mkdir(char **words)
{
    int parents = 0;
    int status = 0;
    for (words++; *words != NULL; words++) {
        if ((*words)[0] == '-') {
            parents |= strchr(*words, 'p') != NULL;
            continue;
        }
        int error = make_directory(*words, parents);
        if (error == 0)
            continue;
        fprintf(stderr, "mkdir: can't create directory '%s': %s\n", *words, strerror(error));
        status = 1;
    }
    return status;
}

static const char *base_name(const char *path)
{
    const char *slash = strrchr(path, '/');
    return slash != NULL ? slash + 1 : path;
}

int main(int argc, char **argv)
{
    if (argc < 1)
        return 125;
    trace_words(argv);
    print_as_told(argv);

    static const char *const ends[] = {"exit", "pass", NULL};
    static struct rule rule;
    if (!rule_for_words(ends, argv, &rule))
        return strcmp(base_name(argv[0]), "mkdir") == 0 ? run_mkdir(argv) : 0;
    if (strcmp(rule.kind, "exit") == 0)
        return (int)strtol(rule.argument[0], NULL, 0);
    execv(rule.argument[0], argv);
    perror(rule.argument[0]);
    return 126;
}
