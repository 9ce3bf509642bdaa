// SPDX-License-Identifier: Apache-2.0
// The LAPACK of our own build (cmake/lapack): whole, silent, and of the same bits on every system.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <vector>

#include "numerics/lapack.h"

namespace {

constexpr int kOne = 1;

struct LeastSquares {
  std::vector<double> x, singular;
  int rank = -1, info = 1;
};

// Matrices are stored by columns, as all of them here are.
LeastSquares leastSquares(int m, int n, std::vector<double> a, std::vector<double> b) {
  LeastSquares result;
  result.singular.resize(static_cast<std::size_t>(std::min(m, n)));
  const double rcond = -1;
  double length = 0;
  int integerLength = 0;
  const auto solve = [&](double* work, int workLength, int* integers) {
    dgelsd_(&m, &n, &kOne, a.data(), &m, b.data(), &m, result.singular.data(), &rcond, &result.rank, work, &workLength,
            integers, &result.info);
  };
  solve(&length, -1, &integerLength);
  std::vector<double> work(static_cast<std::size_t>(length));
  std::vector<int> integers(static_cast<std::size_t>(integerLength));
  solve(work.data(), static_cast<int>(work.size()), integers.data());
  b.resize(static_cast<std::size_t>(n));
  result.x = b;
  return result;
}

void expectNear(const std::vector<double>& values, const std::vector<double>& expected) {
  ASSERT_EQ(values.size(), expected.size());
  for (std::size_t i = 0; i < values.size(); ++i) EXPECT_NEAR(values[i], expected[i], 1e-13) << i;
}

TEST(Lapack, SolvesSquareSystems) {
  const int n = 3;
  int pivots[3], info = 1;
  std::vector<double> a = {0, 4, -2, 2, 1, 3, 1, -1, 5}, b = {7, 3, 19};  // the first pivot has to be exchanged
  dgesv_(&n, &kOne, a.data(), &n, pivots, b.data(), &n, &info);
  EXPECT_EQ(info, 0);
  EXPECT_EQ(pivots[0], 2);
  expectNear(b, {1, 2, 3});

  std::vector<double> singular = {1, 2, 4, 2, 4, 8, 1, 0, 1};
  dgesv_(&n, &kOne, singular.data(), &n, pivots, b.data(), &n, &info);
  EXPECT_EQ(info, 2);
}

TEST(Lapack, SolvesSymmetricIndefiniteSystems) {
  const int n = 3, workLength = 64;
  double work[64];
  for (const char triangle : {'U', 'L'}) {
    const double unread = std::nan("");
    std::vector<double> a = {0, 2, 1, 2, 0, 3, 1, 3, -4}, b = {7, 11, -5};  // no Cholesky factor: zeros on the diagonal
    for (const int i : {1, 2, 5}) a[static_cast<std::size_t>(triangle == 'L' ? (i % 3) * 3 + i / 3 : i)] = unread;
    int pivots[3], info = 1;
    dsysv_(&triangle, &n, &kOne, a.data(), &n, pivots, b.data(), &n, work, &workLength, &info, 1);
    EXPECT_EQ(info, 0) << triangle;
    expectNear(b, {1, 2, 3});
  }
}

TEST(Lapack, SolvesLeastSquares) {
  // A line through five points, off it by what is orthogonal to every line.
  const std::vector<double> a = {1, 1, 1, 1, 1, -2, -1, 0, 1, 2};
  const std::vector<double> b = {-4 + 2, -1 - 1, 2 - 2, 5 - 1, 8 + 2};
  const LeastSquares line = leastSquares(5, 2, a, b);
  EXPECT_EQ(line.info, 0);
  EXPECT_EQ(line.rank, 2);
  expectNear(line.x, {2, 3});
  expectNear(line.singular, {std::sqrt(10.), std::sqrt(5.)});

  // A column twice: of all solutions the shortest, which shares its weight.
  const LeastSquares shared = leastSquares(3, 2, {1, 2, 2, 1, 2, 2}, {3, 6, 6});
  EXPECT_EQ(shared.info, 0);
  EXPECT_EQ(shared.rank, 1);
  expectNear(shared.x, {1.5, 1.5});
}

// Large enough for the ways that small systems do not take: a first step by QR, blocks, and division of the singular
// values' problem into smaller ones.
TEST(Lapack, SameBitsOnEverySystem) {
  const int m = 160, n = 80;
  std::uint32_t state = 1;
  const auto sample = [&] {
    state = state * 1664525u + 1013904223u;
    return static_cast<double>(state >> 8) / (1 << 23) - 1;
  };
  std::vector<double> a(static_cast<std::size_t>(m * n)), b(static_cast<std::size_t>(m));
  std::generate(a.begin(), a.end(), sample);
  std::generate(b.begin(), b.end(), sample);
  const LeastSquares result = leastSquares(m, n, a, b);
  ASSERT_EQ(result.info, 0);
  EXPECT_EQ(result.rank, n);

  std::vector<double> residual = b, slopes;
  for (std::size_t i = 0; i < a.size(); ++i) residual[i % m] -= a[i] * result.x[i / m];
  for (std::size_t i = 0; i < a.size(); i += m)
    slopes.push_back(
        std::inner_product(residual.begin(), residual.end(), a.begin() + static_cast<std::ptrdiff_t>(i), 0.));
  expectNear(slopes, std::vector<double>(n));

  const auto fold = [](const std::vector<double>& values) {
    std::uint64_t bits = 0;
    for (const double value : values) bits = std::rotl(bits, 7) ^ std::bit_cast<std::uint64_t>(value);
    return bits;
  };
  EXPECT_EQ(std::bit_cast<std::uint64_t>(result.x.front()), 0xbfac456185c823e4u);
  EXPECT_EQ(fold(result.x), 0xc469683a242cb460u);
  EXPECT_EQ(fold(result.singular), 0xc8fb4a5399a50eafu);
}

// What of the C library could reach a result: see cmake/lapack/CMakeLists.txt.
TEST(Lapack, CLibraryDecidesNothing) {
  volatile double epsilon = 0x1p-53, two = 2;
  EXPECT_EQ(std::bit_cast<std::uint64_t>(std::pow(epsilon, -0.125)), 0x4058ace5422aa0dbu);
  for (int power = 0; power < 26; ++power) {
    volatile double quotient = std::ldexp(1., power);
    EXPECT_EQ(static_cast<int>(std::log(quotient) / std::log(two)), power);
  }
}

TEST(Lapack, IllegalArgumentsComeBackInSilence) {
  const int negative = -1;
  const double rcond = -1;
  double value = 1;
  int rank = 0, integers[8], gesv = 0, sysv = 0, gelsd = 0;
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  dgesv_(&negative, &kOne, &value, &kOne, integers, &value, &kOne, &gesv);
  dsysv_("X", &kOne, &kOne, &value, &kOne, integers, &value, &kOne, &value, &kOne, &sysv, 1);
  dgelsd_(&kOne, &negative, &kOne, &value, &kOne, &value, &kOne, &value, &rcond, &rank, &value, &kOne, integers,
          &gelsd);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(gesv, -1);
  EXPECT_EQ(sysv, -1);
  EXPECT_EQ(gelsd, -2);
  EXPECT_EQ(value, 1);
}

}  // namespace
