#include "support/router_box.h"

#include "support/holder.h"
#include "support/message.h"
#include "support/namespaces.h"
#include "support/record.h"
#include "support/recorder_failing.h"
#include "support/trace_format.h"
#include "support/world_root.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <iostream>
#include <poll.h>
#include <sched.h>
#include <sstream>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace support
{

struct output {
    int out;
    int err;
};

struct router_box::parts {
    pid_t process = -1; // the parent of the holder
    int requests = -1;
    int endings = -1;
    int root = -1;
    int network = -1;
    int user = -1;
    int time_limit = 60000; // milliseconds
    std::string state;      // of the runs that follow, as the holder reads it
    std::string plan;       // for the run that follows
    std::map<pid_t, output> outputs;
    std::map<pid_t, int> ended; // wait statuses not yet asked for

    ~parts();
    void start(const std::string &program);
    message ask(const message &request, const std::vector<int> &descriptors = {}) const;
    int wait_for(pid_t run);
};

router_box::parts::~parts()
{
    shutdown(requests, SHUT_RDWR); // the holder ends, and with it all that is in the world
    while (process > 0 && waitpid(process, nullptr, 0) < 0 && errno == EINTR)
        ;
    for (const auto &run : outputs) {
        close(run.second.out);
        close(run.second.err);
    }
    for (int descriptor : {requests, endings, root, network, user})
        if (descriptor >= 0)
            close(descriptor);
}

void router_box::parts::start(const std::string &program)
{
    int first[2], second[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, first) != 0 ||
        socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, second) != 0)
        fail("socketpair");
    pid_t self = getpid();
    process = fork();
    if (process < 0)
        fail("fork");
    if (process == 0)
        hold_world(first[1], second[1], program, self);
    close(first[1]);
    close(second[1]);
    requests = first[0];
    endings = second[0];

    message greeting;
    std::vector<int> descriptors;
    if (!receive_message(requests, greeting, &descriptors))
        throw std::runtime_error("router box: its first process died");
    if (greeting.at(0) != "ok")
        throw std::runtime_error("router box: " + greeting.at(1));
    root = descriptors.at(0);
    network = descriptors.at(1);
    user = descriptors.size() > 2 ? descriptors[2] : -1;
}

message router_box::parts::ask(const message &request, const std::vector<int> &descriptors) const
{
    message answer;
    send_message(requests, request, descriptors);
    if (!receive_message(requests, answer))
        throw std::runtime_error("router box: its first process died");
    if (answer.at(0) != "ok")
        throw std::runtime_error("router box: " + request.at(0) + ": " + answer.at(1));
    return answer;
}

// The wait status of a run that has ended or ends within the time limit.
int router_box::parts::wait_for(pid_t run)
{
    using clock = std::chrono::steady_clock;
    const auto end = clock::now() + std::chrono::milliseconds(time_limit);
    while (ended.count(run) == 0) {
        auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - clock::now());
        pollfd source = {endings, POLLIN, 0};
        if (left.count() <= 0 || poll(&source, 1, int(left.count())) == 0) {
            ask({"end", std::to_string(run)});
            throw std::runtime_error("router box: the program did not end within " +
                                     std::to_string(time_limit) + " ms");
        }
        message ending;
        if (!receive_message(endings, ending))
            throw std::runtime_error("router box: its first process died");
        ended[std::stoi(ending.at(0))] = std::stoi(ending.at(1));
    }
    int status = ended[run];
    ended.erase(run);
    return status;
}

router_box::router_box() : router_box(files_of_build().program) {}

router_box::router_box(const std::string &program) : p(std::make_unique<parts>())
{
    p->start(program);
}

// Whether the test that this happens in has failed, or is about to fail with an exception.
static bool has_test_failed()
{
    return testing::Test::HasFailure() || std::uncaught_exceptions() > 0;
}

void router_box::keep()
{
    try {
        std::string first = std::to_string(number());
        p->ask({"keep"});
        kill(p->process, SIGKILL); // the holder no longer dies with it
        std::cerr << "router box: its world is kept\n"
                  << "  enter it:   " ROUTER_BOX_PROGRAM " --enter " << first << "\n"
                  << "  its files:  /proc/" << first << "/root" << root_place << "\n"
                  << "  end it:     kill " << first << "\n";
    } catch (const std::exception &e) {
        std::cerr << "router box: its world cannot be kept: " << e.what() << "\n";
    }
}

router_box::~router_box()
{
    if (getenv("MCFG_KEEP_WORLD") != nullptr && has_test_failed())
        keep();
}

pid_t router_box::number() const
{
    return std::stoi(p->ask({"number"}).at(1));
}

void router_box::set_time_limit(int milliseconds)
{
    p->time_limit = milliseconds;
}

static const char *const recorder_settings[] = {
    BOX_PRELOAD_SETTING,
    BOX_ADDRESS_SETTING,
    BOX_UNDEFINED_SETTING,
};

