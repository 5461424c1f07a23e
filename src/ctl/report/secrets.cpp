#include "ctl/report/secrets.h"

#include "config/document.h"
#include "config/source_formats.h"
#include "ctl/check/tree.h"
#include "ctl/check/values.h"
#include "util/text.h"

#include <ctype.h>
#include <jansson.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>

constexpr size_t SHORT_SECRET = 3;
constexpr size_t PEER_LOGIN = 3; // fields of a line of ppp-peers
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
static void add_secret(secrets *all, const char *text)
{
    if (text[0] == '\0' || is_one_of(text, no_secrets))
        return;
    if (all->count == all->capacity) {
        size_t capacity = all->capacity * 2 + 16;
        void *grown = realloc(all->text, capacity * sizeof(char *));
        if (grown == nullptr)
            return;
        all->text = static_cast<char **>(grown);
        all->capacity = capacity;
    }
    char *copy = strdup(text);
    if (copy != nullptr)
        all->text[all->count++] = copy;
}
#ifndef __clang__
#pragma GCC diagnostic pop
#endif

static void for_lines(const char *path, secrets *all, void (*learn)(secrets *all, char *line))
{
    loaded_file file = load_file("/", path);
    char *text = file.state == file_state::loaded ? strndup(file.bytes, file.length) : nullptr;
    unload_file(&file);
    char *rest = nullptr;
    for (char *line = text != nullptr ? strtok_r(text, "\r\n", &rest) : nullptr; line != nullptr;
         line = strtok_r(nullptr, "\r\n", &rest))
        learn(all, line);
    free(text);
}

// Lines that are comments by now may have been in force yesterday.
static void learn_peer(secrets *all, char *line)
{
    line += strspn(line, "# \t");
    char *rest = nullptr;
    size_t field = 0;
    for (char *word = strtok_r(line, " \t", &rest); word != nullptr;
         word = strtok_r(nullptr, " \t", &rest)) {
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

static int compare_lengths(const void *a, const void *b)
{
    size_t left = strlen(*static_cast<char *const *>(a));
    size_t right = strlen(*static_cast<char *const *>(b));
    return left == right ? 0 : left > right ? -1 : 1;
}

void learn_secrets(secrets *all)
{
    *all = {};
    for_lines(peers_format.path, all, learn_peer);
    for_lines("/etc/nvram/0", all, learn_nvram);
    for_lines("/etc/nvram/1", all, learn_nvram);
    loaded_file file = load_file("/", CONFIG_PATH);
    if (file.state == file_state::loaded) {
        json_t *config = json_loadb(file.bytes, file.length, 0, nullptr);
        learn_members(all, config);
        json_decref(config);
    }
    unload_file(&file);
    if (all->count > 1)
        qsort(all->text, all->count, sizeof(char *), compare_lengths);
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

// The length of the secret that stands at this place, or 0.
static size_t secret_at(const secrets &all, const char *begin, const char *at, bool with_short)
{
    for (size_t i = 0; i < all.count; i++) {
        size_t length = strlen(all.text[i]);
        if (strncmp(at, all.text[i], length) == 0 &&
            (length > SHORT_SECRET || (with_short && is_alone(begin, at, length))))
            return length;
    }
    return 0;
}

char *mask_secrets(const secrets &all, const char *text, bool with_short)
{
    char *masked = nullptr;
    size_t size = 0;
    FILE *out = open_memstream(&masked, &size);
    if (out == nullptr)
        return nullptr;
    for (const char *at = text; *at != '\0';) {
        size_t length = secret_at(all, text, at, with_short);
        if (length > 0)
            fputs(MASK, out);
        else
            fputc(*at, out);
        at += length > 0 ? length : 1;
    }
    bool is_whole = fclose(out) == 0;
    if (!is_whole) {
        free(masked);
        return nullptr;
    }
    return masked;
}
