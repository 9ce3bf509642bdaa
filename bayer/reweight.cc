// SPDX-License-Identifier: Apache-2.0
// Re-weighting: moves the samples of every cell to where a reduction by steps wants them, so that taking one cell in k
// gives a frame that looks as if a sensor with sites k times as large had taken it.
//
// Where a sample belongs. The first green stays as it is and fixes the origin: a cell that begins at (0, 0) and is
// taken alone has its samples at (0, 0), (0, k), (k, 0) and (k, k) in source rows and columns. The centres of gravity
// after re-weighting, and how far from there they lie:
//
//                                  G1        R            B            G2
//   no re-weighting, k = 2         (0, 0)    (0, 1)       (1, 0)       (1, 1)        1 site off
//   bayerReweightFor_x2            (0, 0)    (0, 1.5)     (1.5, 0)     (1.5, 1.5)    1/2 site off
//   no re-weighting, k = 4         (0, 0)    (0, 1)       (1, 0)       (1, 1)        3 sites off
//   bayerReweightFor_x4            (0, 0)    (0, 4)       (4, 0)       (4, 4)        exact
//   bayerReweightFor_x4_from_x2    (0, 0)    (0, 4)       (4, 0)       (4, 4)        exact
//
// The weights for 2 are given: (3, 1)/4 of a sample and the next of its colour lead half of the way. For 4 the whole
// way is 3 sites, half-way between the next sample of the colour and the one after it: (1, 1)/2. From a frame that has
// gone half a site already 2.5 sites are left: (3, 1)/4 of the same two. The second green has the product of the
// weights of both directions, /4 and /16. These divisions are exact for equal samples; that of the second green for 2
// is not (its weights sum to 12, and 12 x 341 is 4 short of 4096), it loses 1/1024 of the value, rounded up.
//
// All taps lie ahead, so that one pass from the first sample on can work in place. What has none there keeps its
// samples: for 2 the last column pair and the last B/G row, for 4 the last two column pairs and the last two B/G rows,
// and always what is no whole cell. The steps take whole blocks only, and so never a cell of those.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "bayer/reweight.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <algorithm>

#include "bayer/pairs-inl.h"
#include "quorvel/bayer.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

// The weights of a sample's two taps in one direction, which sum to a power of two.
template <std::uint32_t kNear, std::uint32_t kFar, int kShift>
struct Weights {
  static_assert(kNear + kFar == 1u << kShift);

  template <class V>
  static HWY_INLINE V weighted(V near, V far) {
    const hn::DFromV<V> d;
    return hn::Add(hn::Mul(near, hn::Set(d, kNear)), hn::Mul(far, hn::Set(d, kFar)));
  }
  template <class V>
  static HWY_INLINE V mean(V near, V far) {
    return hn::ShiftRight<kShift>(weighted(near, far));
  }
  template <class V>
  static HWY_INLINE V meanOfFour(V near, V right, V below, V far) {
    return hn::ShiftRight<2 * kShift>(weighted(weighted(near, right), weighted(below, far)));
  }
};

struct HalfASite : Weights<3, 1, 2> {
  template <class V>
  static HWY_INLINE V meanOfFour(V near, V right, V below, V far) {
    const hn::DFromV<V> d;
    const auto sum = hn::Add(hn::Add(hn::ShiftLeft<3>(near), hn::Add(far, far)), hn::Add(right, below));
    return hn::ShiftRight<12>(hn::Mul(sum, hn::Set(d, 341)));
  }
};

