// mctl status and mctl heal, reason by reason: the state is made, the status names it and nothing
// else, heal mends it (or the world does), and the status is content.
#include "ctl/heal/heal.h"
#include "ctl/router_world.h"
#include "ctl/status/tunnel_daemons.h"

#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

using router_world::router_test;

class status_reason : public router_test
{
  protected:
    void SetUp() override
    {
        router_test::SetUp();
        world.tool("/sbin/mcfg");
    }

    void expect(const std::vector<std::string> &expected) { EXPECT_EQ(reasons(), expected); }

    // Runs heal and gives what it has told.
    std::string heal(int expected_status = 0)
    {
        struct context {
            int status;
        } run = {-1};
        world.clear_trace();
        std::string told = support::private_world::captured(
            1, [](void *c) { static_cast<context *>(c)->status = heal_main(0, nullptr); }, &run);
        EXPECT_EQ(run.status, expected_status) << told;
        return told;
    }

    // What heal has done, without its looks.
    std::string steps()
    {
        return support::without(
            world.trace(), {"run iptables -t nat -S", "log ", "sleep ", "run iptables-legacy"});
    }
};

TEST_F(status_reason, is_none_of_a_healthy_router_and_heal_does_nothing_to_it)
{
    lease();
    expect({});
    EXPECT_EQ(heal(), "");
    EXPECT_TRACE("run iptables -t nat -S\n", world.trace());
}

TEST_F(status_reason, is_none_of_a_healthy_router_at_a_pppoe_provider)
{
    dial();
    expect({});
    EXPECT_EQ(heal(), "");
    EXPECT_TRACE("run iptables -t nat -S\n", world.trace());
}

TEST_F(status_reason, no_interface)
{
    lease();
    ip("link del br0");
    expect({"LAN0 down: no-interface"});
}

TEST_F(status_reason, no_port)
{
    lease();
    world.remove("/sys/class/net/br0/brif/ra0");
    expect({"LAN0 odd: no-port"});
    heal(1);
    EXPECT_EQ(steps(), "");
    world.write("/sys/class/net/br0/brif/ra0", "");
    expect({});
}

TEST_F(status_reason, not_started)
{
    world.write("/etc/default/network-interfaces",
                "br0 lan 1 static 192.168.1.1 255.255.255.0 - - 192.168.1.255 - -\n"
                "vlan2 wan 1 static 192.0.2.77 255.255.255.0 192.0.2.1 5 - - -\n"
                "wimax0 wimax 0 dhcp - - - - - - -\n");
    set_config(1);
    ip("link set vlan2 down");
    expect({"WAN down: not-started"});
    EXPECT_EQ(heal(1), "WAN: start it: mcfg start_wan 1 0\n");
    EXPECT_EQ(steps(), "run mcfg start_wan 1 0\n");
}

TEST_F(status_reason, client_down)
{
    lease();
    world.write(router_world::DHCP_PID, "999999\n");
    expect({"WAN down: client-down"});
    world.write(router_world::DHCP_PID, std::to_string(world.bystander(false, "sleep")));
    expect({"WAN down: client-down"});
    EXPECT_EQ(heal(1), "WAN: start it: mcfg start_wan 1 0\n");
    EXPECT_EQ(steps(), "run mcfg start_wan 1 0\n");
    run_daemon("udhcpc", router_world::DHCP_PID);
    expect({});
}

TEST_F(status_reason, daemon_down)
{
    dial();
    kill(pppd, SIGKILL);
    world.write("/var/run/ppp-pppoe-wan1.pid", "999999\nppp1\n");
    ip("link del ppp1");
    expect({"wan1 down: daemon-down"});
    EXPECT_EQ(heal(1), "wan1: take back what is recorded of ppp1\nwan1: dial it\n");
    EXPECT_NE(steps().find("run pppd call wan1\n"), std::string::npos) << steps();
    EXPECT_EQ(prerouting(), "-P PREROUTING ACCEPT\n");
    run_daemon("pppd", "/var/run/ppp-pppoe-wan1.pid");
    expect({"wan1 dialling: not-connected"});
    EXPECT_EQ(heal(1), "");
}

