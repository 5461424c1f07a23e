#include "sweep/sweep.h"

#include "sweep/faults.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <sys/stat.h>

namespace sweep
{

static constexpr char SETTINGS[] = "/etc/default/";
static constexpr char FILLER[] = "/filler";
constexpr int TIME_LIMIT = 30000; // a run takes milliseconds; machines are slow at times

static const char *path_of(program which)
{
    static const char *const paths[] = {MCFG_PROGRAM, MMAC_PROGRAM, MCTL_PROGRAM};
    return paths[int(which)];
}

sweep_box::sweep_box(program which, const std::string &full) : router_box(path_of(which))
{
    set_time_limit(TIME_LIMIT);
    if (!full.empty())
        disk(full, "256k");
    furnish(*this, which);
    start = now();
}

void sweep_box::fill(const std::string &directory)
{
    const std::string page(4096, 'x');
    std::ofstream file(root() + directory + FILLER, std::ios::binary);
    while (file.write(page.data(), std::streamsize(page.size())).flush())
        ;
}

std::string sweep_box::root() const
{
    std::string path = host_path("/");
    path.pop_back();
    return path;
}

void sweep_box::make_fifo(const std::string &path)
{
    remove(path);
    if (mkfifo(host_path(path).c_str(), 0666) != 0)
        throw std::runtime_error(path);
}

namespace
{

// One invocation's sweep.
class course
{
  public:
    course(sweep_box &in, const invocation &of, const share &part, counts &sums)
        : box(in), what(of), which(part), all(sums)
    {
        box.put_back(box.furnished());
        if (what.prepare != nullptr)
            what.prepare(box);
        box.clear_trace();
        usual.before = box.now();
    }

    void fail_calls(failing_who who);
    void change_states();
    void change_files();
    void fill_disk(const std::string &directory, const usual_end &elsewhere);
    const usual_end &undisturbed() const { return usual; }

  private:
    bool is_chosen() { return all.possible++ % which.parts == which.turn; }
    void judge(const std::string &fault, const std::string &wrong);
    std::string wrongs_of(const disturbed_end &end) const;
    void leave_out(const std::set<std::string> &seen);
    void fail_call(const support::failing_plan &plan, counted_call call);
    void change_file(const std::string &path, const char *form,
                     void (*change)(sweep_box &, const std::string &));
    disturbed_end watch(const support::failing_plan &plan, const support::start_state &state);

