// Rules of iptables, as far as rule files and listings spell them alike.
#include "ctl/status/rule_facts.h"

#include "support/unit_test.h"

#include <string>
#include <vector>

namespace
{

std::vector<std::string> words_of(const std::string &line)
{
    rule_words rule;
    split_rule(&rule, line.c_str());
    return std::vector<std::string>(rule.word, rule.word + rule.count);
}

using words = std::vector<std::string>;

TEST(split_rule, takes_words_up_to_the_line_end)
{
    EXPECT_EQ(words_of(""), words());
    EXPECT_EQ(words_of(" \t \n-A X"), words());
    EXPECT_EQ(words_of("-A INPUT\t-j  DROP \n-A X"), (words{"-A", "INPUT", "-j", "DROP"}));
    EXPECT_EQ(words_of("-A INPUT\r\n"), (words{"-A", "INPUT"}));
    EXPECT_EQ(words_of("\"a b\""), (words{"\"a", "b\""}));
}

TEST(split_rule, leaves_out_what_has_no_room)
{
    std::string line;
    for (size_t i = 1; i <= RULE_WORDS_MAX; i++)
        line += "w" + std::to_string(i) + " ";
    EXPECT_EQ(words_of(line).size(), RULE_WORDS_MAX);
    EXPECT_EQ(words_of(line).back(), "w" + std::to_string(RULE_WORDS_MAX));
    EXPECT_EQ(words_of(line + "more").size(), RULE_WORDS_MAX);
    EXPECT_EQ(words_of(line + "more").back(), "w" + std::to_string(RULE_WORDS_MAX));
    EXPECT_EQ(words_of(std::string(2000, 'x'))[0].size(), RULE_LINE_MAX - 1);
}

struct option_row {
    const char *line;
    const char *option;
    const char *expected;
};

// clang-format off
const option_row option_rows[] = {
    {"-A INPUT -i vlan2 -j DROP", "-i", "vlan2"},
    {"-A INPUT -i vlan2 -j DROP", "-j", "DROP"},
    {"-A INPUT -i vlan2 -j DROP", "-o", ""},
    {"-A INPUT -i vlan2 -j", "-j", ""},
    {"-A INPUT -i ! br0 -j DROP", "-i", "br0"},
    {"-A INPUT ! -i br0 -j DROP", "-i", "br0"},
    {"-A INPUT -i !", "-i", ""},
    {"-A INPUT -i ! br0", "-i", "br0"},
    {"-i one -i two", "-i", "one"},
    {"-A -A", "-A", "-A"},
    {"", "-A", ""},
};
// clang-format on

TEST(option_of, is_the_word_behind_it)
{
    for (const option_row &row : option_rows) {
        rule_words rule;
        split_rule(&rule, row.line);
        EXPECT_STREQ(option_of(rule, row.option), row.expected) << row.line << ": " << row.option;
    }
}

struct network_row {
    const char *text;
    const char *expected;
};

// clang-format off
const network_row network_rows[] = {
    {"192.0.2.77", "192.0.2.77"},
    {"192.0.2.77/32", "192.0.2.77"},
    {"192.0.2.77/31", "192.0.2.76/31"},
    {"192.0.2.77/24", "192.0.2.0/24"},
    {"192.0.2.77/255.255.255.0", "192.0.2.0/24"},
    {"192.0.2.77/255.255.255.255", "192.0.2.77"},
    {"192.0.2.77/1", "128.0.0.0/1"},
    {"192.0.2.77/0", "0.0.0.0/0"},
    {"192.0.2.77/0.0.0.0", "0.0.0.0/0"},
    {"192.0.2.77/33", "192.0.2.77/33"},
    {"192.0.2.77/-1", "192.0.2.77/-1"},
    {"192.0.2.77/255.255.255", "192.0.2.77/255.255.255"},
    {"192.0.2.256/24", "192.0.2.256/24"},
    {"8080", "8080"},
    {"80:90", "80:90"},
    {"", ""},
};
// clang-format on

TEST(normalize_network, takes_off_what_says_nothing)
{
    for (const network_row &row : network_rows) {
        char text[NETWORK_FACT_MAX];
        normalize_network(text, row.text);
        EXPECT_STREQ(text, row.expected) << row.text;
    }
}

struct facts_row {
    const char *line;
    const char *expected;
};

// clang-format off
const facts_row facts_rows[] = {
    {"", " "},
    {"-A", " "},
    {"-A INPUT", "INPUT "},
    {"-A INPUT -j DROP", "INPUT DROP"},
    {"-A FORWARD -j DROP -o br0 -i vlan2", "FORWARD DROP -i vlan2 -o br0"},
    {"-A F -s 10.0.0.1/8 -d 192.0.2.7/32", "F  -s 10.0.0.0/8 -d 192.0.2.7"},
    {"-A F --source 10.0.0.1 --destination 192.0.2.7/32", "F  -s 10.0.0.1 -d 192.0.2.7"},
    {"-A F -s 10.0.0.1 --source 10.0.0.2", "F  -s 10.0.0.1"},
    {"-A F -s 0.0.0.0/0 -d 0.0.0.0/0 -j DROP", "F DROP"},
    {"-A F -m iprange --src-range 10.0.0.1-10.0.0.9 --dst-range 10.0.1.1-10.0.1.9", "F  --src-range 10.0.0.1-10.0.0.9 --dst-range 10.0.1.1-10.0.1.9"},
    {"-A F -p tcp --sport 80 --dport 90", "F  --sport 80 --dport 90"},
    {"-A F -p tcp -m multiport --sports 80,81 --dports 90,91", "F  --sport 80,81 --dport 90,91"},
    {"-A F --dport 80:80", "F  --dport 80"},
    {"-A F --dport 80:81", "F  --dport 80:81"},
    {"-A F --dport 80:8", "F  --dport 80:8"},
    {"-A F --dport 8:80", "F  --dport 8:80"},
    {"-A V -j DNAT --to-destination 192.168.1.20:80", "V DNAT --to-destination 192.168.1.20:80"},
    {"-A V -j SNAT --to-source 192.168.1.20", "V SNAT --to-destination 192.168.1.20"},
    {"-A V -j DNAT --to 192.168.1.20:80", "V DNAT --to-destination 192.168.1.20:80"},
    {"-A M -m mac --mac-source 02:00:00:00:00:0A -j DROP", "M DROP --mac-source 02:00:00:00:00:0A"},
    {"-A PREROUTING -p tcp --dport 21 -j autofw --related", "PREROUTING  --dport 21"},
    {"-A F -p tcp -m comment --comment x -j ACCEPT", "F ACCEPT"},
};
// clang-format on

TEST(write_facts, tells_what_a_rule_does_in_a_fixed_order)
{
    for (const facts_row &row : facts_rows) {
        rule_words rule;
        char facts[RULE_FACTS_MAX];
        split_rule(&rule, row.line);
        write_facts(facts, rule);
        EXPECT_STREQ(facts, row.expected) << row.line;
    }
}

} // namespace
