// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <quorvel/numerics.h>

#include <bit>
#include <cstring>
#include <random>

#include "tests/data/regression_sets.h"
#include "tests/support/reference/exchange.h"
#include "tests/support/reference/wide.h"
#include "tests/support/targets.h"

namespace quorvel::test {
namespace {

using Doubles = std::vector<double>;

class Numbers {
 public:
  explicit Numbers(unsigned seed) : engine_(seed) {}
  double operator()() { return static_cast<double>(engine_() >> 3) / (1 << 28) - 1; }  // -1..1, of 29 bits
  int below(int n) { return static_cast<int>(engine_() % static_cast<unsigned>(n)); }

 private:
  std::mt19937 engine_;
};

template <typename T>
WideRows wideRows(const TDenseMatrix<T>& a) {
  WideRows rows(static_cast<std::size_t>(a.rows));
  for (int i = 0; i < a.rows; ++i) {
    for (int j = 0; j < a.columns; ++j) rows[static_cast<std::size_t>(i)].push_back(a(i, j));
  }
  return rows;
}

std::vector<Wide> wideColumn(const sMatrixLD& b) { return {b.data(), b.data() + b.size()}; }

// Symmetric positive definite, the logarithms of its eigenvalues evenly from 0 to -log10(condition).
sMatrixLD definite(int n, double condition, Numbers& number) {
  sMatrixLD a(n, n);
  for (int i = 0; i < n; ++i) a(i, i) = std::pow(condition, -static_cast<double>(i) / std::max(1, n - 1));
  for (int turn = 0; turn < 3; ++turn) {  // reflections by random vectors
    std::vector<long double> v(static_cast<std::size_t>(n)), product(v);
    long double square = 0, vAv = 0;
    for (auto& e : v) e = number(), square += e * e;
    for (int i = 0; i < n; ++i) {
      for (int j = 0; j < n; ++j) product[static_cast<std::size_t>(i)] += a(i, j) * v[static_cast<std::size_t>(j)];
      vAv += v[static_cast<std::size_t>(i)] * product[static_cast<std::size_t>(i)];
    }
    for (int i = 0; i < n; ++i) {
      for (int j = 0; j <= i; ++j) {
        const auto r = static_cast<std::size_t>(i), c = static_cast<std::size_t>(j);
        a(i, j) = a(j, i) =
            a(i, j) - 2 / square * (v[r] * product[c] + product[r] * v[c]) + 4 / square / square * vAv * v[r] * v[c];
      }
    }
  }
  return a;
}

TEST(SmallSystems, HandComputedValues) {
  const double singular[] = {1, 2, 2, 4}, regular[] = {2, 0, 0, 4}, b[] = {2, 8};
  double x[2];
  EXPECT_EQ(solve2x2(singular, b, x), 1);
  EXPECT_EQ(x[0], 1e30);
  EXPECT_EQ(x[1], 1e30);
  EXPECT_EQ(solve2x2(regular, b, x), 0);
  EXPECT_EQ(x[0], 1);
  EXPECT_EQ(x[1], 2);

  double lower = 77, m[3][3] = {{4, 2, 1}, {lower, 3, 0}, {lower, lower, 2}};  // what lies below is not read
  EXPECT_EQ(funcReverse3S(m), 0);
  const double inverse[3][3] = {
      {6. / 13, -4. / 13, -3. / 13}, {-4. / 13, 7. / 13, 2. / 13}, {-3. / 13, 2. / 13, 8. / 13}};
  for (int i = 0; i < 9; ++i) EXPECT_NEAR(m[i / 3][i % 3], inverse[i / 3][i % 3], 1e-15);
  double zero[3][3] = {{1, 2, 3}, {0, 4, 6}, {9, 9, 9}};
  double kept[3][3];
  std::memcpy(kept, zero, sizeof zero);
  EXPECT_EQ(funcReverse3S(zero), 1);
  EXPECT_EQ(std::memcmp(kept, zero, sizeof zero), 0);
}

template <typename T>
void proveSmall(int (*reverse)(const T*, T*, int), int (*solve)(const T (*)[4], T*), double leastDigits) {
  Numbers number(1);
  for (int round = 0; round < 200; ++round) {
    T a[9], inverse[9], rows[4][4], x[3];
    for (int i = 0; i < 9; ++i) a[i] = std::ldexp(number(), 20 * (i / 3));  // rows in units of their own
    std::vector<Doubles> design(4, Doubles(3));
    Doubles sides(4);
    for (std::size_t i = 0; i < 16; ++i) {
      const double v = number();
      rows[i / 4][i % 4] = v;
      (i % 4 < 3 ? design[i / 4][i % 4] : sides[i / 4]) = v;
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
  const double dependent[9] = {1, 2, 3, 2, 4, 6, 0.1, 5, 1},
               columns[4][4] = {{1, 3, 4}, {2, .1, 2.1}, {7, 1, 8}, {1, 1, 2}};
  double untouched[9] = {5};
  EXPECT_EQ(reverseD3(dependent, untouched, 0), 1);
  EXPECT_EQ(reverseD3(dependent, untouched, 2), -1);
  EXPECT_EQ(solve4x3(columns, untouched), 1);
  EXPECT_EQ(untouched[0], 5);
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
    const auto first = rows;
    std::vector<unsigned> pivots(n);
    int sign = 0, expectedSign = 1;
    Doubles work(n);
    lu_decompNL(rows.data(), n, pivots.data(), &sign, work.data());
    auto order = first;
    for (unsigned k = 0; n > 1 && k < n; ++k) {
      std::swap(order[k], order[pivots[k]]);
      if (pivots[k] != k) expectedSign = -expectedSign;
    }
    EXPECT_EQ(order, rows);
    EXPECT_EQ(sign, expectedSign);
    for (unsigned i = 0; i < n; ++i) {
      const auto& source = a[static_cast<std::size_t>(std::find(first.begin(), first.end(), rows[i]) - first.begin())];
      for (unsigned j = 0; j < n; ++j) {
        double sum = i <= j ? rows[i][j] : 0;
        for (unsigned k = 0; k < std::min(i, j + 1); ++k) sum += rows[i][k] * rows[k][j];
        EXPECT_NEAR(sum, source[j], 1e-14) << n;
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
  TDenseMatrix<T> matrix(rows, columns);
  for (int i = 0; i < rows; ++i) {
    for (int j = 0; j < columns; ++j) {
      const int kind = number.below(8);  // zeros, whose rows are skipped, dust, which stays until touched, and numbers
      const double v = kind == 0 ? 0 : kind == 1 ? 0x1p-60 * number() : std::ldexp(number(), number.below(40) - 30);
      matrix(i, j) = model.a[static_cast<std::size_t>(i)][static_cast<std::size_t>(j)] = static_cast<T>(v);
    }
  }
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
      sMatrixLD a = definite(n, condition, number), b(n, 1);
      for (int i = 0; i < n; ++i) b(i, 0) = number();
      for (int i = 0; i < n; ++i) {  // unknowns in units of their own, which scaling takes out
        for (int j = 0; j < n; ++j) a(i, j) *= std::ldexp(1.0L, 6 * (i % 5) + 6 * (j % 5));
      }
      const Solved solved = solveBoth(a, b);
      EXPECT_GT(solved.plain, condition < 1e8    ? 14.5
                              : condition < 1e10 ? 11.5
                              : condition < 1e12 ? 6
                                                 : 0)
          << n << ' ' << condition;
      EXPECT_GT(solved.extended, condition < 1e12 ? 15 : 9) << n << ' ' << condition;
    }
  }
  for (int n = 1; n <= 10; ++n) {
    sMatrixLD hilbert(n, n), b(n, 1);
    for (int i = 0; i < n; ++i) {
      for (int j = 0; j < n; ++j) hilbert(i, j) = 1 / static_cast<long double>(i + j + 1);
      b(i, 0) = 1;
    }
    const Solved solved = solveBoth(hilbert, b);
    EXPECT_GT(solved.plain, n < 8 ? 14 : 5) << n;
    EXPECT_GT(solved.extended, n < 9 ? 15.5 : 12) << n;
  }
  restoreLinearPrecision();
}

TEST(NormalEquations, OtherSquareSystemsAreSolvedTooAndSingularOnesRefused) {
  Numbers number(4);
  for (const int n : {2, 3, 20, 101}) {
    sMatrixLD any(n, n), cyclic(n, n), conditioned = definite(n, 1e3, number), b(n, 1);
    for (int i = 0; i < n; ++i) {
      b(i, 0) = number();
      cyclic(i, (i + 1) % n) = i + 1;  // nothing on the diagonal
      for (int j = 0; j < n; ++j) any(i, j) = number();
    }
    for (int i = n - n / 2; i < n; ++i) {  // conditions and their multipliers
      for (int j = n - n / 2; j < n; ++j) conditioned(i, j) = 0;
      conditioned(i, 0) = conditioned(0, i) = 1e5 * number();
    }
    EXPECT_GT(solveBoth(any, b).plain, 12) << n;
    EXPECT_GT(solveBoth(cyclic, b).plain, 15) << n;
    EXPECT_GT(solveBoth(any, b).extended, 15) << n;
    if (n < 4) {
      EXPECT_GT(solveBoth(conditioned, b).plain, 12) << n;
    }

    sMatrixLD deficient(n, n);  // of a rank one too low
    for (int i = 0; i < n; ++i) {
      for (int j = 0; j < n; ++j) {
        for (int k = 0; k < n - 1; ++k) deficient(i, j) += any(i, k) * any(j, k);
      }
    }
    Doubles x(static_cast<std::size_t>(n), 7);
    int status = 0;
    EXPECT_EQ(solveEqv(deficient, b, x.data(), status), 21507) << n;
    EXPECT_EQ(status, matErrorZeroDeterminant);
    EXPECT_EQ(x, Doubles(static_cast<std::size_t>(n), 7));
  }
  double x = 7;
  int status = 0;
  EXPECT_EQ(solveEqv(sMatrixLD(2, 1), sMatrixLD(2, 1), &x, status), 21507);
  EXPECT_EQ(status, matErrorDimensionsXY);
  EXPECT_EQ(solveEqv(sMatrixLD(), sMatrixLD(), &x, status), 21507);
  EXPECT_EQ(solveEqv(sMatrixLD(2, 2), sMatrixLD(1, 1), &x, status), 21507);
}

// 1024 unknowns work on the stack and 1025 on the heap; a last unknown that stands apart changes nothing for the
// others.
TEST(NormalEquations, BothStoragePathsGiveTheSameBits) {
  const auto solve = [](int n) {
    sMatrixLD a(n, n), b(n, 1);
    for (int i = 0; i < n; ++i) {
      a(i, i) = 3 + i % 7;
      if (i > 0 && i < 1024) a(i, i - 1) = a(i - 1, i) = 1 / static_cast<long double>(1 + i % 3);
      b(i, 0) = i % 11 - 5;
    }
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

TEST(LapackSolvers, SolveAndLeaveTheirArgumentsAlone) {
  Numbers number(5);
  sMatrixD a(4, 3), b(4, 1), x;
  for (int i = 0; i < 4; ++i) {
    a(i, 0) = i + 1;
    a(i, 1) = i * i;
    a(i, 2) = 2 * a(i, 0) - a(i, 1);
    b(i, 0) = number();
  }
  int deficit = -1;
  EXPECT_EQ(solveLS_V(a, b, x, deficit), 0);
  EXPECT_EQ(deficit, 1);
  EXPECT_EQ(x.rows, 3);
  EXPECT_NEAR(2 * x(0, 0) - x(1, 0) - x(2, 0), 0, 1e-13);  // no part in the null space: it is the shortest
  setRankCondValue(0.9);                                   // now only the largest singular value counts
  EXPECT_EQ(solveLS_V(a, b, x, deficit), 0);
  EXPECT_EQ(deficit, 2);
  setRankCondValue(-1);
  Doubles wide(4, 7);
  EXPECT_EQ(solveLS_V(sMatrixD(2, 3), b, x, deficit), -7);
  EXPECT_EQ(solveLS(&x, wide.data(), wide.data()), 0);  // in place

  for (const int n : {1, 5, 70}) {
    sMatrixD square(n, n), symmetric(n, n), sides(n, 2), solution;
    for (int i = 0; i < n; ++i) {
      for (int j = 0; j < n; ++j) square(i, j) = number();
      for (int j = 0; j <= i; ++j) symmetric(i, j) = symmetric(j, i) = number();
      sides(i, 0) = number();
      sides(i, 1) = number();
    }
    const std::vector<Wide> first(sides.data(), sides.data() + n), second(sides.data() + n, sides.data() + 2 * n);
    Doubles out(static_cast<std::size_t>(n));
    int info = 1;
    EXPECT_EQ(solveEquationD1(&square, sides.data(), out.data(), &info), 0);
    EXPECT_EQ(info, 0);
    EXPECT_GT(digits(out, wideSolve(wideRows(square), first)), 10);
    for (int j = 0; j + 1 < n; ++j) symmetric(n - 1, j) = std::nan("");  // the lower triangle is not read
    EXPECT_EQ(solveSYMM_Vt(symmetric, sides, solution), 0);
    for (int j = 0; j + 1 < n; ++j) symmetric(n - 1, j) = symmetric(j, n - 1);
    EXPECT_GT(digits(Doubles(solution.data() + n, solution.data() + 2 * n), wideSolve(wideRows(symmetric), second)),
              10);
  }
  sMatrixD singular(2, 2), kept(1, 1);
  int info = 0;
  Doubles out(2, 7);
  EXPECT_EQ(solveEquationD1(&singular, out.data(), out.data(), &info), 1);
  EXPECT_EQ(solveEquationD1(&a, out.data(), out.data(), &info), -1);
  EXPECT_GT(solveSYMM_Vt(singular, sMatrixD(2, 1), kept), 0);
  EXPECT_LT(solveSYMM_Vt(a, sMatrixD(4, 1), kept), 0);
  EXPECT_EQ(kept.rows, 1);
  EXPECT_EQ(out, Doubles(2, 7));
}

// Longley, Filippelli and Wampler, as certified; the wide solution proves that the data here are those.
TEST(LapackSolvers, CertifiedRegressionSets) {
  for (const RegressionSet& set : regressionSets()) {
    EXPECT_GT(digits(wideLeastSquares(set.rows, set.y), set.certified), set.name == "Filip" ? 7 : 13) << set.name;
    sMatrixD a(static_cast<int>(set.rows.size()), static_cast<int>(set.certified.size()));
    sMatrixList list;
    list.createEquationList(a.columns, a.rows);
    for (int i = 0; i < a.rows; ++i) {
      list.createEquation(set.y[static_cast<std::size_t>(i)]);
      for (int j = 0; j < a.columns; ++j) {
        a(i, j) = set.rows[static_cast<std::size_t>(i)][static_cast<std::size_t>(j)];
        list.insertMult(i, j, a(i, j));
      }
    }
    Doubles x(set.certified.size()), normal(x);
    EXPECT_EQ(solveLS(&a, set.y.data(), x.data()), 0);
    EXPECT_GT(digits(x, set.certified), 5) << set.name;
    setLinearPrecision(1e-18);
    const int code = list.calcResult(normal.data());
    restoreLinearPrecision();
    EXPECT_TRUE(code == 0 || set.name == "Filip");
    if (code == 0 && set.name != "Filip") {
      EXPECT_GT(digits(normal, set.certified), 6) << set.name;
    }
    std::printf("%-9s digits: singular values %4.1f, sparse normal equations %4.1f\n", set.name.c_str(),
                digits(x, set.certified), code == 0 ? digits(normal, set.certified) : 0);
  }
}

}  // namespace
}  // namespace quorvel::test
