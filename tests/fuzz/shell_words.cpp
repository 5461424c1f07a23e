#include "fuzz/shell_words.h"

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
bool is_special(char c)
{
    return std::string("\n;&|<>()`$*?[]#~{}!\"").find(c) != std::string::npos;
}

class splitter
{
  public:
    splitter(const std::string &line, std::vector<std::string> *found) : rest(line), words(found) {}

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
        add(std::string(1, c));
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

    void add(const std::string &text)
    {
        word += text;
        is_open = true; // '' is a word too
    }

    void end_word()
    {
        if (is_open)
            words->push_back(word);
        word.clear();
        is_open = false;
    }

    const std::string &rest;
    std::vector<std::string> *words;
    size_t position = 0;
    std::string word;
    bool is_open = false;
};

} // namespace

line_kind split_line(const std::string &line, std::vector<std::string> *words)
{
    words->clear();
    return splitter(line, words).split();
}

} // namespace fuzz
