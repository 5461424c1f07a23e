// What a unit test of a routine needs: gtest, trace comparison, names of rows, and the world around
// it, fresh.
#pragma once

#include "support/expect.h"
#include "support/private_world.h"
#include "support/rows.h"

#include <gtest/gtest.h>

namespace support
{

class unit_test : public testing::Test
{
  protected:
    void SetUp() override { world.clear(); }
    private_world &world = private_world::here();
};

} // namespace support
