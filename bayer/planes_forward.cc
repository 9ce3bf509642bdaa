// SPDX-License-Identifier: Apache-2.0
// Bayer cells to luminance and colour differences: two luminances a cell, one for each green, and one Cb and Cr, which
// look at the first green alone. One walk over the cells serves every variant; a variant is a rule from a cell to its
// four values.
//
// The integer rules are exact for all 16-bit samples, not only the 12-bit ones that the clamps are made for, and do not
// need 64-bit lanes for it. Samples are taken as signed, less 2^15, so that pairs of them are multiplied and added in
// one step; sums of the narrow scales then fit 32 bits, and the wide ones are summed in two parts of their weights.
#include <algorithm>
#include <array>
#include <limits>
#include <type_traits>

#include "bayer/luma_chroma.h"
#include "quorvel/bayer.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "bayer/planes_forward.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "bayer/luma_chroma-inl.h"

#ifndef QUORVEL_BAYER_PLANES_FORWARD_SCALES_
#define QUORVEL_BAYER_PLANES_FORWARD_SCALES_
namespace quorvel {

using RawCells = CellFrame<const std::uint16_t>;

// What R, G and B weigh in a plane.
struct Weights {
  std::int32_t r, g, b;
};
struct WeightTable {
  Weights y, cb, cr;
};

// A scale: the type of the planes, the fraction bits of the weights, how many of them a result drops, and whether it is
// rounded to nearest, halves away from zero, or down.
template <typename T, int kBits, int kDroppedBits, bool kRounds>
struct Scale {
  using Plane = T;
  static constexpr int kWeightBits = kBits, kDropped = kDroppedBits, kUnit = 1 << (kBits - kDroppedBits);
  static constexpr bool kRounded = kRounds;
  static constexpr bool kWide = kBits > 16;     // sums need more than 32 bits
  static constexpr bool kHalved = kBits == 16;  // weights are halved to be signed words
};
using Scale16 = Scale<std::int16_t, 16, 16, true>;
using Scale17 = Scale<std::int16_t, 17, 17, true>;
using Scale12_4 = Scale<std::int16_t, 14, 10, true>;
using Scale12_6 = Scale<std::int32_t, 24, 18, false>;

// The low bits of a wide scale's weights, which are summed apart.
constexpr int kLowBits = 12, kLowMask = (1 << kLowBits) - 1;

// Weights as kernels take them: of the two samples of either row, with the first or the second green, and what a sum
// lacks because its samples are taken less 2^15.
struct PairWeights {
  PairWeights() = default;
  explicit PairWeights(const Weights& w)
      : top{packed(w.g, w.r), packed(0, w.r)},
        bottom{packed(w.b, 0), packed(w.b, w.g)},
        bias(static_cast<std::int32_t>(static_cast<std::uint32_t>(w.r + w.g + w.b) << 15)) {}

  static std::int32_t packed(std::int32_t first, std::int32_t second) {
    return static_cast<std::int32_t>((static_cast<std::uint32_t>(first) & 0xFFFF) | static_cast<std::uint32_t>(second)
                                                                                        << 16);
  }

