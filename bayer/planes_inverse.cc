// SPDX-License-Identifier: Apache-2.0
// Luminance and colour differences back to Bayer cells. One walk over the cells serves every variant; a variant is a
// rule from the four values of a cell to its samples. Results are exact for any planes and offsets: no sum of a rule
// leaves 32 bits, because whole steps are kept apart from what is rounded.
#include <cmath>

#include "bayer/luma_chroma.h"
#include "quorvel/bayer.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "bayer/planes_inverse.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "bayer/luma_chroma-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

template <typename T, class Rule>
HWY_INLINE void planesToCells(const CellPlanes<const T>& in, const CellFrame<std::uint16_t>& out, const Rule& rule) {
  std::array<Source, 4> sources;
  for (std::size_t k = 0; k < 4; ++k) sources[k] = reads<1>(in.first[k], in.stride[k]);
  const StridedRows<std::uint16_t, 2> rows = {{out.greenRed(0), out.blueGreen(0)}, {2 * out.pitch, 2 * out.pitch}};
  writeStridedRows<std::int32_t, 2>(
      out.rows, out.columns, rows, true, sources, [&](auto d, std::size_t row, std::size_t i, const auto& to) HWY_ATTR {
        const auto load = [&](std::size_t plane) HWY_ATTR {
          const hn::Rebind<T, decltype(d)> dt;
          const auto v = hn::LoadU(dt, in.row(plane, row) + i);
          if constexpr (sizeof(T) == 2) {
            return hn::PromoteTo(d, v);
          } else {
            return v;
          }
        };
        const auto y1 = load(0);
        const auto cell = rule(d, PlaneValues<hn::Vec<hn::DFromV<decltype(y1)>>>{y1, load(1), load(2), load(3)});
        storePairs(pairOf(cell.g1, cell.r), d, to[0]);
        storePairs(pairOf(cell.b, cell.g2), d, to[1]);
      });
}

// v * kFactor / 2^kShift, rounded to nearest, halves away from zero. Only the factor's fraction is multiplied.
template <int kFactor, int kShift, class V>
HWY_INLINE V scaled(V v) {
  const hn::DFromV<V> d;
  constexpr int kWhole = kFactor >> kShift, kFraction = kFactor & ((1 << kShift) - 1);
  static_assert(kWhole == 0 || kWhole == 1);
  return roundedShift<kShift>(hn::Mul(v, hn::Set(d, kFraction)), kWhole == 0 ? hn::Zero(d) : v);
}

// Where a rule takes the second green from.
enum class SecondGreen { Luminance, First, Difference };

template <SecondGreen kSecond>
class Rule16 {
 public:
  explicit Rule16(int offset) : level_(limitedOffset(std::max(offset, 0))), range_(sampleRange(offset)) {}

  template <class D, class V>
  HWY_INLINE Cell<V> operator()(D d, const PlaneValues<V>& in) const {
    const V level = hn::Add(in.y1, hn::Set(d, level_));
    // -22554 Cb - 46802 Cr in 2^-16, and below 111646 in 2^-16: even numbers, halved so that any planes fit.
    const V greenSum = hn::Add(hn::Mul(in.cb, hn::Set(d, -11277)), hn::Mul(in.cr, hn::Set(d, -23401)));
    const V g1 = clampedTo(hn::Add(level, roundedShift<15>(greenSum, hn::Zero(d))), range_);
    V g2 = g1;
    if constexpr (kSecond == SecondGreen::Luminance) {
      g2 = clampedTo(hn::Add(g1, scaled<55823, 15>(hn::Sub(in.y2, in.y1))), range_);
    }
    return {g1, clampedTo(hn::Add(level, scaled<91881, 16>(in.cr)), range_),
            clampedTo(hn::Add(level, scaled<116130, 16>(in.cb)), range_), g2};
  }

 private:
  std::int32_t level_;
  Range range_;
};

// Planes of 1/16 step and weights of 14 fraction bits: sums count 2^-18 steps, and the offset is whole steps.
template <SecondGreen kSecond>
class Rule12_4 {
 public:
  explicit Rule12_4(int offset) : level_(limitedOffset(std::max(offset, 0))), range_(sampleRange(offset)) {}

