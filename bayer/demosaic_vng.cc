// SPDX-License-Identifier: Apache-2.0
// Method 2: variable number of gradients (Chang, Cheung and Pang, "Color filter array recovery using a threshold-based
// variable number of gradients", SPIE 3650, 1999). 12-bit samples; every sum below then fits 16 bits with its sign.
//
// Sample (r, c) stands r rows below and c columns right of the site. The eight gradients are sums of absolute
// differences of samples of one colour:
//   N   |(-1,0) - (1,0)| + |(-2,0) - (0,0)|
//       + (|(-1,-1) - (1,-1)| + |(-1,1) - (1,1)| + |(-2,-1) - (0,-1)| + |(-2,1) - (0,1)|) / 2
//   NE  at a site that is not green:
//       |(-1,1) - (1,-1)| + |(-2,2) - (0,0)|
//       + (|(-1,0) - (0,-1)| + |(0,1) - (1,0)| + |(-2,1) - (-1,0)| + |(-1,2) - (0,1)|) / 2
//   NE  at a green site, where the parallel lines hold one pair each, as long as the pairs of the centre line:
//       |(-1,1) - (1,-1)| + |(-2,2) - (0,0)| + |(-2,1) - (0,-1)| + |(-1,2) - (1,0)|
// and the others are these, turned and mirrored. A gradient towards the south of a site is the one towards the north of
// the site below it, sample by sample, and likewise for the other opposite pairs; so each row keeps four gradients a
// site (N, E, NE, NW), and S, W, SW and SE are read from neighbouring sites.
//
// A direction counts where its gradient lies below half the largest plus the smallest (at least 1). The means of a
// direction, for the centre's colour and the missing ones:
//   not green    N   centre ((-2,0) + (0,0))/2, green (-1,0), other ((-1,-1) + (-1,1))/2
//                NE  centre ((-2,2) + (0,0))/2, other (-1,1), green ((-2,1) + (-1,0) + (0,1) + (-1,2))/4
//   green        N   centre ((-2,0) + (0,0))/2, colour of the column (-1,0),
//                    colour of the row ((-2,-1) + (-2,1) + (0,-1) + (0,1))/4; E with row and column exchanged
//                NE  centre (-1,1), colour of the row ((-2,1) + (0,1))/2, colour of the column ((-1,0) + (-1,2))/2
// A missing colour is the centre's sample plus the difference of the summed means, scaled to their number, clipped to
// 0..4095. Where no direction counts (all eight gradients are 1) nothing is added to the centre's sample.
#include <algorithm>
#include <type_traits>

#include "bayer/split_rows.h"

#ifndef QUORVEL_BAYER_VARIABLE_GRADIENTS_WORK_
#define QUORVEL_BAYER_VARIABLE_GRADIENTS_WORK_
namespace quorvel {

// The four gradients that a row keeps for each of its sites.
struct GradientRow {
  SplitRow north, east, northEast, northWest;
};

// The rows at work: samples two above and below the row that is made, gradients of that row and the next.
struct VariableGradientsWork {
  static constexpr std::size_t kSampleRows = 5, kGradientRows = 2, kGradients = 4;
  static constexpr std::size_t kRows = kSampleRows + kGradientRows * kGradients;

  explicit VariableGradientsWork(const SplitRowStore<kRows>& store) : samples(store, 0) {
    // Gradients are computed from column -2 on: one value further right, their vectors are stored aligned.
    std::size_t next = kSampleRows;
    const auto take = [&] {
      const SplitRow row = store.row(next++);
      return SplitRow{{row.half[0] + 1, row.half[1] + 1}};
    };
    for (GradientRow& g : gradients) g = {take(), take(), take(), take()};
  }

  SplitRowRing<kSampleRows> samples;
  GradientRow gradients[kGradientRows];
};

}  // namespace quorvel
#endif

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "bayer/demosaic_vng.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "bayer/plane_sink-inl.h"
#include "bayer/split_rows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

