// SPDX-License-Identifier: Apache-2.0
// Plain model of gamma tables, straight from the formula, with the C library's power.
#ifndef QUORVEL_TESTS_SUPPORT_REFERENCE_GAMMA_H_
#define QUORVEL_TESTS_SUPPORT_REFERENCE_GAMMA_H_

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace quorvel::reference {

inline std::vector<std::uint8_t> gammaTable(unsigned bits, double gamma, int lowLevel, int highLevel, int maxOut,
                                            bool toe = false, bool invert = false) {
  const int size = 1 << bits;
  const double e = 1 / gamma, k = 1 / (static_cast<double>(highLevel) - lowLevel);
  const int toeLength = std::max(size * 8 / 4096, 1);
  const double toeSlope = (std::pow(toeLength * k, e) * maxOut + 0.5) / toeLength;
  std::vector<std::uint8_t> table(static_cast<std::size_t>(size));
  for (int i = 0; i < size; ++i) {
    int value;
    if (lowLevel >= i) {
      value = invert ? maxOut : 0;
    } else if (i >= highLevel) {
      value = invert ? 0 : maxOut;
    } else {
      const int d = i - lowLevel;
      const double v = toe && d <= toeLength ? d * toeSlope : std::pow(d * k, e) * maxOut + 0.5;
      value = invert ? maxOut - static_cast<int>(v) : static_cast<int>(v);
    }
    table[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(value);
  }
  return table;
}

}  // namespace quorvel::reference

#endif  // QUORVEL_TESTS_SUPPORT_REFERENCE_GAMMA_H_
