// SPDX-License-Identifier: Apache-2.0
// The 3 x 3 inverse that the numerics share.
#ifndef QUORVEL_NUMERICS_SMALL_SYSTEMS_H_
#define QUORVEL_NUMERICS_SMALL_SYSTEMS_H_

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace quorvel {

// Inverts a row-major 3 x 3 matrix, column by column of the unit matrix, by elimination with row pivoting. A pivot
// counts as 0 below 4 units of rounding of its row's largest entry: the choice of pivots and the verdict do not depend
// on the units of the rows. False for a singular matrix, and then `inverse` is untouched; it may be `a`.
template <typename T>
bool invert3(const T* a, T* inverse) {
  T m[3][6] = {}, scale[3];
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) m[i][j] = a[3 * i + j];
    m[i][3 + i] = 1;
    scale[i] = std::max({std::abs(m[i][0]), std::abs(m[i][1]), std::abs(m[i][2])});
  }
  for (int k = 0; k < 3; ++k) {
    int pivot = k;
    for (int i = k + 1; i < 3; ++i) {
      // As quotients: products of tiny magnitudes would be 0.
      if (scale[i] > 0 && (scale[pivot] == 0 || std::abs(m[i][k]) / scale[i] > std::abs(m[pivot][k]) / scale[pivot])) {
        pivot = i;
      }
    }
    if (!(std::abs(m[pivot][k]) > 4 * std::numeric_limits<T>::epsilon() * scale[pivot])) return false;
    std::swap(m[k], m[pivot]);
    std::swap(scale[k], scale[pivot]);
    for (int i = k + 1; i < 3; ++i) {
      const T factor = m[i][k] / m[k][k];
      for (int j = k + 1; j < 6; ++j) m[i][j] -= factor * m[k][j];
    }
  }
  for (int j = 3; j < 6; ++j) {
    for (int i = 2; i >= 0; --i) {
      for (int k = i + 1; k < 3; ++k) m[i][j] -= m[i][k] * m[k][j];
      m[i][j] /= m[i][i];
    }
  }
  for (int i = 0; i < 3; ++i) std::copy_n(m[i] + 3, 3, inverse + 3 * i);
  return true;
}

}  // namespace quorvel

#endif  // QUORVEL_NUMERICS_SMALL_SYSTEMS_H_
