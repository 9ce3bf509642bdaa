// SPDX-License-Identifier: Apache-2.0
// Random numbers that are the same on every system, and matrices whose elements a rule gives.
#ifndef QUORVEL_TESTS_NUMERICS_SUPPORT_H_
#define QUORVEL_TESTS_NUMERICS_SUPPORT_H_

#include <random>

#include <quorvel/numerics.h>

namespace quorvel::test {

class Numbers {
 public:
  explicit Numbers(unsigned seed) : engine_(seed) {}
  double operator()() { return static_cast<double>(engine_() >> 3) / (1 << 28) - 1; }  // -1..1, of 29 bits
  double operator()(int, int) { return (*this)(); }                                    // as a matrix's rule
  int below(int n) { return static_cast<int>(engine_() % static_cast<unsigned>(n)); }

 private:
  std::mt19937 engine_;
};

template <typename T, typename Rule>
TDenseMatrix<T> matrixOf(int rows, int columns, Rule&& rule) {
  TDenseMatrix<T> matrix(rows, columns);
  for (int i = 0; i < rows; ++i) {
    for (int j = 0; j < columns; ++j) matrix(i, j) = static_cast<T>(rule(i, j));
  }
  return matrix;
}

template <typename T>
TDenseMatrix<T> transposed(const TDenseMatrix<T>& a) {
  return matrixOf<T>(a.columns, a.rows, [&](int i, int j) { return a(j, i); });
}

template <typename T>
TDenseMatrix<T> product(const TDenseMatrix<T>& a, const TDenseMatrix<T>& b) {
  return matrixOf<T>(a.rows, b.columns, [&](int i, int j) {
    T sum = 0;
    for (int k = 0; k < a.columns; ++k) sum += a(i, k) * b(k, j);
    return sum;
  });
}

// The upper triangle on either side.
template <typename T>
TDenseMatrix<T> mirrored(const TDenseMatrix<T>& a) {
  return matrixOf<T>(a.rows, a.rows, [&](int i, int j) { return a(i < j ? i : j, i < j ? j : i); });
}

}  // namespace quorvel::test

#endif  // QUORVEL_TESTS_NUMERICS_SUPPORT_H_
