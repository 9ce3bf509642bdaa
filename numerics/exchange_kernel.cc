// SPDX-License-Identifier: Apache-2.0
// Several exchange steps on one row: multiply, add and clear dust, never fused, in the order of the steps. A few
// vectors of the row stay in registers over all steps; the next vectors are independent of them and hide the latency.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "numerics/exchange_kernel.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "numerics/tableau.h"
#include "simd/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

// On kVectors vectors of the row from index i.
template <std::size_t kVectors, class D>
HWY_INLINE void applyStepsToVectors(D d, double* HWY_RESTRICT row, const double* const* HWY_RESTRICT pivotRows,
                                    const double* HWY_RESTRICT factors, int steps, std::size_t i) {
  const std::size_t lanes = hn::Lanes(d);
  const auto dust = hn::Set(d, kDust);
  hn::Vec<D> values[kVectors];
  for (std::size_t v = 0; v < kVectors; ++v) values[v] = hn::LoadU(d, row + i + v * lanes);
  for (int s = 0; s < steps; ++s) {
    const auto factor = hn::Set(d, factors[s]);
    const double* const pivots = pivotRows[s] + i;
    for (std::size_t v = 0; v < kVectors; ++v) {
      const auto pivot = hn::LoadU(d, pivots + v * lanes);
      const auto sum = hn::Add(values[v], hn::Mul(factor, pivot));
      values[v] = hn::IfThenZeroElse(hn::Le(hn::Abs(sum), dust), sum);
    }
  }
  for (std::size_t v = 0; v < kVectors; ++v) hn::StoreU(values[v], d, row + i + v * lanes);
}

void applyStepsToRow(double* HWY_RESTRICT row, std::size_t n, const double* const* HWY_RESTRICT pivotRows,
                     const double* HWY_RESTRICT factors, int steps) {
  const hn::ScalableTag<double> d;
  const std::size_t lanes = hn::Lanes(d);
  std::size_t i = 0;
  for (; i + 8 * lanes <= n; i += 8 * lanes) applyStepsToVectors<8>(d, row, pivotRows, factors, steps, i);
  if (i + 4 * lanes <= n) {
    applyStepsToVectors<4>(d, row, pivotRows, factors, steps, i);
    i += 4 * lanes;
  }
  if (i + 2 * lanes <= n) {
    applyStepsToVectors<2>(d, row, pivotRows, factors, steps, i);
    i += 2 * lanes;
  }
  forLanes<double>(n - i, [=](auto tag, std::size_t at)
                              HWY_ATTR { applyStepsToVectors<1>(tag, row, pivotRows, factors, steps, i + at); });
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {
namespace {

HWY_EXPORT(applyStepsToRow);

}  // namespace

void applySteps(double* row, std::size_t n, const double* const* pivotRows, const double* factors, int steps) {
  HWY_DYNAMIC_DISPATCH(applyStepsToRow)(row, n, pivotRows, factors, steps);
}

void applySteps(long double* row, std::size_t n, const long double* const* pivotRows, const long double* factors,
                int steps) {
  for (std::size_t i = 0; i < n; ++i) {
    long double value = row[i];
    for (int s = 0; s < steps; ++s) value = withoutDust(value + factors[s] * pivotRows[s][i]);
    row[i] = value;
  }
}

}  // namespace quorvel

#endif
