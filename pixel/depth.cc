// SPDX-License-Identifier: Apache-2.0
// Bit depth: 16-bit samples of 12, 14 or any number of significant bits to bytes, and back.
// Every kernel is one pass of plain 16-bit lane arithmetic, so that wrap and saturation are those of the lane and not
// of a wider type. Frames are far larger than the caches: what counts is that each byte moves once.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pixel/depth.cc"
#include <algorithm>

#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "quorvel/pixel.h"
#include "simd/streaming-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

// dst[i] = narrow(d, v) for every sample, v the vector of samples and d its tag.
template <typename Narrow>
HWY_INLINE void narrowRow(const std::uint16_t* HWY_RESTRICT src, std::uint8_t* dst, std::size_t n, Narrow narrow) {
  const std::array sources = {reads<1>(src)};
  writeRow<std::uint16_t, 1>(n, std::array{dst}, sources, [=](auto d, std::size_t i, const auto& out) HWY_ATTR {
    const hn::Rebind<std::uint8_t, decltype(d)> d8;
    hn::StoreU(narrow(d, hn::LoadU(d, src + i)), d8, out[0]);
  });
}

// (v + half) >> bits, limited to 255; the sum wraps at 16 bits.
void narrowRounded(const std::uint16_t* HWY_RESTRICT src, std::uint8_t* HWY_RESTRICT dst, std::size_t n,
                   std::uint16_t half, int bits) {
  narrowRow(src, dst, n, [=](auto d, auto v) HWY_ATTR {
    const hn::RebindToSigned<decltype(d)> di;
    // The narrowing itself takes its lanes as signed.
    const auto limited = hn::Min(hn::ShiftRightSame(hn::Add(v, hn::Set(d, half)), bits), hn::Set(d, 255));
    return hn::DemoteTo(hn::Rebind<std::uint8_t, decltype(d)>(), hn::BitCast(di, limited));
  });
}

void narrowTruncated(const std::uint16_t* HWY_RESTRICT src, std::uint8_t* HWY_RESTRICT dst, std::size_t n, int bits) {
  narrowRow(src, dst, n, [=](auto d, auto v) HWY_ATTR {
    return hn::TruncateTo(hn::Rebind<std::uint8_t, decltype(d)>(), hn::ShiftRightSame(v, bits));
  });
}

// The upper half of the signed product of factor and (v - low, not below 0), limited to 0..255.
void narrowScaled(const std::uint16_t* HWY_RESTRICT src, std::uint8_t* HWY_RESTRICT dst, std::size_t n,
                  std::uint16_t low, std::int16_t factor) {
  narrowRow(src, dst, n, [=](auto d, auto v) HWY_ATTR {
    const hn::RebindToSigned<decltype(d)> di;
    const auto above = hn::BitCast(di, hn::SaturatedSub(v, hn::Set(d, low)));
    return hn::DemoteTo(hn::Rebind<std::uint8_t, decltype(d)>(), hn::MulHigh(above, hn::Set(di, factor)));
  });
}

void narrowLong(const std::int32_t* HWY_RESTRICT src, std::int16_t* HWY_RESTRICT dst, std::size_t n) {
  forLanes<std::int32_t>(n, [=](auto d, std::size_t i) HWY_ATTR {
    const hn::Rebind<std::int16_t, decltype(d)> d16;
    hn::StoreU(hn::DemoteTo(d16, hn::LoadU(d, src + i)), d16, dst + i);
  });
}

template <typename From, typename To>
HWY_INLINE void widenSamples(const From* HWY_RESTRICT src, To* dst, std::size_t n, int bits) {
  const std::array sources = {reads<1>(src)};
  writeRow<To, 1>(n, std::array{dst}, sources, [=](auto d, std::size_t i, const auto& out) HWY_ATTR {
    const hn::Rebind<From, decltype(d)> d8;
    hn::StoreU(hn::ShiftLeftSame(hn::PromoteTo(d, hn::LoadU(d8, src + i)), bits), d, out[0]);
  });
}

void widen(const std::uint8_t* HWY_RESTRICT src, std::uint16_t* HWY_RESTRICT dst, std::size_t n, int bits) {
  widenSamples(src, dst, n, bits);
}

void widenSigned(const std::int8_t* HWY_RESTRICT src, std::int16_t* HWY_RESTRICT dst, std::size_t n, int bits) {
  widenSamples(src, dst, n, bits);
}

