#include "wan/tunnels.h"

#include "support/texts.h"
#include "support/unit_test.h"

#include <algorithm>

using support::lines_of;
using support::private_world;
using support::rests;
using support::without;

namespace
{

// A JSON value that lives as long as its test.
class json
{
  public:
    explicit json(const std::string &text)
        : value(json_loads(text.c_str(), JSON_DECODE_ANY, nullptr))
    {
    }
    ~json() { json_decref(value); }
    json(const json &) = delete;
    json &operator=(const json &) = delete;
    operator const json_t *() const { return value; }

  private:
    json_t *value;
};

// ---- what is dialled

struct dialling {
    const char *name;
    const char *wan_type;
    const char *tunnels; // "type:name" each, with "!" behind when it is dialled by itself
    const char *dialled; // what the daemons are run as
    const char *words;   // why others are not
};

std::string make_tunnels(std::string list)
{
    std::string text;
    for (size_t start = 0; start < list.size();) {
        size_t end = std::min(list.find(' ', start), list.size());
        std::string word = list.substr(start, end - start);
        start = end + 1;
        bool is_auto = word.back() == '!';
        if (is_auto)
            word.pop_back();
        size_t colon = word.find(':');
        text += text.empty() ? "" : ",";
        text += "{\"name\":\"" + word.substr(colon + 1) + "\",\"type\":\"" + word.substr(0, colon) +
                "\",\"auto\":" + (is_auto ? "true" : "false") + "}";
    }
    return "[" + text + "]";
}

const std::vector<std::string> ordinary_lines = {
    "log mcfg-start_tunnels: tun_array is",
    "log mcfg-start_tunnels: wan_type =", "log mcfg-start_tunnels: start tunnel #"};

class tunnels_to_dial : public testing::TestWithParam<dialling>
{
};

TEST_P(tunnels_to_dial, are_chosen_by_the_wan_type)
{
    private_world &world = private_world::here();
    world.clear();
    json tunnels(make_tunnels(GetParam().tunnels));
    start_tunnels(GetParam().wan_type, tunnels);

    EXPECT_EQ(rests(world.trace_of({"run"}), "run "), GetParam().dialled);
    EXPECT_EQ(rests(without(world.trace(), ordinary_lines), "log mcfg-start_tunnels: "),
              GetParam().words);
}

INSTANTIATE_TEST_SUITE_P(
    rows, tunnels_to_dial,
    testing::Values(
        dialling{"three of four over pppoe", "pppoe", "pppoe:a! pppoe:b! pppoe:c! pppoe:d!",
                 "pppd call a, pppd call b, pppd call c", ""},
        dialling{"one over dhcp", "dhcp", "pppoe:a! pptp:b! l2tp:c!", "pppd call b",
                 "dhcp or static and pppoe"},
        dialling{"one over static", "static", "l2tp:a! pptp:b!", "xl2tpd", ""},
        dialling{"no pppoe over static", "static", "pppoe:a!", "", "dhcp or static and pppoe"},
        dialling{"neither pptp nor l2tp over pppoe", "pppoe", "pptp:a! l2tp:b! pppoe:c!",
                 "pppd call c", "pppoe and pptp or l2tp, pppoe and pptp or l2tp"},
        dialling{"none over another type", "pptp", "pptp:a! l2tp:b!", "", ""},
        dialling{"none over no type", "", "pptp:a!", "", ""},
        dialling{"ppp never over dhcp", "dhcp", "ppp:a! pptp:b!", "pppd call b", "ppp"},
        dialling{"ppp never over pppoe", "pppoe", "ppp:a!", "", "ppp"},
        dialling{"those not automatic cost nothing", "dhcp", "pptp:a pptp:b l2tp:c!", "xl2tpd", ""},
        dialling{"those passed over cost nothing", "pppoe",
                 "pptp:a! pppoe:b! ppp:c! pppoe:d! l2tp:e! pppoe:f! pppoe:g!",
                 "pppd call b, pppd call d, pppd call f",
                 "pppoe and pptp or l2tp, ppp, pppoe and pptp or l2tp"},
        dialling{"an unknown tunnel type is pppd's", "dhcp", "3g:a!", "pppd call a", ""},
        dialling{"the type is compared whole", "dhcp", "pppoe2:a!", "pppd call a", ""},
        dialling{"no tunnels", "dhcp", "", "", ""}),
    support::row_name);

// ---- the steps of one start, whole

class tunnels : public support::unit_test
{
};

TEST_F(tunnels, are_dialled_step_by_step)
{
    json list(R"([{"type":"pptp","auto":true,"name":"club","metric":4},
                  {"type":"l2tp","auto":true,"name":"work"}])");
    start_tunnels("dhcp", list);
    EXPECT_TRACE(R"(
        log mcfg-start_tunnels: tun_array is array sizeof = 2
        log mcfg-start_tunnels: wan_type = dhcp
        log mcfg-start_tunnels: start tunnel #0
        log mcfg-start_tunnels: wan_type = dhcp, type = pptp
        log mcfg-get_string_from_json_by_name: name = metric, value = 4
        shell led yellow_wan on
        shell led green_wan off
        run pppd call club
        log mcfg-start_tunnels: start tunnel #1
        )",
                 world.trace());
    EXPECT_TRUE(world.exists("/etc/ppp/peers/club"));
    EXPECT_FALSE(world.exists("/etc/ppp/peers/work"));
}

