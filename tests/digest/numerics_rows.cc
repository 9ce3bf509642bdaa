// SPDX-License-Identifier: Apache-2.0
#include <cmath>

#include "tests/digest/digest.h"

namespace quorvel::test {
namespace {

// Numbers between -1 and 1.
std::vector<double> numbers(std::size_t n, std::uint32_t seed) {
  std::vector<double> values;
  for (const std::uint32_t v : content<std::uint32_t>(seed)) values.push_back(v * 0x1p-31 - 1);
  values.resize(n);
  return values;
}

template <typename T>
TDenseMatrix<T> matrixOf(int rows, int columns, std::uint32_t seed) {
  TDenseMatrix<T> matrix(rows, columns);
  const auto values = numbers(matrix.size(), seed);
  std::copy(values.begin(), values.end(), matrix.data());
  return matrix;
}

template <typename T>
TDenseMatrix<T> symmetricOf(int n) {
  auto matrix = matrixOf<T>(n, n, 3);
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < i; ++j) matrix(i, j) = matrix(j, i);
    matrix(i, i) += n;
  }
  return matrix;
}

QSparseMatrix sparseOf(int rows, int columns, std::uint32_t seed) {
  auto dense = matrixOf<double>(rows, columns, seed);
  for (std::size_t i = 0; i < dense.size(); ++i) dense.data()[i] *= i % 3 == 0;
  QSparseMatrix matrix;
  matrix.convertFrom(&dense);
  return matrix;
}

using Doubles = std::vector<double>;
using Floats = std::vector<float>;

// A row takes in what its function returns. What computes in `long double`, or by whichever LAPACK was linked, is
// returned as float: the systems are so well conditioned that all platforms agree to there. The bits of our own LAPACK
// are tests/numerics's affair.
template <typename Function>
void row(Routines& routines, const char* name, Function function) {
  routines[name] = [function](Digest& d) {
    const auto values = function();
    d.add(values.data(), values.size());
  };
}

template <typename T>
Floats rounded(const TDenseMatrix<T>& matrix) {
  return {matrix.data(), matrix.data() + matrix.size()};
}

void addSmallSystems(Routines& routines) {
  row(routines, "solve2x2", [] {
    Doubles x(2);
    solve2x2(numbers(4, 1).data(), numbers(2, 2).data(), x.data());
    return x;
  });
  row(routines, "funcReverse3S", [] {
    Doubles a = numbers(9, 1);
    funcReverse3S(reinterpret_cast<double(*)[3]>(a.data()));
    return a;
  });
  row(routines, "solve4x3", [] {
    Doubles x(3);
    solve4x3(reinterpret_cast<const double(*)[4]>(numbers(16, 1).data()), x.data());
    return x;
  });
  row(routines, "solve4x3L", [] {
    const auto a = matrixOf<long double>(4, 4, 1);
    sMatrixLD x(3, 1);
    solve4x3L(reinterpret_cast<const long double(*)[4]>(a.data()), x.data());
    return rounded(x);
  });
  row(routines, "reverseD3", [] {
    Doubles inverse(18);
    for (const int mode : {0, 1}) reverseD3(numbers(9, 1).data(), &inverse[static_cast<std::size_t>(9 * mode)], mode);
    return inverse;
  });
  row(routines, "reverseLD3", [] {
    sMatrixLD inverse(3, 3);
    reverseLD3(matrixOf<long double>(3, 3, 1).data(), inverse.data(), 0);
    return rounded(inverse);
  });
  row(routines, "lu_decompNL", [] {
    Doubles a = numbers(30 * 30, 1), work = numbers(30, 2);
    double* rows[30];
    for (std::size_t i = 0; i < 30; ++i) rows[i] = &a[30 * i];
    unsigned pivots[30];
    int sign;
    a.push_back(lu_decompNL(rows, 30, pivots, &sign, work.data()));
    a.insert(a.end(), work.begin(), work.end());
    a.insert(a.end(), pivots, pivots + 30);
    return a;
  });
}

