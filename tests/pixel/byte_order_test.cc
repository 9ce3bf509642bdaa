// SPDX-License-Identifier: Apache-2.0
#include "pixel/bit_reversal.h"

#include <quorvel/pixel.h>

#include "tests/support/prove.h"

namespace quorvel::test {
namespace {

TEST(ByteOrder, HandComputedValuesPinTheSwaps) {
  EXPECT_EQ(swap2(0x1234), 0x3412);
  EXPECT_EQ(swap4(0x12345678), 0x78563412u);
  EXPECT_EQ(swap8(0x0123456789ABCDEF), 0xEFCDAB8967452301u);
  std::uint64_t words = 0x0123456789ABCDEF;
  swap4wMMX(&words);
  EXPECT_EQ(words, 0xCDEF89AB45670123u);
}

TEST(ByteOrder, SwapsWordsIntoAnotherBufferAndInPlace) {
  const auto swapped = [](const Words& in, Words& out, unsigned n) {
    for (unsigned i = 0; i < n; ++i) out[i] = static_cast<std::uint16_t>(in[i] % 256 * 256 + in[i] / 256);
  };
  proveRows(rowLengthsAndStreamed(2), [&](unsigned n, Pattern pattern, Guard guard) {
    const Words in = samples<std::uint16_t>(n, pattern);
    prove(guard, bswap16_MMX, swapped, in, room<std::uint16_t>(n), n);
    prove(
        guard, [](auto* words, unsigned count) { return bswap16_MMX(words, words, count); },
        [&](Words& words, unsigned count) { swapped(words, words, count); }, in, n);
  });
}

TEST(BitReversal, ReversesTheLowBits) {
  const auto reversed = [](unsigned x, int bits) {
    unsigned out = 0;
    for (int bit = 0; bit < bits; ++bit) out = out << 1 | (x >> bit & 1);
    return out;
  };
  for (unsigned i = 0; i < 256; ++i) {
    for (unsigned k = 0; k <= 9; ++k) ASSERT_EQ(bitReversal[k][i], reversed(i, k == 0 ? 8 : static_cast<int>(k) - 1));
    for (int bits = 1; bits <= 16; ++bits)
      ASSERT_EQ(lowToBigEndianW(i * 257 ^ 0xA5, bits), reversed(i * 257 ^ 0xA5, bits));
  }
}

}  // namespace
}  // namespace quorvel::test
