#include "support/expect.h"
#include "support/router_box.h"
#include "support/world_root.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace
{

constexpr char STORE[] = "/etc/nvram/0";

constexpr char USAGE[] = R"(mmac: tool for getting ifaces MAC's
Usage: mmac <command> <params>
Commands:
    get - stdout result (MAC-address or another hardcoded data)
    set
Params:
    get|set:
        box|base|lan
        wan
        wlan
        pin
        sn
        hwrev
        countrycode
        flashspeed
        appex
)";

// The box with the tool in the program's place.
class mmac : public testing::Test
{
  protected:
    support::router_box box{support::program_of_build("mmac")};

    // Runs the tool over a store with this content, and makes sure of what never happens.
    support::outcome run(const std::string &store, std::vector<std::string> words)
    {
        box.write(STORE, store);
        words.insert(words.begin(), "mmac");
        support::outcome result = box.run(words);
        EXPECT_EQ(result.trace, "");
        EXPECT_EQ(result.signal, 0);
        return result;
    }
};

struct usage_error {
    std::vector<std::string> words;
    int status;
};

const usage_error USAGE_ERRORS[] = {
    {{}, 1},
    {{"-h"}, 0},
    {{"--help"}, 0},
    {{"help", "get", "lan"}, 0},
    {{"GET", "lan"}, 0},
    {{""}, 0},
    {{"get"}, 1},
    {{"get", "lan", "more"}, 1},
    {{"get", "nothing", "more"}, 1},
    {{"set"}, 1},
    {{"set", "lan"}, 1},
    {{"set", "nothing"}, 1},
    {{"set", "pin", "1", "2"}, 1},
    {{"get", "nothing"}, 0},
    {{"get", "LAN"}, 0},
    {{"get", ""}, 0},
    {{"get", "ethaddr"}, 0},
    {{"set", "nothing", "1"}, 0},
    {{"set", "ethaddr", "00:11:22:33:44:55"}, 0},
};

TEST_F(mmac, shows_its_usage)
{
    for (const usage_error &row : USAGE_ERRORS) {
        SCOPED_TRACE(testing::PrintToString(row.words));
        support::outcome result = run("ethaddr=00:11:22:33:44:55\n", row.words);
        EXPECT_EQ(result.status, row.status);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, USAGE);
        EXPECT_EQ(box.read(STORE), "ethaddr=00:11:22:33:44:55\n");
    }
}

struct query {
    const char *store;
    const char *parameter;
    const char *out;
    const char *err;
    int status = 0;
};

constexpr char BASE[] = "ethaddr=00:0a:eb:11:22:30\n";

