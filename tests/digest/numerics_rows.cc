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

// What computes in `long double`, or by whichever LAPACK was linked, is taken in as float: the systems are so well
// conditioned that all platforms agree to there. The bits of our own LAPACK are tests/lapack's affair.
template <typename T>
void addRounded(Digest& digest, const T* values, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) {
    const auto value = static_cast<float>(values[i]);
    digest.add(&value, 1);
  }
}

// The square systems: every solver of the name's kind gets the same one.
template <typename T, typename Solve>
auto squareSystem(Solve solve) {
  return [=](Digest& d) {
    const int n = 40;
    const auto normal = symmetricOf<long double>(n), sides = matrixOf<long double>(n, 1, 4);
    std::vector<T> x(n);
    int status = 1;
    const int result = solve(normal, sides, x.data(), status);
    d.add(&result, 1);
    if constexpr (sizeof(T) == sizeof(double)) {
      d.add(x.data(), x.size());
    } else {
      addRounded(d, x.data(), x.size());
    }
  };
}

void addSmallSystems(Routines& routines) {
  routines["solve2x2"] = [](Digest& d) {
    double x[2];
    solve2x2(numbers(4, 1).data(), numbers(2, 2).data(), x);
    d.add(x, 2);
  };
  routines["funcReverse3S"] = [](Digest& d) {
    double a[3][3];
    std::memcpy(a, numbers(9, 1).data(), sizeof a);
    funcReverse3S(a);
    d.add(a[0], 9);
  };
  routines["solve4x3"] = [](Digest& d) {
    double a[4][4], x[3];
    std::memcpy(a, numbers(16, 1).data(), sizeof a);
    solve4x3(a, x);
    d.add(x, 3);
  };
  routines["solve4x3L"] = [](Digest& d) {
    long double a[4][4], x[3];
    for (std::size_t i = 0; i < 16; ++i) a[i / 4][i % 4] = numbers(16, 1)[i];
    solve4x3L(a, x);
    addRounded(d, x, 3);
  };
  routines["reverseD3"] = [](Digest& d) {
    double inverse[9];
    for (const int mode : {0, 1}) {
      reverseD3(numbers(9, 1).data(), inverse, mode);
      d.add(inverse, 9);
    }
  };
  routines["reverseLD3"] = [](Digest& d) {
    long double inverse[9];
    reverseLD3(matrixOf<long double>(3, 3, 1).data(), inverse, 0);
    addRounded(d, inverse, 9);
  };
  routines["lu_decompNL"] = [](Digest& d) {
    auto a = numbers(30 * 30, 1), work = numbers(30, 2);
    double* rows[30];
    for (std::size_t i = 0; i < 30; ++i) rows[i] = &a[30 * i];
    unsigned pivots[30];
    int sign;
    const double norm = lu_decompNL(rows, 30, pivots, &sign, work.data());
    d.add(&norm, 1);
    d.add(a.data(), a.size());
    d.add(work.data(), work.size());
    d.add(pivots, 30);
  };
}

