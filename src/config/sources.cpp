#include "config/sources.h"

#include "config/settings_file.h"
#include "util/text.h"

#include <ctype.h>
#include <stddef.h>
#include <string.h>

// One field of a network-interfaces line: where in the record it goes, and the room there.
struct record_field {
    size_t offset;
    size_t capacity;
};

#define RECORD_FIELD(member)                                                                       \
    {                                                                                              \
        offsetof(iface_params, member), sizeof(iface_params::member)                               \
    }

constexpr record_field record_fields[] = {
    {offsetof(iface_params, iface), IFACE_NAME_FIELD},
    {offsetof(iface_params, iface) + IFACE_NAME_FIELD, IFACE_NAME_FIELD},
    {offsetof(iface_params, iface) + 2 * IFACE_NAME_FIELD, IFACE_NAME_FIELD},
    RECORD_FIELD(type),
    RECORD_FIELD(ipaddr),
    RECORD_FIELD(netmask),
    RECORD_FIELD(gateway),
    RECORD_FIELD(metric),
    RECORD_FIELD(bcast),
    RECORD_FIELD(mtu),
    RECORD_FIELD(mac),
};
constexpr size_t RECORD_FIELDS = sizeof(record_fields) / sizeof(record_fields[0]);
constexpr size_t FIRST_ADDRESS_FIELD = 4;

static void set_record_field(struct iface_params *record, size_t position, const char *value)
{
    const record_field &field = record_fields[position];
    text_set(reinterpret_cast<char *>(record) + field.offset, field.capacity, value);
}

static void apply_interface_line(struct iface_params *record, char *first, char **rest)
{
    size_t count = 0;
    for (char *word = first; word != nullptr && count < RECORD_FIELDS;
         word = strtok_r(nullptr, " ", rest))
        set_record_field(record, count++, trim_r(word));

    if (count > FIRST_ADDRESS_FIELD)
        return;
    for (size_t i = FIRST_ADDRESS_FIELD; i < RECORD_FIELDS; i++)
        set_record_field(record, i, "-");
}

int get_iface_params(struct iface_params *record, const char *name)
{
    FILE *file = open_settings("/etc/default/network-interfaces");
    if (file == nullptr)
        return -1;

    memset(record, 0, 4);
    int result = -1;
    char line[SETTINGS_LINE_MAX];
    while (next_settings_line(file, line)) {
        char *rest = nullptr;
        char *first = strtok_r(line, " ", &rest);
        if (first == nullptr || strcmp(first, name) != 0)
            continue;
        apply_interface_line(record, first, &rest);
        result = 1;
    }
    fclose(file);
    return result;
}

// What a word of a ppp-peers line does to its peer object.
using peer_setter = void (*)(json_t *peer, const char *key, const char *word);

static void set_string(json_t *peer, const char *key, const char *word)
{
    json_object_set_new(peer, key, json_string(word));
}

static void set_flag(json_t *peer, const char *key, const char *word)
{
    json_object_set_new(peer, key, strcmp(word, "1") == 0 ? json_true() : json_false());
}

static void set_number(json_t *peer, const char *key, const char *word)
{
    json_object_set_new(peer, key, json_integer(text_to_int(word)));
}

static void set_number_or_null(json_t *peer, const char *key, const char *word)
{
    if (strcmp(word, "-") == 0)
        json_object_set_new(peer, key, json_null());
    else
        set_number(peer, key, word);
}

struct peer_word {
    unsigned position; // after the type
    const char *key;
    peer_setter set;
};

constexpr peer_word common_words[] = {
    {0, "auto", set_flag},
    {1, "login", set_string},
    {2, "passwd", set_string},
};

// The service name counts as a metric too until a metric of its own follows: a line that stops
// after the service has always had that one.
constexpr peer_word pppoe_words[] = {
    {3, "iface", set_string},  {4, "ac", set_string},     {5, "service", set_string},
    {5, "metric", set_number}, {6, "metric", set_number},
};

constexpr peer_word server_words[] = {
    {3, "server", set_string},
    {4, "metric", set_number_or_null},
};

struct word_list {
    const peer_word *words;
    size_t count;
};

template <size_t N> constexpr word_list list_of(const peer_word (&words)[N])
{
    return {words, N};
}

struct peer_type {
    const char *type;
    word_list words;
};

