#include "support/trace_format.h"

#include <map>
#include <sstream>

namespace support
{

namespace
{

struct raw_line {
    std::string writer;
    std::string parent;
    std::string text;
};

raw_line take_apart(const std::string &line)
{
    size_t first = line.find(' ');
    size_t second = line.find(' ', first + 1);
    return {line.substr(0, first), line.substr(first + 1, second - first - 1),
            line.substr(second + 1)};
}

std::vector<raw_line> raw_lines(std::string_view raw)
{
    std::vector<raw_line> lines;
    std::istringstream stream{std::string(raw.substr(0, raw.rfind('\n') + 1))};
    for (std::string line; std::getline(stream, line);)
        lines.push_back(take_apart(line));
    return lines;
}

bool begins_with(const std::string &text, const std::string &start)
{
    return text.compare(0, start.size(), start) == 0;
}

// The words as an unquoted command line is split into them, with one blank between.
std::string single_spaced(const std::string &text)
{
    std::istringstream stream(text);
    std::string result;
    for (std::string word; stream >> word;)
        result += (result.empty() ? "" : " ") + word;
    return result;
}

// Whether a "run" line says no more than a "shell" line. Words that needed quotes never do: what
// the shell made of the quotes is what a test may want to see.
bool repeats(const std::string &run, const std::string &shell)
{
    return begins_with(run, "run ") && begins_with(shell, "shell ") &&
           run.find('\'') == std::string::npos && run.substr(4) == single_spaced(shell.substr(6));
}

// The texts without the repetitions. The line before is the one just above, or, where processes run
// side by side, the last one of the process that started the tool.
std::vector<std::string> without_repetitions(const std::vector<raw_line> &lines)
{
    std::vector<std::string> texts;
    std::map<std::string, std::string> last_of;
    std::string above;
    for (const raw_line &line : lines) {
        bool repeated = repeats(line.text, last_of[line.parent]) || repeats(line.text, above);
        above = line.text;
        last_of[line.writer] = line.text;
        last_of[line.parent] = line.text;
        if (!repeated)
            texts.push_back(line.text);
    }
    return texts;
}

} // namespace

std::vector<std::string> trace_lines(std::string_view raw)
{
    std::vector<std::string> result;
    std::string last;
    int times = 0;
    for (const std::string &text : without_repetitions(raw_lines(raw))) {
        times = times > 0 && text == last ? times + 1 : 1;
        last = text;
        if (times == 1)
            result.push_back(text);
        else
            result.back() = text + " (x" + std::to_string(times) + ")";
    }
    return result;
}

std::string joined(const std::vector<std::string> &lines)
{
    std::string text;
    for (const std::string &line : lines)
        text += line + "\n";
    return text;
}

} // namespace support
