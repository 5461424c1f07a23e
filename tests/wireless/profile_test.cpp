#include "wireless/profile.h"

#include "platform/nvram.h"
#include "support/texts.h"
#include "support/unit_test.h"

#include <string>
#include <sys/mount.h>

namespace
{

constexpr char PROFILE[] = "/etc/Wireless/RT2860/RT2860.dat";

class profile : public support::unit_test
{
  protected:
    void SetUp() override
    {
        support::unit_test::SetUp();
        nvram_close(1);
        nvram_close(2);
        world.interface("ra0");
    }

    std::string made_from(const std::string &settings)
    {
        world.write("/etc/nvram/1", settings);
        EXPECT_EQ(gen_config(nullptr, 1), 0);
        return world.read(PROFILE);
    }

    // The values of the lines of that key, each followed by "|".
    static std::string values_of(const std::string &text, const std::string &key)
    {
        std::string values;
        for (const std::string &line : support::lines_of(text)) {
            if (support::begins_with(line, key + "="))
                values += line.substr(key.size() + 1) + "|";
        }
        return values;
    }

    static std::string said_by_gen_config()
    {
        return support::private_world::captured(
            2, [](void *) { gen_config(nullptr, 1); }, nullptr);
    }
};

TEST_F(profile, of_the_example_router)
{
    world.copy_in(support::example_path("router"), "/");
    EXPECT_EQ(gen_config("br0", 1), 0);
    EXPECT_EQ(world.read(PROFILE), world.fixture("wireless/router.dat"));
}

TEST_F(profile, of_an_empty_store)
{
    EXPECT_EQ(gen_config("br0", 1), 0);
    EXPECT_EQ(world.read(PROFILE), world.fixture("wireless/unset.dat"));
}

// Every key holds "12" and its own name, those that are not NVRAM keys too: a number keeps the 12,
// a text keeps it all, and a fixed line neither.
TEST_F(profile, with_every_key_set)
{
    EXPECT_EQ(made_from(world.fixture("wireless/all-set.nvram")),
              world.fixture("wireless/all-set.dat"));
}

struct line {
    const char *name;
    const char *settings;
    const char *key;
    const char *values; // of all lines of that key, each followed by "|"
};

constexpr line LINES[] = {
    {"configured WPS", "WscConfigured=1\n", "WscConfStatus", "2|"},
    {"WPS configured otherwise", "WscConfigured=-7\n", "WscConfStatus", "2|"},
    {"WPS not configured", "WscConfigured=0\n", "WscConfStatus", "1|"},
    {"WPS not set", "", "WscConfStatus", "1|"},
    {"WPS no number", "WscConfigured=yes\n", "WscConfStatus", "1|"},
    {"WPS status is no key of NVRAM", "WscConfStatus=2\n", "WscConfStatus", "1|"},
    {"PIN", "WscVendorPinCode=12345670\n", "WscVendorPinCode", "12345670|"},
    {"no PIN leaves the line out", "WscVendorPinCode=\n", "WscVendorPinCode", ""},
    {"radio off", "RadioOff=1\n", "RadioOn", "0|"},
    {"radio off as a number", "RadioOff= 1x\n", "RadioOn", "0|"},
    {"radio on", "RadioOff=0\n", "RadioOn", "1|"},
    {"radio neither on nor off", "RadioOff=2\n", "RadioOn", "1|"},
    {"radio not set", "", "RadioOn", "1|"},
    {"radio switch is no key of NVRAM", "RadioOn=0\n", "RadioOn", "1|"},
    {"two BSSs", "BssidNum=2\nWmmCapable=1\n", "WmmCapable", "1;1|"},
    {"three BSSs", "BssidNum=3\nTxRate=0\n", "TxRate", "0;0;0|"},
    {"four BSSs", "BssidNum=4\nTxRate=9\n", "TxRate", "9;9;9;9|"},
    {"one BSS", "BssidNum=1\nWmmCapable=1\n", "WmmCapable", "1|"},
    {"no BSS", "BssidNum=0\nWmmCapable=1\n", "WmmCapable", "|"},
    {"fewer than no BSS", "BssidNum=-1\nWmmCapable=1\n", "WmmCapable", "|"},
    {"BSSs not set", "WmmCapable=1\n", "WmmCapable", "|"},
    {"a list of NVRAM counts as its first number", "BssidNum=2\nTxRate=5;6\n", "TxRate", "5;5|"},
    {"list not set", "BssidNum=2\n", "TxRate", "0;0|"},
    {"BSSs up to the room", "BssidNum=8\nTxRate=1\n", "TxRate", "1;1;1;1;1;1;1;1|"},
    {"BSSs past the room", "BssidNum=9\nTxRate=1\n", "TxRate", "1;1;1;1;1;1;1;1|"},
    {"far too many BSSs", "BssidNum=2147483647\nTxRate=1\n", "TxRate", "1;1;1;1;1;1;1;1|"},
    {"values past the room are left out whole", "BssidNum=4\nTxRate=-2147483648\n", "TxRate",
     "-2147483648|"},
    {"two-digit values", "BssidNum=6\nTxRate=10\n", "TxRate", "10;10;10;10;10|"},
    {"the count of BSSs stands twice", "BssidNum=2\n", "BssidNum", "2|2|"},
    {"the closing lines are empty", "SSID=x\nWPAPSK=x\nKey1Str=x\n", "SSID", "|"},
    {"fixed rate", "TurboRate=1\n", "TurboRate", "0|"},
    {"fixed antenna", "TxAntenna=1\n", "TxAntenna", "|"},
    {"number not set", "", "Channel", "0|"},
    {"number set to nothing", "Channel=\n", "Channel", "0|"},
    {"number with leading blanks and more behind", "Channel=  11 (auto)\n", "Channel", "11|"},
    {"number with a sign", "Channel=+6\n", "Channel", "6|"},
    {"no number", "Channel=auto\n", "Channel", "0|"},
    {"number beyond an integer", "Channel=99999999999\n", "Channel", "2147483647|"},
    {"text with everything", "SSID1= a=b;\"c\" %s%n \n", "SSID1", " a=b;\"c\" %s%n |"},
    {"last of a family", "SSID8=eighth\nSSID9=none\n", "SSID8", "eighth|"},
    {"nothing past a family", "SSID9=none\n", "SSID9", ""},
    {"first of the access lists", "AccessPolicy0=2\n", "AccessPolicy0", "2|"},
    {"last of the access lists", "AccessControlList7=a;b\n", "AccessControlList7", "a;b|"},
};

TEST_F(profile, has_lines)
{
    for (const line &row : LINES) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(values_of(made_from(row.settings), row.key), row.values);
    }
}

