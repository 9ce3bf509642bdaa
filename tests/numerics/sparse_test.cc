// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <quorvel/numerics.h>

#include <cstring>
#include <random>

#include "tests/support/flight.h"

namespace quorvel::test {
namespace {

// A matrix of small integers, so that sums of products are exact in any order.
sMatrixD randomDense(int rows, int columns, unsigned seed) {
  std::mt19937 engine(seed);
  sMatrixD a(rows, columns);
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (engine() % 4 == 0) a.data()[i] = static_cast<double>(engine() % 19) - 9;
  }
  return a;
}

sMatrixD transposedDense(const sMatrixD& a) {
  sMatrixD t(a.columns, a.rows);
  for (int i = 0; i < a.rows; ++i) {
    for (int j = 0; j < a.columns; ++j) t(j, i) = a(i, j);
  }
  return t;
}

sMatrixD product(const sMatrixD& a, const sMatrixD& b) {
  sMatrixD c(a.rows, b.columns);
  for (int i = 0; i < a.rows; ++i) {
    for (int j = 0; j < b.columns; ++j) {
      for (int k = 0; k < a.columns; ++k) c(i, j) += a(i, k) * b(k, j);
    }
  }
  return c;
}

template <typename A, typename B>
void expectEqual(const A& a, const B& b) {
  ASSERT_EQ(a.rows, b.rows);
  ASSERT_EQ(a.columns, b.columns);
  for (std::size_t i = 0; i < a.size(); ++i) ASSERT_EQ(a.data()[i], b.data()[i]) << i;
}

sMatrixD denseOf(const QSparseMatrix& s) {
  sMatrixD dense;
  s.convertTo(&dense);
  return dense;
}

// The ways to store a matrix, each with what it stands for.
struct Stored {
  QSparseMatrix matrix;
  sMatrixD meaning;
};
std::vector<Stored> waysToStore(int rows, int columns, unsigned seed) {
  const sMatrixD a = randomDense(rows, columns, seed), t = transposedDense(a);
  std::vector<Stored> ways(3, {QSparseMatrix(), a});
  ways[0].matrix.convertFrom(&a);
  ways[1].matrix.convertFrom(&t);
  ways[1].matrix.setTranspone();
  ways[2].matrix.createSparseMatrix(columns, rows, 0);  // entry by entry, in no order, with every line moving
  std::vector<int> order;
  for (int i = 0; i < rows * columns; ++i) order.push_back(i);
  std::shuffle(order.begin(), order.end(), std::mt19937(seed));
  for (const int i : order) {
    if (a.data()[i] != 0) {
      EXPECT_EQ(ways[2].matrix.insertCoef(i % rows, i / rows, a.data()[i]), 1);
    }
  }
  if (rows == columns) {
    sMatrixD half = a, whole = a;
    for (int i = 0; i < rows; ++i) {
      for (int j = 0; j < i; ++j) {
        half(i, j) = 0;
        whole(i, j) = a(j, i);
      }
    }
    for (const bool lower : {false, true}) {
      Stored way{QSparseMatrix(), whole};
      const sMatrixD stored = lower ? transposedDense(half) : half;
      way.matrix.convertFrom(&stored);
      way.matrix.setSimmetric(1);
      ways.push_back(way);
    }
  }
  return ways;
}

TEST(Sparse, ProductsAgreeWithDenseOnesForEveryWayToStore) {
  unsigned seed = 0;
  for (const auto [m, k, n] : {std::array{1, 1, 1}, {3, 3, 3}, {5, 9, 4}, {40, 7, 40}, {7, 60, 7}, {33, 33, 33}}) {
    for (const Stored& a : waysToStore(m, k, ++seed)) {
      for (const Stored& b : waysToStore(k, n, ++seed)) {
        const sMatrixD expected = product(a.meaning, b.meaning);
        QSparseMatrix sparse;
        sMatrixLD dense, byDense, right(k, n);
        for (std::size_t i = 0; i < right.size(); ++i) right.data()[i] = b.meaning.data()[i];
        a.matrix.MulMatr(b.matrix, sparse);
        a.matrix.MulMatr(b.matrix, dense);
        a.matrix.MulMatr(right, byDense);
        expectEqual(denseOf(sparse), expected);
        expectEqual(dense, expected);
        expectEqual(byDense, expected);
        if (m != n) {
          EXPECT_EQ(tryMulMatr(a.matrix, a.matrix, sparse), m == k ? 0 : matErrorDimensionsXY);
        }
        EXPECT_EQ(tryMulMatrDense(a.matrix, b.matrix, dense), 0);
        EXPECT_EQ(tryMulMatrByDense(a.matrix, sMatrixLD(k + 1, 1), dense), matErrorDimensionsXY);
      }
      const sMatrixD normal = product(transposedDense(a.meaning), a.meaning);
      QSparseMatrix whole, half;
      sMatrixLD dense;
      half.setSimmetric(1);
      EXPECT_EQ(tryMulMatrT(a.matrix, whole), 0);
      a.matrix.MulMatrT(half);
      EXPECT_EQ(tryMulMatrTDense(a.matrix, dense), 0);
      expectEqual(denseOf(whole), normal);
      expectEqual(dense, normal);
      EXPECT_TRUE(whole.isSimmetric() && !whole.isHalf() && half.isHalf());
      sMatrixD upper = normal;
      for (int i = 0; i < upper.rows; ++i) std::fill_n(&upper(0, i) + i + 1, upper.rows - i - 1, 0.0);
      expectEqual(denseOf(half), upper);
    }
  }
  try {
    QSparseMatrix().MulMatr(waysToStore(2, 2, 1).front().matrix, *std::make_unique<QSparseMatrix>());
    ADD_FAILURE();
  } catch (const CMatErrorM& error) {
    EXPECT_EQ(error.code, 21762);
    EXPECT_STREQ(error.function, "MulMatr");
  }
}

TEST(Sparse, StorageKeepsItsRules) {
  QSparseMatrix s;
  s.createSparseMatrix(0, 0, 0);
  EXPECT_EQ(s.storage().poolSize, 16u);
  s.createSparseMatrix(5, 2, 0);
  EXPECT_EQ(s.insertCoef(1, 4, 2.5), 1);
  EXPECT_EQ(s.insertCoef(1, 4, 3.5), 1);  // not merged
  EXPECT_EQ(s.insertCoef(0, 4, 4.5), 0);
  EXPECT_EQ(s.count(), 2);

  // The pool grows by the share of the lines that filled it: 4 * 11 entries held 4 lines and 4 of the fifth.
  s.createSparseMatrix(10, 10, 0);
  for (int i = 0; i < 45; ++i) EXPECT_EQ(s.insertCoef(i % 10, i / 10, i), 1);
  EXPECT_EQ(s.storage().poolSize, 44u * 10 * 10 * 116 / (100 * (10 * 4 + 4)) + 32);
  for (int i = 0; i < 45; ++i) EXPECT_EQ(s.storage().lineTable[i / 10].first[i % 10].value, i);

  sMatrixD dust(3, 3);
  dust(1, 2) = 1e-13;
  dust(2, 0) = -1e-13;
  s.convertFrom(&dust);
  EXPECT_EQ(s.storage().lineCapacity, 0);
  EXPECT_EQ(s.insertCoef(0, 0, 1), 0);
  expectEqual(denseOf(s), sMatrixD(3, 3));

  const sMatrixD a = randomDense(6, 9, 3);
  s.convertFrom(&a);
  EXPECT_EQ(s.getNX(), 9);
  EXPECT_EQ(s.getNY(), 6);
  expectEqual(denseOf(s), a);
  QSparseMatrix t = s, block;
  t.transponeFrom(t);
  expectEqual(denseOf(t), transposedDense(a));
  sMatrixLD untouched(1, 1);
  EXPECT_NO_THROW(s.storage().mult(sMatrixLD(9, 1), untouched));
  EXPECT_EQ(untouched.rows, 1);
  EXPECT_THROW(s.storage().mult(s.storage(), untouched), CMatErrorM);

  block.extractFrom(s, 2, 7, 1, 3);
  sMatrixD expected(3, 6);
  for (int i = 0; i < 18; ++i) expected(i % 3, i / 3) = a(i % 3 + 1, i / 3 + 2);
  expectEqual(denseOf(block), expected);
  const Stored half = waysToStore(8, 8, 4).back();
  block.extractFrom(half.matrix, 1, 5, 1, 5);
  EXPECT_TRUE(block.isSimmetric() && block.isHalf());
  block.extractFrom(half.matrix, 0, 5, 3, 7);  // beside the diagonal: whole, and no longer symmetric
  EXPECT_FALSE(block.isSimmetric() || block.isHalf());
  for (int i = 0; i < 30; ++i) EXPECT_EQ(denseOf(block)(i % 5, i / 5), half.meaning(i % 5 + 3, i / 5));
}

TEST(Sparse, InverseByBlocks) {
  const int n = 24;
  sMatrixD a(n, n);
  std::mt19937 engine(5);
  const auto number = [&] { return static_cast<double>(engine() >> 3) / (1 << 28) - 1; };
  // Five blocks that hang together, the first singular by itself, and three that stand apart.
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j <= i; ++j) {
      if (i / 3 == j / 3 || i < 15) a(i, j) = a(j, i) = i < 3 ? 1 : number();
    }
  }
  for (const bool half : {false, true}) {
    QSparseMatrix s, inverse;
    sMatrixD stored = a;
    for (int i = 0; half && i < n; ++i) std::fill_n(&stored(0, i) + i + 1, n - i - 1, 0.0);
    s.convertFrom(&stored);
    s.setSimmetric(half);
    ASSERT_EQ(s.reverseSimmetric3x3(inverse), 0);
    EXPECT_EQ(inverse.count(), 15 * 15 + 3 * 9);
    expectEqual(denseOf(inverse), transposedDense(denseOf(inverse)));
    const sMatrixD unit = product(a, denseOf(inverse));
    for (int i = 0; i < n; ++i) {
      for (int j = 0; j < n; ++j) EXPECT_NEAR(unit(i, j), i == j, 1e-12);
    }
  }
  QSparseMatrix s, kept;
  s.createSparseMatrix(3, 3, 0);
  EXPECT_EQ(s.reverseSimmetric3x3(kept), matErrorZeroDeterminant);
  s.createSparseMatrix(4, 4, 0);
  EXPECT_EQ(s.reverseSimmetric3x3(kept), matErrorDimensionsXY);
  EXPECT_EQ(kept.getNX(), 0);
}

