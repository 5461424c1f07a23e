// mcfg stop_wan: which entries are stopped, and how the DHCP client, the tunnels and the link are.
#include "support/rows.h"
#include "system/wan_box.h"

namespace
{

class stop_wan : public wan_box
{
  protected:
    // A running daemon with its pid file; the number as the trace shows it.
    std::string daemon(const std::string &pidfile, bool ignore_term = false)
    {
        last_daemon = box.bystander(ignore_term);
        box.write(pidfile, std::to_string(last_daemon) + "\n");
        return std::to_string(last_daemon);
    }

    pid_t last_daemon = 0;
};

TEST_F(stop_wan, of_the_example_router_ends_its_dhcp_client)
{
    configure_example();
    mcfg({"start_wan", "0", "0"});
    std::string client = daemon("/var/run/udhcpc.vlan2.pid");
    outcome stopped = mcfg({"stop_wan", "0", "0"});
    EXPECT_EQ(stopped.err, "");
    EXPECT_TRACE(R"(
        run killall ip-up
        run killall ip-down
        log mcfg-stop_wan_morvi: start
        log mcfg-stop_wan_morvi: wan_array is array sizeof = 2
        kill )" + client +
                     R"( SIGTERM
        log mcfg-stop_wan_morvi: Have tunnels on wan, stop them
        log mcfg-stop_tunnels: tun_array is array sizeof = 4
        log mcfg-stop_tunnels: stop tunnel #0
        log mcfg-stop_tunnels: pidfile for pppd: /var/run/ppp-pppoe-wan1.pid
        sleep 3
        log mcfg-stop_tunnels: stop tunnel #1
        log mcfg-stop_tunnels: pidfile for pppd: /var/run/ppp-pppoe-wan2.pid
        sleep 3
        log mcfg-stop_tunnels: stop tunnel #2
        run killall xl2tpd
        log mcfg-stop_tunnels: stop tunnel #3
        log mcfg-stop_tunnels: pidfile for pppd: /var/run/ppp-pptp-club.pid
        sleep 3
        log mcfg-wan_down: start
        log mcfg-wan_down: stop
        log mcfg-stop_wan_morvi: stop
        )",
                 stopped.trace);
    EXPECT_FALSE(box.is_running(last_daemon));
    EXPECT_FALSE(box.exists("/tmp/udhcpc"));
    EXPECT_EQ(box.link("/tmp/ppp/ip-up"), "/sbin/mcfg");
    EXPECT_EQ(box.link("/tmp/ppp/ip-down"), "/sbin/mcfg");
}

TEST_F(stop_wan, of_the_example_router_at_a_pppoe_provider_ends_its_pppd)
{
    configure_example(true);
    std::string pppd = daemon("/var/run/ppp-pppoe-wan1.pid");
    outcome stopped = mcfg({"stop_wan", "1", "0"});
    EXPECT_EQ(stopped.err, "");
    EXPECT_TRACE(R"(
        kill )" + pppd +
                     R"( SIGTERM
        sleep 3
        run killall xl2tpd
        sleep 3
        )",
                 without(stopped.trace, {"log"}));
    EXPECT_FALSE(box.is_running(last_daemon));
}

// ---- a static link, up and down

constexpr char STATIC_ENTRY[] = R"([{"iface":"vlan2","type":"static","ipaddr":"192.0.2.2",
    "netmask":"255.255.255.0","gateway":"192.0.2.1","metric":null}])";

TEST_F(stop_wan, of_a_static_entry_takes_the_interface_and_the_record_away)
{
    configure(STATIC_ENTRY);
    box.interface("vlan2");
    mcfg({"start_wan", "1", "0"});
    EXPECT_EQ(vlan2(), "up 192.0.2.2/24 broadcast 192.0.2.255");
    EXPECT_NE(routes(), "");
    outcome stopped = mcfg({"stop_wan", "1", "0"});
    EXPECT_EQ(stopped.err, "");
    EXPECT_TRACE(R"(
        log mcfg-stop_wan_morvi: start
        log mcfg-stop_wan_morvi: wan_array is array sizeof = 1
        shell iptables -t nat -D PREROUTING -i vlan2 -d 192.0.2.2 -j VSERVER
        ioctl vlan2 SIOCSIFFLAGS 0x0
        ioctl vlan2 SIOCSIFADDR 0.0.0.0
        log mcfg-stop_wan_morvi: stop
        )",
                 without(stopped.trace, {"log mcfg-wan_down", "log mcfg-get_link_state_ex",
                                         "log mcfg-remove_link_state_ex",
                                         "log mcfg-find_object_from_array_by_param"}));
    EXPECT_EQ(routes(), "");
    EXPECT_EQ(vlan2(), "down");
    EXPECT_EQ(box.read("/var/run/state_link"), "{\n   \"state_links\": []\n}");
    EXPECT_FALSE(box.exists("/var/lock/state_link.lock"));
}

