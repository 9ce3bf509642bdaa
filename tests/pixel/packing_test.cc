// SPDX-License-Identifier: Apache-2.0
#include <quorvel/pixel.h>

#include "tests/support/prove.h"
#include "tests/support/reference/packing.h"

namespace quorvel::test {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Words = std::vector<std::uint16_t>;

TEST(Packing, EqualsTheModelAndTouchesNoByteMore) {
  const auto pack = [](const Words& in, Bytes& out, unsigned) { out = reference::pack12(in); };
  const auto unpack = [](const Bytes& in, Words& out, unsigned n) { out = reference::unpack12(in, n); };
  const auto unpackSigned = [](const Bytes& in, Words& out, unsigned n) { out = reference::unpack12Signed(in, n); };
  proveRows(rowLengths(), [&](unsigned n, Pattern pattern, Guard guard) {
    const Bytes packed = samples<std::uint8_t>((3 * n + 1) / 2, pattern);
    prove(guard, compr16to12, pack, samples<std::uint16_t>(n, pattern), room<std::uint8_t>(packed.size()), n);
    prove(guard, decomp12to16, unpack, packed, room<std::uint16_t>(n), n);
    prove(guard, decomp12to16s, unpackSigned, packed, room<std::uint16_t>(n), n);
  });
}

TEST(Packing, HandComputedValuesPinTheFormat) {
  const Words pair = {0x123, 0x456};
  Bytes packed(3);
  compr16to12(pair.data(), packed.data(), 2);
  EXPECT_EQ(packed, (Bytes{0x23, 0x61, 0x45}));
}

}  // namespace
}  // namespace quorvel::test
