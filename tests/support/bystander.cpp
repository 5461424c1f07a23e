#include "support/bystander.h"

#include "support/namespaces.h"

#include <csignal>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <sstream>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace support
{

pid_t start_bystander(bool ignore_term, const std::string &name)
{
    sigset_t all, mask;
    int made[2];
    if (pipe2(made, O_CLOEXEC) != 0)
        fail("pipe");
    sigfillset(&all);
    sigprocmask(SIG_SETMASK, &all, &mask); // a signal must not find it half made
    pid_t child = fork();
    if (child == 0) {
        for (int number = 1; number < NSIG; number++)
            signal(number, SIG_DFL);
        if (ignore_term)
            signal(SIGTERM, SIG_IGN);
        if (!name.empty())
            prctl(PR_SET_NAME, name.c_str());
        setsid();
        close_range(0, ~0U, 0);
        sigset_t none;
        sigemptyset(&none);
        sigprocmask(SIG_SETMASK, &none, nullptr);
        for (;;)
            pause();
    }
    sigprocmask(SIG_SETMASK, &mask, nullptr);
    close(made[1]);
    // It closes its end when it has its name, by which it may be looked for.
    char nothing;
    ssize_t end = child < 0 ? 0 : read(made[0], &nothing, 1);
    close(made[0]);
    if (child < 0 || end != 0)
        fail("fork");
    return child;
}

// A file of /proc; "" when the process is gone.
static std::string process_file(const std::string &proc, pid_t process, const char *name)
{
    std::string path = proc + "/" + std::to_string(process) + "/" + name;
    int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    std::string text;
    try {
        text = file >= 0 ? whole_file(file) : "";
    } catch (const std::runtime_error &) {
        // It went while the file was open.
    }
    if (file >= 0)
        close(file);
    return text;
}

enum class state { gone, waiting, moving };

static bool has_pending_signal(const std::string &status)
{
    for (const char *field : {"\nSigPnd:", "\nShdPnd:"}) {
        size_t place = status.find(field);
        if (place != std::string::npos && strtoull(status.c_str() + place + 8, nullptr, 16) != 0)
            return true;
    }
    return false;
}

static state state_of(const std::string &proc, pid_t process)
{
    const unsigned long exiting = 0x4; // PF_EXITING
    std::string stat = process_file(proc, process, "stat");
    size_t name_end = stat.rfind(')');
    if (name_end == std::string::npos)
        return state::gone;
    std::istringstream fields(stat.substr(name_end + 1));
    char letter;
    long skipped;
    unsigned long flags;
    fields >> letter >> skipped >> skipped >> skipped >> skipped >> skipped >> flags;
    if (letter == 'Z' || letter == 'X')
        return state::gone;
    if (letter == 'R' || (flags & exiting) != 0 ||
        has_pending_signal(process_file(proc, process, "status")))
        return state::moving;
    return state::waiting;
}

bool is_process_running(const std::string &proc, pid_t process)
{
    // A signal that was just sent may still be on its way; until it has been dealt with, the
    // process is not at rest.
    const timespec pause = {0, 200000};
    for (int tries = 0; tries < 5000; tries++) {
        state now = state_of(proc, process);
        if (now != state::moving)
            return now == state::waiting;
        syscall(SYS_nanosleep, &pause, nullptr);
    }
    return true; // busy all the while
}

} // namespace support
