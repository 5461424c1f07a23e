// A rule file beside what is loaded.
#include "ctl/status/nat_view.h"

#include "ctl/status/kernel_view.h"
#include "support/unit_test.h"

#include <string>

namespace
{

constexpr char FILE_NAME[] = "/tmp/nat_rules";

struct rules_row {
    const char *name;
    const char *generated;
    const char *listed;
    const char *difference; // "" for none
};

class generated_rules : public support::unit_test
{
  protected:
    void compare(const rules_row &row)
    {
        SCOPED_TRACE(row.name);
        world.write(FILE_NAME, row.generated);
        char difference[100] = "";
        EXPECT_EQ(is_as_generated(FILE_NAME, row.listed, difference, sizeof(difference)),
                  row.difference[0] == '\0');
        EXPECT_STREQ(difference, row.difference);
    }
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
    {"a rule that goes first", "-A VSERVER -j ACCEPT\n-A VSERVER -j DROP\n-I VSERVER -j LOG\n-I VSERVER -j RETURN\n",
     "-A VSERVER -j RETURN\n-A VSERVER -j LOG\n-A VSERVER -j ACCEPT\n-A VSERVER -j DROP\n", ""},
    {"chains of which one is the begin of the other", "-A V -j ACCEPT\n-A VSERVER -j DROP\n-A V -j LOG\n",
     "-A VSERVER -j DROP\n-A V -j ACCEPT\n-A V -j LOG\n", ""},
    {"the longer one of them first", "-A VSERVER -j DROP\n-A V -j ACCEPT\n", "-A V -j ACCEPT\n-A VSERVER -j DROP\n", ""},
    {"no rules but chains, comments and blanks", "*nat\n:VSERVER - [0:0]\n# -A VSERVER -j DROP\n -A VSERVER -j DROP\n-AX Y -j Z\n-IX Y -j Z\n-A \nCOMMIT\n",
     "-P PREROUTING ACCEPT\n-N VSERVER\n", ""},
    {"names in another case", "-A VSERVER -j accept\n", "-A VSERVER -j ACCEPT\n", ""},
    {"a rule that goes on behind a jump", "-A PREROUTING -d 192.0.2.10 -j VSERVER\n-A PREROUTING -j ACCEPT\n", "-A PREROUTING -j ACCEPT\n", ""},
    {"a rule of the UPnP daemon", "-A VSERVER -j ACCEPT\n",
     "-A MINIUPNPD -p tcp -m tcp --dport 22 -j DNAT --to-destination 192.168.1.30:22\n-A VSERVER -j ACCEPT\n", ""},
};
// clang-format on

TEST_F(generated_rules, are_those_that_are_loaded)
{
    for (const rules_row &row : rows)
        compare(row);
}

TEST_F(generated_rules, are_not_missed_without_a_file)
{
    char difference[100] = "";
    EXPECT_TRUE(is_as_generated(FILE_NAME, "-A VSERVER -j ACCEPT\n", difference, 100));
}

// clang-format off
const rules_row differences[] = {
    {"one less", "-A VSERVER -j ACCEPT\n-A VSERVER -j DROP\n", "-A VSERVER -j ACCEPT\n", "\"VSERVER DROP\" is \"nothing\""},
    {"one more", "-A VSERVER -j ACCEPT\n", "-A VSERVER -j ACCEPT\n-A VSERVER -j DROP\n", "\"nothing\" is \"VSERVER DROP\""},
    {"none generated", "", "-A VSERVER -j DROP\n", "\"nothing\" is \"VSERVER DROP\""},
    {"none listed", "-A VSERVER -j DROP\n", "", "\"VSERVER DROP\" is \"nothing\""},
    {"one without a target", "-A VSERVER\n", "", "\"VSERVER \" is \"nothing\""},
    {"another order", "-A VSERVER -j ACCEPT\n-A VSERVER -j DROP\n", "-A VSERVER -j DROP\n-A VSERVER -j ACCEPT\n", "\"VSERVER ACCEPT\" is \"VSERVER DROP\""},
    {"another address", "-A VSERVER -d 192.0.2.7 -j DROP\n", "-A VSERVER -d 192.0.2.8/32 -j DROP\n", "\"VSERVER DROP -d 192.0.2.7\" is \"VSERVER DROP -d 192.0.2.8\""},
    {"the rule at the end of a text", "-A VSERVER -j DROP", "-A VSERVER -j LOG", "\"VSERVER DROP\" is \"VSERVER LOG\""},
    {"only so much of a rule is told", "-A VSERVER -s 192.0.2.107 -d 192.0.2.108 -j DROP\n", "-A VSERVER -s 192.0.2.107 -d 192.0.2.109 -j DROP\n",
     "\"VSERVER DROP -s 192.0.2.107 -d 192\" is \"VSERVER DROP -s 192.0.2.107 -d 192\""},
};
// clang-format on

TEST_F(generated_rules, that_are_not_loaded_are_told)
{
    for (const rules_row &row : differences)
        compare(row);
}

TEST_F(generated_rules, may_be_many)
{
    std::string generated, listed;
    for (int i = 0; i < 200; i++) {
        std::string port = std::to_string(i % 100 + 1);
        generated += "-A " + std::string(i < 100 ? "ONE" : "TWO") + " --dport " + port + "\n";
        listed += "-A " + std::string(i < 100 ? "TWO" : "ONE") + " --dport " + port + "\n";
    }
    world.write(FILE_NAME, generated);
    char difference[100] = "";
    EXPECT_TRUE(is_as_generated(FILE_NAME, listed.c_str(), difference, 100)) << difference;
    listed += "-A TWO --dport 101\n";
    EXPECT_FALSE(is_as_generated(FILE_NAME, listed.c_str(), difference, 100));
    EXPECT_STREQ(difference, "\"nothing\" is \"TWO  --dport 101\"");
}

TEST_F(generated_rules, of_a_directory_are_none)
{
    world.mkdir(FILE_NAME);
    char difference[100] = "";
    EXPECT_TRUE(is_as_generated(FILE_NAME, "-A VSERVER -j DROP\n", difference, 100));
}

// ---- the listing

class nat_listing : public support::unit_test
{
  protected:
    // A text longer than a rule for the recorder may have.
    void list(const std::string &text)
    {
        world.write("/listing", text);
        world.write("/list", "#!/bin/sh\nwhile read -r line; do echo \"$line\"; done < /listing\n",
                    0755);
        world.on("pass /list iptables -t nat -S");
    }
};

std::string jumps_of(const nat_view &nat)
{
    std::string text;
    for (size_t i = 0; i < nat.jumps; i++) {
        char address[IPV4_TEXT_MAX];
        format_address(address, nat.jump[i].address_be);
        text += std::string(nat.jump[i].iface) + " " + address + "\n";
    }
    return text;
}

TEST_F(nat_listing, tells_of_the_ways_into_the_forwards)
{
    list("-P PREROUTING ACCEPT\n"
         "-A PREROUTING -d 192.0.2.77/32 -i vlan2 -j VSERVER\n"
         "-A PREROUTING -d 192.0.2.78/32 -i vlan2 -j MINIUPNPD\n"
         "-A POSTROUTING -d 192.0.2.79/32 -o vlan2 -j VSERVER\n"
         "-A PREROUTING -i vlan2 -j VSERVER\n"
         "-A PREROUTING -d 192.0.2.80 -j VSERVER\n"
         "-A PREROUTING -d 10.0.0.0/8 -i vlan2 -j VSERVER\n"
         "-A\n"
         "-A PREROUTING -j VSERVER -i 01234567890123456 -d 192.0.2.81\n");
    nat_view nat;
    ASSERT_EQ(look_at_nat(&nat), 0);
    EXPECT_EQ(jumps_of(nat), "vlan2 192.0.2.77\n 192.0.2.80\n012345678901234 192.0.2.81\n");
    EXPECT_EQ(count_jumps(nat, "vlan2", nat.jump[0].address_be), 1U);
    EXPECT_EQ(count_jumps(nat, "vlan3", nat.jump[0].address_be), 0U);
    EXPECT_EQ(count_jumps(nat, "vlan2", nat.jump[1].address_be), 0U);
    EXPECT_EQ(count_jumps(nat, "", nat.jump[1].address_be), 1U);
    forget_nat(&nat);
    EXPECT_EQ(world.trace(), "run iptables -t nat -S\n");
}

TEST_F(nat_listing, tells_of_so_many_ways)
{
    std::string listed;
    for (int i = 0; i < 65; i++)
        listed += "-A PREROUTING -d 192.0.2." + std::to_string(i) + " -i v -j VSERVER\n";
    list(listed);
    nat_view nat;
    ASSERT_EQ(look_at_nat(&nat), 0);
    EXPECT_EQ(nat.jumps, 64U);
    EXPECT_NE(jumps_of(nat).find("v 192.0.2.63\n"), std::string::npos);
    forget_nat(&nat);
}

TEST_F(nat_listing, that_fails_is_an_error)
{
    world.on("print '-A PREROUTING -d 192.0.2.77 -i vlan2 -j VSERVER' iptables -t nat -S");
    world.on("exit 3 iptables -t nat -S");
    nat_view nat;
    EXPECT_EQ(look_at_nat(&nat), 3);
    EXPECT_EQ(nat.jumps, 0U);
    forget_nat(&nat);
    EXPECT_EQ(nat.listing, nullptr);
}

} // namespace
