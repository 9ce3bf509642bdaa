// SPDX-License-Identifier: Apache-2.0
// Measures of the raw frame, and the correction of the light that a sample spreads to the rows of its colour above and
// below it.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "bayer/calibration.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <algorithm>
#include <type_traits>

#include "quorvel/bayer.h"
#include "simd/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

// Samples added up before a sum leaves its 32-bit lanes: even a single lane, and all of them together, hold so many.
inline constexpr std::size_t kChunk = std::size_t{1} << 14;

// Adds up vectors of 32-bit lanes: whole ones lane by lane, shorter ones at once.
template <typename T>
class LaneSum {
 public:
  HWY_INLINE LaneSum() : lanes_(hn::Zero(hn::ScalableTag<T>())) {}
  template <class D, class V>
  HWY_INLINE void add(D d, V v) {
    if constexpr (std::is_same_v<D, hn::ScalableTag<T>>) {
      lanes_ = hn::Add(lanes_, v);
    } else {
      rest_ += hn::GetLane(hn::SumOfLanes(d, v));
    }
  }
  HWY_INLINE std::int64_t total() const {
    return std::int64_t{rest_} + hn::GetLane(hn::SumOfLanes(hn::ScalableTag<T>(), lanes_));
  }

 private:
  hn::Vec<hn::ScalableTag<T>> lanes_;
  T rest_ = 0;
};

// Adds the samples at even places of a row to sums[0], those at odd ones to sums[1].
void addPhases(const std::int16_t* HWY_RESTRICT row, std::size_t width, std::int64_t* HWY_RESTRICT sums) {
  const std::size_t pairs = width / 2;
  for (std::size_t first = 0; first < pairs; first += kChunk) {
    LaneSum<std::int32_t> even, odd;
    forLanes<std::int32_t>(std::min(kChunk, pairs - first), [&](auto d, std::size_t i) HWY_ATTR {
      const hn::Rebind<std::int16_t, decltype(d)> half;
      hn::Vec<decltype(half)> a, b;
      hn::LoadInterleaved2(half, row + 2 * (first + i), a, b);
      even.add(d, hn::PromoteTo(d, a));
      odd.add(d, hn::PromoteTo(d, b));
    });
    sums[0] += even.total();
    sums[1] += odd.total();
  }
  if (width % 2 != 0) sums[0] += row[width - 1];
}

// The chain of greens across two rows, taking turns between them and starting in the even one: adds up what its `n`
// neighbours differ by, and all its samples but the last.
void addGreenChain(const std::uint16_t* HWY_RESTRICT evenRow, const std::uint16_t* HWY_RESTRICT oddRow, std::size_t n,
                   std::int64_t* HWY_RESTRICT differenceTotal, std::int64_t* HWY_RESTRICT sampleTotal) {
  for (std::size_t first = 0; first < n; first += kChunk) {
    LaneSum<std::uint32_t> differences, sum;
    forLanes<std::uint32_t>(std::min(kChunk, n - first), [&](auto d, std::size_t i) HWY_ATTR {
      const hn::Rebind<std::uint16_t, decltype(d)> half;
      // Vectors start at even places, single lanes anywhere.
      const auto place = hn::Add(hn::Iota(half, 0), hn::Set(half, i % 2));
      const auto even = hn::Eq(hn::And(place, hn::Set(half, 1)), hn::Zero(half));
      const auto load = [=](const std::uint16_t* row, std::size_t ahead)
                            HWY_ATTR { return hn::LoadU(half, row + first + i + ahead); };
      const auto a = hn::IfThenElse(even, load(evenRow, 0), load(oddRow, 0));
      const auto b = hn::IfThenElse(even, load(oddRow, 1), load(evenRow, 1));
      differences.add(d, hn::PromoteTo(d, hn::Sub(hn::Max(a, b), hn::Min(a, b))));
      sum.add(d, hn::PromoteTo(d, a));
    });
    *differenceTotal += differences.total();
    *sampleTotal += sum.total();
  }
}

