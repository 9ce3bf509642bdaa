// SPDX-License-Identifier: Apache-2.0
// Systems of two, three and four equations: closed forms and eliminations on the stack.
#include "numerics/small_systems.h"

#include "quorvel/numerics.h"

namespace {

// Least squares by Householder reflections: the error then grows with the condition of the matrix and not, as through
// normal equations, with its square. A column counts as dependent on those before it when less than 8 units of rounding
// are left of its length.
template <typename T>
int leastSquares4x3(const T (*rows)[4], T* x) {
  T m[4][4];
  for (int i = 0; i < 4; ++i) std::copy_n(rows[i], 4, m[i]);
  const auto length = [&m](int column, int from) {
    T squares = 0;
    for (int i = from; i < 4; ++i) squares += m[i][column] * m[i][column];
    return std::sqrt(squares);
  };
  // Powers of 2 keep squares within range and change no other bit.
  int exponents[4];
  for (int k = 0; k < 4; ++k) {
    T largest = 0;
    for (int i = 0; i < 4; ++i) largest = std::max(largest, std::abs(m[i][k]));
    if (!std::isfinite(largest) || (k < 3 && !(largest > 0))) return 1;
    std::frexp(largest, &exponents[k]);
    for (int i = 0; i < 4; ++i) m[i][k] = std::ldexp(m[i][k], -exponents[k]);
  }
  for (int k = 0; k < 3; ++k) {
    const T before = length(k, 0), rest = length(k, k);
    if (!(rest > 8 * std::numeric_limits<T>::epsilon() * before)) return 1;
    // v = column + sign * length * e(k); the reflection is 1 - 2 v v' / v'v, and v'v = 2 * length * |v(k)|.
    const T diagonal = m[k][k] > 0 ? -rest : rest;
    const T head = m[k][k] - diagonal;
    for (int j = k + 1; j < 4; ++j) {
      T dot = head * m[k][j];
      for (int i = k + 1; i < 4; ++i) dot += m[i][k] * m[i][j];
      const T factor = dot / (diagonal * head);
      m[k][j] += factor * head;
      for (int i = k + 1; i < 4; ++i) m[i][j] += factor * m[i][k];
    }
    m[k][k] = diagonal;
  }
  T solution[3];
  for (int i = 2; i >= 0; --i) {
    solution[i] = m[i][3];
    for (int j = i + 1; j < 3; ++j) solution[i] -= m[i][j] * solution[j];
    solution[i] /= m[i][i];
  }
  for (int i = 0; i < 3; ++i) x[i] = std::ldexp(solution[i], exponents[3] - exponents[i]);
  return 0;
}

template <typename T>
int reverse3(const T* a, T* inverse, int mode) {
  if (mode != 0 && mode != 1) return -1;
  T source[9];
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) source[3 * i + j] = mode == 0 ? a[3 * i + j] : a[3 * j + i];
  }
  return quorvel::invert3(source, inverse) ? 0 : 1;
}

}  // namespace

int solve2x2(const double A[4], const double b[2], double x[2]) {
  constexpr double kNothing = 1e-11, kNoSolution = 1e30;
  const double determinant = A[0] * A[3] - A[2] * A[1];
  if (determinant >= -kNothing && determinant <= kNothing) {
    x[0] = x[1] = kNoSolution;
    return 1;
  }
  const double r = 1 / determinant;
  const double x0 = (b[0] * A[3] - b[1] * A[1]) * r;  // `x` may be `b`
  x[1] = (b[1] * A[0] - A[2] * b[0]) * r;
  x[0] = x0;
  return 0;
}

int solve4x3(const double A[4][4], double x[3]) { return leastSquares4x3(A, x); }

int solve4x3L(const long double A[4][4], long double x[3]) { return leastSquares4x3(A, x); }

int funcReverse3S(double A[3][3]) {
  const double a00 = A[0][0], a01 = A[0][1], a02 = A[0][2], a11 = A[1][1], a12 = A[1][2], a22 = A[2][2];
  const double c00 = a11 * a22 - a12 * a12;
  const double c01 = a02 * a12 - a01 * a22;
  const double c02 = a01 * a12 - a02 * a11;
  const double determinant = a00 * c00 + a01 * c01 + a02 * c02;
  if (determinant == 0) return 1;
  const double r = 1 / determinant;
  A[0][0] = c00 * r;
  A[0][1] = A[1][0] = c01 * r;
  A[0][2] = A[2][0] = c02 * r;
  A[1][1] = (a00 * a22 - a02 * a02) * r;
  A[1][2] = A[2][1] = (a01 * a02 - a00 * a12) * r;
  A[2][2] = (a00 * a11 - a01 * a01) * r;
  return 0;
}

int reverseD3(const double A[9], double Ainv[9], int mode) { return reverse3(A, Ainv, mode); }

int reverseLD3(const long double A[9], long double Ainv[9], int mode) { return reverse3(A, Ainv, mode); }
