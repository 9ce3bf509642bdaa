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

void applyStepsToRow(double* HWY_RESTRICT row, std::size_t n, const double* const* HWY_RESTRICT pivotRows,
                     const double* HWY_RESTRICT factors, int steps) {
  const auto withStep = [](auto d, auto value, auto factor, const double* pivots) HWY_ATTR {
    const auto sum = hn::Add(value, hn::Mul(factor, hn::LoadU(d, pivots)));
    return hn::IfThenZeroElse(hn::Le(hn::Abs(sum), hn::Set(d, kDust)), sum);
  };
  const hn::ScalableTag<double> d;
  const std::size_t lanes = hn::Lanes(d);
  std::size_t i = 0;
  for (; i + 4 * lanes <= n; i += 4 * lanes) {
    auto a = hn::LoadU(d, row + i), b = hn::LoadU(d, row + i + lanes);
    auto c = hn::LoadU(d, row + i + 2 * lanes), e = hn::LoadU(d, row + i + 3 * lanes);
    for (int s = 0; s < steps; ++s) {
      const auto factor = hn::Set(d, factors[s]);
      const double* const pivots = pivotRows[s] + i;
      a = withStep(d, a, factor, pivots);
      b = withStep(d, b, factor, pivots + lanes);
      c = withStep(d, c, factor, pivots + 2 * lanes);
      e = withStep(d, e, factor, pivots + 3 * lanes);
    }
    hn::StoreU(a, d, row + i);
    hn::StoreU(b, d, row + i + lanes);
    hn::StoreU(c, d, row + i + 2 * lanes);
    hn::StoreU(e, d, row + i + 3 * lanes);
  }
  forLanes<double>(n - i, [=](auto tag, std::size_t at) HWY_ATTR {
    auto value = hn::LoadU(tag, row + i + at);
    for (int s = 0; s < steps; ++s) value = withStep(tag, value, hn::Set(tag, factors[s]), pivotRows[s] + i + at);
    hn::StoreU(value, tag, row + i + at);
  });
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