// The rows around a site in a column of parity kParity, read by row and column distance.
template <unsigned kParity>
struct Around {
  const SplitRow* middle;  // the site's own row, among its neighbours
  std::ptrdiff_t i;        // index of the first site in its half row

  template <int kDown, int kRight>
  HWY_INLINE Samples at() const {
    return of<kRight>(middle[kDown]);
  }

  template <int kRight>
  HWY_INLINE Samples of(const SplitRow& row) const {
    constexpr int kColumn = static_cast<int>(kParity) + kRight;
    return hn::LoadU(SampleTag(), row.half[kColumn & 1] + i + (kColumn >> 1));
  }

  // |(r1, c1) - (r2, c2)|
  template <int r1, int c1, int r2, int c2>
  HWY_INLINE Samples step() const {
    const Samples a = at<r1, c1>(), b = at<r2, c2>();
    return hn::Sub(hn::Max(a, b), hn::Min(a, b));
  }
};

HWY_INLINE Samples sum(Samples a, Samples b, Samples c, Samples d) { return hn::Add(hn::Add(a, b), hn::Add(c, d)); }

HWY_INLINE Samples half(Samples a, Samples b) { return hn::ShiftRight<1>(hn::Add(a, b)); }

HWY_INLINE Samples quarter(Samples a, Samples b, Samples c, Samples d) { return hn::ShiftRight<2>(sum(a, b, c, d)); }

template <unsigned kParity>
HWY_INLINE Samples northGradient(const Around<kParity>& s) {
  const Samples beside = sum(s.template step<-1, -1, 1, -1>(), s.template step<-1, 1, 1, 1>(),
                             s.template step<-2, -1, 0, -1>(), s.template step<-2, 1, 0, 1>());
  return hn::Add(hn::Add(s.template step<-1, 0, 1, 0>(), s.template step<-2, 0, 0, 0>()), hn::ShiftRight<1>(beside));
}

template <unsigned kParity>
HWY_INLINE Samples eastGradient(const Around<kParity>& s) {
  const Samples beside = sum(s.template step<-1, 1, -1, -1>(), s.template step<1, 1, 1, -1>(),
                             s.template step<-1, 2, -1, 0>(), s.template step<1, 2, 1, 0>());
  return hn::Add(hn::Add(s.template step<0, 1, 0, -1>(), s.template step<0, 2, 0, 0>()), hn::ShiftRight<1>(beside));
}

// Towards north-east for kEast = 1, north-west for kEast = -1.
template <bool kGreenSite, int kEast, unsigned kParity>
HWY_INLINE Samples diagonalGradient(const Around<kParity>& s) {
  const Samples centre = hn::Add(s.template step<-1, kEast, 1, -kEast>(), s.template step<-2, 2 * kEast, 0, 0>());
  if constexpr (kGreenSite) {
    return hn::Add(centre, hn::Add(s.template step<-2, kEast, 0, -kEast>(), s.template step<-1, 2 * kEast, 1, 0>()));
  } else {
    const Samples beside = sum(s.template step<-1, 0, 0, -kEast>(), s.template step<0, kEast, 1, 0>(),
                               s.template step<-2, kEast, -1, 0>(), s.template step<-1, 2 * kEast, 0, kEast>());
    return hn::Add(centre, hn::ShiftRight<1>(beside));
  }
}

template <bool kGreenSite, unsigned kParity>
HWY_INLINE void gradientsOfHalf(const SplitRow* middle, std::ptrdiff_t i, const GradientRow& out) {
  const SampleTag d;
  const Around<kParity> s{middle, i};
  hn::StoreU(northGradient(s), d, out.north.half[kParity] + i);
  hn::StoreU(eastGradient(s), d, out.east.half[kParity] + i);
  hn::StoreU(diagonalGradient<kGreenSite, 1>(s), d, out.northEast.half[kParity] + i);
  hn::StoreU(diagonalGradient<kGreenSite, -1>(s), d, out.northWest.half[kParity] + i);
}

