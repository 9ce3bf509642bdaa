// SPDX-License-Identifier: Apache-2.0
// Histograms of rows and frames. A counter costs a store, and a processor makes about one a cycle, which a plain loop
// reaches, unless the same counter is wanted again at once: then each count waits for the store of the last. In dark,
// clipped and even parts of a frame it does nothing but wait. So rows that repeat themselves are counted in four sets
// of counters, in turns. These are of 16 bits, which makes them small beside the first-level cache, and the counters of
// a value lie side by side, so that stores that follow each other hit the same line.
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

inline constexpr std::size_t kSets = 4;

// totals[i] += the four counters of value i, which begin again at 0.
void drainSets(std::uint16_t* HWY_RESTRICT counters, std::uint32_t* HWY_RESTRICT totals, std::size_t n) {
  forLanes<std::uint32_t>(n, [=](auto d, std::size_t i) HWY_ATTR {
    const hn::Rebind<std::uint16_t, decltype(d)> half;
    hn::Vec<decltype(half)> sets[kSets];
    hn::LoadInterleaved4(half, counters + kSets * i, sets[0], sets[1], sets[2], sets[3]);
    auto total = hn::LoadU(d, totals + i);
    for (const auto& set : sets) total = hn::Add(total, hn::PromoteTo(d, set));
    hn::StoreU(total, d, totals + i);
  });
  std::fill_n(counters, kSets * n, std::uint16_t{0});
}

// Whether more than a quarter of the samples equal the next of their colour, by a look at every eighth vector.
bool repeatsItself(const std::uint16_t* HWY_RESTRICT row, std::size_t n) {
  const hn::ScalableTag<std::uint16_t> d;
  const std::size_t lanes = hn::Lanes(d);
  std::size_t seen = 0, equal = 0;
  for (std::size_t i = 0; i + 2 + lanes <= n; i += 8 * lanes, seen += lanes) {
    equal += hn::CountTrue(d, hn::Eq(hn::LoadU(d, row + i), hn::LoadU(d, row + i + 2)));
  }
  return 4 * equal > seen;
}

// Whether no sample of a row has more than 12 bits.
bool fits12Bits(const std::uint16_t* HWY_RESTRICT row, std::size_t n) {
  const hn::ScalableTag<std::uint16_t> d;
  const std::size_t lanes = hn::Lanes(d);
  auto seen = hn::Zero(d);
  std::size_t i = 0;
  for (; i + lanes <= n; i += lanes) seen = hn::Or(seen, hn::LoadU(d, row + i));
  bool fits = hn::AllTrue(d, hn::Eq(hn::ShiftRight<12>(seen), hn::Zero(d)));
  for (; i < n; ++i) fits = fits && row[i] >> 12 == 0;
  return fits;
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

#include <array>
#include <limits>

#include "runtime/plain_memory.h"

namespace quorvel {
namespace {

HWY_EXPORT(drainSets);
HWY_EXPORT(fits12Bits);
HWY_EXPORT(repeatsItself);

constexpr int kOddRow = -1;

bool countable(const std::uint16_t* row, unsigned count) {
  return count % 2 == 0 && reinterpret_cast<std::uintptr_t>(row) % sizeof(std::uint16_t) == 0;
}

// Every `step`-th pair of a row, the first one included.
void countPairs(const std::uint16_t* row, std::size_t count, std::uint32_t* even, std::uint32_t* odd,
                std::size_t step = 1) {
  for (std::size_t i = 0; i < count; i += 2 * step) {
    ++even[row[i]];
    ++odd[row[i + 1]];
  }
}

constexpr std::size_t kValues = 4096, kSets = 4;

// One colour's sets. The gap sets the colours off against each other: at a multiple of 4 KiB a processor takes the
// counters of equal values for the same ones, and waits.
struct alignas(8) ColourCounters {  // as a value's counters, which then lie in one line
  std::uint16_t ofValue[kValues][kSets];
  std::uint16_t gap[96];
};

// Whole groups of four pairs, each pair in its own set. What is left over is for the plain loop.
void countInTurns(const std::uint16_t* HWY_RESTRICT row, std::size_t groups, ColourCounters& evens,
                  ColourCounters& odds) {
  for (std::size_t g = 0; g < groups; ++g, row += 2 * kSets) {
    for (std::size_t set = 0; set < kSets; ++set) ++evens.ofValue[row[2 * set]][set];
    for (std::size_t set = 0; set < kSets; ++set) ++odds.ofValue[row[2 * set + 1]][set];
  }
}

// The histograms of a frame and the counters before them.
class FrameCount {
 public:
  FrameCount(std::uint32_t* r, std::uint32_t* g, std::uint32_t* b, unsigned width, unsigned height)
      : totals_{r, g, b}, width_(width), groups_(width / (2 * kSets)) {
    if (std::uint64_t{width} * height >= kManySamples && groups_ <= kFull) {
      counters_.reset(clearedMemory<std::array<ColourCounters, 3>>(1));
    }
  }

  void countRow(const std::uint16_t* row, bool lower) {
    const Colour even = lower ? kBlue : kGreen, odd = lower ? kGreen : kRed;
    std::size_t done = 0;
    if (repeats_ && HWY_DYNAMIC_DISPATCH(fits12Bits)(row, width_)) {
      if (counted_ + groups_ > kFull) finish();
      counted_ += groups_;
      countInTurns(row, groups_, (*counters_)[even], (*counters_)[odd]);
      done = groups_ * 2 * kSets;
    }
    countPairs(row + done, width_ - done, totals_[even], totals_[odd]);
    // Looked at while it is in the cache, and held to be like the next one: only the time depends on that.
    repeats_ = counters_ != nullptr && HWY_DYNAMIC_DISPATCH(repeatsItself)(row, width_);
  }

  void finish() {
    for (std::size_t c = 0; counted_ != 0 && c < totals_.size(); ++c) {
      HWY_DYNAMIC_DISPATCH(drainSets)((*counters_)[c].ofValue[0], totals_[c], kValues);
    }
    counted_ = 0;
  }

 private:
  enum Colour { kRed, kGreen, kBlue };
  // From here on clearing the counters and adding them up costs little beside counting.
  static constexpr std::uint64_t kManySamples = 1 << 18;
  static constexpr std::size_t kFull = std::numeric_limits<std::uint16_t>::max();

  std::array<std::uint32_t*, 3> totals_;
  std::size_t width_, groups_;
  bool repeats_ = false;
  std::size_t counted_ = 0;  // what a counter of green may have come to: one a group and row
  PlainMemory<std::array<ColourCounters, 3>> counters_;
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
  countPairs(row, count, even, odd, std::size_t{std::min(skip, count / 2)} + 1);
  return 0;
}

#endif
