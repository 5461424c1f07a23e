#include "ctl/report/report.h"

#include "config/document.h"
#include "config/source_formats.h"
#include "ctl/check/check.h"
#include "ctl/check/tree.h"
#include "ctl/report/secrets.h"
#include "ctl/status/status.h"
#include "ctl/unseen.h"
#include "firewall/list_formats.h"
#include "firewall/switch_keys.h"
#include "util/json_memory.h"
#include "util/link_state.h"
#include "util/text.h"
#include "util/time_zone.h"
#include "util/tool_output.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

constexpr size_t REPORT_MAX = 256 * 1024; // as it is written
constexpr size_t TEXT_MAX = 1024 * 1024;  // before secrets are hidden; all parts at their longest
constexpr size_t SECTION_MAX = 24 * 1024;
constexpr size_t FILE_MAX = 8 * 1024;
constexpr size_t LOG_MAX = 48 * 1024;
constexpr unsigned LOG_TIMEOUT_S = 20;
constexpr char LOG_FILE[] = "/var/log/messages";

// ---- pieces

static void put_title(FILE *out, const char *title)
{
    fprintf(out, "\n==== %s\n", title);
}

// Up to so many characters of a text of lines, from its begin or from its end.
static void put_part(FILE *out, const char *text, size_t most, bool is_end)
{
    size_t length = strlen(text);
    if (length <= most) {
        fputs(text, out);
    } else if (is_end) {
        // From the begin of a line: half a secret would not be known for one.
        const char *rest = strchr(text + length - most, '\n');
        fputs("(what is older is left out)", out);
        fputs(rest != nullptr ? rest : "\n", out);
    } else {
        fwrite(text, 1, most, out);
        fputs("\n(what is behind this is left out)\n", out);
    }
}

// What a writer writes, up to the room of a section. Returns false for want of memory, as all that
// puts a part does.
static bool put_section(FILE *out, const char *title, void (*write)(FILE *to))
{
    // Two more, so that what is too long is seen to be, and a terminator.
    static char text[SECTION_MAX + 3];
    FILE *to = fmemopen(text, sizeof(text) - 1, "w");
    if (to == nullptr)
        return false;
    write(to);
    fclose(to); // it fails where the room ends, which put_part() tells
    put_title(out, title);
    put_part(out, text, SECTION_MAX, false);
    return true;
}

static void write_status(FILE *to)
{
    static look at;
    static router_status status;
    char fault[FAULT_MAX];
    if (look_and_judge(&at, &status, fault))
        print_status(to, at, status, false);
    else
        fprintf(to, "could not look: %s\n", fault);
    forget_look(&at);
}

static void write_findings(FILE *to)
{
    char why[160];
    check_settings("/", to, false);
    if (has_unseen(why, sizeof(why)))
        fprintf(to, "not all is told: %s\n", why);
}

static size_t count_rules(const char *listing)
{
    size_t count = 0;
    for (const char *line = listing; line != nullptr; line = strchr(line, '\n')) {
        line += *line == '\n' ? 1 : 0;
        count += strncmp(line, "-A ", 3) == 0 ? 1 : 0;
    }
    return count;
}

static void write_rule_counts(FILE *to)
{
    static const char *const tables[] = {"nat", "filter", "mangle"};
    for (const char *table : tables) {
        int status = 0;
        char *listing = list_table(table, &status);
        fprintf(to, "%s: %zu rules, listed with status %d\n", table, count_rules(listing), status);
        free(listing);
    }
}

// ---- files

static void put_line(FILE *out, const char *line)
{
    fputs(line, out);
    fputc('\n', out);
}

// Of a peer, no more than its name, type and flag: Config tells the rest by name.
static void put_peer(FILE *out, const char *line)
{
    const char *at = line;
    for (int i = 0; i < 3; i++) {
        at += strspn(at, PEER_SEPARATORS);
        at += strcspn(at, PEER_SEPARATORS);
    }
    fprintf(out, "%.*s %s\n", static_cast<int>(at - line), line, MASK);
}

static void put_nvram(FILE *out, const char *line)
{
    char key[64];
    size_t length = strcspn(line, "=");
    if (line[length] == '\0') {
        put_line(out, MASK); // who knows what it was meant for
        return;
    }
    text_format(key, sizeof(key), "%.*s", static_cast<int>(length), line);
    bool is_shown = length < sizeof(key) && !is_secret_key(key);
    if (is_shown)
        put_line(out, line);
    else
        fprintf(out, "%s=%s\n", key, MASK);
}

struct report_file {
    const char *path;
    void (*put)(FILE *out, const char *line);
};

// clang-format off
constexpr report_file report_files[] = {
    {interfaces_format.path, put_line},
    {peers_format.path, put_peer},
    {dns_format.path, put_line},
    {wimax_format.path, put_line},
    {IP_FILTER, put_line},
    {IGMP, put_line},
    {UPNP, put_line},
    {schedules_format.path, put_line},
    {user_rules_format.path, put_line},
    {macs_format.path, put_line},
    {urls_format.path, put_line},
    {access_format.path, put_line},
    {vservers_format.path, put_line},
    {masq_format.path, put_line},
    {triggers_format.path, put_line},
    {ZONE_FILE, put_line},
    {"/etc/nvram/0", put_nvram},
    {"/etc/nvram/1", put_nvram},
};
// clang-format on

