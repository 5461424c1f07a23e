// What is told of a rule file that iptables-restore refuses.
#include "ctl/refused_rule.h"

#include "ctl/run_mctl.h"
#include "support/unit_test.h"

namespace
{

using refused_rule = support::unit_test;

constexpr char RULES[] = "/tmp/filter_rules";

struct refusal_row {
    const char *name;
    std::string rules; // of the file
    const char *messages;
    const char *settings; // their path
    const char *lines;
    std::string expected;
};

const std::string LONG(1100, 'x');

// clang-format off
const refusal_row rows[] = {
    {"no message", "-A INPUT -j DROP\n", "", "", "", ""},
    {"a message without a line", "-A INPUT -j DROP\n", "no memory\nat all", "", "", "    no memory\n    at all\n"},
    {"a message of line 0", "-A INPUT -j DROP\n", "iptables-restore: line 0 failed\n", "", "", "    iptables-restore: line 0 failed\n"},
    {"a message of a line that is not there", "-A INPUT -j DROP\n", "line 9 failed\n", "", "", "    line 9 failed\n"},
    {"a rule of no list", "*filter\n-A INPUT -j DROP\n", "iptables-restore: line 2 failed\n", "", "",
     "    iptables-restore: line 2 failed\n    /tmp/filter_rules:2: -A INPUT -j DROP\n"},
    {"the last line, without an end", "*filter\n-A INPUT -j DROP", "line: 2\n", "", "", "    line: 2\n    /tmp/filter_rules:2: -A INPUT -j DROP\n"},
    {"an empty line", "*filter\n\n-A INPUT -j DROP\n", "line 2 failed\n", "", "", "    line 2 failed\n    /tmp/filter_rules:2: \n"},
    {"the last of several lines told", "one\ntwo\nthree\n", "Bad argument `line'\nError occurred at line: 3\nTry `iptables-restore -h' for each line\n", "", "",
     "    Bad argument `line'\n    Error occurred at line: 3\n    Try `iptables-restore -h' for each line\n    /tmp/filter_rules:3: three\n"},
    {"no such file", "", "line 1 failed\n", "", "", "    line 1 failed\n"},
    {"a line that is too long to be shown", "-A INPUT " + LONG + "\nnext\n", "line 1 failed\n", "", "",
     "    line 1 failed\n    /tmp/filter_rules:1: -A INPUT " + LONG.substr(0, 1014) + "\n"},
    {"a rule of the user's, in INPUT", "-A INPUT -s 203.0.113.999 -j DROP\n", "line 1 failed\n", "/etc/default/rules", "# drop\nDROP a - 203.0.113.66 - - - - -\nDROP x - 203.0.113.999 - - - - -\n",
     "    line 1 failed\n    /tmp/filter_rules:1: -A INPUT -s 203.0.113.999 -j DROP\n    made of /etc/default/rules:3\n"},
    {"a rule of the user's, in FORWARD", "-A FORWARD -s 203.0.113.999 -j DROP\n", "line 1 failed\n", "/etc/default/rules", "DROP x - 203.0.113.999 - - - - -\nDROP y - 203.0.113.66 - - - - -\n",
     "    line 1 failed\n    /tmp/filter_rules:1: -A FORWARD -s 203.0.113.999 -j DROP\n    made of /etc/default/rules:1\n"},
    {"a URL", "-A FORWARD -m webstr --url ads.example.net -j DROP\n", "line 1 failed\n", "/etc/default/url_filter", "x.example.net always\nads.example.net always\n",
     "    line 1 failed\n    /tmp/filter_rules:1: -A FORWARD -m webstr --url ads.example.net -j DROP\n    made of /etc/default/url_filter:2\n"},
    {"a forward", "-A VSERVER -p tcp --dport 2222 -j DNAT --to-destination 192.168.1.256:22\n", "line 1 failed\n", "/etc/default/vservers", "web tcp 8080 80 192.168.1.20 - - - -\nssh tcp 2222 22 192.168.1.256 - - - -\n",
     "    line 1 failed\n    /tmp/filter_rules:1: -A VSERVER -p tcp --dport 2222 -j DNAT --to-destination 192.168.1.256:22\n    made of /etc/default/vservers:2\n"},
    {"a network to masquerade", "-A POSTROUTING -s 10.0.0.0/33 -j MASQUERADE\n", "line 1 failed\n", "/etc/default/masq", "lan 10.0.0.0/33 - - - - - - -\n",
     "    line 1 failed\n    /tmp/filter_rules:1: -A POSTROUTING -s 10.0.0.0/33 -j MASQUERADE\n    made of /etc/default/masq:1\n"},
    {"a trigger", "-A PREROUTING -p tcp --dport 6667x -j autofw\n", "line 1 failed\n", "/etc/default/trigger_ports", "chat 6667x tcp 113 tcp - - - -\n",
     "    line 1 failed\n    /tmp/filter_rules:1: -A PREROUTING -p tcp --dport 6667x -j autofw\n    made of /etc/default/trigger_ports:1\n"},
    {"a MAC address", "-A MACS -m mac --mac-source 02-00 -j ACCEPT\n", "line 1 failed\n", "/etc/default/macfilter_list", "02-00 always\n",
     "    line 1 failed\n    /tmp/filter_rules:1: -A MACS -m mac --mac-source 02-00 -j ACCEPT\n    made of /etc/default/macfilter_list:1\n"},
    {"an access", "-A H_ACCESS -s 198.51.100.999 -j ACCEPT\n", "line 1 failed\n", "/etc/default/httpd_access.conf", "HTTP vlan2 198.51.100.999 255.255.255.255 ACCEPT\n",
     "    line 1 failed\n    /tmp/filter_rules:1: -A H_ACCESS -s 198.51.100.999 -j ACCEPT\n    made of /etc/default/httpd_access.conf:1\n"},
    {"a list of another chain", "-A OUTPUT -s 203.0.113.999 -j DROP\n", "line 1 failed\n", "/etc/default/rules", "DROP x - 203.0.113.999 - - - - -\n",
     "    line 1 failed\n    /tmp/filter_rules:1: -A OUTPUT -s 203.0.113.999 -j DROP\n"},
    {"the first of equal entries", "-A INPUT -s 203.0.113.999 -j DROP\n", "line 1 failed\n", "/etc/default/rules", "DROP a - 203.0.113.999 - - - - -\nDROP b - 203.0.113.999 - - - - -\n",
     "    line 1 failed\n    /tmp/filter_rules:1: -A INPUT -s 203.0.113.999 -j DROP\n    made of /etc/default/rules:1\n"},
    {"an address that stands within another", "-A INPUT -s 10.0.0.1 -j DROP\n", "line 1 failed\n", "/etc/default/rules", "DROP b - 110.0.0.12 - - - - -\nDROP a - 10.0.0.1 - - - - -\n",
     "    line 1 failed\n    /tmp/filter_rules:1: -A INPUT -s 10.0.0.1 -j DROP\n    made of /etc/default/rules:2\n"},
    {"entries of which only flags and dashes are alike", "-A INPUT -s 203.0.113.9 1\n", "line 1 failed\n", "/etc/default/rules", "- 1 - - - 1 1\n",
     "    line 1 failed\n    /tmp/filter_rules:1: -A INPUT -s 203.0.113.9 1\n"},
    {"entries told apart by two figures", "-A VSERVER -p tcp --dport 22 -j ACCEPT\n", "line 1 failed\n", "/etc/default/vservers", "a tcp 80 - - - - -\nb tcp 22 - - - - -\n",
     "    line 1 failed\n    /tmp/filter_rules:1: -A VSERVER -p tcp --dport 22 -j ACCEPT\n    made of /etc/default/vservers:2\n"},
    {"a rule of two words", "-A INPUT\n", "line 1 failed\n", "/etc/default/rules", "INPUT\n", "    line 1 failed\n    /tmp/filter_rules:1: -A INPUT\n    made of /etc/default/rules:1\n"},
    {"a line of one word", "INPUT\n", "line 1 failed\n", "/etc/default/rules", "INPUT\n", "    line 1 failed\n    /tmp/filter_rules:1: INPUT\n"},
};
// clang-format on

TEST_F(refused_rule, is_shown_with_the_settings_that_it_was_made_of)
{
    for (const refusal_row &row : rows) {
        SCOPED_TRACE(row.name);
        world.remove(RULES);
        world.remove("/etc/default");
        if (!row.rules.empty())
            world.write(RULES, row.rules);
        if (row.settings[0] != '\0')
            world.write(row.settings, row.lines);
        ctl_test::told seen = ctl_test::outputs_of([&] {
            show_refused_rule(RULES, row.messages);
            return 0;
        });
        EXPECT_EQ(seen, (ctl_test::told{0, row.expected, ""}));
    }
}

} // namespace
