// A router box with a running configuration, for the tests that bring WAN connections up and down.
#pragma once

#include "support/expect.h"
#include "support/kernel_state.h"
#include "support/router_box.h"
#include "support/texts.h"

#include <gtest/gtest.h>

using support::outcome;
using support::rests;
using support::without;

class wan_box : public testing::Test
{
  protected:
    support::router_box box;

    // The WAN entries, a JSON array, as the only content of the running configuration.
    void configure(const std::string &entries)
    {
        box.write("/var/run/Config", "{\"Network\":{\"Wan\":" + entries + "}}");
    }

    // The example router's settings, made into its running configuration; with_pppoe puts the
    // example of a PPPoE provider over them.
    void configure_example(bool with_pppoe = false)
    {
        box.copy_in(support::example_path("router"), "/");
        if (with_pppoe)
            box.copy_in(support::example_path("pppoe"), "/");
        EXPECT_EQ(box.run({"mcfg", "set_config"}).status, 0);
        box.clear_trace();
    }

    std::string routes() { return kernel_state::routes(box); }
    std::string vlan2() { return kernel_state::interface(box, "vlan2"); }

    // Runs a sub-command, which never prints anything and always succeeds.
    outcome mcfg(std::vector<std::string> words)
    {
        words.insert(words.begin(), "mcfg");
        outcome result = box.run(words);
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.out, "");
        return result;
    }
};
