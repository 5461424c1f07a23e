// mcfg start_wan: which entries are started, and how their interfaces are prepared.
#include "support/rows.h"
#include "system/wan_box.h"

namespace
{

class start_wan_entries : public wan_box
{
};

constexpr char THREE_ENTRIES[] = R"([{"iface":"vlan2","type":"dhcp"},
    {"iface":"eth7","type":"dhcp","auto":true}, {"iface":"eth8","type":"dhcp","auto":false}])";

struct selection {
    const char *name;
    std::vector<std::string> words; // behind start_wan
    const char *positions;          // as logged
    const char *force;              // as logged for each of them
    std::vector<std::string> started;
};

class start_wan_selection : public wan_box, public testing::WithParamInterface<selection>
{
};

TEST_P(start_wan_selection, starts)
{
    configure(THREE_ENTRIES);
    std::vector<std::string> words = {"start_wan"};
    words.insert(words.end(), GetParam().words.begin(), GetParam().words.end());
    outcome started = mcfg(words);
    EXPECT_EQ(started.err, "");
    std::string expected;
    for (const std::string &iface : GetParam().started)
        expected += "run udhcpc -RSb -A 30 -i " + iface + " -p /var/run/udhcpc." + iface +
                    ".pid -s /tmp/udhcpc\n";
    EXPECT_TRACE(expected, without(started.trace, {"log"}));
    EXPECT_EQ(rests(started.trace, "log mcfg-start_wan: Start wan # "), GetParam().positions);
    EXPECT_EQ(rests(started.trace, "log mcfg-start_wan: force = "), GetParam().force);
    EXPECT_EQ(rests(without(started.trace, {"log mcfg-start_wan_morvi: Start dhcp"}),
                    "log mcfg-start_wan_morvi: "),
              "start, wan_array is array sizeof = 3, stop");
}

const std::vector<std::string> automatic = {"vlan2", "eth7"};
const std::vector<std::string> all = {"vlan2", "eth7", "eth8"};

INSTANTIATE_TEST_SUITE_P(
    rows, start_wan_selection,
    testing::Values(
        selection{"no numbers mean all", {}, "0, 1, 2", "0, 0, 0", automatic},
        selection{"a single number does not count", {"1"}, "0, 1, 2", "0, 0, 0", automatic},
        selection{"all", {"0", "0"}, "0, 1, 2", "0, 0, 0", automatic},
        selection{"all by force", {"0", "1"}, "0, 1, 2", "1, 1, 1", all},
        selection{"any number but 0 is force", {"0", "-7"}, "0, 1, 2", "-7, -7, -7", all},
        selection{"the first", {"1", "0"}, "0", "0", {"vlan2"}},
        selection{"the second", {"2", "0"}, "1", "0", {"eth7"}},
        selection{"the third is not automatic", {"3", "0"}, "2", "0", {}},
        selection{"the third by force", {"3", "1"}, "2", "1", {"eth8"}},
        selection{"further words are ignored", {"3", "1", "x"}, "2", "1", {"eth8"}},
        selection{"a text is 0", {"x", "2"}, "0, 1, 2", "2, 2, 2", all},
        selection{"digits end at another character", {" 2nd", "+1."}, "1", "1", {"eth7"}},
        selection{"an empty text is 0", {"", ""}, "0, 1, 2", "0, 0, 0", automatic},
        selection{"past the end is an empty record", {"4", "1"}, "3", "1", {}},
        selection{"so is a negative number", {"-1", "1"}, "-2", "1", {}},
        selection{"so is a huge one", {"99999999999999999999", "0"}, "2147483646", "0", {}},
        selection{"and the lowest of all", {"-99999999999999999999", "0"}, "-2147483648", "0", {}}),
    support::row_name);

TEST_F(start_wan_entries, are_automatic_unless_they_say_false)
{
    configure(R"([{"iface":"eth1","type":"dhcp"}, {"iface":"eth2","type":"dhcp","auto":null},
        {"iface":"eth3","type":"dhcp","auto":"false"}, {"iface":"eth4","type":"dhcp","auto":0},
        {"iface":"eth5","type":"dhcp","auto":false}])");
    outcome started = mcfg({"start_wan", "0", "0"});
    EXPECT_EQ(rests(started.trace, "run udhcpc -RSb -A 30 -i "),
              "eth1 -p /var/run/udhcpc.eth1.pid -s /tmp/udhcpc, "
              "eth2 -p /var/run/udhcpc.eth2.pid -s /tmp/udhcpc, "
              "eth3 -p /var/run/udhcpc.eth3.pid -s /tmp/udhcpc, "
              "eth4 -p /var/run/udhcpc.eth4.pid -s /tmp/udhcpc");
}

