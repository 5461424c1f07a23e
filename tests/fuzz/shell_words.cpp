#include "fuzz/shell_words.h"

#include <climits>
#include <utility>

namespace fuzz
{

namespace
{

bool is_blank(char c)
{
    return c == ' ' || c == '\t';
}

// Characters that stand for more than themselves outside of quotes. "~" and "#" do so only at the
// start of a word, but none of our lines needs them elsewhere either.
constexpr std::string_view SPECIAL = "\n;&|<>()`$*?[]#~{}!\"";

struct character_set {
    bool has[UCHAR_MAX + 1] = {};
};

// Looked up for each character of each line: a search would be most of what a target does.
constexpr character_set special_characters = [] {
    character_set set;
    for (char c : SPECIAL)
        set.has[static_cast<unsigned char>(c)] = true;
    return set;
}();

bool is_special(char c)
{
    return special_characters.has[static_cast<unsigned char>(c)];
}

class splitter
{
  public:
    splitter(std::string_view line, std::vector<std::string> *found) : rest(line), words(found) {}

    line_kind split()
    {
        while (position < rest.size()) {
            line_kind kind = take(rest[position++]);
            if (kind != line_kind::words)
                return kind;
        }
        end_word();
        return line_kind::words;
    }

  private:
    line_kind take(char c)
    {
        if (c == '\'')
            return take_quoted();
        if (c == '\\') {
            if (position == rest.size())
                return line_kind::unfinished;
            if (rest[position] == '\n')
                return line_kind::more_to_it;
            c = rest[position++];
        } else if (is_special(c)) {
            return line_kind::more_to_it;
        } else if (is_blank(c)) {
            end_word();
            return line_kind::words;
        }
        add(std::string_view(&c, 1));
        return line_kind::words;
    }

    line_kind take_quoted()
    {
        size_t end = rest.find('\'', position);
        if (end == std::string::npos)
            return line_kind::unfinished;
        add(rest.substr(position, end - position));
        position = end + 1;
        return line_kind::words;
    }

    void add(std::string_view text)
    {
        word += text;
        is_open = true; // '' is a word too
    }

    void end_word()
    {
        if (is_open)
            words->push_back(std::move(word));
        word.clear();
        is_open = false;
    }

    std::string_view rest;
    std::vector<std::string> *words;
    size_t position = 0;
    std::string word;
    bool is_open = false;
};

} // namespace

line_kind split_line(std::string_view line, std::vector<std::string> *words)
{
    words->clear();
    return splitter(line, words).split();
}

} // namespace fuzz
