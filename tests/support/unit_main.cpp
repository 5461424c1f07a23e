// main() of the unit tests: moves the process into a private world, and gives every test a clean
// one.
#include "support/private_world.h"

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <unistd.h>

// mcfg leaves what it has loaded to the end of the process on purpose.
extern "C" const char *__asan_default_options();
extern "C" const char *__asan_default_options()
{
    return "detect_leaks=0";
}

namespace
{

class clean_world : public testing::EmptyTestEventListener
{
    void OnTestStart(const testing::TestInfo &) override { support::private_world::here().clear(); }
};

// A routine that ends the process would end the tests with it, and with its own status: the tests
// behind it would be taken for passed.
pid_t tests_process = 0;

void refuse_early_end()
{
    if (getpid() != tests_process)
        return;
    fputs("The process was ended from within a test.\n", stderr);
    fflush(nullptr);
    _exit(1);
}

} // namespace

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    // Listing the tests, as the build does, needs no world.
    if (!testing::GTEST_FLAG(list_tests)) {
        support::private_world::enter();
        testing::UnitTest::GetInstance()->listeners().Append(new clean_world);
        tests_process = getpid();
        atexit(refuse_early_end);
    }
    int status = RUN_ALL_TESTS();
    tests_process = 0;
    return status;
}