  std::int32_t top[2], bottom[2], bias;
};

// The weights of a plane in up to two parts.
struct SplitWeights {
  PairWeights main, part;
};

template <class S, bool kLuminance>
SplitWeights splitWeights(const Weights& w) {
  if constexpr (S::kWide) {
    return {PairWeights({w.r >> kLowBits, w.g >> kLowBits, w.b >> kLowBits}),
            PairWeights({w.r & kLowMask, w.g & kLowMask, w.b & kLowMask})};
  } else if constexpr (S::kHalved && kLuminance) {
    // The weight of green exceeds a signed word: it counts in two halves.
    return {PairWeights({w.r, w.g - w.g / 2, w.b}), PairWeights({0, w.g / 2, 0})};
  } else {
    return {PairWeights({w.r >> S::kHalved, w.g >> S::kHalved, w.b >> S::kHalved}), {}};
  }
}

// What brings a sum within a plane's range while it is still a sum: held in [low, high], `shift` is added to it, and
// what comes out rounds to a value of the range. Clamped first, nothing leaves 32 bits later.
struct SumRange {
  std::int32_t low, high, shift;
};

// `levels` is what the sum lacks, in units of a result.
template <typename T>
SumRange sumRange(int offset, int unit, int droppedBits, std::int64_t levels) {
  constexpr std::int64_t kLeast = std::numeric_limits<std::int32_t>::min();
  constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
  const Range range = planeRange<T>(offset, unit);
  const std::int64_t step = std::int64_t{1} << droppedBits;
  const std::int64_t low = (range.low - levels) * step, high = (range.high - levels) * step;
  const auto word = [](std::int64_t v) { return static_cast<std::int32_t>(static_cast<std::uint64_t>(v)); };
  // No sum is in the range: they are all below it, or above it, or it is empty.
  if (range.high < range.low || low > kMost) return {0, 0, word(range.low * step)};
  if (high < kLeast) return {0, 0, word(range.high * step)};
  return {word(std::max(low, kLeast)), word(std::min(high, kMost)), word(levels * step)};
}

constexpr WeightTable kWeights16 = {{19595, 38470, 7471}, {-11056, -21712, 32768}, {32768, -27440, -5328}};
constexpr WeightTable kWeights12_4 = {{4899, 9617, 1868}, {-2764, -5428, 8192}, {8192, -6860, -1332}};
// The luminance weights sum to 2^24 + 1, which no grey of 16 bits shows.
constexpr WeightTable kWeights12_6 = {
    {5016388, 9848226, 1912603}, {-2830316, -5558292, 8388608}, {8388608, -7024620, -1363988}};

}  // namespace quorvel
#endif

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

template <class Rule, typename T>
HWY_INLINE void cellsToPlanes(const RawCells& in, const CellPlanes<T>& out, const Rule& rule, bool apart = true) {
  const std::array<Source, 2> sources = {reads<2>(in.greenRed(0), 2 * in.pitch),
                                         reads<2>(in.blueGreen(0), 2 * in.pitch)};
  writeStridedRows<std::int32_t, 1>(
      in.rows, in.columns, out, apart, sources, [&](auto d, std::size_t row, std::size_t i, const auto& to) HWY_ATTR {
        const auto values =
            rule(d, loadSamples(d, in.greenRed(row) + 2 * i), loadSamples(d, in.blueGreen(row) + 2 * i));
        const hn::Rebind<T, decltype(d)> plane;
        const auto store = [=](auto v, T* place) HWY_ATTR {
          if constexpr (sizeof(T) == 2) {
            hn::StoreU(hn::DemoteTo(plane, v), plane, place);
          } else {
            hn::StoreU(v, plane, place);
          }
        };
        // The first luminance last of both: where they meet, it stays.
        store(values.y2, to[1]);
        store(values.y1, to[0]);
        store(values.cb, to[2]);
        store(values.cr, to[3]);
      });
}

template <class S, bool kGreenDifference = false>
class WeightedRule {
 public:
  WeightedRule(const WeightTable& weights, int offset)
      : y_(splitWeights<S, true>(weights.y)),
        cb_(splitWeights<S, false>(weights.cb)),
        cr_(splitWeights<S, false>(weights.cr)),
        whole_(-limitedOffset(offset) * S::kUnit),
        range_(planeRange<Plane>(offset, S::kUnit)),
        luminance_(sumRange<Plane>(offset, S::kUnit, kLuminanceBits, whole_ + (S::kWide ? 0 : kBias * S::kUnit))),
        chroma_(sumRange<Plane>(offset, S::kUnit, kChromaBits, 0)) {}

  template <class D, class V>
  HWY_INLINE PlaneValues<V> operator()(D d, V top, V bottom) const {
    const V sign = hn::Set(d, PairWeights::packed(kBias, kBias));
    const V signedTop = hn::Xor(top, sign), signedBottom = hn::Xor(bottom, sign);
    V second;
    if constexpr (kGreenDifference) {
      const Cell<V> cell = cellOf(d, top, bottom);
      constexpr int kShift = S::kUnit == 16 ? 3 : 5;
      second = clampedTo(hn::ShiftLeft<kShift>(hn::Sub(cell.g2, cell.g1)), range_);
    } else {
      second = value<true, true>(d, y_, signedTop, signedBottom);
    }
    return {value<false, true>(d, y_, signedTop, signedBottom), second,
            value<false, false>(d, cb_, signedTop, signedBottom), value<false, false>(d, cr_, signedTop, signedBottom)};
  }

