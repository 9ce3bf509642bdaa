// SPDX-License-Identifier: Apache-2.0
// Pixels into planes: all channels at once, flat or from the rows of a larger image, or one field of every pixel.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pixel/deinterleave.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "quorvel/pixel.h"
#include "simd/streaming-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

// The first three of kChannels channels of rows of pixels, `stride` samples apart, into planes without gaps. Samples
// that go into wider planes are extended with zeros.
template <std::size_t kChannels, typename In, typename Out>
HWY_INLINE void toPlanes(const In* HWY_RESTRICT src, std::size_t stride, std::size_t width, std::size_t rows,
                         const std::array<Out*, 3>& planes) {
  const std::array sources = {reads<kChannels>(src, stride)};
  writeRows<Out, 1>(rows, width, planes, sources, [=](auto d, std::size_t row, std::size_t i, auto& out) HWY_ATTR {
    const hn::Rebind<In, decltype(d)> dIn;
    const In* const pixels = src + row * stride + kChannels * i;
    hn::Vec<decltype(dIn)> c0, c1, c2, dropped;
    if constexpr (kChannels == 3) {
      hn::LoadInterleaved3(dIn, pixels, c0, c1, c2);
    } else {
      hn::LoadInterleaved4(dIn, pixels, c0, c1, c2, dropped);
    }
    if constexpr (sizeof(In) == sizeof(Out)) {
      hn::StoreU(c0, d, out[0]);
      hn::StoreU(c1, d, out[1]);
      hn::StoreU(c2, d, out[2]);
    } else {
      hn::StoreU(hn::PromoteTo(d, c0), d, out[0]);
      hn::StoreU(hn::PromoteTo(d, c1), d, out[1]);
      hn::StoreU(hn::PromoteTo(d, c2), d, out[2]);
    }
  });
}

using BytePlanes = std::array<std::uint8_t*, 3>;
using WordPlanes = std::array<std::uint16_t*, 3>;

void planesOfBytes3(const std::uint8_t* src, std::size_t stride, std::size_t width, std::size_t rows,
                    const BytePlanes& planes) {
  toPlanes<3>(src, stride, width, rows, planes);
}

void planesOfBytes4(const std::uint8_t* src, std::size_t n, const BytePlanes& planes) {
  toPlanes<4>(src, 0, n, 1, planes);
}

void planesOfWords3(const std::uint16_t* src, std::size_t n, const WordPlanes& planes) {
  toPlanes<3>(src, 0, n, 1, planes);
}

void wordPlanesOfBytes3(const std::uint8_t* src, std::size_t stride, std::size_t width, std::size_t rows,
                        const WordPlanes& planes) {
  toPlanes<3>(src, stride, width, rows, planes);
}

// dst[i] = src[3i]. Vectors stop before the last pixel, for they would read the two samples behind its first.
void everyThirdByte(const std::uint8_t* HWY_RESTRICT src, std::uint8_t* dst, std::size_t n) {
  if (n == 0) return;
  const std::array sources = {reads<3>(src)};
  writeRow<std::uint8_t, 1>(n - 1, std::array{dst}, sources, [=](auto d, std::size_t i, const auto& out) HWY_ATTR {
    hn::Vec<decltype(d)> wanted, c1, c2;
    hn::LoadInterleaved3(d, src + 3 * i, wanted, c1, c2);
    hn::StoreU(wanted, d, out[0]);
  });
  dst[n - 1] = src[3 * (n - 1)];
}

// dst[i] = the word that starts `offset` bytes into pixel i. A word at an odd offset is put together from the two
// that it lies across; the last pixel's is read byte by byte, as nothing behind it may be touched.
void wordsAtByteOffset(const std::uint16_t* src, int offset, std::uint16_t* dst, std::size_t n) {
  if (n == 0) return;
  const std::uint16_t* HWY_RESTRICT words = src + (offset >> 1);
  const bool straddles = (offset & 1) != 0;
  const std::array sources = {reads<3>(words)};
  writeRow<std::uint16_t, 1>(n - 1, std::array{dst}, sources, [=](auto d, std::size_t i, const auto& out) HWY_ATTR {
    hn::Vec<decltype(d)> first, second, third;
    hn::LoadInterleaved3(d, words + 3 * i, first, second, third);
    if (straddles) first = hn::Or(hn::ShiftRight<8>(first), hn::ShiftLeft<8>(second));
    hn::StoreU(first, d, out[0]);
  });
  std::memcpy(dst + n - 1, reinterpret_cast<const std::uint8_t*>(src + 3 * (n - 1)) + offset, sizeof(std::uint16_t));
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

#include <utility>

namespace quorvel {
namespace {

HWY_EXPORT(planesOfBytes3);
HWY_EXPORT(planesOfBytes4);
HWY_EXPORT(planesOfWords3);
HWY_EXPORT(wordPlanesOfBytes3);
HWY_EXPORT(everyThirdByte);
HWY_EXPORT(wordsAtByteOffset);

constexpr int kBadSize = -1;

// The kSize bytes at the start of `src` and every 12 bytes further on, one behind the other.
template <std::size_t kSize>
void fieldsOf12(const std::uint8_t* src, std::uint8_t* dst, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) std::memcpy(dst + kSize * i, src + 12 * i, kSize);
}

// One for each size, so that every copy of a field is of a size that the compiler knows.
constexpr auto kFieldsOf12 = []<std::size_t... kSizes>(std::index_sequence<kSizes...>) {
  return std::array{&fieldsOf12<kSizes>...};
}
(std::make_index_sequence<13>{});

}  // namespace
}  // namespace quorvel

