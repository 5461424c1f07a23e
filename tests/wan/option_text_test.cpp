#include "wan/option_text.h"

#include "support/rows.h"
#include "support/texts.h"

#include <gtest/gtest.h>
#include <stdio.h>
#include <string>

namespace
{

using writer = void (*)(FILE *file, const char *value);

std::string written(writer write, const std::string &value)
{
    return support::written([&](FILE *file) { write(file, value.c_str()); });
}

struct text_row {
    const char *name;
    writer write;
    const char *value;
    const char *expected;
};

class option_text : public testing::TestWithParam<text_row>
{
};

TEST_P(option_text, is_written)
{
    EXPECT_EQ(written(GetParam().write, GetParam().value), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    values, option_text,
    testing::Values(
        text_row{"address", write_pppd_value, "home@isp.example.net", "home@isp.example.net"},
        text_row{"all_plain", write_pppd_value, "!$%&()*+,-./0:;<=>?@AZ[]^_`az{|}~",
                 "!$%&()*+,-./0:;<=>?@AZ[]^_`az{|}~"},
        text_row{"empty", write_pppd_value, "", ""},
        text_row{"line_end", write_pppd_value, "secret\n", "secret"},
        text_row{"line_end_of_another_system", write_pppd_value, "secret\r\n", "secret"},
        text_row{"line_end_cut_in_two", write_pppd_value, "secret\r", "secret"},
        text_row{"only_a_line_end", write_pppd_value, "\n", "\"\""},
        text_row{"only_a_line_end_of_another_system", write_pppd_value, "\r\n", "\"\""},
        text_row{"second_line", write_pppd_value, "a\nconnect /tmp/x", "a"},
        text_row{"second_line_of_a_quoted_word", write_pppd_value, "a b\n\"c", "\"a b\""},
        text_row{"blank", write_pppd_value, " ", "\" \""},
        text_row{"tabs", write_pppd_value, "p\tconnect\t/tmp/x", "\"p\tconnect\t/tmp/x\""},
        text_row{"vertical_tab", write_pppd_value, "p\vq\fr", "\"p\vq\fr\""},
        text_row{"carriage_return", write_pppd_value, "a\rb", "\"a\rb\""},
        text_row{"control_and_delete", write_pppd_value, "\x01\x7f", "\"\x01\x7f\""},
        text_row{"delete", write_pppd_value, "\x7f", "\"\x7f\""},
        text_row{"double_quotes", write_pppd_value, "a\"b\"", "\"a\\\"b\\\"\""},
        text_row{"single_quote", write_pppd_value, "it's", "\"it's\""},
        text_row{"backslashes", write_pppd_value, "a\\n\\", "\"a\\\\n\\\\\""},
        text_row{"hash", write_pppd_value, "#", "\"#\""},
        text_row{"high_bytes", write_pppd_value, "\xc3\xa4", "\"\xc3\xa4\""},

        text_row{"quoted", write_pppd_quoted, "isp", "\"isp\""},
        text_row{"quoted_empty", write_pppd_quoted, "", "\"\""},
        text_row{"quoted_line_end", write_pppd_quoted, "isp\nconnect x", "\"isp\""},
        text_row{"quoted_quotes", write_pppd_quoted, "a\" connect \"x\\",
                 "\"a\\\" connect \\\"x\\\\\""},

        text_row{"device_vlan2", write_pppd_device, "vlan2", "vlan2"},
        text_row{"device_of_the_kind_apcli", write_pppd_device, "apcli0", "apcli0"},
        text_row{"device_of_the_kind_ra", write_pppd_device, "ra0", "ra0"},
        text_row{"device_of_the_kind_usb", write_pppd_device, "usb0", "usb0"},
        text_row{"device_of_the_kind_wds", write_pppd_device, "wds1", "wds1"},
        text_row{"device_of_the_kind_wimax", write_pppd_device, "wimax0", "wimax0"},
        text_row{"device_of_the_kind_wlan", write_pppd_device, "wlan0", "wlan0"},
        text_row{"device_with_vlan", write_pppd_device, "eth2.10", "eth2.10"},
        text_row{"device_with_every_digit", write_pppd_device, "vlan1234567890", "vlan1234567890"},
        text_row{"device_with_a_point_first", write_pppd_device, "eth.10", "nic-eth.10"},
        text_row{"device_line_end", write_pppd_device, "br0\n", "br0"},
        text_row{"device_empty", write_pppd_device, "", ""},
        text_row{"device_without_a_number", write_pppd_device, "vlan", "nic-vlan"},
        text_row{"device_that_goes_on", write_pppd_device, "eth2x", "nic-eth2x"},
        text_row{"device_number_only", write_pppd_device, "115200", "nic-115200"},
        text_row{"device_option", write_pppd_device, "connect", "nic-connect"},
        text_row{"device_option_with_a_number", write_pppd_device, "ipv6", "nic-ipv6"},
        text_row{"device_serial", write_pppd_device, "ttyS0", "nic-ttyS0"},
        text_row{"device_path", write_pppd_device, "/tmp/x", "nic-/tmp/x"},
        text_row{"device_alias", write_pppd_device, "eth2:1", "eth2"},
        text_row{"device_addresses", write_pppd_device, ":10.0.0.1", ""},
        text_row{"device_words", write_pppd_device, "a\tconnect\t/x", "\"nic-a\tconnect\t/x\""},
        text_row{"device_quote", write_pppd_device, "\"", "\"nic-\\\"\""},

        text_row{"lns", write_xl2tpd_value, "198.51.100.10", "198.51.100.10"},
        text_row{"lns_empty", write_xl2tpd_value, "", ""},
        text_row{"lns_line_end", write_xl2tpd_value, "a\nb = c", "a"},
        text_row{"lns_line_end_of_another_system", write_xl2tpd_value, "a\r\n", "a"},
        text_row{"lns_comment", write_xl2tpd_value, "a;b", "a"},
        text_row{"lns_comment_on_the_second_line", write_xl2tpd_value, "a\n;b", "a"},
        text_row{"lns_as_it_is", write_xl2tpd_value, "a \t\"#'\\=[b]", "a \t\"#'\\=[b]"}),
    support::row_name);

} // namespace
