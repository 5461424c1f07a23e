// Files opened by name, and files written whole or not at all, with what is told when that fails.
// The kernel refuses to write or to cut a sealed file, as it would on a full disk.
#include "util/open_file.h"
#include "util/output_file.h"

#include "support/descriptors.h"
#include "support/unit_test.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

std::string errors_of(void (*routine)(void *), void *context = nullptr)
{
    return support::private_world::captured(2, routine, context);
}

class sealed_file
{
  public:
    sealed_file(const char *content, int seals)
        : fd(memfd_create("sealed", MFD_CLOEXEC | MFD_ALLOW_SEALING))
    {
        EXPECT_EQ(write(fd, content, strlen(content)), static_cast<ssize_t>(strlen(content)));
        EXPECT_EQ(fcntl(fd, F_ADD_SEALS, seals), 0);
        path = "/proc/self/fd/" + std::to_string(fd);
    }
    ~sealed_file() { close(fd); }
    std::string content() const
    {
        char text[100];
        ssize_t length = pread(fd, text, sizeof(text), 0);
        return std::string(text, static_cast<size_t>(length));
    }
    int fd;
    std::string path;
};

using opened_file = support::unit_test;

TEST_F(opened_file, is_cut_for_writing)
{
    world.write("/file", "of before", 0640);
    FILE *file = open_stream("/file", "w");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(fcntl(fileno(file), F_GETFD), FD_CLOEXEC);
    fputs("new", file);
    fclose(file);
    EXPECT_EQ(world.read("/file"), "new");
    EXPECT_EQ(world.mode("/file"), 0640U);
}

TEST_F(opened_file, is_empty_until_it_is_written)
{
    for (const char *before : {"of before", "x", ""}) {
        world.write("/file", before);
        fclose(open_stream("/file", "w"));
        EXPECT_EQ(world.read("/file"), "");
    }
}

TEST_F(opened_file, that_is_a_device_needs_no_cut)
{
    FILE *stream = open_stream("/dev/null", "w");
    ASSERT_NE(stream, nullptr);
    fclose(stream);
}

TEST_F(opened_file, that_cannot_be_cut_stays_as_it_is)
{
    sealed_file file("of before", F_SEAL_SHRINK);
    const std::set<int> open = support::open_descriptors();
    EXPECT_EQ(open_stream(file.path.c_str(), "w"), nullptr);
    EXPECT_EQ(errno, EPERM);
    EXPECT_EQ(file.content(), "of before");
    EXPECT_EQ(support::open_descriptors(), open);
}

TEST_F(opened_file, that_is_empty_needs_no_cut)
{
    sealed_file file("", F_SEAL_SHRINK);
    FILE *stream = open_stream(file.path.c_str(), "w");
    ASSERT_NE(stream, nullptr);
    fclose(stream);
}

