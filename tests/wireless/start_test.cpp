#include "wireless/start.h"

#include "platform/nvram.h"
#include "support/unit_test.h"

#include <string>

namespace
{

class wifi : public support::unit_test
{
  public:
    void start_with(const std::string &settings)
    {
        world.write("/etc/nvram/1", settings);
        EXPECT_EQ(start_wifi("br0"), 0);
    }

  protected:
    void SetUp() override
    {
        support::unit_test::SetUp();
        nvram_close(1);
        for (const char *request : {"ra", "wds"})
            world.on(std::string("skip ioctl ") + request);
    }
};

// What is done before and after the part that a row is about.
constexpr char RADIO_ON[] = "shell iwpriv ra0 set RadioOn=1\n";
constexpr char RADIO_OFF[] = "shell iwpriv ra0 set RadioOn=0\n";
constexpr char AUTHENTICATOR[] = "shell rt2860apd\n";
constexpr char WPS[] = "shell /etc/init.d/scripts/wscd.rc start\n";

std::string link_up(const std::string &name)
{
    return "log mcfg-start_wifi: wds_iface = " + name + "\nioctl " + name +
           " SIOCSIFFLAGS 0x1043\nrun brctl addif br0 " + name + "\n";
}

std::string bss_up(const std::string &name)
{
    return "ioctl " + name + " SIOCSIFFLAGS 0x1043\nshell brctl addif br0 " + name + "\n";
}

struct start {
    const char *name;
    std::string settings;
    std::string trace; // before the radio is switched, when it is on
};

const std::string CLIENT_LINK = "shell iwpriv apcli0 set ApCliEnable=0\n"
                                "shell ifconfig apcli0 up\n"
                                "shell iwpriv apcli0 set ApCliEnable=1\n";
const std::string TWO_PEERS = "WdsList=00:11:22:33:44:55;66:77:88:99:AA:BB\n";
const std::string FOUR_LINKS =
    link_up("wds0") + link_up("wds1") + link_up("wds2") + link_up("wds3");

const start STARTS[] = {
    {"nothing set", "", ""},
    {"client link", "ApCliEnable=1\n", CLIENT_LINK},
    {"client link off", "ApCliEnable=0\n", ""},
    {"client link is compared as a text", "ApCliEnable=1 \n", ""},
    {"client link is no number", "ApCliEnable=01\n", ""},
    {"one BSS", "BssidNum=1\n", ""},
    {"two BSSs", "BssidNum=2\n", bss_up("ra1")},
    {"three BSSs leave the second alone", "BssidNum=3\n", bss_up("ra2")},
    {"four BSSs leave the second and third alone", "BssidNum=4\n", bss_up("ra3")},
    {"five BSSs", "BssidNum=5\n", ""},
    {"BSSs are compared as a text", "BssidNum=02\n", ""},
    {"WDS with two peers", "WdsEnable=2\n" + TWO_PEERS, link_up("wds0") + link_up("wds1")},
    {"WDS of the other kind", "WdsEnable=3\n" + TWO_PEERS, link_up("wds0") + link_up("wds1")},
    {"WDS of a kind without links", "WdsEnable=1\n" + TWO_PEERS, ""},
    {"WDS off", "WdsEnable=0\n" + TWO_PEERS, ""},
    {"WDS not set", TWO_PEERS, ""},
    {"WDS is compared as a text", "WdsEnable=2 \n" + TWO_PEERS, ""},
    {"WDS without peers", "WdsEnable=2\n", ""},
    {"WDS with an address that begins with a letter",
     "WdsEnable=2\nWdsList=AA:11:22:33:44:55;00:11:22:33:44:55\n", ""},
    {"WDS with a separator before the first peer", "WdsEnable=2\nWdsList=;00:11:22:33:44:55\n", ""},
    {"WDS with a blank before the first peer", "WdsEnable=2\nWdsList= 0\n", ""},
    {"WDS only looks at the first peer's beginning", "WdsEnable=2\nWdsList=0;x\n",
     link_up("wds0") + link_up("wds1")},
    {"WDS with empty places", "WdsEnable=2\nWdsList=0;;1;\n", link_up("wds0") + link_up("wds1")},
    {"WDS with one peer", "WdsEnable=2\nWdsList=0\n", link_up("wds0")},
    {"WDS with four peers", "WdsEnable=2\nWdsList=0;1;2;3\n", FOUR_LINKS},
    {"WDS with five peers", "WdsEnable=2\nWdsList=0;1;2;3;4\n", FOUR_LINKS},
    {"WDS with a peer longer than an address",
     "WdsEnable=2\nWdsList=" + std::string(400, '0') + ";1\n", link_up("wds0") + link_up("wds1")},
    {"WDS list beyond its room", "WdsEnable=2\nWdsList=" + std::string(511, '0') + ";1\n",
     link_up("wds0")},
    {"WDS list far beyond its room", "WdsEnable=2\nWdsList=0;1;" + std::string(9000, '2') + "\n",
     link_up("wds0") + link_up("wds1") + link_up("wds2")},
    {"all of them", "ApCliEnable=1\nBssidNum=2\nWdsEnable=2\nWdsList=0\n",
     CLIENT_LINK + bss_up("ra1") + link_up("wds0")},
};

TEST_F(wifi, starts_interfaces)
{
    for (const start &row : STARTS) {
        SCOPED_TRACE(row.name);
        world.clear_trace();
        start_with(row.settings);
        EXPECT_TRACE(row.trace + RADIO_ON + WPS, world.trace());
    }
}

struct ending {
    const char *name;
    const char *settings;
    std::string trace;
};

const ending ENDINGS[] = {
    {"radio on", "RadioOff=0\n", RADIO_ON},
    {"radio off", "RadioOff=1\n", RADIO_OFF},
    {"radio is compared as a text", "RadioOff=1 \n", RADIO_ON},
    {"radio switch of the driver is not read", "RadioOn=0\n", RADIO_ON},
    {"WPA", "AuthMode=WPA\n", RADIO_ON + std::string(AUTHENTICATOR)},
    {"WPA2", "AuthMode=WPA2\n", RADIO_ON + std::string(AUTHENTICATOR)},
    {"WPA and WPA2", "AuthMode=WPA1WPA2\n", RADIO_ON + std::string(AUTHENTICATOR)},
    {"802.1X", "IEEE8021X=1\n", RADIO_ON + std::string(AUTHENTICATOR)},
    {"802.1X beside a shared key", "AuthMode=WPAPSK\nIEEE8021X=1\n",
     RADIO_ON + std::string(AUTHENTICATOR)},
    {"shared key", "AuthMode=WPAPSK\nIEEE8021X=0\n", RADIO_ON},
    {"shared key of WPA2", "AuthMode=WPA2PSK\n", RADIO_ON},
    {"modes of several BSSs", "AuthMode=WPA;WPA2\n", RADIO_ON},
    {"802.1X of several BSSs", "IEEE8021X=1;1\n", RADIO_ON},
    {"case counts", "AuthMode=wpa\n", RADIO_ON},
    {"authenticator and radio off", "AuthMode=WPA\nRadioOff=1\n",
     RADIO_OFF + std::string(AUTHENTICATOR)},
};

TEST_F(wifi, starts_daemons)
{
    for (const ending &row : ENDINGS) {
        SCOPED_TRACE(row.name);
        world.clear_trace();
        start_with(row.settings);
        EXPECT_TRACE(row.trace + WPS, world.trace());
    }
}

TEST_F(wifi, goes_on_when_everything_fails)
{
    world.clear_rules();
    for (const char *tool : {"iwpriv", "ifconfig", "brctl", "rt2860apd"})
        world.on(std::string("exit 1 ") + tool);
    world.on("exit 1 /etc/init.d/scripts/wscd.rc");
    std::string said = support::private_world::captured(
        2,
        [](void *context) {
            static_cast<wifi *>(context)->start_with(
                "ApCliEnable=1\nBssidNum=4\nWdsEnable=3\nWdsList=0\nAuthMode=WPA\n");
        },
        static_cast<wifi *>(this));
    EXPECT_EQ(said, "ra3: No such device\nwds0: No such device\n");
    EXPECT_TRACE(R"(
        shell iwpriv apcli0 set ApCliEnable=0
        shell ifconfig apcli0 up
        shell iwpriv apcli0 set ApCliEnable=1
        ioctl ra3 SIOCSIFFLAGS 0x1043 = ENODEV
        shell brctl addif br0 ra3
        log mcfg-start_wifi: wds_iface = wds0
        ioctl wds0 SIOCSIFFLAGS 0x1043 = ENODEV
        run brctl addif br0 wds0
        shell iwpriv ra0 set RadioOn=1
        shell rt2860apd
        shell /etc/init.d/scripts/wscd.rc start
    )",
                 world.trace());
}

TEST_F(wifi, brings_real_interfaces_up)
{
    world.clear_rules();
    world.interface("ra1");
    start_with("BssidNum=2\n");
    EXPECT_NE(world.in_network({"ip", "-o", "link", "show", "ra1", "up"}), "");
}

TEST_F(wifi, starts_anew_with_what_the_store_holds_now)
{
    start_with("BssidNum=2\n");
    world.clear_trace();
    start_with("BssidNum=3\n");
    EXPECT_TRACE(bss_up("ra2") + RADIO_ON + WPS, world.trace());

    world.clear_trace();
    nvram_init(1); // as another left it
    start_with("BssidNum=4\n");
    EXPECT_TRACE(bss_up("ra3") + RADIO_ON + WPS, world.trace());
}

} // namespace
