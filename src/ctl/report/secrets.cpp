#include "ctl/report/secrets.h"

#include "config/document.h"
#include "config/source_formats.h"
#include "ctl/check/report.h"
#include "ctl/check/tree.h"
#include "ctl/check/values.h"
#include "util/json_memory.h"
#include "util/text.h"

#include <ctype.h>
#include <errno.h>
#include <jansson.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>

constexpr size_t SHORT_SECRET = 3;
constexpr size_t TELLING_PART = 8; // of a longer one, which findings and sections may cut
constexpr size_t PEER_LOGIN = 3;   // fields of a line of ppp-peers
constexpr size_t PEER_PASSWORD = 4;

// Parts of the names of NVRAM keys whose values are secrets, and their ends but for numbers.
constexpr const char *secret_parts[] = {"psk", "pin", "pass", "secret", "login"};
constexpr const char *secret_ends[] = {"key", "str"};

static bool ends_with(const char *text, size_t length, const char *end)
{
    size_t size = strlen(end);
    return length >= size && strncasecmp(text + length - size, end, size) == 0;
}

bool is_secret_key(const char *key)
{
    for (const char *part : secret_parts) {
        if (strcasestr(key, part) != nullptr)
            return true;
    }
    size_t length = strlen(key);
    while (length > 0 && isdigit(static_cast<unsigned char>(key[length - 1])))
        length--;
    for (const char *end : secret_ends) {
        if (ends_with(key, length, end))
            return true;
    }
    return false;
}

bool is_secret_member(const char *key)
{
    return strcmp(key, "login") == 0 || strcmp(key, "passwd") == 0;
}

// Where nothing is set, and what the head of a list calls its fields.
constexpr const char *no_secrets[] = {"-", "login", "passwd"};

// gcc's analyzer takes the copy for lost, as it does not follow it into the list.
#ifndef __clang__ // which does not know the warning
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wanalyzer-malloc-leak"
#endif
static void keep_copy(secrets *all, const char *text)
{
    if (all->count == all->capacity) {
        size_t capacity = all->capacity * 2 + 16;
        void *grown = realloc(all->text, capacity * sizeof(char *));
        if (grown == nullptr) {
            all->is_whole = false;
            return;
        }
        all->text = static_cast<char **>(grown);
        all->capacity = capacity;
    }
    char *copy = strdup(text);
    if (copy != nullptr)
        all->text[all->count++] = copy;
    else
        all->is_whole = false;
}
#ifndef __clang__
#pragma GCC diagnostic pop
#endif

// As it is, and as a finding would show it where it stands in another field's place.
static void add_secret(secrets *all, const char *text)
{
    if (text[0] == '\0' || is_one_of(text, no_secrets))
        return;
    keep_copy(all, text);
    size_t room = strlen("\\xff") * (strlen(text) + 2);
    char *shown = static_cast<char *>(malloc(room));
    if (shown == nullptr) {
        all->is_whole = false;
        return;
    }
    escape_text(shown, room, text);
    if (strcmp(shown, text) != 0)
        keep_copy(all, shown);
    free(shown);
}

char *take_line(char **rest)
{
    for (char *line; (line = strtok_r(nullptr, "\n", rest)) != nullptr;) {
        size_t length = strlen(line);
        while (length > 0 && line[length - 1] == '\r')
            line[--length] = '\0';
        if (length > 0)
            return line;
    }
    return nullptr;
}

static void tell_loss(secrets *all, const char *path, int error)
{
    all->is_whole = false;
    fprintf(stderr, "mctl: %s: %s\n", path, strerror(error));
}

// Its secrets may stand elsewhere, too, as in the log.
static loaded_file load_source(secrets *all, const char *path)
{
    loaded_file file = load_file("/", path);
    if (file.state == file_state::unreadable)
        tell_loss(all, path, file.error);
    return file;
}

static void for_lines(const char *path, secrets *all, void (*learn)(secrets *all, char *line))
{
    loaded_file file = load_source(all, path);
    if (file.state != file_state::loaded)
        return;
    // The readers go on behind a NUL byte, with the next line or the next pair of NVRAM.
    for (size_t i = 0; i < file.length; i++) {
        if (file.bytes[i] == '\0')
            file.bytes[i] = '\n';
    }
    char *rest = file.bytes;
    for (char *line; (line = take_line(&rest)) != nullptr;)
        learn(all, line);
    unload_file(&file);
}

