// scripts/preview: what it shows of settings, what it hides, and what differs between two.
#include "support/scratch.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>

namespace
{

namespace fs = std::filesystem;

using support::run_line;
using support::said;

// A directory whose name has a blank, with two copies of the example router's settings, "one" and
// "other". The script is called from there.
class preview : public ::testing::Test
{
  protected:
    preview()
    {
        for (const char *copy : {"one", "other"})
            fs::copy(MCFG_SOURCE_DIR "/examples/router", here / copy, fs::copy_options::recursive);
    }

    said run(const std::string &arguments)
    {
        return run_line("exec 2>&1; cd '" + here.string() +
                        "' && MCFG_HOST_BUILD='" MCFG_BINARY_DIR "' '" MCFG_SOURCE_DIR
                        "/scripts/preview' " +
                        arguments);
    }

    support::scratch_directory room{"preview test"};
    const fs::path &here = room.path();
};

bool holds(const said &s, const std::string &text)
{
    return s.text.find(text) != std::string::npos;
}

TEST_F(preview, shows_a_screen_for_each_subject)
{
    room.append("one/etc/default/rules", "ACCEPT short\n");
    said s = run("one");
    EXPECT_EQ(s.status, 0);
    const char *const in_order[] = {
        "==== Findings of mctl check\n",
        "/etc/default/rules:5:",
        "==== The running configuration: /var/run/Config\n",
        "\"ipaddr\": \"192.168.1.1\"",
        "==== What is dialled: the files of pppd and xl2tpd\n(nothing)\n",
        "==== Firewall, table nat: /tmp/nat_rules\n",
        "--dport 8080 -j DNAT --to 192.168.1.20:80\n",
        "==== Firewall, table filter: /tmp/filter_rules\n",
        "-A FORWARD",
        "==== Firewall, table mangle: /tmp/mangle_rules\n",
        "==== The wireless driver's profile: /etc/Wireless/RT2860/RT2860.dat\n",
        "SSID1=ExampleHome\n",
        "==== Commands, in order\n",
        "mcfg netbase_start\n    /usr/sbin/mknetifaces.sh\n",
        "    udhcpc -RSb -A 30 -i vlan2 ",
        "udhcpc bound\n",
        "==== Addresses and routes that result\n",
        "As if the provider leased 192.0.2.10",
        "    vlan2    192.0.2.10/24\n",
        "    default via 192.0.2.1 dev vlan2 metric 101\n",
    };
    size_t at = 0;
    for (const char *text : in_order) {
        size_t found = s.text.find(text, at);
        ASSERT_NE(found, std::string::npos) << text << " is missing in\n" << s.text;
        at = found;
    }
}

TEST_F(preview, dials_what_the_settings_dial)
{
    said s = run("--only peers --only addresses --only commands --over one " MCFG_SOURCE_DIR
                 "/examples/pppoe");
    EXPECT_EQ(s.status, 0);
    EXPECT_TRUE(holds(s, "# /etc/ppp/peers/wan1\n")) << s.text;
    EXPECT_TRUE(holds(s, "    pppd call wan1\n")) << s.text;
    EXPECT_TRUE(holds(s, "    ppp1     10.9.0.10 to 10.9.0.1/32\n")) << s.text;
    EXPECT_TRUE(holds(s, "    default dev ppp1 ")) << s.text;
    EXPECT_FALSE(holds(s, "==== The running")) << s.text;
}

TEST_F(preview, dials_by_l2tp)
{
    said s = run("--only peers --only addresses --over one " MCFG_SOURCE_DIR "/lab/settings/l2tp");
    EXPECT_TRUE(holds(s, "# /etc/ppp/peers/work\n")) << s.text;
    EXPECT_TRUE(holds(s, "lns = 198.51.100.10\n")) << s.text;
    EXPECT_TRUE(holds(s, "As if the provider took up work as ppp1")) << s.text;
}

struct profile_key {
    const char *key;
    bool is_secret;
};

// clang-format off
constexpr profile_key profile_keys[] = {
    {"WPAPSK1", true},
    {"WPAPSK8", true},
    {"Key1Str1", true},
    {"Key4Str8", true},
    {"WapiPsk1", true},
    {"MeshWEPKEY", true},
    {"MeshWPAKEY", true},
    {"WscVendorPinCode", true},
    {"WdsKey", true},
    {"RADIUS_Key", true},
    {"RADIUS_Acct_Key", true},
    {"ApCliWPAPSK", true},
    {"ApCliKey1Str", true},
    {"ApCliKey4Str", true},
    {"SSID1", false},
    {"AuthMode", false},
    {"Key1Type", false},
    {"DefaultKeyID", false},
    {"RekeyMethod", false},
    {"WapiPskType", false},
    {"RADIUS_Server", false},
};
// clang-format on

class secrets : public preview
{
  protected:
    secrets()
    {
        for (const profile_key &row : profile_keys)
            write_key(row.key);
        room.write("one/etc/default/ppp-peers", "wan1 pppoe 1 login-x passwd\"x vlan2 ac1 isp 1\n"
                                                "work l2tp 0 login-y passwd-y 192.0.2.3 2\n");
        fs::copy(MCFG_SOURCE_DIR "/examples/pppoe", here / "one",
                 fs::copy_options::recursive | fs::copy_options::overwrite_existing);
    }

