// Events of several links side by side. The store's lock is an existence test and a creation, two
// steps, and nobody waits for it long: updates may be lost, and the store may even be torn, but
// only where a process said that it did not get the lock or where two held it at once. The next
// save always finds its way back.
#include "support/rounds.h"
#include "support/router_box.h"
#include "system/link_store.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <optional>
#include <sstream>
#include <stdio.h>
#include <thread>

namespace
{

using support::environment;
using support::outcome;

constexpr char STORE[] = "/var/run/state_link";
constexpr char LOCK[] = "/var/lock/state_link.lock";

constexpr char CONFIG[] = R"({"Network":{"Wan":[
    {"iface":"vlan2","type":"dhcp","Tunnels":[{"name":"t1","metric":1},{"name":"t2","metric":2}]},
    {"iface":"wimax0","type":"dhcp"},{"iface":"eth9","type":"dhcp"}]}})";

struct link_event {
    const char *iface;
    const char *program;
    const char *argument;
    environment env;
    const char *record; // that an up event leaves, "" for a down event
};

environment lease(const char *iface, const char *ip)
{
    return {{"interface", iface}, {"ip", ip}, {"subnet", "255.255.255.0"}, {"router", "192.0.2.1"}};
}

environment ppp(const char *iface, const char *link_name)
{
    return {{"IFNAME", iface}, {"LINKNAME", link_name}, {"IPLOCAL", "10.9.0.10"}};
}

// Saved texts of different lengths, so that one written over another shows.
const link_event up_events[] = {
    {"vlan2", "udhcpc", "bound", lease("vlan2", "192.0.2.10"),
     R"({"iface": "vlan2", "name": "wan", "type": "dhcp", "proto": "ether", "metric": 101, )"
     R"("ipaddr": "192.0.2.10", "netmask": "255.255.255.0", "gateway": "192.0.2.1"})"},
    {"wimax0", "udhcpc", "bound", lease("wimax0", "192.0.2.9"),
     R"({"iface": "wimax0", "name": "wimax", "type": "dhcp", "proto": "wimax", "metric": 100, )"
     R"("ipaddr": "192.0.2.9", "netmask": "255.255.255.0", "gateway": "192.0.2.1"})"},
    {"ppp1", "ip-up", "ppp1", ppp("ppp1", "pppoe-t1"),
     R"({"iface": "ppp1", "type": "pppoe", "name": "t1", "proto": null, "metric": 1, )"
     R"("ipaddr": "10.9.0.10", "netmask": "255.255.255.255", "gateway": null, "dns1": null, )"
     R"("dns2": null})"},
    {"ppp2", "ip-up", "ppp2", ppp("ppp2", "l2tp-t2"),
     R"({"iface": "ppp2", "type": "l2tp", "name": "t2", "proto": null, "metric": 2, )"
     R"("ipaddr": "10.9.0.10", "netmask": "255.255.255.255", "gateway": null, "dns1": null, )"
     R"("dns2": null})"},
    {"ppp3", "ip-up", "ppp3", ppp("ppp3", "3g-modem"),
     R"({"iface": "ppp3", "type": "3g", "name": "modem", "proto": null, "metric": 10, )"
     R"("ipaddr": "10.9.0.10", "netmask": "255.255.255.255", "gateway": null, "dns1": null, )"
     R"("dns2": null})"},
};

const link_event down_events[] = {
    {"eth9", "udhcpc", "deconfig", {{"interface", "eth9"}}, ""},
    {"ppp9", "ip-down", "ppp9", {{"IFNAME", "ppp9"}}, ""},
};

constexpr char STORE_BEFORE[] = R"({"state_links":[
    {"iface":"eth9","name":"unknown","ipaddr":"192.0.2.8"},
    {"iface":"ppp9","name":"t9","type":"pppoe","ipaddr":"10.9.0.9"}]})";

// What one process wrote to the log, by line number of the whole trace.
struct process_seen {
    bool is_up = false;
    std::string iface;
    bool was_config_locked = false;
    bool was_store_locked = false;
    bool started_afresh = false;
    size_t store_begin = 0; // around its work on the store, 0 while not seen
    size_t store_end = 0;

    bool held_the_lock() const { return store_end != 0 && !was_store_locked; }
};

