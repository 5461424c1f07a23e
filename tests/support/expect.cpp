#include "support/expect.h"

#include <algorithm>
#include <sstream>
#include <vector>

namespace support
{

namespace
{

using lines = std::vector<std::string>;

lines split(const std::string &text)
{
    lines result;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        result.push_back(line);
    return result;
}

bool is_blank(const std::string &line)
{
    return line.find_first_not_of(" \t") == std::string::npos;
}

size_t common_indentation(const lines &text)
{
    size_t common = std::string::npos;
    for (const std::string &line : text)
        if (!is_blank(line))
            common = std::min(common, line.find_first_not_of(" \t"));
    return common;
}

// One row of the report: a line of each side, or of one only.
struct row {
    std::string expected;
    std::string actual;
    char mark; // ' ' same, '*' differs, '-' missing, '+' not expected
};

// How many lines the two have in common from each pair of places on.
std::vector<std::vector<int>> common_lengths(const lines &a, const lines &b)
{
    std::vector<std::vector<int>> length(a.size() + 1, std::vector<int>(b.size() + 1, 0));
    for (size_t i = a.size(); i-- > 0;)
        for (size_t j = b.size(); j-- > 0;)
            length[i][j] = a[i] == b[j] ? length[i + 1][j + 1] + 1
                                        : std::max(length[i + 1][j], length[i][j + 1]);
    return length;
}

std::vector<row> aligned(const lines &expected, const lines &actual)
{
    std::vector<std::vector<int>> length = common_lengths(expected, actual);
    std::vector<row> rows;
    size_t i = 0, j = 0;
    while (i < expected.size() || j < actual.size()) {
        bool both = i < expected.size() && j < actual.size();
        if (both && expected[i] == actual[j]) {
            rows.push_back({expected[i++], actual[j++], ' '});
        } else if (both && length[i + 1][j + 1] == length[i][j]) {
            rows.push_back({expected[i++], actual[j++], '*'});
        } else if (j == actual.size() || (both && length[i + 1][j] >= length[i][j + 1])) {
            rows.push_back({expected[i++], "", '-'});
        } else {
            rows.push_back({"", actual[j++], '+'});
        }
    }
    return rows;
}

std::string report(const std::vector<row> &rows)
{
    const std::string heading = "expected";
    size_t width = heading.size();
    for (const row &r : rows)
        width = std::max(width, std::min(r.expected.size(), size_t(100)));
    std::ostringstream text;
    auto add = [&](char mark, const std::string &left, const std::string &right) {
        text << mark << ' ' << left << std::string(width - std::min(width, left.size()), ' ')
             << " | " << right << '\n';
    };
    add(' ', heading, "actual");
    for (const row &r : rows)
        add(r.mark, r.expected, r.actual);
    return text.str();
}

} // namespace

std::string unindented(const std::string &text)
{
    lines all = split(text);
    if (!all.empty() && is_blank(all.front()))
        all.erase(all.begin());
    if (!all.empty() && is_blank(all.back()))
        all.pop_back();
    size_t indentation = common_indentation(all);
    std::string result;
    for (const std::string &line : all)
        result += (is_blank(line) ? "" : line.substr(indentation)) + "\n";
    return result;
}

testing::AssertionResult same_lines(const char *, const char *actual_name,
                                    const std::string &expected, const std::string &actual)
{
    std::string wanted = unindented(expected);
    if (wanted == actual)
        return testing::AssertionSuccess();
    testing::AssertionResult failure = testing::AssertionFailure();
    failure << actual_name << " differs ('*' changed, '-' missing, '+' not expected):\n"
            << report(aligned(split(wanted), split(actual)));
    if (!actual.empty() && actual.back() != '\n')
        failure << "and its last line has no line end\n";
    return failure << "The whole actual text:\n" << actual;
}

} // namespace support
