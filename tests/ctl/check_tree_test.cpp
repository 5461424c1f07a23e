// The files of settings as they are found below a root: what is opened, how much of it is taken,
// and what is told of those that are none.
#include "ctl/check/report.h"
#include "ctl/check/tree.h"
#include "ctl/code_test.h"
#include "support/descriptors.h"

#include <errno.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

using namespace check_test;

struct loaded {
    file_state state;
    std::string kind;
    int error;
    bool is_cut;
    std::string bytes;
};

bool operator==(const loaded &a, const loaded &b)
{
    return a.state == b.state && a.kind == b.kind && a.error == b.error && a.is_cut == b.is_cut &&
           a.bytes == b.bytes;
}

std::ostream &operator<<(std::ostream &out, const loaded &what)
{
    return out << static_cast<int>(what.state) << " " << what.kind << " " << strerror(what.error)
               << " " << what.is_cut << " " << what.bytes.size() << " \""
               << what.bytes.substr(0, 40) << "\"";
}

loaded load(const char *path, const char *root = "/tree")
{
    loaded_file file = load_file(root, path);
    loaded result = {file.state, file.kind, file.error, file.is_cut,
                     std::string(file.bytes != nullptr ? file.bytes : "", file.length)};
    EXPECT_TRUE(file.bytes == nullptr || file.bytes[file.length] == '\0');
    unload_file(&file);
    EXPECT_EQ(file.bytes, nullptr);
    EXPECT_EQ(file.length, 0U);
    return result;
}

loaded content(const std::string &bytes, bool is_cut = false)
{
    return {file_state::loaded, "", 0, is_cut, bytes};
}

loaded other(const std::string &kind)
{
    return {file_state::not_a_file, kind, 0, false, ""};
}

loaded fault(int error)
{
    bool is_missing = error == ENOENT || error == ENOTDIR;
    return {is_missing ? file_state::missing : file_state::unreadable, "", error, false, ""};
}

class settings_tree : public support::unit_test
{
  protected:
    void SetUp() override
    {
        unit_test::SetUp();
        world.write("/tree/etc/file", "content\n");
        world.write("/etc/file", "outside\n");
    }
    void link(const std::string &target) { world.symlink(target, "/tree/etc/link"); }
};

TEST_F(settings_tree, holds_files)
{
    EXPECT_EQ(load("/etc/file"), content("content\n"));
    EXPECT_EQ(load("etc/file"), content("content\n"));
    EXPECT_EQ(load("//etc/./x/..//file"), content("content\n"));
    EXPECT_EQ(load("/etc/./../etc/file"), content("content\n"));
    EXPECT_EQ(load("/etc/file", "/tree/"), content("content\n"));
    EXPECT_EQ(load("/etc/file", "/tree///"), content("content\n"));
    EXPECT_EQ(load("/etc/file", "/"), content("outside\n"));
    EXPECT_EQ(load("/etc/file", ""), content("outside\n"));
    EXPECT_EQ(load("/../../etc/file"), content("content\n"));
    world.write("/tree/etc/file", "");
    EXPECT_EQ(load("/etc/file"), content(""));
    world.write("/tree/etc/file", std::string("a\0b", 3));
    EXPECT_EQ(load("/etc/file"), content(std::string("a\0b", 3)));
}

TEST_F(settings_tree, lacks_files)
{
    EXPECT_EQ(load("/etc/none"), fault(ENOENT));
    EXPECT_EQ(load("/etc/none/file"), fault(ENOENT));
    EXPECT_EQ(load("/etc/file/none"), fault(ENOTDIR));
    EXPECT_EQ(load("/etc/none", "/absent"), fault(ENOENT));
}

TEST_F(settings_tree, has_no_more_of_a_file_than_a_megabyte)
{
    const std::string most(SETTINGS_FILE_MAX - 1, 'x');
    world.write("/tree/etc/file", most + "\n");
    EXPECT_EQ(load("/etc/file"), content(most + "\n"));
    world.write("/tree/etc/file", most + "\ny");
    EXPECT_EQ(load("/etc/file"), content(most + "\n", true));
    world.write("/tree/etc/file", most + "xy");
    EXPECT_EQ(load("/etc/file"), content(most + "x", true));
    world.write("/tree/etc/file", "one\ntwo\n" + most);
    EXPECT_EQ(load("/etc/file"), content("one\ntwo\n", true));
}

TEST_F(settings_tree, has_things_that_are_no_files)
{
    EXPECT_EQ(load("/etc"), other("directory"));
    ASSERT_EQ(mkfifo("/tree/etc/fifo", 0600), 0);
    EXPECT_EQ(load("/etc/fifo"), other("FIFO"));
    int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {AF_UNIX, "/tree/etc/socket"};
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr *>(&address), sizeof(address)), 0);
    EXPECT_EQ(load("/etc/socket"), other("socket"));
    close(listener);
    EXPECT_EQ(load("/dev/null", "/"), other("device"));
}

