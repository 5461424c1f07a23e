// NVRAM files: what is set reads back, the rest stays, and a file that is written again is the
// same, with the MAC tool, too; the driver's profile is what its keys' forms make of its section.
#include "platform/nvram.h"
#include "fuzz/guarded_memory.h"
#include "fuzz/lines.h"
#include "fuzz/targets.h"
#include "fuzz/world.h"
#include "util/mmac.h"
#include "wireless/profile.h"
#include "wireless/profile_keys.h"
#include "wireless/start.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <netinet/ether.h>

namespace fuzz
{

namespace
{

constexpr size_t SECTION_MAX = 64 * 1024;

// A section as its lines, by the rules of its format alone.
class section_model
{
  public:
    explicit section_model(const std::string &text)
    {
        std::string rest = text;
        std::replace(rest.begin(), rest.end(), '\0', '\n');
        if (rest.size() > SECTION_MAX)
            rest.clear();
        std::string_view text_left = rest;
        for (std::string_view line; next_line(&text_left, &line);)
            lines.emplace_back(line);
    }

    std::string get(const std::string &key) const
    {
        for (const std::string &line : lines) {
            if (line.compare(0, key.size() + 1, key + "=") == 0)
                return line.substr(key.size() + 1);
        }
        return "";
    }

    void set(const std::string &key, const std::string &value)
    {
        for (std::string &line : lines) {
            if (line.compare(0, key.size() + 1, key + "=") == 0) {
                line = key + "=" + value;
                return;
            }
        }
        lines.push_back(key + "=" + value);
    }

    std::string text() const
    {
        std::string all;
        for (const std::string &line : lines)
            all += line + "\n";
        return all;
    }