// pppd without a pid file, as while it dials anew: a process with the words it is started by.
class dialling_pppd
{
  public:
    explicit dialling_pppd(const char *peer, const char *before = "call")
    {
        EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
        process = fork();
        if (process == 0) {
            dup2(ends[0], STDIN_FILENO);
            execl("/bin/sh", "pppd", "-c", "read line", before, peer, nullptr);
            _exit(127);
        }
        close(ends[0]);
        std::string words;
        while (words.find(before) == std::string::npos) {
            std::ifstream file("/proc/" + std::to_string(process) + "/cmdline");
            words.assign(std::istreambuf_iterator<char>(file), {});
        }
    }
    std::string number() const { return std::to_string(process); }
    ~dialling_pppd()
    {
        close(ends[1]); // it reads the end, and ends
        EXPECT_EQ(waitpid(process, nullptr, 0), process);
    }

  private:
    pid_t process;
    int ends[2];
};

TEST_F(status_reason, daemon_down_is_none_of_one_that_has_no_pid_file_while_it_dials)
{
    dial();
    record("");
    ip("link del ppp1");
    iptables("-F PREROUTING");
    world.remove("/var/run/ppp-pppoe-wan1.pid");
    {
        dialling_pppd another("wan12");
        expect({"wan1 down: daemon-down"});
        dialling_pppd its("wan1");
        expect({"wan1 dialling: not-connected"});
        EXPECT_EQ(heal(1), "");
        EXPECT_EQ(steps(), "");
    }
    expect({"wan1 down: daemon-down"});
}

TEST_F(status_reason, interface_down)
{
    lease();
    record("");
    iptables("-F PREROUTING");
    ip("address flush dev vlan2");
    ip("link set vlan2 down");
    expect({"WAN odd: interface-down"});
    EXPECT_EQ(heal(1), "WAN: bring vlan2 up\n");
    EXPECT_EQ(steps(), "ioctl vlan2 SIOCSIFFLAGS 0x1043\n");
    expect({"WAN dialling: no-lease"});
}

TEST_F(status_reason, no_carrier)
{
    lease();
    set_carrier("vlan2", false);
    expect({"WAN down: no-carrier"});
    EXPECT_EQ(heal(1), "");
    set_carrier("vlan2", true);
    expect({});
}

TEST_F(status_reason, no_lease)
{
    lease();
    record("");
    iptables("-F PREROUTING");
    ip("address flush dev vlan2");
    expect({"WAN dialling: no-lease"});
    EXPECT_EQ(heal(1), "");
}

TEST_F(status_reason, no_address)
{
    lease();
    ip("address flush dev vlan2");
    expect({"WAN odd: no-address"});
    world.on("skip kill");
    EXPECT_EQ(heal(1), "WAN: take back what is recorded of vlan2\n"
                       "WAN: end its client, which would not ask for an address again\n"
                       "WAN: bring vlan2 up\n");
    EXPECT_EQ(support::rests(steps(), "kill "), std::to_string(client) + " SIGTERM");
    EXPECT_EQ(prerouting(), "-P PREROUTING ACCEPT\n");
    expect({"WAN dialling: no-lease"});
}

// Looked at in decimal and signalled in octal, it would be another process that gets the signal.
TEST_F(status_reason, no_address_of_a_client_with_zeros_before_its_number)
{
    lease();
    world.write(router_world::DHCP_PID, "0" + std::to_string(client) + "\n");
    ip("address flush dev vlan2");
    world.on("skip kill");
    heal(1);
    EXPECT_EQ(support::rests(steps(), "kill "), std::to_string(client) + " SIGTERM");
}