TEST_F(opened_file, is_no_fifo)
{
    ASSERT_EQ(mkfifo("/fifo", 0600), 0);
    int other_end = open("/fifo", O_RDWR | O_CLOEXEC);
    const std::set<int> open = support::open_descriptors();
    EXPECT_EQ(open_file("/fifo", O_RDONLY), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(open_stream("/fifo", "w"), nullptr);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(support::open_descriptors(), open);
    close(other_end);
    EXPECT_EQ(open_stream("/fifo", "w"), nullptr);
    EXPECT_EQ(errno, ENXIO);
}

TEST_F(opened_file, is_missing)
{
    EXPECT_EQ(open_file("/none", O_RDONLY), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(open_stream("/none", "r"), nullptr);
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(opened_file, that_cannot_be_a_stream_is_closed)
{
    world.write("/file", "text");
    const std::set<int> open = support::open_descriptors();
    EXPECT_EQ(open_stream("/file", "no mode"), nullptr);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(support::open_descriptors(), open);
}

using output_file = support::unit_test;

TEST_F(output_file, that_cannot_be_made_is_told)
{
    EXPECT_EQ(errors_of([](void *) { EXPECT_EQ(create_output("/none/file"), nullptr); }),
              "/none/file: No such file or directory\n");
    EXPECT_EQ(errors_of([](void *) { write_text("/none/file", "text"); }), "");
}

TEST_F(output_file, is_whole)
{
    EXPECT_EQ(errors_of([](void *) {
                  FILE *file = create_output("/file");
                  fputs("text", file);
                  EXPECT_TRUE(close_output(file, "/file"));
              }),
              "");
    EXPECT_EQ(world.read("/file"), "text");
    write_text("/file", "other");
    EXPECT_EQ(world.read("/file"), "other");
}

TEST_F(output_file, that_cannot_be_written_is_told_at_its_end)
{
    sealed_file sealed("", F_SEAL_GROW);
    const std::set<int> open = support::open_descriptors();
    EXPECT_EQ(errors_of(
                  [](void *path) {
                      FILE *file = create_output(static_cast<std::string *>(path)->c_str());
                      fputs("text", file);
                      EXPECT_FALSE(close_output(file, "/file"));
                  },
                  &sealed.path),
              "/file: Operation not permitted\n");
    EXPECT_EQ(support::open_descriptors(), open);
}

// The reason is forgotten by then.
TEST_F(output_file, that_could_not_be_written_before_is_told_at_its_end)
{
    sealed_file sealed("", F_SEAL_GROW);
    EXPECT_EQ(errors_of(
                  [](void *path) {
                      FILE *file = create_output(static_cast<std::string *>(path)->c_str());
                      setvbuf(file, nullptr, _IONBF, 0);
                      fputs("text", file);
                      EXPECT_FALSE(close_output(file, "/file"));
                  },
                  &sealed.path),
              "/file: Input/output error\n");
}

// As what is written reaches a disk no sooner than that.
TEST_F(output_file, that_cannot_be_closed_is_told)
{
    EXPECT_EQ(errors_of([](void *) {
                  FILE *file = create_output("/file");
                  close(fileno(file));
                  EXPECT_FALSE(close_output(file, "/file"));
              }),
              "/file: Bad file descriptor\n");
}

using replaced_file = support::unit_test;

TEST_F(replaced_file, takes_the_place_of_the_one_before_with_its_mode)
{
    world.write("/file", "of before", 0741);
    errno = 0;
    FILE *file = create_beside("/file");
    ASSERT_NE(file, nullptr);
    fputs("new", file);
    EXPECT_EQ(world.read("/file"), "of before");
    replace_output(file, "/file");
    EXPECT_EQ(world.read("/file"), "new");
    EXPECT_EQ(world.mode("/file"), 0741U);
    EXPECT_FALSE(world.exists("/file.new"));
}

TEST_F(replaced_file, may_be_the_first)
{
    FILE *file = create_beside("/file");
    fputs("new", file);
    replace_output(file, "/file");
    EXPECT_EQ(world.read("/file"), "new");
    EXPECT_EQ(world.mode("/file"), 0644U);
}

TEST_F(replaced_file, that_cannot_be_made_is_told_and_leaves_nothing_beside)
{
    world.write("/file", "of before");
    ASSERT_EQ(mkfifo("/file.new", 0600), 0);
    EXPECT_EQ(errors_of([](void *) { EXPECT_EQ(create_beside("/file"), nullptr); }),
              "/file: No such device or address\n");
    EXPECT_EQ(world.read("/file"), "of before");
    EXPECT_FALSE(world.exists("/file.new"));
}

TEST_F(replaced_file, that_cannot_be_written_leaves_the_one_before)
{
    sealed_file sealed("", F_SEAL_GROW);
    world.write("/file", "of before");
    world.symlink(sealed.path, "/file.new");
    EXPECT_EQ(errors_of([](void *) {
                  FILE *file = create_beside("/file");
                  fputs("new", file);
                  replace_output(file, "/file");
              }),
              "/file: Operation not permitted\n");
    EXPECT_EQ(world.read("/file"), "of before");
    EXPECT_FALSE(world.exists("/file.new"));
}

TEST_F(replaced_file, that_is_a_directory_stays_one)
{
    world.mkdir("/file");
    EXPECT_EQ(errors_of([](void *) {
                  FILE *file = create_beside("/file");
                  fputs("new", file);
                  replace_output(file, "/file");
              }),
              "/file: Is a directory\n");
    EXPECT_FALSE(world.exists("/file.new"));
}

using path_part = support::unit_test;

TEST_F(path_part, holds_no_slash)
{
    EXPECT_EQ(check_path_part("ppp1"), 0);
    EXPECT_EQ(check_path_part(""), 0);
    EXPECT_EQ(errors_of([](void *) { EXPECT_EQ(check_path_part("a/b"), EINVAL); }),
              "a/b: Invalid argument\n");
}

} // namespace
