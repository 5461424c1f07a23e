// What a rule of iptables does, as far as those who write it and "iptables -S" spell it alike: the
// listing has an order, abbreviations and defaults of its own.
#pragma once

#include <stddef.h>

constexpr size_t RULE_LINE_MAX = 1024;
constexpr size_t RULE_WORDS_MAX = 96;
constexpr size_t RULE_FACTS_MAX = 384;

// A line taken apart: words between blanks, with quotes left where they are.
struct rule_words {
    char text[RULE_LINE_MAX];
    size_t count;
    const char *word[RULE_WORDS_MAX];
};

// Take a line apart, up to its line end. What has no room is left out.
void split_rule(rule_words *rule, const char *line);

// The value of the option in the rule, past a "!", or "" when it has none.
const char *option_of(const rule_words &rule, const char *option);

// The address of a text such as "192.0.2.77/32" as a dotted quad, with its prefix length when that
// is not 32 and without the bits behind it; any other text as it is.
constexpr size_t NETWORK_FACT_MAX = 64;
void normalize_network(char (&out)[NETWORK_FACT_MAX], const char *text);

// Write "CHAIN TARGET VALUE..." of the rule into out: interfaces, addresses and ports in a fixed
// order. Two rules with the same facts are taken for the same rule.
void write_facts(char (&out)[RULE_FACTS_MAX], const rule_words &rule);
