#include "ctl/refused_rule.h"

#include "ctl/check/tree.h"
#include "ctl/printable.h"
#include "ctl/status/rule_facts.h"
#include "firewall/list_formats.h"
#include "util/text.h"

#include <stdio.h>
#include <string.h>

struct chain_list {
    const char *chain;
    const char *path;
};

// clang-format off
constexpr chain_list chain_lists[] = {
    {"VSERVER", vservers_format.path},
    {"POSTROUTING", masq_format.path},
    {"PREROUTING", triggers_format.path},
    {"MACS", macs_format.path},
    {"H_ACCESS", access_format.path},
    {"INPUT", user_rules_format.path},
    {"FORWARD", user_rules_format.path},
    {"FORWARD", urls_format.path},
};
// clang-format on

struct source_line {
    const char *path;
    int number;
    int score; // how many of its words the rule has
};

// "line 14 failed", "Error occurred at line: 14".
static int line_of(const char *messages)
{
    int number = 0;
    for (const char *at = messages; (at = strstr(at, "line")) != nullptr; at++) {
        const char *digits = at + strlen("line");
        digits += *digits == ':' ? 1 : 0;
        int found = text_to_int(digits);
        if (found > 0)
            number = found;
    }
    return number;
}

static bool next_piece(const char **rest, char (&line)[RULE_LINE_MAX])
{
    if (**rest == '\0')
        return false;
    size_t length = strcspn(*rest, "\n");
    text_format(line, sizeof(line), "%.*s", static_cast<int>(length), *rest);
    *rest += length + ((*rest)[length] == '\n' ? 1 : 0);
    return true;
}

// Neither a "-" nor a flag.
static bool is_telling(const char *word)
{
    return strlen(word) > 1;
}

static int score_of(const char *rule, const char *line)
{
    rule_words words;
    split_rule(&words, line);
    int score = 0;
    for (size_t i = 0; i < words.count; i++)
        score += is_telling(words.word[i]) && strstr(rule, words.word[i]) != nullptr ? 1 : 0;
    return score;
}

static void search_list(const char *rule, const char *path, source_line *best)
{
    loaded_file file = load_file("/", path);
    char line[RULE_LINE_MAX];
    int number = 0;
    for (const char *rest = file.bytes; rest != nullptr && next_piece(&rest, line);) {
        number++;
        int score = score_of(rule, line);
        if (score > best->score)
            *best = {path, number, score};
    }
    unload_file(&file);
}

static void show_source(const char *rule)
{
    rule_words words;
    split_rule(&words, rule);
    source_line best = {nullptr, 0, 0};
    for (const chain_list &row : chain_lists) {
        if (words.count > 1 && strcmp(row.chain, words.word[1]) == 0)
            search_list(rule, row.path, &best);
    }
    if (best.path != nullptr)
        printf("    made of %s:%d\n", best.path, best.number);
}

static void show_line(const char *line)
{
    char shown[RULE_LINE_MAX];
    text_set(shown, line);
    make_printable(shown);
    puts(shown);
}

void show_refused_rule(const char *path, const char *messages)
{
    char line[RULE_LINE_MAX];
    for (const char *rest = messages; next_piece(&rest, line);) {
        fputs("    ", stdout);
        show_line(line);
    }
    int wanted = line_of(messages);
    loaded_file file = load_file("/", path);
    int number = 0;
    for (const char *rest = file.bytes; rest != nullptr && next_piece(&rest, line);) {
        if (++number != wanted)
            continue;
        printf("    %s:%d: ", path, wanted);
        show_line(line);
        show_source(line);
    }
    unload_file(&file);
}