TEST(Equations, ConvertCountAndPrint) {
  sMatrixList list;
  list.createEquationList(4, 2);
  EXPECT_EQ(list.createEquation(1.25), 0);
  EXPECT_EQ(list.createEquation(-3, 4), 1);
  EXPECT_EQ(list.createEquation(0, 0), 2);
  list.insertMult(1, 2, 1);
  list.insertMult(0, 3, -0.5);
  list.insertMult(0, 0, 2);
  list.insertMult(1, 2, 2);  // adds up
  EXPECT_EQ(list.askNEqv(), 3);
  EXPECT_EQ(list.calcMaxVarPerRow(), 2);
  EXPECT_EQ(list.calcMaxVarPerY(), 1);
  char text[100];
  const int length = list.printfSym(text, sizeof text);
  EXPECT_STREQ(text, "-0.5*x3 + 2*x0 = 1.25\n3*x2 = -3\n0 = 0\n");
  EXPECT_EQ(list.printfSym(text, 4), length);
  EXPECT_STREQ(text, "-0.");
  sMatrixD jacobian, constants;
  sMatrixLD sparseConstants;
  list.convertToJacobian(&jacobian, &constants);
  EXPECT_EQ(jacobian(1, 2), 6);  // with the root of the weight
  EXPECT_EQ(constants(1, 0), -6);
  QSparseMatrix sparse;
  sparse.convertFromJacobian(list, &sparseConstants);
  expectEqual(denseOf(sparse), jacobian);
  expectEqual(sparseConstants, constants);
  double x[4] = {7, 7, 7, 7};
  EXPECT_EQ(list.calcResult(x), matErrorInfinitelyManySolutions);
  EXPECT_EQ(x[0], 7);
}