const query QUERIES[] = {
    // Set: as it stands, an address without its quotes.
    {BASE, "lan", "00:0a:eb:11:22:30\n", ""},
    {BASE, "box", "00:0a:eb:11:22:30\n", ""},
    {BASE, "base", "00:0a:eb:11:22:30\n", ""},
    {"ethaddr=\"00:0a:eb:11:22:30\"\n", "lan", "00:0a:eb:11:22:30\n", ""},
    {"ethaddr=00:0a:eb:11:22:30\nwanmac=\"02:00:00:00:00:01\"\n", "wan", "02:00:00:00:00:01\n", ""},
    {"ethaddr=00:0a:eb:11:22:30\nwlanmac=02:00:00:00:00:02\n", "wlan", "02:00:00:00:00:02\n", ""},
    {"ethaddr=00:0a:eb:11:22:30\nwanmac=\"\"\n", "wan", "\n", ""},
    {"ethaddr=00:0a:eb:11:22:30\nwanmac=no address\n", "wan", "no address\n", ""},
    {"pin=12345670\n", "pin", "12345670\n", ""},
    {"sn=EX26110042\n", "sn", "EX26110042\n", ""},
    {"hwrev=A1\n", "hwrev", "A1\n", ""},
    {"countrycode=TR\n", "countrycode", "TR\n", ""},
    {"flashspeed=33\n", "flashspeed", "33\n", ""},
    {"appex=0\n", "appex", "0\n", ""},
    {"pin=\"12345670\"\n", "pin", "\"12345670\"\n", ""},
    {"sn= two  words %s \n", "sn", " two  words %s \n", ""},

    // Not set: counted from the base address.
    {BASE, "wan", "00:0A:EB:11:22:31\n", "cannot get wan directly, make it from box MAC\n"},
    {BASE, "wlan", "00:0A:EB:11:22:38\n", "cannot get wlan directly, make it from box MAC\n"},
    {"ethaddr=\"00:11:22:33:44:FF\"\n", "wan", "00:11:22:33:44:00\n",
     "cannot get wan directly, make it from box MAC\n"},
    {"ethaddr=00:11:22:33:44:FF\n", "wlan", "00:11:22:33:44:00\n",
     "cannot get wlan directly, make it from box MAC\n"},
    {"ethaddr=00:11:22:33:44:10\n", "wlan", "00:11:22:33:44:18\n",
     "cannot get wlan directly, make it from box MAC\n"},
    {"ethaddr=00:11:22:33:44:17\n", "wlan", "00:11:22:33:44:18\n",
     "cannot get wlan directly, make it from box MAC\n"},
    {"ethaddr=00:11:22:33:44:f8\n", "wlan", "00:11:22:33:44:00\n",
     "cannot get wlan directly, make it from box MAC\n"},
    {"ethaddr=00:11:22:33:44:55\nwanmac=\n", "wan", "00:11:22:33:44:56\n",
     "cannot get wan directly, make it from box MAC\n"},

    // A base address that is missing or none.
    {"", "lan", "", "cannot get base MAC addr: Bad address\ncannot get lan\n", 1},
    {"", "box", "", "cannot get base MAC addr: Bad address\ncannot get box\n", 1},
    {"", "base", "", "cannot get base MAC addr: Bad address\ncannot get base\n", 1},
    {"", "wan", "", "cannot get base MAC addr: Bad address\ncannot get wan\n", 1},
    {"", "wlan", "", "cannot get base MAC addr: Bad address\ncannot get wlan\n", 1},
    {"ethaddr=junk\n", "wan", "", "cannot get base MAC addr: Invalid argument\ncannot get wan\n",
     1},
    {"ethaddr=junk\n", "lan", "junk\n", "cannot get base MAC addr: Invalid argument\n"},
    {"wanmac=02:00:00:00:00:01\n", "wan", "02:00:00:00:00:01\n",
     "cannot get base MAC addr: Bad address\n"},

    // A text that is not set.
    {BASE, "pin", "", "cannot get pin\n", 1},
    {"pin=\n", "pin", "", "cannot get pin\n", 1},
    {BASE, "sn", "", "cannot get sn\n", 1},
    {BASE, "hwrev", "", "cannot get hwrev\n", 1},
    {BASE, "countrycode", "", "cannot get countrycode\n", 1},
    {BASE, "flashspeed", "", "cannot get flashspeed\n", 1},
    {BASE, "appex", "", "cannot get appex\n", 1},
};

TEST_F(mmac, gets)
{
    for (const query &row : QUERIES) {
        SCOPED_TRACE(std::string(row.parameter) + " from " + row.store);
        support::outcome result = run(row.store, {"get", row.parameter});
        EXPECT_EQ(result.status, row.status);
        EXPECT_EQ(result.out, row.out);
        EXPECT_EQ(result.err, row.err);
        EXPECT_EQ(box.read(STORE), row.store);
    }
}

struct change {
    const char *parameter;
    std::string value;
    std::string store; // after
    std::string err;
    int status = 0;
};

