// What mctl tells when one of its calls fails: what rests on something that could not be looked at
// is no verdict. (The sweep fails every call of every command, and looks at what must hold of all.)
#include "support/recorder_failing.h"
#include "support/router_box.h"
#include "support/world_root.h"
#include "sweep/watched_router.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <string.h>
#include <string>
#include <vector>

namespace
{

constexpr unsigned LAST = 0; // as a number: the last of its kind
constexpr unsigned NEARBY = 10;

struct failing_row {
    const char *what;
    const char *words; // behind "mctl "
    counted_call call;
    unsigned nth; // of its kind, or one nearby where what is told says which it was
    int error;
    int status;
    const char *err;
};

constexpr char OUTPUT[] = "mctl: standard output: Input/output error\n";

// clang-format off
const failing_row rows[] = {
    {"no descriptor for a file", "check", CALL_open, 10, EMFILE, 2,
     "mctl: cannot look at /etc/default/rules: Too many open files\n"},
    {"no memory for a file", "check", CALL_malloc, 1, ENOMEM, 2,
     "mctl: cannot look at /etc/default/network-interfaces: Cannot allocate memory\n"},
    {"no memory for names", "check", CALL_realloc, 19, ENOMEM, 2,
     "mctl: cannot look at all names: Cannot allocate memory\n"},
    {"no memory for ports", "check", CALL_calloc, 1, ENOMEM, 2,
     "mctl: cannot look at ports that are forwarded twice: Cannot allocate memory\n"},
    {"a file that cannot be read is told of itself", "check", CALL_read, 1, EIO, 1, ""},
    {"a part of a path that cannot be looked at, too", "check", CALL_lstat, 3, EIO, 1, ""},
    {"findings that cannot be written", "check", CALL_write, 1, EIO, 2, OUTPUT},

    {"a port of the bridge", "status", CALL_lstat, 7, EIO, 2,
     "mctl: cannot look at /sys/class/net/br0/brif/vlan1: Input/output error\n"},
    {"whether there is a pid file", "status", CALL_stat, 3, EIO, 2,
     "mctl: cannot look at /var/run/udhcpc.vlan2.pid: Input/output error\n"},
    {"no descriptor for a pid file", "status", CALL_open, 6, EMFILE, 2,
     "mctl: cannot look at /var/run/udhcpc.vlan2.pid: Too many open files\n"},
    {"a pid file", "status", CALL_read, 9, EIO, 2,
     "mctl: cannot look at /var/run/udhcpc.vlan2.pid: Input/output error\n"},
    {"no memory for the list of processes", "status", CALL_malloc, 238, ENOMEM, 2,
     "mctl: cannot look at /proc: Cannot allocate memory\n"},
    {"a list of processes that breaks off", "status", CALL_readdir, 2, EIO, 2,
     "mctl: cannot look at /proc: Input/output error\n"},
    {"whether there is a lock", "status", CALL_lstat, 10, EIO, 2,
     "mctl: cannot look at /var/lock/Config.lock: Input/output error\n"},
    {"the rule file", "status", CALL_lstat, 11, EIO, 2,
     "mctl: cannot look at /tmp/nat_rules: Input/output error\n"},
    {"no memory for the rule file", "status", CALL_malloc, 240, ENOMEM, 2,
     "mctl: cannot look at /tmp/nat_rules: Cannot allocate memory\n"},
    {"no memory for its rules", "status", CALL_realloc, 5, ENOMEM, 2,
     "mctl: cannot look at /tmp/nat_rules: Cannot allocate memory\n"},
    {"no memory for the rules that are loaded", "status", CALL_realloc, 6, ENOMEM, 2,
     "mctl: cannot look at /tmp/nat_rules: Cannot allocate memory\n"},
    {"the time of Config", "status", CALL_stat, 8, EIO, 2,
     "mctl: cannot look at /var/run/Config: Input/output error\n"},
    {"the time of the settings", "status", CALL_stat, 9, EIO, 2,
     "mctl: cannot look at /etc/default: Input/output error\n"},
    {"no memory for what the settings make", "status", CALL_malloc, 250, ENOMEM, 2,
     "mctl: cannot look at what the settings make: Cannot allocate memory\n"},
    {"settings that cannot be read for a moment", "status", CALL_fdopen, 2, ENOMEM, 0,
     "/etc/default/dns.conf: Cannot allocate memory\n"},
    {"the routes", "status", CALL_read, 5, EIO, 2,
     "mctl: cannot see the network: Input/output error\n"},
    {"a status that cannot be written", "status", CALL_write, 1, EIO, 2, OUTPUT},
    {"no memory for JSON", "status --json", CALL_malloc, 450, ENOMEM, 2,
     "mctl: not enough memory to tell the status\n"},

    {"its lock is another's", "heal", CALL_fcntl_lock, 1, EACCES, 0, ""},
    {"its lock cannot be opened", "heal", CALL_open, 2, EACCES, 2,
     "/var/run/mctl-heal.lock: Permission denied\n"},
    {"a lock that it looks at again", "heal --dry-run", CALL_lstat, LAST, EIO, 2,
     "mctl: cannot look at /var/lock/Config.lock: Input/output error\n"},
    {"its holder, who may have come by then", "heal --dry-run", CALL_open, LAST, EMFILE, 2,
     "mctl: cannot look at /proc/999999/stat: Too many open files\n"},
    {"steps that cannot be told", "heal --dry-run", CALL_write, 1, EIO, 2, OUTPUT},
    {"steps that are taken, and cannot be told", "heal", CALL_write, 1, EIO, 2,
     "vlan9: No such device\nmctl: standard output: Input/output error\n"},

    {"the LAN that its forwards lead to", "firewall br0 vlan2 none", CALL_lstat, 3, EIO, 0,
     "mctl: cannot look at /etc/default/network-interfaces: Input/output error\n"},
    {"what of the settings could not be looked at", "firewall br0 vlan2 none", CALL_calloc, 1,
     ENOMEM, 0, "mctl: cannot look at ports that are forwarded twice: Cannot allocate memory\n"},
    {"what is wrong with the settings cannot be told", "firewall br0 vlan2 none", CALL_write, 1,
     EIO, 2, OUTPUT},
    {"what became of a table cannot be told", "firewall br0 vlan2 none", CALL_write, 2, EIO, 2,
     OUTPUT},
};
// clang-format on

std::vector<std::string> split(const std::string &text)
{
    std::vector<std::string> words = {"mctl"};
    std::istringstream stream(text);
    for (std::string word; stream >> word;)
        words.push_back(word);
    return words;
}

// The number among all calls of the nth of a kind.
unsigned number_of(const std::vector<uint8_t> &calls, counted_call call, unsigned nth)
{
    unsigned last = 0;
    for (size_t i = 0; i < calls.size(); i++) {
        if (calls[i] != call)
            continue;
        last = static_cast<unsigned>(i) + 1;
        if (--nth == 0)
            return last;
    }
    return last;
}

bool is_as_wanted(const support::outcome &seen, const failing_row &row)
{
    return seen.status == row.status && seen.err == row.err;
}

// How far away its call may be.
unsigned nearby_of(const failing_row &row)
{
    bool is_told = row.err[0] != '\0' && strstr(row.err, OUTPUT) == nullptr;
    return is_told && row.nth != LAST ? NEARBY : 0;
}

// heal takes no step, and tells of none.
bool is_step_refused(const failing_row &row)
{
    return strstr(row.words, "heal") != nullptr && strstr(row.err, "cannot look") != nullptr;
}

class unseen_by_mctl : public testing::Test
{
  protected:
    support::router_box box{support::program_of_build("mctl")};