// The gradients of the columns from -2 on of the row `middle`, which stands in the midst of two rows above and one
// below. `greenHalf` is the parity of its green columns.
void gradientsOfRow(const SplitRow* middle, std::size_t halfLength, unsigned greenHalf, const GradientRow& out) {
  const auto forHalf = [&](auto greenSite, auto parity) HWY_ATTR {
    forWholeVectors(halfLength + 2, [&](auto, std::ptrdiff_t beyond) HWY_ATTR {
      gradientsOfHalf<greenSite.value, parity.value>(middle, beyond - 1, out);
    });
  };
  const std::integral_constant<unsigned, 0> even;
  const std::integral_constant<unsigned, 1> odd;
  if (greenHalf == 0) {
    forHalf(std::true_type(), even);
    forHalf(std::false_type(), odd);
  } else {
    forHalf(std::false_type(), even);
    forHalf(std::true_type(), odd);
  }
}

// The sums of the means of the directions that count, and how many count.
class SelectedMeans {
 public:
  explicit SelectedMeans(Samples threshold) : threshold_(threshold) {}

  HWY_INLINE void add(Samples gradient, Samples centre, Samples first, Samples second) {
    const auto counts = hn::Lt(gradient, threshold_);
    number_ = addWhere(counts, number_, hn::Set(SampleTag(), 1));
    centre_ = addWhere(counts, centre_, centre);
    first_ = addWhere(counts, first_, first);
    second_ = addWhere(counts, second_, second);
  }

  HWY_INLINE Samples firstMissing(Samples sample) const { return missing(sample, first_); }
  HWY_INLINE Samples secondMissing(Samples sample) const { return missing(sample, second_); }

 private:
  static HWY_INLINE Samples addWhere(hn::Mask<SampleTag> mask, Samples a, Samples b) {
#if HWY_TARGET <= HWY_AVX3  // becomes one masked addition
    return hn::IfThenElse(mask, hn::Add(a, b), a);
#else
    return hn::Add(a, hn::IfThenElseZero(mask, b));
#endif
  }

  // sample + ((colour - centre) * K >> 15) with K = 32768 / number, 6555 for five. Doubled, K fits 16 bits without a
  // sign from two directions on, and the product's upper half is wanted: what a signed multiplication lacks there, and
  // the whole product for one direction, is the difference itself.
  HWY_INLINE Samples missing(Samples sample, Samples colour) const {
    const SampleTag d;
    const Samples difference = hn::Sub(colour, centre_);
    const Samples scaled = hn::MulHigh(difference, doubledReciprocal());
    const Samples whole = hn::IfThenElseZero(hn::Lt(number_, hn::Set(d, 3)), difference);
    return clippedTo12Bits(hn::Add(sample, hn::Add(scaled, whole)));
  }

  // Without a direction the differences are 0, and any factor serves.
  HWY_INLINE Samples doubledReciprocal() const {
    const SampleTag d;
    HWY_ALIGN static constexpr std::int16_t kDoubled[8] = {0, -32768, 21846, 16384, 13110, 10922, 9362, 8192};
    const Samples index = hn::Sub(hn::Max(number_, hn::Set(d, 1)), hn::Set(d, 1));
#if HWY_TARGET == HWY_SCALAR
    return hn::Set(d, kDoubled[hn::GetLane(index)]);
#else
    // Byte addresses of 16-bit entries: 2k and 2k + 1.
    const Samples bytes = hn::Add(hn::Mul(index, hn::Set(d, 0x0202)), hn::Set(d, 0x0100));
    const hn::Repartition<std::uint8_t, SampleTag> d8;
    return hn::BitCast(d, hn::TableLookupBytes(hn::BitCast(d8, hn::LoadDup128(d, kDoubled)), hn::BitCast(d8, bytes)));
#endif
  }