TEST_F(start_wan_entries, are_passed_over_with_all_that_belongs_to_them)
{
    configure(R"([{"iface":"wimax0","type":"pppoe","auto":false,"mtu":1400,"mac":"x",
        "have_tunnels":true,"Tunnels":[{"type":"pppoe","name":"a","auto":true}]}])");
    outcome started = mcfg({"start_wan", "0", "0"});
    EXPECT_EQ(started.err, "");
    EXPECT_TRACE(R"(
        log mcfg-start_wan_morvi: start
        log mcfg-start_wan_morvi: wan_array is array sizeof = 1
        log mcfg-start_wan: Start wan # 0
        log mcfg-start_wan: force = 0
        log mcfg-start_wan_morvi: stop
        )",
                 started.trace);
}

// ---- the WiMAX modem

constexpr char WIMAX_BETWEEN[] = R"([{"iface":"vlan2","type":"dhcp"},
    {"iface":"wimax0","type":"dhcp"}, {"iface":"eth7","type":"dhcp"}])";

TEST_F(start_wan_entries, end_at_a_missing_wimax_modem)
{
    configure(WIMAX_BETWEEN);
    outcome started = mcfg({"start_wan", "0", "0"});
    EXPECT_EQ(started.err, "wimax0: No such device\n");
    EXPECT_TRACE(R"(
        log mcfg-start_wan_morvi: start
        log mcfg-start_wan_morvi: wan_array is array sizeof = 3
        log mcfg-start_wan: Start wan # 0
        log mcfg-start_wan: force = 0
        log mcfg-start_wan_morvi: Start dhcp wan
        run udhcpc -RSb -A 30 -i vlan2 -p /var/run/udhcpc.vlan2.pid -s /tmp/udhcpc
        log mcfg-start_wan: Start wan # 1
        log mcfg-start_wan: force = 0
        ioctl wimax0 SIOCSIFFLAGS 0x0 = ENODEV
        log start_wan: not have iface wimax0
        )",
                 started.trace);
}

TEST_F(start_wan_entries, take_a_wimax_modem_that_is_there_down_first)
{
    configure(WIMAX_BETWEEN);
    box.interface("wimax0");
    outcome started = mcfg({"start_wan", "0", "0"});
    EXPECT_EQ(started.err, "");
    EXPECT_TRACE(R"(
        run udhcpc -RSb -A 30 -i vlan2 -p /var/run/udhcpc.vlan2.pid -s /tmp/udhcpc
        ioctl wimax0 SIOCSIFFLAGS 0x0
        run udhcpc -RSb -A 30 -i wimax0 -p /var/run/udhcpc.wimax0.pid -s /tmp/udhcpc
        run udhcpc -RSb -A 30 -i eth7 -p /var/run/udhcpc.eth7.pid -s /tmp/udhcpc
        )",
                 without(started.trace, {"log"}));
}

TEST_F(start_wan_entries, end_at_a_wimax_modem_that_cannot_be_taken_down)
{
    configure(R"([{"iface":"wimax0","type":"dhcp"}, {"iface":"vlan2","type":"dhcp"}])");
    box.interface("wimax0");
    box.on("fail EPERM ioctl wimax0 SIOCSIFFLAGS");
    outcome started = mcfg({"start_wan", "0", "0"});
    EXPECT_EQ(started.err, "wimax0: Operation not permitted\n");
    EXPECT_TRACE("ioctl wimax0 SIOCSIFFLAGS 0x0 = EPERM", without(started.trace, {"log"}));
}

// ---- MTU and MAC

struct preparation {
    const char *name;
    const char *members; // of an entry for vlan2
    const char *trace;   // without the log
};

class start_wan_preparation : public wan_box, public testing::WithParamInterface<preparation>
{
};

TEST_P(start_wan_preparation, does)
{
    configure(std::string("[{\"iface\":\"vlan2\",") + GetParam().members + "}]");
    box.interface("vlan2");
    box.tool("/sbin/second");
    EXPECT_TRACE(GetParam().trace, without(mcfg({"start_wan"}).trace, {"log"}));
}