class links_at_once : public testing::Test
{
  protected:
    class box_with_writers : public support::router_box
    {
      public:
        using world::raw_trace; // lines of the writer's number, those of its parents, and the text
    };
    box_with_writers box;

    void SetUp() override
    {
        box.write("/var/run/Config", CONFIG);
        box.mkdir("/tmp/ppp");
        box.on("skip ioctl");
    }
    pid_t start(const link_event &event)
    {
        return box.start({event.program, event.argument}, event.env);
    }
    outcome run(const link_event &event)
    {
        return box.run({event.program, event.argument}, event.env);
    }
    std::vector<process_seen> processes() const;
    void wait_for_lines(const std::vector<std::string> &texts, size_t count) const;
};

bool ends_with(const std::string &text, const std::string &end)
{
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// What a line of the trace says about the process that wrote it.
void note(process_seen *seen, const std::string &text, size_t number)
{
    const std::string iface = " iface = ";
    if (text.rfind("log dhcp client:" + iface, 0) == 0 ||
        text.rfind("log ppp-down:" + iface, 0) == 0 ||
        (text.rfind("log ppp-up:" + iface, 0) == 0 && text.find(',') == std::string::npos))
        seen->iface = text.substr(text.find(iface) + iface.size());
    else if (text == "log dhcp client: bound" || text == "log ppp-up: start")
        seen->is_up = true;
    else if (text == "log mcfg-open_file_with_lock: Can't unlock file")
        seen->was_config_locked = true;
    else if (text == "log mcfg-set_lock_on_file: Can't lock file")
        seen->was_store_locked = true;
    else if (text == "log mcfg-save_link_state_ex: get root - error")
        seen->started_afresh = true;
    else if (text == "log mcfg-save_link_state_ex: start" || ends_with(text, "_down: start"))
        seen->store_begin = number;
    else if (text == "log mcfg-save_link_state_ex: stop" || ends_with(text, "_down: stop"))
        seen->store_end = number;
}

std::vector<process_seen> links_at_once::processes() const
{
    std::map<std::string, process_seen> by_writer;
    std::istringstream lines(box.raw_trace());
    size_t number = 1;
    for (std::string line; std::getline(lines, line); number++) {
        size_t text = line.find_first_not_of("0123456789 ");
        if (text != std::string::npos)
            note(&by_writer[line.substr(0, line.find(' '))], line.substr(text), number);
    }
    std::vector<process_seen> result;
    for (const auto &[writer, seen] : by_writer) {
        if (!seen.iface.empty())
            result.push_back(seen);
    }
    return result;
}

size_t count_of(const std::string &text, const std::string &trace)
{
    size_t count = 0;
    for (size_t at = trace.find(text); at != std::string::npos; at = trace.find(text, at + 1))
        count++;
    return count;
}

// Waits until the trace holds count lines with one of the texts.
void links_at_once::wait_for_lines(const std::vector<std::string> &texts, size_t count) const
{
    auto until = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    size_t found = 0;
    while (found < count && std::chrono::steady_clock::now() < until) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        const std::string trace = box.raw_trace();
        found = 0;
        for (const std::string &text : texts)
            found += count_of(text, trace);
    }
    ASSERT_EQ(found, count) << texts.front();
}

// A link that goes down holds the lock while its commands run. Whoever saves meanwhile gives up,
// and its record is not in the store; its next event puts it there.
TEST_F(links_at_once, a_save_beside_a_link_that_goes_down_is_lost)
{
    box.write(STORE, STORE_BEFORE);
    box.on("wait /tmp/go run iptables -t nat -D");
    pid_t down = start(down_events[1]);
    wait_for_lines({"run iptables -t nat -D"}, 1);
    outcome up = run(up_events[0]);
    EXPECT_EQ(up.status, 0);
    EXPECT_NE(up.trace.find("log mcfg-set_lock_on_file: Can't lock file\n"), std::string::npos);
    EXPECT_NE(up.trace.find("log mcfg-wan_up: stop\\n"), std::string::npos);
    box.write("/tmp/go", "");
    EXPECT_EQ(box.finish(down).status, 0);
    EXPECT_EQ(link_store::links(box),
              (std::vector<std::string>{
                  R"({"iface": "eth9", "name": "unknown", "ipaddr": "192.0.2.8"})"}));
    EXPECT_FALSE(box.exists(LOCK));

    run(up_events[0]);
    EXPECT_EQ(
        link_store::links(box),
        (std::vector<std::string>{R"({"iface": "eth9", "name": "unknown", "ipaddr": "192.0.2.8"})",
                                  up_events[0].record}));
}

