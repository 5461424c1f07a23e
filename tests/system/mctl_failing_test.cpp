// What mctl tells, and does, when one of its calls fails: that it could not, or what it would have
// told anyway, and never something else. (The sweep looks at what must hold of all programs.)
#include "support/recorder_failing.h"
#include "support/router_box.h"
#include "support/world_root.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace
{

struct failing_row {
    counted_call call;
    int error;
};

const failing_row rows[] = {
    {CALL_read, EIO},
};

int error_of(uint8_t call)
{
    for (const failing_row &row : rows) {
        if (row.call == call)
            return row.error;
    }
    return 0;
}

class failing_mctl : public testing::TestWithParam<std::vector<std::string>>
{
  protected:
    support::router_box box{support::program_of_build("mctl")};

    void SetUp() override
    {
        box.write("/var/run/Config", R"({"Network":{"Lan":[],"Wan":[]}})");
        box.write("/var/run/state_link", R"({"state_links":[{"iface":"ppp1","ipaddr":null}]})");
        box.on(R"(print '-A PREROUTING -d 192.0.2.66/32 -i ppp4 -j VSERVER\n' iptables -t nat -S)");
    }

    support::failing_outcome run(const support::failing_plan &plan)
    {
        box.clear_trace();
        return box.run_failing(GetParam(), {}, plan);
    }
};

TEST_P(failing_mctl, tells_what_it_has_seen_or_that_it_could_not_look)
{
    const support::failing_outcome good = run({});
    EXPECT_EQ(good.result.status, 1) << good.result.out << good.result.err;
    for (unsigned i = 0; i < good.calls.size(); i++) {
        int error = error_of(good.calls[i]);
        if (error == 0)
            continue;
        SCOPED_TRACE(i);
        support::failing_outcome seen = run({i + 1, error, FAILS_ONCE, PROGRAM_ITSELF, 0});
        EXPECT_EQ(seen.hits, 1U);
        if (seen.result.status == 2) {
            EXPECT_NE(seen.result.err, "");
            EXPECT_EQ(seen.result.trace.find(" -D "), std::string::npos);
            continue;
        }
        EXPECT_EQ(seen.result.status, 1) << seen.result.err;
        EXPECT_EQ(seen.result.out, good.result.out);
        EXPECT_EQ(seen.result.trace, good.result.trace);
    }
}

const std::vector<std::string> COMMANDS[] = {
    {"mctl", "status"}, {"mctl", "status", "--json"}, {"mctl", "heal", "--dry-run"}};

INSTANTIATE_TEST_SUITE_P(commands, failing_mctl, testing::ValuesIn(COMMANDS));

} // namespace
