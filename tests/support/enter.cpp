#include "support/enter.h"

#include "support/namespaces.h"
#include "support/record.h"
#include "support/router_box.h"
#include "support/world_root.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <iostream>
#include <sched.h>
#include <stdexcept>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace support
{

#define TOOLS BOX_DIRECTORY "/tools"
#define BUSYBOX BOX_DIRECTORY "/busybox"

static const char search_path[] = "PATH=/sbin:/bin:/usr/sbin:/usr/bin:" TOOLS;

// What people look around with. None of them can change what lies outside of the world.
static const char *const applets[] = {
    "awk",     "basename", "cat",   "chmod",    "cmp",  "cp",   "cut",     "date",
    "diff",    "dirname",  "env",   "find",     "grep", "head", "hexdump", "id",
    "ip",      "kill",     "less",  "ln",       "ls",   "mv",   "nc",      "netstat",
    "ping",    "ps",       "pwd",   "readlink", "rm",   "sed",  "sort",    "stat",
    "strings", "tail",     "touch", "tr",       "uniq", "vi",   "wc",      "xargs",
};

static const char as_script[] = "#!/bin/sh\n"
                                "# Runs the program under a name: as NAME WORD...\n"
                                "name=" BOX_DIRECTORY "/as/${1:?a name is missing}\n"
                                "shift\n"
                                "[ -e \"$name\" ] || " BUSYBOX " ln -s /sbin/mcfg \"$name\"\n"
                                "export PATH=/sbin:/bin:/usr/sbin:/usr/bin\n"
                                "export " BOX_PRELOAD_SETTING "\n"
                                "export " BOX_ADDRESS_SETTING "\n"
                                "export " BOX_UNDEFINED_SETTING "\n"
                                "exec \"$name\" \"$@\"\n";

// Each line of the trace stands behind the numbers of three processes.
static const char trace_script[] =
    "#!/bin/sh\n"
    "exec " BUSYBOX " sed 's/^[0-9]* [0-9]* [0-9]* //' " BOX_TRACE "\n";

static std::string own_busybox()
{
    for (const char *path : {"/bin/busybox", "/usr/bin/busybox"})
        if (access(path, X_OK) == 0)
            return path;
    throw std::runtime_error("this machine has no busybox, which the shell's tools are made of");
}

// Lays out the tools in a root directory, seen from outside of it.
static void lay_out_tools(const std::string &root)
{
    struct stat status;
    if (stat((root + TOOLS).c_str(), &status) == 0)
        return; // someone was here before
    std::string busybox = own_busybox();
    mode_t mask = umask(022);
    make_directory(root + BOX_DIRECTORY "/as", 0755);
    make_directory(root + TOOLS, 0755);
    bind_read_only(busybox, root, BUSYBOX);
    for (const char *name : applets)
        if (symlinkat(BUSYBOX, AT_FDCWD, (root + TOOLS "/" + name).c_str()) != 0)
            fail(name);
    make_file(root + TOOLS "/as", as_script, strlen(as_script), 0755);
    make_file(root + TOOLS "/trace", trace_script, strlen(trace_script), 0755);
    umask(mask);
}

static std::string link_of(const std::string &path)
{
    char target[64];
    ssize_t length = readlink(path.c_str(), target, sizeof target);
    return std::string(target, length > 0 ? size_t(length) : 0);
}

static void join_namespaces(pid_t first)
{
    int kinds = CLONE_NEWNS | CLONE_NEWUTS | CLONE_NEWIPC | CLONE_NEWNET | CLONE_NEWPID;
    std::string theirs = "/proc/" + std::to_string(first) + "/ns/";
    if (link_of(theirs + "user") != link_of("/proc/self/ns/user"))
        kinds |= CLONE_NEWUSER;
    int process = int(syscall(SYS_pidfd_open, first, 0));
    if (process < 0 || setns(process, kinds) != 0)
        fail("world " + std::to_string(first));
    close(process);
}

static bool is_world(const std::string &root)
{
    return access((root + BOX_TRACE).c_str(), F_OK) == 0;
}

[[noreturn]] static void become_shell(const std::string &command)
{
    if (chroot(root_place.c_str()) != 0 || chdir("/") != 0)
        fail("chroot");
    clearenv();
    putenv(const_cast<char *>(search_path));
    setenv("PS1", "box \\w # ", 1);
    setenv("TERM", "linux", 1);
    setenv("HOME", "/root", 1);
    if (command.empty())
        execl("/bin/sh", "sh", "+m", isatty(0) ? "-i" : "-s", nullptr);
    else
        execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
    fail("/bin/sh");
}

// The status of a process once it has ended.
static int awaited(pid_t process)
{
    int status = 0;
    while (waitpid(process, &status, 0) < 0)
        if (errno != EINTR)
            fail("waitpid");
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// A process of its own joins the world, since none comes back from there.
[[noreturn]] static void visit(pid_t first, const std::string &command)
{
    try {
        // Any process may be named by mistake: it must hold a world before it is entered.
        if (!is_world("/proc/" + std::to_string(first) + "/root" + root_place))
            throw std::runtime_error("process " + std::to_string(first) + " holds no world");
        join_namespaces(first);
        drop_machine_rights();
        lay_out_tools(root_place);
        pid_t shell = fork(); // the first with the world's process numbers
        if (shell < 0)
            fail("fork");
        if (shell == 0)
            become_shell(command);
        _exit(awaited(shell));
    } catch (const std::exception &e) {
        std::cerr << "router box: " << e.what() << std::endl;
    }
    _exit(125);
}

int enter_world(pid_t first, const std::string &command)
{
    std::cout.flush();
    pid_t visitor = fork();
    if (visitor < 0)
        fail("fork");
    if (visitor == 0)
        visit(first, command);
    auto before = signal(SIGINT, SIG_IGN); // it is for what runs in the shell
    int status = awaited(visitor);
    signal(SIGINT, before);
    return status;
}

} // namespace support
