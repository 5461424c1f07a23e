// What the tests of mctl check's codes share: the settings that raise a code and it alone, on the
// very line, and the nearest settings that do not.
#pragma once

#include "ctl/check/check.h"
#include "ctl/check/codes.h"
#include "support/settings_files.h"
#include "support/texts.h"
#include "support/unit_test.h"

#include <algorithm>
#include <map>
#include <string>
#include <vector>

namespace check_test
{

using namespace settings_files;

constexpr char NO_FILE[] = "(missing)";

using files = std::map<std::string, std::string>; // content, or NO_FILE

struct code_case {
    const char *name; // the code; where it has several rows, what is odd in this one behind a colon
    std::string file;
    std::string bad;
    unsigned line;
    std::string field;
    std::string good;
    files also = {}; // for both

    std::string code() const { return std::string(name).substr(0, std::string(name).find(':')); }
};

struct checked {
    int status;
    std::string text;
};

inline checked check(const char *root = "/")
{
    checked result = {-1, ""};
    result.text =
        support::written([&](FILE *out) { result.status = check_settings(root, out, false); });
    return result;
}

// "FILE:LINE:FIELD: SEVERITY: CODE" of each finding.
inline std::vector<std::string> findings(const std::string &text)
{
    std::vector<std::string> heads;
    for (const std::string &line : support::lines_of(text)) {
        size_t code = line.find(": ", line.find(": ") + 2);
        if (line[0] == '/')
            heads.push_back(line.substr(0, line.find(": ", code + 2)));
    }
    return heads;
}

// What the settings around the row bring by themselves, such as a missing file.
inline std::vector<std::string> without(std::vector<std::string> all,
                                        const std::vector<std::string> &some)
{
    for (const std::string &one : some) {
        auto it = std::find(all.begin(), all.end(), one);
        if (it != all.end())
            all.erase(it);
    }
    return all;
}

// The example router with PPPoE. All that there is to find in it is that its MAC filter and PPPoE
// do not go together well, so the filter lets in here what is listed. Most of the time of each
// check would go into what the example has of the radio.
inline void write_good_settings(support::private_world *world, const std::string &root)
{
    world->copy_in(support::example_path("router"), root);
    world->copy_in(support::example_path("pppoe"), root);
    world->write(root + IP_FILTER, "MAC_FILTER_ENABLE=1\n");
    world->write(root + NVRAM_WIRELESS, "BssidNum=1\nSSID1=home\n");
}

// All rows of a table in one world, whose settings are good again after each.
class code_test : public support::unit_test
{
  protected:
    void SetUp() override
    {
        unit_test::SetUp();
        write_good_settings(&world, "/");
    }

    template <size_t N> void expect_each_alone(const code_case (&rows)[N])
    {
        texts = world.fixture("ctl/check_texts");
        for (const code_case &row : rows) {
            SCOPED_TRACE(row.name);
            expect_alone(row);
            for (const auto &[path, content] : changed)
                put(path, content);
            changed.clear();
        }
    }

  private:
    void expect_alone(const code_case &row)
    {
        const std::string good_text = text_with(row, row.good);
        const std::string bad_text = text_with(row, row.bad);
        std::vector<std::string> good = findings(good_text);
        std::vector<std::string> bad = without(findings(bad_text), good);
        ASSERT_EQ(bad.size(), 1U) << testing::PrintToString(bad);
        EXPECT_EQ(bad[0].substr(bad[0].find(':')), head_of(row));
        EXPECT_EQ(joined(without(support::lines_of(bad_text), support::lines_of(good_text))),
                  support::part_of(texts, row.name));
        EXPECT_EQ(without(good, bad), good) << "the neighbour has it too";
        if (row.also.empty()) {
            EXPECT_EQ(good, std::vector<std::string>());
        }
    }

    void put(const std::string &path, const std::string &content)
    {
        if (content == NO_FILE)
            world.remove(path);
        else
            world.write(path, content);
    }

    void change(const std::string &path, const std::string &content)
    {
        changed.emplace(path, world.exists(path) ? world.read(path) : NO_FILE);
        put(path, content);
    }

    std::string text_with(const code_case &row, const std::string &content)
    {
        for (const auto &[path, other] : row.also)
            change(path, other);
        change(row.file, content);
        return check().text;
    }

    static std::string joined(const std::vector<std::string> &lines)
    {
        std::string text;
        for (const std::string &line : lines)
            text += line + "\n";
        return text;
    }

    static std::string head_of(const code_case &row)
    {
        for (const code_row &code : code_rows) {
            if (row.code() == code.name)
                return ":" + std::to_string(row.line) + ":" + row.field + ": " +
                       severity_name(code.how_bad) + ": " + code.name;
        }
        return "no such code";
    }

    std::string texts;
    files changed; // as they were before
};

} // namespace check_test