  template <class D, class V>
  HWY_INLINE Cell<V> operator()(D d, const PlaneValues<V>& in) const {
    const V level = hn::Set(d, level_), luminance = hn::ShiftLeft<14>(in.y1);
    const auto times = [=](int k, V v) HWY_ATTR { return hn::Mul(v, hn::Set(d, k)); };
    const auto sample = [&](V sum, V whole) HWY_ATTR { return clampedTo(roundedShift<18>(sum, whole), range_); };
    const V greenSum = hn::Sub(hn::Sub(luminance, times(5638, in.cb)), times(11700, in.cr));
    const V g1 = sample(greenSum, level);
    V g2;
    if constexpr (kSecond == SecondGreen::Difference) {
      // yd counts eighths of a step: whole ones go past the sum, which they could overflow.
      const V eighths = hn::And(in.y2, hn::Set(d, 7));
      g2 = sample(hn::Add(greenSum, hn::ShiftLeft<15>(eighths)), hn::Add(level, hn::ShiftRight<3>(in.y2)));
    } else {
      // 1 / 0.587 in the scale of the other weights, as the 16-bit form has it in its own.
      g2 = clampedTo(hn::Add(g1, scaled<27911, 18>(hn::Sub(in.y2, in.y1))), range_);
    }
    return {g1, sample(hn::Add(luminance, times(22970, in.cr)), level),
            sample(hn::Add(luminance, times(29032, in.cb)), level), g2};
  }

 private:
  std::int32_t level_;
  Range range_;
};

class ReversibleRule {
 public:
  explicit ReversibleRule(int offset) : offset_(limitedOffset(offset)), range_(sampleRange(offset)) {}

  template <class D, class V>
  HWY_INLINE Cell<V> operator()(D d, const PlaneValues<V>& in) const {
    // The mean of the greens, which both differences were taken from, had dropped a half where the greens are of
    // unlike parity, as the luminances then are. Without that bit one cell in eight would come back a step darker.
    const V dropped = hn::And(hn::Xor(in.y1, in.y2), hn::Set(d, 1));
    const V colours = hn::Sub(hn::Add(in.cb, in.cr), dropped);
    const V shift = hn::Sub(hn::ShiftRight<2>(colours), hn::Set(d, offset_));
    const V g1 = clampedTo(hn::Sub(in.y1, shift), range_), g2 = clampedTo(hn::Sub(in.y2, shift), range_);
    const V mean = hn::ShiftRight<1>(hn::Add(g1, g2));
    return {g1, clampedTo(hn::Add(in.cr, mean), range_), clampedTo(hn::Add(in.cb, mean), range_), g2};
  }

 private:
  std::int32_t offset_;
  Range range_;
};

class FloatRule {
 public:
  // Of an offset that is not whole, the bound is truncated with the samples.
  explicit FloatRule(float offset) : offset_(offset), high_(largestSample(2 * std::fabs(offset) - 1, 65535)) {}

  template <class D, class VF>
  HWY_INLINE auto operator()(D, const PlaneValues<VF>& in) const {
    const hn::Rebind<float, D> df;
    const auto colour = colourOf(df, in.y1, in.cb, in.cr, offset_);
    const auto g1 = sampleOf(df, colour.g, high_);
    const auto g2 = hn::Add(hn::ConvertTo(df, g1), hn::Mul(hn::Set(df, 2.0f), in.y2));
    return Cell<hn::Vec<D>>{g1, sampleOf(df, colour.r, high_), sampleOf(df, colour.b, high_), sampleOf(df, g2, high_)};
  }

 private:
  float offset_, high_;
};

using Planes16 = CellPlanes<const std::int16_t>;
using OutCells = CellFrame<std::uint16_t>;

HWY_FLATTEN void cellsFrom16(const Planes16& in, const OutCells& out, int offset) {
  planesToCells(in, out, Rule16<SecondGreen::Luminance>(offset));
}

HWY_FLATTEN void cellsFrom16ForPreview(const Planes16& in, const OutCells& out, int offset) {
  planesToCells(in, out, Rule16<SecondGreen::First>(offset));
}

HWY_FLATTEN void cellsFrom12_4(const Planes16& in, const OutCells& out, int offset) {
  planesToCells(in, out, Rule12_4<SecondGreen::Luminance>(offset));
}

HWY_FLATTEN void cellsFromDifference12_4(const Planes16& in, const OutCells& out, int offset) {
  planesToCells(in, out, Rule12_4<SecondGreen::Difference>(offset));
}

HWY_FLATTEN void cellsFromReversible(const Planes16& in, const OutCells& out, int offset) {
  planesToCells(in, out, ReversibleRule(offset));
}

