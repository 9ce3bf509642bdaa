// SPDX-License-Identifier: Apache-2.0
// Plain models of the bit depth conversions, a sample at a time.
#ifndef QUORVEL_TESTS_SUPPORT_REFERENCE_DEPTH_H_
#define QUORVEL_TESTS_SUPPORT_REFERENCE_DEPTH_H_

#include <algorithm>
#include <cstdint>

namespace quorvel::reference {

// (v + half) >> bits, where the sum wraps at 16 bits: a byte's saturation in groups, its low 8 bits in the remainder.
inline std::uint8_t narrowInGroup(std::uint16_t v, unsigned half, int bits) {
  const auto sum = static_cast<std::uint16_t>(v + half);
  return static_cast<std::uint8_t>(std::min(sum >> bits, 255));
}

inline std::uint8_t narrowInRemainder(std::uint16_t v, unsigned half, int bits) {
  return static_cast<std::uint8_t>((v + half) >> bits & 0xFF);
}

// ((v - low, not below 0) * factor) >> 16 of 16-bit values with a sign, limited to a byte.
inline std::uint8_t narrowScaled(std::uint16_t v, std::uint16_t low, std::int16_t factor) {
  const auto above = static_cast<std::int16_t>(static_cast<std::uint16_t>(std::max(v - low, 0)));
  return static_cast<std::uint8_t>(std::clamp(above * factor >> 16, 0, 255));
}

inline std::uint16_t widen(int v, int bits) {
  return bits < 0 || bits > 15 ? std::uint16_t{0} : static_cast<std::uint16_t>(static_cast<unsigned>(v) << bits);
}

}  // namespace quorvel::reference

#endif  // QUORVEL_TESTS_SUPPORT_REFERENCE_DEPTH_H_