TEST_F(settings_tree, has_links_that_stay_in_it)
{
    link("file");
    EXPECT_EQ(load("/etc/link"), content("content\n"));
    EXPECT_EQ(load("/etc/link/"), content("content\n"));
    for (const char *target : {"/etc/file", "../etc/file", "../../../etc/file", "./file",
                               "/../etc/file", "/etc/../etc//file"}) {
        world.remove("/tree/etc/link");
        link(target);
        EXPECT_EQ(load("/etc/link"), content("content\n")) << target;
    }
    world.symlink("/etc", "/tree/dir");
    EXPECT_EQ(load("/dir/file"), content("content\n"));
    EXPECT_EQ(load("/dir/../etc/file"), content("content\n"));
    world.remove("/tree/etc/link");
    link("nothing");
    EXPECT_EQ(load("/etc/link"), fault(ENOENT));
}

// As many as the kernel follows.
TEST_F(settings_tree, has_links_to_links)
{
    for (int i = 1; i <= 41; i++)
        world.symlink(i == 1 ? "file" : "link" + std::to_string(i - 1),
                      "/tree/etc/link" + std::to_string(i));
    EXPECT_EQ(load("/etc/link40"), content("content\n"));
    EXPECT_EQ(load("/etc/link41"), fault(ELOOP));
    EXPECT_EQ(load("/etc/link40"), content("content\n"));
}

TEST_F(settings_tree, has_names_that_are_too_long)
{
    link(std::string(255, 'x'));
    EXPECT_EQ(load("/etc/link"), fault(ENOENT));
    world.remove("/tree/etc/link");
    link(std::string(256, 'x'));
    EXPECT_EQ(load("/etc/link"), fault(ENAMETOOLONG));
    std::string deep;
    while (deep.size() < 4090)
        deep += "x/";
    world.remove("/tree/etc/link");
    link(deep);
    EXPECT_EQ(load("/etc/link"), fault(ENAMETOOLONG));
    EXPECT_EQ(load("/etc/link/and/behind/it"), fault(ENAMETOOLONG));
    std::string nowhere;
    while (nowhere.size() < 4090)
        nowhere += "./";
    world.remove("/tree/etc/link");
    link(nowhere);
    EXPECT_EQ(load("/etc/link/file"), fault(ENAMETOOLONG));
    EXPECT_EQ(load(("/" + nowhere + nowhere).c_str()), fault(ENAMETOOLONG));
    EXPECT_EQ(load(("/" + deep + deep).c_str()), fault(ENAMETOOLONG));
    EXPECT_EQ(load("/file", ("/" + deep + deep).c_str()), fault(ENAMETOOLONG));
}

TEST_F(settings_tree, has_files_that_cannot_be_opened)
{
    world.on("fail EACCES open /tree/etc/file");
    EXPECT_EQ(load("/etc/file"), fault(EACCES));
    world.on("fail EMFILE open /etc/file");
    EXPECT_EQ(load("/etc/file", "/"), fault(EMFILE));
}

// The memory of a process has nothing at its begin.
TEST_F(settings_tree, has_files_that_cannot_be_read)
{
    EXPECT_EQ(load("/proc/self/mem", "/"), fault(EIO));
    errno = EINTR; // of something else
    EXPECT_EQ(load("/etc/file"), content("content\n"));
}

// That of a process that has ended leads nowhere.
TEST_F(settings_tree, has_links_that_cannot_be_read)
{
    pid_t ended = fork();
    if (ended == 0)
        _exit(0);
    siginfo_t info;
    EXPECT_EQ(waitid(P_PID, static_cast<id_t>(ended), &info, WEXITED | WNOWAIT), 0);
    link("/etc/file");
    EXPECT_EQ(load("/etc/link"), content("content\n"));
    const std::string directory = "/proc/" + std::to_string(ended) + "/cwd";
    EXPECT_EQ(load(directory.c_str(), "/"), fault(ENOENT));
    EXPECT_EQ(waitpid(ended, nullptr, 0), ended);
}

TEST_F(settings_tree, leaves_no_descriptor_open)
{
    const std::set<int> open = support::open_descriptors();
    load("/etc/file");
    load("/etc");
    load("/etc/none");
    EXPECT_EQ(support::open_descriptors(), open);
}

TEST_F(settings_tree, is_a_directory)
{
    EXPECT_TRUE(is_directory("/tree"));
    EXPECT_FALSE(is_directory("/tree/etc/file"));
    EXPECT_FALSE(is_directory("/tree/none"));
}

// ---- what is told of them

// The whole text, as the fixture has it.
class told_files : public support::unit_test
{
  protected:
    void expect(const std::string &part, const char *root = "/tree")
    {
        std::string seen = check(root).text;
        EXPECT_TRACE(support::part_of(world.fixture("ctl/check_files"), part), seen);
    }
};

TEST_F(told_files, are_missing)
{
    world.mkdir("/tree");
    expect("no settings at all");
}