using namespace quorvel;

void copy8_1_1(int channel, const std::uint8_t* src, std::uint8_t* dst, unsigned n) {
  HWY_DYNAMIC_DISPATCH(everyThirdByte)(src + channel, dst, n);
}

void copy16_1_1(int channel, const std::uint16_t* src, std::uint16_t* dst, unsigned n) {
  const std::size_t whole = n / 8 * std::size_t{8};  // the pixels of whole groups take the channel as a byte offset
  HWY_DYNAMIC_DISPATCH(wordsAtByteOffset)(src, channel, dst, whole);
  for (std::size_t i = whole; i < n; ++i) dst[i] = src[static_cast<std::ptrdiff_t>(3 * i) + channel];
}

void copy8_1_3(const std::uint8_t* src, std::uint8_t* d0, std::uint8_t* d1, std::uint8_t* d2, unsigned n) {
  HWY_DYNAMIC_DISPATCH(planesOfBytes3)(src, 0, n, 1, {d0, d1, d2});
}

int copy8_3_toPlane(const std::uint8_t* src, std::uint8_t* d0, std::uint8_t* d1, std::uint8_t* d2, unsigned n) {
  if (n < 2) return kBadSize;
  copy8_1_3(src, d0, d1, d2, n);
  return 0;
}

int copy8_3_toPlane_tile(const std::uint8_t* src, std::uint8_t* d0, std::uint8_t* d1, std::uint8_t* d2,
                         unsigned srcStride, unsigned width, unsigned height) {
  if (width % 2 != 0) return kBadSize;
  HWY_DYNAMIC_DISPATCH(planesOfBytes3)(src, srcStride, width, height, {d0, d1, d2});
  return 0;
}

int copy8_16_3_toPlane(const std::uint8_t* src, std::uint16_t* d0, std::uint16_t* d1, std::uint16_t* d2,
                       unsigned srcStride, unsigned width, unsigned height) {
  if (width % 2 != 0) return kBadSize;
  HWY_DYNAMIC_DISPATCH(wordPlanesOfBytes3)(src, srcStride, width, height, {d0, d1, d2});
  return 0;
}

int copy8_4_toPlane(const std::uint32_t* src, std::uint8_t* d0, std::uint8_t* d1, std::uint8_t* d2, unsigned n) {
  if (n < 2) return kBadSize;
  HWY_DYNAMIC_DISPATCH(planesOfBytes4)(reinterpret_cast<const std::uint8_t*>(src), n, {d0, d1, d2});
  return 0;
}

int copy16_3_toPlane(const std::uint16_t* src, std::uint16_t* d0, std::uint16_t* d1, std::uint16_t* d2, unsigned n) {
  if (n < 4) return kBadSize;
  HWY_DYNAMIC_DISPATCH(planesOfWords3)(src, n, {d0, d1, d2});
  return 0;
}

int copy1_12N(int offset, unsigned size, const std::uint8_t* src, std::uint8_t* dst, unsigned n) {
  if (offset < 0 || offset > 12 || size > 12u - static_cast<unsigned>(offset)) return kBadSize;
  kFieldsOf12[size](src + offset, dst, n);
  return 0;
}

int copy1_12DW(int offset, const std::uint8_t* src, std::uint32_t* dst, unsigned n) {
  return copy1_12N(offset, sizeof(*dst), src, reinterpret_cast<std::uint8_t*>(dst), n);
}

int copy1_12QW(int offset, const std::uint8_t* src, std::uint64_t* dst, unsigned n) {
  return copy1_12N(offset, sizeof(*dst), src, reinterpret_cast<std::uint8_t*>(dst), n);
}

#endif
