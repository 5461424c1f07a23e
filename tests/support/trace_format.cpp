#include "support/trace_format.h"

#include <algorithm>
#include <map>
#include <sstream>

namespace support
{

namespace
{

struct raw_line {
    std::string writers[3]; // the process, its parent, and the parent's
    std::string text;
};

raw_line take_apart(const std::string &line)
{
    raw_line result;
    std::istringstream stream(line);
    stream >> result.writers[0] >> result.writers[1] >> result.writers[2];
    stream.ignore(1);
    std::getline(stream, result.text);
    return result;
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
// side by side, the last one from the process that had the shell start the tool: the tool's parent,
// or its parent's where the shell stands between.
std::vector<std::string> without_repetitions(const std::vector<raw_line> &lines)
{
    std::vector<std::string> texts;
    std::map<std::string, std::string> last_from;
    std::string above;
    for (const raw_line &line : lines) {
        bool is_tool = begins_with(line.text, "run ");
        bool repeated = repeats(line.text, above);
        for (const std::string &writer : line.writers)
            repeated = repeated || repeats(line.text, last_from[writer]);
        // What a program does is no doing of its parent's, but what a tool does is.
        for (const std::string &writer : line.writers)
            if (is_tool || writer == line.writers[0])
                last_from[writer] = line.text;
        above = line.text;
        if (!repeated)
            texts.push_back(line.text);
    }
    return texts;
}

bool is_of(const std::vector<std::string> &kinds, const std::string &line)
{
    std::string kind = line.substr(0, line.find_first_of(" ("));
    return kinds.empty() || std::find(kinds.begin(), kinds.end(), kind) != kinds.end();
}

} // namespace

std::vector<std::string> trace_lines(std::string_view raw, const std::vector<std::string> &kinds)
{
    std::vector<std::string> result;
    std::string last;
    int times = 0;
    for (const std::string &text : without_repetitions(raw_lines(raw))) {
        if (!is_of(kinds, text))
            continue;
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
