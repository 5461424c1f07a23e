#include "ctl/status/rule_facts.h"

#include "util/text.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <stdint.h>
#include <string.h>

void split_rule(rule_words *rule, const char *line)
{
    text_set(rule->text, line);
    rule->text[strcspn(rule->text, "\r\n")] = '\0';
    rule->count = 0;
    char *rest = nullptr;
    for (char *word = strtok_r(rule->text, " \t", &rest);
         word != nullptr && rule->count < RULE_WORDS_MAX; word = strtok_r(nullptr, " \t", &rest))
        rule->word[rule->count++] = word;
}

const char *option_of(const rule_words &rule, const char *option)
{
    for (size_t i = 0; i + 1 < rule.count; i++) {
        if (strcmp(rule.word[i], option) != 0)
            continue;
        bool is_not = strcmp(rule.word[i + 1], "!") == 0;
        if (!is_not)
            return rule.word[i + 1];
        return i + 2 < rule.count ? rule.word[i + 2] : "";
    }
    return "";
}

static int prefix_of(const char *text)
{
    if (strchr(text, '.') == nullptr)
        return text_to_int(text);
    in_addr mask;
    return inet_pton(AF_INET, text, &mask) == 1 ? __builtin_popcount(mask.s_addr) : -1;
}

void normalize_network(char (&out)[NETWORK_FACT_MAX], const char *text)
{
    text_set(out, text);
    char *slash = strchr(out, '/');
    int prefix = slash != nullptr ? prefix_of(slash + 1) : 32;
    if (slash != nullptr)
        *slash = '\0';
    in_addr address;
    if (inet_pton(AF_INET, out, &address) != 1 || prefix < 0 || prefix > 32) {
        text_set(out, text);
        return;
    }
    uint32_t mask = prefix == 0 ? 0 : ~uint32_t(0) << (32 - prefix);
    address.s_addr &= htonl(mask);
    char quad[INET_ADDRSTRLEN];
    inet_ntop(AF_INET, &address, quad, sizeof(quad));
    if (prefix == 32)
        text_set(out, quad);
    else
        text_format(out, sizeof(out), "%s/%d", quad, prefix);
}

// Options that the listing spells in one way and rule files in several.
struct fact_option {
    const char *spelling[3];
};

// clang-format off
constexpr fact_option fact_options[] = {
    {{"-i"}},
    {{"-o"}},
    {{"-s", "--source"}},
    {{"-d", "--destination"}},
    {{"--src-range"}},
    {{"--dst-range"}},
    {{"--sport", "--sports"}},
    {{"--dport", "--dports"}},
    {{"--to-destination", "--to-source", "--to"}},
    {{"--mac-source"}},
};
// clang-format on

// A range of one port is listed as that port.
static void shorten_range(char *ports)
{
    char *colon = strchr(ports, ':');
    if (colon == nullptr)
        return;
    size_t length = static_cast<size_t>(colon - ports);
    if (strlen(colon + 1) == length && memcmp(ports, colon + 1, length) == 0)
        *colon = '\0';
}

static void append_value(char (&out)[RULE_FACTS_MAX], const char *option, const char *value)
{
    char network[NETWORK_FACT_MAX];
    normalize_network(network, value);
    if (strcmp(network, "0.0.0.0/0") == 0)
        return;
    shorten_range(network);
    text_append(out, " ");
    text_append(out, option);
    text_append(out, " ");
    text_append(out, network);
}

void write_facts(char (&out)[RULE_FACTS_MAX], const rule_words &rule)
{
    const char *target = option_of(rule, "-j");
    // Not every kernel has this target, and what stands in for it is told apart by nothing.
    bool is_trigger = strcmp(target, "autofw") == 0;
    text_set(out, rule.count > 1 ? rule.word[1] : "");
    text_append(out, " ");
    text_append(out, is_trigger ? "" : target);
    for (const fact_option &option : fact_options) {
        for (const char *spelling : option.spelling) {
            const char *value = spelling != nullptr ? option_of(rule, spelling) : "";
            if (value[0] == '\0')
                continue;
            append_value(out, option.spelling[0], value);
            break;
        }
    }
}
