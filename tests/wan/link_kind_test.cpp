#include "wan/link_kind.h"

#include "support/rows.h"

#include <gtest/gtest.h>
#include <string>

namespace
{

struct link_kind_row {
    const char *name;
    const char *iface;
    const char *kind;
    const char *proto;
    int dhcp_metric;
};

class links_over : public testing::TestWithParam<link_kind_row>
{
};

TEST_P(links_over, have_their_kind)
{
    const link_kind *kind = get_link_kind(GetParam().iface);
    ASSERT_NE(kind, nullptr);
    EXPECT_STREQ(kind->name, GetParam().kind);
    EXPECT_STREQ(kind->proto, GetParam().proto);
    EXPECT_EQ(kind->dhcp_metric, GetParam().dhcp_metric);
}

INSTANTIATE_TEST_SUITE_P(
    interfaces, links_over,
    testing::Values(link_kind_row{"the wired wan", "vlan2", "wan", "ether", 101},
                    link_kind_row{"the modem", "wimax0", "wimax", "wimax", 100},
                    link_kind_row{"the lan", "br0", "unknown", "unknown", 200},
                    link_kind_row{"less than a name", "vlan", "unknown", "unknown", 200},
                    link_kind_row{"more than a name", "vlan20", "unknown", "unknown", 200},
                    link_kind_row{"another case", "VLAN2", "unknown", "unknown", 200},
                    link_kind_row{"no name", "", "unknown", "unknown", 200},
                    link_kind_row{"none", nullptr, "unknown", "unknown", 200}),
    support::row_name);

} // namespace
