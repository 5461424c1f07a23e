// A rule as it grows, to the end of its room.
#include "firewall/rule_writer.h"

#include <gtest/gtest.h>
#include <string>

namespace
{

TEST(rule_text, grows_to_the_end_of_its_room)
{
    const std::string most(RULE_TEXT_MAX - 1, 'x');
    for (size_t first : {size_t(0), size_t(1), most.size() - 1, most.size()}) {
        rule_text rule;
        add(&rule, most.substr(0, first).c_str());
        EXPECT_EQ(rule.text, most.substr(0, first));
        add(&rule, most.substr(first).c_str());
        EXPECT_EQ(rule.text, most);
        EXPECT_EQ(rule.length, most.size());
        add(&rule, "y", "z");
        EXPECT_EQ(rule.text, most);
        EXPECT_EQ(rule.length, most.size());
    }
    rule_text rule;
    add(&rule, (most + "yz").c_str());
    EXPECT_EQ(rule.text, most);
}

} // namespace
