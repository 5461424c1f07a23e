#include "support/private_world.h"

#include "support/bystander.h"
#include "support/namespaces.h"
#include "support/recorder_calls.h"
#include "support/world_root.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

namespace support
{

// Waits for a process and ends as it did.
[[noreturn]] static void end_like(pid_t process)
{
    int status = 0;
    for (pid_t ended = 0; ended != process;) {
        ended = waitpid(-1, &status, 0);
        if (ended < 0 && errno != EINTR)
            _exit(125);
    }
    if (WIFEXITED(status))
        _exit(WEXITSTATUS(status));
    signal(WTERMSIG(status), SIG_DFL);
    raise(WTERMSIG(status));
    _exit(128 + WTERMSIG(status)); // the first process of its kind is spared its own signals
}

static pid_t fork_or_fail()
{
    fflush(nullptr);
    pid_t child = fork();
    if (child < 0)
        fail("fork");
    return child;
}

// Only in the process that goes on inside.
static void move_inside()
{
    if (chroot(root_place.c_str()) != 0 || chdir("/") != 0)
        fail("chroot");
    if (setsid() < 0)
        fail("setsid");
    box_recording = RECORDING_TEST;
}

private_world &private_world::here()
{
    static private_world world;
    return world;
}

void private_world::enter()
{
    try {
        leave_machine();
        pid_t first = fork_or_fail();
        if (first > 0)
            end_like(first);
        die_with_parent(0);
        mount_root("");
        here().machine_root = out_of_the_way(open("/", O_PATH | O_DIRECTORY | O_CLOEXEC));
        pid_t second = fork_or_fail();
        if (second > 0)
            end_like(second);
        die_with_parent(1);
        move_inside();
        here().clear();
    } catch (const std::exception &e) {
        fprintf(stderr, "private world: %s\n", e.what());
        _exit(1);
    }
}

void private_world::clear()
{
    for (pid_t process : bystanders) {
        syscall(SYS_kill, process, SIGKILL);
        waitpid(process, nullptr, 0);
    }
    bystanders.clear();
    for (; !binds.empty(); binds.pop_back())
        if (umount2(binds.back().c_str(), MNT_DETACH) != 0)
            fail("umount " + binds.back());
    fresh_network();
    if (chdir("/") != 0)
        fail("chdir");
    umask(022);
    closelog();
    clearenv();
    setenv("PATH", "/sbin:/bin:/usr/sbin:/usr/bin", 1);
    empty_root("");
    fill_root("");
}

std::string private_world::host_path(const std::string &path) const
{
    return path;
}

std::string private_world::machine_path(const std::string &path) const
{
    return "/proc/self/fd/" + std::to_string(machine_root) + path;
}

void private_world::bind(const std::string &from, const std::string &path)
{
    bind_read_only(machine_path(from), "", path);
    binds.push_back(path);
}

#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
// User emulation does not turn the bytes of such a request, one attribute within another, for this
// machine's kernel. So a tool of the machine makes it.
void private_world::interface(const std::string &name)
{
    static int number = 0;
    if (name.compare(0, 2, "br") == 0) {
        in_network({"ip", "link", "add", name, "type", "bridge"});
        return;
    }
    const std::string far = "far" + std::to_string(number++);
    in_network({"ip", "link", "add", far, "type", "veth", "peer", "name", name});
    in_network({"ip", "link", "set", far, "up"});
}
#else
void private_world::interface(const std::string &name)
{
    make_interface(name);
}
#endif

std::string private_world::in_network(const std::vector<std::string> &command)
{
    return run_program(command, [this] {
        if (fchdir(machine_root) != 0 || chroot(".") != 0)
            fail("chroot");
    });
}

pid_t private_world::bystander(bool ignore_term, const std::string &name)
{
    bystanders.push_back(start_bystander(ignore_term, name));
    return bystanders.back();
}

bool private_world::is_running(pid_t pid) const
{
    return is_process_running("/proc", pid);
}

std::string private_world::captured(int descriptor, void (*routine)(void *), void *context)
{
    fflush(nullptr);
    int file = memfd_create("captured", MFD_CLOEXEC);
    int original = fcntl(descriptor, F_DUPFD_CLOEXEC, 300);
    if (file < 0 || original < 0 || dup2(file, descriptor) < 0)
        fail("capturing");
    routine(context);
    fflush(nullptr);
    dup2(original, descriptor);
    close(original);
    std::string text = whole_file(file);
    close(file);
    return text;
}

} // namespace support