static char *load_text(const char *path)
{
    return load_file("/", path).bytes;
}

static void put_lines(FILE *out, char *text, void (*put)(FILE *out, const char *line))
{
    size_t used = 0;
    char *rest = text;
    for (char *line; (line = take_line(&rest)) != nullptr;) {
        used += strlen(line);
        if (used > FILE_MAX) {
            fputs("(what is behind this is left out)\n", out);
            return;
        }
        put(out, line);
    }
}

static void put_file(FILE *out, const report_file &file)
{
    char *text = load_text(file.path);
    put_title(out, file.path);
    if (text == nullptr)
        fputs("(not to be read)\n", out);
    else
        put_lines(out, text, file.put);
    free(text);
}

// A failure is counted by util/json_memory.h.
static void hide_members(json_t *value)
{
    for (size_t i = 0; i < json_array_size(value); i++)
        hide_members(json_array_get(value, i));
    for (void *at = json_object_iter(value); at != nullptr; at = json_object_iter_next(value, at)) {
        if (is_secret_member(json_object_iter_key(at)))
            json_object_iter_set_new(value, at, json_string(MASK));
        else
            hide_members(json_object_iter_value(at));
    }
}

static bool put_document(FILE *out, const char *path)
{
    char *text = load_text(path);
    watch_json_memory();
    json_t *root = text != nullptr ? read_json_text(text, strlen(text), nullptr) : nullptr;
    free(text);
    hide_members(root);
    char *shown =
        root != nullptr ? json_dumps(root, JSON_INDENT(1) | JSON_PRESERVE_ORDER) : nullptr;
    json_decref(root);
    bool is_whole = !json_memory_failed();
    if (is_whole) {
        put_title(out, path);
        put_part(out, shown != nullptr ? shown : "(no JSON)", SECTION_MAX, false);
        fputc('\n', out);
    }
    free(shown);
    return is_whole;
}

static bool put_log(FILE *out, const secrets &all)
{
    static const char *const words[] = {"logread", nullptr};
    int status = 0;
    char *text = load_text(LOG_FILE);
    if (text == nullptr)
        text = read_tool_output(words, LOG_TIMEOUT_S, &status);
    char *masked = text != nullptr ? mask_secrets(all, text, true) : nullptr;
    free(text);
    if (masked == nullptr)
        return false;
    put_title(out, "the last lines of the log");
    put_part(out, masked, LOG_MAX, true);
    if (status != 0)
        fprintf(out, "(logread ended with %d)\n", status);
    free(masked);
    return true;
}

// ---- the report

static void put_head(FILE *out)
{
    char now[32] = "";
    time_t seconds = time(nullptr);
    tm local;
    if (localtime_r(&seconds, &local) != nullptr)
        strftime(now, sizeof(now), "%Y-%m-%d %H:%M:%S", &local);
    fprintf(out, "mctl report, version %s, %s\n", MCFG_VERSION, now);
    static const char *const files[] = {"/proc/version", "/proc/uptime", "/proc/loadavg"};
    for (const char *path : files) {
        char line[256] = "";
        FILE *file = fopen(path, "re");
        bool is_read = file != nullptr && fgets(line, sizeof(line), file) != nullptr;
        fprintf(out, "%s: %s", path, is_read ? line : "(not to be read)\n");
        if (file != nullptr)
            fclose(file);
    }
}

static bool put_all(FILE *out, const secrets &all)
{
    put_head(out);
    if (!put_section(out, "mctl status", write_status) ||
        !put_section(out, "mctl check", write_findings) ||
        !put_section(out, "rules", write_rule_counts))
        return false;
    for (const report_file &file : report_files)
        put_file(out, file);
    return put_document(out, CONFIG_PATH) && put_document(out, LINK_STATE_PATH) &&
           put_log(out, all);
}

// Line ends and tabs stay; what else is no printable ASCII would disturb the reader's terminal.
static void make_printable(char *text)
{
    for (; *text != '\0'; text++) {
        bool is_plain = (*text >= ' ' && *text <= '~') || *text == '\n' || *text == '\t';
        *text = is_plain ? *text : '?';
    }
}

static bool write_masked(const char *text, const secrets &all)
{
    char *masked = mask_secrets(all, text, false);
    if (masked == nullptr)
        return false;
    make_printable(masked);
    size_t length = strlen(masked);
    fwrite(masked, 1, length < REPORT_MAX ? length : REPORT_MAX, stdout);
    free(masked);
    return fflush(stdout) == 0 && !ferror(stdout);
}

static bool write_report(const secrets &all)
{
    static char text[TEXT_MAX];
    FILE *out = all.is_whole ? fmemopen(text, sizeof(text) - 1, "w") : nullptr;
    if (out == nullptr)
        return false;
    bool is_whole = put_all(out, all);
    return fclose(out) == 0 && is_whole && write_masked(text, all);
}

int report_main(int count, char **)
{
    if (count > 0) {
        fputs("usage: mctl report\n", stderr);
        return 2;
    }
    secrets all;
    learn_secrets(&all);
    bool is_written = write_report(all);
    forget_secrets(&all);
    if (!is_written)
        fputs("mctl: the report could not be written\n", stderr);
    return is_written ? 0 : 2;
}
