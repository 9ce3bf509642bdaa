// SPDX-License-Identifier: Apache-2.0
// Least squares over observation equations: the linear step through the sparse normal equations, and the iteration
// around it for equations that are not linear.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "numerics/equation_list.h"
#include "numerics/settings.h"
#include "numerics/sparse_factor.h"
#include "numerics/sparse_products.h"
#include "numerics/twofold.h"
#include "numerics/within_memory.h"
#include "quorvel/numerics.h"
#include "runtime/windows1251.h"

namespace {

using quorvel::EquationList;
using quorvel::Halves;
using quorvel::Twofold;

using Doubles = std::vector<double>;

// For each line of the matrix its initial value, plus the products of its entries with x, in twice the precision.
template <typename Initial>
Doubles lineSums(const sSparseMatrix& matrix, double factor, const Doubles& x, Initial&& initial) {
  Doubles sums(static_cast<std::size_t>(matrix.lines));
  for (int j = 0; j < matrix.lines; ++j) {
    Twofold<double> sum;
    sum.add(initial(j));
    for (const auto& [value, i] : quorvel::entriesOf(matrix, j)) {
      const double other = factor * x[static_cast<std::size_t>(i)];
      sum.addProduct(value, other, Halves<double>(other));
    }
    sums[static_cast<std::size_t>(j)] = sum.value();
  }
  return sums;
}

// The normal equations square the condition of the problem. Their solution is corrected once with what the equations
// themselves, not the normal ones, are left with: that wins back most of what the squaring lost.
int solveLinear(const EquationList& list, double* solution) {
  if (list.unknowns == 0) return matErrorZeroDimension;
  const sSparseMatrix byEquations = list.rows();
  const sSparseMatrix byUnknowns = quorvel::transposed(byEquations);
  quorvel::SparseFactor factor;
  if (!factor.factor(quorvel::upperNormal(byUnknowns), quorvel::linearPrecision())) {
    return matErrorInfinitelyManySolutions;
  }
  Doubles x(static_cast<std::size_t>(list.unknowns), 0.0);
  for (int round = 0; round < 2; ++round) {
    const Doubles rest = lineSums(byEquations, -1, x, [&](int e) { return list.weightedConstant(e); });
    Doubles correction = lineSums(byUnknowns, 1, rest, [](int) { return 0.0; });
    factor.solve(correction);
    for (std::size_t i = 0; i < x.size(); ++i) x[i] += correction[i];
  }
  if (!std::all_of(x.begin(), x.end(), [](double v) { return std::isfinite(v); })) return matErrorNoSolution;
  std::copy(x.begin(), x.end(), solution);
  return 0;
}

constexpr quorvel::Windows1251<64> kTooFewEquations = u8" кол-во переменных больше, чем кол-во уравнений";
constexpr quorvel::Windows1251<64> kNotReached = u8" заданная точность не достигнута за %d итераций";
constexpr quorvel::Windows1251<64> kNoSolution = u8" решение отсутствует";
constexpr int kMostGrowths = 5;

double sumOfSquares(const EquationList& list) {
  double sum = 0;
  for (int e = 0; e < list.count(); ++e) sum += list.weightedConstant(e) * list.weightedConstant(e);
  return sum;
}

// The text that `formatText` gives, with as much of the function's name as fits: a name from a call-back may be long.
[[noreturn]] void throwMathematical(const CMatErrorM& error) {
  char text[sizeof(CImgErrorText)];
  const bool formatted = CMatErrorM(error.code).formatText(nullptr, text, 0) != nullptr;
  if (formatted && error.function != nullptr) {
    const std::size_t used = std::strlen(text);
    std::snprintf(text + used, sizeof text - used, "%s", error.function);
  }
  throw CImgErrorText(text);
}

int iterate(sMatrixList& equations, double* unknowns, int count, LinearisedEquations linearise, void* context,
            double tolerance, int maxIterations) {
  Doubles x(unknowns, unknowns + std::max(count, 0)), correction(x.size());
  double before = 0;
  int growths = 0;
  for (int iteration = 1; iteration <= maxIterations; ++iteration) {
    linearise(context, x.data(), equations);
    if (equations.askNVar() != count) throwMathematical(matErrorDimensionsXX);
    if (equations.askNEqv() < count) throw CImgErrorText(kTooFewEquations.bytes);
    const double error = sumOfSquares(equations.equations());
    growths = iteration == 1 || error <= before ? 0 : growths + 1;  // NaN counts as growth
    if (growths > kMostGrowths) throw CImgErrorText(kNoSolution.bytes);
    before = error;
    const int code = equations.calcResult(correction.data());
    if (code != 0) throwMathematical(code);
    double largest = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
      x[i] += correction[i];
      largest = std::max(largest, std::abs(correction[i]));
    }
    if (largest <= tolerance) {
      std::copy(x.begin(), x.end(), unknowns);
      return iteration;
    }
  }
  char text[128];
  std::snprintf(text, sizeof text, kNotReached.bytes, maxIterations);
  throw CImgErrorText(text);
}

}  // namespace

int sMatrixList::calcResult(double* solution) const {
  return quorvel::codeWithinMemory([&] { return solveLinear(*list_, solution); });
}

int solveNonLinearEqv(sMatrixList& equations, double* unknowns, int count, LinearisedEquations linearise, void* context,
                      double tolerance, int maxIterations) {
  try {
    return quorvel::withinMemory(
        [&] { return iterate(equations, unknowns, count, linearise, context, tolerance, maxIterations); });
  } catch (const CMatErrorM& error) {
    throwMathematical(error);
  }
}

int trySolveNonLinearEqv(sMatrixList& equations, double* unknowns, int count, LinearisedEquations linearise,
                         void* context, double tolerance, int maxIterations, CImgErrorText& error) {
  try {
    return solveNonLinearEqv(equations, unknowns, count, linearise, context, tolerance, maxIterations);
  } catch (const CImgErrorText& thrown) {
    error = thrown;
    return -1;
  }
}
