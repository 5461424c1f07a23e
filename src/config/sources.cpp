#include "config/sources.h"

#include "config/json_access.h"
#include "config/settings_file.h"
#include "config/source_formats.h"
#include "util/text.h"

#include <ctype.h>
#include <string.h>

static char *at_end(const line_format &format, char *word)
{
    return word != nullptr && format.end == field_end::trimmed ? trim_r(word) : word;
}

static void set_record_field(struct iface_params *record, size_t position, const char *value)
{
    const interface_field &field = interface_fields[position];
    text_set(reinterpret_cast<char *>(record) + field.offset, field.capacity, value);
}

// What is cleared of a record before its lines are read: the first name begins anew. The rest is
// the caller's: set_config() builds the three interfaces of the router from one record, and an
// entry that is cut short has the fields of the one before.
constexpr size_t CLEARED_CHARACTERS = 4;

static void apply_interface_line(struct iface_params *record, char *first, char **rest)
{
    const line_format &format = interfaces_format;
    size_t count = 0;
    for (char *word = first; word != nullptr && count < INTERFACE_FIELDS;
         word = strtok_r(nullptr, format.separators, rest))
        set_record_field(record, count++, at_end(format, word));

    if (count > FIRST_ADDRESS_FIELD)
        return;
    for (size_t i = FIRST_ADDRESS_FIELD; i < INTERFACE_FIELDS; i++)
        set_record_field(record, i, "-");
}

int get_iface_params(struct iface_params *record, const char *name)
{
    const line_format &format = interfaces_format;
    FILE *file = open_settings(format.path);
    if (file == nullptr)
        return -1;

    memset(record, 0, CLEARED_CHARACTERS);
    int result = -1;
    char line[SETTINGS_LINE_MAX];
    while (next_settings_line(file, line, format.hash_lines)) {
        char *rest = nullptr;
        char *first = strtok_r(line, format.separators, &rest);
        if (first == nullptr || strcmp(first, name) != 0)
            continue;
        apply_interface_line(record, first, &rest);
        result = 1;
    }
    close_settings(file, format.path);
    return result;
}

static json_t *peer_value(peer_form how, const char *word)
{
    switch (how) {
    case peer_form::text:
        return json_string(word);
    case peer_form::flag:
        return json_boolean(strcmp(word, "1") == 0);
    case peer_form::number_or_null:
        if (strcmp(word, "-") == 0)
            return json_null();
        [[fallthrough]];
    case peer_form::number:
        break;
    }
    return json_integer(text_to_int(word));
}

static void apply_word(json_t *peer, word_list list, unsigned position, const char *word)
{
    for (size_t i = 0; i < list.count; i++) {
        if (list.words[i].position == position)
            json_object_set_new(peer, list.words[i].key, peer_value(list.words[i].how, word));
    }
}

static word_list words_of_type(const char *type)
{
    for (const peer_type &row : peer_types) {
        if (strcmp(row.type, type) == 0)
            return row.words;
    }
    return {nullptr, 0};
}

static void apply_peer_words(json_t *peer, const char *type, char **rest)
{
    const line_format &format = peers_format;
    word_list own = words_of_type(type);
    unsigned position = 0;
    for (char *word = strtok_r(nullptr, format.separators, rest); word != nullptr;
         word = strtok_r(nullptr, format.separators, rest)) {
        at_end(format, word);
        apply_word(peer, list_of(common_words), position, word);
        apply_word(peer, own, position, word);
        position++;
    }
}

int get_tunnels(json_t *array)
{
    const line_format &format = peers_format;
    FILE *file = open_settings(format.path);
    if (file == nullptr)
        return -1;

    int result = -1;
    char line[SETTINGS_LINE_MAX];
    char type[SETTINGS_LINE_MAX] = ""; // kept: a line without a type has that of the line before
    while (next_settings_line(file, line, format.hash_lines)) {
        char *rest = nullptr;
        char *name = strtok_r(line, format.separators, &rest);
        if (name == nullptr)
            continue;
        char *word = strtok_r(nullptr, format.separators, &rest);
        if (word != nullptr)
            text_set(type, at_end(format, word));

        json_t *peer = json_object();
        put_text(peer, "name", at_end(format, name));
        put_text(peer, "type", type);
        apply_peer_words(peer, type, &rest);
        json_array_append_new(array, peer);
        result = 1;
    }
    close_settings(file, format.path);
    return result;
}

// The value of a line of a key with this form. value ends as the line does.
static json_t *key_value(key_form how, char *value)
{
    switch (how) {
    case key_form::text:
        return json_string(trim_r(value));
    case key_form::text_or_null:
        return isspace(static_cast<unsigned char>(value[0])) ? json_null()
                                                             : json_string(trim_r(value));
    case key_form::flag:
    case key_form::flag_and_name:
        return json_boolean(strcmp(value, "0") != 0);
    case key_form::presence:
        break;
    }
    return json_true();
}

static void apply_key(json_t *object, const key_row &row, char *value)
{
    if (value == nullptr && row.how != key_form::presence)
        return;
    json_t *member = key_value(row.how, value);
    bool is_on = json_is_true(member);
    json_object_set_new(object, row.member, member);
    if (row.how == key_form::flag_and_name && is_on)
        put_text(object, "name", trim_r(value));
}

template <size_t N>
static int read_keys(const line_format &format, const key_row (&rows)[N], json_t *object)
{
    FILE *file = open_settings(format.path);
    if (file == nullptr)
        return -1;

    char line[SETTINGS_LINE_MAX];
    while (next_settings_line(file, line, format.hash_lines)) {
        char *rest = nullptr;
        const char *key = strtok_r(line, format.separators, &rest);
        char *value = at_end(format, strtok_r(nullptr, format.separators, &rest));
        for (const key_row &row : rows) {
            if (key != nullptr && strcmp(row.key, key) == 0)
                apply_key(object, row, value);
        }
    }
    close_settings(file, format.path);
    return 1;
}

int get_dns_params(json_t *object)
{
    return read_keys(dns_format, dns_keys, object);
}

int get_wimax_params(json_t *object)
{
    return read_keys(wimax_format, wimax_keys, object);
}
