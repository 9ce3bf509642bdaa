// SPDX-License-Identifier: Apache-2.0
// Exchange steps in vectors. A few vectors of the row or column stay in registers over all steps; each is independent
// of the others and hides their latency.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "numerics/exchange_kernel.cc"
#include "numerics/exchange_kernel.h"

#include <algorithm>
#include <cmath>

#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "simd/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

template <class D>
HWY_INLINE hn::Vec<D> clearDust(D d, hn::Vec<D> values) {
  return hn::IfThenZeroElse(hn::Le(hn::Abs(values), hn::Set(d, kDust)), values);
}

// On kVectors vectors from index i: one array and one number for each step. kSkipZeros: where the array holds 0, the
// step is none.
template <bool kSkipZeros, std::size_t kVectors, class D>
HWY_INLINE void applyStepsToVectors(D d, double* HWY_RESTRICT line, const double* const* HWY_RESTRICT arrays,
                                    const double* HWY_RESTRICT numbers, int steps, std::size_t i) {
  const std::size_t lanes = hn::Lanes(d);
  hn::Vec<D> values[kVectors];
  for (std::size_t v = 0; v < kVectors; ++v) values[v] = hn::LoadU(d, line + i + v * lanes);
  for (int s = 0; s < steps; ++s) {
    const auto number = hn::Set(d, numbers[s]);
    const double* const array = arrays[s] + i;
    for (std::size_t v = 0; v < kVectors; ++v) {
      const auto other = hn::LoadU(d, array + v * lanes);
      const auto stepped = clearDust(d, hn::Add(values[v], hn::Mul(number, other)));
      values[v] = kSkipZeros ? hn::IfThenElse(hn::Eq(other, hn::Zero(d)), values[v], stepped) : stepped;
    }
  }
  for (std::size_t v = 0; v < kVectors; ++v) hn::StoreU(values[v], d, line + i + v * lanes);
}

template <bool kSkipZeros>
HWY_INLINE void applyStepsToLine(double* HWY_RESTRICT line, std::size_t n, const double* const* HWY_RESTRICT arrays,
                                 const double* HWY_RESTRICT numbers, int steps) {
  const hn::ScalableTag<double> d;
  const std::size_t lanes = hn::Lanes(d);
  std::size_t i = 0;
  for (; i + 8 * lanes <= n; i += 8 * lanes) applyStepsToVectors<kSkipZeros, 8>(d, line, arrays, numbers, steps, i);
  if (i + 4 * lanes <= n) {
    applyStepsToVectors<kSkipZeros, 4>(d, line, arrays, numbers, steps, i);
    i += 4 * lanes;
  }
  if (i + 2 * lanes <= n) {
    applyStepsToVectors<kSkipZeros, 2>(d, line, arrays, numbers, steps, i);
    i += 2 * lanes;
  }
  forLanes<double>(n - i, [=](auto tag, std::size_t at) HWY_ATTR {
    applyStepsToVectors<kSkipZeros, 1>(tag, line, arrays, numbers, steps, i + at);
  });
}

void applySteps(double* HWY_RESTRICT row, std::size_t n, const double* const* HWY_RESTRICT pivotRows,
                const double* HWY_RESTRICT factors, int steps) {
  applyStepsToLine<false>(row, n, pivotRows, factors, steps);
}

void applyStepsToColumn(double* HWY_RESTRICT column, std::size_t n, const double* const* HWY_RESTRICT factors,
                        const double* HWY_RESTRICT pivots, int steps) {
  applyStepsToLine<true>(column, n, factors, pivots, steps);
}

void scaleEntries(double* HWY_RESTRICT values, std::size_t n, double factor) {
  forLanes<double>(n, [=](auto d, std::size_t i) HWY_ATTR {
    hn::StoreU(clearDust(d, hn::Mul(hn::LoadU(d, values + i), hn::Set(d, factor))), d, values + i);
  });
}