TEST_F(stop_wan, twice_finds_no_record_the_second_time)
{
    configure(STATIC_ENTRY);
    box.interface("vlan2");
    mcfg({"start_wan", "1", "0"});
    mcfg({"stop_wan", "1", "0"});
    outcome stopped = mcfg({"stop_wan", "1", "0"});
    EXPECT_TRACE("", without(stopped.trace, {"log"}));
}

TEST_F(stop_wan, that_cannot_have_the_lock_leaves_the_link_up)
{
    configure(STATIC_ENTRY);
    box.interface("vlan2");
    mcfg({"start_wan", "1", "0"});
    box.write("/var/lock/state_link.lock", "1");
    std::string before = routes();
    outcome stopped = mcfg({"stop_wan", "1", "0"});
    EXPECT_EQ(rests(stopped.trace, "log mcfg-set_lock_on_file: "), "Can't lock file");
    EXPECT_EQ(routes(), before);
    EXPECT_NE(before, "");
}

// The lease came by an event; the stop undoes what that set up.
TEST_F(stop_wan, of_a_dhcp_entry_takes_the_leased_link_down)
{
    configure(R"([{"iface":"vlan2","type":"dhcp"}])");
    box.interface("vlan2");
    mcfg({"start_wan", "1", "0"});
    EXPECT_EQ(box.run({"/tmp/udhcpc", "bound"}, {{"interface", "vlan2"},
                                                 {"ip", "192.0.2.10"},
                                                 {"subnet", "255.255.255.0"},
                                                 {"router", "192.0.2.1"}})
                  .status,
              0);
    EXPECT_EQ(vlan2(), "up 192.0.2.10/24 broadcast 192.0.2.255");
    std::string client = daemon("/var/run/udhcpc.vlan2.pid");
    outcome stopped = mcfg({"stop_wan", "1", "0"});
    EXPECT_TRACE(R"(
        kill )" + client +
                     R"( SIGTERM
        shell iptables -t nat -D PREROUTING -i vlan2 -d 192.0.2.10 -j VSERVER
        ioctl vlan2 SIOCSIFFLAGS 0x0
        ioctl vlan2 SIOCSIFADDR 0.0.0.0
        )",
                 without(stopped.trace, {"log"}));
    EXPECT_EQ(vlan2(), "down");
    EXPECT_EQ(routes(), "");
    EXPECT_EQ(box.read("/var/run/state_link"), "{\n   \"state_links\": []\n}");
}

// ---- the DHCP client

constexpr char DHCP_ENTRY[] = R"([{"iface":"vlan2","type":"dhcp"}])";

TEST_F(stop_wan, sends_no_second_signal_to_a_client_that_lets_the_first_pass)
{
    configure(DHCP_ENTRY);
    std::string client = daemon("/var/run/udhcpc.vlan2.pid", true);
    outcome stopped = mcfg({"stop_wan", "1", "0"});
    EXPECT_TRACE("kill " + client + " SIGTERM", without(stopped.trace, {"log"}));
    EXPECT_TRUE(box.is_running(last_daemon));
}

TEST_F(stop_wan, kills_a_client_that_could_not_be_signalled)
{
    configure(DHCP_ENTRY);
    std::string client = daemon("/var/run/udhcpc.vlan2.pid");
    box.on("fail EPERM kill #1");
    outcome stopped = mcfg({"stop_wan", "1", "0"});
    EXPECT_TRACE("kill " + client + " SIGTERM = EPERM\nsleep 3\nkill " + client + " SIGKILL",
                 without(stopped.trace, {"log"}));
    EXPECT_FALSE(box.is_running(last_daemon));
}