  Samples threshold_;
  Samples number_ = hn::Zero(SampleTag()), centre_ = hn::Zero(SampleTag());
  Samples first_ = hn::Zero(SampleTag()), second_ = hn::Zero(SampleTag());
};

template <unsigned kParity>
struct Gradients {
  Samples n, s, e, w, ne, sw, nw, se;

  HWY_INLINE Gradients(const Around<kParity>& site, const GradientRow& row, const GradientRow& below)
      : n(site.template of<0>(row.north)),
        s(site.template of<0>(below.north)),
        e(site.template of<0>(row.east)),
        w(site.template of<-1>(row.east)),
        ne(site.template of<0>(row.northEast)),
        sw(site.template of<-1>(below.northEast)),
        nw(site.template of<0>(row.northWest)),
        se(site.template of<1>(below.northWest)) {}

  HWY_INLINE Samples threshold() const {
    const Samples largest = hn::Max(hn::Max(hn::Max(n, s), hn::Max(e, w)), hn::Max(hn::Max(ne, sw), hn::Max(nw, se)));
    const Samples smallest = hn::Min(hn::Min(hn::Min(n, s), hn::Min(e, w)), hn::Min(hn::Min(ne, sw), hn::Min(nw, se)));
    return hn::Max(hn::Add(hn::ShiftRight<1>(largest), smallest), hn::Set(SampleTag(), 1));
  }
};

template <unsigned kParity>
HWY_INLINE Site<Samples> otherSite(const SplitRow* middle, const GradientRow& row, const GradientRow& below,
                                   std::ptrdiff_t i) {
  const Around<kParity> s{middle, i};
  const Gradients<kParity> g(s, row, below);
  SelectedMeans means(g.threshold());
  const Samples here = s.template at<0, 0>();
  const Samples up = s.template at<-1, 0>(), down = s.template at<1, 0>();
  const Samples left = s.template at<0, -1>(), right = s.template at<0, 1>();
  const Samples upLeft = s.template at<-1, -1>(), upRight = s.template at<-1, 1>();
  const Samples downLeft = s.template at<1, -1>(), downRight = s.template at<1, 1>();
  means.add(g.n, half(s.template at<-2, 0>(), here), up, half(upLeft, upRight));
  means.add(g.e, half(s.template at<0, 2>(), here), right, half(upRight, downRight));
  means.add(g.s, half(s.template at<2, 0>(), here), down, half(downLeft, downRight));
  means.add(g.w, half(s.template at<0, -2>(), here), left, half(upLeft, downLeft));
  means.add(g.ne, half(s.template at<-2, 2>(), here),
            quarter(s.template at<-2, 1>(), up, right, s.template at<-1, 2>()), upRight);
  means.add(g.se, half(s.template at<2, 2>(), here), quarter(s.template at<2, 1>(), down, right, s.template at<1, 2>()),
            downRight);
  means.add(g.sw, half(s.template at<2, -2>(), here),
            quarter(s.template at<2, -1>(), down, left, s.template at<1, -2>()), downLeft);
  means.add(g.nw, half(s.template at<-2, -2>(), here),
            quarter(s.template at<-2, -1>(), up, left, s.template at<-1, -2>()), upLeft);
  return {means.firstMissing(here), here, means.secondMissing(here)};
}

