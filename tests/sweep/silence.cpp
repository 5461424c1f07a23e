// What fails is reported, or all is as usual.
#include "support/recorder_failing.h"
#include "sweep/invariants.h"
#include "sweep/trace_lines.h"

#include <algorithm>
#include <set>
#include <vector>

namespace sweep
{

using lines = std::vector<std::string>;

// What is said: the log, and standard error.
static std::multiset<std::string> said(const support::outcome &result)
{
    std::multiset<std::string> all;
    for (const std::string &line : lines_of(result.trace))
        if (begins_with(line, "log"))
            all.insert(line);
    for (const std::string &line : lines_of(result.err))
        all.insert(line);
    return all;
}

static bool is_reported(const usual_end &usual, const disturbed_end &end)
{
    std::multiset<std::string> before = said(usual.result);
    for (const std::string &line : said(end.result))
        if (before.count(line) < said(end.result).count(line))
            return true;
    return false;
}

static lines acts_of(const std::string &trace)
{
    lines acts;
    for (const std::string &line : lines_of(trace)) {
        if (begins_with(line, "log"))
            continue;
        std::string act = without_count(line);
        int count = act == line ? 1 : std::stoi(line.substr(line.rfind(" (x") + 3));
        acts.insert(acts.end(), size_t(count), act);
    }
    return acts;
}

// What a failing call would have left in the trace is missing, at most once for each.
struct acts_row {
    counted_call call;
    const char *start; // of the line
};

// clang-format off
static const acts_row acts_of_calls[] = {
    {CALL_socket, "ioctl "},
    {CALL_ioctl, "ioctl "},
    {CALL_system, "shell "},
    {CALL_fork, "run "},
    {CALL_execvp, "run "},
    {CALL_kill, "kill "},
    {CALL_mknod, "mknod "},
    {CALL_settimeofday, "settimeofday "},
};
// clang-format on

// A table of the firewall stays as it was, without a word, when its file cannot be created.
static const std::set<int> creating = {CALL_open,   CALL_fdopen, CALL_ftruncate,
                                       CALL_malloc, CALL_calloc, CALL_realloc};
static const char LOADING[] = "iptables-restore /tmp/";

static bool is_of_failed_call(const disturbed_end &end, const std::string &act)
{
    for (const acts_row &row : acts_of_calls)
        if (row.call == end.call && begins_with(act, row.start))
            return true;
    return creating.count(end.call) != 0 && act.find(LOADING) != std::string::npos;
}

// Whoever cannot be sent its first signal gets the second one, three seconds later.
struct reaction {
    const char *usual;
    const char *second;
};

static const reaction reactions[] = {
    {"kill 4711 SIGTERM", "kill 4711 SIGKILL"},
    {"kill 4712 SIGTERM", "kill 4712 SIGTERM"},
};
static const char PAUSE[] = "sleep 3";

static bool has(const lines &acts, const std::string &act)
{
    return std::find(acts.begin(), acts.end(), act) != acts.end();
}

static bool is_done_later(const std::string &act, const lines &now)
{
    for (const reaction &row : reactions)
        if (act == row.usual)
            return has(now, PAUSE);
    return false;
}

static bool is_second_attempt(const std::string &act, const lines &now)
{
    for (const reaction &row : reactions)
        if (act == row.second)
            return has(now, PAUSE);
    return act == PAUSE;
}

// How many acts of both, from these on, are the same in the same order.
static std::vector<std::vector<size_t>> common_acts(const lines &usual, const lines &now)
{
    std::vector<std::vector<size_t>> common(usual.size() + 1, std::vector<size_t>(now.size() + 1));
    for (size_t i = usual.size(); i-- > 0;)
        for (size_t j = now.size(); j-- > 0;)
            common[i][j] = usual[i] == now[j] ? common[i + 1][j + 1] + 1
                                              : std::max(common[i + 1][j], common[i][j + 1]);
    return common;
}

// Both in the same order, but for what is missing.
static std::string compare_acts(const disturbed_end &end, const lines &usual, const lines &now)
{
    std::string wrong;
    unsigned missing = 0;
    std::vector<std::vector<size_t>> common = common_acts(usual, now);
    for (size_t i = 0, j = 0; i < usual.size() || j < now.size();) {
        if (i < usual.size() && j < now.size() && usual[i] == now[j]) {
            i++, j++;
        } else if (j == now.size() || (i < usual.size() && common[i + 1][j] >= common[i][j + 1])) {
            bool is_lost = is_of_failed_call(end, usual[i]) && ++missing <= end.failed;
            if (!is_lost && !is_done_later(usual[i], now))
                wrong += "left out silently: " + usual[i] + "\n";
            i++;
        } else {
            if (!is_second_attempt(now[j], now))
                wrong += "done silently: " + now[j] + "\n";
            j++;
        }
    }
    return wrong;
}

// Files whose writer looks at no result, on purpose: what reads them meets the old ones or what is
// cut, and the next event, or the next start, writes them again.
struct unwatched_file {
    const char *start; // of its path
    std::set<int> calls;
};

static const std::set<int> writing = {CALL_open,      CALL_fdopen, CALL_malloc,
                                      CALL_ftruncate, CALL_write,  CALL_close};

static const unwatched_file unwatched_files[] = {
    {"/tmp/filter_rules", creating},
    {"/tmp/mangle_rules", creating},
    {"/tmp/nat_rules", creating},
    {"/etc/device_params", writing},
    {"/tmp/lanwanext.conf", writing},
    {"/var/run/Config", writing},
    {"/var/run/state_link", writing},
    {"/dev/sd", {CALL_unlink}},
    {"/media/", {CALL_rmdir}},
    {"/tmp/ppp/", {CALL_mkdir, CALL_symlink, CALL_unlink}},
    {"/tmp/udhcpc", {CALL_mkdir, CALL_symlink, CALL_unlink}},
};

static bool is_unwatched(const disturbed_end &end, const std::string &path)
{
    for (const unwatched_file &row : unwatched_files)
        if (begins_with(path, row.start) && row.calls.count(end.call) != 0)
            return true;
    return false;
}

static bool is_same(const files &one, const files &other, const std::string &path)
{
    auto in_one = one.find(path), in_other = other.find(path);
    bool is_in_both = in_one != one.end() && in_other != other.end();
    return is_in_both ? in_one->second == in_other->second
                      : in_one == one.end() && in_other == other.end();
}

// Of the files that the run changes usually, those that are not as it leaves them.
static std::string compare_changed(const usual_end &usual, const disturbed_end &end)
{
    std::set<std::string> paths;
    for (const files *all : {&usual.before, &usual.after})
        for (const auto &[path, content] : *all)
            if (!is_same(usual.before, usual.after, path))
                paths.insert(path);
    std::string wrong;
    for (const std::string &path : paths)
        if (!is_same(usual.after, end.after, path) && !is_unwatched(end, path))
            wrong += "silently not as usual: " + path + "\n";
    return wrong;
}

// Where nothing is reported, all is as when nothing fails. A status that tells of a failure is a
// report, too.
std::string check_silence(const usual_end &usual, const disturbed_end &end)
{
    bool is_told = end.result.status != usual.result.status && usual.result.status == 0;
    if (end.is_killed || end.is_mute || may_tear(end, "") || is_told || is_reported(usual, end))
        return "";
    std::string wrong;
    if (end.result.status != usual.result.status)
        wrong += "silent, with status " + std::to_string(end.result.status) + "\n";
    return wrong + compare_acts(end, acts_of(usual.result.trace), acts_of(end.result.trace)) +
           compare_changed(usual, end);
}

} // namespace sweep