void addSolvers(Routines& routines) {
  routines["solveEquationD1"] = [](Digest& d) {
    const auto a = symmetricOf<double>(40);
    auto x = numbers(40, 1);
    int info;
    solveEquationD1(&a, x.data(), x.data(), &info);
    addRounded(d, x.data(), x.size());
  };
  routines["solveLS"] = [](Digest& d) {
    const auto a = matrixOf<double>(60, 20, 1);
    auto x = numbers(60, 2);
    solveLS(&a, x.data(), x.data());
    addRounded(d, x.data(), 20);
  };
  routines["solveLS_V"] = [](Digest& d) {
    sMatrixD x;
    int deficit = -1;
    solveLS_V(matrixOf<double>(60, 20, 1), matrixOf<double>(60, 1, 2), x, deficit);
    addRounded(d, x.data(), x.size());
    d.add(&deficit, 1);
  };
  routines["solveSYMM_Vt"] = [](Digest& d) {
    sMatrixD x;
    solveSYMM_Vt(symmetricOf<double>(40), matrixOf<double>(40, 2, 1), x);
    addRounded(d, x.data(), x.size());
  };
  routines["solveEqvD2"] = squareSystem<double>(solveEqvD2);
  routines["solveEqvLD2"] = squareSystem<long double>(solveEqvLD2);
  routines["solveEqvD"] = squareSystem<double>([](const auto& normal, const auto& sides, double* x, int& status) {
    CVarDescList variables;
    CSimplexProgram program;
    return solveEqvD(variables, program, normal, sides, x, status);
  });
  routines["solveEqvLD"] = squareSystem<long double>([](const auto& normal, const auto& sides, auto* x, int& status) {
    CVarDescList variables;
    CSimplexProgram program;
    return solveEqvLD(variables, program, normal, sides, x, status);
  });
  // The settings show in what they decide.
  routines["setLinearPrecision"] = squareSystem<double>([](const auto&, const auto& sides, double* x, int& status) {
    setLinearPrecision(1e3);
    const int result = solveEqvD2(symmetricOf<long double>(40), sides, x, status);
    restoreLinearPrecision();
    return result;
  });
  routines["restoreLinearPrecision"] = routines["solveEqvD2"];
  routines["setRankCondValue"] = [](Digest& d) {
    sMatrixD x;
    int deficit = -1;
    setRankCondValue(0.9);
    solveLS_V(matrixOf<double>(60, 20, 1), matrixOf<double>(60, 1, 2), x, deficit);
    setRankCondValue(-1);
    d.add(&deficit, 1);
  };
}

void addSparse(Routines& routines) {
  const auto sparseResult = [](auto multiply) {
    return [multiply](Digest& d) {
      QSparseMatrix result;
      sMatrixD dense;
      multiply(sparseOf(50, 30, 1), result);
      result.convertTo(&dense);
      d.add(dense.data(), dense.size());
    };
  };
  const auto denseResult = [](auto multiply) {
    return [multiply](Digest& d) {
      sMatrixLD result;
      multiply(sparseOf(50, 30, 1), result);
      addRounded(d, result.data(), result.size());
    };
  };
  routines["tryMulMatr"] =
      sparseResult([](const auto& left, auto& result) { tryMulMatr(left, sparseOf(30, 40, 2), result); });
  routines["tryMulMatrT"] = sparseResult(tryMulMatrT);
  routines["tryMulMatrDense"] =
      denseResult([](const auto& left, auto& result) { tryMulMatrDense(left, sparseOf(30, 40, 2), result); });
  routines["tryMulMatrTDense"] = denseResult(tryMulMatrTDense);
  routines["tryMulMatrByDense"] = denseResult(
      [](const auto& left, auto& result) { tryMulMatrByDense(left, matrixOf<long double>(30, 4, 2), result); });
}

// Circles through points around (1, 2): centre and radius.
void addIteration(Routines& routines) {
  const auto linearise = [](void*, const double* x, sMatrixList& list) {
    list.createEquationList(3, 20);
    for (int i = 0; i < 20; ++i) {
      const double px = 1 + numbers(40, 1)[static_cast<std::size_t>(i)],
                   py = 2 + numbers(40, 1)[static_cast<std::size_t>(i) + 20];
      const double dx = x[0] - px, dy = x[1] - py, distance = std::sqrt(dx * dx + dy * dy);
      const int equation = list.createEquation(x[2] - distance);
      list.insertMult(equation, 0, dx / distance);
      list.insertMult(equation, 1, dy / distance);
      list.insertMult(equation, 2, -1);
    }
  };
  routines["trySolveNonLinearEqv"] = routines["solveNonLinearEqv"] = [linearise](Digest& d) {
    sMatrixList list;
    CImgErrorText error;
    double x[3] = {1.1, 1.9, 0.5};
    const int iterations = trySolveNonLinearEqv(list, x, 3, linearise, nullptr, 1e-9, 50, error);
    d.add(&iterations, 1);
    d.add(x, 3);
  };
}

}  // namespace

void addNumerics(Routines& routines) {
  addSmallSystems(routines);
  addSolvers(routines);
  addSparse(routines);
  addIteration(routines);
}

}  // namespace quorvel::test
