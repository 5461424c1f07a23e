// The rules file: reading it, finding the rule that holds, and counting the uses of those that hold
// for so many times only. Every recorder reads the file anew for each event, since a test may
// change the rules between two calls of one routine.
#include "support/record.h"

#include <errno.h>
#include <fcntl.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <unistd.h>

enum rest { REST_NONE, REST_SOME };

// clang-format off
static const struct rule_kind {
    const char *name;
    int arguments;
    enum rest rest;
} rule_kinds[] = {
    {"exit", 1, REST_SOME},
    {"print", 1, REST_SOME},
    {"pass", 1, REST_SOME},
    {"fail", 1, REST_SOME},
    {"skip", 0, REST_SOME},
    {"wait", 1, REST_SOME},
    {"gpio", 1, REST_NONE},
    {"flash", 1, REST_NONE},
    {"flash-status", 1, REST_NONE},
    {"switch", 2, REST_NONE},
    {"clock", 3, REST_NONE},
    {"watch", 1, REST_NONE},
};
// clang-format on

static const char *skip_blanks(const char *text)
{
    return text + strspn(text, " \t");
}

static int hex_digit(char c)
{
    const char *digits = "0123456789abcdef";
    const char *found = c != '\0' ? strchr(digits, c | 0x20) : NULL;
    return found != NULL ? (int)(found - digits) : -1;
}

// Reads one character behind a backslash. Returns what follows it.
static const char *unescape(const char *text, char *c)
{
    static const char letter[] = "ntr\\'";
    static const char plain[] = "\n\t\r\\'";
    const char *found = *text != '\0' ? strchr(letter, *text) : NULL;
    if (found != NULL) {
        *c = plain[found - letter];
        return text + 1;
    }
    if (*text == 'x' && hex_digit(text[1]) >= 0 && hex_digit(text[2]) >= 0) {
        *c = (char)(hex_digit(text[1]) * 16 + hex_digit(text[2]));
        return text + 3;
    }
    *c = '\\';
    return text;
}

// Reads one word, quoted or not, into a buffer. Returns what follows it, or NULL when there is none
// or it is too long.
static const char *read_word(const char *text, char *word, size_t capacity, size_t *length)
{
    text = skip_blanks(text);
    bool quoted = *text == '\'';
    *length = 0;
    if (*text == '\0')
        return NULL;
    text += quoted;
    while (*text != '\0' && (quoted ? *text != '\'' : strchr(" \t", *text) == NULL)) {
        char c = *text++;
        if (c == '\\')
            text = unescape(text, &c);
        if (*length + 1 >= capacity)
            return NULL;
        word[(*length)++] = c;
    }
    word[*length] = '\0';
    if (quoted && *text++ != '\'')
        return NULL;
    return text;
}

// Cuts " #N" off the end.
static void read_limit(struct rule *rule)
{
    char *mark = strrchr(rule->rest, '#');
    if (mark == NULL || (mark != rule->rest && mark[-1] != ' ') || mark[1] == '\0' ||
        strspn(mark + 1, "0123456789") != strlen(mark + 1))
        return;
    rule->limit = (unsigned)strtoul(mark + 1, NULL, 10);
    while (mark > rule->rest && mark[-1] == ' ')
        mark--;
    *mark = '\0';
}

static const struct rule_kind *find_kind(const char *name)
{
    for (size_t i = 0; i < sizeof rule_kinds / sizeof *rule_kinds; i++)
        if (strcmp(rule_kinds[i].name, name) == 0)
            return &rule_kinds[i];
    return NULL;
}