// The client, which has ended, is started again at once. Pauses take no time here, so one has to
// last until the client has dealt with its signal.
TEST_F(status_reason, no_address_of_a_client_that_ends)
{
    lease();
    ip("address flush dev vlan2");
    world.on("wait /ended sleep 1");
    pid_t watcher = fork();
    if (watcher == 0) {
        while (world.is_running(client))
            usleep(1000);
        world.write("/ended", "");
        _exit(0);
    }
    EXPECT_EQ(heal(1), "WAN: take back what is recorded of vlan2\n"
                       "WAN: end its client, which would not ask for an address again\n"
                       "WAN: start it: mcfg start_wan 1 0\n");
    EXPECT_EQ(waitpid(watcher, nullptr, 0), watcher);
    EXPECT_EQ(world.trace().find("sleep 1 (x"), std::string::npos) << "no longer than it takes";
}

// An event that met the lock: the record is of the address before.
TEST_F(status_reason, no_address_of_a_link_that_has_another)
{
    lease();
    ip("address add 192.0.2.78/24 dev vlan2");
    iptables("-I PREROUTING -i vlan2 -d 192.0.2.78 -j VSERVER");
    ip("address del 192.0.2.77/24 dev vlan2");
    ip("address add 192.0.2.78/24 dev vlan2");
    ip("route add default via 192.0.2.1 dev vlan2 metric 101");
    expect({"WAN odd: no-address"});
    EXPECT_EQ(heal(), "WAN: record it with 192.0.2.78\n"
                      "WAN: take the way from 192.0.2.77 on vlan2 into the port forwards away\n");
    EXPECT_EQ(prerouting(), "-P PREROUTING ACCEPT\n"
                            "-A PREROUTING -d 192.0.2.78/32 -i vlan2 -j VSERVER\n");
    expect({});
}

TEST_F(status_reason, no_address_of_a_tunnel)
{
    dial();
    ip("address flush dev ppp1");
    expect({"wan1 odd: no-address"});
    world.on("skip kill");
    EXPECT_EQ(heal(1), "wan1: take back what is recorded of ppp1\n"
                       "wan1: hang up, so that it is dialled anew\n");
    EXPECT_EQ(support::rests(steps(), "kill "), std::to_string(pppd) + " SIGHUP");
    expect({"wan1 dialling: not-connected"});
}

// Of one that is being dialled, only the record is wrong.
TEST_F(status_reason, no_address_of_a_tunnel_that_is_dialled)
{
    dial();
    ip("link set ppp1 down");
    expect({"wan1 odd: no-address"});
    EXPECT_EQ(heal(1), "wan1: take back what is recorded of ppp1\n");
    expect({"wan1 dialling: not-connected"});
}

TEST_F(status_reason, daemon_down_is_asked_of_the_daemon_that_there_is_by_then)
{
    json_t *l2tp = json_pack("{s:s, s:s}", "type", "l2tp", "name", "work");
    json_t *pppoe = json_pack("{s:s, s:s}", "type", "pppoe", "name", "work");
    dialling_pppd left("/etc/ppp/peers/work", "file");
    EXPECT_EQ(std::to_string(find_left_pppd(l2tp)), left.number());
    EXPECT_EQ(find_left_pppd(pppoe), 0) << "which is no pppd of xl2tpd's";
    run_daemon("xl2tpd", "/var/run/xl2tpd.pid");
    EXPECT_EQ(find_left_pppd(l2tp), 0) << "whose xl2tpd is back";
    json_decref(l2tp);
    json_decref(pppoe);
}

