#include "hw/flash.h"

#include "support/unit_test.h"

#include <functional>
#include <string>
#include <vector>

using support::private_world;

namespace
{

const std::string FLASH = "/flash";
constexpr uint32_t FLASH_SIZE = 0x40000;

class flash : public support::unit_test
{
  protected:
    void SetUp() override
    {
        unit_test::SetUp();
        world.write("/dev/flash0", "");
        for (uint32_t i = 0; i < FLASH_SIZE; i++)
            content.push_back(static_cast<char>(i * 7 + i / 251));
        world.write(FLASH, content);
        world.on("flash " + FLASH);
    }

    // Runs a request; its result and what it wrote to standard error.
    int result(const std::function<int()> &request)
    {
        struct call {
            const std::function<int()> &request;
            int result;
        } call = {request, 99};
        errors = private_world::captured(
            2,
            [](void *context) {
                auto *made = static_cast<struct call *>(context);
                made->result = made->request();
            },
            &call);
        return call.result;
    }
    std::string content;
    std::string errors;
};

TEST_F(flash, reads_from_the_offset_into_the_buffer)
{
    char buffer[10];
    memset(buffer, 'x', sizeof(buffer));
    EXPECT_EQ(result([&] { return FRead(buffer + 1, 0x16d20, 8); }), 0);
    EXPECT_EQ(std::string(buffer, sizeof(buffer)), "x" + content.substr(0x16d20, 8) + "x");
    EXPECT_EQ(errors, "");
    EXPECT_EQ(world.read(FLASH), content);
    EXPECT_TRACE(R"(
        ioctl /dev/flash0 read 0x16d20 8
    )",
                 world.trace());
}

TEST_F(flash, writes_from_the_buffer_to_the_offset)
{
    EXPECT_EQ(result([] { return FWrite("uvwxyz", 0x3fffa, 6); }), 0);
    EXPECT_EQ(errors, "");
    content.replace(0x3fffa, 6, "uvwxyz");
    EXPECT_EQ(world.read(FLASH), content);
    EXPECT_TRACE(R"(
        ioctl /dev/flash0 write 0x3fffa 6
    )",
                 world.trace());
}

TEST_F(flash, takes_up_to_65536_bytes_in_one_call)
{
    std::vector<char> buffer(FLASH_TRANSFER_MAX + 1, '\0');
    EXPECT_EQ(result([&] { return FRead(buffer.data(), 0x10000, 65536); }), 0);
    EXPECT_EQ(std::string(buffer.data(), 65536), content.substr(0x10000, 65536));
    EXPECT_EQ(result([&] { return FWrite(buffer.data(), 0, 65536); }), 0);
    content.replace(0, 65536, buffer.data(), 65536);
    EXPECT_EQ(world.read(FLASH), content);
    EXPECT_TRACE(R"(
        ioctl /dev/flash0 read 0x10000 65536
        ioctl /dev/flash0 write 0x0 65536
    )",
                 world.trace());
}

TEST_F(flash, length_that_is_too_great_is_a_success_that_moves_nothing)
{
    std::vector<char> buffer(70000, 'x');
    EXPECT_EQ(result([&] { return FRead(buffer.data(), 0, 65537); }), 0);
    EXPECT_EQ(errors, "Too many bytes - 65537 > 65536 bytes\n");
    EXPECT_EQ(result([&] { return FWrite(buffer.data(), 0, 70000); }), 0);
    EXPECT_EQ(errors, "Too many bytes - 70000 > 65536 bytes\n");
    EXPECT_EQ(buffer, std::vector<char>(70000, 'x'));
    EXPECT_EQ(world.read(FLASH), content);
    EXPECT_TRACE("", world.trace());
}

// The length is looked at first: the device is not even opened.
TEST_F(flash, length_that_is_too_great_needs_no_device)
{
    world.remove("/dev/flash0");
    EXPECT_EQ(result([] { return FRead(nullptr, 0, 65537); }), 0);
    EXPECT_EQ(errors, "Too many bytes - 65537 > 65536 bytes\n");
}

TEST_F(flash, missing_device_is_a_success_that_moves_nothing)
{
    world.remove("/dev/flash0");
    char buffer[4] = {'a', 'b', 'c', 'd'};
    EXPECT_EQ(result([&] { return FRead(buffer, 0, 4); }), 0);
    EXPECT_EQ(errors, "Open flash pseudo device failed\n");
    EXPECT_EQ(std::string(buffer, 4), "abcd");
    EXPECT_EQ(result([&] { return FWrite(buffer, 0, 4); }), 0);
    EXPECT_EQ(errors, "Open flash pseudo device failed\n");
    EXPECT_EQ(world.read(FLASH), content);
    EXPECT_TRACE("", world.trace());
}

TEST_F(flash, range_beyond_the_end_fails_without_a_message)
{
    char buffer[8] = {};
    for (uint32_t offset : {FLASH_SIZE - 7, FLASH_SIZE, FLASH_SIZE + 1, 0xffffffffU}) {
        SCOPED_TRACE(offset);
        EXPECT_EQ(result([&] { return FRead(buffer, offset, 8); }), -1);
        EXPECT_EQ(errors, "");
        EXPECT_EQ(result([&] { return FWrite("12345678", offset, 8); }), -1);
        EXPECT_EQ(errors, "");
    }
    EXPECT_EQ(std::string(buffer, 8), std::string(8, '\0'));
    EXPECT_EQ(world.read(FLASH), content);
    EXPECT_EQ(result([&] { return FRead(buffer, FLASH_SIZE - 8, 8); }), 0) << "just inside";
}

// Only 10 is a failure.
TEST_F(flash, other_driver_status_is_success)
{
    struct {
        const char *status;
        int result;
    } const rows[] = {{"0", 0}, {"1", 0}, {"9", 0}, {"10", -1}, {"11", 0}, {"255", 0}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.status);
        world.clear_rules();
        world.on("flash " + FLASH);
        world.on(std::string("flash-status ") + row.status);
        char buffer[2];
        EXPECT_EQ(result([&] { return FRead(buffer, 0, 2); }), row.result);
        EXPECT_EQ(result([&] { return FWrite(buffer, 0, 2); }), row.result);
        EXPECT_EQ(errors, "");
    }
}

TEST_F(flash, request_that_fails_is_reported)
{
    char buffer[2] = {'a', 'b'};
    world.on("fail EIO ioctl /dev/flash0");
    EXPECT_EQ(result([&] { return FRead(buffer, 0x10, 2); }), -1);
    EXPECT_EQ(errors, "FLASH_API: ioctl error\n");
    EXPECT_EQ(result([&] { return FWrite(buffer, 0x10, 2); }), -1);
    EXPECT_EQ(errors, "FLASH_API: ioctl error\n");
    EXPECT_EQ(world.read(FLASH), content);
    EXPECT_TRACE(R"(
        ioctl /dev/flash0 read 0x10 2 = EIO
        ioctl /dev/flash0 write 0x10 2 = EIO
    )",
                 world.trace());
}

TEST_F(flash, device_is_closed_whatever_happens)
{
    char buffer[2];
    int before = dup(0);
    close(before);
    FRead(buffer, 0, 2);
    FWrite(buffer, FLASH_SIZE, 2);
    world.on("fail EIO ioctl /dev/flash0");
    result([&] { return FRead(buffer, 0, 2); });
    int after = dup(0);
    close(after);
    EXPECT_EQ(before, after);
}

} // namespace
