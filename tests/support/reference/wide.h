// SPDX-License-Identifier: Apache-2.0
// Linear algebra in 113 bits, by which that of the library is measured.
#ifndef QUORVEL_TESTS_SUPPORT_REFERENCE_WIDE_H_
#define QUORVEL_TESTS_SUPPORT_REFERENCE_WIDE_H_

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace quorvel::test {

#if defined(__SIZEOF_FLOAT128__)
__extension__ typedef __float128 Wide;
#else
using Wide = long double;  // which has them there
#endif
static_assert(sizeof(Wide) == 16);
using WideRows = std::vector<std::vector<Wide>>;

inline Wide magnitude(Wide v) { return v < 0 ? -v : v; }

// Gaussian elimination with row pivoting.
inline std::vector<Wide> wideSolve(WideRows a, std::vector<Wide> b) {
  const std::size_t n = b.size();
  for (std::size_t k = 0; k < n; ++k) {
    std::size_t pivot = k;
    for (std::size_t i = k; i < n; ++i) {
      if (magnitude(a[i][k]) > magnitude(a[pivot][k])) pivot = i;
    }
    std::swap(a[k], a[pivot]);
    std::swap(b[k], b[pivot]);
    for (std::size_t i = k + 1; i < n; ++i) {
      const Wide f = a[i][k] / a[k][k];
      for (std::size_t j = k; j < n; ++j) a[i][j] -= f * a[k][j];
      b[i] -= f * b[k];
    }
  }
  for (std::size_t k = n; k-- > 0;) {
    for (std::size_t j = k + 1; j < n; ++j) b[k] -= a[k][j] * b[j];
    b[k] /= a[k][k];
  }
  return b;
}

// Least squares through normal equations, which 113 bits can afford.
inline std::vector<Wide> wideLeastSquares(const std::vector<std::vector<double>>& rows, const std::vector<double>& y) {
  const std::size_t n = rows.front().size();
  WideRows normal(n, std::vector<Wide>(n));
  std::vector<Wide> b(n);
  for (std::size_t r = 0; r < rows.size(); ++r) {
    for (std::size_t i = 0; i < n; ++i) {
      for (std::size_t j = 0; j < n; ++j) normal[i][j] += Wide{rows[r][i]} * rows[r][j];
      b[i] += Wide{rows[r][i]} * y[r];
    }
  }
  return wideSolve(normal, b);
}

// The number of decimal digits in which the worst element agrees with what is expected, at most 16.
template <typename Values, typename Expected>
double digits(const Values& values, const Expected& expected) {
  double worst = 16;
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const double error = static_cast<double>(magnitude((Wide{values[i]} - Wide{expected[i]}) / Wide{expected[i]}));
    worst = std::min(worst, std::isnan(error) ? 0.0 : error > 0 ? std::max(0.0, -std::log10(error)) : 16);
  }
  return worst;
}

}  // namespace quorvel::test

#endif  // QUORVEL_TESTS_SUPPORT_REFERENCE_WIDE_H_
