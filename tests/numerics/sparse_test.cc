// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <numeric>
#include <random>

#include "runtime/windows1251.h"
#include "tests/numerics/support.h"
#include "tests/support/flight.h"

namespace quorvel::test {
namespace {

// Small integers, so that sums of products are exact in any order.
sMatrixD randomDense(int rows, int columns, unsigned seed) {
  Numbers number(seed);
  return matrixOf<double>(rows, columns, [&](int, int) { return number.below(4) == 0 ? number.below(19) - 9 : 0; });
}

sMatrixD upperOf(const sMatrixD& a) {
  return matrixOf<double>(a.rows, a.columns, [&](int i, int j) { return i <= j ? a(i, j) : 0; });
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
  const sMatrixD a = randomDense(rows, columns, seed), t = transposed(a);
  std::vector<Stored> ways(3, {QSparseMatrix(), a});
  ways[0].matrix.convertFrom(&a);
  ways[1].matrix.convertFrom(&t);
  ways[1].matrix.setTranspone();
  ways[2].matrix.createSparseMatrix(columns, rows, 0);  // entry by entry, in no order, with every line moving
  std::vector<int> order(a.size());
  std::iota(order.begin(), order.end(), 0);
  std::shuffle(order.begin(), order.end(), std::mt19937(seed));
  for (const int i : order) {
    if (a.data()[i] != 0) ways[2].matrix.insertCoef(i % rows, i / rows, a.data()[i]);
  }
  if (rows == columns) {
    const sMatrixD half = upperOf(a), other = transposed(half);
    for (const sMatrixD* stored : {&half, &other}) {
      ways.push_back({QSparseMatrix(), mirrored(a)});
      ways.back().matrix.convertFrom(stored);
      ways.back().matrix.setSimmetric(1);
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
        const auto right = matrixOf<long double>(k, n, [&](int i, int j) { return b.meaning(i, j); });
        sMatrixLD dense, byDense;
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
      const sMatrixD normal = product(transposed(a.meaning), a.meaning);
      QSparseMatrix whole, half;
      sMatrixLD dense;
      half.setSimmetric(1);
      EXPECT_EQ(tryMulMatrT(a.matrix, whole), 0);
      a.matrix.MulMatrT(half);
      EXPECT_EQ(tryMulMatrTDense(a.matrix, dense), 0);
      expectEqual(denseOf(whole), normal);
      expectEqual(dense, normal);
      EXPECT_TRUE(whole.isSimmetric() && !whole.isHalf() && half.isHalf());
      expectEqual(denseOf(half), upperOf(normal));
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
  expectEqual(denseOf(t), transposed(a));
  for (int i = 0; i < 3; ++i) {  // the same position three times is a line of three in the transpose, and in its copy
    if (i == 0) s.createSparseMatrix(1, 6, 3);
    s.insertCoef(5, 0, 1);
  }
  block.transponeFrom(s);
  EXPECT_EQ(QSparseMatrix(block).count(), 3);
  s.convertFrom(&a);
  sMatrixLD untouched(1, 1);
  EXPECT_NO_THROW(s.storage().mult(sMatrixLD(9, 1), untouched));
  EXPECT_EQ(untouched.rows, 1);
  EXPECT_THROW(s.storage().mult(s.storage(), untouched), CMatErrorM);

  block.extractFrom(s, 2, 7, 1, 3);
  expectEqual(denseOf(block), matrixOf<double>(3, 6, [&](int i, int j) { return a(i + 1, j + 2); }));
  const Stored half = waysToStore(8, 8, 4).back();
  block.extractFrom(half.matrix, 1, 5, 1, 5);
  EXPECT_TRUE(block.isSimmetric() && block.isHalf());
  block.extractFrom(half.matrix, 0, 5, 3, 7);  // beside the diagonal: whole, and no longer symmetric
  EXPECT_FALSE(block.isSimmetric() || block.isHalf());
  expectEqual(denseOf(block), matrixOf<double>(5, 6, [&](int i, int j) { return half.meaning(i + 3, j); }));
}

TEST(Sparse, InverseByBlocks) {
  const int n = 24;
  Numbers number(5);
  // Five blocks that hang together, the first singular by itself, and three that stand apart.
  const sMatrixD a = mirrored(matrixOf<double>(n, n, [&](int i, int j) {
    return i / 3 != j / 3 && j > 14 ? 0 : j < 3 ? 1 : number();
  }));
  for (const bool half : {false, true}) {
    QSparseMatrix s, inverse;
    const sMatrixD stored = half ? upperOf(a) : a;
    s.convertFrom(&stored);
    s.setSimmetric(half);
    ASSERT_EQ(s.reverseSimmetric3x3(inverse), 0);
    EXPECT_EQ(inverse.count(), 15 * 15 + 3 * 9);
    expectEqual(denseOf(inverse), transposed(denseOf(inverse)));
    const sMatrixD unit = product(a, denseOf(inverse));
    for (int i = 0; i < n * n; ++i) EXPECT_NEAR(unit(i / n, i % n), i / n == i % n, 1e-12);
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
  for (int i = 0; i < 2; ++i) list.insertMult(0, 3, -0.25);  // adds up, in the latest equation and in others
  EXPECT_EQ(list.createEquation(-3, 4), 1);
  EXPECT_EQ(list.createEquation(0, 0), 2);
  list.insertMult(1, 2, 1);
  list.insertMult(0, 0, 2);
  list.insertMult(1, 2, 2);
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
  EXPECT_DEATH(s.extractFrom(s, 3, 2, 0, 0), "first line 3 is not among the 3");
  EXPECT_DEATH(list.insertMult(1, 0, 1), "equation 1 is not among the 1");
  EXPECT_DEATH(list.insertMult(0, 4, 1), "unknown 4 is not among the 4");
}
#endif

// The sparse road, with its order and its factor, against LAPACK on the same equations, for patterns of all kinds.
TEST(Equations, SparseSolutionIsTheDenseOne) {
  Numbers number(6);
  for (const int n : {1, 2, 3, 10, 60, 150}) {
    for (const int terms : {1, 2, 4, 60}) {
      sMatrixList list;
      list.createEquationList(n, 0);
      for (int e = 0; e < 3 * n + 5; ++e) {
        const double constant = number(), weight = 1 + number();
        const int equation = list.createEquation(constant, weight);
        list.insertMult(equation, e % n, 3);
        if (terms == 4) list.insertMult(equation, n / 2, number());  // an unknown of all equations
        for (int t = 1; t < terms; ++t) {
          const int unknown = number.below(n);
          list.insertMult(equation, unknown, number());
        }
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
    double slope;
    Windows1251<80> text;
    int expected, iterations = 0;
    static void linearise(void* context, const double* x, sMatrixList& list) {
      auto& self = *static_cast<Problem*>(context);
      if (++self.iterations; self.slope < 0) throw CMatErrorM(matErrorDimensionsXY, "MulMatr");
      list.createEquationList(1, self.equations);
      for (int e = 0; e < self.equations; ++e) list.insertMult(list.createEquation(1 - *x), 0, self.slope);
    }
  };
  for (Problem problem : {Problem{0, 1, u8" кол-во переменных больше, чем кол-во уравнений", 1},
                          {2, 2, u8" заданная точность не достигнута за 9 итераций", 9},  // halves the error each time
                          {2, 0.4, u8" решение отсутствует", 7},                          // overshoots: six growths
                          {2, 0, u8"бесконечное кол-во решений\n function: ", 1},
                          {2, -1, u8"размерность матриц(ы) по X & Y несовпадают\n function: MulMatr", 1}}) {
    sMatrixList list;
    double x = 5;
    CImgErrorText told;
    EXPECT_EQ(trySolveNonLinearEqv(list, &x, 1, Problem::linearise, &problem, 1e-9, 9, told), -1);
    EXPECT_EQ(told.getCode(), 8888);
    EXPECT_STREQ(told.Text(), problem.text.bytes);
    EXPECT_EQ(problem.iterations, problem.expected);
    EXPECT_EQ(x, 5);
    EXPECT_THROW(solveNonLinearEqv(list, &x, 1, Problem::linearise, &problem, 1e-9, 9), CImgErrorText);
  }
}

}  // namespace
}  // namespace quorvel::test
