// What mctl report and mctl check take for a secret, and what they leave of a text that holds one.
#include "ctl/report/secrets.h"

#include "support/unit_test.h"

#include <stdlib.h>
#include <string>
#include <vector>

namespace
{

TEST(secret_key, is_told_by_its_name)
{
    for (const char *key : {"WPAPSK1", "wscVendorPinCode", "pin", "AdminPassword", "RADIUS_Secret",
                            "login", "RADIUS_Key1", "Key1Str1", "key", "KEY10"})
        EXPECT_TRUE(is_secret_key(key)) << key;
    for (const char *key : {"", "1", "SSID1", "DefaultKeyID", "Key1Type", "KeyRotation", "ethaddr",
                            "Strength", "ke", "ey1"})
        EXPECT_FALSE(is_secret_key(key)) << key;
    EXPECT_FALSE(is_secret_key(&"key71"[4])) << "what stands before it is not of it";
}

TEST(secret_member, is_a_login_or_a_password)
{
    EXPECT_TRUE(is_secret_member("login"));
    EXPECT_TRUE(is_secret_member("passwd"));
    EXPECT_FALSE(is_secret_member("name"));
    EXPECT_FALSE(is_secret_member("Login"));
}

class learned_secrets : public support::unit_test
{
  protected:
    void TearDown() override { forget_secrets(&all); }

    std::vector<std::string> learn()
    {
        learn_secrets(&all);
        return std::vector<std::string>(all.text, all.text + all.count);
    }
    std::string masked(const char *text, bool with_short)
    {
        char *result = mask_secrets(all, text, with_short);
        std::string copy = result;
        free(result);
        return copy;
    }
    secrets all = {};
};

using list = std::vector<std::string>;

TEST_F(learned_secrets, of_nothing_are_none)
{
    EXPECT_EQ(learn(), list());
    EXPECT_EQ(masked("my words", true), "my words");
}

TEST_F(learned_secrets, of_peers_are_logins_and_passwords_of_comments_too)
{
    world.write("/etc/default/ppp-peers", "# Name Type Auto login passwd\n"
                                          "wan1 pppoe 1 somebody sesame42 vlan2 ac1 isp 1\n"
                                          "#\t old l2tp 0 grandma - 192.0.2.9 3\r\n"
                                          "odd l2tp \r1 uncle - 192.0.2.9 3\n"
                                          "## # older l2tp 0 grandpa tobacco\n"
                                          "last l2tp 1 aunt dog\r\n"
                                          "short pptp 1\n");
    EXPECT_EQ(learn(), (list{"sesame42", "somebody", "grandma", "grandpa", "tobacco", "uncle",
                             "aunt", "dog"}));
}

TEST_F(learned_secrets, of_nvram_are_the_values_of_such_keys)
{
    world.write("/etc/nvram/0", "ethaddr=00:0A:EB:11:22:30\npin=12345670\nkey\n");
    world.write("/etc/nvram/1", "SSID1=home\r\nWPAPSK1=a=b\r\nKey1Str1=\nKey2Str1=a\rb=c\r\n");
    EXPECT_EQ(learn(), (list{"12345670", "a\\x0db=c", "a\rb=c", "a=b"}));
}

TEST_F(learned_secrets, stand_behind_nul_bytes_too)
{
    const std::string nul(1, '\0');
    world.write("/etc/default/ppp-peers",
                nul + nul + "torn\nwan1 pppoe" + nul + " 1 lost\nwan2 pppoe 1 somebody sesame42\n");
    world.write("/etc/nvram/1", "SSID1=home" + nul + "WPAPSK1=my passphrase" + nul);
    EXPECT_EQ(learn(), (list{"my passphrase", "sesame42", "somebody"}));
}

TEST_F(learned_secrets, of_the_document_are_such_members_however_deep)
{
    world.write("/var/run/Config", R"({"login": "outside", "Network": {"Wan": [
        {"iface": "vlan2", "Tunnels": [{"name": "wan1", "login": "-", "passwd": "inside"}, 7]},
        {"passwd": {"login": "deeper"}, "login": 5}]}})");
    EXPECT_EQ(learn(), (list{"outside", "deeper", "inside"}));
}

// The last one counts, as for all who read the document.
TEST_F(learned_secrets, of_a_document_with_a_member_twice)
{
    world.write("/var/run/Config", R"({"login": "one", "login": "other"})");
    EXPECT_EQ(learn(), (list{"other"}));
}

TEST_F(learned_secrets, are_two)
{
    world.write("/etc/nvram/0", "pin=abcd\npass=abcdefgh\n");
    EXPECT_EQ(learn(), (list{"abcdefgh", "abcd"}));
    EXPECT_EQ(masked("abcdefgh abcd", false), "*** ***");
}

TEST_F(learned_secrets, may_be_many_and_are_kept_once_the_longest_first)
{
    std::string lines;
    for (int i = 0; i < 100; i++)
        lines += "pin=" + std::string(static_cast<size_t>(i % 50) + 1, 'p') + "\n";
    world.write("/etc/nvram/0", lines);
    list found = learn();
    ASSERT_EQ(found.size(), 50U);
    EXPECT_EQ(found[0].size(), 50U);
    EXPECT_EQ(found[49].size(), 1U);
    for (size_t i = 1; i < found.size(); i++)
        EXPECT_LE(found[i].size(), found[i - 1].size());
}

struct mask_row {
    const char *text;
    bool with_short;
    const char *expected;
};

TEST_F(learned_secrets, are_masked)
{
    world.write("/etc/nvram/0", "pin=sesame\npass=sesame42\nlogin=abc\nsecret=four\nkey=meadow\n"
                                "psk=correct horse\nstr=caf\xc3\xa9\n");
    learn();
    // clang-format off
    const mask_row rows[] = {
        {"", true, ""},
        {"nothing", true, "nothing"},
        {"sesame", false, "***"},
        {"sesame42", false, "***"},  // the longest that is there
        {"sesame4", false, "***4"},
        {"xsesamex", false, "x***x"}, // a long one anywhere
        {"sesamesesame", false, "******"},
        {"fourfold", false, "***fold"},
        {"a sesameadow", false, "a ***"}, // one begins in the end of the other
        {"sesamefour", false, "******"},
        {"correct horse", false, "***"},
        {"it is \"correct h...\"", false, "it is \"***...\""}, // as a finding cuts it
        {"correct ", false, "***"},
        {"correct", false, "correct"},
        {"incorrect house", false, "in***use"},
        {"the caf\xc3\xa9", false, "the ***"},
        {"the caf\\xc3\\xa9", false, "the ***"}, // as a finding shows it
        {"abc", false, "abc"},       // a short one would be found in any word
        {"abc", true, "***"},
        {"(abc)", true, "(***)"},
        {"abcd", true, "abcd"},
        {"zabc", true, "zabc"},
        {"1abc", true, "1abc"},
        {"abc abc", true, "*** ***"},
    };
    // clang-format on
    for (const mask_row &row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(masked(row.text, row.with_short), row.expected);
    }
    EXPECT_EQ(masked(&"zabc"[1], true), "***") << "what stands before the text is not of it";
}

} // namespace