#if !defined(_WIN32)  // where a stopped process asks its user
TEST(SparseDeathTest, IndicesOutOfRangeStopTheProcess) {
  QSparseMatrix s;
  s.createSparseMatrix(5, 2, 0);
  sMatrixList list;
  list.createEquationList(4, 0);
  list.createEquation(0);
  EXPECT_DEATH(s.insertCoef(0, 5, 1), "line 5 is not among the 5");
  EXPECT_DEATH(s.insertCoef(-1, 0, 1), "position -1");
  EXPECT_DEATH(s.extractFrom(s, 0, 5, 0, 0), "line 5 is not among the 5");
  EXPECT_DEATH(list.insertMult(1, 0, 1), "equation 1 is not among the 1");
  EXPECT_DEATH(list.insertMult(0, 4, 1), "unknown 4 is not among the 4");
}
#endif

// The sparse road, with its order and its factor, against LAPACK on the same equations, for patterns of all kinds.
TEST(Equations, SparseSolutionIsTheDenseOne) {
  std::mt19937 engine(6);
  const auto number = [&] { return static_cast<double>(engine() >> 3) / (1 << 28) - 1; };
  for (const int n : {1, 2, 3, 10, 60, 150}) {
    for (const int terms : {1, 2, 4, 60}) {
      sMatrixList list;
      list.createEquationList(n, 0);
      for (int e = 0; e < 3 * n + 5; ++e) {
        const int equation = list.createEquation(number(), 1 + number());
        list.insertMult(equation, e % n, 3);
        if (terms == 4) list.insertMult(equation, n / 2, number());  // an unknown of all equations
        for (int t = 1; t < terms; ++t)
          list.insertMult(equation, static_cast<int>(engine() % static_cast<unsigned>(n)), number());
      }
      sMatrixD jacobian, constants;
      list.convertToJacobian(&jacobian, &constants);
      std::vector<double> sparse(static_cast<std::size_t>(n)), dense(sparse);
      ASSERT_EQ(list.calcResult(sparse.data()), 0) << n << ' ' << terms;
      ASSERT_EQ(solveLS(&jacobian, constants.data(), dense.data()), 0);
      for (std::size_t i = 0; i < sparse.size(); ++i) EXPECT_NEAR(sparse[i], dense[i], 1e-11) << n << ' ' << terms;
    }
  }
}

