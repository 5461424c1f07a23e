// NVRAM files: what is set reads back, the rest stays, and a file that is written again is the
// same.
#include "platform/nvram.h"
#include "fuzz/guarded_memory.h"
#include "fuzz/lines.h"
#include "fuzz/targets.h"
#include "fuzz/world.h"
#include "util/mmac.h"
#include "wireless/profile.h"
#include "wireless/start.h"

#include <algorithm>
#include <cctype>
#include <cstring>

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

void test_mmac(input &parts)
{
    here.put_file("/etc/nvram/0", parts.next());
    std::vector<std::string> words = {"mmac"};
    for (const std::string *word = parts.next(); word != nullptr; word = parts.next())
        words.emplace_back(word->c_str());
    char **argv = guarded_words(words);
    section_model before(content_of("/etc/nvram/0"));
    int status = run([&] { return mmac_main(static_cast<int>(words.size()), argv); });
    if (status != 0 && status != 1)
        violated("status %d of mmac", status);
    section_model after(content_of("/etc/nvram/0"));
    bool is_set = words.size() == 4 && words[1] == "set" && status == 0;
    if (!is_set && before.text() != after.text())
        violated("mmac has changed NVRAM unasked");
    if (is_set && words[2] == "pin" && after.get("pin") != words[3].c_str())
        violated("another pin was set");
}

// Every line of the profile is a key with its value, and a key's text is that of NVRAM.
static void check_profile(const std::string &text, const section_model &model)
{
    std::string_view rest = text;
    std::string_view text_of_line;
    for (size_t number = 0; next_line(&rest, &text_of_line); number++) {
        const std::string line(text_of_line);
        if (number < 2)
            continue; // the driver's head
        size_t equals = line.find('=');
        if (equals == 0 || equals == std::string::npos)
            violated("a line of the profile without a key: %s", line.c_str());
        const std::string key = line.substr(0, equals);
        bool is_numbered = isdigit(static_cast<unsigned char>(key.back())) != 0;
        if (is_numbered && (key.rfind("SSID", 0) == 0 || key.rfind("WPAPSK", 0) == 0))
            expect_same(line.substr(equals + 1), model.get(key));
    }
}

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
    section_model model(content_of("/etc/nvram/1"));
    gen_config("br0", mode);
    const std::string *profile = here.files.read(path);
    bool is_written = mode == NVRAM_WIRELESS && !here.is_obstructed;
    if (!here.is_obstructed && (profile != nullptr) != (is_written || before != nullptr))
        violated("a profile in mode %d", mode);
    if (profile != nullptr && is_written)
        check_profile(*profile, model);
    start_wifi("br0");
}

} // namespace fuzz
