// lab/stand-ins/iptables-restore, the translator of the router's rule dialect: what it changes, and
// that it changes nothing else. With this machine's shell and tools, and with those of BusyBox,
// which run it on the emulated router.
#include "support/rows.h"
#include "support/scratch.h"

#include <gtest/gtest.h>
#include <stdexcept>
#include <string>

namespace
{

constexpr char TRANSLATOR[] = MCFG_SOURCE_DIR "/lab/stand-ins/iptables-restore";

std::string output_of(const std::string &line)
{
    support::said s = support::run_line(line);
    if (s.status != 0)
        throw std::runtime_error(line + ": failed");
    return s.text;
}

std::string translated(const std::string &shell, const std::string &rules)
{
    return output_of(shell + " " + TRANSLATOR + " --translate <<'END'\n" + rules + "END\n");
}

// A BusyBox that finds its own awk and nothing else.
std::string busybox_shell()
{
    return "dir=$(mktemp -d) && trap 'rm -r $dir' EXIT && busybox=$(command -v busybox) && "
           "ln -s $busybox $dir/awk && ln -s $busybox $dir/sh && PATH=$dir $dir/sh";
}

struct dialect_case {
    const char *name;
    const char *rule;
    const char *today; // null when it stays as it is
};

class rule_dialect : public testing::TestWithParam<dialect_case>
{
  protected:
    static std::string expected()
    {
        const dialect_case &row = GetParam();
        return std::string(row.today != nullptr ? row.today : row.rule) + "\n";
    }
};

TEST_P(rule_dialect, is_translated)
{
    EXPECT_EQ(translated("sh", std::string(GetParam().rule) + "\n"), expected());
}

TEST_P(rule_dialect, is_translated_by_busybox)
{
    EXPECT_EQ(translated(busybox_shell(), std::string(GetParam().rule) + "\n"), expected());
}

INSTANTIATE_TEST_SUITE_P(
    rules, rule_dialect,
    testing::Values(
        dialect_case{"not_behind_an_option", "-A FORWARD -i vlan2 -o ! vlan2 -j MINIUPNPD",
                     "-A FORWARD -i vlan2 ! -o vlan2 -j MINIUPNPD"},
        dialect_case{"not_behind_other_options",
                     "-A FORWARD -s ! 10.0.0.1 -p ! tcp --dport ! 80 -j DROP",
                     "-A FORWARD ! -s 10.0.0.1 ! -p tcp ! --dport 80 -j DROP"},
        dialect_case{"not_before_an_option_is_today_s", "-A INPUT ! -i br0 -j SECURITY", nullptr},
        dialect_case{"range", "-A INPUT  -p tcp --src-range 10.0.0.1-10.0.0.9 --dport 22 -j DROP",
                     "-A INPUT -p tcp -m iprange --src-range 10.0.0.1-10.0.0.9 --dport 22 -j DROP"},
        dialect_case{"two_ranges_need_one_match",
                     "-A INPUT --src-range 1.0.0.1-1.0.0.2 --dst-range 2.0.0.1-2.0.0.2 -j DROP",
                     "-A INPUT -m iprange --src-range 1.0.0.1-1.0.0.2 --dst-range 2.0.0.1-2.0.0.2 "
                     "-j DROP"},
        dialect_case{"range_with_its_match", "-A INPUT -m iprange --src-range 1.0.0.1-1.0.0.2 -j X",
                     nullptr},
        dialect_case{"time",
                     "-A MACS -m mac --mac-source 02:00:00:00:00:0B -m time --timestart 22:00 "
                     "--timestop 06:00 --days  Sun,Mon -j DROP",
                     "-A MACS -m mac --mac-source 02:00:00:00:00:0B -m time --kerneltz "
                     "--timestart 22:00 --timestop 06:00 --weekdays Sun,Mon -j DROP"},
        dialect_case{"days_without_time", "-A MACS --days Mon -j DROP", nullptr},
        dialect_case{"url", "-I FORWARD -p tcp -m webstr --url ads.example.net -j DROP",
                     "-I FORWARD -p tcp -m string --algo bm --string ads.example.net -j DROP"},
        dialect_case{"url_and_time",
                     "-I FORWARD -p tcp  -m webstr --url x.example -m time --timestart 08:00 "
                     "--timestop 17:30 --days  Mon -j DROP",
                     "-I FORWARD -p tcp -m string --algo bm --string x.example -m time --kerneltz "
                     "--timestart 08:00 --timestop 17:30 --weekdays Mon -j DROP"},
        dialect_case{"other_option_of_webstr", "-I FORWARD -p tcp -m webstr --host x -j DROP",
                     nullptr},
        dialect_case{"trigger",
                     "-A PREROUTING -p tcp -i br0 --dport 6667:6667 -j autofw --related-proto tcp "
                     "--related-dport 113-113 --related-to 114-115",
                     "-A PREROUTING -p tcp -i br0 --dport 6667:6667 -m comment --comment "
                     "\"autofw tcp 113-113 to 114-115\""},
        dialect_case{"trigger_with_a_port_that_is_none",
                     "-A PREROUTING -p tcp -j autofw --related-proto tcp --related-dport x-x "
                     "--related-to x-x",
                     nullptr},
        dialect_case{"trigger_with_a_port_too_large",
                     "-A PREROUTING -p tcp -j autofw --related-proto tcp --related-dport 1-65536 "
                     "--related-to 1-65536",
                     nullptr},
        dialect_case{"trigger_with_ports_the_wrong_way",
                     "-A PREROUTING -p tcp -j autofw --related-proto tcp --related-dport 9-8 "
                     "--related-to 9-8",
                     nullptr},
        dialect_case{"trigger_with_another_protocol",
                     "-A PREROUTING -p tcp -j autofw --related-proto icmp --related-dport 1-1 "
                     "--related-to 1-1",
                     nullptr},
        dialect_case{"trigger_with_too_few_options",
                     "-A PREROUTING -p tcp -j autofw --related-proto tcp --related-dport 1-1",
                     nullptr},
        dialect_case{"trigger_with_more_options",
                     "-A PREROUTING -p tcp -j autofw --related-proto tcp --related-dport 1-1 "
                     "--related-to 1-1 --more",
                     nullptr},
        dialect_case{"two_blanks_stay", "-A FORWARD  -s 10.0.0.2 -j DROP", nullptr},
        dialect_case{"quoted_text_is_no_option",
                     "-A logdrop -o ! vlan2 -j LOG --log-prefix \"DROP -o ! x \"",
                     "-A logdrop ! -o vlan2 -j LOG --log-prefix \"DROP -o ! x \""},
        dialect_case{"other_lines", "*filter\n:INPUT ACCEPT [0:0]\n:80\n -j DROP -o ! x\n# -o ! y",
                     nullptr}),
    support::row_name);

TEST(rule_dialect_file, that_is_missing_is_an_error)
{
    std::string line = std::string(TRANSLATOR) + " /nowhere/rules 2>/dev/null; echo $?";
    std::string status = output_of(line);
    EXPECT_NE(status, "0\n");
}

} // namespace
