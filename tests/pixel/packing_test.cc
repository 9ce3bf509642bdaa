// SPDX-License-Identifier: Apache-2.0
#include <quorvel/pixel.h>

#include "tests/support/prove.h"
#include "tests/support/reference/packing.h"

namespace quorvel::test {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Words = std::vector<std::uint16_t>;

TEST(Packing, PacksLikeTheModelAndWritesNoByteMore) {
  proveRows(rowLengths(), [](unsigned n, Pattern pattern, Guard guard) {
    const Words in = samples<std::uint16_t>(n, pattern);
    const Bytes expected = reference::pack12(in);
    GuardedBuffer<std::uint16_t> src(in, guard);
    GuardedBuffer<std::uint8_t> dst(expected.size(), guard);
    EXPECT_EQ(compr16to12(src.data(), dst.data(), n), 0);
    EXPECT_TRUE(holds(dst, expected));
  });
}

TEST(Packing, UnpacksLikeTheModelAndReadsNoByteMore) {
  proveRows(rowLengths(), [](unsigned n, Pattern pattern, Guard guard) {
    const Bytes packed = samples<std::uint8_t>((3 * n + 1) / 2, pattern);
    GuardedBuffer<std::uint8_t> src(packed, guard);
    GuardedBuffer<std::uint16_t> plain(n, guard), withSign(n, guard);
    EXPECT_EQ(decomp12to16(src.data(), plain.data(), n), 0);
    EXPECT_EQ(decomp12to16s(src.data(), withSign.data(), n), 0);
    EXPECT_TRUE(holds(plain, reference::unpack12(packed, n)));
    EXPECT_TRUE(holds(withSign, reference::unpack12Signed(packed, n)));
  });
}

TEST(Packing, HandComputedValuesPinTheFormat) {
  const Words pair = {0x123, 0x456};
  Bytes packed(3);
  compr16to12(pair.data(), packed.data(), 2);
  EXPECT_EQ(packed, (Bytes{0x23, 0x61, 0x45}));

  const Words lone = {0xFABC};  // the upper four bits are dropped
  packed.assign(2, 0xFF);
  compr16to12(lone.data(), packed.data(), 1);
  EXPECT_EQ(packed, (Bytes{0xBC, 0x0A}));

  const Bytes ones(14, 0xFF);
  Words nine(9);
  decomp12to16s(ones.data(), nine.data(), 9);
  EXPECT_EQ(nine, (Words{0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0x0FFF}));
}

}  // namespace
}  // namespace quorvel::test
