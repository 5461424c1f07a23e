// mctl check against the router: good settings are made worse at random, the program makes rules,
// document, option files, profile and zone of them, iptables judges the rules, and mctl check must
// have known.
//
//   - No table that iptables refuses comes of settings with status 0, and the line that is at fault
//     is among the findings.
//   - With status 0, every value is the one that its line says (settings_meaning.h,
//     device_meaning.h), but where a warning at that very line says otherwise.
//
// By hand, with many more trees, and with others: MCFG_CHECK_TREES=20000 MCFG_CHECK_SEED=7
// mcfg_trees_tests
#include "trees/trial.h"

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>

namespace
{

using namespace trees;

constexpr size_t PARTS = 10;

// What became of some trees.
struct tally {
    size_t trees = 0;
    size_t without_error = 0;
    size_t refused = 0; // with a table that iptables refuses
    size_t told = 0;    // values that differ as a warning says
};

// Judges a tree, and says what the check has missed.
std::vector<std::string> try_out(router *machine, const tree &settings, tally *count)
{
    machine->put(settings);
    machine->build_firewall();
    trial t = {*machine, settings, machine->check(), &count->told};
    if (t.check.status != 0 && t.check.status != 1)
        t.fail("the check ended with " + std::to_string(t.check.status));
    for (const char *file : {"/tmp/nat_rules", "/tmp/filter_rules", "/tmp/mangle_rules"})
        compare_refusal(&t, file);
    count->trees++;
    count->refused += t.is_refused ? 1 : 0;
    count->without_error += t.check.status == 0 ? 1 : 0;
    if (t.check.status != 0)
        return t.faults;
    machine->build_document();
    compare_rules(&t);
    compare_document(&t);
    compare_options(&t);
    compare_device(&t);
    return t.faults;
}

std::string shown(const tree &settings, const std::vector<tree> &good)
{
    std::string text;
    for (const auto &[path, content] : settings) {
        bool is_good = std::any_of(good.begin(), good.end(), [&](const tree &one) {
            auto it = one.find(path);
            return it != one.end() && it->second == content;
        });
        if (!is_good)
            text += "---- " + path + "\n" + content + "\n";
    }
    return text;
}

size_t number_from(const char *variable, size_t otherwise)
{
    const char *number = getenv(variable);
    return number != nullptr ? strtoul(number, nullptr, 10) : otherwise;
}

TEST(good_trees, do_what_they_say)
{
    router machine;
    tally count;
    for (const tree &settings : settings_trees::good_trees())
        EXPECT_EQ(try_out(&machine, settings, &count), std::vector<std::string>());
    EXPECT_EQ(count.without_error, count.trees);
    EXPECT_EQ(count.told, 0U);
}

class bad_trees : public testing::TestWithParam<size_t>
{
};

TEST_P(bad_trees, hold_nothing_that_the_check_misses)
{
    router machine;
    tally count;
    const std::vector<tree> good = settings_trees::good_trees();
    const size_t seed = number_from("MCFG_CHECK_SEED", 0) * PARTS + GetParam();
    const size_t number = number_from("MCFG_CHECK_TREES", MCFG_CHECK_TREES) / PARTS;
    for (size_t i = 0; i < number; i++) {
        settings_trees::dice random(seed * 1000003 + i);
        tree settings = good[random.roll(good.size())];
        std::string changes;
        for (size_t left = 1 + random.roll(2); left > 0; left--)
            changes += settings_trees::make_worse(&settings, &random) + "\n";
        std::vector<std::string> faults = try_out(&machine, settings, &count);
        EXPECT_TRUE(faults.empty()) << "tree " << i << ":\n"
                                    << changes << testing::PrintToString(faults) << "\n"
                                    << shown(settings, good) << machine.check().text;
    }
    printf("%zu trees, %zu with a refused table, %zu without an error, %zu values as warned of\n",
           count.trees, count.refused, count.without_error, count.told);
}

INSTANTIATE_TEST_SUITE_P(parts, bad_trees, testing::Range<size_t>(0, PARTS));

} // namespace
