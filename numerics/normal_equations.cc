// SPDX-License-Identifier: Apache-2.0
// The driver of normal equations: scale, invert by exchange steps, multiply, refine once.
#include <algorithm>
#include <cmath>
#include <memory>

#include "numerics/settings.h"
#include "numerics/simplex_access.h"
#include "numerics/twofold.h"
#include "numerics/within_memory.h"
#include "quorvel/numerics.h"

namespace {

using quorvel::Halves;
using quorvel::SimplexAccess;
using quorvel::Tableau;
using quorvel::Twofold;

enum Vector : std::size_t { kSides, kSolution, kCorrection, kScale, kSum, kLost, kHigh, kLow, kVectors };

// Vectors of n entries: in the caller's frame up to 1024 unknowns, which spares small systems the heap, and on the heap
// above that.
template <typename T>
class WorkVectors {
 public:
  explicit WorkVectors(int n) : n_(static_cast<std::size_t>(n)) {
    if (n_ > kFixed) heap_.reset(new T[kVectors * n_]);
  }
  T* operator[](Vector v) { return heap_ ? heap_.get() + v * n_ : fixed_[v]; }

 private:
  static constexpr std::size_t kFixed = 1024;

  std::size_t n_;
  std::unique_ptr<T[]> heap_;
  T fixed_[kVectors][kFixed];
};

// The power of 2 that brings a magnitude between 1/4 and 2 when it multiplies rows and columns both.
template <typename T>
T scaleOf(long double magnitude) {
  int exponent;
  std::frexp(magnitude, &exponent);
  return std::ldexp(T{1}, -(exponent / 2));
}

// By its diagonal an unknown is measured in units of its own precision. Where the diagonal is 0, as for the multiplier
// of a condition, the largest entry of the row, with the other unknowns scaled, is brought close to 1.
template <typename T>
void findScale(const sMatrixLD& normal, T* scale) {
  const int n = normal.rows;
  std::fill_n(scale, n, T{1});
  for (int i = 0; i < n; ++i) {
    if (normal(i, i) != 0) scale[i] = scaleOf<T>(std::abs(normal(i, i)));
  }
  for (int i = 0; i < n; ++i) {
    if (normal(i, i) != 0) continue;
    long double largest = 0;
    for (int j = 0; j < n; ++j) {
      if (normal(j, j) != 0) largest = std::max(largest, std::abs(normal(i, j) * scale[j]));
    }
    if (largest > 0) scale[i] = scaleOf<T>(largest * largest);
  }
}

// scale * (a column of the scaled unknown j) as high + low, the nearest numbers of type T and what they leave.
template <typename T>
void scaledColumn(const long double* column, const T* scale, T unknown, int n, T* high, T* low) {
  for (int i = 0; i < n; ++i) {
    const long double value = column[i] * scale[i] * unknown;  // by powers of 2: exact
    high[i] = static_cast<T>(value);
    low[i] = static_cast<T>(value - high[i]);
  }
}

// sides = b - A x of the scaled system, in twice the precision. An extended element is two numbers of type double.
template <typename T>
void residual(const sMatrixLD& A, const sMatrixLD& b, WorkVectors<T>& work) {
  const int n = A.rows;
  const T *const x = work[kSolution], *const scale = work[kScale];
  T *const sum = work[kSum], *const lost = work[kLost], *const sides = work[kSides];
  T *const high = work[kHigh], *const low = work[kLow];
  scaledColumn(b.data(), scale, T{1}, n, sum, lost);
  for (int j = 0; j < n; ++j) {
    scaledColumn(A.data() + static_cast<std::size_t>(j) * static_cast<std::size_t>(n), scale, scale[j], n, high, low);
    const T factor = -x[j];
    const Halves<T> halves(factor);
    for (int i = 0; i < n; ++i) {  // apart from the extended numbers, so that compilers find the vectors in it
      Twofold<T> row{sum[i], lost[i]};
      row.addProduct(high[i], factor, halves);
      sum[i] = row.sum;
      lost[i] = row.lost + low[i] * factor;
    }
  }
  for (int i = 0; i < n; ++i) sides[i] = sum[i] + lost[i];
}

template <typename T>
T largestMagnitude(const T* values, int n) {
  T largest = 0;
  for (int i = 0; i < n; ++i) {
    if (!(std::abs(values[i]) <= largest)) largest = std::abs(values[i]);  // NaN stays
  }
  return largest;
}

// The reason against a solution as a mathematical code, or 0.
template <typename T>
int solve(CVarDescList& variables, CSimplexProgram& program, const sMatrixLD& normal, const sMatrixLD& b, T* result) {
  const int n = normal.rows;
  if (n == 0) return matErrorZeroDimension;
  if (normal.columns != n) return matErrorDimensionsXY;
  if (b.size() < static_cast<std::size_t>(n)) return matErrorDimensionsYY;
  variables.reset(n);
  WorkVectors<T> work(n);
  T *const scale = work[kScale], *const x = work[kSolution], *const d = work[kCorrection];
  findScale(normal, scale);

  Tableau<T>& tableau = SimplexAccess::fresh<T>(program, n, n);
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < n; ++j) {
      // Two products by powers of 2, neither of which rounds: only the conversion does.
      tableau.entry(i, j) = static_cast<T>(normal(i, j) * scale[i] * scale[j]);
    }
    work[kSides][i] = static_cast<T>(b.data()[i] * scale[i]);
  }
  if (!tableau.invert(static_cast<T>(quorvel::linearPrecision()))) return matErrorZeroDeterminant;
  for (int i = 0; i < n; ++i) variables[tableau.rowVariable(i)].position = i;

  tableau.multiply(work[kSides], x);
  residual(normal, b, work);
  tableau.multiply(work[kSides], d);
  // A correction as large as the solution tells that the inverse holds nothing but noise.
  if (!(largestMagnitude(d, n) <= largestMagnitude(x, n) / 2)) return matErrorZeroDeterminant;
  for (int i = 0; i < n; ++i) result[i] = (x[i] + d[i]) * scale[i];
  return 0;
}

template <typename T>
int drive(CVarDescList& variables, CSimplexProgram& program, const sMatrixLD& normal, const sMatrixLD& b, T* result,
          int& status) {
  status = quorvel::codeWithinMemory([&] { return solve(variables, program, normal, b, result); });
  return status == 0 ? 0 : imgErrorEquationSystem;
}

}  // namespace

int solveEqvD(CVarDescList& variables, CSimplexProgram& program, const sMatrixLD& normal,
              const sMatrixLD& rightHandSide, double* solution, int& status) {
  return drive(variables, program, normal, rightHandSide, solution, status);
}

int solveEqvLD(CVarDescList& variables, CSimplexProgram& program, const sMatrixLD& normal,
               const sMatrixLD& rightHandSide, long double* solution, int& status) {
  return drive(variables, program, normal, rightHandSide, solution, status);
}

int solveEqvD2(const sMatrixLD& normal, const sMatrixLD& rightHandSide, double* solution, int& status) {
  CVarDescList variables;
  CSimplexProgram program;
  return solveEqvD(variables, program, normal, rightHandSide, solution, status);
}

int solveEqvLD2(const sMatrixLD& normal, const sMatrixLD& rightHandSide, long double* solution, int& status) {
  CVarDescList variables;
  CSimplexProgram program;
  return solveEqvLD(variables, program, normal, rightHandSide, solution, status);
}
