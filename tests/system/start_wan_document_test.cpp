// mcfg start_wan: the types of an entry, its tunnels, and running configurations of any shape.
#include "support/rows.h"
#include "system/wan_box.h"

#include <sys/stat.h>

namespace
{

class start_wan_document : public wan_box
{
};

constexpr char UDHCPC_ON_VLAN2[] =
    "-RSb -A 30 -i vlan2 -p /var/run/udhcpc.vlan2.pid -s /tmp/udhcpc";

TEST_F(start_wan_document, with_another_type_leaves_the_interface_alone)
{
    for (const char *type : {"\"pptp\"", "\"DHCP\"", "\"\"", "null", "5"}) {
        configure(std::string("[{\"iface\":\"vlan2\",\"type\":") + type + "}]");
        EXPECT_TRACE("", without(mcfg({"start_wan"}).trace, {"log"})) << type;
    }
}

TEST_F(start_wan_document, with_another_type_dials_nothing)
{
    configure(R"([{"iface":"vlan2","type":"l2tp","have_tunnels":true,"Tunnels":[
        {"type":"l2tp","name":"a","auto":true}, {"type":"pptp","name":"b","auto":true}]}])");
    EXPECT_TRACE(R"(
        log mcfg-start_wan_morvi: start
        log mcfg-start_wan_morvi: wan_array is array sizeof = 1
        log mcfg-start_wan: Start wan # 0
        log mcfg-start_wan: force = 0
        log mcfg-start_wan_morvi: Have tunnels on wan, start them
        log mcfg-start_tunnels: tun_array is array sizeof = 2
        log mcfg-start_tunnels: wan_type = l2tp
        log mcfg-start_tunnels: start tunnel #0
        log mcfg-start_wan_morvi: stop
        )",
                 mcfg({"start_wan"}).trace);
}

struct tunnel_members {
    const char *name;
    const char *members;
    const char *log; // behind "force", of the tags that begin with mcfg-start_
};

class start_wan_tunnels : public wan_box, public testing::WithParamInterface<tunnel_members>
{
};

TEST_P(start_wan_tunnels, are)
{
    configure(std::string("[{\"iface\":\"vlan2\",\"type\":\"none\",") + GetParam().members + "}]");
    EXPECT_EQ(rests(without(mcfg({"start_wan"}).trace, {"log mcfg-start_wan:"}), "log mcfg-start_"),
              std::string("wan_morvi: start, wan_morvi: wan_array is array sizeof = 1, ") +
                  GetParam().log + "wan_morvi: stop");
}

INSTANTIATE_TEST_SUITE_P(
    rows, start_wan_tunnels,
    testing::Values(
        tunnel_members{"none without the list", R"("have_tunnels":true)",
                       "wan_morvi: Have tunnels on wan, start them, "
                       "wan_morvi: Not get tunnels array, "},
        tunnel_members{"none in a list that is no array", R"("have_tunnels":true,"Tunnels":{})",
                       "wan_morvi: Have tunnels on wan, start them, "
                       "tunnels: Error on tun_array, "},
        tunnel_members{"none in a null list", R"("have_tunnels":true,"Tunnels":null)",
                       "wan_morvi: Have tunnels on wan, start them, "
                       "tunnels: Error on tun_array, "},
        tunnel_members{"none in an empty list", R"("have_tunnels":true,"Tunnels":[])",
                       "wan_morvi: Have tunnels on wan, start them, "
                       "tunnels: tun_array is array sizeof = 0, tunnels: wan_type = none, "},
        tunnel_members{"left alone when the entry has none", R"("have_tunnels":false,"Tunnels":[])",
                       ""},
        tunnel_members{"left alone when the entry does not say", R"("Tunnels":[])", ""},
        tunnel_members{"left alone when it says so in a text", R"("have_tunnels":"true")", ""}),
    support::row_name);

// ---- documents of other shapes

struct document {
    const char *name;
    const char *text; // null for no file
    const char *error;
};

class start_wan_refused : public wan_box, public testing::WithParamInterface<document>
{
};

TEST_P(start_wan_refused, document)
{
    if (GetParam().text != nullptr)
        box.write("/var/run/Config", GetParam().text);
    outcome started = mcfg({"start_wan", "0", "1"});
    EXPECT_EQ(started.err, "");
    EXPECT_TRACE(std::string("log mcfg-start_wan_morvi: start\nlog mcfg-start_wan_morvi: ") +
                     GetParam().error,
                 started.trace);
    EXPECT_EQ(box.link("/tmp/ppp/ip-up"), "/sbin/mcfg");
}

INSTANTIATE_TEST_SUITE_P(
    rows, start_wan_refused,
    testing::Values(document{"missing", nullptr, "Error on load file"},
                    document{"empty", "", "Error on load file"},
                    document{"cut off", R"({"Network":{"Wan":[)", "Error on load file"},
                    document{"binary", "\x7f\x45\x4c\x46\x01\xff\xfe", "Error on load file"},
                    document{"text", "\"Network\"", "Error on load file"},
                    document{"array", "[]", "Error on wan_array"},
                    document{"empty object", "{}", "Error on wan_array"},
                    document{"network no object", R"({"Network":[]})", "Error on wan_array"},
                    document{"no wan", R"({"Network":{"Lan":[]}})", "Error on wan_array"},
                    document{"null wan", R"({"Network":{"Wan":null}})", "Error on wan_array"},
                    document{"wan object", R"({"Network":{"Wan":{}}})", "Error on wan_array"}),
    support::row_name);

