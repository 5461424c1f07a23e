#include "wan/peer.h"

#include "support/unit_test.h"
#include "util/text.h"

#include <sys/stat.h>

using support::private_world;

namespace
{

class peer : public support::unit_test
{
  protected:
    ppp_params params = {};
    int result = 0;

    void SetUp() override
    {
        unit_test::SetUp();
        previous_umask = umask(022);
    }

    void TearDown() override { umask(previous_umask); }

    void describe(const char *name, const char *type)
    {
        text_set(params.name, name);
        text_set(params.type, type);
    }

    // What start_pppd writes to standard error.
    std::string start()
    {
        return private_world::captured(
            2,
            [](void *context) {
                peer *test = static_cast<peer *>(context);
                test->result = start_pppd(&test->params, nullptr);
            },
            this);
    }

    static mode_t current_umask()
    {
        mode_t mask = umask(0);
        umask(mask);
        return mask;
    }

  private:
    mode_t previous_umask = 0;
};

constexpr char ANNOUNCED[] = "Start pppd\npppd: done\n";

TEST_F(peer, of_pppoe_has_its_plugin_head_and_ipparam_twice)
{
    describe("wan1", "pppoe");
    text_set(params.login, "home@isp.example.net");
    text_set(params.passwd, "first-secret");
    text_set(params.iface, "vlan2");
    text_set(params.ac, "ac1");
    text_set(params.service, "isp");
    EXPECT_EQ(start(), ANNOUNCED);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(world.read("/etc/ppp/peers/wan1"), world.fixture("wan/peers/wan1"));
    EXPECT_EQ(world.mode("/etc/ppp/peers/wan1"), 0600U);
    EXPECT_FALSE(world.exists("/etc/xl2tpd.conf"));
    EXPECT_TRACE("run pppd call wan1", world.trace());
}

TEST_F(peer, of_pptp_begins_with_its_name)
{
    describe("club", "pptp");
    text_set(params.login, "home@club.example.com");
    text_set(params.passwd, "fourth-secret");
    text_set(params.server, "203.0.113.10");
    EXPECT_EQ(start(), ANNOUNCED);
    EXPECT_EQ(world.read("/etc/ppp/peers/club"), world.fixture("wan/peers/club"));
    EXPECT_EQ(world.mode("/etc/ppp/peers/club"), 0600U);
    EXPECT_TRACE("run pppd call club", world.trace());
}

TEST_F(peer, of_l2tp_ends_without_compression_and_is_dialled_by_xl2tpd)
{
    describe("work", "l2tp");
    text_set(params.login, "home@work.example.com");
    text_set(params.passwd, "third-secret");
    text_set(params.server, "198.51.100.10");
    EXPECT_EQ(start(), ANNOUNCED);
    EXPECT_EQ(world.read("/etc/ppp/peers/work"), world.fixture("wan/peers/work"));
    EXPECT_EQ(world.mode("/etc/ppp/peers/work"), 0600U);
    EXPECT_EQ(world.read("/etc/xl2tpd.conf"), world.fixture("wan/xl2tpd.conf"));
    EXPECT_EQ(world.mode("/etc/xl2tpd.conf"), 0644U);
    EXPECT_TRACE("run xl2tpd", world.trace());
}

TEST_F(peer, of_any_other_type_has_the_common_lines_only)
{
    describe("modem", "3g");
    text_set(params.login, "guest");
    text_set(params.passwd, "guest");
    start();
    EXPECT_EQ(world.read("/etc/ppp/peers/modem"), world.fixture("wan/peers/modem"));
    EXPECT_TRACE("run pppd call modem", world.trace());
}

TEST_F(peer, with_an_empty_login_keeps_the_bare_words)
{
    describe("wan1", "l2tp");
    start();
    std::string text = world.read("/etc/ppp/peers/wan1");
    EXPECT_NE(text.find("hide-password\nuser \npassword \nlcp-echo-interval 30\n"),
              std::string::npos)
        << text;
    EXPECT_NE(world.read("/etc/xl2tpd.conf").find("\nlns = \n"), std::string::npos);
}

TEST_F(peer, texts_stay_one_value_each)
{
    describe("wan1", "pppoe");
    text_set(params.login, "joe \"x\" # $(reboot) %s%n");
    text_set(params.passwd, "back\\slash 'n' %d");
    text_set(params.service, "a \"b\"");
    start();
    std::string text = world.read("/etc/ppp/peers/wan1");
    EXPECT_NE(text.find(R"(
user "joe \"x\" # $(reboot) %s%n"
password "back\\slash 'n' %d"
)"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find("\nrp_pppoe_service \"a \\\"b\\\"\"\n"), std::string::npos) << text;
}