    void prepare(const std::string &command)
    {
        if (command == "check" || command == "firewall")
            sweep::spoil_settings(box);
        if (command == "status")
            sweep::renew_settings(box);
        if (command == "heal")
            sweep::leave_lock_and_record(box);
    }

    support::outcome fail(const failing_row &row, unsigned nth)
    {
        const std::vector<std::string> words = split(row.words);
        prepare(words[1]);
        const support::failing_outcome usual = box.run_failing(words, {}, {});
        unsigned number = number_of(usual.calls, row.call, nth);
        prepare(words[1]);
        return box.run_failing(words, {}, {number, row.error, FAILS_ONCE, PROGRAM_ITSELF, 0})
            .result;
    }
};

TEST_F(unseen_by_mctl, gives_no_verdict_on_what_it_could_not_look_at)
{
    sweep::furnish_watched(box);
    for (const failing_row &row : rows) {
        SCOPED_TRACE(std::string(row.words) + ": " + row.what);
        support::outcome seen = fail(row, row.nth);
        for (unsigned away = 1; away < nearby_of(row) && !is_as_wanted(seen, row); away++)
            seen = fail(row, away % 2 == 0 ? row.nth - away / 2 : row.nth + (away + 1) / 2);
        EXPECT_EQ(seen.status, row.status) << seen.out;
        EXPECT_EQ(seen.err, row.err) << seen.out;
        EXPECT_TRUE(seen.out.empty() || !is_step_refused(row)) << seen.out;
    }
}

} // namespace
