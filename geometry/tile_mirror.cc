// SPDX-License-Identifier: Apache-2.0
// Mirrors of rows: from one row to another, and two rows that change places. A row in place is the second, applied to
// its halves.
#include "geometry/tile_mirror.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "geometry/tile_mirror.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "quorvel/geometry.h"
#include "simd/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

template <class D, class V>
HWY_INLINE V reversed(D d, V v) {
  if constexpr (hn::MaxLanes(D()) == 1) {
    return v;
  } else if constexpr (sizeof(hn::TFromD<D>) == 1) {  // pairs first, then the bytes of each
    const hn::Repartition<std::uint16_t, D> pairs;
    const auto turned = hn::Reverse(pairs, hn::BitCast(pairs, v));
    return hn::BitCast(d, hn::Or(hn::ShiftLeft<8>(turned), hn::ShiftRight<8>(turned)));
  } else {
    return hn::Reverse(d, v);
  }
}

template <typename T>
HWY_INLINE void mirror(const T* HWY_RESTRICT src, T* HWY_RESTRICT dst, std::size_t n) {
  forLanesOverlapped<T>(n, [=](auto d, std::size_t i) HWY_ATTR {
    hn::StoreU(reversed(d, hn::LoadU(d, src + (n - i - hn::Lanes(d)))), d, dst + i);
  });
}

template <typename T>
HWY_INLINE void exchange(T* HWY_RESTRICT a, T* HWY_RESTRICT b, std::size_t n) {
  forLanes<T>(n, [=](auto d, std::size_t i) HWY_ATTR {
    T* const opposite = b + (n - i - hn::Lanes(d));
    const auto fromA = hn::LoadU(d, a + i), fromB = hn::LoadU(d, opposite);
    hn::StoreU(reversed(d, fromB), d, a + i);
    hn::StoreU(reversed(d, fromA), d, opposite);
  });
}

void mirror8(const std::uint8_t* src, std::uint8_t* dst, std::size_t n) { mirror(src, dst, n); }
void mirror16(const std::uint16_t* src, std::uint16_t* dst, std::size_t n) { mirror(src, dst, n); }
void exchange8(std::uint8_t* a, std::uint8_t* b, std::size_t n) { exchange(a, b, n); }
void exchange16(std::uint16_t* a, std::uint16_t* b, std::size_t n) { exchange(a, b, n); }

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {
namespace {

HWY_EXPORT(mirror8);
HWY_EXPORT(mirror16);
HWY_EXPORT(exchange8);
HWY_EXPORT(exchange16);

template <typename T>
int mirrorAnywhere(const T* src, T* dst, std::size_t n) {
  if (src == dst) {
    mirrorInPlace(dst, n);
  } else {
    mirrorRow(src, dst, n);
  }
  return 0;
}

}  // namespace

void mirrorRow(const std::uint8_t* src, std::uint8_t* dst, std::size_t n) {
  HWY_DYNAMIC_DISPATCH(mirror8)(src, dst, n);
}

void mirrorRow(const std::uint16_t* src, std::uint16_t* dst, std::size_t n) {
  HWY_DYNAMIC_DISPATCH(mirror16)(src, dst, n);
}

void exchangeMirrored(std::uint8_t* a, std::uint8_t* b, std::size_t n) { HWY_DYNAMIC_DISPATCH(exchange8)(a, b, n); }

void exchangeMirrored(std::uint16_t* a, std::uint16_t* b, std::size_t n) { HWY_DYNAMIC_DISPATCH(exchange16)(a, b, n); }

}  // namespace quorvel

int tileMirrorX8_8_EMMX(const std::uint8_t* src, std::uint8_t* dst, unsigned n) {
  return quorvel::mirrorAnywhere(src, dst, n);
}

int tileMirrorX16_16_EMMX(const std::uint16_t* src, std::uint16_t* dst, unsigned n) {
  return quorvel::mirrorAnywhere(src, dst, n);
}

#endif
