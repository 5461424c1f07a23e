// The DHCP client's last event: told to release its lease, udhcpc runs its script once more when it
// is stopped, while mcfg stop_wan goes on beside it. The event leaves the interface up for a next
// discovery only where one will come.
#include "system/dhcp_test.h"
#include "system/link_store.h"
#include "system/wan_box.h"

#include <chrono>
#include <thread>

namespace
{

using dhcp_life::vlan2_lease;

// Stopping the tunnel, which is not dialled, takes the stop three seconds.
constexpr char ENTRY[] = R"([{"iface":"vlan2","type":"dhcp","have_tunnels":true,
    "Tunnels":[{"type":"pptp","name":"club"}]}])";

class dhcp_stop : public wan_box
{
  protected:
    void SetUp() override
    {
        configure(ENTRY);
        box.interface("vlan2");
    }
    outcome event(const char *name, const support::environment &env = {{"interface", "vlan2"}})
    {
        return box.run({"/tmp/udhcpc", name}, env);
    }
    // As udhcpc begins: with a first event for no lease.
    void start(bool is_leased)
    {
        mcfg({"start_wan", "1", "0"});
        event("deconfig");
        if (is_leased)
            event("bound", vlan2_lease);
        box.write("/var/run/udhcpc.vlan2.pid", std::to_string(box.bystander()));
        box.clear_trace();
    }
    void stop_with_event_meanwhile();
    void wait_for_line(const std::string &line);
};

void dhcp_stop::wait_for_line(const std::string &line)
{
    auto until = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (box.trace().find(line + "\n") == std::string::npos) {
        ASSERT_LT(std::chrono::steady_clock::now(), until) << box.trace();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

void dhcp_stop::stop_with_event_meanwhile()
{
    box.on("wait /tmp/go sleep 3");
    pid_t stop = box.start({"mcfg", "stop_wan", "1", "0"});
    wait_for_line("sleep 3");
    event("deconfig");
    box.write("/tmp/go", "");
    EXPECT_EQ(box.finish(stop).status, 0);
}

struct last_event {
    const char *name;
    bool is_leased;
    bool is_first; // the event comes before the stop looks for the link
    const char *requests;
    const char *vlan2;
};

const last_event last_events[] = {
    {"the event ends the link: the stop takes the interface down all the same", true, true, R"(
        ioctl vlan2 SIOCSIFFLAGS 0x1043
        ioctl vlan2 SIOCSIFADDR 0.0.0.0
        ioctl vlan2 SIOCSIFFLAGS 0x0
        ioctl vlan2 SIOCSIFADDR 0.0.0.0
        ioctl vlan2 SIOCSIFFLAGS 0x1043
        ioctl vlan2 SIOCSIFFLAGS 0x0
     )",
     "down"},
    {"the stop ends the link: the event finds none, and its first step stands", true, false, R"(
        ioctl vlan2 SIOCSIFFLAGS 0x0
        ioctl vlan2 SIOCSIFADDR 0.0.0.0
        ioctl vlan2 SIOCSIFFLAGS 0x1043
        ioctl vlan2 SIOCSIFADDR 0.0.0.0
     )",
     "up"},
    {"directly after the start, without a lease", false, true, R"(
        ioctl vlan2 SIOCSIFFLAGS 0x1043
        ioctl vlan2 SIOCSIFADDR 0.0.0.0
     )",
     "up"},
    {"the same, with a late event", false, false, R"(
        ioctl vlan2 SIOCSIFFLAGS 0x1043
        ioctl vlan2 SIOCSIFADDR 0.0.0.0
     )",
     "up"},
};

TEST_F(dhcp_stop, leaves_no_link_and_no_address)
{
    for (const last_event &row : last_events) {
        SCOPED_TRACE(row.name);
        box.clear_rules();
        box.remove("/tmp/go");
        start(row.is_leased);
        if (row.is_first) {
            stop_with_event_meanwhile();
        } else {
            mcfg({"stop_wan", "1", "0"});
            event("deconfig");
        }
        EXPECT_TRACE(row.requests, box.trace_of({"ioctl"}));
        EXPECT_EQ(vlan2(), row.vlan2);
        EXPECT_EQ(routes(), "");
        EXPECT_TRUE(link_store::links(box).empty());
        EXPECT_FALSE(box.exists("/var/lock/state_link.lock"));
    }
}

// What a stop and a start in a row come to.
TEST_F(dhcp_stop, is_followed_by_a_start_like_the_first)
{
    start(true);
    stop_with_event_meanwhile();
    start(true);
    EXPECT_EQ(vlan2(), "up 192.0.2.10/24 broadcast 192.0.2.255");
    EXPECT_EQ(link_store::links(box).size(), 1u);
}

// The base network's stop leaves the client and the link alone. What comes later finds no
// interface.
TEST_F(dhcp_stop, of_the_base_network_first)
{
    start(true);
    box.run({"mcfg", "netbase_stop"});
    EXPECT_EQ(vlan2(), "down 192.0.2.10/24 broadcast 192.0.2.255");
    EXPECT_EQ(link_store::links(box).size(), 1u);
    box.in_network({"ip", "link", "delete", "vlan2"}); // as vconfig does
    outcome late = event("deconfig");
    EXPECT_EQ(late.status, 0);
    EXPECT_EQ(late.err, "vlan2: No such device\nvlan2: No such device\nvlan2: No such device\n");
    EXPECT_TRUE(link_store::links(box).empty());
}

} // namespace