// Its pppd outlives it, and would look for its terminal for good.
TEST_F(status_reason, daemon_down_with_the_pppd_of_an_xl2tpd_that_is_gone)
{
    world.write("/etc/default/ppp-peers",
                "work l2tp 1 home@work.example.com third-secret 198.51.100.10 3\n");
    set_config(1);
    lease();
    expect({"work down: daemon-down"});
    dialling_pppd another("/etc/ppp/peers/work2", "file");
    dialling_pppd left("/etc/ppp/peers/work", "file");
    EXPECT_EQ(heal(1), "work: end the pppd that its xl2tpd has left\nwork: dial it\n");
    EXPECT_NE(steps().find("kill " + left.number() + " SIGTERM\n"), std::string::npos) << steps();
    EXPECT_EQ(steps().find("kill " + another.number()), std::string::npos) << steps();
    EXPECT_NE(steps().find("run xl2tpd\n"), std::string::npos) << steps();
}

// Tunnels over a WAN that is gone are ended with it; over one that has its address they may work.
TEST_F(status_reason, client_down_below_a_tunnel)
{
    world.write("/etc/default/ppp-peers",
                "work l2tp 1 home@work.example.com third-secret 198.51.100.10 3\n");
    set_config(1);
    lease();
    run_daemon("xl2tpd", "/var/run/xl2tpd.pid");
    world.write(router_world::DHCP_PID, "999999\n");
    expect({"WAN down: client-down", "work down: client-down"});
    EXPECT_EQ(heal(1), "WAN: left alone, as its tunnels run: mcfg stop_wan 1 0, then mcfg "
                       "start_wan 1 0\n");
    ip("address flush dev vlan2");
    EXPECT_EQ(heal(1), "WAN: stop it: mcfg stop_wan 1 0\nWAN: start it: mcfg start_wan 1 0\n");
    EXPECT_EQ(steps(), "run mcfg stop_wan 1 0\nrun mcfg start_wan 1 0\n");
}

TEST_F(status_reason, not_recorded)
{
    lease();
    record("");
    expect({"WAN odd: not-recorded"});
    EXPECT_EQ(heal(), "WAN: record it with 192.0.2.77\n");
    EXPECT_EQ(steps(), "");
    expect({});
}

TEST_F(status_reason, not_recorded_of_a_tunnel)
{
    dial();
    record("");
    expect({"wan1 odd: not-recorded"});
    EXPECT_EQ(heal(), "wan1: record it with 10.9.0.10\n");
    expect({});
    // As its own event had recorded it, but for the peer: the cable in its place has none.
    std::string expected = router_world::PPP_RECORD;
    expected.replace(expected.find("\"10.9.0.1\""), strlen("\"10.9.0.1\""), "null");
    json_t *healed = json_loads(world.read(router_world::STORE).c_str(), 0, nullptr);
    json_t *record = json_array_get(json_object_get(healed, "state_links"), 0);
    char *text = json_dumps(record, JSON_COMPACT | JSON_PRESERVE_ORDER);
    EXPECT_EQ(text, expected);
    free(text);
    json_decref(healed);
}

TEST_F(status_reason, route_missing)
{
    lease();
    ip("route del default via 192.0.2.1 dev vlan2");
    expect({"WAN odd: route-missing"});
    EXPECT_EQ(heal(), "WAN: add the default route by 192.0.2.1\n");
    expect({});
}

TEST_F(status_reason, route_other)
{
    lease();
    ip("route del default via 192.0.2.1 dev vlan2");
    ip("route add default via 192.0.2.9 dev vlan2 metric 7");
    expect({"WAN odd: route-other"});
    EXPECT_EQ(heal(), "WAN: take the default route by 192.0.2.9 away\n"
                      "WAN: add the default route by 192.0.2.1\n");
    expect({});
}

TEST_F(status_reason, jump_missing)
{
    lease();
    iptables("-F PREROUTING");
    expect({"WAN odd: jump-missing"});
    EXPECT_EQ(heal(), "WAN: lead 192.0.2.77 into the port forwards\n");
    EXPECT_EQ(prerouting(), "-P PREROUTING ACCEPT\n"
                            "-A PREROUTING -d 192.0.2.77/32 -i vlan2 -j VSERVER\n");
    expect({});
}