HWY_FLATTEN void cellsFromFloat(const CellPlanes<const float>& in, const OutCells& out, float offset) {
  planesToCells(in, out, FloatRule(offset));
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {
namespace {

HWY_EXPORT(cellsFrom16);
HWY_EXPORT(cellsFrom16ForPreview);
HWY_EXPORT(cellsFrom12_4);
HWY_EXPORT(cellsFromDifference12_4);
HWY_EXPORT(cellsFromReversible);
HWY_EXPORT(cellsFromFloat);

CellFrame<std::uint16_t> cellsOf(std::uint16_t* out, unsigned pitch, unsigned columns, unsigned rows) {
  return {out, pitch, columns, rows / 2};
}

}  // namespace
}  // namespace quorvel

using namespace quorvel;

int YCbCrPlanesToBayerRGBApprox16slow(const std::int16_t* y, const std::int16_t* cb, const std::int16_t* cr, int offset,
                                      unsigned columns, unsigned rows, std::uint16_t* out, unsigned pitch) {
  HWY_DYNAMIC_DISPATCH(cellsFrom16)
  (pairedPlanes(y, cb, cr, columns), cellsOf(out, pitch, columns, rows), offset);
  return 0;
}

int YCbCrPlanesToBayerRGBApprox16slowCorrect(const std::int16_t* y, const std::int16_t* cb, const std::int16_t* cr,
                                             int offset, unsigned columns, unsigned rows, std::uint16_t* out,
                                             unsigned pitch) {
  return YCbCrPlanesToBayerRGBApprox16slow(y, cb, cr, offset, columns, rows, out, pitch);
}

int YCbCrPlanesToBayerRGBApprox16slowForPreview(const std::int16_t* y, const std::int16_t* cb, const std::int16_t* cr,
                                                int offset, unsigned columns, unsigned rows, std::uint16_t* out,
                                                unsigned pitch) {
  HWY_DYNAMIC_DISPATCH(cellsFrom16ForPreview)
  (pairedPlanes(y, cb, cr, columns), cellsOf(out, pitch, columns, rows), offset);
  return 0;
}

int YYCbCrPlanesToBayerRGBApprox16slow(const std::int16_t* y1, const std::int16_t* y2, const std::int16_t* cb,
                                       const std::int16_t* cr, int offset, unsigned columns, unsigned rows,
                                       std::uint16_t* out, unsigned pitch) {
  HWY_DYNAMIC_DISPATCH(cellsFrom16)
  (separatePlanes(y1, y2, cb, cr, columns), cellsOf(out, pitch, columns, rows), offset);
  return 0;
}

int YYCbCrPlanesToBayerRGBfrom12_4slow(const std::int16_t* y1, const std::int16_t* y2, const std::int16_t* cb,
                                       const std::int16_t* cr, int offset, unsigned columns, unsigned rows,
                                       std::uint16_t* out, unsigned pitch) {
  HWY_DYNAMIC_DISPATCH(cellsFrom12_4)
  (separatePlanes(y1, y2, cb, cr, columns), cellsOf(out, pitch, columns, rows), offset);
  return 0;
}

int YdYCbCrPlanesToBayerRGBfrom12_4slow(const std::int16_t* y, const std::int16_t* yd, const std::int16_t* cb,
                                        const std::int16_t* cr, int offset, unsigned columns, unsigned rows,
                                        std::uint16_t* out, unsigned pitch) {
  HWY_DYNAMIC_DISPATCH(cellsFromDifference12_4)
  (separatePlanes(y, yd, cb, cr, columns), cellsOf(out, pitch, columns, rows), offset);
  return 0;
}

int YdYCbCrPlanesToBayerRGBFlt(const float* y, const float* yd, const float* cb, const float* cr, float offset,
                               unsigned columns, unsigned rows, std::uint16_t* out, unsigned pitch) {
  HWY_DYNAMIC_DISPATCH(cellsFromFloat)
  (separatePlanes(y, yd, cb, cr, columns), cellsOf(out, pitch, columns, rows), offset);
  return 0;
}

int YUVplanesToBayerRGBApprox16slow(const std::int16_t* y, const std::int16_t* u, const std::int16_t* v, int offset,
                                    unsigned columns, unsigned rows, std::uint16_t* out, unsigned pitch) {
  HWY_DYNAMIC_DISPATCH(cellsFromReversible)
  (pairedPlanes(y, u, v, columns), cellsOf(out, pitch, columns, rows), offset);
  return 0;
}

#endif
