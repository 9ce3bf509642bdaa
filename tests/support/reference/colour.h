// SPDX-License-Identifier: Apache-2.0
// Plain models of the colour room: one pixel at a time, in wide integers.
#ifndef QUORVEL_TESTS_SUPPORT_REFERENCE_COLOUR_H_
#define QUORVEL_TESTS_SUPPORT_REFERENCE_COLOUR_H_

#include <algorithm>
#include <cstdint>
#include <vector>

#include <quorvel/types.h>

namespace quorvel::reference {

// A grid over samples of `sampleBits`, with 2^levelBits levels.
struct Grid {
  unsigned sampleBits, levelBits;

  unsigned level(unsigned s) const { return s % (1u << sampleBits) >> (sampleBits - levelBits); }
  unsigned residual(unsigned s) const { return s % (1u << (sampleBits - levelBits)); }
  template <typename Sample>
  std::size_t cell(const Sample* p) const {
    return level(p[0]) + (std::size_t{level(p[1])} << levelBits) + (std::size_t{level(p[2])} << 2 * levelBits);
  }
};

// Cells are of four samples each. The carry out of channel 0 reaches channel 1, and in bytes that of 1 channel 2.
template <typename Sample>
std::vector<Sample> throughValues(const std::vector<Sample>& pixels, const Sample* cells, Grid grid) {
  constexpr unsigned kFull = 1u << 8 * sizeof(Sample);
  std::vector<Sample> out;
  for (std::size_t i = 0; i < pixels.size(); i += 3) {
    const Sample* cell = cells + 4 * grid.cell(&pixels[i]);
    unsigned carry = 0;
    for (unsigned c = 0; c < 3; ++c) {
      if (sizeof(Sample) == 2 && c == 2) carry = 0;
      const unsigned sum = cell[c] + grid.residual(pixels[i + c]) + carry;
      out.push_back(static_cast<Sample>(sum % kFull));
      carry = sum / kFull;
    }
  }
  return out;
}

template <typename Sample>
std::vector<Sample> throughGains(const std::vector<Sample>& pixels, const KxB* cells, Grid grid) {
  std::vector<Sample> out;
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    const KxB& cell = cells[grid.cell(&pixels[i / 3 * 3])];
    std::int64_t product = std::int64_t{pixels[i]} * cell.k[i % 3] & 0xFFFF;
    if (product >= 32768) product -= 65536;
    const std::int64_t sum = std::clamp<std::int64_t>(product + cell.b[i % 3], -32768, 32767) >> 3;
    out.push_back(static_cast<Sample>(std::clamp<std::int64_t>(sum, 0, sizeof(Sample) == 1 ? 255 : 65535)));
  }
  return out;
}

inline std::int16_t wrapped(std::int64_t v) { return static_cast<std::int16_t>(static_cast<std::uint16_t>(v)); }

inline std::vector<std::uint16_t> throughMatrix(const std::vector<std::uint16_t>& pixels, const double* m) {
  std::vector<std::uint16_t> out;
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    const std::size_t r = i % 3;
    std::int64_t sum = 0;
    for (std::size_t c = 0; c < 3; ++c) {
      const bool diagonal = r == c;
      const auto coefficient = static_cast<std::int64_t>(m[3 * r + c] * (diagonal ? 4096 : 8192));
      const std::int64_t product = wrapped(std::int64_t{pixels[i - r + c]} * 8) * coefficient >> 16;
      sum += diagonal ? 2 * product : product;
    }
    out.push_back(static_cast<std::uint16_t>(std::clamp<int>(wrapped(sum), 0, 4095)));
  }
  return out;
}

}  // namespace quorvel::reference

#endif  // QUORVEL_TESTS_SUPPORT_REFERENCE_COLOUR_H_
