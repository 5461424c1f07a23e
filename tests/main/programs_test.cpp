#include "main/programs.h"

#include "support/unit_test.h"

namespace
{

using program = support::unit_test;

// As a careless caller starts it. Newer kernels give it an empty one then.
TEST_F(program, without_a_name_does_nothing)
{
    char *argv[] = {nullptr};
    EXPECT_EQ(run_program(0, argv), 0);
    EXPECT_EQ(world.trace(), "");
}

} // namespace
