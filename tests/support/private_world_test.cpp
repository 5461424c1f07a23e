// The private world around the test process: linked with the unit tests' main().
#include "support/expect.h"
#include "support/private_world.h"

#include <arpa/inet.h>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

namespace
{

using support::private_world;

TEST(private_world, plays_and_records_the_calls_of_this_process)
{
    private_world &world = private_world::here();
    openlog("mcfg-x", 0, 0);
    syslog(0, "value = %x\n", 0x800);
    closelog();
    EXPECT_EQ(sleep(45), 0U);
    EXPECT_EQ(system("led green_wan on"), 0);
    EXPECT_EQ(mknod("/dev/sda1", S_IFBLK | 0700, makedev(8, 1)), 0);
    EXPECT_EQ(kill(0, SIGTERM), 0);
    EXPECT_TRACE(R"(
        log mcfg-x: value = 800\n
        sleep 45
        shell led green_wan on
        mknod /dev/sda1 b 0700 8:1
        kill 0 SIGTERM
    )",
                 world.trace());
    EXPECT_EQ(world.mode("/dev/sda1"), 0700U);
}

TEST(private_world, is_another_file_system)
{
    private_world &world = private_world::here();
    EXPECT_FALSE(world.exists("/home"));
    world.write("/etc/default/x", "text", 0640);
    std::ifstream file("/etc/default/x");
    std::string text;
    file >> text;
    EXPECT_EQ(text, "text");
    EXPECT_EQ(world.mode("/etc/default/x"), 0640U);
    EXPECT_EQ(getenv("HOME"), nullptr);
}

// After the test above, whatever the order.
class private_world_again : public testing::Test
{
};

TEST_F(private_world_again, starts_clean)
{
    private_world &world = private_world::here();
    for (int round = 0; round < 2; round++) {
        EXPECT_FALSE(world.exists("/etc/default/x"));
        EXPECT_FALSE(world.exists("/shown"));
        EXPECT_EQ(world.trace(), "");
        EXPECT_EQ(world.in_network({"ip", "-o", "link"}).find("eth2"), std::string::npos);
        EXPECT_EQ(sleep(1), 0U);

        world.write("/etc/default/x", "text");
        world.interface("eth2");
        world.bind("/usr/include", "/shown");
        world.on("fail EPERM sleep");
        pid_t other = world.bystander();
        EXPECT_TRUE(world.is_running(other));
        EXPECT_TRUE(world.exists("/shown/stdio.h"));
        EXPECT_TRUE(world.exists("/etc/default/x"));
        world.clear();
        EXPECT_FALSE(world.is_running(other));
    }
}

TEST(private_world, has_a_real_network)
{
    private_world &world = private_world::here();
    world.interface("br0");
    int descriptor = socket(AF_INET, SOCK_DGRAM, 0);
    ifreq request = {};
    memcpy(request.ifr_name, "br0", 4);
    request.ifr_flags = 0x1043;
    EXPECT_EQ(ioctl(descriptor, SIOCSIFFLAGS, &request), 0);
    EXPECT_EQ(ioctl(descriptor, SIOCGIFADDR, &request), -1);
    EXPECT_EQ(errno, EADDRNOTAVAIL);
    close(descriptor);
    EXPECT_TRACE(R"(
        ioctl br0 SIOCSIFFLAGS 0x1043
        ioctl br0 SIOCGIFADDR = EADDRNOTAVAIL
    )",
                 world.trace());
    EXPECT_NE(world.in_network({"ip", "-o", "link", "show", "br0"}).find(",UP"), std::string::npos);
}

TEST(private_world, captures_what_a_routine_writes)
{
    auto shout = [](void *word) { fprintf(stderr, "%s\n", static_cast<char *>(word)); };
    char word[] = "usage";
    EXPECT_EQ(private_world::captured(2, shout, word), "usage\n");
    auto say = [](void *) { printf("%d\n", 1); };
    EXPECT_EQ(private_world::captured(1, say, nullptr), "1\n");
}

TEST(private_world, signals_reach_bystanders)
{
    private_world &world = private_world::here();
    pid_t stubborn = world.bystander(true);
    pid_t meek = world.bystander();
    EXPECT_EQ(kill(stubborn, SIGTERM), 0);
    EXPECT_EQ(kill(meek, SIGTERM), 0);
    EXPECT_TRUE(world.is_running(stubborn));
    EXPECT_FALSE(world.is_running(meek));
    EXPECT_EQ(kill(9999, SIGTERM), -1);
    EXPECT_TRACE("kill " + std::to_string(stubborn) + " SIGTERM\nkill " + std::to_string(meek) +
                     " SIGTERM\nkill 9999 SIGTERM = ESRCH\n",
                 world.trace());
}

} // namespace
