// SPDX-License-Identifier: Apache-2.0
// Planes into pixels: channels that lie apart are woven into pixels of three or four samples, or laid over the fourth
// channel of pixels that stand already.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pixel/interleave.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "quorvel/pixel.h"
#include "simd/streaming-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

template <typename T>
HWY_INLINE void weave3(const T* HWY_RESTRICT s0, const T* HWY_RESTRICT s1, const T* HWY_RESTRICT s2, T* dst,
                       std::size_t n) {
  const std::array sources = {reads<1>(s0), reads<1>(s1), reads<1>(s2)};
  writeRow<T, 3>(n, std::array{dst}, sources, [=](auto d, std::size_t i, const auto& out) HWY_ATTR {
    hn::StoreInterleaved3(hn::LoadU(d, s0 + i), hn::LoadU(d, s1 + i), hn::LoadU(d, s2 + i), d, out[0]);
  });
}

void weave3Bytes(const std::uint8_t* s0, const std::uint8_t* s1, const std::uint8_t* s2, std::uint8_t* dst,
                 std::size_t n) {
  weave3(s0, s1, s2, dst, n);
}

void weave3Words(const std::uint16_t* s0, const std::uint16_t* s1, const std::uint16_t* s2, std::uint16_t* dst,
                 std::size_t n) {
  weave3(s0, s1, s2, dst, n);
}

void weave3AndZero(const std::uint8_t* HWY_RESTRICT s0, const std::uint8_t* HWY_RESTRICT s1,
                   const std::uint8_t* HWY_RESTRICT s2, std::uint8_t* dst, std::size_t n) {
  const std::array sources = {reads<1>(s0), reads<1>(s1), reads<1>(s2)};
  writeRow<std::uint8_t, 4>(n, std::array{dst}, sources, [=](auto d, std::size_t i, const auto& out) HWY_ATTR {
    hn::StoreInterleaved4(hn::LoadU(d, s0 + i), hn::LoadU(d, s1 + i), hn::LoadU(d, s2 + i), hn::Zero(d), d, out[0]);
  });
}

void appendAlpha(const std::uint8_t* HWY_RESTRICT rgb, const std::uint8_t* HWY_RESTRICT alpha, std::uint8_t* dst,
                 std::size_t n) {
  const std::array sources = {reads<3>(rgb), reads<1>(alpha)};
  writeRow<std::uint8_t, 4>(n, std::array{dst}, sources, [=](auto d, std::size_t i, const auto& out) HWY_ATTR {
    hn::Vec<decltype(d)> r, g, b;
    hn::LoadInterleaved3(d, rgb + 3 * i, r, g, b);
    hn::StoreInterleaved4(r, g, b, hn::LoadU(d, alpha + i), d, out[0]);
  });
}

// Lanes of alpha as bytes; words above 255 give 255.
template <class D8>
HWY_INLINE hn::Vec<D8> loadAlpha(D8 d, const std::uint8_t* alpha) {
  return hn::LoadU(d, alpha);
}

template <class D8>
HWY_INLINE hn::Vec<D8> loadAlpha(D8 d, const std::uint16_t* alpha) {
  const hn::Rebind<std::uint16_t, D8> d16;
  return hn::TruncateTo(d, hn::Min(hn::LoadU(d16, alpha), hn::Set(d16, 255)));
}

// `dst` may be `rgba` itself. Lanes are of Alpha's width, so that neither load is wider than a vector.
template <typename Alpha>
HWY_INLINE void replaceAlpha(const std::uint8_t* rgba, const Alpha* HWY_RESTRICT alpha, std::uint8_t* dst,
                             std::size_t n) {
  const auto body = [=](auto lanes, std::size_t i, const auto& out) HWY_ATTR {
    const hn::Rebind<std::uint8_t, decltype(lanes)> d;
    hn::Vec<decltype(d)> r, g, b, old;
    hn::LoadInterleaved4(d, rgba + 4 * i, r, g, b, old);
    hn::StoreInterleaved4(r, g, b, loadAlpha(d, alpha + i), d, out[0]);
  };
  if (rgba == dst) {  // the lines were just read: storing them again costs less than sending them past the caches
    forLanes<Alpha>(n, [=](auto d, std::size_t i) HWY_ATTR { body(d, i, std::array{dst + 4 * i}); });
  } else {
    writeRow<Alpha, 4>(n, std::array{dst}, std::array{reads<4>(rgba), reads<1>(alpha)}, body);
  }
}

void replaceAlphaBytes(const std::uint8_t* rgba, const std::uint8_t* alpha, std::uint8_t* dst, std::size_t n) {
  replaceAlpha(rgba, alpha, dst, n);
}

void replaceAlphaWords(const std::uint8_t* rgba, const std::uint16_t* alpha, std::uint8_t* dst, std::size_t n) {
  replaceAlpha(rgba, alpha, dst, n);
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {
namespace {

HWY_EXPORT(weave3Bytes);
HWY_EXPORT(weave3Words);
HWY_EXPORT(weave3AndZero);
HWY_EXPORT(appendAlpha);
HWY_EXPORT(replaceAlphaBytes);
HWY_EXPORT(replaceAlphaWords);

}  // namespace
}  // namespace quorvel

using namespace quorvel;

void copy8_3_1(const std::uint8_t* s0, const std::uint8_t* s1, const std::uint8_t* s2, std::uint8_t* dst, unsigned n) {
  HWY_DYNAMIC_DISPATCH(weave3Bytes)(s0, s1, s2, dst, n);
}

void copy8_4_1(const std::uint8_t* s0, const std::uint8_t* s1, const std::uint8_t* s2, std::uint8_t* dst, unsigned n) {
  HWY_DYNAMIC_DISPATCH(weave3AndZero)(s0, s1, s2, dst, n);
}

void copy16_3_1(const std::uint16_t* s0, const std::uint16_t* s1, const std::uint16_t* s2, std::uint16_t* dst,
                unsigned n) {
  HWY_DYNAMIC_DISPATCH(weave3Words)(s0, s1, s2, dst, n);
}

void copy8rgb_8a_to8rgba(const std::uint8_t* rgb, const std::uint8_t* alpha, unsigned n, std::uint8_t* dst) {
  HWY_DYNAMIC_DISPATCH(appendAlpha)(rgb, alpha, dst, n);
}

void copy8rgba_replace_8a_SSE(const std::uint8_t* rgba, const std::uint8_t* alpha, unsigned n, std::uint8_t* dst) {
  HWY_DYNAMIC_DISPATCH(replaceAlphaBytes)(rgba, alpha, dst, n);
}

void copy8rgba_replace_8a_SSE_(const std::uint8_t* rgba, const std::uint8_t* alpha, unsigned n, std::uint8_t* dst) {
  copy8rgba_replace_8a_SSE(rgba, alpha, n, dst);
}

void copy8rgba_replace_16a_SSE(const std::uint8_t* rgba, const std::uint16_t* alpha, unsigned n, std::uint8_t* dst) {
  HWY_DYNAMIC_DISPATCH(replaceAlphaWords)(rgba, alpha, dst, n);
}

void copy8rgba_replace_16a_SSE_(const std::uint8_t* rgba, const std::uint16_t* alpha, unsigned n, std::uint8_t* dst) {
  copy8rgba_replace_16a_SSE(rgba, alpha, n, dst);
}

#endif
