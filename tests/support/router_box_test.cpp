#include "support/expect.h"
#include "support/router_box.h"

#include <gtest/gtest.h>

TEST(router_box, runs_the_program)
{
    support::router_box box(BOX_PROBE);
    support::outcome o =
        box.run({"/usr/bin/any", "name", "log", "mcfg-x", "0", "0", "0", "hi\n", "exit", "3"});
    EXPECT_EQ(o.status, 3) << o.err;
    EXPECT_EQ(o.out, "/usr/bin/any\n");
    EXPECT_TRACE("log mcfg-x: hi\\n", o.trace);
}