TEST_F(told_files, are_no_files)
{
    write_good_settings(&world, "/tree");
    for (const char *path : {"/tree/etc/default/rules", "/tree/etc/default/igmp",
                             "/tree/etc/default/vservers", "/tree/etc/default/masq"})
        world.remove(path);
    world.mkdir("/tree/etc/default/rules");
    ASSERT_EQ(mkfifo("/tree/etc/default/igmp", 0600), 0);
    world.symlink("vservers", "/tree/etc/default/vservers");
    int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {AF_UNIX, "/tree/etc/default/masq"};
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr *>(&address), sizeof(address)), 0);
    close(listener);
    world.on("fail EACCES open /tree/etc/default/url_filter");
    expect("settings that are no files");
}

// A directory reads as an empty file, and does not keep the router from those behind it.
TEST_F(told_files, are_switches)
{
    write_good_settings(&world, "/tree");
    world.remove("/tree/etc/default/igmp");
    world.mkdir("/tree/etc/default/igmp");
    world.write("/tree/etc/default/upnp", "UPNP_ENABLE=0\n");
    expect("switches that are a directory");
}

TEST_F(told_files, are_devices)
{
    write_good_settings(&world, "/");
    world.remove("/etc/default/masq");
    world.symlink("/dev/null", "/etc/default/masq");
    expect("settings that are devices", "/");
}

TEST_F(told_files, are_too_large)
{
    write_good_settings(&world, "/tree");
    world.write("/tree/etc/default/rules", std::string(1024 * 1024 + 1, '\n'));
    expect("settings that are too large");
}

// ---- how findings are written

std::string found(void (*write)(report *r), bool is_json = false)
{
    return support::written([&](FILE *out) {
        report r;
        begin_report(&r, out, is_json);
        begin_file(&r, "/file");
        write(&r);
        end_file(&r);
        end_report(&r);
    });
}

TEST(finding, is_shown_in_printable_characters_of_a_fair_length)
{
    const std::string rows[][2] = {
        {"", ""},
        {"plain ~ text", "plain ~ text"},
        {"\x1f\x7f\xff\n", "\\x1f\\x7f\\xff\\x0a"},
        {std::string(92, 'x'), std::string(92, 'x')},
        {std::string(93, 'x'), std::string(92, 'x') + "..."},
        {std::string(88, 'x') + "\n", std::string(88, 'x') + "\\x0a"},
        {std::string(89, 'x') + "\n", std::string(89, 'x') + "..."},
        {std::string(300, '\n'), ""},
    };
    static std::string text;
    for (const auto &row : rows) {
        text = row[0];
        std::string expected = row[1];
        for (size_t i = 0; text.size() == 300 && i < 23; i++)
            expected += "\\x0a";
        expected += text.size() == 300 ? "..." : "";
        EXPECT_EQ(
            found([](report *r) { find(r, 7, text.c_str(), code::server_name, text.c_str()); }),
            "/file:7:" + expected + ": error: server-name: " +
                found([](report *r) { find(r, 7, "", code::server_name, "{1}"); })
                    .substr(std::string("/file:7:: error: server-name: ").size())
                    .replace(1, 3, expected))
            << text;
    }
}

TEST(finding, is_written_as_json)
{
    EXPECT_EQ(found([](report *) {}, true), "[]\n");
    EXPECT_EQ(
        found(
            [](report *r) {
                find(r, 1, "a\"b", code::action, "c\\d\n");
                find_number(r, 2, "-", code::missing, 1024);
            },
            true),
        "[\n  {\"file\": \"/file\", \"line\": 1, \"field\": \"a\\\"b\", \"severity\": \"error\", "
        "\"code\": \"action\", \"text\": \"only DROP drops; \\\"c\\\\d\\\\x0a\\\" accepts\", "
        "\"cure\": \"write DROP or ACCEPT\"},\n"
        "  {\"file\": \"/file\", \"line\": 2, \"field\": \"-\", \"severity\": \"warning\", "
        "\"code\": \"missing\", \"text\": \"there is no such file: 1024\", \"cure\": \"write it, "
        "if "
        "only an empty one\"}\n]\n");
}

TEST(finding, is_one_of_many)
{
    static unsigned count;
    for (count = FINDINGS_SHOWN - 1; count <= FINDINGS_SHOWN + 2; count++) {
        std::vector<std::string> lines = support::lines_of(found([](report *r) {
            for (unsigned i = 1; i <= count; i++)
                find(r, i, "-", i % 2 == 0 ? code::action : code::missing);
        }));
        unsigned shown = count < FINDINGS_SHOWN ? count : FINDINGS_SHOWN;
        bool is_cut = count > FINDINGS_SHOWN;
        ASSERT_EQ(lines.size(), shown + (is_cut ? 2U : 1U)) << count;
        EXPECT_EQ(lines[shown - 1].substr(0, 7 + std::to_string(shown).size()),
                  "/file:" + std::to_string(shown) + ":");
        if (is_cut) {
            EXPECT_EQ(lines[shown].substr(0, 27 + 1), "/file:0:-: error: too-many: ")
                << lines[shown];
            EXPECT_EQ(lines[shown].substr(28, 2), std::to_string(count - FINDINGS_SHOWN) + " ");
        }
    }
}

} // namespace