TEST_F(stop_wan, tries_twice_when_the_client_is_gone)
{
    configure(DHCP_ENTRY);
    box.write("/var/run/udhcpc.vlan2.pid", "999999\n");
    outcome stopped = mcfg({"stop_wan", "1", "0"});
    EXPECT_TRACE(R"(
        kill 999999 SIGTERM = ESRCH
        sleep 3
        kill 999999 SIGKILL = ESRCH
        )",
                 without(stopped.trace, {"log"}));
}

TEST_F(stop_wan, waits_once_for_a_pid_file_that_never_comes)
{
    configure(DHCP_ENTRY);
    EXPECT_TRACE("sleep 3", without(mcfg({"stop_wan", "1", "0"}).trace, {"log"}));
}

TEST_F(stop_wan, sends_nothing_through_an_empty_pid_file)
{
    configure(DHCP_ENTRY);
    box.write("/var/run/udhcpc.vlan2.pid", "");
    EXPECT_EQ(rests(mcfg({"stop_wan", "1", "0"}).trace, "kill "), "");
}

// ---- which entries

// Every entry is known by the pid file that it is stopped through.
constexpr char THREE_ENTRIES[] = R"([{"iface":"vlan2","type":"dhcp","auto":false},
    {"iface":"eth7","type":"dhcp"}, {"iface":"eth8","type":"dhcp"}])";

struct selection {
    const char *name;
    std::vector<std::string> words; // behind stop_wan
    const char *stopped;            // pid files' numbers
    bool is_full;
};

class stop_wan_selection : public wan_box, public testing::WithParamInterface<selection>
{
};

TEST_P(stop_wan_selection, stops)
{
    configure(THREE_ENTRIES);
    box.write("/var/run/udhcpc.vlan2.pid", "1001");
    box.write("/var/run/udhcpc.eth7.pid", "1002");
    box.write("/var/run/udhcpc.eth8.pid", "1003");
    box.symlink("/sbin/mcfg", "/tmp/udhcpc");
    box.on("skip kill");
    std::vector<std::string> words = {"stop_wan"};
    words.insert(words.end(), GetParam().words.begin(), GetParam().words.end());
    outcome stopped = mcfg(words);
    EXPECT_EQ(stopped.err, "");
    EXPECT_EQ(rests(stopped.trace, "kill "), GetParam().stopped);
    EXPECT_EQ(rests(stopped.trace, "run "),
              GetParam().is_full ? "killall ip-up, killall ip-down" : "");
    EXPECT_EQ(box.exists("/tmp/udhcpc"), !GetParam().is_full);
    EXPECT_EQ(rests(stopped.trace, "log mcfg-stop_wan_morvi: "),
              "start, wan_array is array sizeof = 3, stop");
}

constexpr char FIRST_TWO[] = "1001 SIGTERM, 1002 SIGTERM";

INSTANTIATE_TEST_SUITE_P(
    rows, stop_wan_selection,
    testing::Values(selection{"no numbers mean all but the last", {}, FIRST_TWO, true},
                    selection{"a single number does not count", {"2"}, FIRST_TWO, true},
                    selection{"all but the last", {"0", "0"}, FIRST_TWO, true},
                    selection{"the second number has no effect", {"0", "1"}, FIRST_TWO, true},
                    selection{"a text is 0", {"x", "2"}, FIRST_TWO, true},
                    selection{"the first, automatic or not", {"1", "0"}, "1001 SIGTERM", false},
                    selection{"the second", {"2", "0"}, "1002 SIGTERM", false},
                    selection{"the last by its number", {"3", "0"}, "1003 SIGTERM", false},
                    selection{"past the end is an empty record", {"4", "0"}, "", false},
                    selection{"so is a negative number", {"-1", "0"}, "", false},
                    selection{"so is a huge one", {"99999999999999999999", "0"}, "", false},
                    selection{"and the lowest", {"-99999999999999999999", "0"}, "", false}),
    support::row_name);

