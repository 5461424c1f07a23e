#include "wan/lease_routes.h"

#include "support/unit_test.h"

#include <string.h>
#include <string>

namespace
{

class lease_routes : public support::unit_test
{
  protected:
    void SetUp() override { begin(); }
    void begin()
    {
        world.clear();
        world.on("skip ioctl vlan2 SIOCADDRT");
    }
};

struct route_row {
    const char *name;
    const char *text;
    const char *trace;
};

const route_row host_rows[] = {
    {"none", "", ""},
    {"one", "198.51.100.7 192.0.2.1", R"(
        ioctl vlan2 SIOCADDRT 198.51.100.7/255.255.255.255 via 192.0.2.1 metric 1 flags 0x7
    )"},
    {"two", "198.51.100.7 192.0.2.1 198.51.100.8 192.0.2.2", R"(
        ioctl vlan2 SIOCADDRT 198.51.100.7/255.255.255.255 via 192.0.2.1 metric 1 flags 0x7
        ioctl vlan2 SIOCADDRT 198.51.100.8/255.255.255.255 via 192.0.2.2 metric 1 flags 0x7
    )"},
    {"three", "198.51.100.7 192.0.2.1 198.51.100.8 192.0.2.2 198.51.100.9 192.0.2.3", R"(
        ioctl vlan2 SIOCADDRT 198.51.100.7/255.255.255.255 via 192.0.2.1 metric 1 flags 0x7
        ioctl vlan2 SIOCADDRT 198.51.100.8/255.255.255.255 via 192.0.2.2 metric 1 flags 0x7
        ioctl vlan2 SIOCADDRT 198.51.100.9/255.255.255.255 via 192.0.2.3 metric 1 flags 0x7
    )"},
    {"the last one has no gateway", "198.51.100.7 192.0.2.1 198.51.100.8", R"(
        ioctl vlan2 SIOCADDRT 198.51.100.7/255.255.255.255 via 192.0.2.1 metric 1 flags 0x7
    )"},
    {"many blanks and a line end", "  198.51.100.7   192.0.2.1 \n", R"(
        ioctl vlan2 SIOCADDRT 198.51.100.7/255.255.255.255 via 192.0.2.1 metric 1 flags 0x7
    )"},
    {"no gateway address: a host on the link", "198.51.100.7 0.0.0.0", R"(
        ioctl vlan2 SIOCADDRT 198.51.100.7/255.255.255.255 metric 1 flags 0x5
    )"},
    {"no addresses at all", "left right", R"(
        ioctl vlan2 SIOCADDRT 255.255.255.255/255.255.255.255 via 255.255.255.255 metric 1 flags 0x7
    )"},
};

TEST_F(lease_routes, host)
{
    for (const route_row &row : host_rows) {
        SCOPED_TRACE(row.name);
        begin();
        add_host_routes("vlan2", row.text);
        EXPECT_TRACE(row.trace, world.trace());
    }
}

const route_row static_rows[] = {
    {"none", "", ""},
    {"one", "10.0.0.0/8 192.168.1.1", R"(
        log dhcp client: netmask = 255.0.0.0, gateway = 192.168.1.1, ipaddr = 10.0.0.0
        ioctl vlan2 SIOCADDRT 10.0.0.0/255.0.0.0 via 192.168.1.1 metric 1 flags 0x3
    )"},
    {"shortest and longest prefix", "128.0.0.0/1 192.0.2.1 198.51.100.7/32 192.0.2.1", R"(
        log dhcp client: netmask = 128.0.0.0, gateway = 192.0.2.1, ipaddr = 128.0.0.0
        ioctl vlan2 SIOCADDRT 128.0.0.0/128.0.0.0 via 192.0.2.1 metric 1 flags 0x3
        log dhcp client: netmask = 255.255.255.255, gateway = 192.0.2.1, ipaddr = 198.51.100.7
        ioctl vlan2 SIOCADDRT 198.51.100.7/255.255.255.255 via 192.0.2.1 metric 1 flags 0x7
    )"},
    {"a prefix of 0 ends the list",
     "10.0.0.0/8 192.0.2.1 0.0.0.0/0 192.0.2.1 10.1.0.0/16 192.0.2.1",
     R"(
        log dhcp client: netmask = 255.0.0.0, gateway = 192.0.2.1, ipaddr = 10.0.0.0
        ioctl vlan2 SIOCADDRT 10.0.0.0/255.0.0.0 via 192.0.2.1 metric 1 flags 0x3
    )"},
    {"a prefix of 33 ends the list", "10.0.0.0/33 192.0.2.1 10.1.0.0/16 192.0.2.1", ""},
    {"a negative prefix ends the list", "10.0.0.0/-8 192.0.2.1 10.1.0.0/16 192.0.2.1", ""},
    {"no prefix ends the list", "10.0.0.0 192.0.2.1 10.1.0.0/16 192.0.2.1", ""},
    {"a prefix beyond every number ends the list", "10.0.0.0/4294967304 192.0.2.1", ""},
    {"junk behind the prefix is not looked at", "10.0.0.0/8x/9 192.0.2.1", R"(
        log dhcp client: netmask = 255.0.0.0, gateway = 192.0.2.1, ipaddr = 10.0.0.0
        ioctl vlan2 SIOCADDRT 10.0.0.0/255.0.0.0 via 192.0.2.1 metric 1 flags 0x3
    )"},
    {"the last one has no gateway", "10.0.0.0/8", ""},
    {"a line end behind the gateway", "10.0.0.0/8 192.0.2.1\n", R"(
        log dhcp client: netmask = 255.0.0.0, gateway = 192.0.2.1, ipaddr = 10.0.0.0
        ioctl vlan2 SIOCADDRT 10.0.0.0/255.0.0.0 via 192.0.2.1 metric 1 flags 0x3
    )"},
    {"many blanks and a line end", "  10.0.0.0/8   192.0.2.1 \r\n", R"(
        log dhcp client: netmask = 255.0.0.0, gateway = 192.0.2.1, ipaddr = 10.0.0.0
        ioctl vlan2 SIOCADDRT 10.0.0.0/255.0.0.0 via 192.0.2.1 metric 1 flags 0x3
    )"},
};

TEST_F(lease_routes, with_a_prefix_length)
{
    for (const route_row &row : static_rows) {
        SCOPED_TRACE(row.name);
        begin();
        add_static_routes("vlan2", row.text);
        EXPECT_TRACE(row.trace, world.trace());
    }
}

struct classless_row {
    const char *name;
    const char *text;
    bool trusted;
    const char *trace;
};

const classless_row classless_rows[] = {
    {"none", "", true, ""},
    {"three octets", "24 192 168 5 10 0 0 1", true, R"(
        ioctl vlan2 SIOCADDRT 192.168.5.0/255.255.255.0 via 10.0.0.1 metric 1 flags 0x3
    )"},
    {"as many octets as the prefix covers", "1 128 10 0 0 1 8 10 10 0 0 2 9 10 128 10 0 0 3", true,
     R"(
        ioctl vlan2 SIOCADDRT 128.0.0.0/128.0.0.0 via 10.0.0.1 metric 1 flags 0x3
        ioctl vlan2 SIOCADDRT 10.0.0.0/255.0.0.0 via 10.0.0.2 metric 1 flags 0x3
        ioctl vlan2 SIOCADDRT 10.128.0.0/255.128.0.0 via 10.0.0.3 metric 1 flags 0x3
    )"},
    {"four octets: a host", "32 198 51 100 8 10 0 0 1", true, R"(
        ioctl vlan2 SIOCADDRT 198.51.100.8/255.255.255.255 via 10.0.0.1 metric 1 flags 0x7
    )"},
    {"bits behind the prefix are masked", "20 10 1 31 10 0 0 1", true, R"(
        ioctl vlan2 SIOCADDRT 10.1.16.0/255.255.240.0 via 10.0.0.1 metric 1 flags 0x3
    )"},
    {"a router of zeros is none: on the link", "8 10 0 0 0 0", true, R"(
        ioctl vlan2 SIOCADDRT 10.0.0.0/255.0.0.0 metric 1 flags 0x1
    )"},
    {"a blank at the end", "8 10 10 0 0 1 ", true, R"(
        ioctl vlan2 SIOCADDRT 10.0.0.0/255.0.0.0 via 10.0.0.1 metric 1 flags 0x3
    )"},
    {"the end of the text cuts the router short", "8 10 10 7", true, R"(
        ioctl vlan2 SIOCADDRT 10.0.0.0/255.0.0.0 via 10.7.0.0 metric 1 flags 0x3
    )"},
    {"the end of the text takes the router away", "8 10", true, R"(
        ioctl vlan2 SIOCADDRT 10.0.0.0/255.0.0.0 metric 1 flags 0x1
    )"},
    {"a prefix of 0 ends the list", "8 10 10 0 0 1 0 10 0 0 1", true, R"(
        ioctl vlan2 SIOCADDRT 10.0.0.0/255.0.0.0 via 10.0.0.1 metric 1 flags 0x3
    )"},
    {"a prefix of 33 ends the list", "33 10 0 0 0 10 0 0 1", true, ""},
    {"a prefix of 320 ends the list", "320 10 0 0 0 10 0 0 1", true, ""},
    {"a prefix beyond every number ends the list", "4294967304 10 10 0 0 1", true, ""},
    {"a prefix with a comma behind it ends the list", "8,10 10 0 0 1", true, ""},
    {"a prefix with a colon behind it ends the list", "1: 10 1 16 10 0 0 1", true, ""},
    {"a prefix alone ends the list", "8", true, ""},
    {"a blank at the start: no list", " 8 10 10 0 0 1", true, ""},
    {"no digit at the start: no list", "x", true, ""},
    {"junk behind an entry ends the list", "8 10 10 0 0 1,8 11 10 0 0 1", true, R"(
        ioctl vlan2 SIOCADDRT 10.0.0.0/255.0.0.0 via 10.0.0.1 metric 1 flags 0x3
    )"},
    {"two blanks behind an entry end the list", "8 10 10 0 0 1  8 11 10 0 0 1", true, R"(
        ioctl vlan2 SIOCADDRT 10.0.0.0/255.0.0.0 via 10.0.0.1 metric 1 flags 0x3
    )"},
    {"of an octet above 255 the low eight bits count", "16 266 257 10 0 0 513", true, R"(
        ioctl vlan2 SIOCADDRT 10.1.0.0/255.255.0.0 via 10.0.0.1 metric 1 flags 0x3
    )"},
    {"also of one with nine digits", "16 900000010 999999754 10 0 0 900000001", true, R"(
        ioctl vlan2 SIOCADDRT 10.10.0.0/255.255.0.0 via 10.0.0.1 metric 1 flags 0x3
    )"},
    {"and of one beyond every number",
     "8 4294967306 10 0 0 340282366920938463463374607431768211457", true, R"(
        ioctl vlan2 SIOCADDRT 10.0.0.0/255.0.0.0 via 10.0.0.1 metric 1 flags 0x3
    )"},
    {"a comma in the destination", "24 192,168", false, ""},
    {"the destination cut short", "24 192 168", false, ""},
    {"the destination cut short behind a blank", "24 192 168 ", false, ""},
    {"two blanks in the destination", "24 192  168 5 10 0 0 1", false, ""},
    {"a tab in the destination", "16 192\t168 10 0 0 1", false, ""},
    {"letters in the destination", "16 192 x 10 0 0 1", false, ""},
    {"a sign in the destination", "8 -10 10 0 0 1", false, ""},
    {"a dot in the router", "8 10 10.0.0.1", false, ""},
    {"the router cut short behind a blank", "8 10 10 0 0 ", false, ""},
    {"routes before the broken one stay", "8 10 10 0 0 1 8 11 x", false, R"(
        ioctl vlan2 SIOCADDRT 10.0.0.0/255.0.0.0 via 10.0.0.1 metric 1 flags 0x3
    )"},
};

TEST_F(lease_routes, classless)
{
    for (const classless_row &row : classless_rows) {
        SCOPED_TRACE(row.name);
        begin();
        EXPECT_EQ(add_classless_routes("vlan2", row.text), row.trusted);
        EXPECT_TRACE(row.trace, world.trace());
    }
}

std::string repeated(const std::string &piece, size_t size)
{
    std::string text;
    while (text.size() < size)
        text += piece;
    return text;
}

TEST_F(lease_routes, a_megabyte_of_digits_or_words)
{
    std::string digits(1 << 20, '9');
    EXPECT_TRUE(add_classless_routes("vlan2", digits.c_str()));
    EXPECT_FALSE(add_classless_routes("vlan2", ("8 " + digits + "x").c_str()));
    EXPECT_FALSE(add_classless_routes("vlan2", ("24 1 " + digits + " ").c_str()));
    add_static_routes("vlan2", repeated("x ", 1 << 20).c_str());
    add_static_routes("vlan2", ("10.0.0.0/" + digits + " 192.0.2.1").c_str());
    EXPECT_EQ(world.trace(), "");
}

TEST_F(lease_routes, ten_thousand_routes)
{
    std::string text = repeated("8 10 10 0 0 1 ", 10000 * strlen("8 10 10 0 0 1 "));
    EXPECT_TRUE(add_classless_routes("vlan2", text.c_str()));
    EXPECT_TRACE(R"(
        ioctl vlan2 SIOCADDRT 10.0.0.0/255.0.0.0 via 10.0.0.1 metric 1 flags 0x3 (x10000)
    )",
                 world.trace());
}

} // namespace
