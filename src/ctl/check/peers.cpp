#include "config/known_interfaces.h"
#include "config/params.h"
#include "config/source_formats.h"
#include "ctl/check/fields.h"
#include "ctl/check/judges.h"
#include "util/text.h"
#include "wan/tunnels.h"

#include <ctype.h>
#include <string.h>

// Positions in the line; those in the tables are counted after the type.
constexpr size_t PEER_NAME = 0;
constexpr size_t PEER_TYPE = 1;
constexpr size_t AFTER_TYPE = 2;
constexpr size_t PEER_AUTO = AFTER_TYPE;

constexpr uint32_t PEER_METRIC_MAX = 999999999;

static void split(const settings_line &line, line_words *words)
{
    const line_format &format = peers_format;
    split_line(line, format.separators, format.separators, format.end, words);
}

static const peer_type *find_type(const char *type)
{
    for (const peer_type &row : peer_types) {
        if (strcmp(row.type, type) == 0)
            return &row;
    }
    return nullptr;
}

static size_t capacity_of(const char *key)
{
    for (const ppp_param_field &row : ppp_param_fields) {
        if (strcmp(row.key, key) == 0)
            return row.capacity;
    }
    return SETTINGS_LINE_MAX;
}

static bool is_auto(const line_words &words)
{
    return words.count > PEER_AUTO && strcmp(words.word[PEER_AUTO], "1") == 0;
}

void learn_peers(settings *all)
{
    const interface_facts &wan = all->interfaces[WIRED_WAN];
    line_reader reader = begin_lines(file_of(*all, source::peers));
    settings_line line;
    while (next_line(&reader, &line)) {
        line_words words;
        if (!is_entry(&reader, line, peers_format.hash_lines, nullptr))
            continue;
        split(line, &words);
        add_name(&all->peers, {line.raw, strlen(words.word[PEER_NAME]), line.number, true, false});
        if (is_auto(words) && why_unsuited(wan.type, words.word[PEER_TYPE]) == nullptr)
            all->is_peer_dialled = true;
    }
    sort_names(&all->peers);
}

// What is counted on the way through the file.
struct dialling {
    int budget;
    unsigned l2tp_line; // the automatic one, or 0
};

struct peer_line {
    const settings &all;
    unsigned number;
    const line_words &words;
    const peer_type *type;
    dialling *dialled;
};

static void tell(const peer_line &line, const char *field, code id, const char *first = "",
                 const char *second = "")
{
    find(line.all.r, line.number, field, id, first, second);
}

static bool judge_text(const peer_line &line, const char *key, char *word)
{
    if (!take_field(line.all, line.number, key, word, capacity_of(key)))
        return false;
    if (is_utf8(word))
        return true;
    tell(line, key, code::not_utf8);
    return false;
}

// A file name, and what is left of it when the link's name is cut at a hyphen. What begins with a
// dot may be a directory.
static bool is_name(const char *text, bool is_l2tp)
{
    return text[0] != '-' && text[0] != '.' && strpbrk(text, is_l2tp ? "/;" : "/") == nullptr;
}

static void judge_unique(const peer_line &line, const char *name)
{
    const named_line *first = find_name(line.all.peers, name);
    if (first == nullptr || first->line >= line.number)
        return;
    find_number(line.all.r, line.number, "name", code::duplicate_name, first->line,
                "they take each other's place");
}

static void judge_name(const peer_line &line)
{
    char *name = line.words.word[PEER_NAME];
    if (!judge_text(line, "name", name))
        return;
    if (!is_name(name, strcmp(line.type->type, "l2tp") == 0)) {
        tell(line, "name", code::peer_name, name);
        return;
    }
    judge_unique(line, name);
    size_t cut = strcspn(name, "-");
    bool is_reserved = (cut == 3 && strncmp(name, "wan", cut) == 0) ||
                       (cut == 5 && strncmp(name, "wimax", cut) == 0);
    if (is_reserved)
        tell(line, "name", code::name_reserved);
    else if (name[cut] != '\0')
        tell(line, "name", code::name_cut);
}

static void judge_server(const peer_line &line, const char *server)
{
    bool has_letter = false;
    uint32_t address;
    for (const char *p = server; *p != '\0'; p++) {
        has_letter = has_letter || isalpha(static_cast<unsigned char>(*p));
        if (!isalnum(static_cast<unsigned char>(*p)) && *p != '.' && *p != '-') {
            tell(line, "server", code::server_name, server);
            return;
        }
    }
    if ((!has_letter || server[0] == '-') && !parse_ipv4(server, &address))
        tell(line, "server", code::server_name, server);
}

// A text of its own kind, once it is as the router keeps it.
static void judge_meaning(const peer_line &line, const char *key, const char *word)
{
    bool is_asked_for = strcmp(key, "ac") == 0 || strcmp(key, "service") == 0;
    if (strcmp(key, "server") == 0)
        judge_server(line, word);
    else if (strcmp(key, "iface") == 0 && strcmp(word, known_interfaces[WIRED_WAN].iface) != 0)
        tell(line, key, code::peer_interface, word);
    else if (is_asked_for && !is_given(word))
        tell(line, key, code::peer_dash);
}

static void judge_number(const peer_line &line, const peer_word &row, char *word)
{
    uint32_t number;
    if (row.how == peer_form::number_or_null && !is_given(word))
        return;
    bool has_line_end = cut_line_end(word);
    if (row.how == peer_form::number_or_null && has_line_end && !is_given(word))
        tell(line, row.key, code::dash_metric);
    else if (!parse_number(word, PEER_METRIC_MAX, &number))
        tell(line, row.key, code::number, word);
}