TEST_F(peer, second_l2tp_tunnel_overwrites_the_configuration_of_the_first)
{
    describe("first-with-a-long-name", "l2tp");
    text_set(params.server, "198.51.100.200");
    start();
    describe("work", "l2tp");
    text_set(params.server, "198.51.100.10");
    start();
    EXPECT_EQ(world.read("/etc/xl2tpd.conf"), world.fixture("wan/xl2tpd.conf"));
    EXPECT_TRUE(world.exists("/etc/ppp/peers/first-with-a-long-name"));
    EXPECT_TRACE("run xl2tpd (x2)", world.trace());
}

TEST_F(peer, file_that_is_there_is_rewritten_and_keeps_its_mode)
{
    world.write("/etc/ppp/peers/modem", std::string(5000, 'x'), 0640);
    describe("modem", "3g");
    text_set(params.login, "guest");
    text_set(params.passwd, "guest");
    start();
    EXPECT_EQ(world.read("/etc/ppp/peers/modem"), world.fixture("wan/peers/modem"));
    EXPECT_EQ(world.mode("/etc/ppp/peers/modem"), 0640U);
}

TEST_F(peer, umask_is_restored_after_success)
{
    umask(027);
    describe("work", "l2tp");
    start();
    EXPECT_EQ(current_umask(), 027u);
    EXPECT_EQ(world.mode("/etc/ppp/peers/work"), 0600U);
    EXPECT_EQ(world.mode("/etc/xl2tpd.conf"), 0640U);
}

TEST_F(peer, that_cannot_be_created_starts_nothing_and_restores_the_umask)
{
    world.remove("/etc/ppp/peers");
    umask(027);
    describe("work", "l2tp");
    EXPECT_EQ(start(), "/etc/ppp/peers/work: No such file or directory\n");
    EXPECT_EQ(result, -1);
    EXPECT_EQ(current_umask(), 027u);
    EXPECT_FALSE(world.exists("/etc/xl2tpd.conf"));
    EXPECT_TRACE("", world.trace());
}

TEST_F(peer, without_a_name_is_the_directory_itself)
{
    describe("", "pppoe");
    EXPECT_EQ(start(), "/etc/ppp/peers/: Is a directory\n");
    EXPECT_EQ(result, -1);
    EXPECT_TRACE("", world.trace());
}

TEST_F(peer, names_the_peer_file_when_the_l2tp_configuration_cannot_be_created)
{
    world.mkdir("/etc/xl2tpd.conf");
    describe("work", "l2tp");
    EXPECT_EQ(start(), "Start pppd\n/etc/ppp/peers/work: Is a directory\n");
    EXPECT_EQ(result, -1);
    EXPECT_TRUE(world.exists("/etc/ppp/peers/work"));
    EXPECT_TRACE("", world.trace());
}

TEST_F(peer, result_is_the_daemons_exit_status)
{
    world.on("exit 7 pppd call wan1");
    world.on("exit 3 xl2tpd");
    describe("wan1", "pppoe");
    EXPECT_EQ(start(), ANNOUNCED);
    EXPECT_EQ(result, 7);
    describe("work", "l2tp");
    EXPECT_EQ(start(), ANNOUNCED);
    EXPECT_EQ(result, 3);
}

