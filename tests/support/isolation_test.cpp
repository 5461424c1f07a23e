// That nothing is left behind, and that a user without rights can use the box as well.
#include "support/expect.h"
#include "support/router_box.h"
#include "support/world_root.h"

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <grp.h>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;

std::string text_of(const char *path)
{
    std::ifstream file(path);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

std::string network_of(support::router_box &box)
{
    return box.in_network({"readlink", "/proc/self/ns/net"});
}

// Whether any process of this machine is in a network.
bool is_in_use(std::string network)
{
    network = network.substr(0, network.find('\n'));
    std::error_code ignored;
    for (const fs::directory_entry &process : fs::directory_iterator("/proc"))
        if (fs::read_symlink(process.path() / "ns/net", ignored) == network)
            return true;
    return false;
}

bool is_free_soon(const std::string &network)
{
    for (int tries = 0; tries < 500; tries++, usleep(10000))
        if (!is_in_use(network))
            return true;
    return false;
}

TEST(isolation, nothing_is_left_when_the_box_ends)
{
    std::string mounts = text_of("/proc/self/mountinfo");
    std::string interfaces = text_of("/proc/self/net/dev_mcast");
    size_t descriptors = size_t(std::distance(fs::directory_iterator("/proc/self/fd"), {}));
    std::string network;
    {
        support::router_box box(BOX_PROBE);
        network = network_of(box);
        box.interface("eth2");
        box.bind("/usr/include", "/usr/include");
        box.bystander(true);
        box.start({"probe", "hang"});
        EXPECT_TRUE(is_in_use(network));
        EXPECT_EQ(text_of("/proc/self/mountinfo"), mounts);
    }
    EXPECT_FALSE(is_in_use(network));
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
    EXPECT_EQ(text_of("/proc/self/mountinfo"), mounts);
    EXPECT_EQ(text_of("/proc/self/net/dev_mcast"), interfaces);
    EXPECT_EQ(size_t(std::distance(fs::directory_iterator("/proc/self/fd"), {})), descriptors);
}

TEST(isolation, nothing_is_left_when_the_test_is_killed)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    pid_t child = fork();
    if (child == 0) {
        support::router_box box(BOX_PROBE);
        box.bystander(true);
        box.start({"probe", "hang"});
        std::string network = network_of(box);
        ssize_t written = write(ends[1], network.data(), network.size());
        for (;;)
            pause();
        _exit(written > 0);
    }
    char network[64] = "";
    ASSERT_GT(read(ends[0], network, sizeof network - 1), 0);
    EXPECT_TRUE(is_in_use(network));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    EXPECT_TRUE(is_free_soon(network));
    close(ends[0]);
    close(ends[1]);
}

// What the child below finds wrong, or "".
std::string use_box_without_rights(const std::string &probe)
{
    support::router_box box(probe);
    box.interface("eth2");
    box.on("gpio 0x800");
    box.write("/etc/default/x", "text");
    support::outcome o =
        box.run({"probe", "flags", "eth2", "0x1043", "address", "eth2", "10.0.0.1", "shell",
                 "echo 1 > /proc/sys/net/ipv4/ip_forward; led on > /tmp/out", "gpio", "2", "mknod",
                 "/dev/sda1", "0700", "8", "1", "write", "/var/run/y", "written"});
    std::ostringstream wrong;
    testing::AssertionResult same = support::same_lines("", "trace", R"(
        ioctl eth2 SIOCSIFFLAGS 0x1043
        ioctl eth2 SIOCSIFADDR 10.0.0.1
        shell echo 1 > /proc/sys/net/ipv4/ip_forward; led on > /tmp/out
        run led on
        ioctl /dev/gpio 2 -> 0x800
        mknod /dev/sda1 b 0700 8:1
    )",
                                                        o.trace);
    if (!same)
        wrong << same.message() << o.err;
    if (box.read("/proc/sys/net/ipv4/ip_forward") != "1\n")
        wrong << "ip_forward not set\n";
    if (box.read("/var/run/y") != "written" || box.read("/etc/default/x") != "text")
        wrong << "files differ\n";
    if (box.in_network({"ip", "-br", "address"}).find("10.0.0.1") == std::string::npos)
        wrong << "no address\n";
    if (geteuid() == 0)
        wrong << "still root\n";
    return wrong.str();
}

// Copies what the box starts to where any user can reach it.
std::string copy_built_files(const fs::path &to)
{
    support::built_files &files = support::files_of_build();
    for (std::string *path : {&files.program, &files.tool, &files.preload}) {
        fs::path copy = to / fs::path(*path).filename();
        fs::copy_file(*path, copy);
        *path = copy;
    }
    fs::copy_file(BOX_PROBE, to / "probe");
    return to / "probe";
}

TEST(isolation, a_user_without_rights_can_use_the_box)
{
    char directory[] = "/tmp/box_test_XXXXXX";
    ASSERT_NE(mkdtemp(directory), nullptr);
    fs::permissions(directory, fs::perms(0755));
    int report[2];
    ASSERT_EQ(pipe(report), 0);
    pid_t child = fork();
    if (child == 0) {
        std::string wrong;
        try {
            std::string probe = copy_built_files(directory);
            const unsigned nobody = 65534;
            if (geteuid() == 0 &&
                (setgroups(0, nullptr) != 0 || setresgid(nobody, nobody, nobody) != 0 ||
                 setresuid(nobody, nobody, nobody) != 0))
                throw std::runtime_error("cannot become another user");
            prctl(PR_SET_DUMPABLE, 1); // as after starting a program
            wrong = use_box_without_rights(probe);
        } catch (const std::exception &e) {
            wrong = e.what();
        }
        ssize_t written = write(report[1], wrong.data(), wrong.size());
        _exit(wrong.empty() && written == 0 ? 0 : 1);
    }
    close(report[1]);
    int status = -1;
    waitpid(child, &status, 0);
    char wrong[4096] = "";
    EXPECT_GE(read(report[0], wrong, sizeof wrong - 1), 0);
    EXPECT_EQ(status, 0) << wrong;
    close(report[0]);
    fs::remove_all(directory);
}

} // namespace
