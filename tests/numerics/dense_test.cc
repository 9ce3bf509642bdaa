// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <bit>
#include <cstring>

#include "tests/data/regression_sets.h"
#include "tests/numerics/support.h"
#include "tests/support/reference/exchange.h"
#include "tests/support/reference/wide.h"
#include "tests/support/targets.h"

namespace quorvel::test {
namespace {

using Doubles = std::vector<double>;

template <typename T>
WideRows wideRows(const TDenseMatrix<T>& a) {
  WideRows rows(static_cast<std::size_t>(a.rows));
  for (int i = 0; i < a.rows; ++i) {
    for (int j = 0; j < a.columns; ++j) rows[static_cast<std::size_t>(i)].push_back(a(i, j));
  }
  return rows;
}

std::vector<Wide> wideColumn(const sMatrixLD& b) { return {b.data(), b.data() + b.size()}; }

// Symmetric positive definite: eigenvalues whose logarithms go evenly from 0 to -log10(condition), turned by the
// reflection at a random vector.
sMatrixLD definite(int n, double condition, Numbers& number) {
  const auto v = matrixOf<long double>(n, 1, number);
  const long double square = product(transposed(v), v)(0, 0);
  const auto turn =
      matrixOf<long double>(n, n, [&](int i, int j) { return (i == j) - 2 * v(i, 0) * v(j, 0) / square; });
  const auto stretched = matrixOf<long double>(n, n, [&](int i, int j) {
    return turn(i, j) * std::pow(condition, -static_cast<double>(j) / std::max(1, n - 1));
  });
  return mirrored(product(stretched, turn));
}

TEST(SmallSystems, HandComputedValues) {
  const double b[] = {2, 8};
  double x[2];
  for (const double nothing : {0.0, 1e-11, -1e-11}) {
    const double singular[] = {1, 0, 0, nothing};
    EXPECT_EQ(solve2x2(singular, b, x), 1);
    EXPECT_TRUE(x[0] == 1e30 && x[1] == 1e30);
  }
  const double little[] = {2, 0, 0, 1e-11};
  EXPECT_EQ(solve2x2(little, b, x), 0);
  EXPECT_DOUBLE_EQ(x[0], 1);
  EXPECT_DOUBLE_EQ(x[1], 8e11);

  const double lower = 77;  // what lies below the diagonal is not read
  double m[3][3] = {{4, 2, 1}, {lower, 3, 0}, {lower, lower, 2}};
  const double inverse[3][3] = {
      {6. / 13, -4. / 13, -3. / 13}, {-4. / 13, 7. / 13, 2. / 13}, {-3. / 13, 2. / 13, 8. / 13}};
  EXPECT_EQ(funcReverse3S(m), 0);
  for (int i = 0; i < 9; ++i) EXPECT_NEAR(m[i / 3][i % 3], inverse[i / 3][i % 3], 1e-15);
  double singular[3][3] = {{1, 2, 3}, {0, 4, 6}, {9, 9, 9}}, kept[3][3];
  std::memcpy(kept, singular, sizeof kept);
  EXPECT_EQ(funcReverse3S(singular), 1);
  EXPECT_EQ(std::memcmp(kept, singular, sizeof kept), 0);
}

template <typename T>
void proveSmall(int (*reverse)(const T*, T*, int), int (*solve)(const T (*)[4], T*), double leastDigits) {
  Numbers number(1);
  for (int round = 0; round < 200; ++round) {
    T a[9], inverse[9], rows[4][4], x[3];
    for (int i = 0; i < 9; ++i) a[i] = std::ldexp(number(), 20 * (i / 3));  // rows in units of their own
    std::vector<Doubles> design;
    Doubles sides;
    for (auto& row : rows) {
      for (T& v : row) v = number();
      design.emplace_back(row, row + 3);
      sides.push_back(static_cast<double>(row[3]));
    }
    for (const int mode : {0, 1}) {
      ASSERT_EQ(reverse(a, inverse, mode), 0);
      WideRows m(3);
      for (std::size_t i = 0; i < 9; ++i) m[i / 3].push_back(mode == 0 ? a[i] : a[i % 3 * 3 + i / 3]);
      for (std::size_t k = 0; k < 3; ++k) {
        std::vector<Wide> unit(3);
        unit[k] = 1;
        EXPECT_GT(digits(std::vector<T>{inverse[k], inverse[3 + k], inverse[6 + k]}, wideSolve(m, unit)), leastDigits);
      }
    }
    ASSERT_EQ(solve(rows, x), 0);
    EXPECT_GT(digits(std::vector<T>(x, x + 3), wideLeastSquares(design, sides)), leastDigits);
  }
}

TEST(SmallSystems, InverseAndLeastSquaresAgreeWithWideArithmetic) {
  proveSmall<double>(reverseD3, solve4x3, 11);
  proveSmall<long double>(reverseLD3, solve4x3L, 14);
  const double dependent[9] = {1, 2, 3, 2, 4, std::nextafter(6, 7), 0.1, 5, 1},
               columns[4][4] = {{1, 3, 4}, {2, .1, 2.1}, {7, 1, 8}, {1, 1, 2}};
  double untouched[9] = {5};
  EXPECT_EQ(reverseD3(dependent, untouched, 0), 1);
  EXPECT_EQ(reverseD3(dependent, untouched, 2), -1);
  EXPECT_EQ(solve4x3(columns, untouched), 1);
  EXPECT_EQ(untouched[0], 5);
  for (const double unit : {1e-300, 1e300}) {  // neither products nor squares of what is tiny or huge decide
    const double turned[9] = {0, unit, 0, unit, 0, 0, 0, 0, unit};
    const double rows[4][4] = {{unit, 0, 0, unit}, {0, 1, 0, 2 * unit}, {0, 0, unit, 3 * unit}, {0, 0, 0, unit}};
    double inverse[9], x[3];
    ASSERT_EQ(reverseD3(turned, inverse, 0), 0);
    EXPECT_DOUBLE_EQ(inverse[1], 1 / unit);
    ASSERT_EQ(solve4x3(rows, x), 0);
    EXPECT_DOUBLE_EQ(x[0], 1);
    EXPECT_DOUBLE_EQ(x[1], 2 * unit);
  }
}

TEST(Lu, FactorsMultiplyToTheMatrixAndTiesTakeTheLastRow) {
  Numbers number(2);
  for (const unsigned n : {1u, 2u, 3u, 17u, 60u}) {
    std::vector<Doubles> a(n, Doubles(n));
    for (auto& row : a) {
      for (double& v : row) v = number();
    }
    if (n == 17) a[3] = a[5];  // a zero pivot at last
    auto lu = a;
    std::vector<double*> rows;
    for (auto& row : lu) rows.push_back(row.data());
    std::vector<unsigned> pivots(n);
    int sign = 0, expectedSign = 1;
    Doubles work(n);
    lu_decompNL(rows.data(), n, pivots.data(), &sign, work.data());
    for (unsigned k = 0; k < n; ++k) {
      if (pivots[k] == k) continue;
      std::swap(a[k], a[pivots[k]]);
      expectedSign = -expectedSign;
    }
    EXPECT_EQ(sign, expectedSign);
    for (unsigned i = 0; i < n; ++i) {
      for (unsigned j = 0; j < n; ++j) {
        double sum = i <= j ? rows[i][j] : 0;
        for (unsigned k = 0; k < std::min(i, j + 1); ++k) sum += rows[i][k] * rows[k][j];
        EXPECT_NEAR(sum, a[i][j], 1e-14) << n;
      }
    }
  }
  double top[] = {2, 1}, bottom[] = {-2, 5}, work[2];
  double* rows[] = {top, bottom};
  unsigned pivots[2];
  int sign = 0;
  EXPECT_EQ(lu_decompNL(rows, 2, pivots, &sign, work), 6);
  EXPECT_EQ(rows[0], bottom);
  EXPECT_EQ(pivots[0], 1u);
  EXPECT_EQ(sign, -1);
  // U = (-2 5; 0 6), l = -1: y = (1/2, -(1 + 5/2) / 6), then y0 = (1/2 + y1) / -2.
  EXPECT_DOUBLE_EQ(work[1], -3.5 / 6);
  EXPECT_DOUBLE_EQ(work[0], (0.5 - 3.5 / 6) / -2);
}

template <typename T>
void proveExchanges(int rows, int columns, int steps, unsigned seed) {
  Numbers number(seed);
  reference::ExchangeTableau<T> model(static_cast<std::size_t>(rows), static_cast<std::size_t>(columns));
  const auto matrix = matrixOf<T>(rows, columns, [&](int i, int j) {
    const int kind = number.below(8);  // zeros, whose rows are skipped, dust, which stays until touched, and numbers
    const int exponent = number.below(40) - 30;
    const double v = kind == 0 ? 0 : std::ldexp(number(), kind == 1 ? -60 : exponent);
    return model.a[static_cast<std::size_t>(i)][static_cast<std::size_t>(j)] = static_cast<T>(v);
  });
  CSimplexProgram program;
  program.load(matrix);
  for (int step = 0; step < steps; ++step) {
    const int r = number.below(rows), c = number.below(columns);
    ASSERT_EQ(program.exchange(r, c), model.exchange(static_cast<std::size_t>(r), static_cast<std::size_t>(c)));
    if (step % 7 != 6 && step + 1 != steps) continue;  // looks at tableaus with every number of steps put off
    for (int i = 0; i < rows; ++i) {
      for (int j = 0; j < columns; ++j) {
        const T expected = model.a[static_cast<std::size_t>(i)][static_cast<std::size_t>(j)];
        ASSERT_EQ(program.entry(i, j), expected) << rows << " rows, step " << step << ", " << i << ", " << j;
      }
    }
  }
  for (int i = 0; i < rows; ++i) EXPECT_EQ(program.rowVariable(i), model.rowVariables[static_cast<std::size_t>(i)]);
  for (int j = 0; j < columns; ++j) {
    EXPECT_EQ(program.columnVariable(j), model.columnVariables[static_cast<std::size_t>(j)]);
  }
}

TEST(Exchange, StepsPutOffHaveTheBitsOfStepsDoneAtOnce) {
  onEveryTarget([] {
    for (int n = 1; n < 40; ++n) proveExchanges<double>(n, (n * 7) % 41 + 1, 40, static_cast<unsigned>(n));
    for (const int n : {99, 100, 131}) proveExchanges<double>(n, n + 3, 50, 5);  // with and without other threads
  });
  for (const int n : {1, 9, 40, 100}) proveExchanges<long double>(n, n, 40, 6);
  CSimplexProgram empty;
  EXPECT_EQ(empty.exchange(0, 0), -1);
}

// Solves with both precisions and returns the digits that hold; -1 where there is no solution.
struct Solved {
  double plain = -1, extended = -1;
};
Solved solveBoth(const sMatrixLD& a, const sMatrixLD& b) {
  const auto n = static_cast<std::size_t>(a.rows);
  const auto expected = wideSolve(wideRows(a), wideColumn(b));
  Doubles x(n, 7);
  std::vector<long double> xL(n, 7);
  int status = 1, statusL = 1;
  Solved solved;
  if (solveEqv(a, b, x.data(), status) == 0) solved.plain = digits(x, expected);
  if (solveEqv(a, b, xL.data(), statusL) == 0) solved.extended = digits(xL, expected);
  EXPECT_EQ(solved.plain < 0, status != 0);
  if (status != 0) {
    EXPECT_EQ(x, Doubles(n, 7));
  }
  return solved;
}

TEST(NormalEquations, AreSolvedToTheLastDigitsThatTheirConditionLeaves) {
  Numbers number(3);
  setLinearPrecision(1e-17);
  for (const int n : {1, 2, 7, 30, 110}) {
    for (const double condition : {1e2, 1e5, 1e8, 1e11, 1e14}) {
      const sMatrixLD units = definite(n, condition, number), b = matrixOf<long double>(n, 1, number);
      const auto a = matrixOf<long double>(n, n, [&](int i, int j) {  // in units of their own, which scaling takes out
        return std::ldexp(units(i, j), 6 * (i % 5) + 6 * (j % 5));
      });
      const Solved solved = solveBoth(a, b);
      EXPECT_GT(solved.plain, condition < 1e8    ? 14.5
                              : condition < 1e10 ? 11.5
                              : condition < 1e12 ? 6
                                                 : 0)
          << n << ' ' << condition;
      EXPECT_GT(solved.extended, condition < 1e12 ? 15 : 9) << n << ' ' << condition;
    }
  }
  restoreLinearPrecision();
}

TEST(NormalEquations, OtherSquareSystemsAreSolvedTooAndSingularOnesRefused) {
  Numbers number(4);
  for (const int n : {2, 3, 20, 101}) {
    const sMatrixLD any = matrixOf<long double>(n, n, number), b = matrixOf<long double>(n, 1, number);
    const auto cyclic = matrixOf<long double>(n, n, [n](int i, int j) { return j == (i + 1) % n ? i + 1 : 0; });
    sMatrixLD conditioned = definite(n, 1e3, number);
    for (int i = n - n / 2; i < n; ++i) {  // conditions and their multipliers
      for (int j = n - n / 2; j < n; ++j) conditioned(i, j) = 0;
      conditioned(i, 0) = conditioned(0, i) = 1e5 * number();
    }
    const Solved solved = solveBoth(any, b);
    EXPECT_GT(solved.plain, 12) << n;
    EXPECT_GT(solved.extended, 15) << n;
    EXPECT_GT(solveBoth(cyclic, b).plain, 15) << n;
    EXPECT_TRUE(n > 3 || solveBoth(conditioned, b).plain > 12) << n;

    const auto flat = matrixOf<long double>(n, n - 1, number), deficient = product(flat, transposed(flat));
    Doubles x(static_cast<std::size_t>(n), 7);
    int status = 0;
    EXPECT_EQ(solveEqv(deficient, b, x.data(), status), 21507) << n;
    EXPECT_EQ(status, matErrorZeroDeterminant);
    EXPECT_EQ(x, Doubles(static_cast<std::size_t>(n), 7));
  }
  double x = 7;
  int status = 0;
  for (const auto& [factor, side] : {std::pair(1e305L, 1e-3L), {1e-300L, 1e-310L}}) {
    sMatrixLD a(1, 1), b(1, 1);
    a(0, 0) = factor;
    b(0, 0) = side;
    EXPECT_EQ(solveEqv(a, b, &x, status), 0);
    EXPECT_DOUBLE_EQ(x, static_cast<double>(side / factor));
  }
  EXPECT_EQ(solveEqv(sMatrixLD(2, 1), sMatrixLD(2, 1), &x, status), 21507);
  EXPECT_EQ(status, matErrorDimensionsXY);
  EXPECT_EQ(solveEqv(sMatrixLD(), sMatrixLD(), &x, status), 21507);
  EXPECT_EQ(solveEqv(sMatrixLD(2, 2), sMatrixLD(1, 1), &x, status), 21507);
}

// 1024 unknowns work on the stack and 1025 on the heap; a last unknown that stands apart changes nothing for the
// others.
TEST(NormalEquations, BothStoragePathsGiveTheSameBits) {
  const auto solve = [](int n) {
    const auto a = matrixOf<long double>(n, n, [](int i, int j) {
      const int last = std::max(i, j);
      return i == j ? 3 + i % 7 : std::abs(i - j) == 1 && last < 1024 ? 1.0L / (1 + last % 3) : 0;
    });
    const auto b = matrixOf<long double>(n, 1, [](int i, int) { return i % 11 - 5; });
    Doubles x(static_cast<std::size_t>(n));
    CVarDescList variables;
    CSimplexProgram program;
    int status;
    EXPECT_EQ(solveEqvD(variables, program, a, b, x.data(), status), 0);
    EXPECT_EQ(variables.size(), n);
    EXPECT_EQ(program.rowVariable(variables[n / 2].position), n / 2);
    x.resize(1024);
    return x;
  };
  EXPECT_EQ(solve(1024), solve(1025));
}

TEST(LapackSolvers, SquareSystemsAgreeWithWideArithmetic) {
  Numbers number(5);
  for (const int n : {1, 5, 70}) {
    const auto square = matrixOf<double>(n, n, number), sides = matrixOf<double>(n, 2, number);
    sMatrixD symmetric = mirrored(square), solution;
    const double* second = sides.data() + n;
    const auto expected = wideSolve(wideRows(symmetric), {second, second + n});
    for (int j = 0; j + 1 < n; ++j) symmetric(n - 1, j) = std::nan("");  // the lower triangle is not read
    EXPECT_EQ(solveSYMM_Vt(symmetric, sides, solution), 0);
    EXPECT_GT(digits(Doubles(solution.data() + n, solution.data() + 2 * n), expected), 10);
    Doubles x(static_cast<std::size_t>(n));
    int info = 1;
    EXPECT_EQ(solveEquationD1(&square, second, x.data(), &info), 0);
    EXPECT_EQ(info, 0);
    EXPECT_GT(digits(x, wideSolve(wideRows(square), {second, second + n})), 10);
  }
}

TEST(LapackSolvers, RanksAreToldAndWrongShapesRefused) {
  const auto a = matrixOf<double>(4, 3, [](int i, int j) {
    return j == 0 ? i + 1 : j == 1 ? i * i : 2 + 2 * i - i * i;
  });
  const auto b = matrixOf<double>(4, 1, [](int i, int) { return i % 3; });
  sMatrixD x;
  int deficit = -1;
  EXPECT_EQ(solveLS_V(a, b, x, deficit), 0);
  EXPECT_EQ(deficit, 1);
  EXPECT_EQ(x.rows, 3);
  EXPECT_NEAR(2 * x(0, 0) - x(1, 0) - x(2, 0), 0, 1e-13);  // no part in the null space: it is the shortest
  setRankCondValue(0.9);                                   // now only the largest singular value counts
  EXPECT_EQ(solveLS_V(a, b, x, deficit), 0);
  EXPECT_EQ(deficit, 2);
  setRankCondValue(-1);
  EXPECT_EQ(solveLS_V(sMatrixD(2, 3), b, x, deficit), -7);
  sMatrixD infinite(3, 3), none(3, 1);
  infinite(0, 0) = none(1, 0) = INFINITY;
  EXPECT_EQ(solveLS_V(infinite, b, x, deficit), -4);
  EXPECT_EQ(solveLS(&a, none.data(), x.data()), -6);

  const sMatrixD singular(2, 2);
  sMatrixD kept(1, 1);
  Doubles out(2, 7);
  int info = 0;
  EXPECT_EQ(solveEquationD1(&singular, out.data(), out.data(), &info), 1);
  EXPECT_EQ(solveEquationD1(&a, out.data(), out.data(), &info), -1);
  EXPECT_GT(solveSYMM_Vt(singular, sMatrixD(2, 1), kept), 0);
  EXPECT_LT(solveSYMM_Vt(a, b, kept), 0);
  EXPECT_EQ(kept.rows, 1);
  EXPECT_EQ(out, Doubles(2, 7));
}

// Longley, Filippelli and Wampler, as certified; the wide solution proves that the data here are those.
TEST(LapackSolvers, CertifiedRegressionSets) {
  for (const RegressionSet& set : regressionSets()) {
    const bool filip = set.name == "Filip";  // whose normal equations keep no digit
    EXPECT_GT(digits(wideLeastSquares(set.rows, set.y), set.certified), filip ? 7 : 13) << set.name;
    const auto a = matrixOf<double>(
        static_cast<int>(set.rows.size()), static_cast<int>(set.certified.size()),
        [&](int i, int j) { return set.rows[static_cast<std::size_t>(i)][static_cast<std::size_t>(j)]; });
    sMatrixList list;
    list.createEquationList(a.columns, a.rows);
    for (int i = 0; i < a.rows; ++i) {
      list.createEquation(set.y[static_cast<std::size_t>(i)]);
      for (int j = 0; j < a.columns; ++j) list.insertMult(i, j, a(i, j));
    }
    Doubles x(set.certified.size());
    EXPECT_EQ(solveLS(&a, set.y.data(), x.data()), 0);
    EXPECT_GT(digits(x, set.certified), 5) << set.name;
    if (filip) continue;
    setLinearPrecision(1);  // which no pivot exceeds
    EXPECT_EQ(list.calcResult(x.data()), matErrorInfinitelyManySolutions);
    setLinearPrecision(1e-18);
    EXPECT_EQ(list.calcResult(x.data()), 0);
    restoreLinearPrecision();
    EXPECT_GT(digits(x, set.certified), 6) << set.name;
  }
}

#ifdef QUORVEL_OWN_LAPACK  // of our own build (cmake/lapack), which has the same bits on every system

// Large enough for the ways that small systems do not take: a first step by QR, blocks, and division of the singular
// values' problem into smaller ones.
TEST(LapackSolvers, LargeSystemsHaveTheSameBitsEverywhere) {
  std::uint32_t state = 1;
  const auto sample = [&] {
    state = state * 1664525u + 1013904223u;
    return static_cast<double>(state >> 8) / (1 << 23) - 1;
  };
  sMatrixD a(160, 80);
  Doubles b(160), x(80);
  std::generate_n(a.data(), a.size(), sample);
  std::generate(b.begin(), b.end(), sample);
  ASSERT_EQ(solveLS(&a, b.data(), x.data()), 0);
  std::uint64_t bits = 0;
  for (const double v : x) bits = std::rotl(bits, 7) ^ std::bit_cast<std::uint64_t>(v);
  EXPECT_EQ(bits, 0xc469683a242cb460u);
}

// What of the C library could reach a result: see cmake/lapack/CMakeLists.txt.
TEST(LapackSolvers, TheCLibraryDecidesNothing) {
  volatile double epsilon = 0x1p-53, two = 2;
  EXPECT_EQ(std::bit_cast<std::uint64_t>(std::pow(epsilon, -0.125)), 0x4058ace5422aa0dbu);
  for (int power = 0; power < 26; ++power) {
    volatile double quotient = std::ldexp(1., power);
    EXPECT_EQ(static_cast<int>(std::log(quotient) / std::log(two)), power);
  }
}

#endif

}  // namespace
}  // namespace quorvel::test