template <unsigned kParity>
HWY_INLINE Site<Samples> greenSite(const SplitRow* middle, const GradientRow& row, const GradientRow& below,
                                   std::ptrdiff_t i) {
  const Around<kParity> s{middle, i};
  const Gradients<kParity> g(s, row, below);
  SelectedMeans means(g.threshold());
  const Samples here = s.template at<0, 0>();
  // The colour of the row stands left and right of the site, that of the column above and below.
  const Samples left = s.template at<0, -1>(), right = s.template at<0, 1>();
  const Samples up = s.template at<-1, 0>(), down = s.template at<1, 0>();
  const Samples nnw = s.template at<-2, -1>(), nne = s.template at<-2, 1>();
  const Samples ssw = s.template at<2, -1>(), sse = s.template at<2, 1>();
  const Samples wnw = s.template at<-1, -2>(), ene = s.template at<-1, 2>();
  const Samples wsw = s.template at<1, -2>(), ese = s.template at<1, 2>();
  means.add(g.n, half(s.template at<-2, 0>(), here), quarter(nnw, nne, left, right), up);
  means.add(g.s, half(s.template at<2, 0>(), here), quarter(ssw, sse, left, right), down);
  means.add(g.e, half(s.template at<0, 2>(), here), right, quarter(ene, ese, up, down));
  means.add(g.w, half(s.template at<0, -2>(), here), left, quarter(wnw, wsw, up, down));
  means.add(g.ne, s.template at<-1, 1>(), half(nne, right), half(ene, up));
  means.add(g.se, s.template at<1, 1>(), half(sse, right), half(ese, down));
  means.add(g.sw, s.template at<1, -1>(), half(ssw, left), half(wsw, down));
  means.add(g.nw, s.template at<-1, -1>(), half(nnw, left), half(wnw, up));
  return {here, means.firstMissing(here), means.secondMissing(here)};
}

// All colours of the row `middle`, which stands in the midst of five, from its gradients and those of the row below:
// `count` columns from the even column `first` on.
template <unsigned kGreenHalf>
HWY_INLINE void coloursFromGradients(const SplitRow* middle, const GradientRow& row, const GradientRow& below,
                                     std::size_t first, std::size_t count, const RowColours& out) {
  forOutputVectors<kGreenHalf>(first, count, out, [&](auto, std::ptrdiff_t i) HWY_ATTR {
    return SitePair<Samples>{greenSite<kGreenHalf>(middle, row, below, i),
                             otherSite<1 - kGreenHalf>(middle, row, below, i)};
  });
}

void variableGradientsFrame(const BayerFrame& frame, const VariableGradientsWork& work, const RgbPlanes& out) {
  const auto& [samples, gradients] = work;
  PlaneSink sink(out, frame.height);
  const std::size_t halfLength = (frame.width + 1) / 2;
  const auto height = static_cast<std::ptrdiff_t>(frame.height);

  for (std::ptrdiff_t y = -2; y < 1; ++y) splitFrameRow(frame, y, samples[y]);
  // The gradients of a row need the next row of samples, its colours the gradients of the next row.
  for (std::ptrdiff_t g = 0; g <= height; ++g) {
    splitFrameRow(frame, g + 1, samples[g + 1]);
    const SplitRow around[5] = {samples[g - 3], samples[g - 2], samples[g - 1], samples[g], samples[g + 1]};
    const GradientRow &above = gradients[(g + 1) % 2], &here = gradients[g % 2];
    gradientsOfRow(around + 3, halfLength, g % 2, here);
    if (g == 0) continue;
    const auto y = static_cast<std::size_t>(g - 1);
    sink.row(y, [&](std::size_t x, std::size_t count, const RowColours& to) HWY_ATTR {
      prefetchColumns(frame, y + 3, x, count);
      y % 2 == 0 ? coloursFromGradients<0>(around + 2, above, here, x, count, to)
                 : coloursFromGradients<1>(around + 2, above, here, x, count, to);
    });
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {

HWY_EXPORT(variableGradientsFrame);

int demosaicVariableGradients(const BayerFrame& frame, const RgbPlanes& out) {
  const SplitRowStore<VariableGradientsWork::kRows> store(frame.width);
  if (!store.allocated()) return kOutOfMemory;
  HWY_DYNAMIC_DISPATCH(variableGradientsFrame)(frame, VariableGradientsWork(store), out);
  return 0;
}

}  // namespace quorvel

#endif
