// scripts/install-dependencies, for someone who may not install anything: on a machine that lacks
// everything, made of the few tools that the script itself needs.
#include "support/scratch.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>

namespace
{

namespace fs = std::filesystem;

class install_dependencies : public ::testing::Test
{
  protected:
    install_dependencies()
    {
        for (const char *tool :
             {"bash", "cat", "dirname", "env", "mktemp", "realpath", "rm", "sed"})
            fs::create_symlink(fs::path("/usr/bin") / tool, room.path() / tool);
        make("id", "echo 1000");
        make("dpkg-query", "exit 1");
    }

    void make(const std::string &name, const std::string &line)
    {
        room.write(name, "#!/bin/bash\n" + line + "\n");
        fs::permissions(room.path() / name, fs::perms::owner_all);
    }

    // What it says; it has to fail.
    std::string run()
    {
        support::said s =
            support::run_line("PATH=" + room.path().string() +
                              " " MCFG_SOURCE_DIR "/scripts/install-dependencies bench 2>&1");
        EXPECT_EQ(s.status, 1);
        return s.text;
    }

    support::scratch_directory room{"tools"};
};

constexpr char INSTALLING[] = "Installing: busybox iproute2 iptables strace time valgrind\n";
constexpr char FOR_ADMINISTRATOR[] =
    "install-dependencies: an administrator of this machine must run:\n"
    "  apt-get update && apt-get install --no-install-recommends busybox iproute2 iptables "
    "strace time valgrind\n";

TEST_F(install_dependencies, tells_what_an_administrator_must_run)
{
    EXPECT_EQ(run(), std::string(INSTALLING) + FOR_ADMINISTRATOR);
}

TEST_F(install_dependencies, tells_it_when_sudo_does_not_help)
{
    make("sudo", "echo 'sorry, not you'; exit 1");
    EXPECT_EQ(run(), std::string(INSTALLING) +
                         "sorry, not you\ninstall-dependencies: apt-get update failed\n" +
                         FOR_ADMINISTRATOR);
}

} // namespace
