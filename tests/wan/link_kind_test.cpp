#include "wan/link_kind.h"

#include <gtest/gtest.h>

#include <string>

struct row {
    const char *iface;
    const char *name;
    const char *proto;
    int dhcp_metric;
};

class link_kind_rows : public testing::TestWithParam<row>
{
};

TEST_P(link_kind_rows, names_the_link)
{
    const link_kind *kind = get_link_kind(GetParam().iface);
    ASSERT_NE(kind, nullptr);
    EXPECT_STREQ(kind->name, GetParam().name);
    EXPECT_STREQ(kind->proto, GetParam().proto);
    EXPECT_EQ(kind->dhcp_metric, GetParam().dhcp_metric);
}

INSTANTIATE_TEST_SUITE_P(
    link_kind, link_kind_rows,
    testing::Values(row{"vlan2", "wan", "ether", 101}, row{"wimax0", "wimax", "wimax", 100},
                    row{"br0", "unknown", "unknown", 200}, row{"vlan", "unknown", "unknown", 200},
                    row{"vlan20", "unknown", "unknown", 200},
                    row{"VLAN2", "unknown", "unknown", 200}, row{"", "unknown", "unknown", 200},
                    row{nullptr, "unknown", "unknown", 200}));
