// mctl status of any router: it changes nothing and runs one listing, says the same as text, with
// colours and in JSON, which is of the documented form, and its status tells whether all is well.
#include "ctl/status/reasons.h"
#include "fuzz/lines.h"
#include "fuzz/router.h"
#include "fuzz/targets.h"

#include <cstring>

namespace fuzz
{

namespace
{

// ---- the form of docs/mctl-status.schema.json

using is_type = bool (*)(const json_t *value);

bool is_text(const json_t *value)
{
    return json_is_string(value);
}

bool is_text_or_null(const json_t *value)
{
    return json_is_string(value) || json_is_null(value);
}

bool is_number_or_null(const json_t *value)
{
    return json_is_integer(value) || json_is_null(value);
}

bool is_flag(const json_t *value)
{
    return json_is_boolean(value);
}

bool is_list(const json_t *value)
{
    return json_is_array(value);
}

bool are_texts(const json_t *value)
{
    size_t i;
    const json_t *text;
    json_array_foreach(value, i, text)
    {
        if (!json_is_string(text))
            return false;
    }
    return json_is_array(value);
}

bool is_one_of(const json_t *value, std::initializer_list<const char *> names)
{
    for (const char *name : names) {
        if (json_is_string(value) && strcmp(json_string_value(value), name) == 0)
            return true;
    }
    return false;
}

bool is_kind(const json_t *value)
{
    return is_one_of(value, {"lan", "wan", "tunnel", "other"});
}

bool is_state(const json_t *value)
{
    return is_one_of(value, {"up", "dialling", "down", "off", "odd"});
}

struct member {
    const char *name;
    is_type is_right;
};

constexpr member root_members[] = {
    {"well", is_flag},
    {"complete", is_flag},
    {"links", is_list},
    {"reasons", is_list},
};

constexpr member link_members[] = {
    {"kind", is_kind},
    {"name", is_text_or_null},
    {"iface", is_text_or_null},
    {"type", is_text_or_null},
    {"state", is_state},
    {"wanted", is_flag},
    {"recorded", is_text_or_null},
    {"up", is_flag},
    {"carrier", is_flag},
    {"addresses", are_texts},
    {"default_route", is_text_or_null},
    {"process", is_number_or_null},
    {"reasons", is_list},
};

constexpr member reason_members[] = {
    {"code", is_text},
    {"text", is_text},
    {"cure", is_text},
    {"healed", is_flag},
};

template <size_t N> void check_members(const json_t *object, const member (&members)[N])
{
    for (const member &row : members) {
        const json_t *value = json_object_get(object, row.name);
        if (value == nullptr || !row.is_right(value))
            violated("no right member \"%s\": %s", row.name, here.standard_output.c_str());
    }
    if (json_object_size(object) != N)
        violated("%zu members: %s", json_object_size(object), here.standard_output.c_str());
}

const reason_row &row_of(const json_t *reason)
{
    const char *code = json_string_value(json_object_get(reason, "code"));
    for (const reason_row &row : reason_rows) {
        if (strcmp(row.name, code) == 0)
            return row;
    }
    violated("a code that nobody knows: %s", code);
}

// Returns how many there are.
size_t check_reasons(const json_t *reasons)
{
    size_t i;
    const json_t *reason;
    json_array_foreach(reasons, i, reason)
    {
        check_members(reason, reason_members);
        if (row_of(reason).is_healed != json_is_true(json_object_get(reason, "healed")))
            violated("healed or not: %s", row_of(reason).name);
    }
    return json_array_size(reasons);
}

size_t check_link(const json_t *link)
{
    check_members(link, link_members);
    const json_t *reasons = json_object_get(link, "reasons");
    size_t count = check_reasons(reasons);
    const std::string state = json_string_value(json_object_get(link, "state"));
    bool is_right = count == 0 ? state == "up" || state == "off"
                               : state == state_name(row_of(json_array_get(reasons, 0)).state);
    if (!is_right)
        violated("state %s with %zu reasons", state.c_str(), count);
    return count;
}

struct told {
    bool is_well;
    size_t links;
    size_t reasons;
};

told check_json(const std::string &text)
{
    json_t *root = json_loadb(text.data(), text.size(), JSON_REJECT_DUPLICATES, nullptr);
    check_members(root, root_members);
    const json_t *links = json_object_get(root, "links");
    told all = {json_is_true(json_object_get(root, "well")), json_array_size(links), 0};
    size_t i;
    const json_t *link;
    json_array_foreach(links, i, link)
    {
        all.reasons += check_link(link);
    }
    all.reasons += check_reasons(json_object_get(root, "reasons"));
    bool is_complete = json_is_true(json_object_get(root, "complete"));
    if (all.is_well != (all.reasons == 0 && is_complete))
        violated("well with %zu reasons", all.reasons);
    json_decref(root);
    return all;
}

// ---- the text

// A line for each link below the head, two for each reason.
void check_text(const std::string &text, const told &all)
{
    size_t lines = 0;
    size_t cures = 0;
    bool is_well = false;
    bool is_cut = false;
    std::string_view rest = text;
    for (std::string_view line; next_line(&rest, &line); lines++) {
        cures += line.compare(0, 10, "    cure: ") == 0 ? 1 : 0;
        is_well = is_well || line == "all is well";
        is_cut = is_cut || line == "more entries than can be shown";
    }
    size_t expected = 1 + all.links + 2 * all.reasons + (is_cut ? 1 : 0) + (is_well ? 1 : 0);
    if (lines != expected || cures != all.reasons || is_well != all.is_well)
        violated("%zu lines with %zu cures in place of %zu with %zu: %s", lines, cures, expected,
                 all.reasons, text.c_str());
}

// Without the sequences that make colours.
std::string uncoloured(const std::string &text)
{
    std::string plain;
    for (size_t i = 0; i < text.size(); i++) {
        if (text[i] == '\033')
            i = std::min(text.find('m', i), text.size());
        else
            plain += text[i];
    }
    return plain;
}

// ---- the runs

void check_harmless()
{
    if (here.files.changes() != 0)
        violated("a file is opened for writing");
    if (!here.signals.empty() || here.commands.size() > 1)
        violated("more is done than one listing");
    for (const std::string &command : here.commands) {
        if (command != "iptables -t nat -S")
            violated("a command of status: %s", command.c_str());
    }
}

// Returns the status; nothing is said when it is 2.
int look(router *looked_at, const words &arguments)
{
    int status = looked_at->run_mctl(arguments);
    check_harmless();
    if (status == 2 && !here.standard_output.empty())
        violated("something is told though it could not look");
    return status;
}

void look_coloured(router *looked_at, int status, const std::string &plain)
{
    here.is_terminal = true;
    bool is_same = look(looked_at, {"status"}) == status;
    here.is_terminal = false;
    if (!is_same || uncoloured(here.standard_output) != plain)
        violated("other words with colours: %s", here.standard_output.c_str());
}

} // namespace

void test_status(input &parts)
{
    if (parts.holds(SECRET_MARK))
        return;
    router looked_at(parts);
    int status = look(&looked_at, {"status", "--json"});
    looked_at.check_said(status);
    bool was_quiet = looked_at.is_quiet();
    told all = {};
    if (status != 2)
        all = check_json(here.standard_output);
    if (status != 2 && status != (all.is_well ? 0 : 1))
        violated("status %d", status);
    int plain_status = look(&looked_at, {"status"});
    looked_at.check_said(plain_status);
    if (!was_quiet)
        return;
    if (plain_status != status)
        violated("status %d, and %d in JSON", plain_status, status);
    if (status == 2)
        return;
    const std::string plain = here.standard_output;
    check_text(plain, all);
    look_coloured(&looked_at, status, plain);
}

} // namespace fuzz
