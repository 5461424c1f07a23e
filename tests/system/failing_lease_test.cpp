// What a lease's event tells when one of its calls fails: a route that is not set, or a file that
// is not whole, is never lost in silence.
#include "support/recorder_failing.h"
#include "support/router_box.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <set>
#include <sstream>
#include <string>

namespace
{

const support::environment LEASE = {{"interface", "vlan2"},
                                    {"ip", "192.0.2.10"},
                                    {"subnet", "255.255.255.0"},
                                    {"router", "192.0.2.1"},
                                    {"routes", "198.51.100.7 192.0.2.2"},
                                    {"staticroutes", "10.0.0.0/8 192.0.2.3"}};

std::set<std::string> routes_of(const std::string &trace)
{
    std::istringstream lines(trace);
    std::set<std::string> routes;
    for (std::string line; std::getline(lines, line);) {
        if (line.find("SIOCADDRT") != std::string::npos)
            routes.insert(line.substr(0, line.find(" = ")));
    }
    return routes;
}

class failing_lease : public testing::Test
{
  protected:
    support::router_box box;

    support::failing_outcome run(const char *event, const support::failing_plan &plan)
    {
        box.clear_trace();
        return box.run_failing({"udhcpc", event}, LEASE, plan);
    }
};

TEST_F(failing_lease, loses_no_route_in_silence)
{
    const support::failing_outcome good = run("bound", {});
    const std::set<std::string> routes = routes_of(good.result.trace);
    EXPECT_EQ(routes.size(), 2U) << good.result.trace;
    size_t lost = 0;
    for (unsigned i = 0; i < good.calls.size(); i++) {
        if (good.calls[i] != CALL_malloc)
            continue;
        SCOPED_TRACE(i);
        support::failing_outcome seen =
            run("bound", {i + 1, ENOMEM, FAILS_ONCE, PROGRAM_ITSELF, 0});
        if (routes_of(seen.result.trace) == routes)
            continue;
        lost++;
        EXPECT_NE(seen.result.err.find("vlan2: Cannot allocate memory\n"), std::string::npos)
            << seen.result.err << seen.result.trace;
    }
#ifndef __SANITIZE_ADDRESS__ // whose strdup() takes its memory elsewhere
    EXPECT_GE(lost, 2U);
#endif
}

TEST_F(failing_lease, says_when_its_end_cannot_be_kept)
{
    box.write("/dev/full", "");
    box.bind("/dev/full", "/dev/full");
    box.symlink("/dev/full", "/tmp/udhcpc.vlan2.expires");
    EXPECT_NE(
        run("deconfig", {}).result.err.find("/tmp/udhcpc.vlan2.expires: No space left on device\n"),
        std::string::npos);
}

} // namespace