// Two that hold the lock at once (here it is taken away from the first): the one that writes last
// wins, and one of the two finds no lock to release.
TEST_F(links_at_once, of_two_that_hold_the_lock_the_last_to_write_wins)
{
    box.write(STORE, STORE_BEFORE);
    box.on("wait /tmp/go run iptables -t nat -D");
    pid_t down = start(down_events[1]);
    wait_for_lines({"run iptables -t nat -D"}, 1);
    box.remove(LOCK);
    EXPECT_EQ(run(up_events[0]).status, 0);
    EXPECT_EQ(link_store::last(box), up_events[0].record);
    box.clear_trace();
    box.write("/tmp/go", "");
    EXPECT_EQ(box.finish(down).status, 0);
    EXPECT_NE(box.trace().find("log mcfg-clear_lock_on_file: Can't clear lock file\n"),
              std::string::npos);
    EXPECT_EQ(link_store::links(box),
              (std::vector<std::string>{
                  R"({"iface": "eth9", "name": "unknown", "ipaddr": "192.0.2.8"})"}));
    EXPECT_FALSE(box.exists(LOCK));

    run(up_events[0]);
    EXPECT_EQ(link_store::last(box), up_events[0].record);
}

// How often what happened, over all rounds.
struct totals {
    int rounds = 0;
    int events = 0;
    int config_locked_lease = 0; // a lease without link
    int config_locked_ppp = 0;   // a PPP link without metric
    int store_locked = 0;
    int overlapping_rounds = 0; // rounds in which two held the store's lock at once
    int overwritten = 0;        // updates lost although the process held the lock
    int found_corrupt = 0;      // saves that started afresh
    int left_corrupt = 0;       // rounds that left a store that does not parse
};

bool two_held_the_lock(const std::vector<process_seen> &all)
{
    for (const process_seen &a : all) {
        for (const process_seen &b : all) {
            if (&a != &b && a.held_the_lock() && b.held_the_lock() && a.store_begin < b.store_end &&
                b.store_begin < a.store_end)
                return true;
        }
    }
    return false;
}

bool is_corrupt(const std::string &text)
{
    json_t *value = json_loads(text.c_str(), 0, nullptr);
    json_decref(value);
    return value == nullptr;
}

const link_event *event_of(const process_seen &seen)
{
    for (const link_event &event : up_events) {
        if (seen.is_up && seen.iface == event.iface)
            return &event;
    }
    for (const link_event &event : down_events) {
        if (!seen.is_up && seen.iface == event.iface)
            return &event;
    }
    return nullptr;
}

// A tunnel's record when its link could not ask the configuration for the metric.
std::string without_metric(const std::string &record)
{
    size_t begin = record.find("\"metric\": ");
    size_t end = record.find(',', begin);
    return record.substr(0, begin) + "\"metric\": null" + record.substr(end);
}

// Whether the event did to the store what it was to do.
bool is_done(const process_seen &seen, const link_event &event,
             const std::vector<std::string> &links)
{
    const std::string begin = std::string(R"({"iface": ")") + event.iface + "\"";
    auto found = std::find_if(links.begin(), links.end(), [&](const std::string &link) {
        return link.compare(0, begin.size(), begin) == 0;
    });
    if (!seen.is_up)
        return found == links.end();
    if (found == links.end())
        return false;
    bool is_ppp = std::string(event.program) == "ip-up";
    EXPECT_EQ(*found,
              is_ppp && seen.was_config_locked ? without_metric(event.record) : event.record);
    return true;
}

