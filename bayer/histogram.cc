// SPDX-License-Identifier: Apache-2.0
// Histograms of rows and frames. A counter costs a store, and a processor makes one a cycle, unless the same counter is
// wanted again at once: then each count waits for the store of the last. In dark, clipped and even parts of a frame a
// plain loop does nothing but wait. So a frame is counted in two sets of counters a colour, of 16 bits, which keeps all
// of them in the first-level cache, and which lie side by side, so that stores that follow each other often hit the
// same line. They are for samples of 12 bits; a frame with wider ones goes on with the plain loop where the first of
// them is met.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "bayer/histogram.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <algorithm>

#include "quorvel/bayer.h"
#include "simd/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

// totals[i] += pairs[2i] + pairs[2i + 1], and the pairs begin again at 0.
void drainPairs(std::uint16_t* HWY_RESTRICT pairs, std::uint32_t* HWY_RESTRICT totals, std::size_t n) {
  forLanes<std::uint32_t>(n, [=](auto d, std::size_t i) HWY_ATTR {
    const hn::Rebind<std::uint16_t, decltype(d)> half;
    hn::Vec<decltype(half)> first, second;
    hn::LoadInterleaved2(half, pairs + 2 * i, first, second);
    const auto counted = hn::Add(hn::PromoteTo(d, first), hn::PromoteTo(d, second));
    hn::StoreU(hn::Add(hn::LoadU(d, totals + i), counted), d, totals + i);
  });
  std::fill_n(pairs, 2 * n, std::uint16_t{0});
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

#include <array>
#include <bit>
#include <cstring>
#include <limits>
#include <memory>
#include <new>

namespace quorvel {
namespace {

HWY_EXPORT(drainPairs);

constexpr int kOddRow = -1;

bool countable(const std::uint16_t* row, unsigned count) {
  return count % 2 == 0 && reinterpret_cast<std::uintptr_t>(row) % sizeof(std::uint16_t) == 0;
}

// Every `step`-th pair of a row, the first one included.
void countPairs(const std::uint16_t* row, std::size_t count, std::uint32_t* even, std::uint32_t* odd,
                std::uint64_t step = 1) {
  for (std::uint64_t i = 0; i < count; i += 2 * step) {
    ++even[row[i]];
    ++odd[row[i + 1]];
  }
}

constexpr std::size_t kValues = 4096;

// One colour's two sets: the counters of a value lie side by side. The line behind them sets the colours off against
// each other: at a multiple of 4 KiB a processor takes the counters of equal values for the same ones, and waits.
struct alignas(64) ColourCounters {
  std::uint16_t pairs[2 * kValues];
  std::uint16_t gap[96];
};

static_assert(std::endian::native == std::endian::little, "the first sample of a group is its lowest");

// Counts whole groups of four samples and, where `kStep` is -1, takes them back; what is left over is for the plain
// loop. Returns the bitwise OR of all the groups.
template <int kStep>
std::uint64_t countGroups(const std::uint16_t* row, std::size_t count, ColourCounters& evens, ColourCounters& odds) {
  constexpr std::uint64_t kMask = kValues - 1;
  std::uint64_t seen = 0;
  std::uint16_t* const even = evens.pairs;
  std::uint16_t* const odd = odds.pairs;
  for (std::size_t i = 0; i + 4 <= count; i += 4) {
    std::uint64_t four;
    std::memcpy(&four, row + i, sizeof four);
    seen |= four;
    even[2 * (four & kMask)] += kStep;
    even[2 * (four >> 32 & kMask) + 1] += kStep;
    odd[2 * (four >> 16 & kMask)] += kStep;
    odd[2 * (four >> 48 & kMask) + 1] += kStep;
  }
  return seen;
}

// The histograms of a frame and the counters before them.
class FrameCount {
 public:
  FrameCount(std::uint32_t* r, std::uint32_t* g, std::uint32_t* b, unsigned width, unsigned height)
      : totals_{r, g, b}, width_(width), perPairOfRows_(width / 2) {
    // Clearing and adding up cost as much as counting some ten thousand samples.
    const bool worthIt = std::uint64_t{width} * height >= kFewSamples && perPairOfRows_ <= kFull;
    if (worthIt) counters_.reset(new (std::nothrow) std::array<ColourCounters, 3>());
  }

  void countRow(const std::uint16_t* row, bool lower) {
    const Colour even = lower ? kBlue : kGreen, odd = lower ? kGreen : kRed;
    if (counters_ == nullptr) {
      countPairs(row, width_, totals_[even], totals_[odd]);
      return;
    }
    ColourCounters &evens = (*counters_)[even], &odds = (*counters_)[odd];
    if (!lower) makeRoom();
    if ((countGroups<1>(row, width_, evens, odds) & kTooWide) != 0) {
      countGroups<-1>(row, width_, evens, odds);
      finish();
      counters_.reset();
      countRow(row, lower);
      return;
    }
    const std::size_t whole = width_ / 4 * 4;
    countPairs(row + whole, width_ - whole, totals_[even], totals_[odd]);
  }

  void finish() {
    if (counters_ == nullptr) return;
    for (std::size_t c = 0; c < totals_.size(); ++c) {
      HWY_DYNAMIC_DISPATCH(drainPairs)((*counters_)[c].pairs, totals_[c], kValues);
    }
    counted_ = 0;
  }

 private:
  enum Colour { kRed, kGreen, kBlue };
  static constexpr std::uint64_t kFewSamples = 1 << 16, kTooWide = 0xF000F000F000F000;
  static constexpr unsigned kFull = std::numeric_limits<std::uint16_t>::max();

  // Before a counter can overflow. A pair of rows may bring a green counter a quarter of each row.
  void makeRoom() {
    if (counted_ + perPairOfRows_ > kFull) finish();
    counted_ += perPairOfRows_;
  }

  std::array<std::uint32_t*, 3> totals_;
  std::size_t width_;
  unsigned perPairOfRows_, counted_ = 0;
  std::unique_ptr<std::array<ColourCounters, 3>> counters_;
};

}  // namespace
}  // namespace quorvel

using namespace quorvel;

int calcBayerHistogramm16_32(const std::uint16_t* samples, unsigned pitch, unsigned width, unsigned height,
                             std::uint32_t* r, std::uint32_t* g, std::uint32_t* b) {
  if (height < 2) return 0;
  if (!countable(samples, width)) return kOddRow;  // what holds for the first row holds for all
  FrameCount frame(r, g, b, width, height);
  for (std::size_t y = 0; y < height / 2 * 2; ++y) frame.countRow(samples + y * pitch, y % 2 != 0);
  frame.finish();
  return 0;
}

int calcBayerGRHistogramm16_32(const std::uint16_t* row, unsigned count, std::uint32_t* even, std::uint32_t* odd) {
  if (!countable(row, count)) return kOddRow;
  countPairs(row, count, even, odd);
  return 0;
}

int calcBayerGRHistogrammSkip16_32(const std::uint16_t* row, unsigned count, std::uint32_t* even, std::uint32_t* odd,
                                   unsigned skip) {
  if (!countable(row, count)) return kOddRow;
  countPairs(row, count, even, odd, std::uint64_t{skip} + 1);
  return 0;
}

#endif