static void judge_word(const peer_line &line, const peer_word &row, char *word)
{
    switch (row.how) {
    case peer_form::text:
        if (judge_text(line, row.key, word))
            judge_meaning(line, row.key, word);
        return;
    case peer_form::flag:
        if (strcmp(word, "1") != 0 && !is_no_word(word))
            tell(line, row.key, code::flag, word);
        return;
    case peer_form::number:
    case peer_form::number_or_null:
        judge_number(line, row, word);
        return;
    }
}

// The metric that stands behind all texts is the one that counts.
static size_t metric_position(word_list list)
{
    return AFTER_TYPE + list.words[list.count - 1].position;
}

static void judge_words(const peer_line &line, word_list list)
{
    for (size_t i = 0; i < list.count; i++) {
        const peer_word &row = list.words[i];
        size_t position = AFTER_TYPE + row.position;
        bool is_metric = row.how == peer_form::number && position != metric_position(list);
        if (position < line.words.count && !is_metric)
            judge_word(line, row, line.words.word[position]);
    }
}

static const char *field_at(const peer_type &type, size_t position)
{
    const word_list lists[] = {list_of(common_words), type.words};
    for (const word_list &list : lists) {
        for (size_t i = 0; i < list.count; i++) {
            if (AFTER_TYPE + list.words[i].position == position)
                return list.words[i].key;
        }
    }
    return "-";
}

static void judge_missing_metric(const peer_line &line, char *last_text)
{
    if (strchr(last_text, '\n') != nullptr)
        return; // its own finding says so
    char text[16] = "not set";
    bool is_pppoe = strcmp(line.type->type, "pppoe") == 0;
    if (is_pppoe || line.words.all > line.words.count)
        text_format(text, sizeof(text), "%d",
                    line.words.all > line.words.count ? 0 : text_to_int(last_text));
    tell(line, "metric", code::peer_no_metric, text);
}

static void judge_server_route(const peer_line &line, size_t metric_at)
{
    const interface_facts &wan = line.all.interfaces[WIRED_WAN];
    const char *server = line.words.word[metric_at - 1];
    uint32_t address;
    uint32_t metric;
    if (metric_at >= line.words.count || !parse_ipv4(server, &address) ||
        !parse_number(line.words.word[metric_at], PEER_METRIC_MAX, &metric))
        return;
    bool is_near = wan.has_network && is_in(wan.network, address);
    if (is_near || metric > wan.metric)
        return;
    char text[16];
    text_format(text, sizeof(text), "%u", wan.metric);
    tell(line, "server", code::server_route, server, text);
}

// Why an automatic line is not dialled, or null when it is.
static const char *why_not_dialled(const peer_line &line)
{
    const interface_facts &wan = line.all.interfaces[WIRED_WAN];
    if (!wan.is_auto)
        return "vlan2 is not started automatically";
    if (why_unsuited(wan.type, line.type->type) != nullptr)
        return strcmp(line.type->type, "pppoe") == 0
                   ? "PPPoE needs a vlan2 of type pppoe"
                   : "L2TP and PPTP need a vlan2 of type dhcp or static";
    return line.dialled->budget < 1 ? "the lines above are all that fit" : nullptr;
}

static void judge_dialling(const peer_line &line)
{
    bool is_l2tp = strcmp(line.type->type, "l2tp") == 0;
    if (is_l2tp && line.dialled->l2tp_line != 0) {
        find_number(line.all.r, line.number, "auto", code::second_l2tp, line.dialled->l2tp_line);
        return;
    }
    if (is_l2tp)
        line.dialled->l2tp_line = line.number;
    const char *reason = why_not_dialled(line);
    if (reason != nullptr) {
        tell(line, "auto", code::never_dialled, reason);
        return;
    }
    line.dialled->budget--;
    if (strcmp(line.type->type, "pppoe") != 0)
        judge_server_route(line, metric_position(line.type->words));
}

static void judge_typed(const peer_line &line)
{
    const line_words &words = line.words;
    size_t metric_at = metric_position(line.type->words);
    if (words.count < metric_at) {
        tell(line, field_at(*line.type, words.count), code::peer_short);
        return;
    }
    if (words.count == metric_at)
        judge_missing_metric(line, words.word[metric_at - 1]);
    judge_name(line);
    judge_words(line, list_of(common_words));
    judge_words(line, line.type->words);
    judge_extra(line.all, line.number, words, metric_at + 1);
    if (is_auto(words) && line.all.interfaces[WIRED_WAN].line != 0)
        judge_dialling(line);
}

static void judge_peer(const settings &all, unsigned number, const line_words &words,
                       dialling *dialled)
{
    if (words.count <= PEER_TYPE) {
        find(all.r, number, "type", code::peer_short);
        return;
    }
    char *type = words.word[PEER_TYPE];
    if (words.count == PEER_AUTO)
        cut_line_end(type);
    const peer_type *row = find_type(type);
    if (row == nullptr)
        find(all.r, number, "type", code::peer_type, type);
    else
        judge_typed({all, number, words, row, dialled});
}

void judge_peers(const settings &all, source which)
{
    const loaded_file &file = file_of(all, which);
    const interface_facts &wan = all.interfaces[WIRED_WAN];
    if (wan.line == 0 && has_entries(file, peers_format.hash_lines))
        find(all.r, 0, "-", code::peers_unheard);
    dialling dialled = {get_dial_budget(wan.type), 0};
    line_reader reader = begin_lines(file);
    settings_line line;
    while (next_line(&reader, &line)) {
        line_words words;
        if (!is_entry(&reader, line, peers_format.hash_lines, all.r))
            continue;
        split(line, &words);
        judge_peer(all, line.number, words, &dialled);
    }
}
