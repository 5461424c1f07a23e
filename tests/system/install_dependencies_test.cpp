// scripts/install-dependencies, for someone who may not install anything: on a machine that lacks
// everything, made of the few tools that the script itself needs.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <sys/wait.h>

namespace
{

namespace fs = std::filesystem;

class install_dependencies : public ::testing::Test
{
  protected:
    install_dependencies()
    {
        char name[] = "/tmp/tools-XXXXXX";
        if (mkdtemp(name) == nullptr)
            throw std::runtime_error("mkdtemp");
        tools = name;
        for (const char *tool :
             {"bash", "cat", "dirname", "env", "mktemp", "realpath", "rm", "sed"})
            fs::create_symlink(fs::path("/usr/bin") / tool, tools / tool);
        make("id", "echo 1000");
        make("dpkg-query", "exit 1");
    }

    ~install_dependencies() override { fs::remove_all(tools); }

    void make(const std::string &name, const std::string &line)
    {
        std::ofstream(tools / name) << "#!/bin/bash\n" << line << "\n";
        fs::permissions(tools / name, fs::perms::owner_all);
    }

    // What it says; it has to fail.
    std::string run()
    {
        std::string line = "PATH=" + tools.string() +
                           " " MCFG_SOURCE_DIR "/scripts/install-dependencies bench 2>&1";
        FILE *pipe = popen(line.c_str(), "r");
        if (pipe == nullptr)
            throw std::runtime_error("popen");
        std::string said;
        for (int c = fgetc(pipe); c != EOF; c = fgetc(pipe))
            said += static_cast<char>(c);
        EXPECT_EQ(WEXITSTATUS(pclose(pipe)), 1);
        return said;
    }

    fs::path tools;
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
