// SPDX-License-Identifier: Apache-2.0
#include <quorvel/pixel.h>

#include "tests/support/prove.h"

namespace quorvel::test {
namespace {

TEST(Sums, WordsWithTheirCarriesRemembered) {
  // The accumulators as they are described: only their low halves are replaced.
  const auto model = [](const Words& p, unsigned n) {
    std::uint32_t a = 0, b = 0, total = 0;
    for (std::size_t i = 0; i + 4 <= n; i += 4) {
      a = ((a & 0xFFFF0000) | p[i]) + p[i + 1];
      b = ((b & 0xFFFF0000) | p[i + 2]) + p[i + 3];
      total += a + b;
    }
    return total;
  };
  std::vector<unsigned> lengths = rowLengths();
  lengths.push_back(4 * 70001);  // more groups than 16 bits can count
  proveRows(lengths, [&](unsigned n, Pattern pattern, Guard guard) {
    prove(guard, sumWords, model, samples<std::uint16_t>(n, pattern), n);
  });
}

TEST(Sums, ChecksumOfWholeWords) {
  const auto model = [](const std::vector<std::uint32_t>& words, unsigned bytes) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < bytes / 4; ++i) sum = sum * 2 ^ (sum >> 31 != 0 ? 0x04C11DB7 : 0) ^ words[i];
    return sum;
  };
  for (const unsigned n : rowLengths(1)) {
    for (const unsigned bytes : {4 * n, 4 * n - 1}) {
      prove(Guard::AfterEnd, TstSum32, model, samples<std::uint32_t>(n, Pattern::Random), bytes);
    }
  }
}

}  // namespace
}  // namespace quorvel::test
