// SPDX-License-Identifier: Apache-2.0
// Turns of tiles. A quarter turn is a transposition whose source or destination is walked from its last row to its
// first. It is done in squares that are a cache line wide on both sides: then every line is read once and written once,
// however far apart the rows lie. A square is put together in a small buffer from squares of vectors, and leaves it in
// whole lines.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "geometry/tile_turn.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <cstring>

#include "geometry/tile_mirror.h"
#include "quorvel/geometry.h"
#include "simd/streaming-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

template <typename T>
inline constexpr std::size_t kVectorSide = HWY_TARGET == HWY_SCALAR ? 1 : 16 / sizeof(T);
template <typename T>
inline constexpr std::size_t kLineSide = kLineBytes / sizeof(T);

// dst[x * dstPitch + y] = src[y * srcPitch + x] for x and y below kVectorSide. Merging the halves of the run of all
// samples, sample by sample, moves each bit of a sample's number up by one; after as many merges as a row's number has
// bits, row and column have changed places.
template <typename T>
HWY_INLINE void transposeVectors(const T* src, std::ptrdiff_t srcPitch, T* dst, std::ptrdiff_t dstPitch) {
#if HWY_TARGET == HWY_SCALAR
  static_cast<void>(srcPitch), static_cast<void>(dstPitch);
  *dst = *src;
#else
  constexpr std::size_t kSide = kVectorSide<T>;
  const hn::FixedTag<T, kSide> d;
  hn::Vec<decltype(d)> rows[kSide], merged[kSide];
  for (std::size_t i = 0; i < kSide; ++i) rows[i] = hn::LoadU(d, src + static_cast<std::ptrdiff_t>(i) * srcPitch);
  for (std::size_t bit = 1; bit < kSide; bit *= 2) {
    for (std::size_t i = 0; i < kSide / 2; ++i) {
      merged[2 * i] = hn::InterleaveLower(d, rows[i], rows[i + kSide / 2]);
      merged[2 * i + 1] = hn::InterleaveUpper(d, rows[i], rows[i + kSide / 2]);
    }
    for (std::size_t i = 0; i < kSide; ++i) rows[i] = merged[i];
  }
  for (std::size_t i = 0; i < kSide; ++i) hn::StoreU(rows[i], d, dst + static_cast<std::ptrdiff_t>(i) * dstPitch);
#endif
}

template <typename T>
HWY_INLINE void transposeLines(const T* src, std::ptrdiff_t srcPitch, T* dst, std::ptrdiff_t dstPitch, bool streamed) {
  constexpr std::size_t kSide = kLineSide<T>, kStep = kVectorSide<T>;
  alignas(kLineBytes) T square[kSide * kSide];
  for (std::size_t y = 0; y < kSide; y += kStep) {
    for (std::size_t x = 0; x < kSide; x += kStep) {
      transposeVectors(src + static_cast<std::ptrdiff_t>(y) * srcPitch + x, srcPitch, square + x * kSide + y,
                       std::ptrdiff_t{kSide});
    }
  }
  for (std::size_t x = 0; x < kSide; ++x, dst += dstPitch) {
    const hn::ScalableTag<T> d;
    const T* line = square + x * kSide;
    for (std::size_t i = 0; i < kSide; i += hn::Lanes(d)) {
      if (streamed) {
        hn::Stream(hn::Load(d, line + i), d, dst + i);
      } else {
        hn::StoreU(hn::Load(d, line + i), d, dst + i);
      }
    }
  }
}

// Calls body(x, y) for the corners of squares that cover width x height samples; the last ones are drawn back to end
// with the tile, and so cover some samples twice.
template <typename Body>
HWY_INLINE void forSquares(std::size_t side, std::size_t width, std::size_t height, Body&& body) {
  for (std::size_t y = 0; y < height; y += side) {
    for (std::size_t x = 0; x < width; x += side) {
      body(x + side <= width ? x : width - side, y + side <= height ? y : height - side);
    }
  }
}