// 32 bits, wrapping: centre * b + (above + below) * c, of which the upper half is the result. Its bit 12 alone decides
// whether it is clipped, and its sign alone to which end.
void correctRow(const std::uint16_t* src, std::uint16_t* dst, std::ptrdiff_t twoRows, std::size_t n, std::uint32_t b,
                std::uint32_t c) {
  forLanes<std::uint32_t>(n, [=](auto d, std::size_t i) HWY_ATTR {
    const hn::Rebind<std::int32_t, decltype(d)> di;
    const hn::Rebind<std::uint16_t, decltype(d)> half;
    const auto load = [=](const std::uint16_t* row) HWY_ATTR { return hn::PromoteTo(d, hn::LoadU(half, row + i)); };
    const auto neighbours = hn::Add(load(src - twoRows), load(src + twoRows));
    const auto sum = hn::Add(hn::Mul(load(src), hn::Set(d, b)), hn::Mul(neighbours, hn::Set(d, c)));
    const auto v = hn::BitCast(di, sum), bit12 = hn::Set(di, 1 << 28);
    const auto clipped = hn::IfThenZeroElse(hn::Lt(v, hn::Zero(di)), hn::Set(di, 4095));
    const auto result = hn::IfThenElse(hn::Eq(hn::And(v, bit12), bit12), clipped, hn::ShiftRight<16>(v));
    hn::StoreU(hn::TruncateTo(half, hn::BitCast(d, result)), half, dst + i);
  });
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

#include <cmath>
#include <limits>

namespace quorvel {
namespace {

HWY_EXPORT(addPhases);
HWY_EXPORT(addGreenChain);
HWY_EXPORT(correctRow);

constexpr double kMostSmear = 3.5;
constexpr int kSmearTooHigh = 1, kEmptyRectangle = -1, kBlackGreens = -2;

// A phase without samples has no level; 0 stands for it.
int meanLevel(std::int64_t sum, std::uint64_t count) {
  if (count == 0) return 0;
  return static_cast<int>(std::round(static_cast<double>(sum) / static_cast<double>(count)));
}

// The fraction that a sample spreads to either neighbour, for smears above 1.
double spreadFraction(double smear) {
  if (smear <= 2) return smear * smear / 12 - smear / 8 + 1.0 / 24;
  if (smear <= 3) return smear * smear / 60 + smear / 8 - 0.19166666666666668;
  return (smear - 2) / smear;
}

// In 1/65536, truncated; the nearest 32-bit integer where none holds it, and 0 for what is no number.
std::uint32_t fixedWeight(double weight) {
  using Limits = std::numeric_limits<std::int32_t>;
  const double scaled = weight * 65536;
  if (std::isnan(scaled)) return 0;
  return static_cast<std::uint32_t>(static_cast<std::int32_t>(
      std::clamp(scaled, static_cast<double>(Limits::min()), static_cast<double>(Limits::max()))));
}

}  // namespace
}  // namespace quorvel

using namespace quorvel;

void calcBayerBlack(const std::int16_t* samples, unsigned pitch, unsigned, unsigned x0, unsigned y0, unsigned width,
                    unsigned height, BayerBlack* black) {
  const std::int16_t* const first = samples + std::size_t{y0} * pitch + x0;
  std::int64_t sums[2][2] = {};
  for (std::size_t y = 0; y < height; ++y) HWY_DYNAMIC_DISPATCH(addPhases)(first + y * pitch, width, sums[y % 2]);
  for (unsigned down = 0; down < 2; ++down) {
    for (unsigned right = 0; right < 2; ++right) {
      const std::uint64_t columns = (std::uint64_t{width} + 1 - right) / 2,
                          rows = (std::uint64_t{height} + 1 - down) / 2;
      const unsigned phase = ((x0 + right) & 1) | ((y0 + down) & 1) << 1;
      black->level[phase] = meanLevel(sums[down][right], columns * rows);
    }
  }
}

int calcBayerFocusForSmear(double smear, double* a, double* b, double* c) {
  *a = 0;
  if (!(smear <= kMostSmear)) return kSmearTooHigh;  // this also refuses what is no number
  if (smear > 1) *a = spreadFraction(smear);
  *b = 1 / (1 - 2 * *a);
  *c = smear > 1 ? -*a * *b : 0;  // not the -0 of the product
  return 0;
}

int correctBayerFocus(const std::uint16_t* src, std::uint16_t* dst, unsigned pitch, unsigned count, double b,
                      double c) {
  HWY_DYNAMIC_DISPATCH(correctRow)
  (src, dst, 2 * static_cast<std::ptrdiff_t>(pitch), count, fixedWeight(b), fixedWeight(c));
  return 0;
}

// The diagonal neighbours among the greens of two rows are the neighbours of one chain that runs zigzag between them.
// So the pairs inside the cells and towards the cells to the right lie in the chains from even rows to odd ones, those
// towards the cells below and below to the right in the chains from odd rows to even ones; a chain ends with the
// rectangle. Each pair of the rectangle counts once.
int calcBayerFocusCoef(const std::uint16_t* source, unsigned width, unsigned pitch, unsigned x0, unsigned y0,
                       unsigned x1, unsigned y1, double* result) {
  *result = 0;
  const std::size_t left = x0 & ~1u, top = y0 & ~1u;
  // In an odd width the last column belongs to no whole cell, and beyond it lies the next row.
  const std::size_t right = std::min(x1 + std::uint64_t{x1 & 1}, std::uint64_t{width & ~1u});
  const std::size_t bottom = static_cast<std::size_t>(y1 + std::uint64_t{y1 & 1});
  if (x0 >= x1 || y0 >= y1 || left >= right) return kEmptyRectangle;

  const std::size_t neighbours = right - left - 1;
  std::int64_t differences = 0, sum = 0, alreadyIn = 0;
  for (std::size_t y = top; y + 1 < bottom; ++y) {
    const std::uint16_t *const row = source + y * pitch + left, *const next = row + pitch;
    if (y % 2 == 0) {
      HWY_DYNAMIC_DISPATCH(addGreenChain)(row, next, neighbours, &differences, &sum);
      sum += next[neighbours];
    } else {
      HWY_DYNAMIC_DISPATCH(addGreenChain)(next, row, neighbours, &differences, &alreadyIn);
    }
  }
  if (sum == 0) return kBlackGreens;
  const double root = std::sqrt(10.0) * static_cast<double>(differences) / static_cast<double>(sum);
  *result = root * root;
  return 0;
}

#endif
