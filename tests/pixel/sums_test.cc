// SPDX-License-Identifier: Apache-2.0
#include <quorvel/pixel.h>

#include "tests/support/prove.h"
#include "tests/support/reference/sums.h"

namespace quorvel::test {
namespace {

TEST(Sums, WordsWithTheirCarriesRemembered) {
  std::vector<unsigned> lengths = rowLengths();
  lengths.push_back(4 * 70001);  // more groups than 16 bits can count
  proveRows(lengths, [](unsigned n, Pattern pattern, Guard guard) {
    const auto words = samples<std::uint16_t>(n, pattern);
    GuardedBuffer<std::uint16_t> p(words, guard);
    EXPECT_EQ(sumWords(p.data(), n), reference::sumWords(words));
  });
  const std::vector<std::uint16_t> carrying = {0xFFFF, 1, 0, 0, 1, 0, 0, 0};
  EXPECT_EQ(sumWords(carrying.data(), 8), 0x20001u);
}

TEST(Sums, ChecksumOfWholeWords) {
  proveRows(rowLengths(), [](unsigned n, Pattern pattern, Guard guard) {
    const auto words = samples<std::uint32_t>(n, pattern);
    GuardedBuffer<std::uint32_t> data(words, guard);
    EXPECT_EQ(TstSum32(data.data(), 4 * n), reference::checksum(words));
    if (n == 0) return;
    const std::vector<std::uint32_t> allButLast(words.begin(), words.end() - 1);
    EXPECT_EQ(TstSum32(data.data(), 4 * n - 1), reference::checksum(allButLast));
  });
  const std::vector<std::uint32_t> lone = {0x80000000, 1};  // the one that is shifted out comes back as the polynomial
  EXPECT_EQ(TstSum32(lone.data(), 8), 0x04C11DB6u);
}

}  // namespace
}  // namespace quorvel::test
