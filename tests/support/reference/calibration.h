// SPDX-License-Identifier: Apache-2.0
// Plain models of calibration, histograms and re-mosaicing: the rules, sample by sample.
#ifndef QUORVEL_TESTS_SUPPORT_REFERENCE_CALIBRATION_H_
#define QUORVEL_TESTS_SUPPORT_REFERENCE_CALIBRATION_H_

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <utility>
#include <vector>

namespace quorvel::reference {

using Frame = std::vector<std::uint16_t>;

inline std::array<int, 4> blackLevels(const std::vector<std::int16_t>& frame, unsigned pitch, unsigned x0, unsigned y0,
                                      unsigned width, unsigned height) {
  std::array<std::int64_t, 4> sums{}, counts{};
  for (unsigned y = y0; y < y0 + height; ++y) {
    for (unsigned x = x0; x < x0 + width; ++x) {
      const unsigned phase = x % 2 + 2 * (y % 2);
      sums[phase] += frame[y * pitch + x];
      ++counts[phase];
    }
  }
  std::array<int, 4> levels;
  for (std::size_t k = 0; k < 4; ++k) {  // halves away from zero, in integers
    const std::int64_t magnitude = std::abs(sums[k]), rounded = (2 * magnitude + counts[k]) / (2 * counts[k]);
    levels[k] = static_cast<int>(sums[k] < 0 ? -rounded : rounded);
  }
  return levels;
}

// Weights in 1/65536. All arithmetic is modulo 2^32.
inline std::uint16_t correctedForSmear(std::uint16_t centre, std::uint16_t above, std::uint16_t below, std::int32_t b,
                                       std::int32_t c) {
  const std::uint32_t neighbours = std::uint32_t{above} + below;
  const std::uint32_t v = centre * static_cast<std::uint32_t>(b) + neighbours * static_cast<std::uint32_t>(c);
  if ((v >> 28 & 1) == 0) return static_cast<std::uint16_t>(v >> 16);
  return v >> 31 != 0 ? 0 : 4095;
}

// D and S over a rectangle of whole cells: each green with the greens below left and below right of it.
inline std::pair<std::uint64_t, std::uint64_t> greenContrast(const Frame& frame, unsigned pitch, unsigned x0,
                                                             unsigned y0, unsigned x1, unsigned y1) {
  std::uint64_t differences = 0, sum = 0;
  for (unsigned y = y0; y < y1; ++y) {
    for (unsigned x = x0; x < x1; ++x) {
      if ((x + y) % 2 != 0) continue;
      const int green = frame[y * pitch + x];
      sum += static_cast<unsigned>(green);
      if (y + 1 == y1) continue;
      if (x > x0) differences += static_cast<unsigned>(std::abs(green - frame[(y + 1) * pitch + x - 1]));
      if (x + 1 < x1) differences += static_cast<unsigned>(std::abs(green - frame[(y + 1) * pitch + x + 1]));
    }
  }
  return {differences, sum};
}

// 0 red, 1 green, 2 blue.
inline unsigned colourAt(unsigned x, unsigned y) { return (x + y) % 2 == 0 ? 1 : y % 2 == 0 ? 0 : 2; }

}  // namespace quorvel::reference

#endif  // QUORVEL_TESTS_SUPPORT_REFERENCE_CALIBRATION_H_
