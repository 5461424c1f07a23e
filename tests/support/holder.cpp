#include "support/holder.h"

#include "support/bystander.h"
#include "support/message.h"
#include "support/namespaces.h"
#include "support/world_root.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <poll.h>
#include <set>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace support
{

static std::set<pid_t> runs;

static std::vector<char *> pointers(const message &texts, size_t begin, size_t end)
{
    std::vector<char *> result;
    for (size_t i = begin; i < end; i++)
        result.push_back(const_cast<char *>(texts[i].c_str()));
    result.push_back(nullptr);
    return result;
}

static void enter_root()
{
    if (chroot(root_place.c_str()) != 0 || chdir("/") != 0)
        fail("chroot");
}

// The outputs become a pipe whose reader is gone once the descriptors above them are closed.
static void lose_reader()
{
    int ends[2];
    if (pipe(ends) != 0)
        fail("pipe");
    dup2(ends[1], 1);
    dup2(ends[1], 2);
}

// Brings about what router_box::start_from() has asked for.
static void enter_state(const std::string &state)
{
    for (size_t at = 0; at < state.size(); at = state.find(' ', at) + 1) { // each ends in a blank
        int number = atoi(state.c_str() + at + 1);
        if (state[at] == 'c')
            close(number);
        else if (state[at] == 'i')
            signal(number, SIG_IGN);
        else
            lose_reader();
    }
}

// The process that becomes the program: nothing of the test's is left to it.
[[noreturn]] static void become_program(const message &request, int out, int err)
{
    size_t count = std::stoul(request[2]);
    std::vector<char *> words = pointers(request, 3, 3 + count);
    std::vector<char *> environment = pointers(request, 3 + count, request.size());
    enter_root();
    setsid();
    umask(022);
    for (int number = 1; number < NSIG; number++)
        signal(number, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    dup2(open("/dev/null", O_RDONLY), 0);
    dup2(out, 1);
    dup2(err, 2);
    enter_state(request[1]);
    close_range(3, ~0U, 0);
    execve("/sbin/mcfg", words.data(), environment.data());
    dprintf(2, "box: /sbin/mcfg: %s\n", strerror(errno));
    _exit(127);
}

static message answer_run(const message &request, const std::vector<int> &descriptors)
{
    int out = descriptors.at(0);
    int err = descriptors.at(1);
    pid_t child = fork();
    if (child < 0)
        fail("fork");
    if (child == 0) {
        try {
            become_program(request, out, err);
        } catch (const std::exception &e) {
            dprintf(err, "box: %s\n", e.what());
            _exit(127);
        }
    }
    runs.insert(child);
    return {"ok", std::to_string(child)};
}

static message answer_bystander(const message &request, const std::vector<int> &)
{
    return {"ok", std::to_string(start_bystander(request.at(1) == "yes", request.at(2)))};
}

static message answer_running(const message &request, const std::vector<int> &)
{
    bool is_running = is_process_running(root_place + "/proc", std::stoi(request.at(1)));
    return {"ok", is_running ? "yes" : "no"};
}

static message answer_end(const message &request, const std::vector<int> &)
{
    kill(std::stoi(request.at(1)), SIGKILL);
    return {"ok"};
}

static message answer_bind(const message &request, const std::vector<int> &)
{
    bind_read_only(request.at(1), root_place, request.at(2));
    return {"ok"};
}

static message answer_disk(const message &request, const std::vector<int> &)
{
    mount_disk(root_place + request.at(1), request.at(2));
    return {"ok"};
}

static message answer_interface(const message &request, const std::vector<int> &)
{
    make_interface(request.at(1));
    return {"ok"};
}

// The /proc that the holder sees outside of its world's root directory is the machine's.
static message answer_number(const message &, const std::vector<int> &)
{
    char number[16];
    ssize_t length = readlink("/proc/self", number, sizeof number);
    if (length < 0)
        fail("/proc/self");
    return {"ok", std::string(number, size_t(length))};
}

static bool is_kept = false;

static message answer_keep(const message &, const std::vector<int> &)
{
    if (prctl(PR_SET_PDEATHSIG, 0) != 0)
        fail("prctl");
    is_kept = true;
    return {"ok"};
}

using answerer = message (*)(const message &, const std::vector<int> &);

// clang-format off
static const std::map<std::string, answerer> answerers = {
    {"run", answer_run},
    {"bystander", answer_bystander},
    {"running", answer_running},
    {"end", answer_end},
    {"bind", answer_bind},
    {"disk", answer_disk},
    {"interface", answer_interface},
    {"number", answer_number},
    {"keep", answer_keep},
};
// clang-format on

static void answer(int requests, const message &request, const std::vector<int> &descriptors)
{
    message result;
    try {
        result = answerers.at(request.at(0))(request, descriptors);
    } catch (const std::exception &e) {
        result = {"error", e.what()};
    }
    for (int descriptor : descriptors)
        close(descriptor);
    send_message(requests, result);
}

static void report_endings(int endings)
{
    int status;
    for (pid_t child; (child = waitpid(-1, &status, WNOHANG)) > 0;)
        if (runs.erase(child) != 0)
            send_message(endings, {std::to_string(child), std::to_string(status)});
}

static void serve(int requests, int endings)
{
    sigset_t children;
    sigemptyset(&children);
    sigaddset(&children, SIGCHLD);
    sigprocmask(SIG_BLOCK, &children, nullptr);
    int signals = signalfd(-1, &children, SFD_CLOEXEC | SFD_NONBLOCK);
    for (;;) {
        pollfd sources[] = {{requests, POLLIN, 0}, {signals, POLLIN, 0}};
        if (poll(sources, 2, -1) < 0)
            continue;
        signalfd_siginfo information;
        while (read(signals, &information, sizeof information) > 0)
            ;
        report_endings(endings);
        message request;
        std::vector<int> descriptors;
        if (sources[0].revents == 0)
            continue;
        if (!receive_message(requests, request, &descriptors))
            return;
        answer(requests, request, descriptors);
    }
}

// Keeps the world for people to look at. Nothing of the test's stays open, so that whoever reads
// the test's output sees its end. The first process of a world is spared signals without a handler,
// so the one that ends it is waited for.
static void stay()
{
    close_range(0, ~0U, 0);
    sigset_t awaited;
    sigemptyset(&awaited);
    sigaddset(&awaited, SIGTERM);
    sigaddset(&awaited, SIGCHLD);
    sigprocmask(SIG_BLOCK, &awaited, nullptr);
    while (sigwaitinfo(&awaited, nullptr) != SIGTERM)
        while (waitpid(-1, nullptr, WNOHANG) > 0)
            ;
}

static void greet(int requests, bool has_user_namespace)
{
    std::vector<int> descriptors = {
        open(root_place.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC),
        open("/proc/self/ns/net", O_RDONLY | O_CLOEXEC),
    };
    if (has_user_namespace)
        descriptors.push_back(open("/proc/self/ns/user", O_RDONLY | O_CLOEXEC));
    for (int descriptor : descriptors)
        if (descriptor < 0)
            fail("the world's descriptors");
    send_message(requests, {"ok"}, descriptors);
    for (int descriptor : descriptors)
        close(descriptor);
}

// Closes what the test process had open besides the two sockets.
static void close_others(int first, int second)
{
    int low = std::min(first, second);
    int high = std::max(first, second);
    if (low > 3)
        close_range(3, unsigned(low) - 1, 0);
    if (high > low + 1)
        close_range(unsigned(low) + 1, unsigned(high) - 1, 0);
    close_range(unsigned(high) + 1, ~0U, 0);
}

[[noreturn]] static void hold(int requests, int endings, const std::string &program,
                              bool has_user_namespace)
{
    try {
        die_with_parent(0);
        mount_root(program);
        greet(requests, has_user_namespace);
        serve(requests, endings);
        if (is_kept)
            stay();
    } catch (const std::exception &e) {
        send_message(requests, {"error", e.what()});
    }
    _exit(0);
}

static std::string user_namespace()
{
    char name[64];
    ssize_t length = readlink("/proc/self/ns/user", name, sizeof name);
    return std::string(name, length > 0 ? size_t(length) : 0);
}

void hold_world(int requests, int endings, const std::string &program, pid_t parent)
{
    try {
        die_with_parent(parent);
        close_others(requests, endings);
        std::string before = user_namespace();
        leave_machine();
        pid_t holder = fork();
        if (holder < 0)
            fail("fork");
        if (holder == 0)
            hold(requests, endings, program, user_namespace() != before);
        close(requests);
        close(endings);
        while (waitpid(holder, nullptr, 0) < 0 && errno == EINTR)
            ;
    } catch (const std::exception &e) {
        try {
            send_message(requests, {"error", e.what()});
        } catch (const std::exception &) {
            // The box is gone already.
        }
    }
    _exit(0);
}

} // namespace support