 private:
  using Plane = typename S::Plane;
  static constexpr std::int32_t kBias = 1 << 15;
  // The bits that sums still have to drop. A wide one has left those of its low part behind.
  static constexpr int kWideBits = S::kDropped - kLowBits;
  static constexpr int kLuminanceBits = S::kWide ? kWideBits : S::kDropped;
  static constexpr int kChromaBits = S::kWide ? kWideBits : S::kDropped - S::kHalved;

  template <bool kSecond, class D, class V>
  static HWY_INLINE V sumOf(D d, const PairWeights& w, V top, V bottom) {
    const V sum = S::kWide ? hn::Set(d, w.bias) : hn::Zero(d);
    return addProducts(d, bottom, w.bottom[kSecond], addProducts(d, top, w.top[kSecond], sum));
  }

  template <bool kSecond, bool kLuminance, class D, class V>
  HWY_INLINE V value(D d, const SplitWeights& w, V top, V bottom) const {
    V sum = sumOf<kSecond>(d, w.main, top, bottom);
    if constexpr (S::kWide) {
      const V low = sumOf<kSecond>(d, w.part, top, bottom);
      sum = hn::Add(sum, hn::ShiftRight<kLowBits>(low));
      if constexpr (!S::kRounded) {
        const V down = hn::ShiftRight<kWideBits>(sum);
        return clampedTo(kLuminance ? hn::Add(down, hn::Set(d, whole_)) : down, range_);
      }
      // What is exactly a half of the sum is one of the value only where the low part drops nothing.
      const V dropped = hn::And(low, hn::Set(d, kLowMask));
      return rounded<kLuminance>(d, sum, hn::VecFromMask(d, hn::Eq(dropped, hn::Zero(d))));
    } else if constexpr (S::kHalved && kLuminance) {
      sum = kSecond ? addProducts(d, bottom, w.part.bottom[1], sum) : addProducts(d, top, w.part.top[0], sum);
    }
    return rounded<kLuminance>(d, sum, hn::Set(d, -1));
  }

  // `exact` is -1 where the sum is the value, and 0 where the value lies above it by less than 1.
  template <bool kLuminance, class D, class V>
  HWY_INLINE V rounded(D d, V sum, V exact) const {
    constexpr int kShift = kLuminance ? kLuminanceBits : kChromaBits;
    const SumRange& range = kLuminance ? luminance_ : chroma_;
    const V held = clampedTo(sum, {range.low, range.high});
    const V v = hn::Add(held, hn::Set(d, range.shift));
    // Below zero a half rounds down.
    const V half = hn::Add(hn::Set(d, 1 << (kShift - 1)), hn::And(hn::BroadcastSignBit(v), exact));
    return hn::ShiftRight<kShift>(hn::Add(v, half));
  }

  SplitWeights y_, cb_, cr_;
  std::int32_t whole_;
  Range range_;
  SumRange luminance_, chroma_;
};

// The weights of scale 17 for samples below kSamples, which leave room in signed words for weights in quarters: a
// sum then fits 32 bits and is one product and addition for what the colours give all values alike, and one more for a
// green. What the quarters of a luminance weight leave behind is added apart; those of the chromas have to be whole.
struct NarrowWeights {
  struct Quarters {
    std::int32_t colours, green1, green2;
  };

  NarrowWeights(const WeightTable& w, int offset) {
    const auto quarters = [](const Weights& v, int divisor) {
      const auto part = [=](std::int32_t x) { return divisor == 0 ? x & 3 : x >> 2; };
      return Quarters{PairWeights::packed(part(v.b), part(v.r)), PairWeights::packed(part(v.g), 0),
                      PairWeights::packed(0, part(v.g))};
    };
    y = quarters(w.y, 4), rest = quarters(w.y, 0), cb = quarters(w.cb, 4), cr = quarters(w.cr, 4);
    const auto fits = [](const Weights& v, std::int32_t step) {
      return std::ranges::all_of(std::array{v.r, v.g, v.b}, [=](std::int32_t x) {
        return x % step == 0 && x >> 2 == static_cast<std::int16_t>(x >> 2);
      });
    };
    suit = fits(w.y, 1) && fits(w.cb, 4) && fits(w.cr, 4) && -kOffset <= offset && offset <= kOffset;
  }

