// SPDX-License-Identifier: Apache-2.0
#include <quorvel/pixel.h>

#include "tests/support/prove.h"

namespace quorvel::test {
namespace {

// The packed bytes are a stream of bits, lowest first.
void pack(const Words& samples, Bytes& bytes, unsigned n) {
  bytes.assign(bytes.size(), 0);
  for (std::size_t bit = 0; bit < 12 * n; ++bit) {
    bytes[bit / 8] |= static_cast<std::uint8_t>((samples[bit / 12] >> bit % 12 & 1) << bit % 8);
  }
}

// The first `withSign` samples have one.
void unpack(const Bytes& bytes, Words& samples, unsigned n, unsigned withSign) {
  for (std::size_t i = 0; i < n; ++i) {
    int sample = 0;
    for (std::size_t bit = 12 * i; bit < 12 * i + 12; ++bit) sample |= (bytes[bit / 8] >> bit % 8 & 1) << bit % 12;
    samples[i] = static_cast<std::uint16_t>(i < withSign && sample >= 2048 ? sample - 4096 : sample);
  }
}

TEST(Packing, EqualsTheModelAndTouchesNoByteMore) {
  const auto plain = [](const Bytes& in, Words& out, unsigned n) { unpack(in, out, n, 0); };
  const auto withSign = [](const Bytes& in, Words& out, unsigned n) { unpack(in, out, n, n / 8 * 8); };
  proveRows(rowLengths(), [&](unsigned n, Pattern pattern, Guard guard) {
    const Bytes packed = samples<std::uint8_t>((3 * n + 1) / 2, pattern);
    prove(guard, compr16to12, pack, samples<std::uint16_t>(n, pattern), room<std::uint8_t>(packed.size()), n);
    prove(guard, decomp12to16, plain, packed, room<std::uint16_t>(n), n);
    prove(guard, decomp12to16s, withSign, packed, room<std::uint16_t>(n), n);
  });
}

}  // namespace
}  // namespace quorvel::test