TEST_F(tunnels, end_at_the_first_over_a_wan_that_dials_none)
{
    json list(R"([{"type":"pptp","auto":true,"name":"a"},{"type":"pptp","auto":true,"name":"b"}])");
    start_tunnels("pptp", list);
    EXPECT_TRACE(R"(
        log mcfg-start_tunnels: tun_array is array sizeof = 2
        log mcfg-start_tunnels: wan_type = pptp
        log mcfg-start_tunnels: start tunnel #0
        )",
                 world.trace());
}

TEST_F(tunnels, whose_peer_file_fails_have_cost_their_budget)
{
    world.mkdir("/etc/ppp/peers/a");
    json list(R"([{"type":"pptp","auto":true,"name":"a"},{"type":"pptp","auto":true,"name":"b"}])");
    start_tunnels("dhcp", list);
    EXPECT_EQ(world.trace_of({"run"}), "");
}

TEST_F(tunnels, whose_daemon_fails_do_not_stop_the_next)
{
    world.on("exit 1 pppd call a");
    json list(
        R"([{"type":"pppoe","auto":true,"name":"a"},{"type":"pppoe","auto":true,"name":"b"}])");
    start_tunnels("pppoe", list);
    EXPECT_TRACE("run pppd call a\nrun pppd call b", world.trace_of({"run"}));
}

TEST_F(tunnels, of_other_shapes_are_passed_over)
{
    json list(R"([null, 5, "pptp", [], {}, {"type":7,"auto":true,"name":"a"},
                  {"type":"pptp","auto":1,"name":"b"}, {"type":"pptp","auto":"true","name":"c"},
                  {"type":"pptp","auto":true,"name":9,"login":[],"passwd":{},"server":null}])");
    start_tunnels("dhcp", list);
    // The last one is to be dialled: its name is empty, and so its peer file cannot be made.
    EXPECT_TRACE(R"(
        log mcfg-start_tunnels: tun_array is array sizeof = 9
        log mcfg-start_tunnels: wan_type = dhcp
        log mcfg-start_tunnels: start tunnel #0
        log mcfg-start_tunnels: start tunnel #1
        log mcfg-start_tunnels: start tunnel #2
        log mcfg-start_tunnels: start tunnel #3
        log mcfg-start_tunnels: start tunnel #4
        log mcfg-start_tunnels: start tunnel #5
        log mcfg-start_tunnels: start tunnel #6
        log mcfg-start_tunnels: wan_type = dhcp, type = pptp
        log mcfg-start_tunnels: start tunnel #7
        log mcfg-start_tunnels: wan_type = dhcp, type = pptp
        log mcfg-start_tunnels: start tunnel #8
        log mcfg-start_tunnels: wan_type = dhcp, type = pptp
        shell led yellow_wan on
        shell led green_wan off
        )",
                 world.trace());
}

TEST_F(tunnels, longer_than_their_fields_are_cut)
{
    std::string name(300, 'n');
    json list("[{\"type\":\"pptp\",\"auto\":true,\"name\":\"" + name + "\",\"login\":\"" + name +
              "\",\"passwd\":\"" + name + "\",\"server\":\"" + name + "\"}]");
    start_tunnels("dhcp", list);
    EXPECT_TRACE("run pppd call " + name.substr(0, 31), world.trace_of({"run"}));
}

TEST_F(tunnels, that_are_no_array_are_reported)
{
    for (const char *text : {"{}", "null", "\"x\"", "7", "true"}) {
        world.clear_trace();
        json list(text);
        start_tunnels("dhcp", list);
        stop_tunnels(list);
        EXPECT_TRACE(R"(
            log mcfg-start_tunnels: Error on tun_array
            log mcfg-stop_tunnels: Error on tun_array
            )",
                     world.trace())
            << text;
    }
    world.clear_trace();
    start_tunnels("dhcp", nullptr);
    stop_tunnels(nullptr);
    EXPECT_TRACE(R"(
        log mcfg-start_tunnels: Error on tun_array
        log mcfg-stop_tunnels: Error on tun_array
        )",
                 world.trace());
}

// ---- stopping

TEST_F(tunnels, are_stopped_by_the_pid_file_of_their_link)
{
    pid_t pppd = world.bystander();
    world.write("/var/run/ppp-pppoe-wan1.pid", std::to_string(pppd) + "\n");
    json list(R"([{"type":"pppoe","auto":true,"name":"wan1"}])");
    stop_tunnels(list);
    EXPECT_TRACE("log mcfg-stop_tunnels: tun_array is array sizeof = 1\n"
                 "log mcfg-stop_tunnels: stop tunnel #0\n"
                 "log mcfg-stop_tunnels: pidfile for pppd: /var/run/ppp-pppoe-wan1.pid\n"
                 "kill " +
                     std::to_string(pppd) + " SIGTERM",
                 world.trace());
    EXPECT_FALSE(world.is_running(pppd));
}