INSTANTIATE_TEST_SUITE_P(
    rows, start_wan_preparation,
    testing::Values(preparation{"mtu with the interface down", R"("mtu":1400)", R"(
            ioctl vlan2 SIOCSIFFLAGS 0x0
            shell ifconfig vlan2 0.0.0.0 mtu 1400
            )"},
                    preparation{"mac with the interface down", R"("mac":"02:00:00:AB:cd:ef")", R"(
            ioctl vlan2 SIOCSIFFLAGS 0x0
            shell ifconfig vlan2 hw ether 02:00:00:AB:cd:ef
            )"},
                    preparation{"mtu before mac", R"("mac":"02:00:00:00:00:01","mtu":1492)", R"(
            ioctl vlan2 SIOCSIFFLAGS 0x0
            shell ifconfig vlan2 0.0.0.0 mtu 1492
            ioctl vlan2 SIOCSIFFLAGS 0x0
            shell ifconfig vlan2 hw ether 02:00:00:00:00:01
            )"},
                    preparation{"nothing for null", R"("mac":null,"mtu":null)", ""},
                    preparation{"mtu that is no integer is 0", R"("mtu":"1400")", R"(
            ioctl vlan2 SIOCSIFFLAGS 0x0
            shell ifconfig vlan2 0.0.0.0 mtu 0
            )"},
                    preparation{"negative mtu as it is", R"("mtu":-1)", R"(
            ioctl vlan2 SIOCSIFFLAGS 0x0
            shell ifconfig vlan2 0.0.0.0 mtu -1
            )"},
                    preparation{"mac that is no text is empty", R"("mac":7)",
                                "ioctl vlan2 SIOCSIFFLAGS 0x0\nshell ifconfig vlan2 hw ether \n"},
                    preparation{"mac longer than its field, whole",
                                R"("mac":"02:00:00:00:00:01:02:03:04:05:06")", R"(
            ioctl vlan2 SIOCSIFFLAGS 0x0
            shell ifconfig vlan2 hw ether 02:00:00:00:00:01:02:03:04:05:06
            )"},
                    preparation{"mac with a second command is one word", R"("mac":"x; second #")",
                                R"(
            ioctl vlan2 SIOCSIFFLAGS 0x0
            shell ifconfig vlan2 hw ether 'x; second #'
            run ifconfig vlan2 hw ether 'x; second #'
            )"}),
    support::row_name);

TEST_F(start_wan_entries, with_shell_words_in_their_mac_run_no_second_command)
{
    box.tool("/sbin/second");
    for (const char *mac : {"';second;'", "$(second)", "`second`", "\\nsecond\\n", "x|second",
                            "\\\";second;\\\"", "x&&second", "x\\\\'; second"}) {
        configure(std::string("[{\"iface\":\"vlan2\",\"mac\":\"") + mac + "\"}]");
        outcome started = mcfg({"start_wan", "0", "0"});
        EXPECT_EQ(rests(started.trace, "run second"), "") << mac;
        EXPECT_NE(rests(started.trace, "run ifconfig vlan2 hw ether "), "") << mac;
    }
}

TEST_F(start_wan_entries, with_shell_words_in_their_interface_run_no_second_command)
{
    configure(R"([{"iface":"v;second","type":"static","mtu":1400,"mac":"02:00:00:00:00:01",
        "ipaddr":"192.0.2.2;second"}])");
    box.tool("/sbin/second");
    outcome started = mcfg({"start_wan", "0", "0"});
    EXPECT_EQ(rests(started.trace, "run second"), "") << started.trace;
    EXPECT_EQ(rests(started.trace, "shell ifconfig "),
              "'v;second' 0.0.0.0 mtu 1400, 'v;second' hw ether 02:00:00:00:00:01");
}

TEST_F(start_wan_entries, run_no_second_command_where_a_long_value_is_cut)
{
    box.tool("/sbin/second");
    std::string entries;
    for (size_t length = 210; length < 250; length++) {
        entries += entries.empty() ? "[" : ",";
        entries += "{\"iface\":\"vlan2\",\"mac\":\"" + std::string(length, 'a') + "';second;'\"}";
    }
    configure(entries + "]");
    outcome started = mcfg({"start_wan", "0", "0"});
    EXPECT_EQ(rests(started.trace, "run second"), "") << started.trace;
    EXPECT_NE(rests(started.trace, "shell ifconfig vlan2 hw ether "), "");
}

} // namespace