void check_event(const process_seen &seen, const std::vector<std::string> &links, bool two_held,
                 totals *sum)
{
    const link_event *event = event_of(seen);
    ASSERT_NE(event, nullptr) << seen.iface;
    bool is_lease = seen.is_up && std::string(event->program) == "udhcpc";
    sum->events++;
    sum->config_locked_lease += is_lease && seen.was_config_locked;
    sum->config_locked_ppp += !is_lease && seen.was_config_locked;
    sum->store_locked += seen.was_store_locked;
    sum->found_corrupt += seen.started_afresh;
    EXPECT_TRUE(!seen.started_afresh || two_held) << seen.iface << " found no store";
    bool gave_up = seen.was_store_locked || (is_lease && seen.was_config_locked);
    if (gave_up || is_done(seen, *event, links))
        return;
    sum->overwritten++;
    EXPECT_TRUE(two_held) << seen.iface << " was lost although nobody else held the lock";
}

void print(const char *what, const totals &sum)
{
    printf("%s: %d rounds, %d events: no Config lock %d leases, %d PPP links; no store lock %d; "
           "two holders in %d rounds: %d updates overwritten, %d saves found a torn store, %d "
           "rounds left one\n",
           what, sum.rounds, sum.events, sum.config_locked_lease, sum.config_locked_ppp,
           sum.store_locked, sum.overlapping_rounds, sum.overwritten, sum.found_corrupt,
           sum.left_corrupt);
}

class links_at_once_rounds : public links_at_once
{
  protected:
    enum class start_line {
        none,         // as the processes come
        at_the_store, // all wait for each other before they touch the store
    };
    void start_and_finish(start_line line);
    void check_round(totals *sum);
    void check_next_save();
    void run_rounds(const char *what, start_line line);
};

void links_at_once_rounds::start_and_finish(start_line line)
{
    box.clear_rules();
    box.on("skip ioctl");
    box.write(STORE, STORE_BEFORE);
    box.remove("/tmp/go");
    box.clear_trace();
    if (line == start_line::at_the_store) {
        box.on("wait /tmp/go shell led green_wan");
        box.on("wait /tmp/go shell export -p > /tmp/ppp-down-env");
    }
    std::vector<pid_t> handles;
    for (const link_event &event : up_events)
        handles.push_back(start(event));
    for (const link_event &event : down_events)
        handles.push_back(start(event));
    if (line == start_line::at_the_store) {
        wait_for_lines({" shell led green_wan", "/tmp/ppp-down-env", "wan_up: Error on load file"},
                       handles.size());
        box.write("/tmp/go", "");
    }
    for (pid_t handle : handles) {
        outcome result = box.finish(handle);
        EXPECT_EQ(result.status, 0) << result.err;
    }
}

void links_at_once_rounds::check_round(totals *sum)
{
    EXPECT_FALSE(box.exists(LOCK));
    EXPECT_FALSE(box.exists("/var/lock/Config.lock"));
    std::vector<process_seen> all = processes();
    EXPECT_EQ(all.size(), std::size(up_events) + std::size(down_events));
    bool two_held = two_held_the_lock(all);
    bool is_torn = is_corrupt(box.read(STORE));
    std::vector<std::string> links = link_store::links(box);
    sum->rounds++;
    sum->overlapping_rounds += two_held;
    sum->left_corrupt += is_torn;
    EXPECT_TRUE(!is_torn || two_held);
    for (const process_seen &seen : all)
        check_event(seen, links, two_held, sum);
}

// Alone again, an event is saved whatever the others left: behind the other links, or in a fresh
// store when the old one is torn.
void links_at_once_rounds::check_next_save()
{
    box.clear_rules();
    box.on("skip ioctl");
    std::vector<std::string> expected;
    for (const std::string &link : link_store::links(box)) {
        if (link != up_events[0].record)
            expected.push_back(link);
    }
    expected.push_back(up_events[0].record);
    EXPECT_EQ(run(up_events[0]).status, 0);
    EXPECT_EQ(link_store::links(box), expected);
}

void links_at_once_rounds::run_rounds(const char *what, start_line line)
{
    totals sum;
    for (int i = 0; i < support::rounds(3) && !HasFailure(); i++) {
        SCOPED_TRACE(i);
        start_and_finish(line);
        check_round(&sum);
        if (HasFailure())
            printf("%s", box.trace().c_str());
        check_next_save();
    }
    print(what, sum);
}

TEST_F(links_at_once_rounds, as_they_come)
{
    run_rounds("as they come", start_line::none);
}

TEST_F(links_at_once_rounds, all_at_the_store_together)
{
    run_rounds("at the store together", start_line::at_the_store);
}

} // namespace