  static constexpr std::int32_t kSamples = 1 << 12, kOffset = 1 << 11;
  Quarters y, rest, cb, cr;
  bool suit;  // the table and the offset leave all sums within 32 bits
};

// Scale 17, whose sums are wide. Frames of 12 bits do not need that, and most are; which it is shows in a vector.
class Rule17 {
 public:
  Rule17(const WeightTable& weights, int offset)
      : any_(weights, offset), narrow_(weights, offset), range_(planeRange<std::int16_t>(offset, 1)) {
    if (narrow_.suit) level_ = -offset * (1 << 17);
  }

  template <class D, class V>
  HWY_INLINE PlaneValues<V> operator()(D d, V top, V bottom) const {
    const V high = hn::And(hn::Or(top, bottom), hn::Set(d, PairWeights::packed(kAbove, kAbove)));
    if (!narrow_.suit || !hn::AllTrue(d, hn::Eq(high, hn::Zero(d)))) return any_(d, top, bottom);
    const V first = hn::Set(d, 0xFFFF), second = hn::Set(d, ~0xFFFF);
    const V colours = hn::OrAnd(hn::And(top, second), bottom, first),
            greens = hn::OrAnd(hn::And(bottom, second), top, first);
    const V colours4 = hn::ShiftLeft<2>(colours), greens4 = hn::ShiftLeft<2>(greens);
    const V common =
        addProducts(d, colours, narrow_.rest.colours, addProducts(d, colours4, narrow_.y.colours, hn::Set(d, level_)));
    const auto luminance = [&](std::int32_t quarters, std::int32_t rest) HWY_ATTR {
      return rounded(d, addProducts(d, greens, rest, addProducts(d, greens4, quarters, common)));
    };
    const auto chroma = [&](const NarrowWeights::Quarters& w) HWY_ATTR {
      return rounded(d, addProducts(d, greens4, w.green1, addProducts(d, colours4, w.colours, hn::Zero(d))));
    };
    return {luminance(narrow_.y.green1, narrow_.rest.green1), luminance(narrow_.y.green2, narrow_.rest.green2),
            chroma(narrow_.cb), chroma(narrow_.cr)};
  }

 private:
  static constexpr std::int32_t kAbove = 0x10000 - NarrowWeights::kSamples;

  template <class D, class V>
  HWY_INLINE V rounded(D d, V sum) const {
    const V half = hn::Add(hn::Set(d, 1 << 16), hn::BroadcastSignBit(sum));
    return clampedTo(hn::ShiftRight<17>(hn::Add(sum, half)), range_);
  }

  WeightedRule<Scale17> any_;
  NarrowWeights narrow_;
  Range range_;
  std::int32_t level_ = 0;
};

// Additions and shifts alone, and so reversible.
class ReversibleRule {
 public:
  explicit ReversibleRule(int offset) : offset_(limitedOffset(offset)), range_(planeRange<std::int16_t>(offset, 1)) {}

  template <class D, class V>
  HWY_INLINE PlaneValues<V> operator()(D d, V top, V bottom) const {
    const Cell<V> cell = cellOf(d, top, bottom);
    const V colours = hn::Add(cell.r, cell.b), greens = hn::Add(cell.g1, cell.g2), mean = hn::ShiftRight<1>(greens);
    const auto luminance = [&](V green) HWY_ATTR {  // 3 of this green less 1 of the other
      const V sum = hn::Add(hn::Sub(hn::ShiftLeft<2>(green), greens), colours);
      return clampedTo(hn::Sub(hn::ShiftRight<2>(sum), hn::Set(d, offset_)), range_);
    };
    return {luminance(cell.g1), luminance(cell.g2), clampedTo(hn::Sub(cell.b, mean), range_),
            clampedTo(hn::Sub(cell.r, mean), range_)};
  }

 private:
  std::int32_t offset_;
  Range range_;
};

// Each operation rounds to float, from left to right.
struct FloatRule {
  float offset;

