// SPDX-License-Identifier: Apache-2.0
// Cells of a Bayer frame and their planes, as the conversions of both directions see them, and the level shift.
#ifndef QUORVEL_BAYER_LUMA_CHROMA_H_
#define QUORVEL_BAYER_LUMA_CHROMA_H_

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>

#include "simd/strided_rows.h"

namespace quorvel {

// A frame as cells of 2 x 2 samples, G1 R above B G2. A last row or column that has no partner is no part of it.
template <typename Sample>
struct CellFrame {
  Sample* samples;
  std::size_t pitch, columns, rows;

  Sample* greenRed(std::size_t row) const { return samples + 2 * row * pitch; }
  Sample* blueGreen(std::size_t row) const { return greenRed(row) + pitch; }
};

// The planes of both luminances (or of the luminance and the green difference), of Cb and of Cr, a value a cell.
template <typename T>
using CellPlanes = StridedRows<T, 4>;

template <typename T>
CellPlanes<T> separatePlanes(T* y1, T* y2, T* cb, T* cr, std::size_t columns) {
  return {{y1, y2, cb, cr}, {columns, columns, columns, columns}};
}

// Rows of the one luminance plane hold the cells' first luminances and after them the second ones.
template <typename T>
CellPlanes<T> pairedPlanes(T* y, T* cb, T* cr, std::size_t columns) {
  return {{y, y + columns, cb, cr}, {2 * columns, 2 * columns, columns, columns}};
}

// An offset beyond these counts as this one, so that no sum with an offset leaves 32 bits in any unit.
constexpr int kLargestOffset = (1 << 25) - (1 << 17);
constexpr int limitedOffset(int offset) { return std::clamp(offset, -kLargestOffset, kLargestOffset); }

// What a result is held in, both ends included. Where high < low, which only an offset of 0 gives, everything is low.
struct Range {
  std::int32_t low, high;
};

// [-|offset|, |offset| - 1] in steps of 1 / `unit`, as far as T goes: a plane's value saturates, it never wraps.
template <typename T>
Range planeRange(int offset, int unit) {
  constexpr std::int32_t kLow = std::numeric_limits<T>::min(), kHigh = std::numeric_limits<T>::max();
  const std::int32_t size = unit * std::abs(limitedOffset(offset));
  return {std::max(-size, kLow), std::min(size - 1, kHigh)};
}

// [0, 2 |offset| - 1], as far as samples go.
inline Range sampleRange(int offset) { return {0, std::min(2 * std::abs(limitedOffset(offset)) - 1, 65535)}; }

// The largest sample that a float bound leaves, within [0, most]. No number leaves 0.
inline float largestSample(float bound, float most) { return bound > 0 ? std::trunc(std::min(bound, most)) : 0; }

}  // namespace quorvel

#endif  // QUORVEL_BAYER_LUMA_CHROMA_H_
