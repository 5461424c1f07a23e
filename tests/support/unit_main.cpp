// main() of the unit tests: moves the process into a private world, and gives every test a clean
// one.
#include "support/private_world.h"

#include <gtest/gtest.h>

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

} // namespace

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    // Listing the tests, as the build does, needs no world.
    if (!testing::GTEST_FLAG(list_tests)) {
        support::private_world::enter();
        testing::UnitTest::GetInstance()->listeners().Append(new clean_world);
    }
    return RUN_ALL_TESTS();
}