    sweep_box &box;
    const invocation &what;
    const share &which;
    counts &all;
    usual_end usual;
};

void course::judge(const std::string &fault, const std::string &wrong)
{
    all.runs++;
    if (wrong.empty())
        return;
    all.findings++;
    std::cout << what.name << ", " << fault << ":\n    " << wrong << std::flush;
}

std::string course::wrongs_of(const disturbed_end &end) const
{
    return what.which == program::mctl ? wrongs_of_mctl(what.words[1], usual, end)
                                       : wrongs(usual, end);
}

// A process can always end a child of its own, as mctl firewall does.
static bool cannot_fail(const invocation &what, counted_call call)
{
    return what.name == "mctl-firewall" && call == CALL_kill;
}

// What becomes of the files without each of the settings that the run looks at.
void course::leave_out(const std::set<std::string> &seen)
{
    for (const std::string &path : seen) {
        if (path.compare(0, strlen(SETTINGS), SETTINGS) != 0)
            continue;
        box.put_back(usual.before);
        box.remove(path);
        box.run_failing(what.words, what.env, {});
        usual.without[path] = box.now();
    }
}

// The calls that an undisturbed run makes, and its end.
void course::fail_calls(failing_who who)
{
    box.put_back(usual.before);
    support::failing_outcome counted = box.run_failing(what.words, what.env, {0, 0, 0, who, 0});
    if (who == PROGRAM_ITSELF) {
        usual.result = counted.result;
        usual.after = box.now();
        usual.commands = commands_of(counted.result.trace);
        if (what.which == program::mcfg)
            leave_out(counted.seen);
        if (what.which == program::mctl && usual.result.status != what.status)
            judge("nothing failed", "status " + std::to_string(usual.result.status) + "\n" +
                                        usual.result.out + usual.result.err);
    }
    all.calls += unsigned(counted.calls.size());
    for (unsigned i = 0; i < counted.calls.size(); i++) {
        auto call = counted_call(counted.calls[i]);
        all.kinds.insert(call);
        if (cannot_fail(what, call))
            continue;
        for (const support::failing_plan &plan : faults_of(call, i + 1, who))
            if (is_chosen())
                fail_call(plan, call);
    }
}

void course::fail_call(const support::failing_plan &plan, counted_call call)
{
    std::string fault = text_of(plan, call);
    try {
        box.put_back(usual.before);
        support::failing_outcome met = box.run_failing(what.words, what.env, plan);
        bool is_killed = plan.signal == SIGKILL;
        disturbed_end end = {met.result, box.now(), is_killed, met.torn,
                             is_killed || call == CALL_unlink};
        end.failed = met.hits;
        end.call = call;
        all.failed += met.hits > 0;
        judge(fault, met.hits > 0 ? wrongs_of(end) : "the call was not met\n");
    } catch (const std::exception &e) {
        box.clear_trace();
        judge(fault, std::string(e.what()) + "\n");
    }
}

struct odd_state {
    const char *name;
    support::start_state state;
    support::failing_plan plan;
};

static const odd_state odd_states[] = {
    {"no standard input", {{0}, {}, false}, {}},
    {"no standard output", {{1}, {}, false}, {}},
    {"no standard error", {{2}, {}, false}, {}},
    {"no standard descriptors", {{0, 1, 2}, {}, false}, {}},
    {"SIGCHLD ignored", {{}, {SIGCHLD}, false}, {}},
    {"SIGPIPE ignored", {{}, {SIGPIPE}, false}, {}},
    {"nobody reads", {{}, {}, true}, {}},
    {"nobody logs", {}, {0, 0, LOGS_REALLY, 0, 0}},
};

void course::change_states()
{
    for (const odd_state &row : odd_states) {
        if (!is_chosen())
            continue;
        try {
            box.put_back(usual.before);
            box.start_from(row.state);
            support::failing_outcome met = box.run_failing(what.words, what.env, row.plan);
            box.start_from({});
            bool is_mute = !row.state.closed.empty() || row.state.reader_gone;
            judge(row.name, wrongs_of({met.result, box.now(), false, met.torn, false, is_mute}));
        } catch (const std::exception &e) {
            box.start_from({});
            box.clear_trace();
            judge(row.name, std::string(e.what()) + "\n");
        }
    }
}

// ---- odd files

struct odd_form {
    const char *name;
    void (*change)(sweep_box &box, const std::string &path);
};

static void tear(sweep_box &box, const std::string &path)
{
    std::string text = box.read(path);
    box.write(path, text.substr(0, text.size() / 2));
}

static void refuse(sweep_box &box, const std::string &path)
{
    box.remove(path);
    box.symlink(path, path); // whose opening fails also for root
}

static void make_directory(sweep_box &box, const std::string &path)
{
    box.remove(path);
    box.mkdir(path);
}

static void make_huge(sweep_box &box, const std::string &path)
{
    std::string text = box.read(path);
    for (std::string more = text + "\n"; text.size() < 1000000;)
        text += more;
    box.write(path, text);
}

static void make_long_line(sweep_box &box, const std::string &path)
{
    box.write(path, std::string(1000000, 'x'));
}

static void make_deep(sweep_box &box, const std::string &path)
{
    box.write(path, std::string(100000, '['));
}

static const odd_form odd_forms[] = {
    {"missing", [](sweep_box &box, const std::string &path) { box.remove(path); }},
    {"empty", [](sweep_box &box, const std::string &path) { box.write(path, ""); }},
    {"zeros",
     [](sweep_box &box, const std::string &path) { box.write(path, std::string(4096, '\0')); }},
    {"torn", tear},
    {"refused", refuse},
    {"a directory", make_directory},
    {"a FIFO", [](sweep_box &box, const std::string &path) { box.make_fifo(path); }},
    {"huge", make_huge},
    {"one long line", make_long_line},
    {"deep", make_deep},
};

static bool is_odd_file_of_interest(const std::string &path, const file &found)
{
    static const char *const places[] = {"/etc/default/", "/etc/nvram/", "/etc/TZ", "/var/run/",
                                         "/etc/Wireless/RT2860/"};
    for (const char *place : places)
        if (path.compare(0, std::string(place).size(), place) == 0)
            return S_ISREG(found.mode);
    return false;
}

void course::change_file(const std::string &path, const char *form,
                         void (*change)(sweep_box &, const std::string &))
{
    std::string name = path + " is " + form;
    try {
        box.put_back(usual.before);
        change(box, path);
        files before = box.now();
        support::outcome result = box.run(what.words, what.env);
        box.clear_trace();
        judge(name, wrongs_of_odd_files(before, {result, box.now(), false, {}, false}));
    } catch (const std::exception &e) {
        box.clear_trace();
        judge(name, std::string(e.what()) + "\n");
    }
}

void course::change_files()
{
    for (const auto &[path, found] : usual.before)
        for (const odd_form &form : odd_forms)
            if (is_odd_file_of_interest(path, found) && is_chosen())
                change_file(path, form.name, form.change);
}

void course::fill_disk(const std::string &directory, const usual_end &elsewhere)
{
    if (!is_chosen())
        return;
    std::string name = directory + " is full";
    try {
        box.fill(directory);
        support::failing_outcome met = box.run_failing(what.words, what.env, {});
        files after = box.now();
        after.erase(directory + FILLER);
        // Any file may be one that cannot be made.
        judge(name, wrongs(elsewhere, {met.result, after, false, met.torn, false, false, CALL_open,
                                       UINT_MAX}));
    } catch (const std::exception &e) {
        box.clear_trace();
        judge(name, std::string(e.what()) + "\n");
    }
}

} // namespace

void run_on_full_disk(sweep_box &box, const std::string &directory, const invocation &what,
                      const usual_end &usual, const share &which, counts &counts)
{
    course(box, what, which, counts).fill_disk(directory, usual);
}

usual_end sweep_invocation(sweep_box &box, const invocation &what, const share &which,
                           counts &counts)
{
    course all(box, what, which, counts);
    counts.invocations++;
    all.fail_calls(PROGRAM_ITSELF);
    all.change_states();
    // Whatever files mctl gets is another test's subject, and it has no other children.
    if (what.which != program::mctl) {
        all.fail_calls(ITS_CHILDREN);
        all.change_files();
    }
    return all.undisturbed();
}

} // namespace sweep
