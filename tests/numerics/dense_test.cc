// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <quorvel/numerics.h>

#include <cmath>
#include <cstdio>

namespace {
TEST(Scratch, Solve) {
  for (int n : {1, 5, 40, 130}) {
    sMatrixLD a(n, n), b(n, 1);
    for (int i = 0; i < n; ++i) {
      for (int j = 0; j < n; ++j) a(i, j) = 1.0L / (1 + std::abs(i - j)) * (i == j ? 1e3L : 1);
      for (int j = 0; j < n; ++j) b(i, 0) += a(i, j) * (j + 1);
    }
    std::vector<double> x(n);
    int status = 7;
    EXPECT_EQ(solveEqv(a, b, x.data(), status), 0);
    for (int i = 0; i < n; ++i) EXPECT_NEAR(x[i], i + 1, 1e-12);
  }
}
}