// dst[x * dstPitch + y] = src[y * srcPitch + x]; pitches may be negative.
template <typename T>
HWY_INLINE void transpose(const T* HWY_RESTRICT src, std::ptrdiff_t srcPitch, std::size_t width, std::size_t height,
                          T* HWY_RESTRICT dst, std::ptrdiff_t dstPitch) {
  const auto from = [=](std::size_t x, std::size_t y) { return src + static_cast<std::ptrdiff_t>(y) * srcPitch + x; };
  const auto to = [=](std::size_t x, std::size_t y) { return dst + static_cast<std::ptrdiff_t>(x) * dstPitch + y; };
  if (width >= kLineSide<T> && height >= kLineSide<T>) {
    const bool large = kTargetStreams && width * height * sizeof(T) >= kStreamedBytes &&
                       static_cast<std::size_t>(dstPitch) % kLineSide<T> == 0;
    forSquares(kLineSide<T>, width, height, [=](std::size_t x, std::size_t y) HWY_ATTR {
      T* const out = to(x, y);
      const bool wholeLines = reinterpret_cast<std::uintptr_t>(out) % kLineBytes == 0;
      transposeLines(from(x, y), srcPitch, out, dstPitch, large && wholeLines);
    });
    if (large) hwy::FlushStream();
  } else if (width >= kVectorSide<T> && height >= kVectorSide<T>) {
    forSquares(kVectorSide<T>, width, height, [=](std::size_t x, std::size_t y) HWY_ATTR {
      transposeVectors(from(x, y), srcPitch, to(x, y), dstPitch);
    });
  } else {
    forSquares(1, width, height, [=](std::size_t x, std::size_t y) HWY_ATTR { *to(x, y) = *from(x, y); });
  }
}

void transpose8(const std::uint8_t* src, std::ptrdiff_t srcPitch, std::size_t width, std::size_t height,
                std::uint8_t* dst, std::ptrdiff_t dstPitch) {
  transpose(src, srcPitch, width, height, dst, dstPitch);
}

void transpose16(const std::uint16_t* src, std::ptrdiff_t srcPitch, std::size_t width, std::size_t height,
                 std::uint16_t* dst, std::ptrdiff_t dstPitch) {
  transpose(src, srcPitch, width, height, dst, dstPitch);
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {
namespace {

HWY_EXPORT(transpose8);
HWY_EXPORT(transpose16);

template <typename T>
void transposeTile(const T* src, std::ptrdiff_t srcPitch, std::size_t width, std::size_t height, T* dst,
                   std::ptrdiff_t dstPitch) {
  if constexpr (sizeof(T) == 1) {
    HWY_DYNAMIC_DISPATCH(transpose8)(src, srcPitch, width, height, dst, dstPitch);
  } else {
    HWY_DYNAMIC_DISPATCH(transpose16)(src, srcPitch, width, height, dst, dstPitch);
  }
}

template <typename T>
int turn90(const T* src, unsigned srcPitch, unsigned width, unsigned height, T* dst, unsigned dstPitch) {
  if (width == 0 || height == 0) return 0;
  const auto pitch = static_cast<std::ptrdiff_t>(srcPitch);
  transposeTile(src + static_cast<std::ptrdiff_t>(height - 1) * pitch, -pitch, width, height, dst,
                static_cast<std::ptrdiff_t>(dstPitch));
  return 0;
}

template <typename T>
int turn270(const T* src, unsigned srcPitch, unsigned width, unsigned height, T* dst, unsigned dstPitch) {
  if (width == 0 || height == 0) return 0;
  const auto pitch = static_cast<std::ptrdiff_t>(dstPitch);
  transposeTile(src, static_cast<std::ptrdiff_t>(srcPitch), width, height,
                dst + static_cast<std::ptrdiff_t>(width - 1) * pitch, -pitch);
  return 0;
}

template <typename T>
int turn180(const T* src, std::size_t srcPitch, std::size_t width, std::size_t height, T* dst, std::size_t dstPitch) {
  if (width == srcPitch && width == dstPitch) {  // both are dense: one long row
    width *= height;
    height = 1;
  }
  if (src == dst) {
    for (std::size_t y = 0; y < height / 2; ++y) {
      exchangeMirrored(dst + y * dstPitch, dst + (height - 1 - y) * dstPitch, width);
    }
    if (height % 2 != 0) mirrorInPlace(dst + height / 2 * dstPitch, width);
  } else {
    for (std::size_t y = 0; y < height; ++y) mirrorRow(src + (height - 1 - y) * srcPitch, dst + y * dstPitch, width);
  }
  return 0;
}

}  // namespace
}  // namespace quorvel

#define QUORVEL_TURN(name, turn, T)                                                                       \
  int name(const T* src, unsigned srcPitch, unsigned width, unsigned height, T* dst, unsigned dstPitch) { \
    return quorvel::turn(src, srcPitch, width, height, dst, dstPitch);                                    \
  }
QUORVEL_TURN(tileTurn90_8_8, turn90, std::uint8_t)
QUORVEL_TURN(tileTurn90_16_16, turn90, std::uint16_t)
QUORVEL_TURN(tileTurn180_8_8, turn180, std::uint8_t)
QUORVEL_TURN(tileTurn180_16_16, turn180, std::uint16_t)
QUORVEL_TURN(tileTurn270_8_8, turn270, std::uint8_t)
QUORVEL_TURN(tileTurn270_16_16, turn270, std::uint16_t)
#undef QUORVEL_TURN

#endif
