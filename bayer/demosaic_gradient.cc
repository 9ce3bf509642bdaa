// SPDX-License-Identifier: Apache-2.0
// Method 1: along the smaller gradient, with Laplacian correction (Hamilton and Adams, US patent 5629734). 12-bit
// samples; every sum below then fits 16 bits with its sign.
//
// Green comes first. At a site C that is not green, with the green neighbours left, right, up and down and the samples
// of C's own colour two steps away:
//   LH = 2 C - left2 - right2,   dH = |left - right| + |LH|,   and LV, dV likewise on the other axis;
//   the axis with the smaller d gives (a + b)/2 + L/4; on a tie it is (sum of four)/4 + (LH + LV)/8.
// Red and blue follow with the Laplacian of green: means of the two neighbours of the wanted colour on a row or a
// column, and at the sites of the opposite colour along the diagonal with the smaller gradient, as above.
// Means truncate, corrections are divided towards zero, results are clipped to 0..4095.
#include <algorithm>

#include "bayer/split_rows.h"
#include "quorvel/bayer.h"
#include "runtime/debugger.h"

#ifndef QUORVEL_BAYER_GRADIENT_WORK_
#define QUORVEL_BAYER_GRADIENT_WORK_
namespace quorvel {

// The rows at work: samples two above and below the green that is made, green one above and below the colours.
struct GradientWork {
  static constexpr std::size_t kSampleRows = 5, kGreenRows = 3, kRows = kSampleRows + kGreenRows;

  explicit GradientWork(const SplitRowStore<kRows>& store) : samples(store, 0), greens(store, kSampleRows) {}

  SplitRowRing<kSampleRows> samples;
  SplitRowRing<kGreenRows> greens;
};

// Green has no neighbour outside the frame: the row's first and last sample stand for it.
inline void closeGreenRow(const SplitRow& green, std::size_t width) {
  const auto w = static_cast<std::ptrdiff_t>(width);
  green.at(-1) = green.at(0);
  green.at(w) = green.at(w - 1);
}

}  // namespace quorvel
#endif

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "bayer/demosaic_gradient.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "bayer/plane_sink-inl.h"
#include "bayer/split_rows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

// v / 2^kBits, truncated towards zero.
template <int kBits, class V>
HWY_INLINE V dividedBy2To(V v) {
  const auto bias = hn::And(hn::ShiftRight<15>(v), hn::Set(hn::DFromV<V>(), (1 << kBits) - 1));
  return hn::ShiftRight<kBits>(hn::Add(v, bias));
}

// Two opposite neighbours of a site: their sum, the Laplacian of the guiding samples along their line, and the
// gradient.
template <class V>
struct Line {
  V sum, laplacian, gradient;
};

// `guide`, `guideA` and `guideB` are the guiding samples at the centre and at (or behind) either neighbour.
template <class V>
HWY_INLINE Line<V> lineThrough(V a, V b, V guide, V guideA, V guideB) {
  const V laplacian = hn::Sub(hn::Add(guide, guide), hn::Add(guideA, guideB));
  const V step = hn::Sub(hn::Max(a, b), hn::Min(a, b));
  return {hn::Add(a, b), laplacian, hn::Add(step, hn::Abs(laplacian))};
}

template <class V>
HWY_INLINE V corrected(const Line<V>& line) {
  return hn::Add(hn::ShiftRight<1>(line.sum), dividedBy2To<2>(line.laplacian));
}

// The value along the line with the smaller gradient, or along both on a tie.
template <class V>
HWY_INLINE V alongSmaller(const Line<V>& p, const Line<V>& q) {
  const V both = hn::Add(hn::ShiftRight<2>(hn::Add(p.sum, q.sum)), dividedBy2To<3>(hn::Add(p.laplacian, q.laplacian)));
  return hn::IfThenElse(hn::Lt(p.gradient, q.gradient), corrected(p),
                        hn::IfThenElse(hn::Lt(q.gradient, p.gradient), corrected(q), both));
}