  template <class D, class V>
  HWY_INLINE auto operator()(D d, V top, V bottom) const {
    const hn::Rebind<float, D> df;
    const Cell<V> cell = cellOf(d, top, bottom);
    const auto g1 = hn::ConvertTo(df, cell.g1), r = hn::ConvertTo(df, cell.r), b = hn::ConvertTo(df, cell.b);
    const auto times = [=](float k, auto v) HWY_ATTR { return hn::Mul(hn::Set(df, k), v); };
    return PlaneValues<hn::Vec<decltype(df)>>{luminanceOf(df, r, g1, b, offset),
                                              times(0.5f, hn::ConvertTo(df, hn::Sub(cell.g2, cell.g1))),
                                              hn::Add(hn::Sub(times(-0.1687f, r), times(0.3313f, g1)), times(0.5f, b)),
                                              hn::Sub(hn::Sub(times(0.5f, r), times(0.4187f, g1)), times(0.0813f, b))};
  }
};

HWY_FLATTEN void cellsToPlanes16(const RawCells& in, const CellPlanes<std::int16_t>& out, int offset) {
  cellsToPlanes(in, out, WeightedRule<Scale16>(kWeights16, offset));
}

HWY_FLATTEN void cellsToPlanes17(const RawCells& in, const CellPlanes<std::int16_t>& out, int offset,
                                 const WeightTable& weights) {
  cellsToPlanes(in, out, Rule17(weights, offset));
}

HWY_FLATTEN void cellsToPlanes12_4(const RawCells& in, const CellPlanes<std::int16_t>& out, int offset) {
  cellsToPlanes(in, out, WeightedRule<Scale12_4>(kWeights12_4, offset));
}

HWY_FLATTEN void cellsToDifference12_4(const RawCells& in, const CellPlanes<std::int16_t>& out, int offset) {
  cellsToPlanes(in, out, WeightedRule<Scale12_4, true>(kWeights12_4, offset));
}

HWY_FLATTEN void cellsToPlanes12_6(const RawCells& in, const CellPlanes<std::int32_t>& out, int offset) {
  cellsToPlanes(in, out, WeightedRule<Scale12_6>(kWeights12_6, offset));
}

HWY_FLATTEN void cellsToDifference12_6(const RawCells& in, const CellPlanes<std::int32_t>& out, int offset) {
  cellsToPlanes(in, out, WeightedRule<Scale12_6, true>(kWeights12_6, offset));
}

HWY_FLATTEN void cellsToReversible(const RawCells& in, const CellPlanes<std::int16_t>& out, int offset, bool apart) {
  cellsToPlanes(in, out, ReversibleRule(offset), apart);
}

