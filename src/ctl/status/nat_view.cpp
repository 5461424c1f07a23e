#include "ctl/status/nat_view.h"

#include "ctl/check/tree.h"
#include "ctl/status/rule_facts.h"
#include "ctl/unseen.h"
#include "util/text.h"
#include "util/tool_output.h"

#include <arpa/inet.h>
#include <errno.h>
#include <stdlib.h>
#include <string.h>

constexpr unsigned LISTING_TIMEOUT_S = 20;
constexpr char FORWARDS[] = "VSERVER";
constexpr char UPNP_CHAIN[] = "MINIUPNPD";

static const char *next_line(const char *line)
{
    const char *end = strchr(line, '\n');
    return end != nullptr ? end + 1 : line + strlen(line);
}

static bool is_jump(const rule_words &rule)
{
    // With a target, it has a chain.
    return strcmp(option_of(rule, "-j"), FORWARDS) == 0 && strcmp(rule.word[1], "PREROUTING") == 0;
}

static void take_jump(nat_view *view, const rule_words &rule)
{
    char address[NETWORK_FACT_MAX];
    in_addr inet;
    normalize_network(address, option_of(rule, "-d"));
    if (view->jumps == JUMPS_MAX || inet_pton(AF_INET, address, &inet) != 1)
        return;
    jump_view &jump = view->jump[view->jumps++];
    text_set(jump.iface, option_of(rule, "-i"));
    jump.address_be = inet.s_addr;
}

char *list_table(const char *table, int *status)
{
    const char *const words[] = {"iptables", "-t", table, "-S", nullptr};
    return read_tool_output(words, LISTING_TIMEOUT_S, status);
}

int look_at_nat(nat_view *view)
{
    *view = {};
    int status = 0;
    view->listing = list_table("nat", &status);
    if (status != 0 || view->listing == nullptr)
        return status;
    for (const char *line = view->listing; *line != '\0'; line = next_line(line)) {
        rule_words rule;
        split_rule(&rule, line);
        if (is_jump(rule))
            take_jump(view, rule);
    }
    return 0;
}

void forget_nat(nat_view *view)
{
    free(view->listing);
    view->listing = nullptr;
}

size_t count_jumps(const nat_view &nat, const char *iface, in_addr_t address_be)
{
    size_t count = 0;
    for (size_t i = 0; i < nat.jumps; i++) {
        const jump_view &jump = nat.jump[i];
        if (strcmp(jump.iface, iface) == 0 && jump.address_be == address_be)
            count++;
    }
    return count;
}

// ---- the table as it was generated

struct rule_place {
    char facts[RULE_FACTS_MAX];
    int position; // among those of its chain: a rule that goes first is before all so far
};

struct rule_list {
    size_t count;
    size_t capacity;
    rule_place *rule;
    bool is_cut; // there was no memory for all
};

static rule_place *add_place(rule_list *list)
{
    if (list->count == list->capacity) {
        size_t capacity = list->capacity * 2 + 64;
        void *grown = realloc(list->rule, capacity * sizeof(rule_place));
        if (grown == nullptr) {
            list->is_cut = true;
            return nullptr;
        }
        list->rule = static_cast<rule_place *>(grown);
        list->capacity = capacity;
    }
    return &list->rule[list->count++];
}

static bool is_left_out(const rule_words &rule)
{
    return rule.count < 2 || strcmp(rule.word[1], UPNP_CHAIN) == 0 || is_jump(rule);
}

static void take_rule(rule_list *list, const char *line)
{
    bool is_first = strncmp(line, "-I ", 3) == 0;
    if (!is_first && strncmp(line, "-A ", 3) != 0)
        return;
    rule_words rule;
    split_rule(&rule, line);
    rule_place *place = is_left_out(rule) ? nullptr : add_place(list);
    if (place == nullptr)
        return;
    write_facts(place->facts, rule);
    int position = static_cast<int>(list->count);
    place->position = is_first ? -position : position;
}

static int compare_places(const void *a, const void *b)
{
    const rule_place *left = static_cast<const rule_place *>(a);
    const rule_place *right = static_cast<const rule_place *>(b);
    size_t left_chain = strcspn(left->facts, " ");
    size_t right_chain = strcspn(right->facts, " ");
    size_t shorter = left_chain < right_chain ? left_chain : right_chain;
    int order = strncmp(left->facts, right->facts, shorter);
    if (order != 0)
        return order;
    if (left_chain != right_chain)
        return left_chain < right_chain ? -1 : 1;
    return left->position < right->position ? -1 : 1;
}

static rule_list learn_rules(const char *text)
{
    rule_list list = {};
    for (const char *line = text; *line != '\0'; line = next_line(line))
        take_rule(&list, line);
    if (list.count > 1)
        qsort(list.rule, list.count, sizeof(rule_place), compare_places);
    return list;
}

static bool compare(const rule_list &generated, const rule_list &loaded, char *difference,
                    size_t cap)
{
    for (size_t i = 0; i < generated.count || i < loaded.count; i++) {
        const char *one = i < generated.count ? generated.rule[i].facts : "nothing";
        const char *other = i < loaded.count ? loaded.rule[i].facts : "nothing";
        if (strcasecmp(one, other) == 0)
            continue;
        text_format(difference, cap, "\"%.34s\" is \"%.34s\"", one, other);
        return false;
    }
    return true;
}

static bool could_not_compare(const char *path, int error, char *difference, size_t cap)
{
    note_unseen(path, error);
    text_format(difference, cap, "it cannot be compared: %s", strerror(error));
    return false;
}

bool is_as_generated(const char *path, const char *listing, char *difference, size_t cap)
{
    loaded_file file = load_file("/", path);
    if (file.state == file_state::unreadable)
        return could_not_compare(path, file.error, difference, cap);
    if (file.state != file_state::loaded)
        return true;
    rule_list generated = learn_rules(file.bytes);
    unload_file(&file);
    rule_list loaded = learn_rules(listing);
    bool is_same = generated.is_cut || loaded.is_cut
                       ? could_not_compare(path, ENOMEM, difference, cap)
                       : compare(generated, loaded, difference, cap);
    free(generated.rule);
    free(loaded.rule);
    return is_same;
}
