// SPDX-License-Identifier: Apache-2.0
// Runs of 16-bit values to scaled floats and back, as they lie between the float transforms and their storage.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "codec/scale.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <algorithm>

#include "codec/rounding-inl.h"
#include "quorvel/codec.h"
#include "simd/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

void scaleMasked(const std::int16_t* HWY_RESTRICT src, float* HWY_RESTRICT dst, float k, std::size_t n,
                 const unsigned char* HWY_RESTRICT mask) {
  forLanes<float>(n, [=](auto d, std::size_t i) HWY_ATTR {
    const hn::RebindToSigned<decltype(d)> d32;
    const auto sample = hn::PromoteTo(d32, hn::LoadU(hn::Rebind<std::int16_t, decltype(d)>(), src + i));
    const auto flags = hn::PromoteTo(d32, hn::LoadU(hn::Rebind<std::uint8_t, decltype(d)>(), mask + i));
    const auto value = hn::ConvertTo(d, sample);
    const auto scaled = hn::Mul(value, hn::Set(d, k));
    const auto rounded = hn::Trunc(hn::Add(scaled, hn::CopySign(hn::Set(d, 0.375f), value)));
    const auto plain = hn::RebindMask(d, hn::Eq(flags, hn::Zero(d32)));
    hn::StoreU(hn::IfThenElse(plain, scaled, rounded), d, dst + i);
  });
}

// `err` may be null, and may be `src`.
void divideRounded(const float* src, std::int16_t* HWY_RESTRICT dst, float* err, float k, std::size_t n) {
  forLanes<float>(n, [=](auto d, std::size_t i) HWY_ATTR {
    const hn::RebindToSigned<decltype(d)> d32;
    const hn::Rebind<std::int16_t, decltype(d)> d16;
    const auto value = hn::LoadU(d, src + i), divisor = hn::Set(d, k);
    const auto whole = limited(d, roundedToNearest(d, hn::Div(value, divisor)), -32768.0f, 32767.0f);
    hn::StoreU(hn::DemoteTo(d16, hn::ConvertTo(d32, whole)), d16, dst + i);
    if (err != nullptr) hn::StoreU(hn::Sub(value, hn::Mul(whole, divisor)), d, err + i);
  });
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {
namespace {

HWY_EXPORT(scaleMasked);
HWY_EXPORT(divideRounded);

}  // namespace
}  // namespace quorvel

using namespace quorvel;

void mulFltOkrug0375V(float* dst, const std::int16_t* src, float k, unsigned n, const unsigned char* mask,
                      unsigned maskStep) {
  if (maskStep == 1) return HWY_DYNAMIC_DISPATCH(scaleMasked)(src, dst, k, n, mask);
  // Masks with gaps, or one byte for all, are first made dense, a part of the run at a time.
  constexpr std::size_t kPart = 256;
  unsigned char dense[kPart];
  for (std::size_t first = 0; first < n; first += kPart) {
    const std::size_t count = std::min(kPart, n - first);
    for (std::size_t i = 0; i < count; ++i) dense[i] = mask[(first + i) * maskStep];
    HWY_DYNAMIC_DISPATCH(scaleMasked)(src + first, dst + first, k, count, dense);
  }
}

void mulFltOkrug0375Vasm(float* dst, const std::int16_t* src, float k, unsigned n, const unsigned char* mask,
                         unsigned maskStep) {
  mulFltOkrug0375V(dst, src, k, n, mask, maskStep);
}

void deMulFltOkrugV(const float* src, std::int16_t* dst, float* err, float k, unsigned n, int /* mode */) {
  HWY_DYNAMIC_DISPATCH(divideRounded)(src, dst, err, k, n);
}

#endif