TEST_F(profile, keeps_a_long_text_whole)
{
    std::string passphrase(5000, 'p');
    EXPECT_EQ(values_of(made_from("WPAPSK1=" + passphrase + "\n"), "WPAPSK1"), passphrase + "|");
}

TEST_F(profile, of_a_store_that_is_no_text_has_all_lines)
{
    std::string junk;
    for (int i = 0; i < 2000; i++)
        junk += static_cast<char>(i * 7);
    EXPECT_EQ(made_from(junk), world.fixture("wireless/unset.dat"));
}

TEST_F(profile, replaces_the_one_before)
{
    world.write(PROFILE, std::string(10000, 'x'));
    EXPECT_EQ(made_from(""), world.fixture("wireless/unset.dat"));
}

constexpr char DRIVER_RELOADED[] = R"(
    shell rmmod rt2860v2_ap
    log gen_config: mode = 1\n
    log gen_config: RT2860_NVRAM = 0\n
    shell mkdir -p /etc/Wireless/RT2860
    shell modprobe rt2860v2_ap
    sleep 1
    ioctl ra0 SIOCSIFFLAGS 0x1043
)";

TEST_F(profile, is_written_while_the_driver_is_unloaded)
{
    gen_config(nullptr, 1);
    EXPECT_TRACE(DRIVER_RELOADED, world.trace());
}

TEST_F(profile, leaves_the_settings_closed)
{
    made_from("Channel=6\n");
    world.write("/etc/nvram/1", "Channel=7\n");
    EXPECT_STREQ(nvram_bufget(1, "Channel"), "7");
}

