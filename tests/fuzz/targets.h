// What can be fuzzed: one row each.
#pragma once

#include "fuzz/input.h"

#include <cstddef>

namespace fuzz
{

struct target {
    const char *name;
    size_t longest; // characters of an input that a fuzzer makes: more only cost time
    // Do what the input says in an empty world, and see that what must hold does.
    void (*test)(input &parts);
    const char *what;
};

extern const target targets[];
extern const size_t target_count;

// Null when there is none of that name.
const target *find_target(const char *name);

// Run one input. Returns 0, as libFuzzer wants it.
int test_one(const target &chosen, const uint8_t *data, size_t size);

void test_settings(input &parts);
void test_firewall(input &parts);
void test_lease(input &parts);
void test_ppp(input &parts);
void test_wan(input &parts);
void test_netbase(input &parts);
void test_documents(input &parts);
void test_nvram(input &parts);
void test_mmac(input &parts);
void test_wireless(input &parts);
void test_hotplug(input &parts);
void test_board(input &parts);
void test_zone(input &parts);
void test_names(input &parts);
void test_quote(input &parts);
void test_peers(input &parts);
void test_check(input &parts);
void test_status(input &parts);
void test_heal(input &parts);
void test_report(input &parts);
void test_rebuild(input &parts);

} // namespace fuzz
