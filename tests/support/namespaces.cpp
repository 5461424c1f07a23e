#include "support/namespaces.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <linux/capability.h>
#include <sched.h>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace support
{

void fail(const std::string &what)
{
    throw std::runtime_error(what + ": " + strerror(errno));
}

static void write_once(const char *path, const std::string &text)
{
    int file = open(path, O_WRONLY | O_CLOEXEC);
    if (file < 0 || write(file, text.data(), text.size()) != ssize_t(text.size()))
        fail(path);
    close(file);
}

// Root inside is this user outside.
static void map_user(uid_t user, gid_t group)
{
    write_once("/proc/self/setgroups", "deny");
    write_once("/proc/self/uid_map", "0 " + std::to_string(user) + " 1\n");
    write_once("/proc/self/gid_map", "0 " + std::to_string(group) + " 1\n");
}

void drop_machine_rights()
{
    const unsigned rights = 1U << CAP_SYS_TIME | 1U << CAP_SYS_MODULE | 1U << CAP_SYS_BOOT |
                            1U << CAP_SYS_RAWIO | 1U << CAP_MKNOD;
    for (unsigned right = 0; right < 32; right++)
        if ((rights >> right & 1) != 0 && prctl(PR_CAPBSET_DROP, right) != 0)
            fail("PR_CAPBSET_DROP");
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3];
    if (syscall(SYS_capget, &header, data) != 0)
        fail("capget");
    data[0].effective &= ~rights;
    data[0].permitted &= ~rights;
    data[0].inheritable &= ~rights;
    if (syscall(SYS_capset, &header, data) != 0)
        fail("capset");
}

bool leave_namespaces(int kinds)
{
    const char *hint = "this machine does not let this user make private namespaces, "
                       "which the tests cannot do without (as root, or as a user with "
                       "unprivileged user namespaces allowed)";
    uid_t user = geteuid();
    gid_t group = getegid();
    if (unshare(kinds) == 0)
        return false;
    if (errno != EPERM || unshare(kinds | CLONE_NEWUSER) != 0)
        fail(hint);
    map_user(user, group);
    return true;
}

void leave_machine()
{
    leave_namespaces(CLONE_NEWNS | CLONE_NEWUTS | CLONE_NEWIPC | CLONE_NEWPID);
    if (sethostname("router", 6) != 0)
        fail("sethostname");
    fresh_network();
    drop_machine_rights();
}

void die_with_parent(int parent)
{
    if (prctl(PR_SET_PDEATHSIG, SIGKILL) != 0)
        fail("prctl");
    if (getppid() != parent)
        _exit(1); // it died before
}

int out_of_the_way(int descriptor)
{
    if (descriptor < 0)
        return descriptor;
    int high = fcntl(descriptor, F_DUPFD_CLOEXEC, 300);
    if (high < 0)
        return descriptor; // few descriptors allowed: better a low one than none
    close(descriptor);
    return high;
}

std::string whole_file(int descriptor)
{
    std::string text;
    char block[8192];
    ssize_t length;
    while ((length = pread(descriptor, block, sizeof block, off_t(text.size()))) > 0)
        text.append(block, size_t(length));
    if (length < 0)
        fail("read");
    return text;
}

static void exec_program(const std::vector<std::string> &command, const int (&files)[3])
{
    std::vector<char *> words;
    for (const std::string &word : command)
        words.push_back(const_cast<char *>(word.c_str()));
    words.push_back(nullptr);
    for (int number = 0; number < 3; number++)
        dup2(files[number], number);
    setenv("PATH", "/usr/sbin:/usr/bin:/sbin:/bin", 1);
    execvp(words[0], words.data());
    dprintf(2, "%s: %s\n", words[0], strerror(errno));
}

static int temporary_file(const std::string &content)
{
    int file = memfd_create("file", MFD_CLOEXEC);
    if (file < 0 || pwrite(file, content.data(), content.size(), 0) != ssize_t(content.size()))
        fail("a file of a program");
    return file;
}

program_result try_program(const std::vector<std::string> &command,
                           const std::function<void()> &enter, const std::string &input)
{
    const int files[3] = {temporary_file(input), temporary_file(""), temporary_file("")};
    pid_t child = fork();
    if (child < 0)
        fail("fork");
    if (child == 0) {
        try {
            enter();
            exec_program(command, files);
        } catch (const std::exception &e) {
            dprintf(files[2], "%s\n", e.what());
        }
        _exit(127);
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR)
        ;
    program_result result = {WIFEXITED(status) ? WEXITSTATUS(status) : -1, whole_file(files[1]),
                             whole_file(files[2])};
    for (int file : files)
        close(file);
    return result;
}

std::string run_program(const std::vector<std::string> &command, const std::function<void()> &enter)
{
    program_result result = try_program(command, enter);
    if (result.status != 0)
        throw std::runtime_error(command.at(0) + " failed: " + result.err);
    return result.out;
}

} // namespace support