// The driver stays unloaded then: the guard is deliberate.
TEST_F(profile, of_another_section_is_not_written)
{
    world.write("/etc/nvram/2", "Channel=6\n");
    EXPECT_EQ(gen_config(nullptr, 2), 0);
    EXPECT_TRACE(R"(
        shell rmmod rt2860v2_ap
        log gen_config: mode = 2\n
        log gen_config: RT2860_NVRAM = 0\n
        shell mkdir -p /etc/Wireless/RT2860
    )",
                 world.trace());
    EXPECT_TRUE(world.exists("/etc/Wireless/RT2860"));
    EXPECT_FALSE(world.exists(PROFILE));

    // The section is left open: what it held when it was opened is what it has.
    world.write("/etc/nvram/2", "Channel=7\n");
    EXPECT_STREQ(nvram_bufget(2, "Channel"), "6");
}

TEST_F(profile, that_cannot_be_created_does_not_keep_the_driver_out)
{
    world.mkdir(PROFILE);
    EXPECT_EQ(said_by_gen_config(), "/etc/Wireless/RT2860/RT2860.dat: Is a directory\n");
    EXPECT_TRACE(DRIVER_RELOADED, world.trace());
}

// A disk with room for the profile of before and a little more. Half a profile ends before the
// keys, and might make an open network.
TEST_F(profile, that_cannot_be_stored_leaves_the_one_before)
{
    world.mkdir("/etc/Wireless/RT2860");
    world.write("/etc/nvram/1", "WPAPSK1=" + std::string(9000, 'p') + "\n");
    for (const char *before : {"SSID1=before\n", ""}) {
        ASSERT_EQ(mount("disk", "/etc/Wireless/RT2860", "tmpfs", 0, "size=8k"), 0);
        world.clear_trace();
        if (before[0] != '\0')
            world.write(PROFILE, before, 0600);
        EXPECT_EQ(said_by_gen_config(),
                  "/etc/Wireless/RT2860/RT2860.dat: No space left on device\n");
        EXPECT_EQ(world.exists(PROFILE) ? world.read(PROFILE) : "", before);
        EXPECT_FALSE(world.exists("/etc/Wireless/RT2860/RT2860.dat.new"));
        EXPECT_TRACE(DRIVER_RELOADED, world.trace());
        EXPECT_EQ(umount2("/etc/Wireless/RT2860", MNT_DETACH), 0);
    }
}

TEST_F(profile, keeps_its_mode)
{
    world.write(PROFILE, "", 0600);
    made_from("");
    EXPECT_EQ(world.mode(PROFILE), 0600U);
    EXPECT_FALSE(world.exists("/etc/Wireless/RT2860/RT2860.dat.new"));
}

// Not as a section that is empty: the driver would start without name and keys.
TEST_F(profile, of_a_section_that_cannot_be_read_is_the_one_before)
{
    world.write(PROFILE, "SSID1=before\n");
    world.mkdir("/etc/nvram/1");
    EXPECT_EQ(said_by_gen_config(), "/etc/nvram/1: Is a directory\n");
    EXPECT_EQ(world.read(PROFILE), "SSID1=before\n");
    EXPECT_TRACE(DRIVER_RELOADED, world.trace());
}

// Nor with what the driver does of itself.
TEST_F(profile, of_a_section_that_cannot_be_read_keeps_the_driver_out_where_there_is_none)
{
    world.mkdir("/etc/nvram/1");
    EXPECT_EQ(said_by_gen_config(), "/etc/nvram/1: Is a directory\n");
    EXPECT_FALSE(world.exists(PROFILE));
    EXPECT_TRACE(R"(
        shell rmmod rt2860v2_ap
        log gen_config: mode = 1\n
        log gen_config: RT2860_NVRAM = 0\n
        shell mkdir -p /etc/Wireless/RT2860
    )",
                 world.trace());
}

TEST_F(profile, goes_on_when_everything_fails)
{
    world.on("fail ENODEV ioctl ra0");
    for (const char *rule : {"exit 1 rmmod", "exit 1 mkdir", "exit 1 modprobe"})
        world.on(rule);
    world.mkdir("/etc/Wireless/RT2860");
    EXPECT_EQ(said_by_gen_config(), "ra0: No such device\n");
    EXPECT_EQ(world.read(PROFILE), world.fixture("wireless/unset.dat"));
}

} // namespace
