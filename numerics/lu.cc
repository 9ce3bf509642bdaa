// SPDX-License-Identifier: Apache-2.0
// LU decomposition on row pointers, with the vector from which a condition is estimated.
#include <algorithm>
#include <cmath>
#include <utility>

#include "quorvel/numerics.h"

namespace {

double oneNorm(double* const* rows, unsigned n) {
  double norm = 0;
  for (unsigned j = 0; j < n; ++j) {
    double sum = 0;
    for (unsigned i = 0; i < n; ++i) sum += std::abs(rows[i][j]);
    norm = std::max(norm, sum);
  }
  return norm;
}

void factor(double** rows, unsigned n, unsigned* pivots, int* sign) {
  for (unsigned k = 0; k + 1 < n; ++k) {
    unsigned pivot = k;
    for (unsigned i = k + 1; i < n; ++i) {
      if (std::abs(rows[i][k]) >= std::abs(rows[pivot][k])) pivot = i;  // among equals the last
    }
    pivots[k] = pivot;
    if (pivot != k) {
      std::swap(rows[k], rows[pivot]);
      *sign = -*sign;
    }
    const double* const top = rows[k];
    if (!(std::abs(top[k]) > 0)) continue;
    const double reciprocal = 1 / top[k];
    for (unsigned i = k + 1; i < n; ++i) {
      double* const row = rows[i];
      row[k] *= reciprocal;
      for (unsigned j = k + 1; j < n; ++j) row[j] -= row[k] * top[j];
    }
  }
  pivots[n - 1] = n - 1;
}

// The right-hand side is chosen while the system with the transposed upper factor is solved, so that its solution
// grows; the lower factor then keeps the growth.
void conditionVector(const double* const* rows, unsigned n, double* y) {
  std::fill_n(y, n, 1.0);
  for (unsigned k = 0; k < n; ++k) {
    double sum = 0;
    for (unsigned i = 0; i < k; ++i) sum += rows[i][k] * y[i];
    y[k] = -((sum >= 0 ? 1.0 : -1.0) + sum) / rows[k][k];
  }
  for (unsigned k = n - 1; k-- > 0;) {
    double sum = 0;
    for (unsigned i = k + 1; i < n; ++i) sum += rows[i][k] * y[i];
    y[k] -= sum;
  }
  y[0] /= rows[0][0];
}

}  // namespace

double lu_decompNL(double** rows, unsigned n, unsigned* pivots, int* sign, double* work) {
  if (n == 0) return 0;
  *sign = 1;
  const double norm = oneNorm(rows, n);
  if (n == 1) return norm;
  factor(rows, n, pivots, sign);
  conditionVector(rows, n, work);
  return norm;
}