TEST_F(start_wan_document, that_is_a_directory_is_refused)
{
    box.mkdir("/var/run/Config");
    EXPECT_EQ(rests(mcfg({"start_wan"}).trace, "log mcfg-start_wan_morvi: "),
              "start, Error on load file");
}

TEST_F(start_wan_document, without_entries_starts_nothing)
{
    configure("[]");
    EXPECT_EQ(rests(mcfg({"start_wan"}).trace, "log mcfg-start_wan_morvi: "),
              "start, wan_array is array sizeof = 0, stop");
}

TEST_F(start_wan_document, with_entries_of_other_shapes_is_gone_through)
{
    configure(R"([null, 5, "vlan2", [], {}, true, {"iface":7,"type":[],"mac":{},"mtu":1.5},
        {"iface":"vlan2","type":"dhcp"}])");
    outcome started = mcfg({"start_wan", "0", "0"});
    EXPECT_EQ(started.err, "No such device\nNo such device\n"); // of interfaces without a name
    EXPECT_EQ(rests(started.trace, "log mcfg-start_wan: Start wan # "), "0, 1, 2, 3, 4, 5, 6, 7");
    EXPECT_EQ(rests(started.trace, "run udhcpc "), UDHCPC_ON_VLAN2);
}

TEST_F(start_wan_document, with_too_long_an_interface_name_is_cut)
{
    std::string name(500, 'v');
    configure("[{\"iface\":\"" + name + "\",\"type\":\"dhcp\"}]");
    name.resize(47);
    EXPECT_TRACE("run udhcpc -RSb -A 30 -i " + name + " -p /var/run/udhcpc." + name +
                     ".pid -s /tmp/udhcpc",
                 without(mcfg({"start_wan"}).trace, {"log"}));
}

TEST_F(start_wan_document, is_read_without_its_lock)
{
    configure(R"([{"iface":"vlan2","type":"dhcp"}])");
    box.write("/var/lock/Config.lock", "1");
    EXPECT_EQ(rests(mcfg({"start_wan"}).trace, "run udhcpc "), UDHCPC_ON_VLAN2);
    EXPECT_EQ(box.read("/var/lock/Config.lock"), "1");
}

// ---- what is around it

TEST_F(start_wan_document, starts_with_a_directory_for_all_to_write_as_far_as_the_umask_lets)
{
    configure("[]");
    box.remove("/tmp/ppp");
    mode_t mask = umask(002);
    umask(mask);
    mcfg({"start_wan", "0", "0"});
    EXPECT_EQ(box.mode("/tmp/ppp"), 0777U & ~mask);
}

TEST_F(start_wan_document, starts_with_files_in_the_way_of_the_links)
{
    configure("[]");
    box.remove("/tmp/ppp");
    box.write("/tmp/udhcpc", "mine");
    box.write("/tmp/ppp", "mine too");
    outcome started = mcfg({"start_wan", "0", "0"});
    EXPECT_EQ(started.err, "");
    EXPECT_EQ(box.read("/tmp/udhcpc"), "mine");
    EXPECT_EQ(box.read("/tmp/ppp"), "mine too");
}

TEST_F(start_wan_document, is_gone_through_when_everything_fails)
{
    configure(R"([{"iface":"vlan2","type":"dhcp","mtu":1400,"mac":"02:00:00:00:00:01",
        "have_tunnels":true,"Tunnels":[{"type":"pptp","name":"club","auto":true}]},
        {"iface":"eth7","type":"pppoe"}])");
    for (const char *rule : {"exit 1 ifconfig", "exit 1 udhcpc", "exit 1 pppd", "exit 1 led"})
        box.on(rule);
    outcome started = mcfg({"start_wan", "0", "0"});
    EXPECT_EQ(started.err, "vlan2: No such device\nvlan2: No such device\n"
                           "Start pppd\npppd: done\neth7: No such device\n");
    EXPECT_TRACE(R"(
        ioctl vlan2 SIOCSIFFLAGS 0x0 = ENODEV
        shell ifconfig vlan2 0.0.0.0 mtu 1400
        ioctl vlan2 SIOCSIFFLAGS 0x0 = ENODEV
        shell ifconfig vlan2 hw ether 02:00:00:00:00:01
        run udhcpc -RSb -A 30 -i vlan2 -p /var/run/udhcpc.vlan2.pid -s /tmp/udhcpc
        shell led yellow_wan on
        shell led green_wan off
        run pppd call club
        ioctl eth7 SIOCSIFFLAGS 0x1043 = ENODEV
        )",
                 without(started.trace, {"log"}));
}

} // namespace
