// mctl check of any settings: it changes nothing, says what it finds in printable lines, and the
// same in JSON, and its status tells whether an error is among it.
#include "ctl/mctl.h"
#include "fuzz/guarded_memory.h"
#include "fuzz/lines.h"
#include "fuzz/targets.h"
#include "fuzz/world.h"

#include <jansson.h>
#include <string_view>

namespace fuzz
{

namespace
{

constexpr const char *files[] = {
    "/etc/default/network-interfaces",
    "/etc/default/ppp-peers",
    "/etc/default/dns.conf",
    "/etc/default/wimax",
    "/etc/default/ip_filter",
    "/etc/default/igmp",
    "/etc/default/upnp",
    "/etc/default/rules",
    "/etc/default/sched_list",
    "/etc/default/macfilter_list",
    "/etc/default/url_filter",
    "/etc/default/vservers",
    "/etc/default/httpd_access.conf",
    "/etc/default/masq",
    "/etc/default/trigger_ports",
    "/etc/TZ",
    "/etc/nvram/0",
    "/etc/nvram/1",
};

struct findings {
    size_t errors;
    size_t warnings;
};

// What the program says with these words; its status must tell whether there are errors.
std::string output_of(const std::vector<std::string> &words, int *status)
{
    char **argv = guarded_words(words);
    here.standard_output.clear();
    *status = run([&] { return mctl_main(static_cast<int>(words.size()), argv); });
    return here.standard_output;
}

bool is_printable(std::string_view line)
{
    for (char c : line) {
        if (c < ' ' || c > '~')
            return false;
    }
    return true;
}

findings findings_of_text(const std::string &text)
{
    findings found = {0, 0};
    std::string_view rest = text;
    std::string_view last;
    for (std::string_view line; next_line(&rest, &line);) {
        if (!is_printable(line))
            violated("a line that is not printable: %s", std::string(line).c_str());
        found.errors += line.find(": error: ") != line.npos ? 1 : 0;
        found.warnings += line.find(": warning: ") != line.npos ? 1 : 0;
        last = line;
    }
    const std::string sum =
        std::to_string(found.errors) + (found.errors == 1 ? " error" : " errors") + ", " +
        std::to_string(found.warnings) + (found.warnings == 1 ? " warning" : " warnings");
    if (last != sum)
        violated("\"%s\" for %s", std::string(last).c_str(), sum.c_str());
    return found;
}

findings findings_of_json(const std::string &text)
{
    findings found = {0, 0};
    json_t *all = json_loadb(text.data(), text.size(), JSON_REJECT_DUPLICATES, nullptr);
    if (!json_is_array(all))
        violated("no JSON array: %s", text.c_str());
    size_t i;
    json_t *finding;
    json_array_foreach(all, i, finding)
    {
        const char *severity = json_string_value(json_object_get(finding, "severity"));
        bool is_error = severity != nullptr && severity == std::string("error");
        (is_error ? found.errors : found.warnings)++;
    }
    json_decref(all);
    return found;
}

} // namespace

void test_check(input &parts)
{
    for (const char *path : files)
        here.put_file(path, parts.next());
    const std::string *link = parts.next();
    if (link != nullptr && !here.files.exists("/etc/TZ"))
        here.files.put_link("/etc/TZ", *link);
    here.obstruct(parts.next());

    int status = 0;
    int json_status = 0;
    findings text = findings_of_text(output_of({"mctl", "check"}, &status));
    findings json = findings_of_json(output_of({"mctl", "check", "--json"}, &json_status));
    if (text.errors != json.errors || text.warnings != json.warnings)
        violated("%zu errors as text, %zu as JSON", text.errors, json.errors);
    if (status != (text.errors > 0 ? 1 : 0) || json_status != status)
        violated("status %d with %zu errors", status, text.errors);
    std::vector<std::string> words = {"mctl"};
    for (const std::string *word = parts.next(); word != nullptr; word = parts.next())
        words.emplace_back(word->c_str());
    output_of(words, &status);
    if (status < 0 || status > 2)
        violated("status %d of mctl", status);
    if (here.files.changes() != 0)
        violated("the settings were changed");
}

} // namespace fuzz
