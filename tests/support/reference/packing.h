// SPDX-License-Identifier: Apache-2.0
// Plain model of 12-bit packing: the packed bytes are a stream of bits, lowest first.
#ifndef QUORVEL_TESTS_SUPPORT_REFERENCE_PACKING_H_
#define QUORVEL_TESTS_SUPPORT_REFERENCE_PACKING_H_

#include <cstdint>
#include <vector>

namespace quorvel::reference {

inline std::vector<std::uint8_t> pack12(const std::vector<std::uint16_t>& samples) {
  std::vector<std::uint8_t> bytes((12 * samples.size() + 7) / 8);
  for (std::size_t bit = 0; bit < 12 * samples.size(); ++bit) {
    if (samples[bit / 12] >> bit % 12 & 1) bytes[bit / 8] |= static_cast<std::uint8_t>(1 << bit % 8);
  }
  return bytes;
}

inline std::vector<std::uint16_t> unpack12(const std::vector<std::uint8_t>& bytes, std::size_t n) {
  std::vector<std::uint16_t> samples(n);
  for (std::size_t bit = 0; bit < 12 * n; ++bit) {
    if (bytes[bit / 8] >> bit % 8 & 1) samples[bit / 12] |= static_cast<std::uint16_t>(1 << bit % 12);
  }
  return samples;
}

inline std::vector<std::uint16_t> unpack12Signed(const std::vector<std::uint8_t>& bytes, std::size_t n) {
  std::vector<std::uint16_t> samples = unpack12(bytes, n);
  for (std::size_t i = 0; i < n / 8 * 8; ++i) {
    if (samples[i] >= 2048) samples[i] = static_cast<std::uint16_t>(samples[i] - 4096);
  }
  return samples;
}

}  // namespace quorvel::reference

#endif  // QUORVEL_TESTS_SUPPORT_REFERENCE_PACKING_H_
