#include "support/env_dump.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <stdexcept>

namespace support
{

namespace
{

struct reader {
    const std::string &text;
    size_t at = 0;

    bool is_done() const { return at >= text.size(); }
    char here() const { return is_done() ? '\0' : text[at]; }
    bool takes(const char *word)
    {
        bool is_there = text.compare(at, strlen(word), word) == 0;
        at += is_there ? strlen(word) : 0;
        return is_there;
    }
    [[noreturn]] void refuse() const
    {
        auto end = text.begin() + std::ptrdiff_t(std::min(at, text.size()));
        throw std::runtime_error("line " + std::to_string(1 + std::count(text.begin(), end, '\n')) +
                                 " is not what \"export -p\" writes");
    }
    char next()
    {
        if (is_done())
            refuse();
        return text[at++];
    }
};

std::string read_name(reader &r)
{
    std::string name;
    while (isalnum(static_cast<unsigned char>(r.here())) != 0 || r.here() == '_')
        name += r.next();
    if (name.empty())
        r.refuse();
    return name;
}

std::string read_single_quoted(reader &r)
{
    std::string value;
    for (char c = r.next(); c != '\''; c = r.next())
        value += c;
    return value;
}

// Between double quotes, a backslash takes its meaning from these only.
std::string read_double_quoted(reader &r)
{
    std::string value;
    for (char c = r.next(); c != '"'; c = r.next()) {
        if (c == '\\' && strchr("$`\"\\", r.here()) != nullptr)
            c = r.next();
        value += c;
    }
    return value;
}

// bash writes control characters in this way: $'...'.
std::string read_escaped(reader &r)
{
    static const char letters[] = "n\nt\tr\ra\ab\bf\fv\vE\033";
    std::string value;
    for (char c = r.next(); c != '\''; c = r.next()) {
        if (c == '\\') {
            c = r.next();
            const char *letter = strchr(letters, c);
            if (c >= '0' && c <= '7') {
                value += char(std::stoi(r.text.substr(r.at - 1, 3), nullptr, 8));
                r.at += 2;
                continue;
            }
            c = letter != nullptr ? letter[1] : c;
        }
        value += c;
    }
    return value;
}

// A word of the shell, which may be made of pieces that are quoted in different ways.
std::string read_value(reader &r)
{
    std::string value;
    while (!r.is_done() && r.here() != '\n') {
        if (r.takes("$'"))
            value += read_escaped(r);
        else if (r.takes("\""))
            value += read_double_quoted(r);
        else if (r.takes("'"))
            value += read_single_quoted(r);
        else {
            r.takes("\\");
            value += r.next();
        }
    }
    return value;
}

bool has(const environment &env, const std::string &name)
{
    return std::any_of(env.begin(), env.end(),
                       [&](const auto &variable) { return variable.first == name; });
}

} // namespace

environment read_env_dump(const std::string &text)
{
    environment env;
    for (reader r{text}; !r.is_done(); r.takes("\n")) {
        if (!r.takes("export ") && !r.takes("declare -x "))
            r.refuse();
        std::string name = read_name(r);
        if (has(env, name))
            env.clear();
        if (r.takes("="))
            env.emplace_back(name, read_value(r));
        else if (!r.is_done() && r.here() != '\n')
            r.refuse();
    }
    return env;
}

void set_variable(environment &env, const std::string &name, const std::string &value)
{
    for (auto &variable : env)
        if (variable.first == name) {
            variable.second = value;
            return;
        }
    env.emplace_back(name, value);
}

} // namespace support