// Lines that are comments by now may have been in force yesterday.
static void learn_peer(secrets *all, char *line)
{
    line += strspn(line, "# \t\r");
    char *rest = nullptr;
    size_t field = 0;
    for (char *word = strtok_r(line, PEER_SEPARATORS, &rest); word != nullptr;
         word = strtok_r(nullptr, PEER_SEPARATORS, &rest)) {
        if (field == PEER_LOGIN || field == PEER_PASSWORD)
            add_secret(all, word);
        field++;
    }
}

static void learn_nvram(secrets *all, char *line)
{
    char *equals = strchr(line, '=');
    if (equals == nullptr)
        return;
    *equals = '\0';
    if (is_secret_key(line))
        add_secret(all, equals + 1);
}

static void learn_members(secrets *all, json_t *value)
{
    for (size_t i = 0; i < json_array_size(value); i++)
        learn_members(all, json_array_get(value, i));
    for (void *at = json_object_iter(value); at != nullptr; at = json_object_iter_next(value, at)) {
        json_t *member = json_object_iter_value(at);
        if (is_secret_member(json_object_iter_key(at)) && json_is_string(member))
            add_secret(all, json_string_value(member));
        learn_members(all, member);
    }
}

static int compare_secrets(const void *a, const void *b)
{
    const char *left = *static_cast<char *const *>(a);
    const char *right = *static_cast<char *const *>(b);
    size_t left_length = strlen(left);
    size_t right_length = strlen(right);
    if (left_length != right_length)
        return left_length > right_length ? -1 : 1;
    return strcmp(left, right);
}

// Each is looked for at every place of the text: a list that repeats itself would take minutes.
static void sort_secrets(secrets *all)
{
    if (all->count < 2)
        return;
    qsort(all->text, all->count, sizeof(char *), compare_secrets);
    size_t kept = 1;
    for (size_t i = 1; i < all->count; i++) {
        if (strcmp(all->text[i], all->text[kept - 1]) == 0)
            free(all->text[i]);
        else
            all->text[kept++] = all->text[i];
    }
    all->count = kept;
}

static void learn_document(secrets *all)
{
    loaded_file file = load_source(all, CONFIG_PATH);
    if (file.state != file_state::loaded)
        return;
    json_t *config = read_json_text(file.bytes, file.length, nullptr);
    if (json_memory_failed())
        tell_loss(all, CONFIG_PATH, ENOMEM);
    learn_members(all, config);
    json_decref(config);
    unload_file(&file);
}

void learn_secrets(secrets *all)
{
    *all = {};
    all->is_whole = true;
    for_lines(peers_format.path, all, learn_peer);
    for_lines("/etc/nvram/0", all, learn_nvram);
    for_lines("/etc/nvram/1", all, learn_nvram);
    learn_document(all);
    sort_secrets(all);
}

void forget_secrets(secrets *all)
{
    for (size_t i = 0; i < all->count; i++)
        free(all->text[i]);
    free(all->text);
}

static bool is_alone(const char *begin, const char *at, size_t length)
{
    bool joins_before = at > begin && isalnum(static_cast<unsigned char>(at[-1]));
    return !joins_before && !isalnum(static_cast<unsigned char>(at[length]));
}

// How much of the secret stands at this place, where it is enough to tell it.
static size_t told_of(const char *secret, const char *begin, const char *at, bool with_short)
{
    size_t length = 0;
    while (secret[length] != '\0' && secret[length] == at[length])
        length++;
    bool is_whole = secret[length] == '\0';
    if (is_whole && length <= SHORT_SECRET)
        return with_short && is_alone(begin, at, length) ? length : 0;
    return is_whole || length >= TELLING_PART ? length : 0;
}

// The most that stands of a secret at this place.
static size_t secret_at(const secrets &all, const char *begin, const char *at, bool with_short)
{
    size_t most = 0;
    for (size_t i = 0; i < all.count; i++) {
        if (all.text[i][0] != *at)
            continue;
        size_t length = told_of(all.text[i], begin, at, with_short);
        most = length > most ? length : most;
    }
    return most;
}

char *mask_secrets(const secrets &all, const char *text, bool with_short)
{
    // The most that can come of it: each character a secret of its own.
    char *masked = static_cast<char *>(malloc(strlen(text) * strlen(MASK) + 1));
    if (masked == nullptr)
        return nullptr;
    char *end = masked;
    size_t hidden = 0; // characters from here on; a secret may begin in another's end
    for (const char *at = text; *at != '\0'; at++) {
        size_t length = secret_at(all, text, at, with_short);
        if (hidden == 0 && length > 0)
            end = stpcpy(end, MASK);
        hidden = length > hidden ? length : hidden;
        if (hidden == 0)
            *end++ = *at;
        else
            hidden--;
    }
    *end = '\0';
    return masked;
}