// The low byte of each pixel's fourth component; returns the bits set in any of them.
std::uint16_t takeFourth(const std::uint16_t* HWY_RESTRICT src, std::uint8_t* HWY_RESTRICT dst, std::size_t n) {
  const hn::ScalableTag<std::uint16_t> full;
  HWY_ALIGN std::uint16_t seen[hn::MaxLanes(full)] = {};
  forLanes<std::uint16_t>(n, [=, &seen](auto d, std::size_t i) HWY_ATTR {
    const hn::Rebind<std::uint8_t, decltype(d)> d8;
    hn::Vec<decltype(d)> first, second, third, fourth;
    hn::LoadInterleaved4(d, src + 4 * i, first, second, third, fourth);
    hn::Store(hn::Or(hn::Load(d, seen), fourth), d, seen);
    hn::StoreU(hn::TruncateTo(d8, fourth), d8, dst + i);
  });
  std::uint16_t all = 0;
  for (const std::uint16_t lane : seen) all |= lane;
  return all;
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {
namespace {

HWY_EXPORT(narrowRounded);
HWY_EXPORT(narrowTruncated);
HWY_EXPORT(narrowLong);
HWY_EXPORT(narrowScaled);
HWY_EXPORT(widen);
HWY_EXPORT(widenSigned);
HWY_EXPORT(takeFourth);

constexpr unsigned kGroup = 8;  // samples that the rules treat as one
constexpr int kRefused = -1;

// The leading samples that fill no group keep the low byte of the rounded shift; the groups behind them saturate.
int narrowSplit(const std::uint16_t* src, std::uint8_t* dst, unsigned n, std::uint16_t half, int bits) {
  const unsigned leading = n % kGroup;
  for (unsigned i = 0; i < leading; ++i) dst[i] = static_cast<std::uint8_t>((src[i] + half) >> bits);
  HWY_DYNAMIC_DISPATCH(narrowRounded)(src + leading, dst + leading, n - leading, half, bits);
  return 0;
}

// A count that shifts every bit of a 16-bit lane out, negative ones included, leaves 0. Said here, because processors
// and the language differ beyond 15.
bool shiftsAllOut(int bits) { return bits < 0 || bits > 15; }

template <typename From, typename To, typename Kernel>
int shifted(Kernel kernel, const From* src, To* dst, unsigned n, int bits) {
  if (shiftsAllOut(bits)) {
    std::fill_n(dst, n, To{0});
  } else {
    kernel(src, dst, n, bits);
  }
  return 0;
}

// The gain in 1/1024, truncated, as the low 16 bits of a 32-bit integer. A gain that no such integer holds, NaN
// included, gives 0: a black tile shows what a wrapped gain would hide.
std::int16_t gainFactor(double gain) {
  const double scaled = gain * 1024.0;
  if (!(scaled > -2147483649.0 && scaled < 2147483648.0)) return 0;
  return static_cast<std::int16_t>(static_cast<std::int32_t>(scaled));
}

}  // namespace
}  // namespace quorvel

using namespace quorvel;

int conv12to8MMX(const std::uint16_t* src, std::uint8_t* dst, unsigned n) { return narrowSplit(src, dst, n, 8, 4); }

int conv14to8MMX(const std::uint16_t* src, std::uint8_t* dst, unsigned n) { return narrowSplit(src, dst, n, 32, 6); }

int convNto8MMX(const std::uint16_t* src, std::uint8_t* dst, unsigned n, int shift) {
  return shifted(HWY_DYNAMIC_DISPATCH(narrowTruncated), src, dst, n, shift);
}

// `finish` asks for the end of a run of multimedia instructions; the vector units in use here have no such state.
int conv12to8MMX11(const std::uint16_t* src, std::uint8_t* dst, unsigned n, int /*finish*/) {
  return n % kGroup != 0 ? kRefused : narrowSplit(src, dst, n, 0, 0);
}

int conv8to12MMX11(const std::uint8_t* src, std::uint16_t* dst, unsigned n, int /*finish*/) {
  return n % kGroup != 0 ? kRefused : conv8toN_MMX(src, dst, n, 0);
}

int conv8to12MMX(const std::uint8_t* src, std::uint16_t* dst, unsigned n) { return conv8toN_MMX(src, dst, n, 4); }

int conv8toN_MMX(const std::uint8_t* src, std::uint16_t* dst, unsigned n, int shift) {
  return shifted(HWY_DYNAMIC_DISPATCH(widen), src, dst, n, shift);
}

int conv8stoN_MMX(const char* src, std::int16_t* dst, unsigned n, int shift) {
  // Plain `char` has a sign on some platforms only; the samples always have one.
  return shifted(HWY_DYNAMIC_DISPATCH(widenSigned), reinterpret_cast<const std::int8_t*>(src), dst, n, shift);
}

int conv32to16lowMMX(const std::int32_t* src, std::int16_t* dst, unsigned n) {
  if (n % 4 != 0) return kRefused;
  HWY_DYNAMIC_DISPATCH(narrowLong)(src, dst, n);
  return 0;
}

int convTileNto8MMX(std::uint16_t lowLevel, double gain, const std::uint16_t* src, unsigned width, unsigned height,
                    unsigned srcStride, std::uint8_t* dst) {
  const std::int16_t factor = gainFactor(gain);
  // Dense rows are one long row.
  const std::size_t rowLength = srcStride == width ? std::size_t{width} * height : width;
  const unsigned rows = srcStride == width ? 1 : height;
  for (std::size_t y = 0; y < rows; ++y) {
    HWY_DYNAMIC_DISPATCH(narrowScaled)(src + y * srcStride, dst + y * width, rowLength, lowLevel, factor);
  }
  return 0;
}

int copy16rgba_to8_MMX(const std::uint16_t* src, unsigned n, std::uint8_t* dst) {
  return HWY_DYNAMIC_DISPATCH(takeFourth)(src, dst, n);
}

#endif
