// What mctl says of its words, to the letter: its help, and what is wrong usage.
#include "ctl/run_mctl.h"

#include "support/unit_test.h"

#include <fcntl.h>
#include <unistd.h>

namespace
{

using ctl_test::run_mctl;
using ctl_test::told;

using mctl_words = support::unit_test;

constexpr char USAGE[] =
    R"(usage: mctl COMMAND [OPTION...]
  check [--root DIR] [--json]
      tell what the router will make of its settings
  status [--json]
      tell what is wanted, what is recorded and what is
  firewall LAN WAN LOGMODE
      rebuild the firewall, and lead links into the port forwards again
  heal [--dry-run]
      mend what is odd and can be mended safely
  report
      tell all that a bug report needs, without secrets
)";

constexpr char CHECK_USAGE[] = "usage: mctl check [--root DIR] [--json]\n";
constexpr char STATUS_USAGE[] = "usage: mctl status [--json]\n";
constexpr char HEAL_USAGE[] = "usage: mctl heal [--dry-run]\n";
constexpr char FIREWALL_USAGE[] = "usage: mctl firewall LAN WAN accept|drop|both|none\n";

struct words_row {
    std::vector<std::string> words;
    told expected;
};

// clang-format off
const words_row rows[] = {
    {{}, {2, "", USAGE}},
    {{"--help"}, {0, USAGE, ""}},
    {{"help"}, {0, USAGE, ""}},
    {{"help", "status"}, {0, USAGE, ""}},
    {{"-h"}, {2, "", std::string("mctl: no command \"-h\"\n") + USAGE}},
    {{"statu"}, {2, "", std::string("mctl: no command \"statu\"\n") + USAGE}},
    {{"STATUS"}, {2, "", std::string("mctl: no command \"STATUS\"\n") + USAGE}},
    {{""}, {2, "", std::string("mctl: no command \"\"\n") + USAGE}},
    {{"check", "--help"}, {0, "usage: mctl\n  check [--root DIR] [--json]\n      tell what the router will make of its settings\n", ""}},
    {{"status", "--help"}, {0, "usage: mctl\n  status [--json]\n      tell what is wanted, what is recorded and what is\n", ""}},
    {{"firewall", "--help"}, {0, "usage: mctl\n  firewall LAN WAN LOGMODE\n      rebuild the firewall, and lead links into the port forwards again\n", ""}},
    {{"heal", "--help"}, {0, "usage: mctl\n  heal [--dry-run]\n      mend what is odd and can be mended safely\n", ""}},
    {{"report", "--help"}, {0, "usage: mctl\n  report\n      tell all that a bug report needs, without secrets\n", ""}},
    {{"report", "--json"}, {2, "", "usage: mctl report\n"}},
    {{"status", "--jsn"}, {2, "", STATUS_USAGE}},
    {{"status", "--json", "--json"}, {2, "", STATUS_USAGE}},
    {{"status", "x", "--help"}, {2, "", STATUS_USAGE}},
    {{"heal", "now"}, {2, "", HEAL_USAGE}},
    {{"heal", "--dry-run", "now"}, {2, "", HEAL_USAGE}},
    {{"heal", ""}, {2, "", HEAL_USAGE}},
    {{"check", "--jsn"}, {2, "", CHECK_USAGE}},
    {{"check", "/"}, {2, "", CHECK_USAGE}},
    {{"check", "--root"}, {2, "", CHECK_USAGE}},
    {{"check", "--json", "--root"}, {2, "", CHECK_USAGE}},
    {{"check", "--root", "/", "x"}, {2, "", CHECK_USAGE}},
    {{"check", "--root", "/absent"}, {2, "", "mctl: /absent: no such directory\n"}},
    {{"check", "--root", "/absent", "--json"}, {2, "", "mctl: /absent: no such directory\n"}},
    {{"check", "--root", ""}, {2, "", "mctl: : no such directory\n"}},
    {{"firewall"}, {2, "", FIREWALL_USAGE}},
    {{"firewall", "br0", "vlan2"}, {2, "", FIREWALL_USAGE}},
    {{"firewall", "", "vlan2", "none"}, {2, "", FIREWALL_USAGE}},
    {{"firewall", "br0", "", "none"}, {2, "", FIREWALL_USAGE}},
    {{"firewall", "br0", "vlan2", ""}, {2, "", FIREWALL_USAGE}},
    {{"firewall", "br0", "vlan2", "None"}, {2, "", FIREWALL_USAGE}},
    {{"firewall", "br0", "vlan2", "none", "x"}, {2, "", FIREWALL_USAGE}},
};
// clang-format on

TEST_F(mctl_words, are_answered)
{
    for (const words_row &row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.words));
        EXPECT_EQ(run_mctl(row.words), row.expected);
    }
    EXPECT_EQ(world.trace(), "");
}

// Each option of check in each place, on a tree of its own.
TEST_F(mctl_words, of_check_may_stand_in_any_order)
{
    world.copy_in(MCFG_SOURCE_DIR "/examples/router", "/tree");
    const told text = run_mctl({"check", "--root", "/tree"});
    const told json = run_mctl({"check", "--root", "/tree", "--json"});
    EXPECT_EQ(text, (told{0,
                          "/etc/default/ppp-peers:2:auto: warning: never-dialled: it is not "
                          "dialled: PPPoE needs a vlan2 of type pppoe; write 0 as the third field, "
                          "or change the type of vlan2\n0 errors, 1 warning\n",
                          ""}));
    EXPECT_EQ(
        json,
        (told{0,
              "[\n  {\"file\": \"/etc/default/ppp-peers\", \"line\": 2, \"field\": \"auto\", "
              "\"severity\": \"warning\", \"code\": \"never-dialled\", \"text\": \"it is not "
              "dialled: PPPoE needs a vlan2 of type pppoe\", \"cure\": \"write 0 as the third "
              "field, or change the type of vlan2\"}\n]\n",
              ""}));
    EXPECT_EQ(run_mctl({"check", "--json", "--root", "/tree"}), json);
    EXPECT_EQ(run_mctl({"check", "--root", "/absent", "--root", "/tree"}), text);
    world.copy_in(MCFG_SOURCE_DIR "/examples/router", "/");
    EXPECT_EQ(run_mctl({"check"}), text);
    EXPECT_EQ(run_mctl({"check", "--json"}), json);
}

// Of a full disk or a reader that has gone.
TEST_F(mctl_words, that_cannot_be_written_are_an_error)
{
    world.write("/var/run/Config", R"({"Network":{"Lan":[],"Wan":[]}})");
    for (const char *command : {"check", "status"}) {
        told seen = run_mctl({command});
        int own = dup(STDOUT_FILENO);
        int closed = open("/", O_RDONLY | O_DIRECTORY); // nothing can be written to it
        fflush(stdout);
        dup2(closed, STDOUT_FILENO);
        std::string name = command;
        std::string err = support::private_world::captured(
            2,
            [](void *word) {
                char *argv[] = {const_cast<char *>("mctl"),
                                static_cast<std::string *>(word)->data(), nullptr};
                EXPECT_EQ(mctl_main(2, argv), 2);
            },
            &name);
        dup2(own, STDOUT_FILENO);
        close(own);
        close(closed);
        clearerr(stdout);
        EXPECT_EQ(err, "mctl: standard output: Bad file descriptor\n") << command;
        EXPECT_NE(seen.status, 2);
    }
}

} // namespace
