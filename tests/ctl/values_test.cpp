// What mctl check takes for a number, an address, a network, ports, a MAC address, a character, a
// word: each bound from both sides.
#include "ctl/check/values.h"

#include "support/rows.h"

#include <gtest/gtest.h>
#include <stdio.h>
#include <string>

namespace
{

struct value_row {
    const char *name;
    std::string text;
    std::string expected; // as it is shown; "no" for what is not taken
};

class value : public testing::TestWithParam<value_row>
{
};

std::string shown(uint32_t address)
{
    char text[24];
    snprintf(text, sizeof(text), "%u.%u.%u.%u", address >> 24, address >> 16 & 255,
             address >> 8 & 255, address & 255);
    return text;
}

using number_value = value;

TEST_P(number_value, up_to_4000000000)
{
    uint32_t number = 77;
    bool is_taken = parse_number(GetParam().text.c_str(), 4000000000U, &number);
    EXPECT_EQ(is_taken ? std::to_string(number) : "no", GetParam().expected);
    if (!is_taken) {
        EXPECT_EQ(number, 77U);
    }
}

// clang-format off
const value_row numbers[] = {
    {"zero", "0", "0"},
    {"one_digit", "7", "7"},
    {"every_digit", "1234567890", "1234567890"},
    {"the_most", "4000000000", "4000000000"},
    {"one_more", "4000000001", "no"},
    {"what_would_wrap_round", "4294967297", "no"},
    {"eleven_digits", "10000000000", "no"},
    {"nothing", "", "no"},
    {"zero_in_front", "07", "no"},
    {"two_zeros", "00", "no"},
    {"sign", "+7", "no"},
    {"letter", "7a", "no"},
    {"blank", "7 ", "no"},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(numbers, number_value, testing::ValuesIn(numbers), support::row_name);

using address_value = value;

TEST_P(address_value, is_a_dotted_quad)
{
    uint32_t address = 0;
    bool is_taken = parse_ipv4(GetParam().text.c_str(), &address);
    EXPECT_EQ(is_taken ? shown(address) : "no", GetParam().expected);
}

// clang-format off
const value_row addresses[] = {
    {"four_bytes", "192.168.1.20", "192.168.1.20"},
    {"lowest", "0.0.0.0", "0.0.0.0"},
    {"longest", "255.255.255.255", "255.255.255.255"},
    {"byte_of_256", "1.2.3.256", "no"},
    {"first_byte_of_256", "256.2.3.4", "no"},
    {"three_bytes", "1.2.3", "no"},
    {"five_bytes", "1.2.3.4.5", "no"},
    {"empty_byte", "1..3.4", "no"},
    {"dot_behind", "1.2.3.4.", "no"},
    {"too_long", "255.255.255.2550", "no"},
    {"name", "router", "no"},
    {"nothing", "", "no"},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(addresses, address_value, testing::ValuesIn(addresses), support::row_name);

using network_value = value;

TEST_P(network_value, has_a_mask_of_ones_in_front)
{
    ipv4_network network = {};
    bool is_taken = parse_network(GetParam().text.c_str(), &network);
    EXPECT_EQ(is_taken ? shown(network.address) + "/" + shown(network.mask) : "no",
              GetParam().expected);
    if (is_taken) {
        uint32_t mask = 0;
        EXPECT_TRUE(parse_netmask(shown(network.mask).c_str(), false, &mask));
        EXPECT_EQ(mask, network.mask);
    }
}

// clang-format off
const value_row networks[] = {
    {"one_address", "10.0.0.1", "10.0.0.1/255.255.255.255"},
    {"no_bits", "10.0.0.1/0", "10.0.0.1/0.0.0.0"},
    {"one_bit", "10.0.0.1/1", "10.0.0.1/128.0.0.0"},
    {"all_bits", "10.0.0.1/32", "10.0.0.1/255.255.255.255"},
    {"more_bits", "10.0.0.1/33", "no"},
    {"netmask", "10.0.0.1/255.255.255.128", "10.0.0.1/255.255.255.128"},
    {"netmask_of_nothing", "10.0.0.1/0.0.0.0", "10.0.0.1/0.0.0.0"},
    {"netmask_with_a_hole", "10.0.0.1/255.0.255.0", "no"},
    {"netmask_turned_round", "10.0.0.1/0.0.0.255", "no"},
    {"no_netmask", "10.0.0.1/", "no"},
    {"no_address", "/24", "no"},
    {"bad_address", "10.0.0/24", "no"},
    {"longest_parts", "255.255.255.255/255.255.255.255", "255.255.255.255/255.255.255.255"},
    {"mask_without_room", "10.0.0.1/" + std::string(40, '1'), "no"},
    {"address_without_room", std::string(40, '1') + "/24", "no"},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(networks, network_value, testing::ValuesIn(networks), support::row_name);

TEST(netmask_value, is_no_number_of_bits_where_these_are_not_taken)
{
    uint32_t mask = 0;
    EXPECT_FALSE(parse_netmask("24", false, &mask));
    EXPECT_TRUE(parse_netmask("24", true, &mask));
    EXPECT_EQ(mask, 0xffffff00U);
}

using range_value = value;

TEST_P(range_value, does_not_run_back)
{
    uint32_t first = 0;
    uint32_t last = 0;
    bool is_taken = parse_address_range(GetParam().text.c_str(), &first, &last);
    EXPECT_EQ(is_taken ? shown(first) + "-" + shown(last) : "no", GetParam().expected);
}

// clang-format off
const value_row ranges[] = {
    {"two", "10.0.0.1-10.0.0.2", "10.0.0.1-10.0.0.2"},
    {"one", "10.0.0.1-10.0.0.1", "10.0.0.1-10.0.0.1"},
    {"backwards", "10.0.0.2-10.0.0.1", "no"},
    {"half", "10.0.0.1-", "no"},
    {"other_half", "-10.0.0.1", "no"},
    {"one_address", "10.0.0.1", "no"},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(ranges, range_value, testing::ValuesIn(ranges), support::row_name);

TEST(network_value, holds_its_own_addresses_only)
{
    const ipv4_network network = {0xc0a80105, 0xffffff00}; // 192.168.1.5/24
    EXPECT_TRUE(is_in(network, 0xc0a80100));
    EXPECT_TRUE(is_in(network, 0xc0a801ff));
    EXPECT_FALSE(is_in(network, 0xc0a80200));
    EXPECT_FALSE(is_in(network, 0xc0a800ff));
}

TEST(network_value, overlaps_what_is_within_it_and_what_it_is_within)
{
    const ipv4_network wide = {0xc0a80000, 0xffff0000};
    const ipv4_network narrow = {0xc0a80105, 0xffffff00};
    const ipv4_network other = {0xc0a90105, 0xffffff00};
    EXPECT_TRUE(do_overlap(wide, narrow));
    EXPECT_TRUE(do_overlap(narrow, wide));
    EXPECT_FALSE(do_overlap(wide, other));
    EXPECT_FALSE(do_overlap(other, narrow));
}

TEST(network_value, is_shown_by_its_first_address)
{
    char text[NETWORK_TEXT_MAX];
    format_network(text, {0xc0a80105, 0xffffff00});
    EXPECT_STREQ(text, "192.168.1.0/24");
    format_network(text, {0xffffffff, 0xffffffff});
    EXPECT_STREQ(text, "255.255.255.255/32");
    format_network(text, {0x01020304, 0});
    EXPECT_STREQ(text, "0.0.0.0/0");
}

using port_value = value;

TEST_P(port_value, may_be_a_range_with_a_colon)
{
    port_range ports = {};
    bool is_taken = parse_ports(GetParam().text.c_str(), ':', &ports);
    EXPECT_EQ(is_taken ? std::to_string(ports.first) + " to " + std::to_string(ports.last) : "no",
              GetParam().expected);
}

// clang-format off
const value_row port_rows[] = {
    {"one", "80", "80 to 80"},
    {"first", "1", "1 to 1"},
    {"last", "65535", "65535 to 65535"},
    {"none", "0", "no"},
    {"beyond", "65536", "no"},
    {"range", "80:90", "80 to 90"},
    {"range_of_one", "80:80", "80 to 80"},
    {"range_of_the_last", "65535:65535", "65535 to 65535"},
    {"range_from_0", "0:65535", "0 to 65535"},
    {"range_beyond", "80:65536", "no"},
    {"range_that_begins_beyond", "65536:65537", "no"},
    {"backwards", "90:80", "no"},
    {"half", "80:", "no"},
    {"other_sign", "80-90", "no"},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(ports, port_value, testing::ValuesIn(port_rows), support::row_name);

TEST(port_value, is_no_range_where_none_is_taken)
{
    port_range ports = {};
    EXPECT_FALSE(parse_ports("80:90", '\0', &ports));
    EXPECT_TRUE(parse_ports("80", '\0', &ports));
    EXPECT_EQ(ports.last, 80U);
}

using mac_value = value;

TEST_P(mac_value, has_six_bytes_with_colons)
{
    unsigned char mac[6] = {};
    std::string text = "no";
    if (parse_mac_text(GetParam().text.c_str(), mac)) {
        char digits[13];
        snprintf(digits, sizeof(digits), "%02x%02x%02x%02x%02x%02x", mac[0], mac[1], mac[2], mac[3],
                 mac[4], mac[5]);
        text = digits;
    }
    EXPECT_EQ(text, GetParam().expected);
}

// clang-format off
const value_row macs[] = {
    {"digits", "01:23:45:67:89:00", "012345678900"},
    {"letters", "aA:bB:cC:dD:eE:fF", "aabbccddeeff"},
    {"hyphens", "01-23-45-67-89-00", "no"},
    {"five_bytes", "01:23:45:67:89", "no"},
    {"a_digit_too_many", "01:23:45:67:89:000", "no"},
    {"no_digit", "0g:23:45:67:89:00", "no"},
    {"no_digit_in_front", "g0:23:45:67:89:00", "no"},
    {"no_digit_at_the_end", "01:23:45:67:89:0g", "no"},
    {"last_colon_missing", "01:23:45:67:89000", "no"},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(macs, mac_value, testing::ValuesIn(macs), support::row_name);

using utf8_value = value;

TEST_P(utf8_value, is_what_the_reader_of_documents_takes)
{
    EXPECT_EQ(is_utf8(GetParam().text.c_str()) ? "yes" : "no", GetParam().expected);
}

// clang-format off
const value_row characters[] = {
    {"nothing", "", "yes"},
    {"last_of_one_byte", "\x7f", "yes"},
    {"a_byte_that_goes_on", "\x80", "no"},
    {"too_many_bytes_for_a_slash", "\xc0\xaf", "no"},
    {"too_many_bytes_for_the_last_of_one", "\xc1\xbf", "no"},
    {"first_of_two_bytes", "\xc2\x80", "yes"},
    {"last_of_two_bytes", "\xdf\xbf", "yes"},
    {"two_bytes_cut_short", "\xc2", "no"},
    {"two_bytes_and_a_letter", "\xc2g", "no"},
    {"two_bytes_and_a_first_one", "\xc2\xc2", "no"},
    {"too_many_bytes_for_the_last_of_two", "\xe0\x9f\xbf", "no"},
    {"first_of_three_bytes", "\xe0\xa0\x80", "yes"},
    {"before_the_halves", "\xed\x9f\xbf", "yes"},
    {"first_half_of_a_pair", "\xed\xa0\x80", "no"},
    {"last_of_three_bytes", "\xef\xbf\xbf", "yes"},
    {"three_bytes_cut_short", "\xef\xbf", "no"},
    {"too_many_bytes_for_the_last_of_three", "\xf0\x8f\xbf\xbf", "no"},
    {"first_of_four_bytes", "\xf0\x90\x80\x80", "yes"},
    {"last_of_all", "\xf4\x8f\xbf\xbf", "yes"},
    {"beyond_the_last", "\xf4\x90\x80\x80", "no"},
    {"a_byte_that_begins_none", "\xf5\x80\x80\x80", "no"},
    {"good_ones_before_a_bad_one", "caf\xc3\xa9 \xe2\x82\xac\xff", "no"},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(texts, utf8_value, testing::ValuesIn(characters), support::row_name);

TEST(character_value, of_control_is_below_the_blank_or_delete)
{
    EXPECT_FALSE(has_control_characters(""));
    EXPECT_FALSE(has_control_characters(" ~\xc3\xa9"));
    EXPECT_TRUE(has_control_characters("a\x1f"));
    EXPECT_TRUE(has_control_characters("\x7f"));
}

TEST(word_value, means_yes_or_no_in_any_case)
{
    for (const char *word : {"1", "yes", "on", "true", "enable", "enabled", "YES"}) {
        EXPECT_TRUE(is_yes_word(word)) << word;
        EXPECT_FALSE(is_no_word(word)) << word;
    }
    for (const char *word : {"0", "-", "no", "off", "false", "disable", "disabled", "Off"}) {
        EXPECT_TRUE(is_no_word(word)) << word;
        EXPECT_FALSE(is_yes_word(word)) << word;
    }
    EXPECT_FALSE(is_yes_word("maybe"));
    EXPECT_FALSE(is_no_word(""));
}

} // namespace
