// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <quorvel/runtime.h>

namespace {

TEST(Bits, PositionsOfBits) {
  const struct {
    unsigned x;
    int significant, highest, lowest;
  } cases[] = {{0, 0, -1, -1}, {1, 1, 0, 0}, {12, 4, 3, 2}, {0x80000000, 32, 31, 31}, {0xFFFFFFFF, 32, 31, 0}};
  for (const auto& c : cases) {
    EXPECT_EQ(log2i(c.x), c.significant) << c.x;
    EXPECT_EQ(log2n(c.x), c.highest) << c.x;
    EXPECT_EQ(lowBit(c.x), c.lowest) << c.x;
  }
}

}  // namespace
