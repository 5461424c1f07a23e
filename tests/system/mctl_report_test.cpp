// mctl report: what is in it, how long it may be, and that no secret of the household is.
#include "support/recorder_failing.h"
#include "support/router_box.h"
#include "support/texts.h"
#include "support/world_root.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace
{

class mctl_report : public testing::Test
{
  protected:
    support::router_box box{support::program_of_build("mctl")};

    void SetUp() override
    {
        box.copy_in(support::example_path("router"), "/");
        box.write("/var/run/Config", R"({"Network":{"Lan":[{"iface":"br0","type":"dhcp"}],"Wan":[)"
                                     R"({"iface":"vlan2","name":"WAN","type":"pppoe",)"
                                     R"("have_tunnels":true,"Tunnels":[{"name":"wan1",)"
                                     R"("type":"pppoe","auto":true,"login":"canary-config-login",)"
                                     R"("passwd":"canary-config-\"word"}]}]}})");
        box.write("/var/log/messages", "first line\nlast line\n");
    }

    std::string run(const std::vector<std::string> &words, int status)
    {
        support::outcome seen = box.run(words);
        EXPECT_EQ(seen.status, status) << seen.err;
        EXPECT_EQ(seen.signal, 0);
        return seen.out + seen.err;
    }

    // Wherever the router has them, and in the log.
    void write_secrets()
    {
        box.write("/etc/default/ppp-peers",
                  "wan1 pppoe 1 canary-login canary-password vlan2 ac1 isp 1\n"
                  "#old pppoe 1 canary-old-login canary-old-password vlan2 ac1 isp 1\n"
                  "work l2tp 1 lo1 pw2 198.51.100.10 3\n"
                  "odd\tpptp\t1\tcanary-tab-login\tcanary-tab-password\t198.51.100.10 3\n");
        box.write("/etc/nvram/0",
                  "ethaddr=00:0A:EB:11:22:30\npin=canary-pin\nno equals canary-line\n");
        box.write("/etc/nvram/1", "SSID1=home\nWPAPSK1=canary-psk\nKey1Str1=canary-wep\n"
                                  "RADIUS_Key=canary-radius\nRADIUS_Acct_Key=canary-acct\n"
                                  "WscVendorPinCode=canary-wps\nApCliWPAPSK=canary-apcli\n"
                                  "WdsKey=canary-wds\n" +
                                      std::string(100, 'K') + "=canary-long-key\n");
        std::string dump = "export passwd='canary-env'\n";
        for (const char *path : {"/tmp/udhcpc-env", "/tmp/udhcpc-env-deconfig", "/tmp/ppp-up-env",
                                 "/tmp/ppp-down-env", "/tmp/hotplug_usb", "/etc/ppp/peers/wan1"})
            box.write(path, dump);
        box.write(
            "/var/log/messages",
            "pppd: user=\"canary-login\" password=\"canary-password\"\n"
            "pppd: user lo1, password pw2\nkey is canary-psk.\nold one canary-old-password\n" +
                std::string(40000, '.') + "canary-psk\n");
        box.write(
            "/var/run/state_link",
            R"({"state_links":[{"iface":"ppp1","name":"wan1","type":"pppoe","passwd":"canary-record"}]})");
    }

    static void expect_no_secret(const std::string &text)
    {
        for (const char *secret : {"canary", "lo1", "pw2"})
            EXPECT_EQ(text.find(secret), std::string::npos) << text;
    }
};

TEST_F(mctl_report, has_all_that_a_bug_report_needs)
{
    std::string text = run({"mctl", "report"}, 0);
    for (const char *part :
         {"mctl report, version 1", "/proc/uptime: ", "==== mctl status\n", "NAME       IFACE",
          "==== mctl check\n", "==== rules\nnat: 0 rules", "==== /etc/default/network-interfaces\n",
          "vlan2 wan 1 dhcp", "==== /etc/nvram/1\n", "==== /var/run/Config\n",
          "\"passwd\": \"***\"", "wan1 pppoe 1 ***\n", "==== /var/run/state_link\n",
          "first line\nlast line\n"})
        EXPECT_NE(text.find(part), std::string::npos) << part << "\n" << text;
}