bool rule_parse(const char *text, struct rule *rule, const char **why)
{
    size_t length;
    memset(rule, 0, sizeof *rule);
    *why = "no such kind of rule";
    text = read_word(text, rule->kind, sizeof rule->kind, &length);
    const struct rule_kind *kind = text != NULL ? find_kind(rule->kind) : NULL;
    if (kind == NULL)
        return false;
    *why = "a word is missing, too long or not closed";
    for (int i = 0; i < kind->arguments; i++) {
        text =
            read_word(text, rule->argument[i], sizeof rule->argument[i], &rule->argument_length[i]);
        if (text == NULL)
            return false;
    }
    *why = "it is too long";
    text = skip_blanks(text);
    if (strlen(text) >= sizeof rule->rest)
        return false;
    memcpy(rule->rest, text, strlen(text) + 1);
    read_limit(rule);
    *why = kind->rest == REST_SOME ? "what it is for is missing" : "there are words too many";
    return (kind->rest == REST_SOME) == (rule->rest[0] != '\0');
}

static char *read_rules(void)
{
    int file = openat(AT_FDCWD, BOX_RULES, O_RDONLY | O_CLOEXEC);
    off_t size = file >= 0 ? lseek(file, 0, SEEK_END) : 0;
    char *text = size > 0 ? calloc(1, (size_t)size + 1) : NULL;
    if (text != NULL && pread(file, text, (size_t)size, 0) < 0)
        text[0] = '\0';
    if (file >= 0)
        close(file);
    return text;
}

// Takes one use of the rule with this index; false when none is left.
static bool take_use(const struct rule *rule, unsigned index)
{
    if (rule->limit == 0)
        return true;
    uint32_t used = 0;
    off_t place = (off_t)(index * sizeof used);
    int file = openat(AT_FDCWD, BOX_COUNTS, O_RDWR | O_CLOEXEC);
    bool left = file >= 0 && flock(file, LOCK_EX) == 0;
    if (left && pread(file, &used, sizeof used, place) != sizeof used)
        used = 0;
    left = left && used < rule->limit;
    used++;
    if (left && pwrite(file, &used, sizeof used, place) != sizeof used)
        left = false;
    if (file >= 0)
        close(file);
    return left;
}

static bool is_one_of(const char *name, const char *const *names)
{
    for (; *names != NULL; names++)
        if (strcmp(*names, name) == 0)
            return true;
    return false;
}

typedef bool matcher(const struct rule *rule, const void *with);

static bool find_rule(const char *const *kinds, matcher *matches, const void *with,
                      struct rule *rule)
{
    char *rules = read_rules();
    bool found = false;
    unsigned index = 0;
    char *rest = rules;
    for (char *text = rules != NULL ? strsep(&rest, "\n") : NULL; text != NULL && !found;
         text = strsep(&rest, "\n"), index++) {
        const char *why;
        found = rule_parse(text, rule, &why) && is_one_of(rule->kind, kinds) &&
                matches(rule, with) && take_use(rule, index);
    }
    free(rules);
    return found;
}

static bool matches_event(const struct rule *rule, const void *event)
{
    return event == NULL || strncmp(event, rule->rest, strlen(rule->rest)) == 0;
}

bool rule_for_event(const char *const *kinds, const char *event, struct rule *rule)
{
    return find_rule(kinds, matches_event, event, rule);
}

static bool matches_words(const struct rule *rule, const void *with)
{
    char *const *words = (char *const *)with;
    char word[sizeof rule->rest];
    size_t length;
    for (const char *text = rule->rest; *skip_blanks(text) != '\0'; words++) {
        text = read_word(text, word, sizeof word, &length);
        if (text == NULL || *words == NULL || strcmp(*words, word) != 0)
            return false;
    }
    return true;
}

bool rule_for_words(const char *const *kinds, char **words, struct rule *rule)
{
    return find_rule(kinds, matches_words, words, rule);
}

static bool matches_number(const struct rule *rule, const void *number)
{
    return strtoul(rule->argument[0], NULL, 0) == *(const unsigned long *)number;
}

bool rule_for_number(const char *const *kinds, unsigned long number, struct rule *rule)
{
    return find_rule(kinds, matches_number, &number, rule);
}