HWY_FLATTEN void cellsToFloat(const RawCells& in, const CellPlanes<float>& out, float offset) {
  cellsToPlanes(in, out, FloatRule{offset});
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {
namespace {

HWY_EXPORT(cellsToPlanes16);
HWY_EXPORT(cellsToPlanes17);
HWY_EXPORT(cellsToPlanes12_4);
HWY_EXPORT(cellsToDifference12_4);
HWY_EXPORT(cellsToPlanes12_6);
HWY_EXPORT(cellsToDifference12_6);
HWY_EXPORT(cellsToReversible);
HWY_EXPORT(cellsToFloat);

// Writable: hosts change it through the pointer that they are given.
std::int32_t weights17[9] = {39191, 76939, 14942, -22112, -43424, 65536, 65536, -54880, -10656};

RawCells cellsOf(const std::uint16_t* samples, unsigned pitch, unsigned width, unsigned height) {
  return {samples, pitch, width / 2, height / 2};
}

}  // namespace
}  // namespace quorvel

using namespace quorvel;

int BayerRGBToYCbCrPlanesApprox16slow(const std::uint16_t* samples, unsigned pitch, unsigned width, unsigned height,
                                      std::int16_t* y, std::int16_t* cb, std::int16_t* cr, int offset) {
  HWY_DYNAMIC_DISPATCH(cellsToPlanes16)
  (cellsOf(samples, pitch, width, height), pairedPlanes(y, cb, cr, width / 2), offset);
  return 0;
}

int BayerRGBToYCbCrPlanesApprox16slowCorrect(const std::uint16_t* samples, unsigned pitch, unsigned width,
                                             unsigned height, std::int16_t* y, std::int16_t* cb, std::int16_t* cr,
                                             int offset) {
  return BayerRGBToYCbCrPlanesApprox16slow(samples, pitch, width, height, y, cb, cr, offset);
}

int BayerRGBToYCbCrPlanesApprox18slow(const std::uint16_t* samples, unsigned pitch, unsigned width, unsigned height,
                                      std::int16_t* y, std::int16_t* cb, std::int16_t* cr, int offset) {
  const auto row = [](int first) { return Weights{weights17[first], weights17[first + 1], weights17[first + 2]}; };
  HWY_DYNAMIC_DISPATCH(cellsToPlanes17)
  (cellsOf(samples, pitch, width, height), pairedPlanes(y, cb, cr, width / 2), offset,
   WeightTable{row(0), row(3), row(6)});
  return 0;
}

int BayerRGBToYUVplanesApprox16slow(const std::uint16_t* samples, unsigned pitch, unsigned width, unsigned height,
                                    std::int16_t* y, std::int16_t* u, std::int16_t* v, int offset) {
  // The columns run to the pitch while the planes keep the width. A pitch above the width writes each row's surplus
  // over what follows it, which the next row writes again.
  HWY_DYNAMIC_DISPATCH(cellsToReversible)
  (cellsOf(samples, pitch, pitch, height), pairedPlanes(y, u, v, width / 2), offset, pitch / 2 <= width / 2);
  return 0;
}

int BayerRGBToYYCbCrPlanesApprox16slow(const std::uint16_t* samples, unsigned pitch, unsigned width, unsigned height,
                                       std::int16_t* y1, std::int16_t* y2, std::int16_t* cb, std::int16_t* cr,
                                       int offset) {
  HWY_DYNAMIC_DISPATCH(cellsToPlanes16)
  (cellsOf(samples, pitch, width, height), separatePlanes(y1, y2, cb, cr, width / 2), offset);
  return 0;
}

int BayerRGBToYYCbCrPlanes12_4slow(const std::uint16_t* samples, unsigned pitch, unsigned width, unsigned height,
                                   std::int16_t* y1, std::int16_t* y2, std::int16_t* cb, std::int16_t* cr, int offset) {
  HWY_DYNAMIC_DISPATCH(cellsToPlanes12_4)
  (cellsOf(samples, pitch, width, height), separatePlanes(y1, y2, cb, cr, width / 2), offset);
  return 0;
}

int BayerRGBToYYCbCrPlanes12_6slow(const std::uint16_t* samples, unsigned pitch, unsigned width, unsigned height,
                                   std::int32_t* y1, std::int32_t* y2, std::int32_t* cb, std::int32_t* cr, int offset) {
  HWY_DYNAMIC_DISPATCH(cellsToPlanes12_6)
  (cellsOf(samples, pitch, width, height), separatePlanes(y1, y2, cb, cr, width / 2), offset);
  return 0;
}

int BayerRGBToYdYCbCrPlanes12_4slow(const std::uint16_t* samples, unsigned pitch, unsigned width, unsigned height,
                                    std::int16_t* y, std::int16_t* yd, std::int16_t* cb, std::int16_t* cr, int offset) {
  HWY_DYNAMIC_DISPATCH(cellsToDifference12_4)
  (cellsOf(samples, pitch, width, height), separatePlanes(y, yd, cb, cr, width / 2), offset);
  return 0;
}

int BayerRGBToYdYCbCrPlanes12_6slow(const std::uint16_t* samples, unsigned pitch, unsigned width, unsigned height,
                                    std::int32_t* y, std::int32_t* yd, std::int32_t* cb, std::int32_t* cr, int offset) {
  HWY_DYNAMIC_DISPATCH(cellsToDifference12_6)
  (cellsOf(samples, pitch, width, height), separatePlanes(y, yd, cb, cr, width / 2), offset);
  return 0;
}

int BayerRGBToYdYCbCrPlanesFlt(const std::uint16_t* samples, unsigned pitch, unsigned width, unsigned height, float* y,
                               float* yd, float* cb, float* cr, float offset) {
  HWY_DYNAMIC_DISPATCH(cellsToFloat)
  (cellsOf(samples, pitch, width, height), separatePlanes(y, yd, cb, cr, width / 2), offset);
  return 0;
}

std::int32_t* getRGBtoYCbCr_coefI16() { return weights17; }

#endif