void addSolvers(Routines& routines) {
  row(routines, "solveEquationD1", [] {
    auto a = symmetricOf<double>(40), x = matrixOf<double>(40, 1, 1);
    int info;
    solveEquationD1(&a, x.data(), x.data(), &info);
    return rounded(x);
  });
  row(routines, "solveLS", [] {
    const auto a = matrixOf<double>(60, 20, 1);
    sMatrixD x(20, 1);
    solveLS(&a, numbers(60, 2).data(), x.data());
    return rounded(x);
  });
  for (const double condition : {0.9, -1.0}) {  // the setting decides how many singular values count
    row(routines, condition > 0 ? "setRankCondValue" : "solveLS_V", [condition] {
      sMatrixD x;
      int deficit = -1;
      setRankCondValue(condition);
      solveLS_V(matrixOf<double>(60, 20, 1), matrixOf<double>(60, 1, 2), x, deficit);
      setRankCondValue(-1);
      Floats values = rounded(x);
      values.push_back(static_cast<float>(deficit));
      return values;
    });
  }
  row(routines, "solveSYMM_Vt", [] {
    sMatrixD x;
    solveSYMM_Vt(symmetricOf<double>(40), matrixOf<double>(40, 2, 1), x);
    return rounded(x);
  });
  const auto square = [&]<typename T>(const char* name, T, auto solve) {
    row(routines, name, [solve] {
      TDenseMatrix<T> x(40, 1);
      int status;
      solve(symmetricOf<long double>(40), matrixOf<long double>(40, 1, 4), x.data(), status);
      if constexpr (sizeof(T) == sizeof(double)) {
        return Doubles(x.data(), x.data() + x.size());
      } else {
        return rounded(x);
      }
    });
  };
  const auto withObjects = [](auto solve) {
    return [solve](const auto& normal, const auto& sides, auto* x, int& status) {
      CVarDescList variables;
      CSimplexProgram program;
      solve(variables, program, normal, sides, x, status);
    };
  };
  square("solveEqvD", 0.0, withObjects(solveEqvD));
  square("solveEqvD2", 0.0, solveEqvD2);
  square("solveEqvLD", 0.0L, withObjects(solveEqvLD));
  square("solveEqvLD2", 0.0L, solveEqvLD2);
  const auto withPrecision = [](bool restored) {
    return [restored](const auto& normal, const auto& sides, double* x, int& status) {
      setLinearPrecision(1e3);  // nothing satisfies it
      if (restored) restoreLinearPrecision();
      solveEqvD2(normal, sides, x, status);
      restoreLinearPrecision();
    };
  };
  square("setLinearPrecision", 0.0, withPrecision(false));
  square("restoreLinearPrecision", 0.0, withPrecision(true));
}

void addSparse(Routines& routines) {
  const auto add = [&]<typename Result>(const char* name, Result, auto multiply) {
    row(routines, name, [multiply] {
      Result result;
      multiply(sparseOf(50, 30, 1), result);
      if constexpr (std::is_same_v<Result, sMatrixLD>) {
        return rounded(result);
      } else {
        sMatrixD dense;
        result.convertTo(&dense);
        return Doubles(dense.data(), dense.data() + dense.size());
      }
    });
  };
  add("tryMulMatr", QSparseMatrix(), [](const auto& a, auto& result) { tryMulMatr(a, sparseOf(30, 40, 2), result); });
  add("tryMulMatrT", QSparseMatrix(), tryMulMatrT);
  add("tryMulMatrDense", sMatrixLD(),
      [](const auto& a, auto& result) { tryMulMatrDense(a, sparseOf(30, 40, 2), result); });
  add("tryMulMatrTDense", sMatrixLD(), tryMulMatrTDense);
  add("tryMulMatrByDense", sMatrixLD(),
      [](const auto& a, auto& result) { tryMulMatrByDense(a, matrixOf<long double>(30, 4, 2), result); });
}

// Circles through points around (1, 2): centre and radius.
void linearisedCircle(void*, const double* x, sMatrixList& list) {
  list.createEquationList(3, 20);
  const Doubles points = numbers(40, 1);
  for (std::size_t i = 0; i < 20; ++i) {
    const double dx = x[0] - 1 - points[i], dy = x[1] - 2 - points[i + 20], distance = std::sqrt(dx * dx + dy * dy);
    const int equation = list.createEquation(x[2] - distance);
    list.insertMult(equation, 0, dx / distance);
    list.insertMult(equation, 1, dy / distance);
    list.insertMult(equation, 2, -1);
  }
}

void addIteration(Routines& routines) {
  for (const bool throws : {false, true}) {
    row(routines, throws ? "solveNonLinearEqv" : "trySolveNonLinearEqv", [throws] {
      sMatrixList list;
      CImgErrorText error;
      Doubles x = {1.1, 1.9, 0.5};
      const int iterations = throws
                                 ? solveNonLinearEqv(list, x.data(), 3, linearisedCircle, nullptr, 1e-9, 50)
                                 : trySolveNonLinearEqv(list, x.data(), 3, linearisedCircle, nullptr, 1e-9, 50, error);
      x.push_back(iterations);
      return x;
    });
  }
}

}  // namespace

void addNumerics(Routines& routines) {
  addSmallSystems(routines);
  addSolvers(routines);
  addSparse(routines);
  addIteration(routines);
}

}  // namespace quorvel::test
