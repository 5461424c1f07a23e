// A rule file beside what is loaded.
#include "ctl/status/nat_view.h"

#include "support/unit_test.h"

#include <string>

namespace
{

using generated_rules = support::unit_test;

constexpr char FILE_NAME[] = "/tmp/nat_rules";

struct rules_row {
    const char *name;
    const char *generated;
    const char *listed;
    const char *difference; // "" for none
};

// clang-format off
const rules_row rows[] = {
    {"nothing", "*nat\nCOMMIT\n", "-P PREROUTING ACCEPT\n", ""},
    {"the same", "-A VSERVER -p tcp --dport 80 -j DNAT --to-destination 192.168.1.20:80\n",
     "-A VSERVER -p tcp -m tcp --dport 80 -j DNAT --to-destination 192.168.1.20:80\n", ""},
    {"no line end", "-A VSERVER -p tcp --dport 80 -j DNAT --to-destination 192.168.1.20:80",
     "-A VSERVER -p tcp -m tcp --dport 80 -j DNAT --to-destination 192.168.1.20:80", ""},
    {"chains in another order", "-A VSERVER -j ACCEPT\n-A POSTROUTING -j MASQUERADE\n",
     "-A POSTROUTING -j MASQUERADE\n-A VSERVER -j ACCEPT\n", ""},
    {"a jump into the forwards", "-A VSERVER -j ACCEPT\n",
     "-A PREROUTING -d 192.0.2.10/32 -i vlan2 -j VSERVER\n-A VSERVER -j ACCEPT\n", ""},
    {"a rule of the UPnP daemon", "-A VSERVER -j ACCEPT\n",
     "-A MINIUPNPD -p tcp -m tcp --dport 22 -j DNAT --to-destination 192.168.1.30:22\n-A VSERVER -j ACCEPT\n", ""},
};
// clang-format on

TEST_F(generated_rules, are_those_that_are_loaded)
{
    for (const rules_row &row : rows) {
        SCOPED_TRACE(row.name);
        world.write(FILE_NAME, row.generated);
        char difference[100] = "";
        EXPECT_TRUE(is_as_generated(FILE_NAME, row.listed, difference, sizeof(difference)));
        EXPECT_STREQ(difference, row.difference);
    }
}

TEST_F(generated_rules, are_not_missed_without_a_file)
{
    char difference[100] = "";
    EXPECT_TRUE(is_as_generated(FILE_NAME, "-A VSERVER -j ACCEPT\n", difference, 100));
}

TEST_F(generated_rules, differ_by_what_is_there_once_only_or_in_another_order)
{
    char difference[100] = "";
    world.write(FILE_NAME, "-A VSERVER -j ACCEPT\n-A VSERVER -j DROP\n");
    EXPECT_FALSE(is_as_generated(FILE_NAME, "-A VSERVER -j ACCEPT\n", difference, 100));
    EXPECT_NE(std::string(difference).find("nothing"), std::string::npos) << difference;
    EXPECT_FALSE(
        is_as_generated(FILE_NAME, "-A VSERVER -j DROP\n-A VSERVER -j ACCEPT\n", difference, 100));
    world.write(FILE_NAME, "");
    EXPECT_FALSE(is_as_generated(FILE_NAME, "-A VSERVER -j DROP\n", difference, 100));
    EXPECT_EQ(std::string(difference).find("\"nothing\" is "), 0U) << difference;
}

} // namespace