constexpr peer_type peer_types[] = {
    {"pppoe", list_of(pppoe_words)},
    {"pptp", list_of(server_words)},
    {"l2tp", list_of(server_words)},
};

static void apply_word(json_t *peer, word_list list, unsigned position, const char *word)
{
    for (size_t i = 0; i < list.count; i++) {
        if (list.words[i].position == position)
            list.words[i].set(peer, list.words[i].key, word);
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
    word_list own = words_of_type(type);
    unsigned position = 0;
    for (char *word = strtok_r(nullptr, " ", rest); word != nullptr;
         word = strtok_r(nullptr, " ", rest)) {
        apply_word(peer, list_of(common_words), position, word);
        apply_word(peer, own, position, word);
        position++;
    }
}

int get_tunnels(json_t *array)
{
    FILE *file = open_settings("/etc/default/ppp-peers");
    if (file == nullptr)
        return -1;

    int result = -1;
    char line[SETTINGS_LINE_MAX];
    char type[SETTINGS_LINE_MAX] = ""; // kept: a line without a type has that of the line before
    while (next_settings_line(file, line)) {
        char *rest = nullptr;
        const char *name = strtok_r(line, " ", &rest);
        if (name == nullptr)
            continue;
        const char *word = strtok_r(nullptr, " ", &rest);
        if (word != nullptr)
            text_set(type, word);

        json_t *peer = json_object();
        set_string(peer, "name", name);
        set_string(peer, "type", type);
        apply_peer_words(peer, type, &rest);
        json_array_append_new(array, peer);
        result = 1;
    }
    fclose(file);
    return result;
}

// What a value of a KEY=value line does to the object. The value is null when the line has none;
// rest is as read, with its line end.
using key_setter = void (*)(json_t *object, char *value);

struct key_row {
    const char *key;
    key_setter set;
};

static json_t *trimmed_string(char *value)
{
    return json_string(trim_r(value));
}

static void set_dns_auto(json_t *object, char *value)
{
    if (value == nullptr)
        return;
    bool is_auto = strcmp(value, "0") != 0;
    json_object_set_new(object, "auto", json_boolean(is_auto));
    if (is_auto)
        json_object_set_new(object, "name", trimmed_string(value));
}

static void set_dns1(json_t *object, char *value)
{
    if (value != nullptr)
        json_object_set_new(object, "dns1", trimmed_string(value));
}

static void set_dns2(json_t *object, char *value)
{
    if (value != nullptr)
        json_object_set_new(object, "dns2", trimmed_string(value));
}

constexpr key_row dns_keys[] = {
    {"auto", set_dns_auto},
    {"dns1", set_dns1},
    {"dns2", set_dns2},
};

static void set_diode_off(json_t *object, char *value)
{
    if (value != nullptr)
        json_object_set_new(object, "diode_off", json_boolean(strcmp(value, "0") != 0));
}

// The line's presence enables; its value was never read.
static void set_enable(json_t *object, char *)
{
    json_object_set_new(object, "enable", json_true());
}

static void set_ssid(json_t *object, char *value)
{
    if (value == nullptr)
        return;
    bool is_blank = isspace(static_cast<unsigned char>(value[0]));
    json_object_set_new(object, "ssid", is_blank ? json_null() : trimmed_string(value));
}

constexpr key_row wimax_keys[] = {
    {"WIMAX_DOFF", set_diode_off},
    {"WIMAX_ENABLE", set_enable},
    {"WIMAX_SSID", set_ssid},
};

template <size_t N> static int read_keys(const char *path, const key_row (&rows)[N], json_t *object)
{
    FILE *file = open_settings(path);
    if (file == nullptr)
        return -1;

    char line[SETTINGS_LINE_MAX];
    while (next_settings_line(file, line)) {
        char *rest = nullptr;
        const char *key = strtok_r(line, "=", &rest);
        char *value = strtok_r(nullptr, "=", &rest);
        for (const key_row &row : rows) {
            if (key != nullptr && strcmp(row.key, key) == 0)
                row.set(object, value);
        }
    }
    fclose(file);
    return 1;
}

int get_dns_params(json_t *object)
{
    return read_keys("/etc/default/dns.conf", dns_keys, object);
}

int get_wimax_params(json_t *object)
{
    return read_keys("/etc/default/wimax", wimax_keys, object);
}