// The first `cells` cells of a row of cells. The taps are kAhead cells and one more ahead, in the rows as in the
// columns. Without those rows the B/G row is not written.
template <std::size_t kAhead, class Move>
HWY_INLINE void moveCells(const std::uint16_t* src, std::size_t srcPitch, std::uint16_t* dst, std::size_t dstPitch,
                          std::size_t cells, bool hasRowsAhead) {
  constexpr std::size_t kNear = 2 * kAhead, kFar = kNear + 2;
  forLanes<std::uint32_t>(cells, [=](auto d, std::size_t i) HWY_ATTR {
    const auto at = [=](std::size_t x) HWY_ATTR { return loadSamples(d, src + 2 * i + x); };
    const auto red = Move::mean(oddOf(at(kNear)), oddOf(at(kFar)));
    storePairs(pairOf(evenOf(at(0)), red), d, dst + 2 * i);
  });
  if (!hasRowsAhead) return;
  src += srcPitch;
  dst += dstPitch;
  forLanes<std::uint32_t>(cells, [=](auto d, std::size_t i) HWY_ATTR {
    const auto at = [=](std::size_t y, std::size_t x)
                        HWY_ATTR { return loadSamples(d, src + y * srcPitch + 2 * i + x); };
    const auto blue = Move::mean(evenOf(at(kNear, 0)), evenOf(at(kFar, 0)));
    const auto green = Move::meanOfFour(oddOf(at(kNear, kNear)), oddOf(at(kNear, kFar)), oddOf(at(kFar, kNear)),
                                        oddOf(at(kFar, kFar)));
    storePairs(pairOf(blue, green), d, dst + 2 * i);
  });
}

void moveFor2(const std::uint16_t* src, std::size_t srcPitch, std::uint16_t* dst, std::size_t dstPitch,
              std::size_t cells, bool hasRowsAhead) {
  moveCells<0, HalfASite>(src, srcPitch, dst, dstPitch, cells, hasRowsAhead);
}

void moveFor4(const std::uint16_t* src, std::size_t srcPitch, std::uint16_t* dst, std::size_t dstPitch,
              std::size_t cells, bool hasRowsAhead) {
  moveCells<1, Weights<1, 1, 1>>(src, srcPitch, dst, dstPitch, cells, hasRowsAhead);
}

void moveFrom2To4(const std::uint16_t* src, std::size_t srcPitch, std::uint16_t* dst, std::size_t dstPitch,
                  std::size_t cells, bool hasRowsAhead) {
  moveCells<1, Weights<3, 1, 2>>(src, srcPitch, dst, dstPitch, cells, hasRowsAhead);
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {
namespace {

HWY_EXPORT(moveFor2);
HWY_EXPORT(moveFor4);
HWY_EXPORT(moveFrom2To4);

// `reach` is how many cells ahead the farther tap is.
template <typename MoveCells>
void reweight(MoveCells moveCells, std::size_t reach, const std::uint16_t* src, std::size_t pitch, std::uint16_t* dst,
              std::size_t width, std::size_t height) {
  const std::size_t columns = width / 2, rows = height / 2;
  const std::size_t moved = columns - std::min(columns, reach);
  const auto keep = [=](std::size_t y, std::size_t x) {
    if (src != dst) std::copy(src + y * pitch + x, src + y * pitch + width, dst + y * width + x);
  };
  for (std::size_t row = 0; row < rows; ++row) {
    const std::size_t y = 2 * row;
    const bool hasRowsAhead = row + reach < rows;
    moveCells(src + y * pitch, pitch, dst + y * width, width, moved, hasRowsAhead);
    keep(y, 2 * moved);
    keep(y + 1, hasRowsAhead ? 2 * moved : 0);
  }
  if (height % 2 != 0) keep(height - 1, 0);
}

}  // namespace
}  // namespace quorvel

using namespace quorvel;

void bayerReweightFor_x2(const std::uint16_t* src, std::uint16_t* dst, unsigned width, unsigned height) {
  reweight(HWY_DYNAMIC_DISPATCH(moveFor2), 1, src, width, dst, width, height);
}

void bayerReweightFor_x4(const std::uint16_t* src, std::uint16_t* dst, unsigned width, unsigned height) {
  reweight(HWY_DYNAMIC_DISPATCH(moveFor4), 2, src, width, dst, width, height);
}

void bayerReweightFor_x4_from_x2(const std::uint16_t* src, unsigned pitch, std::uint16_t* dst, unsigned width,
                                 unsigned height) {
  reweight(HWY_DYNAMIC_DISPATCH(moveFrom2To4), 2, src, pitch, dst, width, height);
}

#endif