TEST_F(peer, daemon_that_is_missing_is_its_own_business)
{
    world.remove_tool("/usr/sbin/pppd");
    world.remove_tool("/sbin/pppd");
    describe("wan1", "pppoe");
    EXPECT_EQ(start(), "Start pppd\npppd: No such file or directory\npppd: done\n");
    EXPECT_EQ(result, 2);
}

TEST_F(peer, fields_filled_to_the_brim_fit)
{
    std::string name(sizeof(params.name) - 1, 'n');
    std::string login(sizeof(params.login) - 1, 'l');
    std::string service(sizeof(params.service) - 1, 's');
    describe(name.c_str(), "pppoe");
    text_set(params.login, login.c_str());
    text_set(params.passwd, login.c_str());
    text_set(params.ac, service.c_str());
    text_set(params.service, service.c_str());
    text_set(params.iface, "123456789012345");
    start();
    std::string text = world.read("/etc/ppp/peers/" + name);
    EXPECT_NE(text.find("\nlinkname pppoe-" + name + "\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\nnic-123456789012345\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\nuser " + login + "\npassword " + login + "\n"), std::string::npos);
    EXPECT_TRACE("run pppd call " + name, world.trace());
}

TEST_F(peer, name_that_leads_elsewhere_is_refused)
{
    for (const char *name : {"../options.wan", "a/b", "/", "wan1/"}) {
        for (const char *type : {"pppoe", "l2tp", "3g"}) {
            SCOPED_TRACE(std::string(name) + " " + type);
            describe(name, type);
            EXPECT_EQ(start(), std::string(name) + ": Invalid argument\n");
            EXPECT_EQ(result, -1);
        }
    }
    EXPECT_EQ(world.list("/etc/ppp/peers"), std::vector<std::string>{});
    EXPECT_FALSE(world.exists("/etc/ppp/options.wan"));
    EXPECT_FALSE(world.exists("/etc/xl2tpd.conf"));
    EXPECT_TRACE("", world.trace());
}

TEST_F(peer, of_dots_is_a_directory)
{
    for (const char *name : {".", ".."}) {
        describe(name, "pppoe");
        EXPECT_EQ(start(), std::string("/etc/ppp/peers/") + name + ": Is a directory\n");
        EXPECT_EQ(result, -1);
    }
    EXPECT_TRACE("", world.trace());
}

TEST_F(peer, with_dots_in_its_name_stays_in_the_directory)
{
    describe("..wan", "pppoe");
    start();
    EXPECT_TRUE(world.exists("/etc/ppp/peers/..wan"));
    EXPECT_TRACE("run pppd call ..wan", world.trace());
}

// A daemon that is given half of its options would dial without those that bind it.
struct full_row {
    const char *path;
    const char *type;
};

constexpr full_row full_rows[] = {
    {"/etc/ppp/peers/wan1", "pppoe"},
    {"/etc/ppp/peers/wan1", "pptp"},
    {"/etc/ppp/peers/wan1", "l2tp"},
    {"/etc/xl2tpd.conf", "l2tp"},
};

TEST_F(peer, that_cannot_be_stored_whole_is_not_dialled)
{
    world.write("/dev/full", "");
    world.bind("/dev/full", "/dev/full");
    for (const full_row &row : full_rows) {
        SCOPED_TRACE(std::string(row.path) + " " + row.type);
        world.symlink("/dev/full", row.path);
        describe("wan1", row.type);
        EXPECT_EQ(start(), "Start pppd\n" + std::string(row.path) + ": No space left on device\n");
        EXPECT_EQ(result, -1);
        world.remove(row.path);
    }
    EXPECT_TRACE("", world.trace());
}

} // namespace