// The missing green of the row in the middle of five, and a copy of the green that is there. `greenHalf` is the parity
// of the columns where the row is green.
void greenOfRow(const SplitRow* rows, std::size_t halfLength, unsigned greenHalf, const SplitRow& green) {
  const unsigned c = 1 - greenHalf;
  const std::int16_t *centre = rows[2].half[c], *beside = rows[2].half[greenHalf];
  const std::int16_t *up = rows[1].half[c], *down = rows[3].half[c];
  const std::int16_t *up2 = rows[0].half[c], *down2 = rows[4].half[c];
  const std::int16_t *left = beside + c - 1, *right = beside + c;
  forWholeVectors(halfLength, [&](auto d, std::ptrdiff_t i) HWY_ATTR {
    const auto at = [d, i](const std::int16_t* p) HWY_ATTR { return hn::LoadU(d, p + i); };
    const auto here = at(centre);
    const auto horizontal = lineThrough(at(left), at(right), here, at(centre - 1), at(centre + 1));
    const auto vertical = lineThrough(at(up), at(down), here, at(up2), at(down2));
    hn::StoreU(clippedTo12Bits(alongSmaller(horizontal, vertical)), d, green.half[c] + i);
    hn::StoreU(at(beside), d, green.half[greenHalf] + i);
  });
}

// All colours of the row in the middle of three, `count` columns from the even column `first` on. kGreenHalf is the
// parity of the columns where it is green.
template <unsigned kGreenHalf>
void coloursFromGreen(const SplitRow* rows, const SplitRow* greens, std::size_t first, std::size_t count,
                      const RowColours& out) {
  constexpr unsigned c = 1 - kGreenHalf;
  const std::int16_t* centre = rows[1].half[c];
  const std::int16_t *up = rows[0].half[kGreenHalf], *down = rows[2].half[kGreenHalf];
  const std::int16_t *greenUp = greens[0].half[kGreenHalf], *greenDown = greens[2].half[kGreenHalf];
  const std::int16_t *greenHere = greens[1].half[kGreenHalf], *greenCentre = greens[1].half[c];
  // Offsets, in a half row, of the neighbours left and right of a green site, and of those of another site.
  constexpr std::ptrdiff_t leftOfGreen = kGreenHalf == 0 ? -1 : 0, rightOfGreen = leftOfGreen + 1;
  constexpr std::ptrdiff_t leftOfOther = kGreenHalf == 0 ? 0 : -1, rightOfOther = leftOfOther + 1;
  forOutputVectors<kGreenHalf>(first, count, out, [&](auto d, std::ptrdiff_t i) HWY_ATTR {
    const auto at = [d, i](const std::int16_t* p) HWY_ATTR { return hn::LoadU(d, p + i); };
    const auto green = at(greenHere), greenAtOther = at(greenCentre), own = at(centre);
    const auto ownAtGreen = corrected(lineThrough(at(centre + leftOfGreen), at(centre + rightOfGreen), green,
                                                  at(greenCentre + leftOfGreen), at(greenCentre + rightOfGreen)));
    const auto otherAtGreen = corrected(lineThrough(at(up), at(down), green, at(greenUp), at(greenDown)));
    const auto falling = lineThrough(at(up + leftOfOther), at(down + rightOfOther), greenAtOther,
                                     at(greenUp + leftOfOther), at(greenDown + rightOfOther));
    const auto rising = lineThrough(at(down + leftOfOther), at(up + rightOfOther), greenAtOther,
                                    at(greenDown + leftOfOther), at(greenUp + rightOfOther));
    const auto otherAtOther = alongSmaller(falling, rising);
    return SitePair<Samples>{{green, clippedTo12Bits(ownAtGreen), clippedTo12Bits(otherAtGreen)},
                             {greenAtOther, own, clippedTo12Bits(otherAtOther)}};
  });
}

// Red and blue of a G/R row and the B/G row after it, from four rows of samples and of green.
void coloursOfRowPair(const SplitRow* rows, const SplitRow* greens, const RgbPlanes& out) {
  coloursFromGreen<0>(rows, greens, 0, out.width, coloursOfRow(out.row(0), 0));
  coloursFromGreen<1>(rows + 1, greens + 1, 0, out.width, coloursOfRow(out.row(1), 1));
}

