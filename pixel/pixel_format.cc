// SPDX-License-Identifier: Apache-2.0
// Pixels into pixels of another format: three bytes and four, 16-bit colour words, and bits.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pixel/pixel_format.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "quorvel/pixel.h"
#include "simd/streaming-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

template <bool kReverse>
HWY_INLINE void widen3to4(const std::uint8_t* HWY_RESTRICT src, std::uint8_t* dst, std::size_t n) {
  const std::array sources = {reads<3>(src)};
  writeRow<std::uint8_t, 4>(n, std::array{dst}, sources, [=](auto d, std::size_t i, const auto& out) HWY_ATTR {
    hn::Vec<decltype(d)> c0, c1, c2;
    hn::LoadInterleaved3(d, src + 3 * i, c0, c1, c2);
    hn::StoreInterleaved4(kReverse ? c2 : c0, c1, kReverse ? c0 : c2, hn::Zero(d), d, out[0]);
  });
}

void widenReversed(const std::uint8_t* src, std::uint8_t* dst, std::size_t n) { widen3to4<true>(src, dst, n); }
void widenInOrder(const std::uint8_t* src, std::uint8_t* dst, std::size_t n) { widen3to4<false>(src, dst, n); }

void narrow4to3(const std::uint8_t* HWY_RESTRICT src, std::uint8_t* dst, std::size_t n) {
  const std::array sources = {reads<4>(src)};
  writeRow<std::uint8_t, 3>(n, std::array{dst}, sources, [=](auto d, std::size_t i, const auto& out) HWY_ATTR {
    hn::Vec<decltype(d)> c0, c1, c2, dropped;
    hn::LoadInterleaved4(d, src + 4 * i, c0, c1, c2, dropped);
    hn::StoreInterleaved3(c0, c1, c2, d, out[0]);
  });
}

// Colour words: red in the highest five bits in use, then green of kGreenBits, then blue of five. The low bits of a
// channel are cut off. Three-byte pixels are R, G, B; four-byte pixels are B, G, R and a byte without meaning.
template <int kGreenBits, bool kFromBmp32>
HWY_INLINE void toHiColor(const std::uint8_t* HWY_RESTRICT src, std::uint16_t* dst, std::size_t n) {
  constexpr std::size_t kSourceBytes = kFromBmp32 ? 4 : 3;
  const std::array sources = {reads<kSourceBytes>(src)};
  writeRow<std::uint16_t, 1>(n, std::array{dst}, sources, [=](auto d, std::size_t i, const auto& out) HWY_ATTR {
    const hn::Rebind<std::uint8_t, decltype(d)> d8;
    hn::Vec<decltype(d8)> r8, g8, b8, unused;
    if constexpr (kFromBmp32) {
      hn::LoadInterleaved4(d8, src + 4 * i, b8, g8, r8, unused);
    } else {
      hn::LoadInterleaved3(d8, src + 3 * i, r8, g8, b8);
    }
    const auto r = hn::ShiftRight<3>(hn::PromoteTo(d, r8));
    const auto g = hn::ShiftRight<8 - kGreenBits>(hn::PromoteTo(d, g8));
    const auto b = hn::ShiftRight<3>(hn::PromoteTo(d, b8));
    hn::StoreU(hn::Or(hn::Or(hn::ShiftLeft<5 + kGreenBits>(r), hn::ShiftLeft<5>(g)), b), d, out[0]);
  });
}

void rgbTo555(const std::uint8_t* src, std::uint16_t* dst, std::size_t n) { toHiColor<5, false>(src, dst, n); }
void rgbTo565(const std::uint8_t* src, std::uint16_t* dst, std::size_t n) { toHiColor<6, false>(src, dst, n); }
void bmp32To555(const std::uint8_t* src, std::uint16_t* dst, std::size_t n) { toHiColor<5, true>(src, dst, n); }
void bmp32To565(const std::uint8_t* src, std::uint16_t* dst, std::size_t n) { toHiColor<6, true>(src, dst, n); }

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {
namespace {

HWY_EXPORT(widenReversed);
HWY_EXPORT(widenInOrder);
HWY_EXPORT(narrow4to3);
HWY_EXPORT(rgbTo555);
HWY_EXPORT(rgbTo565);
HWY_EXPORT(bmp32To555);
HWY_EXPORT(bmp32To565);

// The eight pixels of every byte of bits. One look-up and one store for eight pixels keep up with memory.
constexpr auto kPixelsOfByte = [] {
  std::array<std::array<std::uint8_t, 8>, 256> pixels{};
  for (unsigned byte = 0; byte < 256; ++byte) {
    for (unsigned i = 0; i < 8; ++i) pixels[byte][i] = (byte << i & 0x80) != 0 ? 255 : 0;
  }
  return pixels;
}();

}  // namespace
}  // namespace quorvel

using namespace quorvel;

void copy8_3to4(const std::uint8_t* src, std::uint8_t* dst, unsigned n) {
  HWY_DYNAMIC_DISPATCH(widenReversed)(src, dst, n);
}

void copy8_3to4_rgb(const std::uint8_t* src, std::uint8_t* dst, unsigned n) {
  HWY_DYNAMIC_DISPATCH(widenInOrder)(src, dst, n);
}

void copy8rgba_to8rgb(const std::uint8_t* src, unsigned n, std::uint8_t* dst) {
  HWY_DYNAMIC_DISPATCH(narrow4to3)(src, dst, n);
}

int RGBtoHiColor555_MMX(const std::uint8_t* src, std::uint16_t* dst, unsigned n) {
  HWY_DYNAMIC_DISPATCH(rgbTo555)(src, dst, n);
  return 0;
}

int RGBtoHiColor565_MMX(const std::uint8_t* src, std::uint16_t* dst, unsigned n) {
  HWY_DYNAMIC_DISPATCH(rgbTo565)(src, dst, n);
  return 0;
}

int BMP32toHiColor_MMX(const std::uint8_t* src, std::uint16_t* dst, unsigned n, int greenBits) {
  if (greenBits == 5) {
    HWY_DYNAMIC_DISPATCH(bmp32To555)(src, dst, n);
  } else if (greenBits == 6) {
    HWY_DYNAMIC_DISPATCH(bmp32To565)(src, dst, n);
  } else {
    return -1;
  }
  return 0;
}

int convertBit1To8(const std::uint8_t* src, std::uint8_t* dst, unsigned srcStride, unsigned width, unsigned height) {
  const std::size_t bytes = width / 8, rest = width % 8;
  for (std::size_t row = 0; row < height; ++row, src += srcStride, dst += width) {
    for (std::size_t i = 0; i < bytes; ++i) std::memcpy(dst + 8 * i, kPixelsOfByte[src[i]].data(), 8);
    if (rest != 0) std::memcpy(dst + 8 * bytes, kPixelsOfByte[src[bytes]].data(), rest);
  }
  return 0;
}

#endif
