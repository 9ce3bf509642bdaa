// SPDX-License-Identifier: Apache-2.0
// Bayer rows as pairs: the two samples of a pair of columns share a 32-bit lane, the one of the even column in its
// lower half. Both can then be summed without wrapping, and a pair of results is put back without shuffling.

// Per-target include guard: the file is read again for every target.
#if defined(QUORVEL_BAYER_PAIRS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef QUORVEL_BAYER_PAIRS_INL_H_
#undef QUORVEL_BAYER_PAIRS_INL_H_
#else
#define QUORVEL_BAYER_PAIRS_INL_H_
#endif

#include <cstdint>
#include <cstring>

#include <hwy/highway.h>

#include "simd/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

// Samples from `p` on that fill the lanes of d, which are wider than a sample; `p` need not be aligned for them.
template <class D>
HWY_INLINE hn::Vec<D> loadSamples(D d, const std::uint16_t* p) {
#if HWY_TARGET == HWY_SCALAR
  hn::TFromD<D> lane;
  std::memcpy(&lane, p, sizeof lane);
  return hn::Set(d, lane);
#else
  return hn::BitCast(d, hn::LoadU(hn::Repartition<std::uint16_t, D>(), p));
#endif
}

template <class V>
HWY_INLINE V evenOf(V pairs) {
  return hn::And(pairs, hn::Set(hn::DFromV<V>(), 0xFFFF));
}

template <class V>
HWY_INLINE V oddOf(V pairs) {
  return hn::ShiftRight<16>(pairs);
}

// Both values are below 65536.
template <class V>
HWY_INLINE V pairOf(V even, V odd) {
  return hn::Or(even, hn::ShiftLeft<16>(odd));
}

template <class D>
HWY_INLINE void storePairs(hn::Vec<D> pairs, [[maybe_unused]] D d, std::uint16_t* p) {
#if HWY_TARGET == HWY_SCALAR
  const auto lane = hn::GetLane(pairs);
  std::memcpy(p, &lane, sizeof lane);
#else
  const hn::Repartition<std::uint16_t, D> d16;
  hn::StoreU(hn::BitCast(d16, pairs), d16, p);
#endif
}

// The pairs at even and at odd places.
template <class V>
struct Sifted {
  V even, odd;
};

template <class D>
HWY_INLINE Sifted<hn::Vec<D>> sifted([[maybe_unused]] D d, hn::Vec<D> lower, hn::Vec<D> upper) {
#if HWY_TARGET != HWY_SCALAR
  if constexpr (hn::MaxLanes(D()) > 1) {
    return {hn::ConcatEven(d, upper, lower), hn::ConcatOdd(d, upper, lower)};
  }
#endif
  return {lower, upper};
}

// Of twice as many pairs from `p` on as d has lanes.
template <class D>
HWY_INLINE Sifted<hn::Vec<D>> loadSifted(D d, const std::uint16_t* p) {
  return sifted(d, loadSamples(d, p), loadSamples(d, p + 2 * hn::Lanes(d)));
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
