// SPDX-License-Identifier: Apache-2.0
// Kernels over split rows: walking whole vectors, and putting the two halves of a row together again.

// Per-target include guard: the file is read again for every target.
#if defined(QUORVEL_BAYER_SPLIT_ROWS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef QUORVEL_BAYER_SPLIT_ROWS_INL_H_
#undef QUORVEL_BAYER_SPLIT_ROWS_INL_H_
#else
#define QUORVEL_BAYER_SPLIT_ROWS_INL_H_
#endif

#include <cstring>

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "bayer/demosaic.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using SampleTag = hn::ScalableTag<std::int16_t>;
using Samples = hn::Vec<SampleTag>;

template <class V>
HWY_INLINE V clippedTo12Bits(V v) {
  const hn::DFromV<V> d;
  return hn::Min(hn::Max(v, hn::Zero(d)), hn::Set(d, 4095));
}

// Calls body(d, i) for whole vectors until `halfLength` values are covered. The rows' room takes the surplus lanes.
template <typename Body>
HWY_INLINE void forWholeVectors(std::size_t halfLength, Body&& body) {
  const SampleTag d;
  for (std::size_t i = 0; i < halfLength; i += hn::Lanes(d)) body(d, static_cast<std::ptrdiff_t>(i));
}

// Asks the memory for `count` columns of row y, if there is such a row, while there is other work to do: hardware looks
// ahead only as far as the next page.
HWY_INLINE void prefetchColumns(const BayerFrame& frame, std::size_t y, std::size_t first, std::size_t count) {
  constexpr std::size_t kLine = 64 / sizeof(std::uint16_t);
  if (y >= frame.height) return;
  for (std::size_t x = 0; x < count; x += kLine) hwy::Prefetch(frame.row(y) + first + x);
}

template <class V>
struct Site {
  V green, own, other;
};

// The sites of a vector of column pairs: the green ones and the others.
template <class V>
struct SitePair {
  Site<V> atGreen, atOther;
};

// kGreenHalf is the parity of the columns where the row is green.
template <unsigned kGreenHalf, class V>
HWY_INLINE void storePair(V atGreen, V atOther, std::uint16_t* out) {
  const hn::RebindToUnsigned<hn::DFromV<V>> d;
  const auto green = hn::BitCast(d, atGreen), other = hn::BitCast(d, atOther);
  if constexpr (kGreenHalf == 0) {
    hn::StoreInterleaved2(green, other, d, out);
  } else {
    hn::StoreInterleaved2(other, green, d, out);
  }
}

// Calls body(d, i), which makes a SitePair of the column pairs i, i + 1, ..., and writes `count` columns from the even
// column `first` on to `out`.
template <unsigned kGreenHalf, typename Body>
HWY_INLINE void forOutputVectors(std::size_t first, std::size_t count, const RowColours& out, Body&& body) {
  const SampleTag d;
  const std::size_t columns = 2 * hn::Lanes(d);
  const auto pair = [&](std::size_t x)
                        HWY_ATTR -> SitePair<Samples> { return body(d, static_cast<std::ptrdiff_t>((first + x) / 2)); };
  std::size_t x = 0;
  for (; x + columns <= count; x += columns) {
    const SitePair<Samples> site = pair(x);
    storePair<kGreenHalf>(site.atGreen.green, site.atOther.green, out.green + x);
    storePair<kGreenHalf>(site.atGreen.own, site.atOther.own, out.own + x);
    storePair<kGreenHalf>(site.atGreen.other, site.atOther.other, out.other + x);
  }
  if (x == count) return;
  const SitePair<Samples> site = pair(x);
  const auto storeEnd = [=](Samples atGreen, Samples atOther, std::uint16_t* plane) HWY_ATTR {
    HWY_ALIGN std::uint16_t whole[2 * hn::MaxLanes(d)];
    storePair<kGreenHalf>(atGreen, atOther, whole);
    std::memcpy(plane + x, whole, (count - x) * sizeof(std::uint16_t));
  };
  storeEnd(site.atGreen.green, site.atOther.green, out.green);
  storeEnd(site.atGreen.own, site.atOther.own, out.own);
  storeEnd(site.atGreen.other, site.atOther.other, out.other);
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
