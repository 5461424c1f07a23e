// mctl report of any router: whatever settings, NVRAM, documents and log hold, no secret is in it;
// it is printable, no longer than it may be, and nothing is changed or run but listings.
#include "fuzz/lines.h"
#include "fuzz/router.h"
#include "fuzz/targets.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace fuzz
{

namespace
{

constexpr size_t REPORT_MAX = 256 * 1024;
// A little more than what the report shows of a file, and of the log.
constexpr size_t REPEATED_MAX = 9 * 1024;
constexpr size_t REPEATED_LOG_MAX = 52 * 1024;
constexpr char PEERS[] = "/etc/default/ppp-peers";
constexpr char DEVICE[] = "/etc/nvram/0";
constexpr char WIRELESS[] = "/etc/nvram/1";
constexpr char LOG[] = "/var/log/messages";
constexpr char SECRET_SIGN = '\x1d'; // in the log: a secret stands here

constexpr const char *files[] = {
    "/etc/default/network-interfaces",
    PEERS,
    "/etc/default/dns.conf",
    "/etc/default/wimax",
    "/etc/default/ip_filter",
    "/etc/default/rules",
    "/etc/default/vservers",
    DEVICE,
    WIRELESS,
    "/proc/uptime",
};

// Keys of the NVRAM whose values are secrets, and what may stand behind them.
constexpr std::string_view secret_keys[] = {
    "WPAPSK",  "Key1Str",     "Key2Str",      "Key3Str",          "Key4Str",         "RADIUS_Key",
    "WdsKey",  "Wds1Key",     "MeshWEPKEY",   "MeshWPAKEY",       "RADIUS_Acct_Key", "pin",
    "WapiPsk", "ApCliWPAPSK", "ApCliKey1Str", "WscVendorPinCode",
};

// What a secret may look like, by the input.
std::string make_secret(const std::string *kind)
{
    constexpr const char *middles[] = {
        "secret", "\"quo\\ted'", "caf\xc3\xa9", "=%s$(reboot)", "\x7f\x01", "#",
    };
    constexpr size_t COUNT = sizeof(middles) / sizeof(middles[0]);
    unsigned char letter =
        kind != nullptr && !kind->empty() ? static_cast<unsigned char>((*kind)[0]) : '0';
    std::string secret = SECRET_MARK;
    if (letter == 'l') {
        while (secret.size() < 200)
            secret += std::string("x") + SECRET_MARK;
        return secret;
    }
    return secret + middles[letter % COUNT] + SECRET_MARK;
}

bool is_blank(char c)
{
    return c == ' ' || c == '\t' || c == '\r';
}

// The fourth and the fifth word of a line, which may be a comment by now.
void plant_in_peer(std::string *line, const std::string &secret)
{
    size_t at = 0;
    while (at < line->size() && (is_blank((*line)[at]) || (*line)[at] == '#'))
        at++;
    for (int field = 0; at < line->size(); field++) {
        size_t end = at;
        while (end < line->size() && !is_blank((*line)[end]))
            end++;
        bool is_secret = (field == 3 || field == 4) && line->substr(at, end - at) != "-";
        if (is_secret)
            line->replace(at, end - at, secret);
        at = is_secret ? at + secret.size() : end;
        while (at < line->size() && is_blank((*line)[at]))
            at++;
    }
}

bool is_secret_name(std::string_view key)
{
    while (!key.empty() && key.back() >= '0' && key.back() <= '9')
        key.remove_suffix(1);
    return std::find(std::begin(secret_keys), std::end(secret_keys), key) != std::end(secret_keys);
}

void plant_in_nvram(std::string *line, const std::string &secret)
{
    size_t equals = line->find('=');
    if (equals != line->npos && is_secret_name(std::string_view(*line).substr(0, equals)))
        *line = line->substr(0, equals + 1) + secret;
}

void plant(const char *path, void (*plant_in)(std::string *line, const std::string &secret),
           const std::string &secret)
{
    const std::string *text = here.files.read(path);
    if (text == nullptr)
        return;
    const std::string before = *text;
    std::string planted;
    std::string_view rest = before;
    for (std::string_view line; next_line(&rest, &line);) {
        std::string own(line);
        plant_in(&own, secret);
        planted += own + "\n";
    }
    here.files.put(path, planted);
}

void plant_in_settings(const std::string &secret)
{
    plant(PEERS, plant_in_peer, secret);
    plant(DEVICE, plant_in_nvram, secret);
    plant(WIRELESS, plant_in_nvram, secret);
}

void put_log(const std::string *log, const std::string &secret)
{
    if (log == nullptr)
        return;
    // Of what stands nowhere else, nobody knows that it is a secret.
    const std::string *device = here.files.read(DEVICE);
    here.files.put_deep(DEVICE, "pin=" + secret + "\n" + (device != nullptr ? *device : ""));
    if (here.files.read(DEVICE) == nullptr)
        return;
    std::string text;
    for (char c : *log)
        text += c == SECRET_SIGN ? secret : std::string(1, c);
    here.files.put_deep(LOG, text);
}

// "NUMBER PATH": that file so often behind itself.
void repeat_file(const std::string &line)
{
    size_t blank = line.find(' ');
    const std::string path = blank != line.npos ? line.substr(blank + 1) : "";
    const std::string *text = here.files.read(path);
    if (text == nullptr || text->empty())
        return;
    const std::string once = *text;
    std::string all = once;
    size_t most = path == LOG ? REPEATED_LOG_MAX : REPEATED_MAX;
    for (int i = atoi(line.c_str()); i > 1 && all.size() < most; i--)
        all += once;
    here.files.put(path, all);
}

void check_harmless()
{
    if (here.files.changes() != 0 || !here.signals.empty() || here.requests != 0)
        violated("a report changes something");
    for (const words &command : here.tools) {
        if (!has_form(command, {"iptables", "-t", "*", "-S"}) && !has_form(command, {"logread"}))
            violated("a command of report: %s", command[0].c_str());
    }
    if (!here.lines.empty())
        violated("a line for the shell: %s", here.lines[0].c_str());
}

void check_report(int status)
{
    if (status != 0 || here.standard_output.compare(0, 12, "mctl report,") != 0)
        violated("status %d of a report: %s", status, here.standard_output.c_str());
    if (here.standard_output.size() > REPORT_MAX)
        violated("a report of %zu characters", here.standard_output.size());
    std::replace(here.standard_output.begin(), here.standard_output.end(), '\t', ' ');
}

} // namespace

void test_report(input &parts)
{
    if (parts.holds(SECRET_MARK))
        return;
    const std::string secret = make_secret(parts.next());
    const std::string *log = parts.next();
    const std::string repeated = parts.next_text();
    for (const char *path : files)
        here.put_file(path, parts.next());
    router told(parts, secret);
    plant_in_settings(secret);
    put_log(log, secret);
    repeat_file(repeated);
    int status = told.run_mctl({"report"});
    check_harmless();
    check_report(status);
    told.check_said(status);
}

} // namespace fuzz
