#include "wan/link_kind.h"

#include <gtest/gtest.h>

#include <string>

struct link_kind_row {
    const char *iface;
    const char *name;
    const char *proto;
    int dhcp_metric;
};

class link_kind_rows : public testing::TestWithParam<link_kind_row>
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

INSTANTIATE_TEST_SUITE_P(link_kind, link_kind_rows,
                         testing::Values(link_kind_row{"vlan2", "wan", "ether", 101},
                                         link_kind_row{"wimax0", "wimax", "wimax", 100},
                                         link_kind_row{"br0", "unknown", "unknown", 200},
                                         link_kind_row{"vlan", "unknown", "unknown", 200},
                                         link_kind_row{"vlan20", "unknown", "unknown", 200},
                                         link_kind_row{"VLAN2", "unknown", "unknown", 200},
                                         link_kind_row{"", "unknown", "unknown", 200},
                                         link_kind_row{nullptr, "unknown", "unknown", 200}));
