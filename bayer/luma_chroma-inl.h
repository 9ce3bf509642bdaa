// SPDX-License-Identifier: Apache-2.0
// Lane arithmetic of the luminance/chroma conversions. A cell is a lane of 32 bits.

// Per-target include guard: the file is read again for every target.
#if defined(QUORVEL_BAYER_LUMA_CHROMA_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef QUORVEL_BAYER_LUMA_CHROMA_INL_H_
#undef QUORVEL_BAYER_LUMA_CHROMA_INL_H_
#else
#define QUORVEL_BAYER_LUMA_CHROMA_INL_H_
#endif

#include <hwy/highway.h>

#include "bayer/luma_chroma.h"
#include "bayer/pairs-inl.h"
#include "simd/streaming-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

template <class V>
struct Cell {
  V g1, r, b, g2;
};

template <class V>
struct PlaneValues {
  V y1, y2, cb, cr;
};

// Of the pairs of samples that each cell has in its rows.
template <class D, class V>
HWY_INLINE Cell<V> cellOf(D d, V top, V bottom) {
  const auto odd = [=](V pairs)
                       HWY_ATTR { return hn::BitCast(d, oddOf(hn::BitCast(hn::RebindToUnsigned<D>(), pairs))); };
  return {evenOf(top), odd(top), evenOf(bottom), odd(bottom)};
}

// sum + first * first + second * second over pairs of signed 16-bit halves.
template <class D, class V>
HWY_INLINE V addProducts(D d, V pairs, std::int32_t packedWeights, V sum) {
#if HWY_ARCH_X86 && HWY_TARGET != HWY_SCALAR
  // Highway leaves open which of its two sums takes a product; here, it is one instruction that adds neighbours.
  const hn::Repartition<std::int16_t, D> d16;
  V none = hn::Zero(d);
  return hn::ReorderWidenMulAccumulate(d, hn::BitCast(d16, pairs), hn::BitCast(d16, hn::Set(d, packedWeights)), sum,
                                       none);
#else
  const auto first = hn::ShiftRight<16>(hn::ShiftLeft<16>(pairs)), second = hn::ShiftRight<16>(pairs);
  return hn::Add(hn::Add(sum, hn::Mul(first, hn::Set(d, static_cast<std::int16_t>(packedWeights & 0xFFFF)))),
                 hn::Mul(second, hn::Set(d, packedWeights >> 16)));
#endif
}

template <class V>
HWY_INLINE V clampedTo(V v, const Range& range) {
  const hn::DFromV<V> d;
  return hn::Max(hn::Min(v, hn::Set(d, range.high)), hn::Set(d, range.low));
}

// sum / 2^kShift + whole, rounded to nearest and halves away from zero. The sum may be unsigned and use all its bits:
// only its fraction is added to, and `whole` decides with it which side of zero the value is on.
template <int kShift, class V, class W>
HWY_INLINE W roundedShift(V sum, W whole) {
  const hn::DFromV<W> d;
  const W down = hn::Add(hn::BitCast(d, hn::ShiftRight<kShift>(sum)), whole);
  const W fraction = hn::And(hn::BitCast(d, sum), hn::Set(d, (1 << kShift) - 1));
  const W half = hn::Add(hn::Set(d, 1 << (kShift - 1)), hn::BroadcastSignBit(down));
  return hn::Add(down, hn::ShiftRight<kShift>(hn::Add(fraction, half)));
}

// A colour of float planes as a sample 0..high: v + 0.5 truncated, which rounds what is not negative to nearest with
// halves away from zero; what is negative, and what is no number, gives 0.
template <class DF, class VF>
HWY_INLINE auto sampleOf(DF df, VF v, float high) {
  const VF up = hn::Add(v, hn::Set(df, 0.5f));
  const VF positive = hn::IfThenElseZero(hn::Gt(up, hn::Zero(df)), up);
  return hn::ConvertTo(hn::RebindToSigned<DF>(), hn::Min(positive, hn::Set(df, high)));
}

template <class V>
struct Colour {
  V r, g, b;
};

// The float forms round after every operation, from left to right; none is fused.
template <class DF, class VF>
HWY_INLINE Colour<VF> colourOf(DF df, VF y, VF cb, VF cr, float offset) {
  const VF level = hn::Add(y, hn::Set(df, offset));
  const auto times = [=](float k, VF v) HWY_ATTR { return hn::Mul(hn::Set(df, k), v); };
  return {hn::Add(level, times(1.402f, cr)), hn::Sub(hn::Sub(level, times(0.34414f, cb)), times(0.71414f, cr)),
          hn::Add(level, times(1.772f, cb))};
}

template <class DF, class VF>
HWY_INLINE VF luminanceOf(DF df, VF r, VF g, VF b, float offset) {
  const auto times = [=](float k, VF v) HWY_ATTR { return hn::Mul(hn::Set(df, k), v); };
  return hn::Sub(hn::Add(hn::Add(times(0.299f, r), times(0.587f, g)), times(0.114f, b)), hn::Set(df, offset));
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
