// What the papers say of the source is so.
#include "support/texts.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <string>

namespace
{

namespace fs = std::filesystem;
using pairs = std::set<std::pair<std::string, std::string>>; // of a log tag and a source file

const std::string source_tree = MCFG_SOURCE_DIR "/";

std::string text_of(const fs::path &path)
{
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

// Everything that a pattern's first group matches.
std::vector<std::string> matches(const std::string &text, const std::string &pattern)
{
    std::vector<std::string> found;
    const std::regex expression(pattern);
    for (std::sregex_iterator i(text.begin(), text.end(), expression), end; i != end; ++i)
        found.push_back((*i)[1]);
    return found;
}

// The rows "| `TAG` | `FILE`, `FILE` | ... |" of a page.
pairs documented_tags()
{
    pairs found;
    for (const std::string &line : support::lines_of(text_of(source_tree + "docs/debugging.md"))) {
        std::smatch row;
        if (!std::regex_match(line, row, std::regex("\\| `([^`]+)` \\| (`src/[^|]+) \\|.*")))
            continue;
        for (const std::string &file : matches(row[2], "`([^`]+)`"))
            found.emplace(row[1], file);
    }
    return found;
}

using sources = std::map<std::string, std::string>; // texts by path

sources all_sources()
{
    sources found;
    for (const auto &entry : fs::recursive_directory_iterator(source_tree + "src"))
        if (entry.is_regular_file())
            found[entry.path().string().substr(source_tree.size())] = text_of(entry.path());
    return found;
}

// How a file spells the tags that it logs with: where a line is logged, as a constant, or by their
// form; those of the firewall's lists are named after their readers.
std::vector<std::string> spelled_tags(const std::string &path, const std::string &text)
{
    std::vector<std::string> patterns = {
        "logmessage\\(\\s*\"([^\"]+)\"",
        "\\w*(?:tag|TAG)\\w*\\[\\]\\s*=\\s*\"([^\"]+)\"",
        "\"(mcfg-\\w+)\"",
    };
    if (support::begins_with(path, "src/firewall/"))
        patterns.push_back("\"(get_\\w+)\"");
    std::vector<std::string> tags;
    for (const std::string &pattern : patterns)
        for (const std::string &tag : matches(text, pattern))
            tags.push_back(tag);
    return tags;
}

bool is_header(const std::string &path)
{
    return fs::path(path).extension() == ".h";
}

// A tag that a header names belongs to the files that take it from there.
pairs tags_of_header(const std::string &header, const sources &files)
{
    const std::regex constant("(\\w*(?:tag|TAG)\\w*)\\[\\]\\s*=\\s*\"([^\"]+)\"");
    pairs found;
    for (std::sregex_iterator i(header.begin(), header.end(), constant), end; i != end; ++i)
        for (const auto &[path, text] : files)
            if (!is_header(path) && !matches(text, "\\b(" + (*i)[1].str() + ")\\b").empty())
                found.emplace((*i)[2], path);
    return found;
}

pairs tags_in_source(const sources &files)
{
    pairs found;
    for (const auto &[path, text] : files) {
        if (is_header(path))
            found.merge(tags_of_header(text, files));
        else
            for (const std::string &tag : spelled_tags(path, text))
                found.emplace(tag, path);
    }
    return found;
}

TEST(papers, lead_from_each_log_tag_to_its_file)
{
    sources files = all_sources();
    pairs documented = documented_tags();
    pairs logged = tags_in_source(files);
    EXPECT_GT(logged.size(), 30U);
    for (const auto &[tag, file] : logged)
        EXPECT_EQ(documented.count({tag, file}), 1U)
            << "docs/debugging.md has no row for the tag \"" << tag << "\" of " << file;
    for (const auto &[tag, file] : documented) {
        bool is_there = logged.count({tag, file}) != 0 ||
                        files[file].find("\"" + tag + "\"") != std::string::npos;
        EXPECT_TRUE(is_there) << file << " has no tag \"" << tag << "\"";
    }
}

// The pages of the tree with this ending, without what was built or fetched into it.
std::vector<fs::path> pages(const std::string &ending)
{
    std::vector<fs::path> found;
    for (const char *directory : {"", "bench", "docs", "examples", "lab", "tests"})
        for (const auto &entry : fs::directory_iterator(source_tree + directory))
            if (entry.path().extension() == ending)
                found.push_back(entry.path());
    return found;
}

TEST(papers, lead_to_pages_that_are_there)
{
    size_t links = 0;
    for (const fs::path &page : pages(".md"))
        for (const std::string &target : matches(text_of(page), "\\]\\(([^)#:]+)[)#]")) {
            EXPECT_TRUE(fs::exists(page.parent_path() / target)) << page << ": " << target;
            links++;
        }
    EXPECT_GT(links, 20U);
}

TEST(papers, leave_no_manual_page_uninstalled)
{
    std::string installed = text_of(source_tree + "cmake/install.cmake");
    for (const char *section : {".5", ".8"})
        for (const fs::path &page : pages(section))
            EXPECT_NE(installed.find(page.filename().string()), std::string::npos) << page;
    EXPECT_FALSE(pages(".5").empty());
}

} // namespace
