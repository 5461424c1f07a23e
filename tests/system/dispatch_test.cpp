// What the program does under each of its names: status, output and log.
#include "support/expect.h"
#include "support/router_box.h"
#include "support/rows.h"

#include <gtest/gtest.h>

namespace
{

constexpr char MCFG_USAGE[] = "\nUsage: mcfg [start|stop|restart]\n\n";
constexpr char HOTPLUG_USAGE[] = "usage: hotplug [event]\n";

struct call_row {
    const char *name;
    std::vector<std::string> words;
    int status;
    const char *err;
    const char *trace;
};

class call : public testing::TestWithParam<call_row>
{
};

TEST_P(call, ends_as_expected)
{
    support::router_box box;
    support::outcome seen = box.run(GetParam().words);
    EXPECT_EQ(seen.status, GetParam().status);
    EXPECT_EQ(seen.out, "");
    EXPECT_EQ(seen.err, GetParam().err);
    EXPECT_EQ(seen.trace, GetParam().trace);
}

constexpr char SAVED[] = "log mcfg: save_link_state\n";

INSTANTIATE_TEST_SUITE_P(
    names, call,
    testing::Values(
        call_row{"mcfg_alone", {"mcfg"}, 255, MCFG_USAGE, ""},
        call_row{"mcfg_with_a_path", {"/sbin/mcfg"}, 255, MCFG_USAGE, ""},
        call_row{"any_name_with_mcfg", {"xmcfg-test"}, 255, MCFG_USAGE, ""},
        call_row{"mcfg_before_hotplug", {"hotplug-mcfg"}, 255, MCFG_USAGE, ""},
        call_row{"mcfg_in_the_directory_only", {"/opt/mcfg/other"}, 0, "", ""},
        call_row{"name_is_case_sensitive", {"MCFG"}, 0, "", ""},
        call_row{"start_changes_nothing", {"mcfg", "start"}, 0, "", ""},
        call_row{"stop_is_no_sub_command", {"mcfg", "stop"}, 0, "", ""},
        call_row{"restart_is_no_sub_command", {"mcfg", "restart"}, 0, "", ""},
        call_row{"unknown_sub_command", {"mcfg", "no-such"}, 0, "", ""},
        call_row{"sub_command_is_whole", {"mcfg", "set_confi"}, 0, "", ""},
        call_row{"sub_command_is_case_sensitive", {"mcfg", "Set_config"}, 0, "", ""},
        call_row{"empty_sub_command", {"mcfg", ""}, 0, "", ""},
        call_row{"hotplug_alone", {"/usr/bin/hotplug"}, 22, HOTPLUG_USAGE, ""},
        call_row{"any_name_with_hotplug", {"hotplug2"}, 22, HOTPLUG_USAGE, ""},
        call_row{"unknown_event", {"/usr/bin/hotplug", "firmware"}, 0, "", ""},
        call_row{"event_is_whole", {"hotplug", "usb_devic"}, 0, "", ""},
        call_row{"save_link_state", {"save_link_state"}, 0, "", SAVED},
        call_row{
            "save_link_state_ignores_arguments", {"/sbin/save_link_state", "a", "b"}, 0, "", SAVED},
        call_row{"save_link_state_is_exact", {"save_link_state2"}, 0, "", ""},
        call_row{"ip_up_is_exact", {"ip-up2"}, 0, "", ""},
        call_row{"ip_down_is_exact", {"xip-down"}, 0, "", ""},
        call_row{"unknown_name", {"/sbin/init"}, 0, "", ""},
        call_row{"empty_name", {""}, 0, "", ""},
        call_row{"name_that_ends_in_a_slash", {"/sbin/mcfg/"}, 0, "", ""}),
    support::row_name);

} // namespace
