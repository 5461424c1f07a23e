#include "firewall/filter_lists.h"
#include "firewall/nat_lists.h"
#include "firewall/rule_writer.h"

#include "firewall/list_test.h"

namespace
{

using namespace firewall_test;

struct missing_case {
    const char *name;
    reader read;
    const char *path;
    const char *trace;
};

class missing_list : public support::unit_test, public testing::WithParamInterface<missing_case>
{
};

TEST_P(missing_list, is_reported_and_gives_no_rules)
{
    fw = {};
    fw.mac_mode = MAC_DENY;
    written seen = write_rules(GetParam().read);
    EXPECT_EQ(seen.result, -1);
    EXPECT_EQ(seen.rules, "");
    EXPECT_EQ(seen.messages, std::string(GetParam().path) + ": No such file or directory\n");
    EXPECT_EQ(world.trace(), GetParam().trace);
}

// Only the MAC filter's closing verdict counts on every entry.
TEST_P(missing_list, that_cannot_be_read_to_its_end_is_reported)
{
    fw = {};
    fw.mac_mode = MAC_DENY;
    world.mkdir(GetParam().path); // opened like a file, and refuses to be read
    written seen = write_rules(GetParam().read);
    EXPECT_EQ(seen.result, GetParam().path == std::string(MACS) ? LIST_TORN : 0);
    EXPECT_EQ(seen.rules, GetParam().path == std::string(ACCESS) ? "-A H_ACCESS -j RETURN\n" : "");
    EXPECT_EQ(seen.messages, std::string(GetParam().path) + ": Is a directory\n");
}

INSTANTIATE_TEST_SUITE_P(
    lists, missing_list,
    testing::Values(
        missing_case{"rules", user_rules, RULES, ""},
        missing_case{"macs", mac_filters, MACS, "log get_mac_filters: start\n"},
        missing_case{"urls", url_filters, URLS, "log get_url_filters: start\n"},
        missing_case{"access", get_haccess_rules, ACCESS, "log get_haccess_filters: start\n"},
        missing_case{"vservers", get_vservers_rules, VSERVERS, "log get_vservers_filters: start\n"},
        missing_case{"masq", get_masquerading, MASQ, "log get_masquerading: start\n"},
        missing_case{"triggers", port_triggers, TRIGGERS, ""}),
    support::row_name);

} // namespace
