// SPDX-License-Identifier: Apache-2.0
// Pixels of three samples as integers of four: 3 bytes as the low ones of 32 bits, 3 words as those of 64. Compiled
// once for each target. Twelve bytes of memory become sixteen in a register, and back.

#ifndef QUORVEL_SIMD_PIXELS_ONCE
#define QUORVEL_SIMD_PIXELS_ONCE
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace quorvel {

// Byte i of a block of 16: where it lies in the 12 bytes of its pixels, or the mark of a byte 0. And back.
inline constexpr std::uint8_t kZeroByte = 0x80;
alignas(16) inline constexpr std::uint8_t kWidenBytes[16] = {0, 1, 2, kZeroByte, 3, 4,  5,  kZeroByte,
                                                             6, 7, 8, kZeroByte, 9, 10, 11, kZeroByte};
alignas(16) inline constexpr std::uint8_t kWidenWords[16] = {0, 1, 2, 3, 4,  5,  kZeroByte, kZeroByte,
                                                             6, 7, 8, 9, 10, 11, kZeroByte, kZeroByte};
alignas(16) inline constexpr std::uint8_t kNarrowBytes[16] = {
    0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, kZeroByte, kZeroByte, kZeroByte, kZeroByte};
alignas(16) inline constexpr std::uint8_t kNarrowWords[16] = {
    0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, kZeroByte, kZeroByte, kZeroByte, kZeroByte};

// The bytes of a pixel in memory.
template <typename Word>
inline constexpr std::size_t kPixelBytes = sizeof(Word) / 4 * 3;

}  // namespace quorvel
#endif

// Per-target include guard: the file is read again for every target.
#if defined(QUORVEL_SIMD_PIXELS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef QUORVEL_SIMD_PIXELS_INL_H_
#undef QUORVEL_SIMD_PIXELS_INL_H_
#else
#define QUORVEL_SIMD_PIXELS_INL_H_
#endif

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// One pixel, reading and writing just its bytes.
template <typename Word>
HWY_INLINE Word loadPixel(const std::uint8_t* from) {
  Word pixel = 0;
  std::memcpy(&pixel, from, kPixelBytes<Word>);
  return pixel;
}
template <typename Word>
HWY_INLINE void storePixel(Word pixel, std::uint8_t* to) {
  std::memcpy(to, &pixel, kPixelBytes<Word>);
}

#if HWY_TARGET != HWY_SCALAR

// The 32-bit lanes of a register in the order that gives every block of 16 bytes its 12, or takes them together again.
template <class D32>
HWY_INLINE auto spread(D32 d) {
  alignas(HWY_MAX_BYTES) std::int32_t from[HWY_MAX_BYTES / 4] = {};
  for (std::size_t i = 0; i < hn::Lanes(d); ++i) from[i] = static_cast<std::int32_t>(i / 4 * 3 + i % 4 % 3);
  return hn::SetTableIndices(d, from);
}
template <class D32>
HWY_INLINE auto gathered(D32 d) {
  alignas(HWY_MAX_BYTES) std::int32_t from[HWY_MAX_BYTES / 4] = {};
  const std::size_t kept = hn::Lanes(d) / 4 * 3;
  for (std::size_t i = 0; i < kept; ++i) from[i] = static_cast<std::int32_t>(i / 3 * 4 + i % 3);
  return hn::SetTableIndices(d, from);
}

// The lower three quarters of a register, and nothing beyond.
template <class D8>
HWY_INLINE void storeThreeQuarters(D8 d, hn::Vec<D8> v, std::uint8_t* to) {
  const hn::Half<D8> half;
  const hn::Half<decltype(half)> quarter;
  hn::StoreU(hn::LowerHalf(half, v), half, to);
  hn::StoreU(hn::LowerHalf(quarter, hn::UpperHalf(half, v)), quarter, to + hn::Lanes(half));
}

#endif

// Replaces every pixel of a row by convert(d, p), p being pixels as `Word`s and d their tag. `dst` may be `src`. Reads
// and writes nothing beyond the row.
template <typename Word, typename Convert>
HWY_INLINE void forPixels(const std::uint8_t* src, std::uint8_t* dst, std::size_t n, Convert&& convert) {
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<Word> d;
  const hn::ScalableTag<std::uint8_t> d8;
  const hn::ScalableTag<std::uint32_t> d32;
  const std::size_t pixels = hn::Lanes(d), bytes = hn::Lanes(d8);
  const auto widen = hn::LoadDup128(d8, sizeof(Word) == 4 ? kWidenBytes : kWidenWords);
  const auto narrow = hn::LoadDup128(d8, sizeof(Word) == 4 ? kNarrowBytes : kNarrowWords);
  const auto apart = spread(d32), together = gathered(d32);
  // A register is loaded whole, though its last quarter is of the pixels behind: they have to be there.
  for (; n * kPixelBytes<Word> >= bytes; n -= pixels) {
    const auto packed = hn::TableLookupLanes(hn::BitCast(d32, hn::LoadU(d8, src)), apart);
    const auto p = hn::BitCast(d, hn::TableLookupBytesOr0(hn::BitCast(d8, packed), widen));
    const auto out = hn::TableLookupBytesOr0(hn::BitCast(d8, convert(d, p)), narrow);
    storeThreeQuarters(d8, hn::BitCast(d8, hn::TableLookupLanes(hn::BitCast(d32, out), together)), dst);
    src += pixels * kPixelBytes<Word>;
    dst += pixels * kPixelBytes<Word>;
  }
#endif
  const hn::CappedTag<Word, 1> single;
  for (; n != 0; --n) {
    const auto p = hn::Set(single, loadPixel<Word>(src));
    storePixel(hn::GetLane(convert(single, p)), dst);
    src += kPixelBytes<Word>;
    dst += kPixelBytes<Word>;
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
