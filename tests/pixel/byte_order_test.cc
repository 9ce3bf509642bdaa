// SPDX-License-Identifier: Apache-2.0
#include "pixel/bit_reversal.h"

#include <quorvel/pixel.h>

#include "tests/support/prove.h"

namespace quorvel::test {
namespace {

using Words = std::vector<std::uint16_t>;

unsigned reversedBits(unsigned x, int bits) {
  unsigned out = 0;
  for (int bit = 0; bit < bits; ++bit) out = out << 1 | (x >> bit & 1);
  return out;
}

TEST(ByteOrder, HandComputedValuesPinTheSwaps) {
  EXPECT_EQ(swap2(0x1234), 0x3412);
  EXPECT_EQ(swap4(0x12345678), 0x78563412u);
  EXPECT_EQ(swap8(0x0123456789ABCDEF), 0xEFCDAB8967452301u);
  std::uint64_t words = 0x0123456789ABCDEF;
  swap4wMMX(&words);
  EXPECT_EQ(words, 0xCDEF89AB45670123u);
}

TEST(ByteOrder, SwapsWordsIntoAnotherBufferAndInPlace) {
  proveRows(rowLengths(), [](unsigned n, Pattern pattern, Guard guard) {
    const Words in = samples<std::uint16_t>(n, pattern);
    Words expected;
    for (const unsigned word : in) expected.push_back(static_cast<std::uint16_t>(word % 256 * 256 + word / 256));
    GuardedBuffer<std::uint16_t> src(in, guard), dst(n, guard);
    EXPECT_EQ(bswap16_MMX(src.data(), dst.data(), n), 0);
    EXPECT_TRUE(holds(dst, expected));
    EXPECT_EQ(bswap16_MMX(src.data(), src.data(), n), 0);
    EXPECT_TRUE(holds(src, expected));
  });
}

TEST(BitReversal, TablesHoldTheLowBitsReversed) {
  EXPECT_EQ(bitReversal[0], bitReversal[9]);
  for (unsigned i = 0; i < 256; ++i) {
    for (int k = 1; k <= 9; ++k) ASSERT_EQ(bitReversal[static_cast<unsigned>(k)][i], reversedBits(i, k - 1));
  }
}

TEST(BitReversal, ReversesTheLowBitsOfAWord) {
  EXPECT_EQ(genLowToBigTable(), 0);
  EXPECT_EQ(lowToBigEndianW(0x0001, 12), 0x800u);
  EXPECT_EQ(lowToBigEndianW(0x0003, 2), 3u);
  for (const std::uint32_t x : samples<std::uint32_t>(200, Pattern::Random)) {
    for (int bits = 1; bits <= 16; ++bits) ASSERT_EQ(lowToBigEndianW(x, bits), reversedBits(x, bits)) << x;
  }
}

}  // namespace
}  // namespace quorvel::test
