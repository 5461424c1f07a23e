#include "ctl/check/report.h"

#include "ctl/fill_in.h"
#include "util/text.h"

#include <string.h>

constexpr size_t SHOWN_MAX = 96; // of a text from the settings
constexpr size_t TEXT_MAX = 512;

void escape_text(char *to, size_t room, const char *from)
{
    size_t used = 0;
    for (; *from != '\0'; from++) {
        unsigned char byte = static_cast<unsigned char>(*from);
        bool is_plain = byte >= ' ' && byte < 0x7f;
        size_t width = is_plain ? 1 : strlen("\\xff");
        if (used + width >= room - strlen("...")) {
            text_set(to + used, room - used, "...");
            return;
        }
        if (is_plain)
            to[used] = *from;
        else
            text_format(to + used, room - used, "\\x%02x", byte);
        used += width;
    }
    to[used] = '\0';
}

static void put_json_text(FILE *out, const char *text)
{
    fputc('"', out);
    for (; *text != '\0'; text++) {
        if (*text == '"' || *text == '\\')
            fputc('\\', out);
        fputc(*text, out);
    }
    fputc('"', out);
}

static void put_json_member(FILE *out, const char *name, const char *text)
{
    fprintf(out, ", \"%s\": ", name);
    put_json_text(out, text);
}

static void put_json(report *r, unsigned line, const char *field, const code_text &row,
                     const char *text, const char *cure)
{
    bool is_first = r->errors + r->warnings == 1;
    fprintf(r->out, "%s\n  {\"file\": \"%s\", \"line\": %u", is_first ? "" : ",", r->file, line);
    put_json_member(r->out, "field", field);
    put_json_member(r->out, "severity", severity_name(row.how_bad));
    put_json_member(r->out, "code", row.name);
    put_json_member(r->out, "text", text);
    put_json_member(r->out, "cure", cure);
    fputc('}', r->out);
}

static void show(report *r, unsigned line, const char *field, const code_text &row,
                 const char *first, const char *second)
{
    char text[TEXT_MAX];
    char cure[TEXT_MAX];
    fill_in(text, sizeof(text), row.text, first, second);
    fill_in(cure, sizeof(cure), row.cure, first, second);
    if (r->is_json)
        put_json(r, line, field, row, text, cure);
    else
        fprintf(r->out, "%s:%u:%s: %s: %s: %s; %s\n", r->file, line, field,
                severity_name(row.how_bad), row.name, text, cure);
}

void find(report *r, unsigned line, const char *field, code id, const char *first,
          const char *second)
{
    const code_text &row = text_of(id);
    bool is_error = row.how_bad == severity::error;
    if (r->in_file++ >= FINDINGS_SHOWN && id != code::too_many)
        return;
    r->errors += is_error ? 1 : 0;
    r->warnings += is_error ? 0 : 1;
    char shown_field[SHOWN_MAX]; // it may be a key as it stands in the file
    char shown_first[SHOWN_MAX];
    char shown_second[SHOWN_MAX];
    escape_text(shown_field, sizeof(shown_field), field);
    escape_text(shown_first, sizeof(shown_first), first);
    escape_text(shown_second, sizeof(shown_second), second);
    show(r, line, shown_field, row, shown_first, shown_second);
}

void find_number(report *r, unsigned line, const char *field, code id, unsigned long first,
                 const char *second)
{
    char text[24];
    text_format(text, sizeof(text), "%lu", first);
    find(r, line, field, id, text, second);
}

void begin_report(report *r, FILE *out, bool is_json)
{
    *r = {out, is_json, "", 0, 0, 0};
    if (is_json)
        fputc('[', out);
}

void begin_file(report *r, const char *file)
{
    r->file = file;
    r->in_file = 0;
}

void end_file(report *r)
{
    if (r->in_file > FINDINGS_SHOWN)
        find_number(r, 0, "-", code::too_many, r->in_file - FINDINGS_SHOWN);
}

static const char *plural(unsigned count)
{
    return count == 1 ? "" : "s";
}

void end_report(report *r)
{
    if (r->is_json)
        fputs(r->errors + r->warnings == 0 ? "]\n" : "\n]\n", r->out);
    else
        fprintf(r->out, "%u error%s, %u warning%s\n", r->errors, plural(r->errors), r->warnings,
                plural(r->warnings));
}