void divideEntries(const double* HWY_RESTRICT values, std::size_t n, double divisor, double* HWY_RESTRICT quotients) {
  forLanes<double>(n, [=](auto d, std::size_t i) HWY_ATTR {
    const auto value = hn::LoadU(d, values + i);
    const auto quotient = hn::Div(value, hn::Set(d, divisor));
    hn::StoreU(hn::IfThenZeroElse(hn::Eq(value, hn::Zero(d)), quotient), d, quotients + i);
  });
}

double largestMagnitude(const double* HWY_RESTRICT values, const double* HWY_RESTRICT open, std::size_t n) {
  const hn::ScalableTag<double> d;
  auto largestOfLane = hn::Zero(d);
  std::size_t i = 0;
  for (; i + hn::Lanes(d) <= n; i += hn::Lanes(d)) {
    const auto closed = hn::Eq(hn::LoadU(d, open + i), hn::Zero(d));
    const auto magnitude = hn::IfThenZeroElse(closed, hn::Abs(hn::LoadU(d, values + i)));
    largestOfLane = hn::IfThenElse(hn::Gt(magnitude, largestOfLane), magnitude, largestOfLane);
  }
  double lanes[hn::MaxLanes(d)];
  hn::StoreU(largestOfLane, d, lanes);
  double largest = *std::max_element(lanes, lanes + hn::Lanes(d));
  for (; i < n; ++i) {
    if (open[i] != 0) largest = std::max(largest, std::abs(values[i]));
  }
  return largest;
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {
namespace {

HWY_EXPORT(applySteps);
HWY_EXPORT(applyStepsToColumn);
HWY_EXPORT(scaleEntries);
HWY_EXPORT(divideEntries);
HWY_EXPORT(largestMagnitude);

}  // namespace

void applySteps(double* row, std::size_t n, const double* const* pivotRows, const double* factors, int steps) {
  HWY_DYNAMIC_DISPATCH(applySteps)(row, n, pivotRows, factors, steps);
}

void applyStepsToColumn(double* column, std::size_t n, const double* const* factors, const double* pivots, int steps) {
  HWY_DYNAMIC_DISPATCH(applyStepsToColumn)(column, n, factors, pivots, steps);
}

void scaleEntries(double* values, std::size_t n, double factor) {
  HWY_DYNAMIC_DISPATCH(scaleEntries)(values, n, factor);
}

void divideEntries(const double* values, std::size_t n, double divisor, double* quotients) {
  HWY_DYNAMIC_DISPATCH(divideEntries)(values, n, divisor, quotients);
}

double largestMagnitude(const double* values, const double* open, std::size_t n) {
  return HWY_DYNAMIC_DISPATCH(largestMagnitude)(values, open, n);
}

// Extended precision knows no vectors.

void applySteps(long double* row, std::size_t n, const long double* const* pivotRows, const long double* factors,
                int steps) {
  for (std::size_t i = 0; i < n; ++i) {
    long double value = row[i];
    for (int s = 0; s < steps; ++s) value = withoutDust(value + factors[s] * pivotRows[s][i]);
    row[i] = value;
  }
}

void applyStepsToColumn(long double* column, std::size_t n, const long double* const* factors,
                        const long double* pivots, int steps) {
  for (std::size_t i = 0; i < n; ++i) {
    long double value = column[i];
    for (int s = 0; s < steps; ++s) {
      if (factors[s][i] != 0) value = withoutDust(value + pivots[s] * factors[s][i]);
    }
    column[i] = value;
  }
}

void scaleEntries(long double* values, std::size_t n, long double factor) {
  for (std::size_t i = 0; i < n; ++i) values[i] = withoutDust(values[i] * factor);
}

void divideEntries(const long double* values, std::size_t n, long double divisor, long double* quotients) {
  for (std::size_t i = 0; i < n; ++i) quotients[i] = values[i] == 0 ? 0 : values[i] / divisor;
}

long double largestMagnitude(const long double* values, const long double* open, std::size_t n) {
  long double largest = 0;
  for (std::size_t i = 0; i < n; ++i) {
    if (open[i] != 0) largest = std::max(largest, std::abs(values[i]));
  }
  return largest;
}

}  // namespace quorvel

#endif