// A sanitizer's finding fails a test whatever the test expects.
void router_box::refuse_sanitizer_reports(const std::string &err)
{
    std::string reports = err.find("runtime error: ") != std::string::npos ? err : "";
    for (const std::string &name : list(BOX_DIRECTORY)) {
        const std::string path = std::string(BOX_DIRECTORY) + "/" + name;
        if (name.compare(0, strlen(BOX_REPORT_NAME), BOX_REPORT_NAME) != 0)
            continue;
        reports += read(path);
        remove(path);
    }
    if (!reports.empty())
        throw std::runtime_error("router box: " + reports);
}

static message run_request(const std::string &state, const std::vector<std::string> &words,
                           const environment &env)
{
    message request = {"run", state, std::to_string(words.size())};
    request.insert(request.end(), words.begin(), words.end());
    bool has_path = false;
    for (const auto &variable : env)
        has_path |= variable.first == "PATH";
    if (!has_path)
        request.push_back("PATH=/sbin:/bin:/usr/sbin:/usr/bin");
    for (const auto &variable : env)
        request.push_back(variable.first + "=" + variable.second);
    request.insert(request.end(), std::begin(recorder_settings), std::end(recorder_settings));
    return request;
}

pid_t router_box::start(const std::vector<std::string> &words, const environment &env)
{
    output files = {memfd_create("out", MFD_CLOEXEC), memfd_create("err", MFD_CLOEXEC)};
    if (files.out < 0 || files.err < 0)
        fail("memfd_create");
    message request = run_request(p->state, words, env);
    if (!p->plan.empty())
        request.push_back(BOX_PLAN_SETTING + p->plan);
    message answer = p->ask(request, {files.out, files.err});
    pid_t run = std::stoi(answer.at(1));
    p->outputs[run] = files;
    return run;
}

outcome router_box::finish(pid_t handle)
{
    output files = p->outputs.at(handle);
    int status = p->wait_for(handle);
    outcome result = {};
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    result.out = whole_file(files.out);
    result.err = whole_file(files.err);
    close(files.out);
    close(files.err);
    p->outputs.erase(handle);
    refuse_sanitizer_reports(result.err);
    return result;
}

outcome router_box::run(const std::vector<std::string> &words, const environment &env)
{
    size_t before = raw_trace().size();
    outcome result = finish(start(words, env));
    result.trace = joined(trace_lines(raw_trace().substr(before)));
    return result;
}

void router_box::start_from(const start_state &state)
{
    std::string text = state.reader_gone ? "p " : "";
    for (int descriptor : state.closed)
        text += "c" + std::to_string(descriptor) + " ";
    for (int number : state.ignored)
        text += "i" + std::to_string(number) + " ";
    p->state = text;
}

static std::set<std::string> paths_of(const path_log &log)
{
    std::set<std::string> paths;
    std::istringstream lines(std::string(log.text, log.length));
    for (std::string path; std::getline(lines, path);)
        paths.insert(path);
    return paths;
}

failing_outcome router_box::run_failing(const std::vector<std::string> &words,
                                        const environment &env, const failing_plan &plan)
{
    static call_log log;
    const std::string file = host_path(BOX_CALLS);
    log.count = log.hits = log.seen.length = log.torn.length = 0;
    make_file(file, &log, sizeof log, 0666);
    for (int number : {int(plan.number), plan.error, plan.how, plan.who, plan.signal})
        p->plan += std::to_string(number) + " ";
    pid_t handle = start(words, env);
    p->plan.clear();
    failing_outcome failing = {finish(handle), {}, 0, {}, {}};
    std::string text = read(BOX_CALLS);
    memcpy(&log, text.data(), sizeof log);
    failing.result.trace = joined(trace_lines(raw_trace()));
    clear_trace();
    failing.hits = log.hits;
    failing.seen = paths_of(log.seen);
    failing.torn = paths_of(log.torn);
    failing.calls.assign(log.calls, log.calls + std::min<size_t>(log.count, COUNTED_CALLS_MAX));
    return failing;
}

std::string router_box::host_path(const std::string &path) const
{
    return "/proc/self/fd/" + std::to_string(p->root) + path;
}

void router_box::bind(const std::string &from, const std::string &path)
{
    p->ask({"bind", from, path});
}

void router_box::disk(const std::string &path, const std::string &size)
{
    p->ask({"disk", path, size});
}

void router_box::interface(const std::string &name)
{
    p->ask({"interface", name});
}

std::string router_box::in_network(const std::vector<std::string> &command)
{
    return run_program(command, [this] {
        if (p->user >= 0 && setns(p->user, CLONE_NEWUSER) != 0)
            fail("setns");
        if (setns(p->network, CLONE_NEWNET) != 0)
            fail("setns");
    });
}

pid_t router_box::bystander(bool ignore_term, const std::string &name)
{
    return std::stoi(p->ask({"bystander", ignore_term ? "yes" : "no", name}).at(1));
}

bool router_box::is_running(pid_t pid) const
{
    return p->ask({"running", std::to_string(pid)}).at(1) == "yes";
}

} // namespace support