    // Before the others: the first line of a key counts.
    void write_key(const char *key)
    {
        std::ifstream old(here / "one/etc/nvram/1");
        std::string text{std::istreambuf_iterator<char>(old), {}};
        room.write("one/etc/nvram/1", std::string(key) + "=value-of-" + key + "\n" + text);
    }
};

TEST_F(secrets, are_hidden)
{
    said s = run("one");
    EXPECT_EQ(s.status, 0);
    for (const char *text : {"login-x", "login-y", "passwd\"x", "passwd\\\"x", "passwd-y"})
        EXPECT_FALSE(holds(s, text)) << text;
    for (const profile_key &row : profile_keys)
        EXPECT_NE(holds(s, std::string("value-of-") + row.key + "\n"), row.is_secret) << row.key;
    EXPECT_TRUE(holds(s, "\nuser ********\npassword ********\n")) << s.text;
}

TEST_F(secrets, are_shown_when_asked_for)
{
    said s = run("--secrets --only config --only peers --only wireless one");
    for (const char *text : {"login-x", "login-y", "passwd\\\"x", "passwd-y", "user login-x\n"})
        EXPECT_TRUE(holds(s, text)) << text;
    for (const profile_key &row : profile_keys)
        EXPECT_TRUE(holds(s, std::string("value-of-") + row.key + "\n")) << row.key;
}

TEST_F(preview, shows_only_what_differs)
{
    room.append("other/etc/default/vservers", "new tcp 9000 90 192.168.1.40 - - - -\n");
    said s = run("one other");
    EXPECT_EQ(s.status, 0);
    EXPECT_EQ(s.text, R"(
==== Firewall, table nat: /tmp/nat_rules
...
 -A VSERVER -p tcp -m tcp --dport 2222 -j DNAT --to 192.168.1.20:22
 -A VSERVER -p udp -m udp --dport 30000 -j DNAT --to 192.168.1.30:30000
+-A VSERVER -p tcp -m tcp --dport 9000 -j DNAT --to 192.168.1.40:90
 -A POSTROUTING -o br0 -s 192.168.1.0/24 -d 192.168.1.0/24 -j SNAT --to-source 192.168.1.1
 -A POSTROUTING  -s 192.168.1.0/24 -j MASQUERADE

==== - is one, + is other
No difference: findings config peers filter mangle wireless commands addresses
)");
}

TEST_F(preview, tells_of_another_password_without_telling_it)
{
    room.write("other/etc/default/ppp-peers", "");
    fs::copy(here / "one/etc/default/ppp-peers", here / "other/etc/default/ppp-peers",
             fs::copy_options::overwrite_existing);
    ASSERT_EQ(system(("sed -i s/first-secret/other-secret/ '" + here.string() +
                      "/other/etc/default/ppp-peers'")
                         .c_str()),
              0);
    said s = run("--only config one other");
    EXPECT_TRUE(holds(s, "-                  \"passwd\": \"********\",\n"
                         "+                  \"passwd\": \"********\",\n"))
        << s.text;
    EXPECT_FALSE(holds(s, "-secret")) << s.text;
}

TEST_F(preview, says_when_nothing_differs)
{
    EXPECT_EQ(run("--only nat --only config \"$PWD/one\" ./other/.").text,
              "\n==== - is " + here.string() + "/one, + is ./other/.\nNo difference: nat config\n");
}

struct refusal {
    const char *name;
    const char *arguments;
    const char *says;
};

class refused : public preview, public ::testing::WithParamInterface<refusal>
{
};

TEST_P(refused, with_the_reason)
{
    fs::create_directory(here / "empty");
    fs::create_directories(here / "waits/etc/default");
    ASSERT_EQ(mkfifo((here / "waits/etc/default/masq").c_str(), 0600), 0);
    said s = run(GetParam().arguments);
    EXPECT_EQ(s.status, 2);
    EXPECT_EQ(s.text.substr(0, s.text.find('\n')), std::string("preview: ") + GetParam().says);
}

INSTANTIATE_TEST_SUITE_P(
    rows, refused,
    ::testing::Values(refusal{"nothing", "", "whose settings?"},
                      refusal{"three", "one other one", "two directories at most"},
                      refusal{"no_such_directory", "'no such'", "no such directory: no such"},
                      refusal{"a_file", "one/etc/TZ", "no such directory: one/etc/TZ"},
                      refusal{"no_settings", "empty", "no etc/default in empty"},
                      refusal{"other_without_settings", "one empty", "no etc/default in empty"},
                      refusal{"base_without_settings", "--over empty one",
                              "no etc/default in empty"},
                      refusal{"fifo", "waits", "not a plain file: etc/default/masq"},
                      refusal{"option", "--wrong one", "no option \"--wrong\""},
                      refusal{"subject", "--only wrong one", "no subject \"wrong\""},
                      refusal{"lonely_option", "--only", "--only needs a word behind it"}),
    [](const testing::TestParamInfo<refusal> &row) { return row.param.name; });

TEST_F(preview, names_the_directory_that_was_meant)
{
    EXPECT_TRUE(
        holds(run("one/etc"), "It takes the directory above etc: " + here.string() + "/one\n"));
    EXPECT_TRUE(holds(run("one/etc/default"),
                      "It takes the directory above etc: " + here.string() + "/one\n"));
}

TEST_F(preview, explains_itself_with_an_example)
{
    said s = run("--help");
    EXPECT_EQ(s.status, 0);
    EXPECT_TRUE(holds(s, "Example:")) << s.text;
    EXPECT_TRUE(holds(s, "\n  scripts/preview --over examples/router")) << s.text;
}

} // namespace
