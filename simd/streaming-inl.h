// SPDX-License-Identifier: Apache-2.0
// Rows whose results are too many to stay in the caches: they go to memory past them, in whole cache lines, which saves
// reading every line before it is overwritten, and what they are made from is called for early. A kernel does not
// notice: it writes where it is told to, into the destination itself or into a few lines that are then streamed. The
// results do not depend on the road.

// Per-target include guard: the file is read again for every target.
#if defined(QUORVEL_SIMD_STREAMING_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef QUORVEL_SIMD_STREAMING_INL_H_
#undef QUORVEL_SIMD_STREAMING_INL_H_
#else
#define QUORVEL_SIMD_STREAMING_INL_H_
#endif

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "simd/lanes-inl.h"
#include "simd/strided_rows.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

// Elsewhere Highway's streaming store is an ordinary one, and the way through the lines would only cost.
inline constexpr bool kTargetStreams = HWY_ARCH_X86 != 0 && HWY_TARGET != HWY_SCALAR;
// Results from this size on are streamed. Measured with second-level caches of 2 MiB, ordinary stores win up to 1 MiB
// of results and streaming ones from 2 MiB on, by 1.2 and more at 4 MiB; in between, results that are read again at
// once are better left in the caches.
inline constexpr std::size_t kStreamedBytes = std::size_t{4} << 20;
// Pixels made before their lines go out: whole vectors on every target, and small beside the first-level cache.
inline constexpr std::size_t kPixelsPerBlock = 256;
// How far ahead of the block in work its sources are called for: measured best, from 2 to 8 blocks nearly alike.
inline constexpr std::size_t kPixelsAhead = 4 * kPixelsPerBlock;
inline constexpr std::size_t kLineBytes = 64;

// What a kernel reads for the pixels of its rows. Only streamed rows look at it: to fetch ahead, never beyond a row.
struct Source {
  const std::uint8_t* first;
  std::size_t pixelBytes, rowBytes;

  std::uintptr_t place(std::size_t row) const { return reinterpret_cast<std::uintptr_t>(first + row * rowBytes); }

  HWY_INLINE void fetch(std::size_t row, std::size_t from, std::size_t to) const {
    const std::uint8_t* const pixels = first + row * rowBytes;
    // Into the second-level cache, which is where the processor's own prefetching stops at the end of every page.
    for (std::size_t i = from * pixelBytes; i < to * pixelBytes; i += kLineBytes) __builtin_prefetch(pixels + i, 0, 2);
  }
};

// kPerPixel samples a pixel, rows `stride` samples apart.
template <std::size_t kPerPixel, typename T>
Source reads(const T* first, std::size_t stride = 0) {
  return {reinterpret_cast<const std::uint8_t*>(first), kPerPixel * sizeof(T), stride * sizeof(T)};
}

// One destination, at any address. Between blocks `lines_` keeps the start of a line that is not yet complete.
template <std::size_t kBlockBytes>
class StreamedOutput {
 public:
  void begin(void* dst) {
    skipped_ = pending_ = reinterpret_cast<std::uintptr_t>(dst) % kLineBytes;
    line_ = static_cast<std::uint8_t*>(dst) - skipped_;
  }

  // Where the next block is to be written.
  std::uint8_t* room() { return lines_ + pending_; }
  std::size_t pending() const { return pending_; }

  // Sends out the lines that `bytes` more have completed.
  HWY_INLINE void push(std::size_t bytes) {
    const hn::ScalableTag<std::uint8_t> d;
    pending_ += bytes;
    const std::size_t whole = pending_ / kLineBytes * kLineBytes;
    if (whole == 0) return;
    std::size_t i = 0;
    if (skipped_ != 0) {  // what lies before the destination in its first line is not ours to write
      std::memcpy(line_ + skipped_, lines_ + skipped_, kLineBytes - skipped_);
      skipped_ = 0;
      i = kLineBytes;
    }
    for (; i < whole; i += hn::Lanes(d)) hn::Stream(hn::Load(d, lines_ + i), d, line_ + i);
    line_ += whole;
    pending_ -= whole;
    std::memcpy(lines_, lines_ + whole, kLineBytes);
  }

  void end() { std::memcpy(line_ + skipped_, lines_ + skipped_, pending_ - skipped_); }

 private:
  alignas(kLineBytes) std::uint8_t lines_[kBlockBytes + 2 * kLineBytes];
  std::uint8_t* line_;   // where lines_ belongs
  std::size_t pending_;  // bytes in lines_, and so the next block's place in its line
  std::size_t skipped_;  // bytes at the head of the first line that precede the destination; 0 once it is out
};

