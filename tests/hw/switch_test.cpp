#include "hw/switch.h"

#include "support/unit_test.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

using support::private_world;

namespace
{

class ethernet_switch : public support::unit_test
{
  protected:
    void TearDown() override { switch_fini(); }
};

std::string errors_of(void (*routine)(void *), void *context = nullptr)
{
    return private_world::captured(2, routine, context);
}

TEST_F(ethernet_switch, opens_a_datagram_socket)
{
    EXPECT_EQ(esw_fd, -1);
    ASSERT_EQ(switch_init(), 0);
    int value = 0;
    socklen_t size = sizeof(value);
    ASSERT_EQ(getsockopt(esw_fd, SOL_SOCKET, SO_DOMAIN, &value, &size), 0);
    EXPECT_EQ(value, AF_INET);
    ASSERT_EQ(getsockopt(esw_fd, SOL_SOCKET, SO_TYPE, &value, &size), 0);
    EXPECT_EQ(value, SOCK_DGRAM);
    int fd = esw_fd;
    switch_fini();
    EXPECT_EQ(esw_fd, -1);
    EXPECT_EQ(fcntl(fd, F_GETFD), -1);
}

TEST_F(ethernet_switch, socket_that_fails_is_reported)
{
    world.on("fail EMFILE socket inet dgram 0");
    EXPECT_EQ(errors_of([](void *) { EXPECT_EQ(switch_init(), -1); }),
              "socket: Too many open files\n");
    switch_fini(); // of a switch that is not open does nothing
}

TEST_F(ethernet_switch, reads_a_register)
{
    world.on("switch 0x14 0x5555");
    world.on("switch 0x70 0xFFFF506F");
    ASSERT_EQ(switch_init(), 0);
    uint32_t value = 0;
    EXPECT_EQ(ra3052_reg_read(0x14, &value), 0);
    EXPECT_EQ(value, 0x5555U);
    EXPECT_EQ(ra3052_reg_read(0x70, &value), 0);
    EXPECT_EQ(value, 0xffff506fU);
    EXPECT_TRACE(R"(
        ioctl eth2 0x89f1 0x14 -> 0x5555
        ioctl eth2 0x89f1 0x70 -> 0xffff506f
    )",
                 world.trace());
}

TEST_F(ethernet_switch, read_that_fails_is_reported_and_closes_the_switch)
{
    world.on("fail EPERM ioctl eth2 0x89f1 0x14");
    ASSERT_EQ(switch_init(), 0);
    int fd = esw_fd;
    uint32_t value = 7;
    std::string errors = errors_of(
        [](void *out) { EXPECT_EQ(ra3052_reg_read(0x14, static_cast<uint32_t *>(out)), -1); },
        &value);
    EXPECT_EQ(errors, "ioctl: Operation not permitted\n");
    EXPECT_EQ(value, 7U);
    EXPECT_EQ(esw_fd, -1);
    EXPECT_EQ(fcntl(fd, F_GETFD), -1);
    EXPECT_TRACE(R"(
        ioctl eth2 0x89f1 0x14 = EPERM
    )",
                 world.trace());
}

TEST_F(ethernet_switch, writes_a_register)
{
    ASSERT_EQ(switch_init(), 0);
    EXPECT_EQ(ra3052_reg_write(0xe4, 0x3f), 0);
    EXPECT_EQ(ra3052_reg_write(0x70, 0xffffffff), 0);
    EXPECT_GE(esw_fd, 0);
    EXPECT_TRACE(R"(
        ioctl eth2 0x89f2 0xe4 0x3f
        ioctl eth2 0x89f2 0x70 0xffffffff
    )",
                 world.trace());
}

TEST_F(ethernet_switch, write_that_fails_ends_the_process_with_success)
{
    world.on("fail EIO ioctl eth2 0x89f2");
    ASSERT_EQ(switch_init(), 0);
    EXPECT_EXIT(ra3052_reg_write(0x14, 1), testing::ExitedWithCode(0),
                "^ioctl: Input/output error\n$");
    EXPECT_TRACE(R"(
        ioctl eth2 0x89f2 0x14 0x1 = EIO
    )",
                 world.trace());
}

TEST_F(ethernet_switch, write_without_a_switch_ends_the_process_with_success)
{
    world.on("fail EBADF ioctl eth2 0x89f2");
    EXPECT_EXIT(ra3052_reg_write(0x14, 1), testing::ExitedWithCode(0),
                "^ioctl: Bad file descriptor\n$");
}

struct layout_row {
    int mode;
    const char *ports; // registers 0x40, 0x44, 0x48 and 0x70 as written
};

constexpr char DEFAULT_PORTS[] = R"(
    ioctl eth2 0x89f2 0x40 0x1001
    ioctl eth2 0x89f2 0x44 0x1001
    ioctl eth2 0x89f2 0x48 0x1002
    ioctl eth2 0x89f2 0x70 0xffff506f
)";

