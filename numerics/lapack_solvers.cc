// SPDX-License-Identifier: Apache-2.0
// The solvers that LAPACK does: dgesv, dsysv and dgelsd, each on copies, with the workspace that it asks for.
//
// The library's own LAPACK is built from the reference sources: a tuned one chooses its kernels, and with them the last
// bits, by the processor. It starts no threads; where a packaged one is linked instead, as OpenBLAS, that one does, and
// heeds the variable OPENBLAS_NUM_THREADS of the host's environment.
//
// Shapes are tested before LAPACK sees them, because packaged versions print a message about an illegal argument.
#include <algorithm>
#include <cmath>
#include <vector>

#include "numerics/lapack.h"
#include "numerics/settings.h"
#include "numerics/within_memory.h"
#include "quorvel/numerics.h"

namespace {

using Doubles = std::vector<double>;

// LAPACK's numbers of the arguments that a shape can make illegal.
constexpr int kBadColumnsOfSquare = -1, kBadLeadingDimensionOfSides = -7;
// And of those whose elements the iteration of the singular values would never end for.
constexpr int kBadMatrix = -4, kBadSides = -6;

Doubles copyOf(const sMatrixD& matrix) { return Doubles(matrix.data(), matrix.data() + matrix.size()); }

std::size_t elements(int count) { return static_cast<std::size_t>(count); }

bool areFinite(const double* values, std::size_t count) {
  return std::all_of(values, values + count, [](double v) { return std::isfinite(v); });
}

struct LeastSquares {
  Doubles x;
  int rank = 0;
};

// `b` has m entries and m >= n, so that it has room for the solution.
int leastSquares(const sMatrixD& A, const double* b, double condition, LeastSquares& result) {
  const int m = A.rows, n = A.columns, one = 1, leading = std::max(1, m);
  if (!areFinite(A.data(), A.size())) return kBadMatrix;
  if (!areFinite(b, elements(m))) return kBadSides;
  Doubles a = copyOf(A), singular(elements(n));
  result.x.assign(b, b + m);
  int info = 0;
  const auto solve = [&](double* work, int length, int* integers) {
    dgelsd_(&m, &n, &one, a.data(), &leading, result.x.data(), &leading, singular.data(), &condition, &result.rank,
            work, &length, integers, &info);
  };
  double length = 0;
  int integerLength = 0;
  solve(&length, -1, &integerLength);
  if (info != 0) return info;
  Doubles work(static_cast<std::size_t>(length));
  std::vector<int> integers(elements(integerLength));
  solve(work.data(), static_cast<int>(work.size()), integers.data());
  result.x.resize(elements(n));
  return info;
}

}  // namespace

int solveEquationD1(const sMatrixD* A, const double* b, double* x, int* info) {
  *info = quorvel::codeWithinMemory([&] {
    const int n = A->rows, one = 1, leading = std::max(1, n);
    if (A->columns != n) return kBadColumnsOfSquare;
    Doubles a = copyOf(*A), solution(b, b + n);
    std::vector<int> pivots(elements(n));
    int result = 0;
    dgesv_(&n, &one, a.data(), &leading, pivots.data(), solution.data(), &leading, &result);
    if (result == 0) std::copy(solution.begin(), solution.end(), x);
    return result;
  });
  return *info;
}

int solveLS(const sMatrixD* A, const double* b, double* x) {
  return quorvel::codeWithinMemory([&] {
    if (A->rows < A->columns) return kBadLeadingDimensionOfSides;
    LeastSquares result;
    const int info = leastSquares(*A, b, -1, result);
    if (info == 0) std::copy(result.x.begin(), result.x.end(), x);
    return info;
  });
}

int solveLS_V(const sMatrixD& A, const sMatrixD& b, sMatrixD& x, int& rankDeficit) {
  return quorvel::codeWithinMemory([&] {
    if (A.rows < A.columns || b.size() < elements(A.rows)) return kBadLeadingDimensionOfSides;
    LeastSquares result;
    const int info = leastSquares(A, b.data(), quorvel::rankCondition(), result);
    if (info != 0) return info;
    const int columns = A.columns;  // `x` may be `A`
    x.resize(columns, 1);
    std::copy(result.x.begin(), result.x.end(), x.data());
    rankDeficit = columns - result.rank;
    return 0;
  });
}

int solveSYMM_Vt(const sMatrixD& A, const sMatrixD& B, sMatrixD& X) {
  return quorvel::codeWithinMemory([&] {
    const int n = A.rows, sides = B.columns, leading = std::max(1, n);
    if (A.columns != n) return kBadColumnsOfSquare - 1;  // the number of the order here
    if (B.rows != n) return kBadLeadingDimensionOfSides - 1;
    Doubles a = copyOf(A), solution = copyOf(B);
    std::vector<int> pivots(elements(n));
    int info = 0;
    const auto solve = [&](double* work, int length) {
      dsysv_("U", &n, &sides, a.data(), &leading, pivots.data(), solution.data(), &leading, work, &length, &info, 1);
    };
    double length = 0;
    solve(&length, -1);
    if (info != 0) return info;
    Doubles work(std::max<std::size_t>(1, static_cast<std::size_t>(length)));
    solve(work.data(), static_cast<int>(work.size()));
    if (info != 0) return info;
    X.resize(n, sides);
    std::copy(solution.begin(), solution.end(), X.data());
    return 0;
  });
}