// How many pixels lead from a place to the start of a line; 0 where none do.
HWY_INLINE std::size_t pixelsToLine(std::uintptr_t place, std::size_t pixelBytes) {
  for (std::size_t pixels = 0; pixels < kLineBytes; ++pixels) {
    if ((place + pixels * pixelBytes) % kLineBytes == 0) return pixels;
  }
  return 0;
}

// Calls body(d, row, i, out) so that the lanes of the calls cover pixels 0..width-1 of every row once and in order, as
// forLanes does, except that i may be any number. A pixel is kPerPixel samples of T in each destination; out[k] is
// where destination k takes the pixels from i on. The body must have read what it needs of its lanes before it writes.
// Without `apart` the destinations may lie over each other, and what the calls write remains in their order.
template <typename Lane, std::size_t kPerPixel, typename T, std::size_t kOutputs, std::size_t kSources, typename Body>
HWY_INLINE void writeStridedRows(std::size_t rows, std::size_t width, const StridedRows<T, kOutputs>& dst, bool apart,
                                 const std::array<Source, kSources>& sources, Body&& body) {
  constexpr std::size_t kPixelBytes = kPerPixel * sizeof(T);
  // Pixels from..from+count-1 of a row, the first of which goes to `to`.
  const auto make = [&](std::size_t row, std::size_t from, std::size_t count, const auto& to) HWY_ATTR {
    forLanes<Lane>(count, [&](auto d, std::size_t i) HWY_ATTR {
      std::array<T*, kOutputs> out;
      for (std::size_t k = 0; k < kOutputs; ++k) out[k] = to[k] + kPerPixel * i;
      body(d, row, from + i, out);
    });
  };
  std::array<T*, kOutputs> to;
  if (!kTargetStreams || !apart || rows * width * kPixelBytes * kOutputs < kStreamedBytes) {
    for (std::size_t row = 0; row < rows; ++row) {
      for (std::size_t k = 0; k < kOutputs; ++k) to[k] = dst.row(k, row);
      make(row, 0, width, to);
    }
    return;
  }
  std::array<StreamedOutput<kPixelsPerBlock * kPixelBytes>, kOutputs> streams;
  for (std::size_t k = 0; k < kOutputs; ++k) streams[k].begin(dst.first[k]);
  for (std::size_t row = 0; row < rows; ++row) {
    for (std::size_t k = 0; k < kOutputs; ++k) {
      if (row == 0 || dst.stride[k] == kPerPixel * width) continue;  // dense rows are one
      streams[k].end();
      streams[k].begin(dst.row(k, row));
    }
    // A short block first, so that in the blocks after it vectors do not lie across two lines: on the side that has
    // more buffers, as one block cannot suit all.
    std::size_t count = kSources > kOutputs ? pixelsToLine(sources[0].place(row), sources[0].pixelBytes)
                                            : pixelsToLine(streams[0].pending(), kPixelBytes);
    for (std::size_t x = 0; x < width; x += count, count = kPixelsPerBlock) {
      count = std::min(count, width - x);
      for (const Source& source : sources) {
        source.fetch(row, std::min(x + kPixelsAhead, width), std::min(x + kPixelsAhead + count, width));
      }
      for (std::size_t k = 0; k < kOutputs; ++k) to[k] = reinterpret_cast<T*>(streams[k].room());
      make(row, x, count, to);
      for (auto& stream : streams) stream.push(count * kPixelBytes);
    }
  }
  for (auto& stream : streams) stream.end();
  hwy::FlushStream();
}

// The same where each destination is dense and apart from the others.
template <typename Lane, std::size_t kPerPixel, typename T, std::size_t kOutputs, std::size_t kSources, typename Body>
HWY_INLINE void writeRows(std::size_t rows, std::size_t width, const std::array<T*, kOutputs>& dst,
                          const std::array<Source, kSources>& sources, Body&& body) {
  StridedRows<T, kOutputs> places{dst, {}};
  places.stride.fill(kPerPixel * width);
  writeStridedRows<Lane, kPerPixel>(rows, width, places, true, sources, std::forward<Body>(body));
}

// The same for one row: body(d, i, out).
template <typename Lane, std::size_t kPerPixel, typename T, std::size_t kOutputs, std::size_t kSources, typename Body>
HWY_INLINE void writeRow(std::size_t n, const std::array<T*, kOutputs>& dst,
                         const std::array<Source, kSources>& sources, Body&& body) {
  writeRows<Lane, kPerPixel>(1, n, dst, sources,
                             [&](auto d, std::size_t, std::size_t i, const auto& out) HWY_ATTR { body(d, i, out); });
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
