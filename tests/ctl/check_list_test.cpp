// The list of mctl check's codes in the manual says what the program's table says, and each code
// has its row among the tests.
#include "ctl/check/codes.h"
#include "support/texts.h"
#include "support/unit_test.h"

#include <algorithm>
#include <string>
#include <vector>

namespace
{

constexpr char DOCS[] = MCFG_SOURCE_DIR "/docs";
constexpr char TESTS[] = MCFG_SOURCE_DIR "/tests/ctl";

class check_list : public support::unit_test
{
  protected:
    std::string list()
    {
        world.bind(DOCS, "/docs");
        return world.read("/docs/mctl-check.md");
    }
};

std::string section_of(const code_row &row)
{
    std::string files = row.files == std::string("any") ? "any file" : row.files;
    return std::string("\n### ") + row.name + "\n\n" +
           (row.how_bad == severity::error ? "Error" : "Warning") + ", in " + files + ": " +
           row.text + ".\n\nCure: " + row.cure + ".\n\n    " + row.example + "\n";
}

TEST_F(check_list, says_of_each_code_what_the_table_says)
{
    std::string text = list();
    for (const code_row &row : code_rows)
        EXPECT_NE(text.find(section_of(row)), std::string::npos) << section_of(row);
}

TEST_F(check_list, has_the_codes_of_the_table_in_its_order_and_no_others)
{
    std::vector<std::string> listed;
    for (const std::string &line : support::lines_of(list())) {
        if (support::begins_with(line, "### "))
            listed.push_back(line.substr(4));
    }
    std::vector<std::string> known;
    for (const code_row &row : code_rows)
        known.push_back(row.name);
    EXPECT_EQ(listed, known);
}

TEST_F(check_list, has_a_test_for_each_code)
{
    world.bind(TESTS, "/tests");
    std::string rows;
    for (const char *name : {"check_codes_test", "check_nvram_test", "check_hostile_test"})
        rows += world.read(std::string("/tests/") + name + ".cpp");
    for (const code_row &row : code_rows) {
        std::string begin = std::string("\"") + row.name;
        bool has_row = rows.find(begin + "\"") != std::string::npos ||
                       rows.find(begin + ": ") != std::string::npos;
        EXPECT_TRUE(has_row) << row.name;
    }
}

TEST_F(check_list, names_are_unique)
{
    std::vector<std::string> names;
    for (const code_row &row : code_rows)
        names.push_back(row.name);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end());
}

} // namespace
