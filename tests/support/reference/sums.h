// SPDX-License-Identifier: Apache-2.0
// Plain models of the grey conversions and of the sums.
#ifndef QUORVEL_TESTS_SUPPORT_REFERENCE_SUMS_H_
#define QUORVEL_TESTS_SUPPORT_REFERENCE_SUMS_H_

#include <array>
#include <cstdint>
#include <vector>

#include <quorvel/types.h>

namespace quorvel::reference {

inline std::vector<std::uint8_t> greyOfPixels(const std::vector<std::uint8_t>& rgb) {
  std::vector<std::uint8_t> grey(rgb.size() / 3);
  for (std::size_t i = 0; i < grey.size(); ++i) {
    grey[i] = static_cast<std::uint8_t>((rgb[3 * i] * 19595 >> 16) + (rgb[3 * i + 1] * 38470 >> 16) +
                                        (rgb[3 * i + 2] * 7471 >> 16));
  }
  return grey;
}

inline std::uint16_t greyOfSamples(std::uint16_t r, std::uint16_t g, std::uint16_t b, std::size_t i,
                                   const RGB_to_Gray& coef) {
  const auto term = [](std::uint16_t sample, std::int16_t weight) {
    const auto doubled = static_cast<std::int16_t>(2 * sample);
    return doubled * weight >> 16;
  };
  const auto sum =
      static_cast<std::uint16_t>(term(r, coef.red[i % 4]) + term(g, coef.green[i % 4]) + term(b, coef.blue[i % 4]));
  return sum < 0x1000 ? sum : 0x0FFF;
}

// The accumulators as they are described: only their low halves are replaced.
inline std::uint32_t sumWords(const std::vector<std::uint16_t>& p) {
  std::uint32_t a = 0, b = 0, total = 0;
  for (std::size_t i = 0; i + 4 <= p.size(); i += 4) {
    a = (a & 0xFFFF0000) | p[i];
    b = (b & 0xFFFF0000) | p[i + 2];
    a += p[i + 1];
    b += p[i + 3];
    total += a + b;
  }
  return total;
}

inline std::uint32_t checksum(const std::vector<std::uint32_t>& words) {
  std::uint32_t sum = 0;
  for (const std::uint32_t word : words) {
    const bool out = sum >= 0x80000000;
    sum = sum * 2;
    if (out) sum ^= 0x04C11DB7;
    sum ^= word;
  }
  return sum;
}

}  // namespace quorvel::reference

#endif  // QUORVEL_TESTS_SUPPORT_REFERENCE_SUMS_H_