const layout_row layout_rows[] = {
    {1, R"(
    ioctl eth2 0x89f2 0x40 0x1002
    ioctl eth2 0x89f2 0x44 0x1001
    ioctl eth2 0x89f2 0x48 0x1001
    ioctl eth2 0x89f2 0x70 0xffff417e
)"},
    {2, R"(
    ioctl eth2 0x89f2 0x40 0x1002
    ioctl eth2 0x89f2 0x44 0x1001
    ioctl eth2 0x89f2 0x48 0x1002
    ioctl eth2 0x89f2 0x70 0xffff516e
)"},
    {3, R"(
    ioctl eth2 0x89f2 0x40 0x2001
    ioctl eth2 0x89f2 0x44 0x1001
    ioctl eth2 0x89f2 0x48 0x1002
    ioctl eth2 0x89f2 0x70 0xffff526d
)"},
    {4, R"(
    ioctl eth2 0x89f2 0x40 0x1001
    ioctl eth2 0x89f2 0x44 0x1002
    ioctl eth2 0x89f2 0x48 0x1002
    ioctl eth2 0x89f2 0x70 0xffff546b
)"},
    {5, R"(
    ioctl eth2 0x89f2 0x40 0x1001
    ioctl eth2 0x89f2 0x44 0x2001
    ioctl eth2 0x89f2 0x48 0x1002
    ioctl eth2 0x89f2 0x70 0xffff5867
)"},
    {6, R"(
    ioctl eth2 0x89f2 0x40 0x1001
    ioctl eth2 0x89f2 0x44 0x2002
    ioctl eth2 0x89f2 0x48 0x1002
    ioctl eth2 0x89f2 0x70 0xffff5c63
)"},
    {0, DEFAULT_PORTS},
    {7, DEFAULT_PORTS},
    {-1, DEFAULT_PORTS},
    {0x7fffffff, DEFAULT_PORTS},
};

TEST_F(ethernet_switch, lays_the_ports_out_for_a_wan_mode)
{
    for (const layout_row &row : layout_rows) {
        SCOPED_TRACE(row.mode);
        world.clear_trace();
        EXPECT_EQ(config_3052(row.mode), 0);
        EXPECT_EQ(esw_fd, -1) << "closed at the end";
        EXPECT_TRACE(std::string(R"(
    ioctl eth2 0x89f2 0x14 0x405555
    ioctl eth2 0x89f2 0x50 0x2001
    ioctl eth2 0x89f2 0x98 0x7f3f
    ioctl eth2 0x89f2 0xe4 0x3f)") +
                         row.ports,
                     world.trace());
    }
}

TEST_F(ethernet_switch, restores_one_vlan_for_all_ports)
{
    EXPECT_EQ(restore_3052(), 0);
    EXPECT_EQ(esw_fd, -1);
    EXPECT_TRACE(R"(
        ioctl eth2 0x89f2 0x14 0x5555
        ioctl eth2 0x89f2 0x40 0x1001
        ioctl eth2 0x89f2 0x44 0x1001
        ioctl eth2 0x89f2 0x48 0x1001
        ioctl eth2 0x89f2 0x4c 0x1
        ioctl eth2 0x89f2 0x50 0x2001
        ioctl eth2 0x89f2 0x70 0xffffffff
        ioctl eth2 0x89f2 0x98 0x7f7f
        ioctl eth2 0x89f2 0xe4 0x7f
    )",
                 world.trace());
}

TEST_F(ethernet_switch, layouts_say_when_the_switch_cannot_be_opened)
{
    world.on("fail EMFILE socket");
    errors_of([](void *) {
        EXPECT_EQ(config_3052(1), -1);
        EXPECT_EQ(restore_3052(), -1);
    });
    EXPECT_TRACE(R"(
        log config_3052: Error switch init
        log restore_3052: Error switch init
    )",
                 world.trace_of({"log"}));
}

TEST_F(ethernet_switch, layout_ends_the_process_at_the_first_register_that_fails)
{
    world.on("fail EIO ioctl eth2 0x89f2 0x98");
    EXPECT_EXIT(config_3052(2), testing::ExitedWithCode(0), "^ioctl: Input/output error\n$");
    EXPECT_TRACE(R"(
        ioctl eth2 0x89f2 0x14 0x405555
        ioctl eth2 0x89f2 0x50 0x2001
        ioctl eth2 0x89f2 0x98 0x7f3f = EIO
    )",
                 world.trace());
    world.clear_trace();
    EXPECT_EXIT(restore_3052(), testing::ExitedWithCode(0), "^ioctl: Input/output error\n$");
}

} // namespace