// The whole frame, with work rows for 5 rows of samples and 3 of green.
void gradientFrame(const BayerFrame& frame, const GradientWork& work, const RgbPlanes& out) {
  const auto& [samples, greens] = work;
  PlaneSink sink(out, frame.height);
  const std::size_t halfLength = (frame.width + 1) / 2;
  const auto height = static_cast<std::ptrdiff_t>(frame.height);

  for (std::ptrdiff_t y = -2; y < 2; ++y) splitFrameRow(frame, y, samples[y]);
  // Green runs one row ahead of red and blue.
  for (std::ptrdiff_t g = 0; g <= height; ++g) {
    if (g < height) {
      splitFrameRow(frame, g + 2, samples[g + 2]);
      const SplitRow around[5] = {samples[g - 2], samples[g - 1], samples[g], samples[g + 1], samples[g + 2]};
      greenOfRow(around, halfLength, g % 2, greens[g]);
      closeGreenRow(greens[g], frame.width);
    }
    const std::ptrdiff_t y = g - 1;
    if (y < 0) continue;
    const SplitRow rows[3] = {samples[y - 1], samples[y], samples[y + 1]};
    const SplitRow green[3] = {greens[std::max<std::ptrdiff_t>(y - 1, 0)], greens[y],
                               greens[std::min(y + 1, height - 1)]};
    sink.row(static_cast<std::size_t>(y), [&](std::size_t x, std::size_t count, const RowColours& to) HWY_ATTR {
      prefetchColumns(frame, static_cast<std::size_t>(g) + 3, x, count);
      y % 2 == 0 ? coloursFromGreen<0>(rows, green, x, count, to) : coloursFromGreen<1>(rows, green, x, count, to);
    });
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {

HWY_EXPORT(greenOfRow);
HWY_EXPORT(coloursOfRowPair);
HWY_EXPORT(gradientFrame);

int demosaicGradient(const BayerFrame& frame, const RgbPlanes& out) {
  const SplitRowStore<GradientWork::kRows> store(frame.width);
  if (!store.allocated()) return kOutOfMemory;
  HWY_DYNAMIC_DISPATCH(gradientFrame)(frame, GradientWork(store), out);
  if (!store.guardsIntact()) debuggerBreak();
  return 0;
}

}  // namespace quorvel

using namespace quorvel;

int laplasian2T1_green2(const std::uint16_t* work, unsigned count, unsigned stride, std::uint16_t* green) {
  if (count == 0) return 0;
  const SplitRowStore<6> store(count);
  if (!store.allocated()) return kOutOfMemory;
  SplitRow rows[5];
  const std::ptrdiff_t behind = count + 1 - count % 2;  // two samples after the last odd position
  for (int dy = -2; dy <= 2; ++dy) {
    SplitRow& row = rows[dy + 2] = store.row(static_cast<std::size_t>(dy + 2));
    const std::uint16_t* samples = work + dy * static_cast<std::ptrdiff_t>(stride);
    splitSamples(samples, count, row);
    if (dy != 0) continue;
    row.at(-1) = static_cast<std::int16_t>(samples[-1]);
    for (std::ptrdiff_t x = count; x <= behind; ++x) row.at(x) = static_cast<std::int16_t>(samples[x]);
  }
  const SplitRow result = store.row(5);
  HWY_DYNAMIC_DISPATCH(greenOfRow)(rows, (count + 1) / 2, 0, result);
  for (unsigned x = 0; x < count; ++x) green[x] = static_cast<std::uint16_t>(result.at(x));
  return 0;
}

int laplasian2T1_NOTgreen(const std::uint16_t* work, unsigned width, std::uint16_t* red, const std::uint16_t* green,
                          std::uint16_t* blue, int topEdge, int bottomEdge) {
  if (width == 0) return 0;
  const SplitRowStore<10> store(width);
  if (!store.allocated()) return kOutOfMemory;
  SplitRow rows[4], greens[4];
  for (int dy = -1; dy <= 2; ++dy) {
    const auto index = static_cast<std::size_t>(dy + 1);
    const std::uint16_t* samples = work + dy * (static_cast<std::ptrdiff_t>(width) + 4);
    rows[index] = store.row(index);
    splitSamples(samples, width, rows[index]);
    rows[index].at(-1) = static_cast<std::int16_t>(samples[-1]);
    rows[index].at(width) = static_cast<std::int16_t>(samples[width]);

    const int greenRow = dy == -1 && topEdge ? 0 : dy == 2 && bottomEdge ? 1 : dy;
    greens[index] = store.row(4 + index);
    splitSamples(green + greenRow * static_cast<std::ptrdiff_t>(width), width, greens[index]);
    closeGreenRow(greens[index], width);
  }
  // Green is the caller's already; its copy goes to the rows that are left.
  auto* unused = reinterpret_cast<std::uint16_t*>(store.row(8).half[0]);
  HWY_DYNAMIC_DISPATCH(coloursOfRowPair)(rows, greens, RgbPlanes{red, unused, blue, width});
  return 0;
}

#endif
