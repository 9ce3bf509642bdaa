// SPDX-License-Identifier: Apache-2.0
// The exchange step as it is stated, done at once.
#ifndef QUORVEL_TESTS_SUPPORT_REFERENCE_EXCHANGE_H_
#define QUORVEL_TESTS_SUPPORT_REFERENCE_EXCHANGE_H_

#include <cmath>
#include <numeric>
#include <utility>
#include <vector>

namespace quorvel::test::reference {

template <typename T>
struct ExchangeTableau {
  std::vector<std::vector<T>> a;
  std::vector<int> rowVariables, columnVariables;

  ExchangeTableau(std::size_t rows, std::size_t columns)
      : a(rows, std::vector<T>(columns)), rowVariables(rows), columnVariables(columns) {
    std::iota(columnVariables.begin(), columnVariables.end(), 0);
    std::iota(rowVariables.begin(), rowVariables.end(), static_cast<int>(columns));
  }
  static T flushed(T v) { return std::abs(v) <= static_cast<T>(1e-16) ? 0 : v; }

  int exchange(std::size_t r, std::size_t c) {
    const T p = a[r][c];
    if (std::abs(p) <= static_cast<T>(1e-16)) return -1;
    for (std::size_t i = 0; i < a.size(); ++i) {
      if (i == r || a[i][c] == 0) continue;
      const T f = -a[i][c] / p;
      for (std::size_t j = 0; j < a[i].size(); ++j) {
        if (j != c) a[i][j] = flushed(a[i][j] + f * a[r][j]);
      }
    }
    const T reciprocal = 1 / p;
    for (T& v : a[r]) v = flushed(v * reciprocal);
    for (auto& row : a) row[c] = flushed(row[c] * -reciprocal);
    a[r][c] = reciprocal;
    std::swap(rowVariables[r], columnVariables[c]);
    return 0;
  }
};

}  // namespace quorvel::test::reference

#endif  // QUORVEL_TESTS_SUPPORT_REFERENCE_EXCHANGE_H_
