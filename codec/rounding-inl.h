// SPDX-License-Identifier: Apache-2.0
// Floats to whole numbers, with the same bits on every processor.

// Per-target include guard: the file is read again for every target.
#if defined(QUORVEL_CODEC_ROUNDING_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef QUORVEL_CODEC_ROUNDING_INL_H_
#undef QUORVEL_CODEC_ROUNDING_INL_H_
#else
#define QUORVEL_CODEC_ROUNDING_INL_H_
#endif

#include <hwy/highway.h>

#include "simd/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

// Halves away from zero. The fraction is exact, where adding a half first would round 0.49999997 up.
template <typename D>
HWY_INLINE hn::Vec<D> roundedToNearest(D d, hn::Vec<D> v) {
  const auto whole = hn::Trunc(v);
  const auto up = hn::Ge(hn::Abs(hn::Sub(v, whole)), hn::Set(d, 0.5f));
  return hn::Add(whole, hn::IfThenElseZero(up, hn::CopySign(hn::Set(d, 1.0f), v)));
}

// By comparisons, because processors differ in what the minimum of a number and a NaN is. NaN gives `low`.
template <typename D>
HWY_INLINE hn::Vec<D> limited(D d, hn::Vec<D> v, float low, float high) {
  const auto atLeast = hn::IfThenElse(hn::Gt(v, hn::Set(d, low)), v, hn::Set(d, low));
  return hn::IfThenElse(hn::Lt(atLeast, hn::Set(d, high)), atLeast, hn::Set(d, high));
}

// What comes out of a transform of 8-bit samples, limited to -128..127: rounded toward zero it is what roundedToNearest
// gives. The greatest float below a half brings halves up to the next whole number, and nothing less. NaN gives -128.
template <typename D>
HWY_INLINE hn::Vec<D> sampleLevel(D d, hn::Vec<D> v) {
  return limited(d, hn::Add(v, hn::CopySign(hn::Set(d, 0x1.fffffep-2f), v)), -128.0f, 127.0f);
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