const change CHANGES[] = {
    {"lan", "02:00:00:00:00:01", "ethaddr=02:00:00:00:00:01\n", ""},
    {"box", "02:00:00:00:00:01", "ethaddr=02:00:00:00:00:01\n", ""},
    {"base", "02:00:00:00:00:01", "ethaddr=02:00:00:00:00:01\n", ""},
    {"wan", "02:00:00:00:00:01", "ethaddr=old\nwanmac=02:00:00:00:00:01\n", ""},
    {"wlan", "02:00:00:00:00:01", "ethaddr=old\nwlanmac=02:00:00:00:00:01\n", ""},
    {"pin", "12345670", "ethaddr=old\npin=12345670\n", ""},
    {"sn", "EX1", "ethaddr=old\nsn=EX1\n", ""},
    {"hwrev", "A1", "ethaddr=old\nhwrev=A1\n", ""},
    {"countrycode", "TR", "ethaddr=old\ncountrycode=TR\n", ""},
    {"flashspeed", "33", "ethaddr=old\nflashspeed=33\n", ""},
    {"appex", "1", "ethaddr=old\nappex=1\n", ""},

    // As given: an address is not rewritten, a text keeps its quotes.
    {"lan", "2:0:0:0:0:a", "ethaddr=2:0:0:0:0:a\n", ""},
    {"pin", "\"1 2\"", "ethaddr=old\npin=\"1 2\"\n", ""},
    {"pin", "", "ethaddr=old\npin=\n", ""},
    {"sn", " a=b %n ", "ethaddr=old\nsn= a=b %n \n", ""},

    // Not an address. One in quotes is refused, although NVRAM may hold it so.
    {"lan", "", "ethaddr=old\n", " is not valid MAC address\n", 1},
    {"lan", "junk", "ethaddr=old\n", "junk is not valid MAC address\n", 1},
    {"wan", "02:00:00:00:00", "ethaddr=old\n", "02:00:00:00:00 is not valid MAC address\n", 1},
    {"wlan", "\"02:00:00:00:00:01\"", "ethaddr=old\n",
     "\"02:00:00:00:00:01\" is not valid MAC address\n", 1},

    // What the store refuses.
    {"pin", "1\nsn=2", "ethaddr=old\n", "nvram set returned error (-22)\n", 1},
    {"lan", "02:00:00:00:00:01\nsn=2", "ethaddr=old\n", "nvram set returned error (-22)\n", 1},
    {"sn", std::string(70000, 's'), "ethaddr=old\n", "nvram set returned error (-28)\n", 1},
};

TEST_F(mmac, sets)
{
    for (const change &row : CHANGES) {
        SCOPED_TRACE(std::string(row.parameter) + " to " + row.value.substr(0, 40));
        support::outcome result = run("ethaddr=old\n", {"set", row.parameter, row.value});
        EXPECT_EQ(result.status, row.status);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, row.err);
        EXPECT_EQ(box.read(STORE), row.store);
    }
}

TEST_F(mmac, makes_the_store_of_a_new_router)
{
    support::outcome result = box.run({"mmac", "set", "sn", "EX1"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(box.read(STORE), "sn=EX1\n");
    EXPECT_EQ(box.mode(STORE), 0600U);
}

TEST_F(mmac, reports_a_store_that_cannot_be_used)
{
    box.write("/etc/nvram", "");
    support::outcome result = box.run({"mmac", "set", "sn", "EX1"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "/etc/nvram/0: Not a directory\nnvram set returned error (-20)\n");
    result = box.run({"mmac", "get", "sn"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "/etc/nvram/0: Not a directory\ncannot get sn\n");
}

TEST_F(mmac, bears_a_store_that_is_no_text)
{
    std::string junk(5000, '\0');
    for (size_t i = 0; i < junk.size(); i++)
        junk[i] = static_cast<char>(i * 13);
    support::outcome result = run(junk, {"get", "lan"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "cannot get base MAC addr: Bad address\ncannot get lan\n");
    result = run("sn=1\n" + std::string(70000, 'x'), {"get", "sn"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "/etc/nvram/0: File too large\ncannot get sn\n");
}

// Many invocations at once, as scripts start them.
TEST_F(mmac, loses_nothing_when_several_set_at_once)
{
    const std::vector<std::string> parameters = {"pin", "sn", "hwrev", "countrycode", "flashspeed"};
    for (int round = 0; round < 10; round++) {
        std::vector<pid_t> runs;
        for (const std::string &parameter : parameters)
            runs.push_back(box.start({"mmac", "set", parameter, std::to_string(round)}));
        for (pid_t run : runs)
            EXPECT_EQ(box.finish(run).status, 0);
        for (const std::string &parameter : parameters)
            EXPECT_EQ(box.run({"mmac", "get", parameter}).out, std::to_string(round) + "\n");
    }
}

} // namespace
