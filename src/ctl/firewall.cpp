#include "ctl/firewall.h"

#include "config/json_access.h"
#include "ctl/check/check.h"
#include "ctl/output.h"
#include "ctl/printable.h"
#include "ctl/record_lock.h"
#include "ctl/refused_rule.h"
#include "ctl/status/look.h"
#include "ctl/unseen.h"
#include "firewall/tables.h"
#include "util/link_state.h"
#include "util/tool_output.h"
#include "wan/ppp_link.h"

#include <errno.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

constexpr unsigned REBUILD_TIMEOUT_S = 300;
constexpr unsigned TEST_TIMEOUT_S = 60;
constexpr int JUMP_ROUNDS = 3;
constexpr timespec BETWEEN_LOOKS = {0, 20 * 1000 * 1000};

struct table {
    const char *name;
    const char *path;
};

constexpr table tables[] = {
    {"nat", NAT_RULES},
    {"filter", FILTER_RULES},
    {"mangle", MANGLE_RULES},
};

constexpr const char *log_modes[] = {"accept", "drop", "both", "none"};

static bool is_log_mode(const char *word)
{
    for (const char *mode : log_modes) {
        if (strcmp(mode, word) == 0)
            return true;
    }
    return false;
}

// ---- the jumps

// One more, or all but one less, until the record's address has one. Returns whether it had.
static bool put_jump_right(const nat_view &nat, const json_t *record)
{
    const char *iface = text_or_empty(json_object_get(record, "iface"));
    in_addr_t address_be = address_of(record, "ipaddr");
    if (iface[0] == '\0' || address_be == 0)
        return true;
    size_t count = count_jumps(nat, iface, address_be);
    char address[IPV4_TEXT_MAX];
    format_address(address, address_be);
    if (count == 0)
        change_jump("-I", iface, address);
    for (size_t i = 1; i < count; i++)
        change_jump("-D", iface, address);
    return count == 1;
}

// Links come and go meanwhile, and add jumps of their own: so it is looked at again. A store that
// cannot be used hides which links there are: *store_fault is what it has, else null.
static bool put_jumps_right(const char **store_fault)
{
    for (int round = 0; round < JUMP_ROUNDS; round++) {
        look at = {};
        look_at_store(&at);
        *store_fault = at.store_fault;
        bool is_right = look_at_nat(&at.nat) == 0 && at.store_fault == nullptr;
        const json_t *records = is_right ? all_records(at) : nullptr;
        for (size_t i = 0; i < json_array_size(records); i++)
            is_right = put_jump_right(at.nat, json_array_get(records, i)) && is_right;
        forget_look(&at);
        if (is_right || *store_fault != nullptr)
            return is_right;
    }
    return false;
}

// ---- the rebuild

// The rule file that is written next tells that the nat table is loaded, or refused.
static timespec next_file_time()
{
    struct stat status = {};
    return stat(FILTER_RULES, &status) == 0 ? status.st_mtim : timespec{};
}

// One that cannot be looked at is not: who waits for it would be waited for.
static bool is_next_file_written(timespec before)
{
    timespec now = next_file_time();
    bool is_seen = now.tv_sec != 0 || now.tv_nsec != 0;
    return is_seen && (now.tv_sec != before.tv_sec || now.tv_nsec != before.tv_nsec);
}

[[noreturn]] static void watch(timespec before)
{
    alarm(REBUILD_TIMEOUT_S); // though nobody should be left to end it
    while (!is_next_file_written(before))
        nanosleep(&BETWEEN_LOOKS, nullptr);
    const char *store_fault = nullptr;
    put_jumps_right(&store_fault);
    _exit(0);
}

// The other two tables take a while, in which nothing would find its way into the port forwards:
// so a process beside it puts the jumps right as soon as the nat table is loaded. Without one they
// wait for the end. Returns its number, or -1.
static pid_t start_watcher(timespec before)
{
    fflush(stdout);
    pid_t watcher = fork();
    if (watcher == 0)
        watch(before);
    return watcher;
}

// By then it is at work, unless there was nothing to see.
static void end_watcher(pid_t watcher, bool is_done)
{
    if (watcher < 0)
        return;
    if (!is_done)
        kill(watcher, SIGKILL);
    while (waitpid(watcher, nullptr, 0) < 0 && errno == EINTR)
        continue;
}

// It always ends with 0; what it prints last tells that it has got so far.
static bool rebuild(char **words)
{
    const char *const argv[] = {"firewall_update", words[0], words[1], words[2], nullptr};
    int status = 0;
    timespec before = next_file_time();
    pid_t watcher = start_watcher(before);
    char *told = read_tool_output(argv, REBUILD_TIMEOUT_S, &status);
    end_watcher(watcher, is_next_file_written(before));
    bool is_done = status == 0 && told != nullptr && strstr(told, "firewall done") != nullptr;
    free(told);
    if (is_done)
        return true;
    make_printable(words[0]);
    printf("firewall_update has rebuilt nothing (status %d): has %s an address?\n", status,
           words[0]);
    return false;
}

// ---- what is loaded

// What iptables-restore says to the file without loading it.
static bool is_taken(const table &row)
{
    const char *const argv[] = {"iptables-restore", "--test", row.path, nullptr};
    int status = 0;
    char *messages = read_tool_messages(argv, TEST_TIMEOUT_S, &status);
    if (status != 0) {
        printf("%s: refused, the table before stays in force\n", row.name);
        show_refused_rule(row.path, messages != nullptr ? messages : "");
    }
    free(messages);
    return status == 0;
}

static bool is_loaded(const table &row)
{
    char difference[96] = "";
    int status = 0;
    char *listing = list_table(row.name, &status);
    bool is_listed = status == 0 && listing != nullptr;
    bool is_same = is_listed && is_as_generated(row.path, listing, difference, sizeof(difference));
    free(listing);
    make_printable(difference);
    if (!is_listed)
        printf("%s: cannot be listed: iptables ended with %d\n", row.name, status);
    else if (is_same)
        printf("%s: loaded\n", row.name);
    else
        printf("%s: not as it was generated: %s\n", row.name, difference);
    return is_same;
}

static bool are_loaded()
{
    bool are_all = true;
    for (const table &row : tables)
        are_all = is_taken(row) && is_loaded(row) && are_all;
    return are_all;
}

static bool make_sure_of_jumps()
{
    const char *store_fault = nullptr;
    if (put_jumps_right(&store_fault))
        return true;
    if (store_fault != nullptr)
        printf("%s %s: mctl status tells what to do\n", LINK_STATE_PATH, store_fault);
    puts("the ways into the port forwards could not be put right");
    return false;
}

static bool run(char **words)
{
    check_firewall_settings("/", stdout);
    tell_unseen();
    if (!rebuild(words))
        return false;
    bool are_right = make_sure_of_jumps();
    return are_loaded() && are_right;
}

int firewall_main(int count, char **words)
{
    if (count != 3 || words[0][0] == '\0' || words[1][0] == '\0' || !is_log_mode(words[2])) {
        fputs("usage: mctl firewall LAN WAN accept|drop|both|none\n", stderr);
        return 2;
    }
    int lock = take_record(FIREWALL_RECORD, true);
    if (lock < 0) {
        perror(FIREWALL_RECORD);
        return 2;
    }
    bool is_well = run(words);
    release_record(lock);
    return status_of_output(is_well ? 0 : 1);
}
