#include "trees/settings_trees.h"

#include "support/texts.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace settings_trees
{

namespace
{

void lay_over(tree *settings, const std::string &directory)
{
    for (const auto &entry : std::filesystem::recursive_directory_iterator(directory + "/etc")) {
        if (!entry.is_regular_file())
            continue;
        std::ifstream file(entry.path(), std::ios::binary);
        (*settings)[entry.path().string().substr(directory.size())] = {
            std::istreambuf_iterator<char>(file), {}};
    }
}

using line_list = std::vector<std::string>;

std::string join(const line_list &words, const std::string &between)
{
    std::string text;
    for (const std::string &word : words)
        text += (text.empty() ? "" : between) + word;
    return text;
}

// What a change works on: the lines of a file, one of them, and its words.
struct place {
    line_list lines;
    size_t line;
    line_list words;
    size_t word;
    dice *random;
    std::string ending = "\n";
    const tree *settings;

    std::string &text() { return lines[line]; }
    std::string &field() { return words[word]; }
    void put_words() { text() = join(words, " "); }
    size_t other_word() { return random->roll(words.size()); }
    size_t other_line() { return random->roll(lines.size()); }
};

using change = void (*)(place *p);

void swap_words(place *p)
{
    std::swap(p->field(), p->words[p->other_word()]);
    p->put_words();
}

void drop_word(place *p)
{
    p->words.erase(p->words.begin() + static_cast<std::ptrdiff_t>(p->word));
    p->put_words();
}

void double_word(place *p)
{
    p->words.insert(p->words.begin() + static_cast<std::ptrdiff_t>(p->word), p->field());
    p->put_words();
}

void drop_last_words(place *p)
{
    p->words.resize(p->word);
    p->put_words();
}

void lengthen(place *p)
{
    static const char *const tails[] = {"x", "0", "1", "abcdefghijklmnopqrstuvwxyz123456"};
    std::string tail = tails[p->random->roll(4)];
    for (size_t i = 1 + p->random->roll(3); i > 0; i--)
        p->field() += tail;
    p->put_words();
}

void shorten(place *p)
{
    p->field().resize(p->field().size() / 2);
    p->put_words();
}

void change_case(place *p)
{
    bool is_all = p->random->roll(4) == 0;
    std::string &text = is_all ? p->text() : p->field();
    for (char &c : text)
        c = static_cast<char>(std::islower(static_cast<unsigned char>(c)) != 0 ? std::toupper(c)
                                                                               : std::tolower(c));
    if (!is_all)
        p->put_words();
}

void put_tab(place *p)
{
    size_t at = p->text().find(' ');
    if (at == std::string::npos)
        p->text() += "\t";
    else
        p->text()[at] = '\t';
}

void put_other_separator(place *p)
{
    static const char separators[] = {',', ';', ':', '=', '/'};
    size_t at = p->text().find_first_of(" =");
    if (at != std::string::npos)
        p->text()[at] = separators[p->random->roll(sizeof separators)];
}

void put_return(place *p)
{
    p->text() += "\r";
}

void put_returns(place *p)
{
    p->ending = "\r\n";
}

void put_other_number(place *p)
{
    static const char *const numbers[] = {"0",     "-1",          "256", "65536",
                                          "99999", "99999999999", "08",  "1e3"};
    std::string &field = p->field();
    size_t start = field.find_first_of("0123456789");
    if (start == std::string::npos)
        field = numbers[p->random->roll(8)];
    else
        field.replace(start, field.find_first_not_of("0123456789", start) - start,
                      numbers[p->random->roll(8)]);
    p->put_words();
}

void put_hyphen(place *p)
{
    if (p->random->roll(2) == 0)
        p->field() = "-";
    else
        p->field().insert(p->random->roll(p->field().size() + 1), "-");
    p->put_words();
}

void put_hash(place *p)
{
    if (p->random->roll(2) == 0) {
        p->text() = "#" + p->text();
        return;
    }
    p->field().insert(p->random->roll(p->field().size() + 1), "#");
    p->put_words();
}

void take_hash(place *p)
{
    if (p->text()[0] == '#')
        p->text().erase(0, 1);
}

void drop_line(place *p)
{
    p->lines.erase(p->lines.begin() + static_cast<std::ptrdiff_t>(p->line));
}

void double_line(place *p)
{
    std::string copy = p->text();
    p->lines.insert(p->lines.begin() + static_cast<std::ptrdiff_t>(p->other_line()), copy);
}

void swap_lines(place *p)
{
    std::swap(p->text(), p->lines[p->other_line()]);
}

void drop_last_line_end(place *p)
{
    p->ending = "";
}

void put_blank_before(place *p)
{
    p->text() = " " + p->text();
}

void put_blank_behind(place *p)
{
    p->text() += " ";
}

void put_two_blanks(place *p)
{
    size_t at = p->text().find(' ');
    if (at != std::string::npos)
        p->text().insert(at, " ");
}

void put_odd_byte(place *p)
{
    static const char bytes[] = {'\x01', '\x7f', '\xe9', '"', '\'', '\\', '$', '`', '!', ';'};
    p->field().insert(p->random->roll(p->field().size() + 1), 1,
                      bytes[p->random->roll(sizeof bytes)]);
    p->put_words();
}

void put_long_comment(place *p)
{
    p->lines.insert(p->lines.begin() + static_cast<std::ptrdiff_t>(p->line),
                    "# " + std::string(240 + p->random->roll(20), 'c'));
}

void empty_file(place *p)
{
    p->lines.clear();
}

void put_strange_word(place *p)
{
    auto it = p->settings->begin();
    std::advance(it, p->random->roll(p->settings->size()));
    line_list strange = words_of(it->second);
    if (!strange.empty()) {
        p->field() = strange[p->random->roll(strange.size())];
        p->put_words();
    }
}

void put_usual_word(place *p)
{
    static const char *const usual[] = {
        "0",           "1",          "2",      "no",    "yes",   "off",   "tcp",  "udp",
        "all",         "icmp",       "always", "any",   "auto",  "night", "work", "holiday",
        "192.168.1.1", "80",         "80:90",  "80-90", "DROP",  "-",     "HTTP", "ACCEPT",
        "br0",         "10.0.0.0/8", "static", "dhcp",  "pppoe", "l2tp"};
    p->field() = usual[p->random->roll(sizeof(usual) / sizeof(usual[0]))];
    p->put_words();
}

// Of a KEY=VALUE file, or the whole of a line that has no "=".
void put_usual_value(place *p)
{
    // clang-format off
    static const char *const usual[] = {
        "", "0", "1", "2", "3", "8", "-1", "01", "1;0", "a name", "12345678", "\"quoted\"",
        "0123456789012345678901234567890123",
        "OPEN", "SHARED", "WPAPSK", "WPA2", "WPA2PSK;OPEN", "AES", "TKIP;NONE",
        "00:0A:EB:11:22:31", "\"00:0A:EB:11:22:FF\"", "0:a:eb:11:22:31",
        "00:00:00:00:00:01;AA:00:00:00:00:02",
        "CET-1CEST,M3.5.0,M10.5.0/3", "CET-1CEST,M13.5.0,M10.5.0/3", "EST5EDT", "<+0530>-5:30",
        "NZST-12NZDT,M9.5.0,M4.1.0/3", "Europe/Berlin",
    };
    // clang-format on
    size_t at = p->text().find('=');
    at = at == std::string::npos ? 0 : at + 1;
    p->text() = p->text().substr(0, at) + usual[p->random->roll(sizeof(usual) / sizeof(usual[0]))];
}

// The key of another line, for the value of this one.
void swap_keys(place *p)
{
    std::string &other = p->lines[p->other_line()];
    size_t at = p->text().find('=');
    size_t other_at = other.find('=');
    if (at != std::string::npos && other_at != std::string::npos)
        p->text() = other.substr(0, other_at) + p->text().substr(at);
}

struct named_change {
    const char *name;
    change apply;
};

// clang-format off
const named_change changes[] = {
    {"swap words", swap_words},
    {"drop word", drop_word},
    {"double word", double_word},
    {"drop last words", drop_last_words},
    {"lengthen", lengthen},
    {"shorten", shorten},
    {"change case", change_case},
    {"tab", put_tab},
    {"other separator", put_other_separator},
    {"carriage return", put_return},
    {"carriage returns", put_returns},
    {"other number", put_other_number},
    {"hyphen", put_hyphen},
    {"hash", put_hash},
    {"take hash", take_hash},
    {"drop line", drop_line},
    {"double line", double_line},
    {"swap lines", swap_lines},
    {"no last line end", drop_last_line_end},
    {"blank before", put_blank_before},
    {"blank behind", put_blank_behind},
    {"two blanks", put_two_blanks},
    {"odd byte", put_odd_byte},
    {"long comment", put_long_comment},
    {"empty", empty_file},
    {"strange word", put_strange_word},
    {"usual word", put_usual_word},
    {"usual value", put_usual_value},
    {"other key", swap_keys},
};
// clang-format on

constexpr size_t CHANGES = sizeof(changes) / sizeof(changes[0]);

} // namespace

size_t dice::roll(size_t sides)
{
    state ^= state << 13;
    state ^= state >> 7;
    state ^= state << 17;
    return sides == 0 ? 0 : static_cast<size_t>(state % sides);
}

std::vector<std::string> words_of(const std::string &line)
{
    line_list words;
    std::string word;
    for (char c : line + " ") {
        if (c != ' ' && c != '\t' && c != '\n' && c != '\r') {
            word += c;
        } else if (!word.empty()) {
            words.push_back(word);
            word.clear();
        }
    }
    return words;
}

std::vector<std::string> split_lines(const std::string &content)
{
    line_list lines;
    size_t start = 0;
    while (start < content.size()) {
        size_t end = content.find('\n', start);
        if (end == std::string::npos)
            end = content.size();
        lines.push_back(content.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

std::vector<tree> good_trees()
{
    tree router;
    lay_over(&router, support::example_path("router"));
    std::vector<tree> all = {router};
    tree pppoe = router;
    lay_over(&pppoe, support::example_path("pppoe"));
    all.push_back(pppoe);
    for (const char *name : {"static-wan", "l2tp"}) {
        tree other = router;
        lay_over(&other, std::string(MCFG_SOURCE_DIR) + "/lab/settings/" + name);
        all.push_back(other);
    }
    return all;
}

std::string make_worse(tree *settings, dice *random)
{
    auto it = settings->begin();
    std::advance(it, random->roll(settings->size()));
    std::string path = it->first;
    if (random->roll(60) == 0) {
        settings->erase(it);
        return path + ": no file";
    }
    place p = {split_lines(it->second), 0, {}, 0, random, "\n", settings};
    if (p.lines.empty())
        return path + ": nothing to change";
    p.line = random->roll(p.lines.size());
    p.words = words_of(p.text());
    if (p.words.empty())
        return path + ": an empty line";
    p.word = random->roll(p.words.size());
    const named_change &chosen = changes[random->roll(CHANGES)];
    size_t line = p.line;
    chosen.apply(&p);
    std::string content;
    for (const std::string &text : p.lines)
        content += text + (p.ending.empty() ? "\n" : p.ending);
    if (p.ending.empty() && !content.empty())
        content.pop_back();
    (*settings)[path] = content;
    return path + ":" + std::to_string(line + 1) + ": " + chosen.name;
}

} // namespace settings_trees