TEST_F(tunnels, that_let_the_signal_pass_are_not_killed)
{
    pid_t pppd = world.bystander(true);
    world.write("/var/run/ppp-pptp-club.pid", std::to_string(pppd) + "\n");
    json list(R"([{"type":"pptp","name":"club"}])");
    stop_tunnels(list);
    EXPECT_TRACE("kill " + std::to_string(pppd) + " SIGTERM", world.trace_of({"kill", "sleep"}));
    EXPECT_TRUE(world.is_running(pppd));
}

TEST_F(tunnels, without_a_pid_file_are_waited_for_once)
{
    json list(R"([{"type":"pppoe","auto":false,"name":"wan2"}])");
    stop_tunnels(list);
    EXPECT_TRACE(R"(
        log mcfg-stop_tunnels: tun_array is array sizeof = 1
        log mcfg-stop_tunnels: stop tunnel #0
        log mcfg-stop_tunnels: pidfile for pppd: /var/run/ppp-pppoe-wan2.pid
        sleep 3
        )",
                 world.trace());
}

// A second SIGTERM, where the DHCP client would get SIGKILL.
TEST_F(tunnels, that_are_gone_already_get_the_same_signal_again)
{
    world.write("/var/run/ppp-pppoe-wan1.pid", "999999\n");
    json list(R"([{"type":"pppoe","name":"wan1"}])");
    stop_tunnels(list);
    EXPECT_TRACE(R"(
        kill 999999 SIGTERM = ESRCH
        sleep 3
        kill 999999 SIGTERM = ESRCH
        )",
                 world.trace_of({"kill", "sleep"}));
}

TEST_F(tunnels, of_l2tp_are_all_stopped_by_name_each_time)
{
    world.write("/var/run/ppp-l2tp-work.pid", "999999\n");
    json list(R"([{"type":"l2tp","name":"work"},{"type":"l2tp","name":"home"}])");
    stop_tunnels(list);
    EXPECT_TRACE(R"(
        log mcfg-stop_tunnels: tun_array is array sizeof = 2
        log mcfg-stop_tunnels: stop tunnel #0
        run killall xl2tpd
        log mcfg-stop_tunnels: stop tunnel #1
        run killall xl2tpd
        )",
                 world.trace());
}

TEST_F(tunnels, of_any_type_but_l2tp_have_a_pid_file)
{
    world.on("skip kill");
    for (const char *type : {"ppp", "3g", "L2TP", "l2tp2"})
        world.write(std::string("/var/run/ppp-") + type + "-a.pid", "4242");
    json list(R"([{"type":"ppp","name":"a"},{"type":"3g","name":"a"},
                  {"type":"L2TP","name":"a"},{"type":"l2tp2","name":"a"}])");
    stop_tunnels(list);
    EXPECT_TRACE("kill 4242 SIGTERM\nkill 4242 SIGTERM\nkill 4242 SIGTERM\nkill 4242 SIGTERM",
                 without(world.trace(), {"log"}));
}

TEST_F(tunnels, of_other_shapes_count_as_empty_when_stopped)
{
    json list(R"([null, [], {"type":5,"name":true}, {"name":"a"}, {"type":"pppoe"}])");
    stop_tunnels(list);
    EXPECT_TRACE(R"(
        log mcfg-stop_tunnels: tun_array is array sizeof = 5
        log mcfg-stop_tunnels: stop tunnel #0
        log mcfg-stop_tunnels: pidfile for pppd: /var/run/ppp--.pid
        sleep 3
        log mcfg-stop_tunnels: stop tunnel #1
        log mcfg-stop_tunnels: pidfile for pppd: /var/run/ppp--.pid
        sleep 3
        log mcfg-stop_tunnels: stop tunnel #2
        log mcfg-stop_tunnels: pidfile for pppd: /var/run/ppp--.pid
        sleep 3
        log mcfg-stop_tunnels: stop tunnel #3
        log mcfg-stop_tunnels: pidfile for pppd: /var/run/ppp--a.pid
        sleep 3
        log mcfg-stop_tunnels: stop tunnel #4
        log mcfg-stop_tunnels: pidfile for pppd: /var/run/ppp-pppoe-.pid
        sleep 3
        )",
                 world.trace());
}

TEST_F(tunnels, pid_file_path_is_cut_at_its_room)
{
    std::string name(300, 'n');
    json list("[{\"type\":\"pppoe\",\"name\":\"" + name + "\"}]");
    stop_tunnels(list);
    std::string path = ("/var/run/ppp-pppoe-" + name).substr(0, 99);
    EXPECT_TRACE("log mcfg-stop_tunnels: tun_array is array sizeof = 1\n"
                 "log mcfg-stop_tunnels: stop tunnel #0\n"
                 "log mcfg-stop_tunnels: pidfile for pppd: " +
                     path + "\nsleep 3",
                 world.trace());
}

} // namespace
