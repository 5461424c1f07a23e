#include "util/mac.h"

#include "platform/nvram.h"
#include "support/unit_test.h"
#include "util/shell.h"

#include <errno.h>
#include <string.h>
#include <string>

namespace
{

class mac : public support::unit_test
{
  protected:
    void ethaddr(const std::string &value)
    {
        world.write("/etc/nvram/0", "ethaddr=" + value + "\n");
        nvram_close(0);
    }

    void SetUp() override
    {
        support::unit_test::SetUp();
        nvram_close(0);
    }

    // An open section has what it held when it was opened, whatever its file says by now.
    bool device_is_open()
    {
        world.write("/etc/nvram/0", "seen=now\n");
        return strcmp(nvram_bufget(0, "seen"), "now") != 0;
    }

    struct request {
        const char *name;
        char text[32] = "untouched";
        int result = 0;
    };

    // Asks for the address of that name and returns what was printed.
    static std::string ask(request &asked)
    {
        return support::private_world::captured(
            1,
            [](void *context) {
                auto *wanted = static_cast<request *>(context);
                wanted->result = get_mac(wanted->name, wanted->text);
            },
            &asked);
    }
};

struct quoting {
    const char *text;
    const char *inside;
};

constexpr quoting QUOTINGS[] = {
    {"abc", "abc"},
    {"\"abc\"", "abc"},
    {"\"abc", "\"abc"},
    {"abc\"", "abc\""},
    {"\"\"abc\"\"", "\"abc\""},
    {"\"\"", ""},
    {"\"", "\""},
    {"", ""},
    {"'abc'", "'abc'"},
    {" \"abc\"", " \"abc\""},
};

TEST_F(mac, is_taken_out_of_one_pair_of_quotes)
{
    for (const quoting &row : QUOTINGS) {
        text_piece piece = without_quotes(row.text);
        EXPECT_EQ(std::string(piece.start, piece.length), row.inside) << row.text;
    }
}

struct parsing {
    const char *text;
    const char *out; // null when it is no address
};

constexpr parsing PARSINGS[] = {
    {"00:11:22:33:44:55", "00:11:22:33:44:55"},
    {"00:aa:BB:cC:Dd:fF", "00:AA:BB:CC:DD:FF"},
    {"0:1:2:3:4:5", "00:01:02:03:04:05"},
    {"00:11:22:33:44:55 and more", "00:11:22:33:44:55"},
    {"", nullptr},
    {"00:11:22:33:44", nullptr},
    {"00:11:22:33:44:", nullptr},
    {"00:11:22:33:44:5g", nullptr},
    {"00-11-22-33-44-55", nullptr},
    {"001122334455", nullptr},
    {"\"00:11:22:33:44:55\"", nullptr},
    {" 00:11:22:33:44:55", nullptr},
    {"zz:zz:zz:zz:zz:zz", nullptr},
};

TEST_F(mac, is_parsed_as_the_c_library_does)
{
    for (const parsing &row : PARSINGS) {
        SCOPED_TRACE(row.text);
        unsigned char bytes[MAC_BYTES] = {9, 9, 9, 9, 9, 9};
        char out[MAC_TEXT_MAX];
        errno = ENOENT; // of something before
        int result = parse_mac({row.text, strlen(row.text)}, bytes);
        EXPECT_EQ(result, row.out != nullptr ? 0 : -EINVAL);
        EXPECT_EQ(errno, row.out != nullptr ? 0 : EINVAL);
        EXPECT_STREQ(format_mac(bytes, out), row.out != nullptr ? row.out : "09:09:09:09:09:09");
    }
}

TEST_F(mac, very_long_text_is_no_address)
{
    std::string text(10000, '1');
    unsigned char bytes[MAC_BYTES];
    EXPECT_EQ(parse_mac({text.c_str(), text.size()}, bytes), -EINVAL);
}

TEST_F(mac, base_address_is_the_same_with_and_without_quotes)
{
    for (const char *value : {"00:0a:eb:11:22:30", "\"00:0a:eb:11:22:30\""}) {
        ethaddr(value);
        unsigned char bytes[MAC_BYTES];
        char out[MAC_TEXT_MAX];
        EXPECT_EQ(get_ethaddr(bytes), 0);
        EXPECT_STREQ(format_mac(bytes, out), "00:0A:EB:11:22:30");
    }
}

TEST_F(mac, base_address_that_is_missing_is_a_bad_address)
{
    unsigned char bytes[MAC_BYTES];
    EXPECT_EQ(get_ethaddr(bytes), -14);
    EXPECT_EQ(errno, EFAULT);
    ethaddr("");
    EXPECT_EQ(get_ethaddr(bytes), -14);
}

TEST_F(mac, base_address_that_is_none_is_an_invalid_argument)
{
    for (const char *value :
         {"unset", "\"\"", "\"00:11:22:33:44:55", "\"\"00:11:22:33:44:55\"\""}) {
        ethaddr(value);
        unsigned char bytes[MAC_BYTES];
        EXPECT_EQ(get_ethaddr(bytes), -EINVAL) << value;
        EXPECT_EQ(errno, EINVAL);
    }
}

TEST_F(mac, of_the_lan_is_printed_too)
{
    ethaddr("00:0a:eb:11:22:30");
    request lan = {"ethaddr"};
    EXPECT_EQ(ask(lan), "00:0A:EB:11:22:30\n");
    EXPECT_EQ(lan.result, 1);
    EXPECT_STREQ(lan.text, "00:0A:EB:11:22:30");
    EXPECT_EQ(world.trace(), "");
    EXPECT_FALSE(device_is_open());
}

TEST_F(mac, of_the_lan_is_printed_before_what_a_tool_prints)
{
    ethaddr("00:0a:eb:11:22:30");
    world.on("print tool led");
    std::string out = support::private_world::captured(
        1,
        [](void *) {
            char text[MAC_TEXT_MAX];
            get_mac("ethaddr", text);
            shell("led green_wan on");
        },
        nullptr);
    EXPECT_EQ(out, "00:0A:EB:11:22:30\ntool");
}

TEST_F(mac, is_what_the_store_holds_now)
{
    ethaddr("00:0a:eb:11:22:30");
    nvram_init(0);
    world.write("/etc/nvram/0", "ethaddr=00:0a:eb:11:22:40\n");
    request lan = {"ethaddr"};
    EXPECT_EQ(ask(lan), "00:0A:EB:11:22:40\n");
}

TEST_F(mac, of_the_wan_is_the_next_one)
{
    ethaddr("00:0a:eb:11:22:30");
    request wan = {"wan"};
    EXPECT_EQ(ask(wan), "");
    EXPECT_EQ(wan.result, 1);
    EXPECT_STREQ(wan.text, "00:0A:EB:11:22:31");
}

TEST_F(mac, of_the_wan_does_not_carry_into_the_fifth_byte)
{
    ethaddr("00:11:22:33:44:FF");
    request wan = {"wan"};
    ask(wan);
    EXPECT_STREQ(wan.text, "00:11:22:33:44:00");
}

TEST_F(mac, of_another_name_fails_without_a_message)
{
    ethaddr("00:0a:eb:11:22:30");
    for (const char *name : {"lan", "wlan", "WAN", "", "wan0"}) {
        request other = {name};
        EXPECT_EQ(ask(other), "") << name;
        EXPECT_EQ(other.result, -1);
        EXPECT_STREQ(other.text, "untouched");
    }
    EXPECT_EQ(world.trace(), "");
    EXPECT_TRUE(device_is_open());
}

TEST_F(mac, without_a_base_address_is_logged)
{
    request wan = {"wan"};
    EXPECT_EQ(ask(wan), "");
    EXPECT_EQ(wan.result, -1);
    EXPECT_STREQ(wan.text, "untouched");
    EXPECT_TRACE(R"(log mcfg-get_mac: cannot get base MAC addr: Bad address\n)", world.trace());

    world.clear_trace();
    ethaddr("no address");
    ask(wan);
    EXPECT_EQ(wan.result, -1);
    EXPECT_TRACE(R"(log mcfg-get_mac: cannot get base MAC addr: Invalid argument\n)",
                 world.trace());
    EXPECT_TRUE(device_is_open());
}

TEST_F(mac, of_the_box_is_the_base_address)
{
    ethaddr("00:0a:eb:11:22:30");
    unsigned char bytes[MAC_BYTES];
    char out[MAC_TEXT_MAX];
    EXPECT_EQ(get_box_mac(bytes), 1);
    EXPECT_STREQ(format_mac(bytes, out), "00:0A:EB:11:22:30");
    EXPECT_EQ(world.trace(), "");
    EXPECT_FALSE(device_is_open());
}

TEST_F(mac, of_the_box_that_is_missing_is_logged)
{
    unsigned char bytes[MAC_BYTES];
    EXPECT_EQ(get_box_mac(bytes), -1);
    EXPECT_TRACE(R"(log mcfg-get_box_mac: cannot get base MAC addr: Bad address\n)", world.trace());
    EXPECT_TRUE(device_is_open());
}

} // namespace