TEST(Adjustment, BlockOfFiftyPhotosFindsItsTruth) {
  const Flight flight(50);
  sMatrixList list;
  std::vector<double> x = flight.approximation;
  const auto linearise = [](void* context, const double* at, sMatrixList& equations) {
    static_cast<const Flight*>(context)->linearise(at, equations);
  };
  const int iterations =
      solveNonLinearEqv(list, x.data(), flight.unknowns(), linearise, const_cast<Flight*>(&flight), 1e-7, 10);
  EXPECT_LE(iterations, 6);
  for (std::size_t i = 0; i < x.size(); ++i) ASSERT_NEAR(x[i], flight.truth()[i], 1e-6) << i;
}

// The four ways to fail, each with its text, thrown and told.
TEST(Adjustment, FailuresSurface) {
  struct Problem {
    int equations;
    double slope, tolerance;
    int iterations = 0;
    static void linearise(void* context, const double* x, sMatrixList& list) {
      auto& self = *static_cast<Problem*>(context);
      ++self.iterations;
      list.createEquationList(1, self.equations);
      for (int e = 0; e < self.equations; ++e) list.insertMult(list.createEquation(1 - *x), 0, self.slope);
    }
  };
  struct Case {
    Problem problem;
    const char* text;  // Windows-1251
    int iterations;
  };
  const Case cases[] = {
      {{0, 1, 1e-9},
       " \xEA\xEE\xEB-\xE2\xEE \xEF\xE5\xF0\xE5\xEC\xE5\xED\xED\xFB\xF5 \xE1\xEE\xEB\xFC\xF8\xE5, \xF7\xE5\xEC "
       "\xEA\xEE\xEB-\xE2\xEE \xF3\xF0\xE0\xE2\xED\xE5\xED\xE8\xE9",
       1},
      {{2, 2, 1e-9},
       " \xE7\xE0\xE4\xE0\xED\xED\xE0\xFF \xF2\xEE\xF7\xED\xEE\xF1\xF2\xFC \xED\xE5 "
       "\xE4\xEE\xF1\xF2\xE8\xE3\xED\xF3\xF2\xE0 \xE7\xE0 9 \xE8\xF2\xE5\xF0\xE0\xF6\xE8\xE9",
       9},  // halves the error each time
      {{2, 0.4, 1e-9},
       " \xF0\xE5\xF8\xE5\xED\xE8\xE5 \xEE\xF2\xF1\xF3\xF2\xF1\xF2\xE2\xF3\xE5\xF2",
       7},  // overshoots: six growths
      {{2, 0, 1e-9},
       "\xE1\xE5\xF1\xEA\xEE\xED\xE5\xF7\xED\xEE\xE5 \xEA\xEE\xEB-\xE2\xEE \xF0\xE5\xF8\xE5\xED\xE8\xE9\n function: ",
       1},
  };
  for (const Case& c : cases) {
    Problem problem = c.problem;
    sMatrixList list;
    double x = 5;
    CImgErrorText told;
    EXPECT_EQ(trySolveNonLinearEqv(list, &x, 1, Problem::linearise, &problem, problem.tolerance, 9, told), -1);
    EXPECT_EQ(told.getCode(), 8888);
    EXPECT_STREQ(told.Text(), c.text);
    EXPECT_EQ(problem.iterations, c.iterations);
    EXPECT_EQ(x, 5);
    EXPECT_THROW(solveNonLinearEqv(list, &x, 1, Problem::linearise, &problem, problem.tolerance, 9), CImgErrorText);
  }
}

}  // namespace
}  // namespace quorvel::test