TEST_F(mctl_report, and_status_hold_no_secret)
{
    write_secrets();
    for (const std::vector<std::string> &words : std::vector<std::vector<std::string>>{
             {"mctl", "report"}, {"mctl", "status"}, {"mctl", "status", "--json"}}) {
        std::string text = run(words, words[1] == "report" ? 0 : 1);
        expect_no_secret(text);
    }
}

TEST_F(mctl_report, is_no_longer_than_256_kb_and_prints_what_can_be_printed)
{
    std::string rules;
    for (int i = 0; i < 20000; i++)
        rules += "DROP \033[31m nonsense that is no rule at all\n";
    for (const char *list : {"rules", "masq", "vservers", "url_filter", "trigger_ports", "igmp"})
        box.write(std::string("/etc/default/") + list, rules);
    box.write("/etc/nvram/1", std::string(200000, 'x') + "\n");
    box.write("/var/log/messages", std::string(900000, 'l') + "\nlast line\n");
    std::string text = run({"mctl", "report"}, 0);
    EXPECT_LE(text.size(), 256u * 1024);
    EXPECT_NE(text.find("last line\n"), std::string::npos);
    EXPECT_EQ(text.find('\033'), std::string::npos);
}

TEST_F(mctl_report, of_a_router_without_anything_is_a_report)
{
    for (const char *path : {"/etc/default", "/etc/nvram", "/var/run/Config", "/var/log/messages"})
        box.remove(path);
    std::string text = run({"mctl", "report"}, 0);
    EXPECT_NE(text.find("could not look: /var/run/Config is missing"), std::string::npos) << text;
    EXPECT_NE(text.find("==== /etc/default/rules\n(not to be read)\n"), std::string::npos);
}

// ---- calls that fail

struct failing_kind {
    counted_call call;
    int error;
};

// What can keep it from learning a secret, or from hiding one.
// clang-format off
const failing_kind failing_kinds[] = {
    {CALL_malloc, ENOMEM},
    {CALL_calloc, ENOMEM},
    {CALL_realloc, ENOMEM},
    {CALL_open, EMFILE},
    {CALL_read, EIO},
};
// clang-format on

// With the first calls it learns the secrets, with the last ones it writes the records and the log.
// (The sweep fails those between, too, which start other programs and take their time.)
constexpr size_t FIRST_CALLS = 95;
constexpr size_t LAST_CALLS = 40;

// A report of which a call has failed is a report, or none is written at all.
TEST_F(mctl_report, tells_no_secret_whatever_fails)
{
    write_secrets();
    box.write("/etc/default/ppp-peers", "wan1 pppoe 1 canary-login pw2\xe9 vlan2 ac1 isp 1\n");
    box.write("/etc/nvram/1", "WPAPSK1=canary-psk\n");
    box.write("/var/log/messages",
              "user canary-login, password pw2\\xe9, keys canary-psk, canary-pin, "
              "canary-config-login\n");
    const std::vector<uint8_t> calls = box.run_failing({"mctl", "report"}, {}, {}).calls;
    size_t refused = 0;
    for (size_t i = 0; i < calls.size(); i++) {
        if (i == FIRST_CALLS)
            i = calls.size() - LAST_CALLS;
        for (const failing_kind &kind : failing_kinds) {
            if (kind.call != calls[i])
                continue;
            support::failing_plan plan = {static_cast<unsigned>(i) + 1, kind.error, FAILS_ONCE,
                                          PROGRAM_ITSELF, 0};
            support::outcome seen = box.run_failing({"mctl", "report"}, {}, plan).result;
            SCOPED_TRACE("call " + std::to_string(i + 1));
            expect_no_secret(seen.out + seen.err);
            bool is_refused =
                seen.status == 2 && seen.out.empty() &&
                seen.err.find("mctl: the report could not be written\n") != std::string::npos;
            EXPECT_TRUE(is_refused || (seen.status == 0 && !seen.out.empty()))
                << seen.status << seen.out << seen.err;
            refused += is_refused ? 1 : 0;
        }
    }
    EXPECT_GT(refused, 60U);
}

TEST_F(mctl_report, takes_no_words)
{
    EXPECT_EQ(run({"mctl", "report", "--json"}, 2), "usage: mctl report\n");
}

} // namespace
