#include "support/world_root.h"

#include "support/namespaces.h"
#include "support/record.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <map>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace support
{

const std::string root_place = "/sys";

static const char *const directories[] = {
    "/bin",     "/dev",        "/etc",      "/etc/default",   "/etc/init.d",
    "/media",   "/mnt",        "/etc/ppp",  "/etc/ppp/peers", "/etc/init.d/scripts",
    "/proc",    "/root",       "/run",      "/sbin",          "/sys",
    "/usr",     "/usr/bin",    "/usr/sbin", "/var",           "/var/lock",
    "/var/run", BOX_DIRECTORY,
};

// What the router's firmware has. The program finds those in /sbin and /usr/sbin by name.
static const char *const tools[] = {
    "/sbin/ifconfig",
    "/sbin/route",
    "/sbin/vconfig",
    "/sbin/udhcpc",
    "/sbin/insmod",
    "/sbin/modprobe",
    "/sbin/rmmod",
    "/sbin/reboot",
    "/sbin/led",
    "/sbin/mtd_write",
    "/sbin/config-vlan.sh",
    "/bin/hostname",
    "/bin/mkdir",
    "/bin/mount",
    "/bin/umount",
    "/usr/bin/killall",
    "/usr/sbin/brctl",
    "/usr/sbin/iptables",
    "/usr/sbin/iptables-restore",
    "/usr/sbin/iwpriv",
    "/usr/sbin/mknetifaces.sh",
    "/usr/sbin/pppd",
    "/usr/sbin/rt2860apd",
    "/usr/sbin/sys_netbase",
    "/usr/sbin/xl2tpd",
    "/etc/init.d/scripts/3g",
    "/etc/init.d/scripts/dnsmasq.rc",
    "/etc/init.d/scripts/resolv",
    "/etc/init.d/scripts/wscd.rc",
};

// Where programs find their libraries, and which of these places are links on this machine.
static const char *const library_places[] = {"/usr/lib", "/usr/lib64", "/usr/lib32",
                                             "/lib",     "/lib64",     "/lib32"};
static std::map<std::string, std::string> library_links;

static built_files find_files()
{
    built_files files = {MCFG_PROGRAM, MCFG_RECORDER_TOOL, MCFG_RECORDER_PRELOAD, ""};
    const char *others = getenv("MCFG_BOX_PROGRAMS");
    if (others == nullptr)
        return files;
    files.program = std::string(others) + "/mcfg";
    files.preload = std::string(others) + "/librecorder_preload.so";
    const std::string foreign = std::string(others) + "/foreign";
    if (access(foreign.c_str(), F_OK) == 0)
        files.foreign = foreign;
    return files;
}

built_files &files_of_build()
{
    static built_files files = find_files();
    return files;
}

std::string program_of_build(const std::string &name)
{
    const std::string &program = files_of_build().program;
    return program.substr(0, program.rfind('/') + 1) + name;
}

// ---- files

void make_directory(const std::string &path, mode_t mode)
{
    if (mkdirat(AT_FDCWD, path.c_str(), mode) != 0 && errno != EEXIST)
        fail("mkdir " + path);
}

void make_directories_above(const std::string &path)
{
    for (size_t slash = path.find('/', 1); slash != std::string::npos;
         slash = path.find('/', slash + 1))
        make_directory(path.substr(0, slash), 0755);
}

void make_file(const std::string &path, const void *content, size_t size, mode_t mode)
{
    int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (file < 0)
        fail(path);
    bool is_whole = fchmod(file, mode) == 0 && write(file, content, size) == ssize_t(size);
    if (close(file) != 0 || !is_whole)
        fail("write " + path);
}

static void remove_entries(int directory);

static void remove_entry(int directory, const char *name)
{
    if (unlinkat(directory, name, 0) == 0 || errno == ENOENT)
        return;
    int below = openat(directory, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (below >= 0) {
        remove_entries(below);
        unlinkat(directory, name, AT_REMOVEDIR);
    }
}

static bool is_dot(const std::string &name)
{
    return name == "." || name == "..";
}

static bool is_same_file_system(int directory, const char *name)
{
    struct stat outer, inner;
    return fstat(directory, &outer) == 0 &&
           fstatat(directory, name, &inner, AT_SYMLINK_NOFOLLOW) == 0 &&
           outer.st_dev == inner.st_dev;
}

// Removes what can be removed in a directory: mounts stay, and so do the directories above them.
// Closes the descriptor.
static void remove_entries(int directory)
{
    DIR *entries = fdopendir(directory);
    if (entries == nullptr)
        fail("fdopendir");
    while (const dirent *entry = readdir(entries))
        if (!is_dot(entry->d_name) && is_same_file_system(directory, entry->d_name))
            remove_entry(directory, entry->d_name);
    closedir(entries);
}

void remove_tree(const std::string &path)
{
    remove_entry(AT_FDCWD, path.c_str());
    struct stat status;
    if (fstatat(AT_FDCWD, path.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) {
        errno = EBUSY;
        fail("remove " + path);
    }
}

void empty_root(const std::string &root)
{
    int directory = open((root + "/").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (directory < 0)
        fail(root + "/");
    remove_entries(directory);
}

void make_tool(const std::string &root, const std::string &path)
{
    make_directories_above(root + path);
    remove_tree(root + path);
    if (symlinkat(BOX_TOOL, AT_FDCWD, (root + path).c_str()) != 0)
        fail("symlink " + path);
}

void fill_root(const std::string &root)
{
    mode_t mask = umask(0);
    for (const char *path : directories)
        make_directory(root + path, 0755);
    make_directory(root + "/tmp", 01777);
    for (const char *path : tools)
        make_tool(root, path);
    for (const auto &link : library_links)
        if (symlinkat(link.second.c_str(), AT_FDCWD, (root + link.first).c_str()) != 0)
            fail("symlink " + link.first);
    for (const char *path : {BOX_TRACE, BOX_RULES, BOX_COUNTS})
        make_file(root + path, "", 0, 0666);
    umask(mask);
}

// ---- mounts

static void mount_or_fail(const char *from, const std::string &to, const char *type,
                          unsigned long flags, const char *data)
{
    if (mount(from, to.c_str(), type, flags, data) != 0)
        fail(std::string("mount ") + (from != nullptr ? from : type) + " at " + to);
}

// A mount may only lose rights, so those of its origin must be named again when it becomes
// read-only.
static unsigned long mount_flags(const std::string &path)
{
    // clang-format off
    static const struct {
        unsigned long has;
        unsigned long flag;
    } pairs[] = {
        {ST_NOSUID, MS_NOSUID},
        {ST_NODEV, MS_NODEV},
        {ST_NOEXEC, MS_NOEXEC},
        {ST_NOATIME, MS_NOATIME},
        {ST_NODIRATIME, MS_NODIRATIME},
        {ST_RELATIME, MS_RELATIME},
    };
    // clang-format on
    struct statvfs status;
    if (statvfs(path.c_str(), &status) != 0)
        fail(path);
    unsigned long flags = 0;
    for (const auto &pair : pairs)
        if ((status.f_flag & pair.has) != 0)
            flags |= pair.flag;
    return flags;
}

static void make_read_only(const std::string &path)
{
    mount_or_fail(nullptr, path, nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY | mount_flags(path),
                  nullptr);
}

void bind_read_only(const std::string &from, const std::string &root, const std::string &path)
{
    struct stat status, existing;
    const std::string to = root + path;
    if (fstatat(AT_FDCWD, from.c_str(), &status, 0) != 0)
        fail(from);
    make_directories_above(to);
    if (fstatat(AT_FDCWD, to.c_str(), &existing, AT_SYMLINK_NOFOLLOW) == 0 &&
        S_ISDIR(existing.st_mode) != S_ISDIR(status.st_mode))
        remove_tree(to);
    if (S_ISDIR(status.st_mode))
        make_directory(to, 0755);
    else if (fstatat(AT_FDCWD, to.c_str(), &existing, AT_SYMLINK_NOFOLLOW) != 0 ||
             S_ISLNK(existing.st_mode)) {
        remove_tree(to);
        make_file(to, "", 0, 0644);
    }
    mount_or_fail(from.c_str(), to, nullptr, MS_BIND | MS_REC, nullptr);
    make_read_only(to);
}

void mount_disk(const std::string &path, const std::string &size)
{
    make_directories_above(path + "/");
    mount_or_fail("disk", path, "tmpfs", MS_NOSUID | MS_NODEV, ("size=" + size).c_str());
}

// The libraries are where the machine has them: in /usr/lib, or, on older layouts, in /lib as well.
static void show_libraries(const std::string &root)
{
    for (const char *place : library_places) {
        struct stat status;
        char target[256];
        if (fstatat(AT_FDCWD, place, &status, AT_SYMLINK_NOFOLLOW) != 0)
            continue;
        ssize_t length = readlink(place, target, sizeof target - 1);
        if (length > 0)
            library_links[place] = std::string(target, size_t(length));
        else
            bind_read_only(place, root, place);
    }
}

// Process information. The kernel's settings are the machine's own, apart from those of the
// network.
static void show_processes(const std::string &root)
{
    const std::string settings = root + "/proc/sys";
    const std::string network = settings + "/net";
    mount_or_fail("proc", root + "/proc", "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr);
    mount_or_fail(settings.c_str(), settings, nullptr, MS_BIND, nullptr);
    mount_or_fail(network.c_str(), network, nullptr, MS_BIND, nullptr);
    mount_or_fail(nullptr, settings, nullptr,
                  MS_REMOUNT | MS_BIND | MS_RDONLY | mount_flags(settings), nullptr);
    const std::string trigger = root + "/proc/sysrq-trigger";
    if (faccessat(AT_FDCWD, trigger.c_str(), F_OK, 0) == 0)
        mount_or_fail("/dev/null", trigger, nullptr, MS_BIND, nullptr);
}

void mount_root(const std::string &program)
{
    const std::string &root = root_place;
    mount_or_fail(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr);
    mount_or_fail("world", root, "tmpfs", MS_NOSUID | MS_NODEV, "mode=755,size=256m");
    show_libraries(root);
    fill_root(root);
    show_processes(root);
    char *shell = realpath("/bin/sh", nullptr);
    if (shell == nullptr)
        fail("/bin/sh");
    bind_read_only(shell, root, "/bin/sh");
    free(shell);
    make_file(root + "/dev/null", "", 0, 0666);
    mount_or_fail("/dev/null", root + "/dev/null", nullptr, MS_BIND, nullptr);
    const built_files &files = files_of_build();
    bind_read_only(files.tool, root, BOX_TOOL);
    if (program.empty())
        return;
    bind_read_only(files.preload, root, BOX_PRELOAD);
    if (!files.foreign.empty())
        bind_read_only(files.foreign, root, FOREIGN_PLACE);
    bind_read_only(program, root, "/sbin/mcfg");
}

} // namespace support
