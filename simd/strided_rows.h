// SPDX-License-Identifier: Apache-2.0
#ifndef QUORVEL_SIMD_STRIDED_ROWS_H_
#define QUORVEL_SIMD_STRIDED_ROWS_H_

#include <array>
#include <cstddef>

namespace quorvel {

// Rows in several places: where each first row begins, and how many samples the rows are apart there.
template <typename T, std::size_t kPlaces>
struct StridedRows {
  std::array<T*, kPlaces> first;
  std::array<std::size_t, kPlaces> stride;

  T* row(std::size_t place, std::size_t y) const { return first[place] + y * stride[place]; }
};

}  // namespace quorvel

#endif  // QUORVEL_SIMD_STRIDED_ROWS_H_