  private:
    std::vector<std::string> lines;
};

std::string content_of(const std::string &path)
{
    const std::string *content = here.files.read(path);
    return content != nullptr ? *content : "";
}

void expect_same(const std::string &found, const std::string &expected)
{
    if (found != expected)
        violated("\"%s\" in place of \"%s\"", found.c_str(), expected.c_str());
}

void set_one(int section, const std::string &path, const std::string &key, const std::string &value)
{
    section_model model(content_of(path));
    const std::string before = content_of(path);
    bool is_pair = !key.empty() && key.find_first_of("=\n") == std::string::npos &&
                   value.find('\n') == std::string::npos;
    int result = nvram_bufset(section, guarded_text(key), guarded_text(value));
    if (result == 0) {
        model.set(key, value);
        expect_same(content_of(path), model.text());
    } else {
        expect_same(content_of(path), before);
        bool is_full =
            here.is_obstructed || before.size() + key.size() + value.size() + 3 > SECTION_MAX;
        if (is_pair && !is_full)
            violated("a setting refused: %d", result);
    }
    if (!here.is_obstructed && (before.size() <= SECTION_MAX || result == 0))
        expect_same(nvram_bufget(section, guarded_text(key)), model.get(key));
    if (!here.is_obstructed && here.files.exists(path + ".new"))
        violated("the file beside stays");
}

// The content behind so many characters of another line, as many as size says: what fills a
// section, and what is too long for one.
const std::string *fill(const std::string *content, const std::string &size)
{
    static std::string filled;
    size_t count = strtoul(size.substr(0, 5).c_str(), nullptr, 10);
    if (count == 0)
        return content;
    filled = "fill=" + std::string(std::min<size_t>(count, SECTION_MAX + 8), 'x') + "\n";
    filled += content != nullptr ? *content : "";
    return &filled;
}

} // namespace

void test_nvram(input &parts)
{
    int section = static_cast<unsigned char>(parts.next_text()[0]) % 4;
    const std::string path = "/etc/nvram/" + std::to_string(section);
    const std::string *content = parts.next();
    here.put_file(path, content);
    // A C text ends at its NUL.
    const std::string first = parts.next_text().c_str();
    const std::string value = parts.next_text().c_str();
    const std::string second = parts.next_text().c_str();
    here.put_file(path, fill(content, parts.next_text()));
    here.obstruct(parts.next());
    nvram_init(section);
    expect_same(nvram_get(section, guarded_text(first)),
                section_model(content_of(path)).get(first));
    set_one(section, path, first, value);
    set_one(section, path, second, value + value);
    set_one(section, path, second, "");
    nvram_close(section);
    if (nvram_init(section + 4) == 0 || nvram_close(section + 4) == 0)
        violated("a section that there is not");
    nvram_bufset(section - 8, first.c_str(), value.c_str());
    expect_same(nvram_bufget(section + 4, first.c_str()), "");
}

// What mmac knows, as its manual page has it: the key of a parameter, and for an address how its
// last byte comes from that of the base address.
struct mac_parameter {
    const char *name;
    const char *key;
    int (*last)(int base); // null for a parameter that is no address
};

constexpr auto base_itself = [](int base) { return base; };

constexpr mac_parameter mac_parameters[] = {
    {"lan", "ethaddr", base_itself},
    {"box", "ethaddr", base_itself},
    {"base", "ethaddr", base_itself},
    {"wan", "wanmac", [](int base) { return (base + 1) % 256; }},
    {"wlan", "wlanmac", [](int base) { return (base / 8 + 1) % 32 * 8; }},
    {"pin", "pin", nullptr},
    {"sn", "sn", nullptr},
    {"hwrev", "hwrev", nullptr},
    {"countrycode", "countrycode", nullptr},
    {"flashspeed", "flashspeed", nullptr},
    {"appex", "appex", nullptr},
};

static std::string without_pair_of_quotes(const std::string &value)
{
    bool is_quoted = value.size() > 1 && value.front() == '"' && value.back() == '"';
    return is_quoted ? value.substr(1, value.size() - 2) : value;
}

// What "mmac get" says of a parameter; nothing when there is nothing to say.
static std::string answer_of(const mac_parameter &asked, const section_model &model)
{
    std::string value = model.get(asked.key);
    if (!value.empty())
        return (asked.last != nullptr ? without_pair_of_quotes(value) : value) + "\n";
    const std::string base = without_pair_of_quotes(model.get("ethaddr")).substr(0, 63);
    ether_addr mac;
    if (asked.last == nullptr || ether_aton_r(base.c_str(), &mac) == nullptr)
        return "";
    char text[24];
    const uint8_t *byte = mac.ether_addr_octet;
    snprintf(text, sizeof(text), "%02X:%02X:%02X:%02X:%02X:%02X\n", byte[0], byte[1], byte[2],
             byte[3], byte[4], asked.last(byte[5]));
    return text;
}

static const mac_parameter *find_parameter(const std::vector<std::string> &words)
{
    size_t expected = words.size() > 1 && words[1] == "set" ? 4 : 3;
    if (words.size() != expected || (words[1] != "get" && words[1] != "set"))
        return nullptr;
    for (const mac_parameter &row : mac_parameters) {
        if (words[2] == row.name)
            return &row;
    }
    return nullptr;
}

static int run_mmac(const std::vector<std::string> &words)
{
    here.standard_output.clear();
    char **argv = guarded_words(words);
    int status = run([&] { return mmac_main(static_cast<int>(words.size()), argv); });
    if (status != 0 && status != 1)
        violated("status %d of mmac", status);
    return status;
}

static void check_get(const mac_parameter &asked, const section_model &model, int status)
{
    const std::string answer = answer_of(asked, model);
    expect_same(here.standard_output, answer);
    if (status != (answer.empty() ? 1 : 0))
        violated("status %d with the answer %s", status, answer.c_str());
}

// What was set reads back, and is all that has changed.
static void check_set(const mac_parameter &asked, const std::string &value, section_model *model)
{
    constexpr char path[] = "/etc/nvram/0";
    model->set(asked.key, value);
    expect_same(content_of(path), model->text());
    check_get(asked, *model, run_mmac({"mmac", "get", asked.name}));
    expect_same(content_of(path), model->text());
}

void test_mmac(input &parts)
{
    constexpr char path[] = "/etc/nvram/0";
    here.put_file(path, parts.next());
    std::vector<std::string> words = {"mmac"};
    for (const std::string *word = parts.next(); word != nullptr; word = parts.next())
        words.emplace_back(word->c_str());
    const std::string before = content_of(path);
    section_model model(before);
    const mac_parameter *asked = find_parameter(words);
    int status = run_mmac(words);
    bool is_set = asked != nullptr && words[1] == "set";
    if (is_set && status == 0) {
        check_set(*asked, words[3], &model);
        return;
    }
    expect_same(content_of(path), before);
    if (asked != nullptr && !is_set)
        check_get(*asked, model, status);
    else if (!here.standard_output.empty())
        violated("an answer to no question: %s", here.standard_output.c_str());
    bool is_text = is_set && asked->last == nullptr && words[3].find('\n') == std::string::npos;
    if (is_text)
        violated("%s was not set", words[2].c_str());
}

// The driver's profile as its keys' forms say (wireless/profile_keys.h), from a section.
class expected_profile
{
  public:
    explicit expected_profile(const section_model &section) : model(section) {}

