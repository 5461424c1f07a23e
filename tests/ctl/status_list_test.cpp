// The list of the reasons in the manual says what the program's table says, and each has its row
// among the tests.
#include "ctl/status/reasons.h"
#include "support/texts.h"
#include "support/unit_test.h"

#include <string>
#include <vector>

namespace
{

class status_list : public support::unit_test
{
  protected:
    std::string list()
    {
        world.bind(MCFG_SOURCE_DIR "/docs", "/docs");
        return world.read("/docs/mctl-status.md");
    }
};

std::string section_of(const reason_row &row)
{
    std::string state = state_name(row.state);
    state[0] = static_cast<char>(toupper(state[0]));
    return std::string("\n### ") + row.name + "\n\n" + state +
           (row.is_healed ? ", healed: " : ", not healed: ") + row.text + ".\n\nCure: " + row.cure +
           ".\n\nFor instance, " + row.example + ".\n";
}

TEST_F(status_list, says_of_each_reason_what_the_table_says)
{
    std::string text = list();
    for (const reason_row &row : reason_rows)
        EXPECT_NE(text.find(section_of(row)), std::string::npos) << section_of(row);
}

TEST_F(status_list, has_the_reasons_of_the_table_in_its_order_and_no_others)
{
    std::vector<std::string> listed, known;
    for (const std::string &line : support::lines_of(list())) {
        if (support::begins_with(line, "### "))
            listed.push_back(line.substr(4));
    }
    for (const reason_row &row : reason_rows)
        known.push_back(row.name);
    EXPECT_EQ(listed, known);
}

TEST_F(status_list, has_a_test_for_each_reason)
{
    world.bind(MCFG_SOURCE_DIR "/tests/ctl", "/tests");
    std::string rows = world.read("/tests/status_reasons_test.cpp");
    for (const reason_row &row : reason_rows)
        EXPECT_NE(rows.find(std::string(": ") + row.name + "\""), std::string::npos) << row.name;
}

} // namespace