TEST_F(status_reason, jump_twice)
{
    lease();
    for (int i = 0; i < 2; i++)
        iptables("-I PREROUTING -i vlan2 -d 192.0.2.77 -j VSERVER");
    expect({"WAN odd: jump-twice"});
    heal();
    EXPECT_EQ(prerouting(), "-P PREROUTING ACCEPT\n"
                            "-A PREROUTING -d 192.0.2.77/32 -i vlan2 -j VSERVER\n");
    expect({});
}

TEST_F(status_reason, jump_old)
{
    lease();
    iptables("-I PREROUTING -i vlan2 -d 192.0.2.66 -j VSERVER");
    expect({"WAN odd: jump-old"});
    heal();
    expect({});
    iptables("-I PREROUTING -i ppp4 -d 192.0.2.65 -j VSERVER");
    expect({"router odd: jump-old"});
    heal();
    EXPECT_EQ(prerouting(), "-P PREROUTING ACCEPT\n"
                            "-A PREROUTING -d 192.0.2.77/32 -i vlan2 -j VSERVER\n");
    expect({});
}

TEST_F(status_reason, lock_held)
{
    lease();
    pid_t holder = world.bystander(false, "mcfg");
    world.write("/var/lock/state_link.lock", std::to_string(holder));
    expect({"router odd: lock-held"});
    EXPECT_EQ(heal(1), "");
    EXPECT_TRUE(world.exists("/var/lock/state_link.lock"));
    world.remove("/var/lock/state_link.lock");
    expect({});
}

TEST_F(status_reason, lock_dead)
{
    lease();
    for (const char *name : {"state_link", "Config"}) {
        world.write(std::string("/var/lock/") + name + ".lock", "999999");
        expect({"router odd: lock-dead"});
        EXPECT_EQ(heal(), std::string("router: remove the lock ") + name + "\n");
        expect({});
    }
    world.write("/var/lock/Config.lock", std::to_string(world.bystander(false, "sleep")));
    expect({"router odd: lock-dead"});
    world.write("/var/lock/Config.lock", "");
    expect({"router odd: lock-dead"});
    heal();
    expect({});
}

TEST_F(status_reason, store_broken)
{
    lease();
    for (const char *content : {"{}", "", "{\"state_links\": 1}", "[1"}) {
        world.write(router_world::STORE, content);
        EXPECT_EQ(reasons().back(), "router odd: store-broken") << content;
        EXPECT_EQ(heal(), "router: remove the broken /var/run/state_link\n"
                          "WAN: record it with 192.0.2.77\n");
        expect({});
    }
}

TEST_F(status_reason, table_other)
{
    lease();
    world.write("/tmp/nat_rules", "*nat\n"
                                  ":PREROUTING ACCEPT [0:0]\n"
                                  ":VSERVER - [0:0]\n"
                                  "-A VSERVER -p tcp -m tcp --dport 8080 -j DNAT --to "
                                  "192.168.1.20:80\n"
                                  "-A POSTROUTING -s 192.168.1.0/255.255.255.0 -o ! br0 -j "
                                  "MASQUERADE\n"
                                  "COMMIT\n");
    expect({"router odd: table-other"});
    EXPECT_EQ(heal(1), "");
    iptables("-A VSERVER -p tcp -m tcp --dport 8080 -j DNAT --to 192.168.1.20:80");
    iptables("-A POSTROUTING ! -o br0 -s 192.168.1.0/24 -j MASQUERADE");
    expect({});
    iptables("-R VSERVER 1 -p tcp -m tcp --dport 8080 -j DNAT --to 192.168.1.21:80");
    expect({"router odd: table-other"});
    iptables("-F POSTROUTING");
}

TEST_F(status_reason, config_old)
{
    lease();
    world.write("/etc/default/dns.conf", "dns1=192.0.2.54\n");
    expect({"router odd: config-old"});
    EXPECT_EQ(heal(1), "");
    set_config(1);
    expect({});
}

} // namespace