    std::string text()
    {
        all = "#The word of \"Default\" must not be removed\nDefault\n";
        const profile_row *end = std::end(profile_rows);
        for (const profile_row *row = profile_rows; row < end; row++) {
            bool has_pair = row + 1 < end && row[1].is_paired;
            for (int number = row->first; number <= row->last; number++) {
                add_keys(*row, number);
                if (has_pair)
                    add_keys(row[1], number);
            }
            row += has_pair ? 1 : 0;
        }
        return all;
    }

  private:
    int number(const std::string &key) const
    {
        long long value = strtoll(model.get(key).c_str(), nullptr, 10);
        return static_cast<int>(std::clamp<long long>(value, INT_MIN, INT_MAX));
    }

    // As many of the numbers as fit whole in 15 characters.
    std::string for_each_bss(int value) const
    {
        std::string list;
        for (int i = 0; i < number("BssidNum"); i++) {
            const std::string item = (i > 0 ? ";" : "") + std::to_string(value);
            if (list.size() + item.size() > 15)
                break;
            list += item;
        }
        return list;
    }

    std::string value(const std::string &key, profile_form how) const
    {
        switch (how) {
        case profile_form::number:
            return std::to_string(number(key));
        case profile_form::text:
        case profile_form::text_if_set:
            return model.get(key);
        case profile_form::per_bss:
            return for_each_bss(number(key));
        case profile_form::wsc_status:
            return number("WscConfigured") != 0 ? "2" : "1";
        case profile_form::radio_on:
            return number("RadioOff") == 1 ? "0" : "1";
        case profile_form::zero:
            return "0";
        case profile_form::empty:
            break;
        }
        return "";
    }

    void add_keys(const profile_row &row, int number_in_key)
    {
        const std::string keys = std::string(row.keys) + " ";
        for (size_t at = 0; at < keys.size(); at = keys.find(' ', at) + 1) {
            std::string key = keys.substr(at, keys.find(' ', at) - at);
            std::replace(key.begin(), key.end(), '#', static_cast<char>('0' + number_in_key));
            if (row.how != profile_form::text_if_set || !model.get(key).empty())
                all += key + "=" + value(key, row.how) + "\n";
        }
    }

    const section_model &model;
    std::string all;
};

void test_wireless(input &parts)
{
    constexpr char path[] = "/etc/Wireless/RT2860/RT2860.dat";
    here.put_file("/etc/nvram/1", parts.next());
    int mode = parts.next_text().empty() ? NVRAM_WIRELESS : NVRAM_DEVICE;
    here.answers = parts.next_text();
    here.obstruct(parts.next());
    const std::string *before = parts.next();
    if (before != nullptr && !here.is_obstructed)
        here.put_file(path, before);
    const std::string section = content_of("/etc/nvram/1");
    section_model model(section);
    gen_config("br0", mode);
    bool is_written = mode == NVRAM_WIRELESS && !here.is_obstructed;
    if (is_written)
        expect_same(content_of(path), expected_profile(model).text());
    else if (!here.is_obstructed)
        expect_same(content_of(path), before != nullptr ? *before : "");
    start_wifi("br0");
    if (!here.is_obstructed)
        expect_same(content_of("/etc/nvram/1"), section);
}

} // namespace fuzz