// The link of an interface without a name is looked for, and not found.
TEST_F(stop_wan, past_the_end_takes_down_the_link_without_a_name)
{
    configure(DHCP_ENTRY);
    box.write("/var/run/state_link", R"({"state_links":[{"iface":"vlan2"}]})");
    outcome stopped = mcfg({"stop_wan", "2", "0"});
    EXPECT_EQ(stopped.err, "");
    EXPECT_EQ(rests(stopped.trace, "log mcfg-wan_down: "), "start,  Not get link on iface , stop");
    EXPECT_EQ(box.read("/var/run/state_link"), R"({"state_links":[{"iface":"vlan2"}]})");
}

TEST_F(stop_wan, of_all_leaves_a_single_entry_running)
{
    configure(DHCP_ENTRY);
    daemon("/var/run/udhcpc.vlan2.pid");
    EXPECT_TRACE(R"(
        run killall ip-up
        run killall ip-down
        log mcfg-stop_wan_morvi: start
        log mcfg-stop_wan_morvi: wan_array is array sizeof = 1
        log mcfg-stop_wan_morvi: stop
        )",
                 mcfg({"stop_wan"}).trace);
    EXPECT_TRUE(box.is_running(last_daemon));
}

TEST_F(stop_wan, of_no_entries_stops_nothing)
{
    configure("[]");
    EXPECT_EQ(rests(mcfg({"stop_wan"}).trace, "log mcfg-stop_wan_morvi: "),
              "start, wan_array is array sizeof = 0, stop");
}

// ---- tunnels

TEST_F(stop_wan, without_a_list_of_tunnels_says_so)
{
    configure(R"([{"type":"pppoe","have_tunnels":true}, {"have_tunnels":true,"Tunnels":{}},
        {"have_tunnels":false,"Tunnels":[{"type":"l2tp"}]}, {"have_tunnels":"true"}, {}])");
    outcome stopped = mcfg({"stop_wan", "0", "0"});
    EXPECT_EQ(rests(without(stopped.trace, {"log mcfg-wan_down"}), "log "),
              "mcfg-stop_wan_morvi: start, mcfg-stop_wan_morvi: wan_array is array sizeof = 5, "
              "mcfg-stop_wan_morvi: Have tunnels on wan, stop them, "
              "mcfg-stop_wan_morvi: Not get tunnels array, "
              "mcfg-stop_wan_morvi: Have tunnels on wan, stop them, "
              "mcfg-stop_tunnels: Error on tun_array, mcfg-stop_wan_morvi: stop");
    EXPECT_EQ(rests(stopped.trace, "log mcfg-wan_down: "),
              "start, stop, start, stop, start, stop, start, stop");
}

// ---- the document

struct document {
    const char *name;
    const char *text; // null for no file
    bool is_loaded;   // else it is an error
};

class stop_wan_document : public wan_box, public testing::WithParamInterface<document>
{
};

TEST_P(stop_wan_document, of_another_shape_stops_nothing)
{
    if (GetParam().text != nullptr)
        box.write("/var/run/Config", GetParam().text);
    box.symlink("/sbin/mcfg", "/tmp/udhcpc");
    outcome stopped = mcfg({"stop_wan", "0", "0"});
    EXPECT_EQ(stopped.err, "");
    EXPECT_TRACE(std::string("run killall ip-up\nrun killall ip-down\n"
                             "log mcfg-stop_wan_morvi: start\nlog mcfg-stop_wan_morvi: ") +
                     (GetParam().is_loaded ? "stop" : "Error on load file"),
                 stopped.trace);
    EXPECT_EQ(box.exists("/tmp/udhcpc"), !GetParam().is_loaded);
}

INSTANTIATE_TEST_SUITE_P(rows, stop_wan_document,
                         testing::Values(document{"missing", nullptr, false},
                                         document{"empty", "", false},
                                         document{"cut off", R"({"Network":{"Wan":[)", false},
                                         document{"binary", "\x7f\x45\x4c\x46\xff\xfe", false},
                                         document{"array", "[]", true},
                                         document{"empty object", "{}", true},
                                         document{"network no object", R"({"Network":7})", true},
                                         document{"null wan", R"({"Network":{"Wan":null}})", true},
                                         document{"wan object", R"({"Network":{"Wan":{}}})", true}),
                         support::row_name);

} // namespace
